// The sound strobe and the sound reset register.
#include "tests/devices/IoTest.h"

namespace vx::test {
namespace {

struct SoundStrobeTest : CLayoutTest {
  u16 Command() const { return m->soundBoard.link.commandLatch; }
  void Pulse() {
    Write(at.soundStrobe, 0, 4);
    Write(at.soundStrobe, 2, 4);
  }
};

TEST_P(SoundStrobeTest, ARisingEdgeHandsOverTheLow16BitsOfTheLatch) {
  Write(at.soundLatch, 0x12345678, 4);
  EXPECT_EQ(Command(), 0u) << "the latch alone does nothing";
  Write(at.soundStrobe, 2, 4);
  EXPECT_EQ(Command(), 0x5678u);
  EXPECT_FALSE(m->soundBoard.IsCommandTaken());
}

TEST_P(SoundStrobeTest, ASetBitThatStaysHandsOverNothing) {
  Write(at.soundStrobe, 2, 4);
  Write(at.soundLatch, 0x1111, 4);
  Write(at.soundStrobe, 2, 4);
  Write(at.soundStrobe, 0xFFFFFFFF, 4);
  EXPECT_EQ(Command(), 0u);
}

TEST_P(SoundStrobeTest, AFallingEdgeHandsOverNothing) {
  Write(at.soundStrobe, 2, 4);
  Write(at.soundLatch, 0x1111, 4);
  Write(at.soundStrobe, 0, 4);
  EXPECT_EQ(Command(), 0u);
}

TEST_P(SoundStrobeTest, TheEdgeIsThatOfTheMergedRegister) {
  Write(at.soundLatch, 0x1111, 4);
  Write(at.soundStrobe + 1, 2, 1);
  EXPECT_EQ(Command(), 0u) << "bit 9, not bit 1";
  Write(at.soundStrobe + 3, 0x0200, 2);
  EXPECT_EQ(Command(), 0x1111u) << "the second byte wraps to lane 0";
}

TEST_P(SoundStrobeTest, ACommandEndsTheRunningSlice) {
  m->cpu.cycles = 10;
  m->cpu.budget = 100;
  Pulse();
  EXPECT_EQ(m->cpu.stopMark, 11u);
}

TEST_P(SoundStrobeTest, EachStrobeTogglesThePhase) {
  Pulse();
  EXPECT_EQ(m->state.frameFlags, u32{kRunFlagSoundPhase});
  Write(at.soundStrobe, 2, 4);
  EXPECT_EQ(m->state.frameFlags, u32{kRunFlagSoundPhase});
  Pulse();
  EXPECT_EQ(m->state.frameFlags, 0u);
}

TEST_P(SoundStrobeTest, TheMarkOpensAWindowOfFourStrobesTheFirstIncluded) {
  m->SetInstanceCount(1);
  Write(at.soundLatch, 0x55, 4);
  Pulse();
  EXPECT_EQ(m->state.soundForwardCount, 3u);
  Write(at.soundLatch, 0x01, 4);
  for (const u32 left : {2u, 1u, 0u, 0u}) {
    Pulse();
    EXPECT_EQ(m->state.soundForwardCount, left);
  }
}

TEST_P(SoundStrobeTest, TheMarkCountsOnlyOnTheFirstByteOfAPair) {
  m->SetInstanceCount(1);
  Pulse();
  Write(at.soundLatch, 0x55, 4);
  Pulse();
  EXPECT_EQ(m->state.soundForwardCount, 0u);
  Pulse();
  EXPECT_EQ(m->state.soundForwardCount, 3u);
}

TEST_P(SoundStrobeTest, TheMarkIsTheLowByteOfTheLatch) {
  m->SetInstanceCount(1);
  Write(at.soundLatch, 0xFFFFFF55, 4);
  Pulse();
  EXPECT_EQ(m->state.soundForwardCount, 3u);
}

TEST_P(SoundStrobeTest, WithoutInstancesTheMarkOpensNoWindow) {
  Write(at.soundLatch, 0x55, 4);
  Pulse();
  EXPECT_EQ(m->state.soundForwardCount, 0u);
}

TEST_P(SoundStrobeTest, AMarkInsideTheWindowOpensItAnew) {
  m->SetInstanceCount(1);
  Write(at.soundLatch, 0x55, 4);
  Pulse();
  Pulse();
  EXPECT_EQ(m->state.soundForwardCount, 2u);
  Pulse();
  EXPECT_EQ(m->state.soundForwardCount, 3u);
}

// --- Reset register ------------------------------------------------------------------------------

struct SoundResetTest : CLayoutTest {
  // A reset announces the end of a boot 1,000 microseconds on; the pending event counts it.
  u32 ResetsAfter(u32 address, u64 value, u32 bytes) {
    m->queue.Cancel(m->sound.bootDoneEventId);
    m->sound.state.pc = 77;
    Write(address, value, bytes);
    u32 pending = 0;
    for (const SEvent& event : m->queue.Entries()) {
      pending += event.id == m->sound.bootDoneEventId;
    }
    EXPECT_EQ(m->sound.state.pc, pending != 0 ? 0u : 77u);
    return pending;
  }
};

TEST_P(SoundResetTest, AZeroResetsAtEveryWidth) {
  for (const u32 bytes : kWidths) {
    Write(at.soundReset, 1, bytes);
    EXPECT_EQ(ResetsAfter(at.soundReset, 0, bytes), 1u) << bytes;
    EXPECT_EQ(m->soundBoard.link.soundResetHeld, 1);
  }
}

TEST_P(SoundResetTest, ZerosInARowResetOnceUntilAOne) {
  EXPECT_EQ(ResetsAfter(at.soundReset, 0, 4), 1u);
  EXPECT_EQ(ResetsAfter(at.soundReset, 0, 4), 0u);
  EXPECT_EQ(ResetsAfter(at.soundReset, 0, 1), 0u);
  EXPECT_EQ(ResetsAfter(at.soundReset, 1, 4), 0u);
  EXPECT_EQ(m->soundBoard.link.soundResetHeld, 0);
  EXPECT_EQ(ResetsAfter(at.soundReset, 0, 4), 1u);
}

TEST_P(SoundResetTest, OddAddressesAreIgnoredAtEveryWidth) {
  for (const u32 bytes : kWidths) {
    EXPECT_EQ(ResetsAfter(at.soundReset + 1, 0, bytes), 0u);
    EXPECT_EQ(ResetsAfter(at.soundReset + 3, 0, bytes), 0u);
  }
  EXPECT_EQ(ResetsAfter(at.soundReset, 0, 4), 1u);
  Write(at.soundReset + 1, 1, 1);
  EXPECT_EQ(m->soundBoard.link.soundResetHeld, 1) << "a one is ignored there too";
}

TEST_P(SoundResetTest, EvenLanesAnswerWithBitZeroOfTheValue) {
  EXPECT_EQ(ResetsAfter(at.soundReset + 2, 0, 2), 1u);
  Write(at.soundReset + 2, 1, 2);
  EXPECT_EQ(m->soundBoard.link.soundResetHeld, 0);
}

TEST_P(SoundResetTest, OnlyBitZeroCounts) {
  EXPECT_EQ(ResetsAfter(at.soundReset, ~u64{0}, 8), 0u);
  EXPECT_EQ(ResetsAfter(at.soundReset, ~u64{1}, 8), 1u);
}

TEST_P(SoundResetTest, AZeroClearsThePhaseEvenWhileHeld) {
  Write(at.soundReset, 0, 4);
  m->state.frameFlags = kRunFlagSoundPhase | kRunFlagPageFlipped;
  Write(at.soundReset, 0, 4);
  EXPECT_EQ(m->state.frameFlags, u32{kRunFlagPageFlipped});
}

TEST_P(SoundResetTest, AOneLeavesThePhaseAlone) {
  m->state.frameFlags = kRunFlagSoundPhase;
  Write(at.soundReset, 1, 4);
  EXPECT_EQ(m->state.frameFlags, u32{kRunFlagSoundPhase});
}

TEST_P(SoundResetTest, AResetFreesTheCommandLatch) {
  Write(at.soundStrobe, 2, 4);
  ASSERT_FALSE(m->soundBoard.IsCommandTaken());
  Write(at.soundReset, 0, 4);
  EXPECT_TRUE(m->soundBoard.IsCommandTaken());
}

TEST_P(SoundResetTest, AResetLoadsTheBootBlockAfresh) {
  u8* const rom = m->flatMem + kFlatSoundRoms;
  rom[0] = 0x12;
  rom[1] = 0x34;
  rom[2] = 0x56;
  Write(at.soundReset, 0, 4);
  EXPECT_EQ(m->sound.state.internalRam[0], 0x123456u);
}

INSTANTIATE_TEST_SUITE_P(Layouts, SoundStrobeTest, testing::Values(kPlacesA, kPlacesB), LayoutName);
INSTANTIATE_TEST_SUITE_P(Layouts, SoundResetTest, testing::Values(kPlacesA, kPlacesB), LayoutName);

}  // namespace
}  // namespace vx::test
