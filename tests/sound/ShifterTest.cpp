// The shifter row by row.
#include <gtest/gtest.h>

#include "tests/sound/DspRig.h"

namespace vx::test {
namespace {

struct SShiftCase {
  u32 code;
  u16 x;
  i32 count;
  u32 result;  // with SR clear before
};

// clang-format off
constexpr SShiftCase kCases[] = {
  // code  x      count  result
  { 0, 0x8001,    0, 0x80010000 }, { 0, 0x8001,    1, 0x00020000 }, { 0, 0x8001,   -1, 0x40008000 },
  { 0, 0x8001,  -31, 0x00000001 }, { 0, 0x8001,  -32, 0x00000000 }, { 0, 0x8001,   32, 0x00000000 },
  { 0, 0x8001,  127, 0x00000000 }, { 0, 0x8001, -128, 0x00000000 }, { 0, 0xFFFF,   15, 0x80000000 },
  { 2, 0x8001,    0, 0x00008001 }, { 2, 0x8001,   16, 0x80010000 }, { 2, 0x8001,   31, 0x80000000 },
  { 2, 0x8001,   -1, 0x00004000 }, { 2, 0x8001,  -15, 0x00000001 }, { 2, 0x8001,   32, 0x00000000 },
  { 4, 0x8000,   -1, 0x40000000 }, { 4, 0x8000,    0, 0x80000000 }, { 4, 0x8000,    1, 0x00000000 },
  { 6, 0x8000,    0, 0xFFFF8000 }, { 6, 0x8000,   -1, 0x7FFFC000 }, { 6, 0x8000,  -31, 0x00000001 },
  { 6, 0x7FFF,   -1, 0x00003FFF }, { 6, 0xFFFF,    4, 0xFFFFFFF0 }, { 6, 0xFFFF,  -32, 0x00000000 },
};
// clang-format on

class ShiftRows : public testing::TestWithParam<SShiftCase> {};

TEST_P(ShiftRows, ShiftByCountRegisterAndByImmediate) {
  const SShiftCase& row = GetParam();
  constexpr u32 kOld = 0x01800180;
  for (const bool bImmediate : {false, true}) {
    for (const u32 merge : {0u, 1u}) {
      CDspRig rig;
      rig.Bank().si = row.x;
      rig.Bank().se = static_cast<i16>(0x5A00 | (row.count & 0xFF));
      rig.Bank().sr = kOld;
      rig.State().astat = 0xA5;
      rig.Do(bImmediate ? ShiftBy(row.code | merge, 0, row.count) : ShiftSe(row.code | merge, 0));
      EXPECT_EQ(rig.Bank().sr, merge != 0 ? kOld | row.result : row.result);
      EXPECT_EQ(rig.State().astat, 0xA5u) << "the shifter changes no flags";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, ShiftRows, testing::ValuesIn(kCases));

TEST(Shifter, ReadsMr2AsOperandFive) {
  CDspRig rig;
  SADSPBank& bank = rig.Bank();
  bank.si = 1, bank.ar = 3, bank.mr = u64{6} << 32 | 5u << 16 | 4;
  const u32 x[8] = {1, 1, 3, 4, 5, 6, 7, 8};
  for (u32 field = 0; field < 8; ++field) {
    bank.sr = 8u << 16 | 7;
    rig.Do(ShiftBy(2, field, 0));
    EXPECT_EQ(bank.sr, x[field]) << field;
  }
}

TEST(Shifter, MissingOperationsTellTheHostAndChangeNothing) {
  for (const u32 code : {8u, 9u, 10u, 11u, 13u, 14u, 15u}) {
    CDspRig rig;
    rig.Bank().si = 0x1234;
    rig.Bank().sr = 0x55;
    rig.Bank().se = 3;
    rig.State().astat = 0x81;
    rig.Do(ShiftSe(code, 0));
    ASSERT_EQ(rig.port.lines.size(), 1u);
    EXPECT_EQ(rig.port.lines[0].level, 2);
    EXPECT_EQ(rig.port.lines[0].text,
              "ADSP unimplemented shifter op: " + std::to_string(code) + "\n");
    EXPECT_EQ(rig.Bank().sr, 0x55u);
    EXPECT_EQ(rig.Bank().se, 3);
    EXPECT_EQ(rig.State().astat, 0x81u);
  }
}

TEST(Shifter, ImmediateCodesFromEightTellTheHostAndFromTwelveAreSilent) {
  CDspRig rig;
  rig.Bank().si = 0x1234;
  rig.Bank().sr = 0x55;
  for (u32 code = 8; code < 16; ++code) rig.Do(ShiftBy(code, 0, 3));
  ASSERT_EQ(rig.port.lines.size(), 4u);
  EXPECT_EQ(rig.port.lines[3].text, "ADSP unimplemented shifter op: 11\n");
  EXPECT_EQ(rig.Bank().sr, 0x55u);
  EXPECT_EQ(rig.Bank().se, 0);
}

TEST(Shifter, ExponentCountsTheRedundantSignBits) {
  struct SCase {
    u16 x;
    i32 se;
    bool bSign;
  };
  for (const SCase& row : {SCase{0x0000, -15, false},
                           {0x0001, -14, false},
                           {0x0002, -13, false},
                           {0x4000, 0, false},
                           {0x7FFF, 0, false},
                           {0x3FFF, -1, false},
                           {0xFFFF, -15, true},
                           {0xFFFE, -14, true},
                           {0x8000, 0, true},
                           {0xC000, -1, true},
                           {0xBFFF, 0, true}}) {
    for (const u32 old : {0u, 0xFFu}) {
      CDspRig rig;
      rig.Bank().si = row.x;
      rig.State().astat = old;
      rig.Do(ShiftSe(12, 0));
      EXPECT_EQ(rig.Bank().se, row.se) << row.x;
      EXPECT_EQ(rig.State().astat, (old & 0x7Fu) | (row.bSign ? 0x80u : 0u)) << row.x;
    }
  }
}

}  // namespace
}  // namespace vx::test
