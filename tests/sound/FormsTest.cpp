// What surrounds a unit's operation: moves and memory accesses, and their order.
#include <gtest/gtest.h>

#include "tests/sound/DspRig.h"

namespace vx::test {
namespace {

constexpr u32 kAdd = 3;       // ALU: x + y
constexpr u32 kMultiply = 4;  // multiplier: MR = x * y

// The four units in the order of the opcode pairs: MR, AR, MF, AF.
struct SUnit {
  u32 pair;
  u32 code;
  u16 result;  // of AX0 = 2, AY0 = 3 or MX0 = 2, MY0 = 3 in integer mode
};
constexpr SUnit kUnits[] = {{0, kMultiply, 6}, {2, kAdd, 5}, {4, kMultiply, 0}, {6, kAdd, 5}};

class Forms : public testing::TestWithParam<SUnit> {
 protected:
  Forms() {
    s_.mstat = kMstatIntegerMac;
    bank_.ax[0] = 2, bank_.ay[0] = 3, bank_.mx[0] = 2, bank_.my[0] = 3;
    bank_.mf = 0x99;
    for (SADSPAddress& address : s_.dag) address = {0x3840, 0, 1, 0, 0x3FFF};
  }
  u32 Op(u32 top) const { return (top + GetParam().pair) << 16 | GetParam().code << 13; }
  u16 Result() const {
    const u16 results[4] = {static_cast<u16>(bank_.mr), bank_.ar, bank_.mf, bank_.af};
    return results[GetParam().pair / 2];
  }
  bool IsDone() const { return Result() == GetParam().result; }

  CDspRig rig_;
  SADSPState& s_ = rig_.State();
  SADSPBank& bank_ = rig_.Bank();
};

TEST_P(Forms, AConditionGuardsTheOperation) {
  bank_.mr = 0x77;
  rig_.Do(Op(0x20) | 0);
  EXPECT_FALSE(IsDone());
  rig_.Do(Op(0x20) | 1);
  EXPECT_TRUE(IsDone());
}

TEST_P(Forms, AMoveReadsItsSourceBeforeTheOperation) {
  bank_.mr = 0x0011;
  bank_.ar = 0x22;
  rig_.Do(Op(0x28) | 4 << 4 | (GetParam().pair == 0 ? 11 : 10));  // AY0 = MR0 or AR
  EXPECT_TRUE(IsDone());
  EXPECT_EQ(bank_.ay[0], GetParam().pair == 0 ? 0x11 : 0x22);
}

TEST_P(Forms, AMoveLandsOnTopOfTheOperation) {
  bank_.si = 0x5555;
  const u32 target = GetParam().pair == 0 ? 11 : 10;  // MR0 or AR
  rig_.Do(Op(0x28) | target << 4 | 8);
  EXPECT_EQ(GetParam().pair == 0 ? static_cast<u16>(bank_.mr) : bank_.ar, 0x5555);
}

TEST_P(Forms, AReadComputesOnTheOldValueAndThenLoads) {
  for (const u32 top : {0x60u, 0x70u}) {
    bank_.ax[0] = 2, bank_.mx[0] = 2;
    s_.dataRam[0x40] = 0x1000;
    const u32 loads = GetParam().pair % 4 == 0 ? 2 : 0;  // MX0 or AX0
    rig_.Do(Op(top) | loads << 4 | 1 << 2 | 2);
    EXPECT_TRUE(IsDone());
    EXPECT_EQ(loads == 2 ? bank_.mx[0] : bank_.ax[0], 0x1000);
    EXPECT_EQ(s_.dag[top == 0x60 ? 1 : 5].i, 0x3841u);
  }
}

TEST_P(Forms, AWriteStoresTheOldResultAndThenComputes) {
  for (const u32 top : {0x68u, 0x78u}) {
    bank_.ar = 0x22;
    bank_.mr = 0x22;
    const u32 source = GetParam().pair == 0 ? 11 : 10;
    rig_.Do(Op(top) | source << 4 | 3 << 2 | 1);
    EXPECT_EQ(s_.dataRam[0x40], 0x22);
    EXPECT_TRUE(IsDone());
    EXPECT_EQ(s_.dag[top == 0x68 ? 3 : 7].i, 0x3841u);
  }
}

TEST_P(Forms, AProgramReadComputesFirst) {
  s_.dag[4].i = 0x123;
  rig_.processor.WriteProgram(0x123, 0x456789);
  const u32 loads = GetParam().pair % 4 == 0 ? 2 : 0;
  rig_.Do(Op(0x50) | loads << 4);
  EXPECT_TRUE(IsDone());
  EXPECT_EQ(loads == 2 ? bank_.mx[0] : bank_.ax[0], 0x4567);
  EXPECT_EQ(s_.px, 0x89u);
}

TEST_P(Forms, AMissingOrIdleOperationLeavesTheTransferInPlace) {
  const bool bAlu = GetParam().pair % 4 == 2;
  const u32 word = (0x60 + GetParam().pair) << 16 | (bAlu ? 2u : 0u) << 13;
  s_.dataRam[0x40] = 0x1234;
  rig_.Do(word | 8 << 4);  // SI
  EXPECT_EQ(bank_.si, 0x1234);
  EXPECT_EQ(s_.dag[0].i, 0x3841u);
  EXPECT_EQ(rig_.port.lines.size(), bAlu ? 1u : 0u);
}

TEST_P(Forms, AWriteThatRebootsEndsItsInstruction) {
  s_.dag[1].i = 0x3FFF;
  bank_.si = 0x0200;
  bank_.mr = 0x77;
  s_.pc = 50;
  rig_.Do(Op(0x68) | 8 << 4 | 1 << 2);
  EXPECT_EQ(s_.pc, 0u);
  EXPECT_EQ(s_.dag[1].i, 0x3FFFu) << "no step";
  EXPECT_FALSE(IsDone()) << "no operation";
}

INSTANTIATE_TEST_SUITE_P(Units, Forms, testing::ValuesIn(kUnits));

// --- Shifter forms -------------------------------------------------------------------------------

class ShiftForms : public testing::Test {
 protected:
  ShiftForms() {
    for (SADSPAddress& address : s_.dag) address = {0x3840, 0, 1, 0, 0x3FFF};
    bank_.si = 0x1234;
  }
  static constexpr u32 kPass = 2 << 11;  // SR0 = SI
  CDspRig rig_;
  SADSPState& s_ = rig_.State();
  SADSPBank& bank_ = rig_.Bank();
};

TEST_F(ShiftForms, AMoveReadsItsSourceAfterTheShift) {
  bank_.sr = 0x9999;
  rig_.Do(0x100000 | kPass | 0 << 4 | 14);  // AX0 = SR0
  EXPECT_EQ(bank_.ax[0], 0x1234);
}

TEST_F(ShiftForms, AReadShiftsFirst) {
  s_.dataRam[0x40] = 0x7777;
  rig_.Do(0x120000 | kPass | 8 << 4);
  EXPECT_EQ(bank_.sr, 0x1234u);
  EXPECT_EQ(bank_.si, 0x7777);
  rig_.Do(0x130000 | kPass | 14 << 4);
  EXPECT_EQ(bank_.sr, 0x7777u) << "a loaded SR0 lies on top of the shift";
  EXPECT_EQ(s_.dag[0].i, 0x3841u);
  EXPECT_EQ(s_.dag[4].i, 0x3841u);
}

TEST_F(ShiftForms, AWriteStoresFirst) {
  bank_.sr = 0x4444;
  rig_.Do(0x128000 | kPass | 14 << 4);
  EXPECT_EQ(s_.dataRam[0x40], 0x4444);
  EXPECT_EQ(bank_.sr, 0x1234u);
  rig_.Do(0x138000 | kPass | 14 << 4 | 3 << 2);
  EXPECT_EQ(s_.dataRam[0x40], 0x1234);
  EXPECT_EQ(s_.dag[7].i, 0x3841u);
}

TEST_F(ShiftForms, AConditionGuardsTheShift) {
  rig_.Do(0x0E0000 | kPass | 0);
  EXPECT_EQ(bank_.sr, 0u);
  rig_.Do(0x0E0000 | kPass | 1);
  EXPECT_EQ(bank_.sr, 0x1234u);
}

TEST_F(ShiftForms, BitsThatNoFieldNamesAreIgnored) {
  rig_.Do(0x0F8000 | kPass);
  EXPECT_EQ(bank_.sr, 0x1234u);
  bank_.sr = 0;
  rig_.Do(0x108000 | kPass | 0 << 4 | 14);
  EXPECT_EQ(bank_.sr, 0x1234u);
  s_.pcDepth = 1;
  s_.pcStack[0] = 12;
  rig_.Do(0x0AFFEF);
  EXPECT_EQ(s_.pc, 12u);
  s_.dag[4].i = 34;
  rig_.Do(0x0BFF2F);
  EXPECT_EQ(s_.pc, 34u);
}

}  // namespace
}  // namespace vx::test
