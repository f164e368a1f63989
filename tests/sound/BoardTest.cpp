// The board: latches, bank, boot, resets, and the transfer of samples.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/sound/DspRig.h"

namespace vx::test {
namespace {

class Board : public testing::Test {
 protected:
  CDspRig rig_;
  CADSP& p_ = rig_.processor;
  CSoundBoard& board_ = rig_.board;
  SADSPState& s_ = rig_.State();
  // Fires the soonest event.
  void Fire() {
    rig_.now = rig_.queue.Entries().back().time;
    rig_.queue.Advance();
  }
};

// --- Latches -------------------------------------------------------------------------------------

TEST_F(Board, ACommandRaisesItsLineAndTellsTheListeners) {
  board_.WriteCommand(0x1234);
  EXPECT_FALSE(board_.IsCommandTaken());
  EXPECT_EQ(s_.irqLevel, u32{kPendingCommand});
  EXPECT_EQ(s_.irqLatched, u32{kPendingCommand});
  EXPECT_EQ(rig_.cuts, 1u);
  EXPECT_EQ(p_.ReadData(0x3400), 0x1234);
  EXPECT_TRUE(board_.IsCommandTaken());
  EXPECT_EQ(s_.irqLevel, 0u);
  EXPECT_EQ(s_.irqLatched, u32{kPendingCommand}) << "the latch waits for its interrupt";
}

TEST_F(Board, ASecondCommandReplacesTheFirstAndLatchesNothingMore) {
  board_.WriteCommand(1);
  s_.irqLatched = 0;
  board_.WriteCommand(2);
  EXPECT_EQ(s_.irqLatched, 0u);
  EXPECT_EQ(p_.ReadData(0x37FF), 2);
}

TEST_F(Board, AReplyIsStoredAndMarkedAsNotTaken) {
  EXPECT_EQ(board_.link.boardFlags, 0xC00u);
  p_.WriteData(0x3400, 0x4321);
  EXPECT_EQ(board_.link.replyLatch, 0x4321);
  EXPECT_EQ(board_.link.boardFlags, 0x800u);
}

TEST_F(Board, DevicesAnswerInTheirRangesAlone) {
  board_.link.commandLatch = 0x55AA;
  EXPECT_EQ(p_.ReadData(0x33FF), 0);
  EXPECT_EQ(p_.ReadData(0x3400), 0x55AA);
  EXPECT_EQ(p_.ReadData(0x37FF), 0x55AA);
  EXPECT_EQ(p_.ReadData(0x3800), 0);
  p_.WriteData(0x33FF, 1);
  EXPECT_EQ(board_.link.bankRegister, 1u);
  p_.WriteData(0x3FDF, 7);
  for (const u16 value : board_.link.controlRegs) EXPECT_EQ(value, 0);
}

TEST_F(Board, AnInterruptDropEventLowersTheLineItNames) {
  s_.irqLevel = 0x3F;
  rig_.queue.Schedule(1.0, 2, 3);  // the second event that the board registers
  Fire();
  EXPECT_EQ(s_.irqLevel, 0x37u);
}

// --- Bank ----------------------------------------------------------------------------------------

TEST_F(Board, ABankSelectsRomAndWindow) {
  p_.WriteData(0x3000, 0x105);
  EXPECT_EQ(board_.link.bankOffset, (128u + 5) * 4096);
  p_.WriteData(0x3000, 0xFFFF);
  EXPECT_EQ(board_.link.bankRegister, 0x7FFu);
  EXPECT_EQ(board_.link.bankOffset, (7u * 128 + 255) * 4096);
}

TEST_F(Board, TheSameBankAgainLeavesTheOffsetAlone) {
  p_.WriteData(0x3000, 0x105);
  board_.link.bankOffset = 12345;
  p_.WriteData(0x3000, 0x105);
  EXPECT_EQ(board_.link.bankOffset, 12345u);
  p_.WriteData(0x3000, 0x905);
  EXPECT_EQ(board_.link.bankOffset, 12345u) << "eleven bits count";
}

// --- Boot ----------------------------------------------------------------------------------------

TEST_F(Board, ABootLoadsEightWordsForACountOfNought) {
  for (u32 i = 0; i < 64; ++i) rig_.rom[i] = static_cast<u8>(i + 1);
  rig_.rom[3] = 0;
  s_.internalRam[8] = 0x777777;
  rig_.now = 5.0;
  board_.BootLoad();
  EXPECT_EQ(s_.internalRam[0], 0x010203u);
  EXPECT_EQ(s_.internalRam[1], 0x050607u);
  EXPECT_EQ(s_.internalRam[7], 0x1D1E1Fu);
  EXPECT_EQ(s_.internalRam[8], 0x777777u);
  ASSERT_NE(rig_.Pending(p_.bootDoneEventId), nullptr);
  EXPECT_EQ(rig_.Pending(p_.bootDoneEventId)->time, 1005.0);
  board_.BootLoad();
  EXPECT_EQ(rig_.Count(p_.bootDoneEventId), 1u);
}

TEST_F(Board, ALongBootRunsOnIntoExternalRam) {
  rig_.rom[3] = 255;
  rig_.rom[4 * 1023 + 2] = 0x11;
  rig_.rom[4 * 1024 + 2] = 0x22;
  rig_.rom[4 * 2047 + 2] = 0x33;
  s_.externalRam[1024] = 0x777777;
  board_.BootLoad();
  EXPECT_EQ(s_.internalRam[1023], 0x11u);
  EXPECT_EQ(s_.externalRam[0], 0x22u);
  EXPECT_EQ(s_.externalRam[1023], 0x33u);
  EXPECT_EQ(s_.externalRam[1024], 0x777777u);
}

TEST_F(Board, ABootComesFromTheSelectedBank) {
  p_.WriteData(0x3000, 2);
  rig_.rom[2 * 4096 + 2] = 0x99;
  board_.BootLoad();
  EXPECT_EQ(s_.internalRam[0], 0x99u);
}

TEST_F(Board, TheEndOfABootPlantsThePatches) {
  rig_.Program(291, {0x3C1005, 0x8390E6, 0x14129E, 0x600020, 0x20A00F, 0x050000, 0x6800C1});
  rig_.queue.Schedule(1000.0, p_.bootDoneEventId, 0);
  Fire();
  EXPECT_EQ(p_.ReadProgram(291), 0x010002u);
}

// --- Resets --------------------------------------------------------------------------------------

TEST_F(Board, TheResetRegisterActsOnceUntilItIsReleased) {
  rig_.rom[2] = 0x42;
  s_.pc = 99;
  board_.link.commandLatch = 7;
  board_.link.boardFlags = 0;
  board_.sampleCount = 5;
  board_.SoundReset();
  EXPECT_EQ(s_.pc, 0u);
  EXPECT_EQ(s_.internalRam[0], 0x42u);
  EXPECT_EQ(board_.link.commandLatch, 0);
  EXPECT_EQ(board_.link.boardFlags, 0xC00u);
  EXPECT_EQ(board_.sampleCount, 0u);
  EXPECT_EQ(board_.link.soundResetHeld, 1);
  s_.pc = 99;
  board_.SoundReset();
  EXPECT_EQ(s_.pc, 99u);
  rig_.Run(3);
  EXPECT_EQ(s_.pc, 102u) << "a held reset does not stop the processor";
  board_.ReleaseReset();
  board_.SoundReset();
  EXPECT_EQ(s_.pc, 0u);
}

TEST_F(Board, ABoardResetStopsTheTransferAndClearsItsRegisters) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  EXPECT_EQ(rig_.Count(board_.TickId()), 1u);
  board_.BoardReset();
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u);
  EXPECT_EQ(board_.link.samplePeriod, 0.0);
  EXPECT_EQ(board_.link.tickPeriod, 0.0);
  EXPECT_EQ(board_.link.autobufferLength, 0u);
  for (const u16 value : board_.link.controlRegs) EXPECT_EQ(value, 0);
}

TEST_F(Board, AForcedBootResetsTheProcessorAndKeepsTheBoard) {
  rig_.rom[2] = 0x42;
  s_.pc = 99;
  s_.bank.ar = 5;
  board_.link.commandLatch = 7;
  EXPECT_FALSE(p_.WriteData(0x3FFF, 0x0200));
  EXPECT_EQ(s_.pc, 0u);
  EXPECT_EQ(s_.internalRam[0], 0x42u);
  EXPECT_EQ(s_.bank.ar, 5);
  EXPECT_EQ(board_.link.commandLatch, 7);
  EXPECT_EQ(rig_.cuts, 1u);
  EXPECT_EQ(board_.link.controlRegs[31], 0x0200);
}

TEST_F(Board, AForcedBootKeepsARunningTransferIfThePortStaysEnabled) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  p_.WriteData(0x3FFF, 0x0A00);
  EXPECT_EQ(rig_.Count(board_.TickId()), 1u);
  p_.WriteData(0x3FFF, 0x0200);
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u);
}

TEST_F(Board, ControlRegistersReadNought) {
  for (u32 address = 0x3FE0; address < 0x4000; ++address) {
    p_.WriteData(address, 0x0055);
    EXPECT_EQ(board_.link.controlRegs[address - 0x3FE0], 0x0055);
    EXPECT_EQ(p_.ReadData(address), 0);
  }
}

// --- Configuring a transfer ----------------------------------------------------------------------

TEST_F(Board, ATransferNeedsBothItsEnables) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  p_.WriteData(0x3FFF, 0);
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u);
  rig_.Do(LoadControl(11, 0));
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u);
  p_.WriteData(0x3FFF, 0x0800);
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u) << "only TX1 starts it";
  rig_.Do(LoadControl(11, 0));
  EXPECT_EQ(rig_.Count(board_.TickId()), 1u);
  p_.WriteData(0x3FEF, 0x0E00);
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u);
  p_.WriteData(0x3FEF, 0x0E02);
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u);
}

TEST_F(Board, ConfiguringTakesRegistersAndClearsTheIndexsLowBits) {
  p_.WriteLength(6, 48);
  p_.WriteIndex(6, 0x3815);
  const u32 base = s_.dag[6].base;
  p_.WriteGroup(2, 6, 2);  // M6
  p_.WriteData(0x3FFF, 0x0800);
  p_.WriteData(0x3FF2, 0x4000);
  p_.WriteData(0x3FF1, 24);
  p_.WriteData(0x3FEF, 6 << 9 | 2 << 7 | 2);
  rig_.now = 3.0;
  rig_.Do(LoadControl(11, 0));
  EXPECT_EQ(s_.dag[6].i, 0x3810u);
  EXPECT_EQ(s_.dag[6].base, base) << "the base is not taken anew";
  EXPECT_EQ(board_.link.autobufferIndex, 6u);
  EXPECT_EQ(board_.link.autobufferBase, 0x3810u);
  EXPECT_EQ(board_.link.autobufferLength, 48u);
  EXPECT_EQ(board_.link.autobufferStep, 2u);
  EXPECT_EQ(board_.link.samplePeriod, 80.0);
  EXPECT_EQ(board_.link.tickPeriod, 48 * 80.0 / 4);
  EXPECT_EQ(rig_.Pending(board_.TickId())->time, 3.0 + 960.0);
}

TEST_F(Board, AnExternalClockGives32MicrosecondsWhateverTheDivisor) {
  rig_.StartTransfer(7, 0x3800, 64, 1, 1000);
  p_.WriteData(0x3FF2, 0);
  rig_.Do(LoadControl(11, 0));
  EXPECT_EQ(board_.link.samplePeriod, 32.0);
  EXPECT_EQ(board_.SampleRate(), 31250);
}

TEST_F(Board, RatesAreWholeWhereTheirPeriodsAre) {
  EXPECT_EQ(board_.SampleRate(), 31250);
  struct SCase {
    u32 divider;
    i64 rate;
  };
  for (const SCase& row : {SCase{24, 12500},
                           {49, 6250},
                           {99, 3125},
                           {19, 15625},
                           {9, 31250},
                           {0, 312500},
                           {65535, 4}}) {
    rig_.StartTransfer(7, 0x3800, 64, 1, row.divider);
    EXPECT_EQ(board_.SampleRate(), row.rate) << row.divider;
  }
}

TEST_F(Board, APeriodThatIsNotAboveNoughtSchedulesNothing) {
  rig_.StartTransfer(7, 0x3800, 0, 1);
  EXPECT_EQ(board_.link.tickPeriod, 0.0);
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u);
  rig_.StartTransfer(7, 0x3800, 64, 0x3FFF);
  EXPECT_LT(board_.link.tickPeriod, 0.0);
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u);
  rig_.StartTransfer(7, 0x3800, 0, 0);
  EXPECT_TRUE(std::isnan(board_.link.tickPeriod));
  EXPECT_EQ(rig_.Count(board_.TickId()), 0u);
  rig_.StartTransfer(7, 0x3800, 64, 0);
  EXPECT_TRUE(std::isinf(board_.link.tickPeriod));
  EXPECT_EQ(rig_.Count(board_.TickId()), 1u) << "it never comes due";
}

// --- Ticks ---------------------------------------------------------------------------------------

TEST_F(Board, ATickSendsHalfABufferAndTwoOfThemRaiseTheInterrupt) {
  for (u32 i = 0; i < 64; ++i) p_.WriteData(0x3800 + i, static_cast<u16>(100 + i));
  rig_.StartTransfer(7, 0x3800, 64, 1);
  s_.icntl = 2;
  const f64 period = board_.link.tickPeriod;
  EXPECT_EQ(period, 64 * 64.0 / 2);
  Fire();
  EXPECT_EQ(board_.sampleCount, 32u);
  EXPECT_EQ(s_.dag[7].i, 0x3820u);
  EXPECT_EQ(s_.irqLatched, 0u);
  EXPECT_EQ(rig_.Pending(board_.TickId())->time, 2 * period);
  Fire();
  EXPECT_EQ(board_.sampleCount, 64u);
  for (u32 i = 0; i < 64; ++i) EXPECT_EQ(board_.sampleBuffer[i], 100 + i);
  EXPECT_EQ(s_.dag[7].i, 0x3800u);
  EXPECT_EQ(s_.irqLatched, u32{kPendingTransmit});
  EXPECT_EQ(s_.irqLevel, 0u);
  EXPECT_EQ(rig_.Pending(board_.TickId())->time, 3 * period) << "counted from the time due";
}

TEST_F(Board, TheTransmitInterruptIsTakenAtOnceBeforeTheIndexIsStored) {
  rig_.StartTransfer(7, 0x3800, 2, 1);
  s_.imask = 4;
  s_.pc = 77;
  Fire();
  Fire();
  EXPECT_EQ(s_.pc, 16u);
  EXPECT_EQ(s_.pcStack[0], 77u);
  EXPECT_EQ(s_.dag[7].i, 0x3800u);
  EXPECT_EQ(s_.irqLatched, 0u);
}

TEST_F(Board, AStepOfTwoSendsAQuarterOfTheWords) {
  for (u32 i = 0; i < 64; ++i) p_.WriteData(0x3800 + i, static_cast<u16>(i));
  rig_.StartTransfer(7, 0x3800, 64, 2);
  Fire();
  EXPECT_EQ(board_.sampleCount, 16u);
  EXPECT_EQ(board_.sampleBuffer[15], 30);
  EXPECT_EQ(s_.dag[7].i, 0x3820u);
}

TEST_F(Board, ATickReadsLiveIndexAndBaseButTheLengthOfItsConfiguration) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  p_.WriteLength(7, 8);
  p_.WriteIndex(7, 0x3900);
  p_.WriteData(0x3900, 0x1234);
  Fire();
  EXPECT_EQ(board_.sampleBuffer[0], 0x1234);
  EXPECT_EQ(board_.link.autobufferBase, 0x3900u);
  EXPECT_EQ(s_.dag[7].i, 0x3920u);
}

TEST_F(Board, ATickReadsDevicesAndNothingBeyondTheBus) {
  rig_.StartTransfer(7, 0x3400, 2, 1);
  board_.WriteCommand(0x4444);
  Fire();
  EXPECT_EQ(board_.sampleBuffer[0], 0x4444);
  EXPECT_TRUE(board_.IsCommandTaken());
  s_.dag[7].i = 0x3FFF;
  s_.dag[7].base = 0x3FF0;
  board_.link.autobufferLength = 8;
  Fire();
  EXPECT_EQ(board_.sampleCount, 1u + 4);
  EXPECT_EQ(board_.sampleBuffer[3], 0);
}

TEST_F(Board, AFullBufferLosesSamplesWhileThePointerAndTheInterruptGoOn) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  board_.sampleCount = 4095 - 31;  // one too many
  Fire();
  EXPECT_EQ(board_.sampleCount, 4095u - 31);
  EXPECT_EQ(s_.dag[7].i, 0x3820u);
  Fire();
  EXPECT_NE(s_.irqLatched & kPendingTransmit, 0u);
  board_.sampleCount = 4095 - 32;
  Fire();
  EXPECT_EQ(board_.sampleCount, 4095u) << "strictly below the buffer's size";
}

TEST_F(Board, ForeignTransferValuesDoNoHarm) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  board_.link.autobufferStep = 0x80000000;  // doubles to nothing
  board_.link.autobufferIndex = 0xFFFFFFFF;
  Fire();
  EXPECT_EQ(board_.sampleCount, 0u);
  board_.link.autobufferStep = 1;
  board_.link.autobufferLength = 0xFFFFFFFF;
  board_.sampleCount = 4000;
  Fire();
  EXPECT_EQ(board_.sampleCount, 4000u);
}

}  // namespace
}  // namespace vx::test
