// Buses, address generators and register groups.
#include <gtest/gtest.h>

#include "tests/sound/DspRig.h"

namespace vx::test {
namespace {

class Memory : public testing::Test {
 protected:
  CDspRig rig_;
  CADSP& p_ = rig_.processor;
  SADSPState& s_ = rig_.State();
};

// --- Buses ---------------------------------------------------------------------------------------

TEST_F(Memory, ADataWriteReplacesTheHighBitsOfTheSharedWordAndKeepsItsLowByte) {
  struct SPair {
    u32 data, program;
  };
  for (const SPair& pair : {SPair{0x0400, 0x0400},
                            {0x0C00, 0x0400},
                            {0x1400, 0x0400},
                            {0x0800, 0x0800},
                            {0x0000, 0x0800},
                            {0x1FFF, 0x07FF}}) {
    p_.WriteProgram(pair.program, 0xABCDEF);
    p_.WriteData(pair.data, 0x1234);
    EXPECT_EQ(p_.ReadProgram(pair.program), 0x1234EFu);
    EXPECT_EQ(p_.ReadData(pair.data), 0x1234);
  }
}

TEST_F(Memory, InternalProgramRamIsNotOnTheDataBus) {
  p_.WriteProgram(0x10, 0x123456);
  EXPECT_EQ(p_.ReadData(0x10), 0);
  p_.WriteData(0x10, 0x7777);
  EXPECT_EQ(p_.ReadProgram(0x10), 0x123456u);
}

TEST_F(Memory, ProgramAddressesAboveExternalRamHoldNothing) {
  p_.WriteProgram(0x2000, 0x123456);
  EXPECT_EQ(p_.ReadProgram(0x2000), 0u);
  EXPECT_EQ(p_.ReadProgram(0x800), 0u);
}

TEST_F(Memory, DataRamHas512WordsAndItsNeighboursAreHoles) {
  p_.WriteData(0x3800, 1);
  p_.WriteData(0x39FF, 2);
  p_.WriteData(0x3A00, 3);
  EXPECT_EQ(s_.dataRam[0], 1);
  EXPECT_EQ(s_.dataRam[511], 2);
  EXPECT_EQ(p_.ReadData(0x3800), 1);
  EXPECT_EQ(p_.ReadData(0x39FF), 2);
  EXPECT_EQ(p_.ReadData(0x3A00), 0);
  EXPECT_EQ(p_.ReadData(0x3000), 0);
}

TEST_F(Memory, TheWindowShowsRomBytesBelowOnesAndDropsWrites) {
  rig_.rom[0] = 0x12;
  rig_.rom[0xFFF] = 0x80;
  rig_.rom[0x3000] = 0x34;
  EXPECT_EQ(p_.ReadData(0x2000), 0xFF12);
  EXPECT_EQ(p_.ReadData(0x2FFF), 0xFF80);
  p_.WriteData(0x2000, 0x5555);
  EXPECT_EQ(p_.ReadData(0x2000), 0xFF12);
  rig_.board.link.bankOffset = 0x3000;
  EXPECT_EQ(p_.ReadData(0x2000), 0xFF34);
}

TEST_F(Memory, ABankFromAForeignStateStaysInsideTheImage) {
  rig_.rom.back() = 0x77;
  rig_.board.link.bankOffset = 0xFFFFFFFF;
  EXPECT_EQ(p_.ReadData(0x2FFF), 0xFF77);
}

TEST_F(Memory, AddressesBeyond14BitsReadNought) {
  EXPECT_EQ(p_.ReadData(0x4000), 0);
  EXPECT_EQ(p_.ReadData(0xFFFFFFFF), 0);
  EXPECT_TRUE(p_.WriteData(0x12345678, 1));
}

TEST_F(Memory, AProgramReadPutsTheLowByteIntoPx) {
  p_.WriteProgram(0x100, 0xABCDEF);
  s_.dag[5].i = 0x100;
  s_.dag[5].m = 1;
  rig_.Do(0x500000 | 0 << 4 | 1 << 2 | 1);  // AX0 = PM(I5,M5)
  EXPECT_EQ(s_.bank.ax[0], 0xABCD);
  EXPECT_EQ(s_.px, 0xEFu);
  EXPECT_EQ(s_.dag[5].i, 0x101u);
  s_.dag[5].i = 0x2100;
  rig_.Do(0x500000 | 0 << 4 | 1 << 2 | 1);
  EXPECT_EQ(s_.bank.ax[0], 0);
  EXPECT_EQ(s_.px, 0u);
}

TEST_F(Memory, AProgramWriteTakesItsLowByteFromPxAndThenComputes) {
  s_.px = 0x5A;
  s_.dag[4].i = 0x200;
  s_.dag[4].m = 0xFFFFFFFF;
  s_.bank.mr = 0x1234u << 16;
  s_.bank.mx[0] = 3, s_.bank.my[0] = 5;
  s_.mstat = kMstatIntegerMac;
  rig_.Do(0x580000 | 4 << 13 | 12 << 4);  // PM(I4,M4) = MR1, MR = MX0 * MY0
  EXPECT_EQ(p_.ReadProgram(0x200), 0x12345Au);
  EXPECT_EQ(s_.dag[4].i, 0x1FFu);
  EXPECT_EQ(s_.bank.mr, 15u);
}

// --- Address generators --------------------------------------------------------------------------

TEST_F(Memory, TheMaskIsWhatAWalkOfTheBufferLeavesStanding) {
  struct SCase {
    u32 length, mask;
  };
  for (const SCase& row : {SCase{0, 0x3FFF},
                           {1, 0x3FFF},
                           {2, 0x3FFE},
                           {3, 0x3FFC},
                           {4, 0x3FFC},
                           {5, 0x3FF8},
                           {8, 0x3FF8},
                           {9, 0x3FF0},
                           {0x2000, 0x2000},
                           {0x2001, 0},
                           {0x3FFF, 0}}) {
    rig_.Do(0x340008 | row.length << 4);  // L0
    EXPECT_EQ(s_.dag[0].mask, row.mask) << row.length;
  }
}

TEST_F(Memory, AnIndexWriteTakesItsBaseFromTheLengthInForce) {
  rig_.Do(0x340008 | 8 << 4);
  rig_.Do(0x340000 | 0x105 << 4);
  EXPECT_EQ(s_.dag[0].base, 0x100u);
  rig_.Do(0x340008 | 3 << 4);
  EXPECT_EQ(s_.dag[0].base, 0x104u) << "a length write takes it anew";
  EXPECT_EQ(s_.dag[0].i, 0x105u);
}

TEST_F(Memory, AResetLeavesEveryMaskOfAnEmptyLength) {
  p_.FullReset();
  for (const SADSPAddress& address : s_.dag) EXPECT_EQ(address.mask, 0x3FFFu);
}

struct SStep {
  u32 base, length, index;
  i32 modifier;
  u32 after;
};

class PostModifySteps : public testing::TestWithParam<SStep> {};

TEST_P(PostModifySteps, CorrectByOneLengthOnce) {
  const SStep& row = GetParam();
  CDspRig rig;
  rig.State().dag[6] = {row.index, row.length, 0, row.base, CircularMask(row.length)};
  rig.State().dag[5].m = static_cast<u32>(row.modifier);
  rig.Do(0x090010 | 2 << 2 | 1);  // MODIFY (I6,M5)
  EXPECT_EQ(rig.State().dag[6].i, row.after);
  EXPECT_EQ(rig.State().dag[6].base, row.base) << "the base stays";
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(All, PostModifySteps, testing::Values(
    // base    length  index   by     after
    SStep{ 0x100,  8,  0x107,   1,   0x100 },
    SStep{ 0x100,  8,  0x105,   2,   0x107 },
    SStep{ 0x100,  8,  0x100,  -1,   0x107 },
    SStep{ 0x100,  8,  0x100,  20,   0x10C },  // out by more than one length
    SStep{ 5,      1,  5,       1,   5      },  // stands still
    SStep{ 0,      0,  0x3FFF,  1,   0      },  // plain wrap
    SStep{ 0x300,  0,  0x10,    1,   0x11   },  // a stale base corrects nothing
    SStep{ 0,      4,  0,      -1,   0x3FFB },  // below 0 is high up, and comes down once
    SStep{ 0x3FF8, 8,  0x3FFF,  1,   8      },  // a buffer at the end does not wrap
    SStep{ 0x3FFE, 4,  0x3FFE,  1,   0x3FFF },
    SStep{ 0x3FF0, 0x3FFF, 0x3FF0, 0x20, 0x400F }));  // the sum is not masked again
// clang-format on

TEST_F(Memory, BitReversalTurnsTheFirstGeneratorsAddressesAlone) {
  s_.mstat = kMstatBitReverse;
  s_.dag[0].i = 0x0038;  // reversed 0x0700
  s_.dag[0].m = 1;
  p_.WriteData(0x0700, 0x1111);
  p_.WriteData(0x0038, 0x2222);
  rig_.Do(0x600000);  // AX0 = DM(I0,M0)
  EXPECT_EQ(s_.bank.ax[0], 0x1111);
  EXPECT_EQ(s_.dag[0].i, 0x0039u) << "the step is on the address as it is";
  s_.dag[4].i = 0x0038;
  rig_.Do(0x700000);  // AX0 = DM(I4,M4)
  EXPECT_EQ(s_.bank.ax[0], 0x2222);
}

TEST_F(Memory, EveryBitOfAnAddressIsReversed) {
  for (u32 bit = 0; bit < 14; ++bit) EXPECT_EQ(ReverseAddress(1u << bit), 1u << (13 - bit));
  EXPECT_EQ(ReverseAddress(0x3FFF), 0x3FFFu);
}

// --- Register groups -----------------------------------------------------------------------------

TEST_F(Memory, ImmediatesReachAllDataRegistersWithoutSideEffects) {
  SADSPBank& bank = s_.bank;
  bank.mr = ~u64{0};
  for (u32 index = 0; index < 16; ++index) rig_.Do(0x400000 | (0x8000u + index) << 4 | index);
  EXPECT_EQ(bank.ax[0], 0x8000);
  EXPECT_EQ(bank.ax[1], 0x8001);
  EXPECT_EQ(bank.mx[0], 0x8002);
  EXPECT_EQ(bank.mx[1], 0x8003);
  EXPECT_EQ(bank.ay[0], 0x8004);
  EXPECT_EQ(bank.ay[1], 0x8005);
  EXPECT_EQ(bank.my[0], 0x8006);
  EXPECT_EQ(bank.my[1], 0x8007);
  EXPECT_EQ(bank.si, 0x8008);
  EXPECT_EQ(static_cast<u16>(bank.se), 0x8009) << "all sixteen bits are kept";
  EXPECT_EQ(bank.ar, 0x800A);
  EXPECT_EQ(bank.mr, 0xFFFF800D800C800Bu) << "no load of MR1 extends its sign";
  EXPECT_EQ(bank.sr, 0x800F800Eu);
}

TEST_F(Memory, AddressRegistersMoveThroughTheirGroups) {
  for (u32 group = 1; group <= 2; ++group) {
    for (u32 i = 0; i < 4; ++i) {
      const u32 dag = (group - 1) * 4 + i;
      const u32 opcode = group == 1 ? 0x340000u : 0x380000u;
      rig_.Do(opcode | 16u << 4 | (8 + i));
      rig_.Do(opcode | (0x210 + i) << 4 | i);
      rig_.Do(opcode | 0x3FFFu << 4 | (4 + i));
      EXPECT_EQ(s_.dag[dag].i, 0x210u + i);
      EXPECT_EQ(s_.dag[dag].m, 0xFFFFFFFFu) << "modifiers are signed";
      EXPECT_EQ(s_.dag[dag].l, 16u);
      rig_.Do(opcode | 99u << 4 | (12 + i));
      EXPECT_EQ(s_.dag[dag].l, 16u) << "the mirror of a length is not written";
      rig_.Do(Move(0, 0, group, 12 + i));
      EXPECT_EQ(s_.bank.ax[0], 16) << "but read";
      rig_.Do(Move(0, 0, group, 4 + i));
      EXPECT_EQ(s_.bank.ax[0], 0xFFFF);
      rig_.Do(Move(0, 0, group, i));
      EXPECT_EQ(s_.bank.ax[0], 0x210 + i);
    }
  }
}

TEST_F(Memory, AnIndexAbove14BitsIsReadWholeAndPutOnTheBusInside) {
  s_.dag[1].i = 0x4200;
  rig_.Do(Move(0, 0, 1, 1));
  EXPECT_EQ(s_.bank.ax[0], 0x4200);
  p_.WriteData(0x0200, 0x7654);
  rig_.Do(0x600000 | 1 << 2);
  EXPECT_EQ(s_.bank.ax[0], 0x7654);
  EXPECT_EQ(s_.dag[1].i, 0x0200u);
}

TEST_F(Memory, DataAddressesLoadAndStoreTheirGroups) {
  const u32 at = 0x3810;
  p_.WriteData(at, 0x9234);
  rig_.Do(0x800000 | at << 4 | 0);
  EXPECT_EQ(s_.bank.ax[0], 0x9234);
  rig_.Do(0x840000 | at << 4 | 2);
  EXPECT_EQ(s_.dag[2].i, 0x1234u);
  rig_.Do(0x880000 | at << 4 | 6);
  EXPECT_EQ(s_.dag[6].m, 0x1234u);
  rig_.Do(0x8C0000 | at << 4 | 7);
  EXPECT_EQ(s_.px, 0x34u);
  s_.bank.sr = 0xBEEF0000;
  rig_.Do(0x900000 | at << 4 | 15);
  EXPECT_EQ(p_.ReadData(at), 0xBEEF);
  rig_.Do(0x940000 | at << 4 | 2);
  EXPECT_EQ(p_.ReadData(at), 0x1234);
  s_.dag[7].m = 0xFFFFFFFE;
  rig_.Do(0x980000 | at << 4 | 7);
  EXPECT_EQ(p_.ReadData(at), 0xFFFE);
}

TEST_F(Memory, ImmediateStoresStepTheirGenerator) {
  s_.dag[2] = {0x3820, 0, 0, 0, 0x3FFF};
  s_.dag[3].m = 2;
  rig_.Do(0xA00000 | 0xCAFEu << 4 | 2 << 2 | 3);
  EXPECT_EQ(p_.ReadData(0x3820), 0xCAFE);
  EXPECT_EQ(s_.dag[2].i, 0x3822u);
  s_.dag[5] = {0x3830, 0, 0, 0, 0x3FFF};
  s_.dag[4].m = 0xFFFFFFFF;
  rig_.Do(0xB00000 | 0xBABEu << 4 | 1 << 2);
  EXPECT_EQ(p_.ReadData(0x3830), 0xBABE);
  EXPECT_EQ(s_.dag[5].i, 0x382Fu);
}

// --- Control registers ---------------------------------------------------------------------------

TEST_F(Memory, ControlRegistersKeepTheirWidths) {
  struct SCase {
    u32 index;
    u32 read;  // after a load of 0x3FFF, which is -1
  };
  for (const SCase& row :
       {SCase{0, 0xFF}, {1, 0x7F}, {3, 0x3F}, {4, 0x1F}, {5, 0x3FFF}, {6, 0xFFFFFFFF}, {7, 0xFF}}) {
    rig_.Do(LoadControl(row.index, 0x3FFF));
    EXPECT_EQ(p_.ReadGroup(3, row.index), row.read) << row.index;
  }
  rig_.Do(LoadControl(6, 0x0F));
  EXPECT_EQ(s_.bank.sb, 15);
  rig_.Do(LoadControl(6, 0x10));
  EXPECT_EQ(s_.bank.sb, -16);
  EXPECT_TRUE(rig_.port.lines.empty());
}

TEST_F(Memory, OwrCntrReplacesTheCounterWithoutAPush) {
  s_.cntr = 5;
  rig_.Do(LoadControl(13, 0x3FFF));
  EXPECT_EQ(s_.cntr, 0x3FFFu);
  EXPECT_EQ(s_.counterDepth, 0);
}

TEST_F(Memory, UnreadableControlRegistersTellTheHostAndReadNought) {
  for (u32 index = 8; index < 16; ++index) {
    rig_.port.lines.clear();
    s_.bank.ax[0] = 7;
    s_.pcDepth = 2;
    rig_.Do(Move(0, 0, 3, index));
    EXPECT_EQ(s_.bank.ax[0], 0);
    EXPECT_EQ(s_.pcDepth, 2) << "nothing is popped";
    ASSERT_EQ(rig_.port.lines.size(), 1u);
    EXPECT_EQ(rig_.port.lines[0].level, 1);
    EXPECT_EQ(rig_.port.lines[0].text,
              "ReadInternalReg unimplemented: " + std::to_string(index) + "\n");
  }
}

TEST_F(Memory, UnwritableControlRegistersTellTheHostAndTheTransmittersAreSilent) {
  for (u32 index = 0; index < 16; ++index) rig_.Do(LoadControl(index, 0));
  std::vector<std::string> texts;
  for (const auto& line : rig_.port.lines) texts.push_back(line.text);
  EXPECT_EQ(texts,
            (std::vector<std::string>{
                "WriteInternalReg unimplemented: 2\n", "WriteInternalReg unimplemented: 8\n",
                "WriteInternalReg unimplemented: 10\n", "WriteInternalReg unimplemented: 14\n"}));
}

TEST_F(Memory, IfcClearsAndForcesInItsOwnBitOrder) {
  constexpr u32 kPending[5] = {0, 1, 3, 4, 2};
  for (u32 bit = 0; bit < 5; ++bit) {
    s_.irqLatched = 0x3F;
    rig_.Do(LoadControl(12, 2u << bit));
    EXPECT_EQ(s_.irqLatched, 0x3Fu & ~(1u << kPending[bit]));
    s_.irqLatched = 0;
    rig_.Do(LoadControl(12, 0x80u << bit));
    EXPECT_EQ(s_.irqLatched, 1u << kPending[bit]);
    rig_.Do(LoadControl(12, 0x82u << bit));
    EXPECT_EQ(s_.irqLatched, 1u << kPending[bit]) << "cleared first, then forced";
  }
}

// --- Banks and modes -----------------------------------------------------------------------------

TEST_F(Memory, TheBanksAreExchangedWhenTheirBitChangesAndNotOtherwise) {
  s_.bank.ax[0] = 1, s_.bank.sb = 3;
  s_.alternateBank.ax[0] = 2, s_.alternateBank.sb = 4;
  rig_.Do(0x0C0030);  // alternate set
  EXPECT_EQ(s_.bank.ax[0], 2);
  EXPECT_EQ(s_.bank.sb, 4);
  rig_.Do(0x0C0030);
  EXPECT_EQ(s_.bank.ax[0], 2);
  rig_.Do(LoadControl(1, 0x7F));
  EXPECT_EQ(s_.bank.ax[0], 2);
  rig_.Do(LoadControl(1, 0));
  EXPECT_EQ(s_.bank.ax[0], 1);
}

TEST_F(Memory, ModeControlTouchesWhatItsPairsName) {
  constexpr u32 kModes[7] = {6, 0, 1, 2, 3, 4, 5};  // MSTAT bits by pair
  for (u32 pair = 0; pair < 7; ++pair) {
    const u32 enable = 2u << (2 + 2 * pair), value = 1u << (2 + 2 * pair);
    s_.mstat = 0;
    rig_.Do(0x0C0000 | value);
    EXPECT_EQ(s_.mstat, 0u) << "the value alone does nothing";
    rig_.Do(0x0C0000 | enable | value);
    EXPECT_EQ(s_.mstat, 1u << kModes[pair]);
    s_.mstat = 0x7F;
    rig_.Do(0x0C0000 | enable);
    EXPECT_EQ(s_.mstat, 0x7Fu & ~(1u << kModes[pair]));
  }
}

// --- Resets --------------------------------------------------------------------------------------

TEST_F(Memory, AProcessorResetLeavesMemoriesBanksModesAndLatches) {
  s_.internalRam[3] = 1, s_.externalRam[3] = 2, s_.dataRam[3] = 3;
  s_.bank.ar = 4, s_.alternateBank.ar = 5, s_.px = 6, s_.icntl = 7;
  s_.mstat = 0x41, s_.irqLatched = 9, s_.loopCond = 5, s_.cutCycles = 0;
  s_.dag[2] = {0x7123, 0x4008, 5, 0, 0};
  s_.pc = 77, s_.cntr = 8, s_.astat = 0xFF, s_.imask = 0x3F, s_.irqLevel = 4, s_.loopEnd = 9;
  s_.pcDepth = 3, s_.loopDepth = 2, s_.counterDepth = 1, s_.statusDepth = 4, s_.sstat = 0xAA;
  s_.pcStack[1] = 1234;
  p_.ProcessorReset();
  EXPECT_EQ(s_.internalRam[3], 1u);
  EXPECT_EQ(s_.externalRam[3], 2u);
  EXPECT_EQ(s_.dataRam[3], 3);
  EXPECT_EQ(s_.bank.ar, 4);
  EXPECT_EQ(s_.alternateBank.ar, 5);
  EXPECT_EQ(s_.px, 6u);
  EXPECT_EQ(s_.icntl, 7u);
  EXPECT_EQ(s_.mstat, 0x41u);
  EXPECT_EQ(s_.irqLatched, 9u);
  EXPECT_EQ(s_.loopCond, 5u);
  EXPECT_EQ(s_.pcStack[1], 1234u);
  EXPECT_EQ(s_.dag[2].i, 0x3123u);
  EXPECT_EQ(s_.dag[2].l, 8u);
  EXPECT_EQ(s_.dag[2].base, 0x3120u);
  EXPECT_EQ(s_.pc, 0u);
  EXPECT_EQ(s_.cntr, 0u);
  EXPECT_EQ(s_.astat, 0u);
  EXPECT_EQ(s_.imask, 0u);
  EXPECT_EQ(s_.irqLevel, 0u);
  EXPECT_EQ(s_.loopEnd, 65535u);
  EXPECT_EQ(s_.sstat, 0x55u);
  EXPECT_EQ(s_.pcDepth + s_.loopDepth + s_.counterDepth + s_.statusDepth, 0);
}

TEST_F(Memory, AFullResetKeepsModesLatchesAndTheClock) {
  s_.mstat = 0x41, s_.irqLatched = 9, s_.clockMHz = 10.0, s_.loopCond = 5;
  s_.bank.ar = 4, s_.px = 6, s_.icntl = 7, s_.dataRam[3] = 3;
  p_.FullReset();
  EXPECT_EQ(s_.mstat, 0x41u);
  EXPECT_EQ(s_.irqLatched, 9u);
  EXPECT_EQ(s_.loopCond, 5u);
  EXPECT_EQ(s_.clockMHz, 10.0);
  EXPECT_EQ(s_.bank.ar, 0);
  EXPECT_EQ(s_.px, 0u);
  EXPECT_EQ(s_.icntl, 0u);
  EXPECT_EQ(s_.dataRam[3], 0);
}

}  // namespace
}  // namespace vx::test
