// The ALU row by row: results, flags, saturation and the division steps.
#include <gtest/gtest.h>

#include "tests/sound/DspRig.h"

namespace vx::test {
namespace {

constexpr u32 kAz = kAstatZero, kAn = kAstatNegative, kAv = kAstatOverflow, kAc = kAstatCarry;
constexpr u32 kAs = kAstatXSign, kAq = kAstatQuotient;
constexpr u32 kOtherFlags = kAs | kAq | kAstatMacOverflow | kAstatShifterSign;

struct SAluCase {
  u32 code;
  u16 x, y;
  u16 result;
  u32 flags;      // of AZ, AN, AV, AC
  u16 saturated;  // AR with saturation on, if AV is set
};

// clang-format off
constexpr SAluCase kCases[] = {
  // code  x       y       result  flags            saturated
  { 0,  0x1111, 0x0000, 0x0000, kAz,             0 },
  { 0,  0x1111, 0x8001, 0x8001, kAn,             0 },
  { 0,  0x1111, 0x7FFF, 0x7FFF, 0,               0 },
  { 1,  0x1111, 0x0000, 0x0001, 0,               0 },
  { 1,  0x1111, 0xFFFF, 0x0000, kAc,             0 },       // AZ is never set
  { 1,  0x1111, 0x7FFF, 0x8000, kAn | kAv,       0x7FFF },
  { 1,  0x1111, 0x8000, 0x8001, kAn,             0 },
  { 3,  0x0000, 0x0000, 0x0000, kAz,             0 },
  { 3,  0xFFFF, 0x0001, 0x0000, kAc,             0 },       // the 17-bit sum is not 0
  { 3,  0x7FFF, 0x0001, 0x8000, kAn | kAv,       0x7FFF },
  { 3,  0x8000, 0x8000, 0x0000, kAc | kAv,       0x8000 },
  { 3,  0x8000, 0xFFFF, 0x7FFF, kAc | kAv,       0x8000 },
  { 3,  0x1234, 0x1111, 0x2345, 0,               0 },
  { 5,  0x1111, 0x0000, 0x0000, kAz | kAc,       0 },
  { 5,  0x1111, 0x8000, 0x8000, kAn | kAv,       0x7FFF },
  { 5,  0x1111, 0x0001, 0xFFFF, kAn,             0 },
  { 5,  0x1111, 0xFFFF, 0x0001, 0,               0 },
  { 7,  0x0005, 0x0005, 0x0000, kAz | kAc,       0 },
  { 7,  0x0005, 0x0006, 0xFFFF, kAn,             0 },
  { 7,  0x8000, 0x0001, 0x7FFF, kAv | kAc,       0x8000 },
  { 7,  0x7FFF, 0xFFFF, 0x8000, kAn | kAv,       0x7FFF },
  { 7,  0x0006, 0x0005, 0x0001, kAc,             0 },
  { 8,  0x1111, 0x0001, 0x0000, kAz,             0 },
  { 8,  0x1111, 0x0000, 0xFFFF, kAn | kAc,       0 },
  { 8,  0x1111, 0x8000, 0x7FFF, kAv,             0x7FFF },
  { 8,  0x1111, 0x0002, 0x0001, 0,               0 },
  { 9,  0x0005, 0x0005, 0x0000, kAz | kAc,       0 },
  { 9,  0x0006, 0x0005, 0xFFFF, kAn,             0 },
  { 9,  0x0001, 0x8000, 0x7FFF, kAv | kAc,       0x8000 },
  { 9,  0xFFFF, 0x7FFF, 0x8000, kAn | kAv,       0x7FFF },
  { 11, 0xFFFF, 0x1111, 0x0000, kAz,             0 },
  { 11, 0x00FF, 0x1111, 0xFF00, kAn,             0 },
  { 12, 0xF0F0, 0x0F0F, 0x0000, kAz,             0 },
  { 12, 0xF0F0, 0x8080, 0x8080, kAn,             0 },
  { 13, 0x0000, 0x0000, 0x0000, kAz,             0 },
  { 13, 0xF0F0, 0x0F0F, 0xFFFF, kAn,             0 },
  { 14, 0x1234, 0x1234, 0x0000, kAz,             0 },
  { 14, 0x1234, 0x9234, 0x8000, kAn,             0 },
  { 15, 0x0000, 0x1111, 0x0000, kAz,             0 },
  { 15, 0x0005, 0x1111, 0x0005, 0,               0 },
};
// clang-format on

class AluRows : public testing::TestWithParam<SAluCase> {
 protected:
  CDspRig rig_;
};

TEST_P(AluRows, GiveResultAndFlagsIntoArAndAf) {
  const SAluCase& row = GetParam();
  for (const u32 others : {0u, kOtherFlags | kAz | kAn | kAv | kAc}) {
    rig_.Bank().ax[1] = row.x;
    rig_.Bank().ay[1] = row.y;
    rig_.State().astat = others;
    rig_.Do(ToAr(row.code, 1, 1));
    EXPECT_EQ(rig_.Bank().ar, row.result);
    EXPECT_EQ(rig_.State().astat, (others & kOtherFlags) | row.flags);

    rig_.State().astat = others;
    rig_.State().mstat = kMstatSaturate;
    rig_.Do(ToAf(row.code, 1, 1));
    EXPECT_EQ(rig_.Bank().af, row.result);
    EXPECT_EQ(rig_.State().astat, (others & kOtherFlags) | row.flags);
    rig_.State().mstat = 0;
  }
}

TEST_P(AluRows, SaturateArToTheirLimitOnOverflowAlone) {
  const SAluCase& row = GetParam();
  rig_.Bank().ax[1] = row.x;
  rig_.Bank().ay[1] = row.y;
  rig_.State().mstat = kMstatSaturate;
  rig_.Do(ToAr(row.code, 1, 1));
  EXPECT_EQ(rig_.Bank().ar, (row.flags & kAv) != 0 ? row.saturated : row.result);
  EXPECT_EQ(rig_.State().astat, row.flags) << "flags speak of the result before the limit";
}

TEST_P(AluRows, KeepAnOldOverflowUnderTheLatchAndSaturateByIt) {
  const SAluCase& row = GetParam();
  rig_.Bank().ax[1] = row.x;
  rig_.Bank().ay[1] = row.y;
  rig_.State().mstat = kMstatOverflowLatch | kMstatSaturate;
  rig_.State().astat = kAv;
  rig_.Do(ToAr(row.code, 1, 1));
  EXPECT_EQ(rig_.State().astat, row.flags | kAv);
  EXPECT_EQ(rig_.Bank().ar, (row.flags & kAc) != 0 ? 0x8000 : 0x7FFF);
}

INSTANTIATE_TEST_SUITE_P(All, AluRows, testing::ValuesIn(kCases));

// --- Absolute value ------------------------------------------------------------------------------

TEST(AluAbsolute, OfANegativeNumberSetsAsAndNeverTheSign) {
  CDspRig rig;
  rig.Bank().ax[0] = 0xFFFB;
  rig.Do(ToAr(15, 0, 0));
  EXPECT_EQ(rig.Bank().ar, 5);
  EXPECT_EQ(rig.State().astat, kAs);
}

TEST(AluAbsolute, OfTheLeastNumberRaisesNoOverflow) {
  CDspRig rig;
  rig.Bank().ax[0] = 0x8000;
  rig.State().mstat = kMstatSaturate;
  rig.Do(ToAr(15, 0, 0));
  EXPECT_EQ(rig.Bank().ar, 0x8000);
  EXPECT_EQ(rig.State().astat, kAs);
}

TEST(AluAbsolute, LeavesAnOldAsStanding) {
  CDspRig rig;
  rig.State().astat = kAs;
  rig.Bank().ax[0] = 3;
  rig.Do(ToAr(15, 0, 0));
  EXPECT_EQ(rig.State().astat, kAs);
}

// --- Missing operations and operands -------------------------------------------------------------

TEST(AluMissing, OperationsTellTheHostAndChangeNothing) {
  for (const u32 code : {2u, 4u, 6u, 10u}) {
    for (const u32 word : {ToAr(code, 1, 1), ToAf(code, 1, 1)}) {
      CDspRig rig;
      rig.Bank().ar = 0x1234;
      rig.Bank().af = 0x4321;
      rig.State().astat = 0xFF;
      rig.Do(word);
      EXPECT_EQ(rig.Bank().ar, 0x1234);
      EXPECT_EQ(rig.Bank().af, 0x4321);
      EXPECT_EQ(rig.State().astat, 0xFFu);
      ASSERT_EQ(rig.port.lines.size(), 1u);
      EXPECT_EQ(rig.port.lines[0].level, 2);
      EXPECT_EQ(rig.port.lines[0].text,
                "ADSP unimplemented alu op: " + std::to_string(code) + "\n");
    }
  }
}

TEST(AluMissing, OperationUnderAFalseConditionIsSilent) {
  CDspRig rig;
  rig.Do(0x220000 | AluOp(2, 0, 0) | 0);  // EQ, and AZ is clear
  EXPECT_TRUE(rig.port.lines.empty());
}

TEST(AluOperands, ReachTheirRegistersAndOperandFiveReadsMr1) {
  CDspRig rig;
  SADSPBank& bank = rig.Bank();
  bank.ax[0] = 0x10, bank.ax[1] = 0x11;
  bank.mr = u64{0x15} << 32 | u64{0x14} << 16 | 0x13;
  bank.sr = 0x17u << 16 | 0x16;
  bank.ay[0] = 0x20, bank.ay[1] = 0x21, bank.af = 0x22;
  const u16 x[8] = {0x10, 0x11, 0x12, 0x13, 0x14, 0x14, 0x16, 0x17};
  for (u32 field = 0; field < 8; ++field) {
    bank.ar = 0x12;
    rig.Do(ToAr(13, field, 3));  // x or 0
    EXPECT_EQ(bank.ar, x[field]) << field;
  }
  const u16 y[4] = {0x20, 0x21, 0x22, 0};
  for (u32 field = 0; field < 4; ++field) {
    rig.Do(ToAr(0, 0, field));
    EXPECT_EQ(bank.ar, y[field]) << field;
  }
}

// --- Division ------------------------------------------------------------------------------------

TEST(AluDivision, SignStepTakesTheSignsDifferenceAndShiftsItIn) {
  CDspRig rig;
  rig.Bank().ax[0] = 0x8000;
  rig.Bank().ay[1] = 0x4001;
  rig.Bank().ay[0] = 0x8003;
  rig.Do(0x060000 | 1 << 11 | 0 << 8);
  EXPECT_EQ(rig.State().astat, kAq);
  EXPECT_EQ(rig.Bank().af, 0x8003);
  EXPECT_EQ(rig.Bank().ay[0], 0x0007);
}

TEST(AluDivision, SignStepWithY0ReadsTheOldValue) {
  CDspRig rig;
  rig.Bank().ax[0] = 1;
  rig.Bank().ay[0] = 0x8003;
  rig.Do(0x060000);
  EXPECT_EQ(rig.Bank().af, 0x0007);
  EXPECT_EQ(rig.Bank().ay[0], 0x0007);
}

TEST(AluDivision, StepSubtractsOrAddsByAqAndTakesTheRemaindersInvertedSign) {
  CDspRig rig;
  rig.Bank().ax[0] = 3;
  rig.Bank().af = 5;
  rig.Bank().ay[0] = 0x8000;
  rig.Do(0x070000);
  EXPECT_EQ(rig.Bank().af, 5);  // (5 - 3) * 2 + 1
  EXPECT_EQ(rig.Bank().ay[0], 1);
  EXPECT_EQ(rig.State().astat, 0u);

  rig.Bank().af = 1;
  rig.Bank().ay[0] = 0;
  rig.Do(0x070000);  // 1 - 3 is negative
  EXPECT_EQ(rig.Bank().af, 0xFFFC);
  EXPECT_EQ(rig.Bank().ay[0], 0);
  EXPECT_EQ(rig.State().astat, kAq);

  rig.Do(0x070000);  // now adds: 0xFFFC + 3
  EXPECT_EQ(rig.Bank().af, 0xFFFE);
  EXPECT_EQ(rig.State().astat, kAq);
}

TEST(AluDivision, OfPositiveNumbersGivesTheirQuotient) {
  CDspRig rig;
  const u32 dividend = 1234567, divisor = 321;
  rig.Bank().ax[0] = divisor;
  rig.Bank().ay[1] = dividend * 2 >> 16;
  rig.Bank().ay[0] = static_cast<u16>(dividend * 2);
  rig.Do(0x060000 | 1 << 11);
  for (u32 i = 0; i < 15; ++i) rig.Do(0x070000);
  EXPECT_EQ(rig.Bank().ay[0], dividend / divisor);
}

}  // namespace
}  // namespace vx::test
