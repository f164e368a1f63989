// The multiplier row by row.
#include <gtest/gtest.h>

#include "tests/sound/DspRig.h"

namespace vx::test {
namespace {

struct SMacCase {
  u32 code;
  u32 mode;  // MSTAT
  u16 x, y;
  u64 before, after;  // MR
  bool bOverflow;
};

// clang-format off
constexpr u64 kMinus = ~u64{0};
constexpr u32 kInt = kMstatIntegerMac;
constexpr SMacCase kCases[] = {
  // code mode  x       y       MR before        MR after                MV
  { 1,  0,    0x4000, 0x4000, 0x123456789A,    0x20008000,             false },
  { 1,  kInt, 0x0001, 0x8000, 0,               0x00000,                false },  // tie at -0x8000
  { 1,  kInt, 0x0003, 0x0005, 0,               0x800F,                 false },
  { 1,  kInt, 0x0002, 0x4000, 0,               0x00000,                false },  // tie: bit 16 goes
  { 1,  kInt, 0x0006, 0x4000, 0,               0x20000,                false },  // tie: 0x18000
  { 2,  kInt, 0x0003, 0x0005, 0x10000,         0x1800F,                false },
  { 2,  kInt, 0x0002, 0x4000, 0x10000,         0x20000,                false },  // 0x10000+0x8000+0x8000
  { 2,  kInt, 0x0001, 0x0001, 0x7FFF,          0x10000,                false },  // a tie of the sum is none
  { 2,  kInt, 0x0002, 0x4000, 0x8001,          0x08001,                false },  // a tie of the product is
  { 3,  kInt, 0x0003, 0x0005, 0x10000,         0x17FF1,                false },
  { 3,  kInt, 0x0002, 0x4000, 0x10000,         0x00000,                false },  // bit 16 by the product
  { 4,  0,    0x8000, 0x8000, 0,               kMinus - 0x7FFFFFFF,    false },  // -1 times -1
  { 4,  kInt, 0xFFFF, 0x0002, 0,               kMinus - 1,             false },
  { 5,  kInt, 0xFFFF, 0x8000, 0,               kMinus - 0x7FFF,        false },  // -1 times 32768
  { 6,  kInt, 0x8000, 0xFFFF, 0,               kMinus - 0x7FFF,        false },
  { 7,  kInt, 0xFFFF, 0xFFFF, 0,               0xFFFFFFFFFFFE0001,     false },  // bit 31 is a sign
  { 7,  0,    0x8000, 0x8000, 0,               kMinus - 0x7FFFFFFF,    false },
  { 7,  0,    0xFFFF, 0xFFFF, 0,               0xFFFFFFFFFFFC0002,     false },  // bit 32 is lost
  { 8,  kInt, 0x0010, 0x0010, 0x7FFFFFFF,      0x800000FF,             true  },
  { 9,  kInt, 0x0001, 0xFFFF, 1,               0x10000,                false },
  { 10, kInt, 0xFFFF, 0x0001, 1,               0x10000,                false },
  { 11, kInt, 0xFFFF, 0x0001, 1,               0x10000,                false },
  { 12, kInt, 0x0001, 0x0001, 0,               kMinus,                 false },
  { 13, kInt, 0xFFFF, 0x0001, 0,               1,                      false },
  { 14, kInt, 0x0001, 0xFFFF, 0,               1,                      false },
  { 15, kInt, 0x0001, 0xFFFF, 0x10000,         1,                      false },
  { 12, kInt, 0x0001, 0x0001, u64{1} << 39,    (u64{1} << 39) - 1,     true  },
};
// clang-format on

class MacRows : public testing::TestWithParam<SMacCase> {};

TEST_P(MacRows, GiveTheirSumAndOverflowIntoMr) {
  const SMacCase& row = GetParam();
  for (const u32 old : {0u, 0xFFu}) {
    CDspRig rig;
    rig.State().mstat = row.mode;
    rig.State().astat = old;
    rig.Bank().mx[1] = row.x;
    rig.Bank().my[1] = row.y;
    rig.Bank().mr = row.before;
    rig.Do(ToMr(row.code, 1, 1));
    EXPECT_EQ(rig.Bank().mr, row.after);
    EXPECT_EQ(rig.State().astat,
              (old & ~u32{kAstatMacOverflow}) | (row.bOverflow ? kAstatMacOverflow : 0u));
  }
}

// MF takes bits 16 to 31 of the 32-bit result; the low 32 bits agree with those of MR.
TEST_P(MacRows, GiveTheSameHighWordIntoMfAndLeaveMrAndFlagsAlone) {
  const SMacCase& row = GetParam();
  CDspRig rig;
  rig.State().mstat = row.mode;
  rig.State().astat = 0xA5;
  rig.Bank().mx[1] = row.x;
  rig.Bank().my[1] = row.y;
  rig.Bank().mr = row.before;
  rig.Do(ToMf(row.code, 1, 1));
  EXPECT_EQ(rig.Bank().mf, static_cast<u16>(row.after >> 16));
  EXPECT_EQ(rig.Bank().mr, row.before);
  EXPECT_EQ(rig.State().astat, 0xA5u);
}

INSTANTIATE_TEST_SUITE_P(All, MacRows, testing::ValuesIn(kCases));

TEST(Mac, CodeZeroDoesNothingNotEvenToTheOverflowFlag) {
  CDspRig rig;
  rig.Bank().mr = u64{1} << 35;
  rig.Bank().mf = 7;
  rig.State().astat = 0;
  rig.Do(ToMr(0, 0, 0));
  rig.Do(ToMf(0, 0, 0));
  EXPECT_EQ(rig.Bank().mr, u64{1} << 35);
  EXPECT_EQ(rig.Bank().mf, 7);
  EXPECT_EQ(rig.State().astat, 0u);
}

TEST(Mac, OverflowIsClearForNineEqualBitsAlone) {
  for (u32 top = 0; top < 0x200; ++top) {
    CDspRig rig;
    rig.Bank().mr = u64{top} << 31;
    rig.Do(ToMr(8, 0, 3));  // adds nothing
    EXPECT_EQ((rig.State().astat & kAstatMacOverflow) == 0, top == 0 || top == 0x1FF) << top;
  }
}

TEST(Mac, OperandFiveReadsMr1AndYThreeIsNought) {
  CDspRig rig;
  SADSPBank& bank = rig.Bank();
  rig.State().mstat = kMstatIntegerMac;
  bank.mx[0] = 2, bank.mx[1] = 3, bank.ar = 5, bank.sr = 17u << 16 | 13;
  bank.my[0] = 1, bank.my[1] = 10, bank.mf = 100;
  const u32 x[8] = {2, 3, 5, 7, 11, 11, 13, 17};
  const u32 y[4] = {1, 10, 100, 0};
  for (u32 i = 0; i < 8; ++i) {
    for (u32 j = 0; j < 4; ++j) {
      bank.mr = u64{99} << 32 | 11u << 16 | 7;
      rig.Do(ToMr(7, i, j));
      EXPECT_EQ(bank.mr, x[i] * y[j]) << i << " " << j;
    }
  }
}

// --- Saturation ----------------------------------------------------------------------------------

TEST(SatMr, WithoutOverflowChangesNothing) {
  CDspRig rig;
  rig.Bank().mr = 0x1234567890;
  rig.Do(0x050000);
  EXPECT_EQ(rig.Bank().mr, 0x1234567890u);
}

TEST(SatMr, LimitsByBit39AndLeavesTheFlag) {
  CDspRig rig;
  rig.State().astat = kAstatMacOverflow;
  rig.Bank().mr = 0x7F00000000;
  rig.Do(0x05FFFF);
  EXPECT_EQ(rig.Bank().mr, 0x7FFFFFFFu);
  rig.Bank().mr = 0x8000000000;
  rig.Do(0x050000);
  EXPECT_EQ(rig.Bank().mr, 0xFFFFFFFF80000000u);
  EXPECT_EQ(rig.State().astat, u32{kAstatMacOverflow});
}

}  // namespace
}  // namespace vx::test
