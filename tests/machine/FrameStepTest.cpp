// The frame step: pending values, clock, rate, sequence numbers and the loop to the frame's end.
#include <cstring>
#include <limits>

#include "tests/machine/BoardTest.h"

namespace vx::test {
namespace {

using FrameStepTest = CBoardTest;

f64 TimeOf(const CVXMachine& machine, u32 id) {
  for (const SEvent& event : machine.queue.Entries()) {
    if (event.id == id) return event.time;
  }
  return -1.0;
}

struct SRateCase {
  f64 rate, periodUs, blankUs;
};

TEST_F(FrameStepTest, EachRateHasItsPeriodAndItsBlank) {
  constexpr SRateCase kCases[] = {{30.0, 33333.333333333336, 30534.35114503817},
                                  {15.0, 66666.666666666672, 61068.70229007634},
                                  {58.9622645, 16959.999899596798, 15535.877770623021},
                                  {60.0, 16666.666666666668, 15267.175572519085}};
  for (const SRateCase& row : kCases) {
    m->frameRateRequested = row.rate;
    m->ArmVideoEvents();
    EXPECT_EQ(m->state.framePeriodUs, row.periodUs);
    EXPECT_EQ(TimeOf(*m, m->videoEventStartId), row.blankUs);
    EXPECT_EQ(TimeOf(*m, m->videoEventEndId), row.periodUs);
    EXPECT_EQ(m->state.frameRateInForce, row.rate);
  }
}

TEST_F(FrameStepTest, AnUnchangedRateArmsNothing) {
  m->queue.Cancel(m->videoEventStartId);
  m->ArmVideoEvents();
  EXPECT_EQ(TimeOf(*m, m->videoEventStartId), -1.0);
}

TEST_F(FrameStepTest, ARateChangeReplacesThePendingEventsAndRestartsThePhase) {
  Boot();
  Steps(2);
  m->frameRateRequested = 30.0;
  m->queue.Rebase();
  const f64 blankLeft = TimeOf(*m, m->videoEventStartId);
  ASSERT_GT(blankLeft, 0.0);
  m->ArmVideoEvents();
  EXPECT_EQ(TimeOf(*m, m->videoEventStartId), 30534.35114503817);
  EXPECT_EQ(TimeOf(*m, m->videoEventEndId), 33333.333333333336);
  EXPECT_EQ(m->queue.Entries().size(), 2u) << "the old ones are gone";
}

TEST_F(FrameStepTest, ARateThatNoBoardRunsAtCountsAsSixtyButIsKept) {
  for (const f64 rate : {0.0, -1.0, 0.999, 1000.1, 1e300, std::numeric_limits<f64>::infinity()}) {
    m->frameRateRequested = rate;
    m->ArmVideoEvents();
    EXPECT_EQ(m->state.framePeriodUs, 16666.666666666668) << rate;
    EXPECT_EQ(m->state.frameRateInForce, rate);
  }
  for (const f64 rate : {1.0, 1000.0}) {
    m->frameRateRequested = rate;
    m->ArmVideoEvents();
    EXPECT_DOUBLE_EQ(m->state.framePeriodUs, 1000000.0 / rate);
  }
}

TEST_F(FrameStepTest, AFrameEndsWithItsEndEventAndTheLineLow) {
  Boot();
  Steps(1);
  EXPECT_EQ(m->vBlankCount, 1u);
  EXPECT_EQ(m->queue.LastFired(), 16666.666666666668);
  EXPECT_EQ(m->cpu.cop0[kCop0Cause] & kCauseVerticalBlank, 0u);
  EXPECT_EQ(m->state.frameNumber, 1u);
}

TEST_F(FrameStepTest, TheNextFrameStartsAtTheOriginAgain) {
  Boot();
  Steps(10);
  EXPECT_NEAR(m->queue.LastFired(), 16666.666666666668, 1e-6);
  m->queue.Rebase();
  EXPECT_EQ(m->queue.LastFired(), 0.0);
  EXPECT_LT(m->state.mainTime, 10.0);
  EXPECT_LT(m->state.soundTime, 10.0);
}

TEST_F(FrameStepTest, PendingValuesAreTakenAtItsStart) {
  m->pendingDipWord = 0x1234;
  m->pendingExtraReadTimeUs = 5000;
  m->pendingClockMHz = 300;
  m->FrameStep();
  EXPECT_EQ(m->state.dipPort, 0x1234u);
  EXPECT_EQ(m->ata.timing.extraReadTime, 5000.0);
  EXPECT_EQ(m->cpu.clockMHz, 300.0);
}

TEST_F(FrameStepTest, TheClockChangesOnlyIfItRoundsToAnother) {
  m->cpu.clockMHz = 100.4;
  m->FrameStep();
  EXPECT_EQ(m->cpu.clockMHz, 100.4);
  m->cpu.clockMHz = 99.5;
  m->FrameStep();
  EXPECT_EQ(m->cpu.clockMHz, 99.5);
  m->cpu.clockMHz = 100.5;
  m->FrameStep();
  EXPECT_EQ(m->cpu.clockMHz, 100.0);
}

TEST_F(FrameStepTest, SteppedModeForces200CyclesAMicrosecond) {
  m->pendingClockMHz = 300;
  m->state.frameFlags = kFrameLookAhead;
  m->FrameStep();
  EXPECT_EQ(m->cpu.clockMHz, 200.0);
  m->state.frameFlags = 0;
  m->FrameStep();
  EXPECT_EQ(m->cpu.clockMHz, 300.0);
}

TEST_F(FrameStepTest, AClockThatNoBoardRunsAtCountsAsOneHundred) {
  for (const u32 clock : {0u, 10001u, 0xFFFFFFFFu}) {
    m->cpu.clockMHz = 50.0;
    m->pendingClockMHz = clock;
    m->FrameStep();
    EXPECT_EQ(m->cpu.clockMHz, 100.0) << clock;
  }
  m->pendingClockMHz = 10000;
  m->FrameStep();
  EXPECT_EQ(m->cpu.clockMHz, 10000.0);
}

TEST_F(FrameStepTest, AProcessorClockThatIsNoNumberDoesNotStopTheFrame) {
  Boot();
  for (const f64 clock : {std::numeric_limits<f64>::quiet_NaN(), 0.0, -5.0, 1e300,
                          std::numeric_limits<f64>::infinity()}) {
    m->sound.state.clockMHz = clock;
    m->cpu.clockMHz = clock;
    const u64 before = m->state.frameNumber;
    Steps(2);
    EXPECT_EQ(m->state.frameNumber, before + 2);
    EXPECT_EQ(m->cpu.clockMHz, 100.0);
  }
}

TEST_F(FrameStepTest, PlainFramesAreNumberedByTheFrameCounter) {
  Boot();
  m->state.frameNumber = 41;
  m->FrameStep();
  EXPECT_EQ(host.lastFrame.sequence, 41u);
  EXPECT_FALSE(host.lastFrame.bSpeculative);
  EXPECT_EQ(m->lookAheadFrameNumber, 0u);
}

TEST_F(FrameStepTest, SpeculativeFramesTakeNumbersOfTheirOwn) {
  for (const u32 flag : {u32{kFrameLookAhead}, u32{kFrameTimedOut}}) {
    m->lookAheadFrameNumber = 70;
    m->state.frameFlags = flag;
    m->FrameStep();
    EXPECT_EQ(host.lastFrame.sequence, 70u);
    EXPECT_TRUE(host.lastFrame.bSpeculative);
    EXPECT_EQ(m->lookAheadFrameNumber, 71u);
  }
}

TEST_F(FrameStepTest, TheMasterTakesPendingValuesAndACloneDoesNot) {
  const BoardPtr clone(new CVXMachine);
  clone->parent = m.get();
  clone->pendingDipWord = 0x1234;
  clone->pendingExtraReadTimeUs = 5000;
  clone->frameRateRequested = 30.0;
  clone->FrameStep();
  EXPECT_EQ(clone->state.dipPort, ~u64{0});
  EXPECT_EQ(clone->ata.timing.extraReadTime, 0.0);
  EXPECT_EQ(clone->state.frameRateInForce, 60.0);
  EXPECT_EQ(clone->bResetPending, 1);
  clone->parent = nullptr;
}

TEST_F(FrameStepTest, ACloneNumbersItsSpeculativeFramesWithItsParent) {
  const BoardPtr clone(new CVXMachine);
  clone->parent = m.get();
  m->lookAheadFrameNumber = 5;
  clone->state.frameFlags = kFrameLookAhead;
  clone->FrameStep();
  EXPECT_EQ(host.lastFrame.sequence, 5u);
  EXPECT_EQ(m->lookAheadFrameNumber, 6u);
  EXPECT_EQ(clone->lookAheadFrameNumber, 0u);
  clone->parent = nullptr;
}

TEST_F(FrameStepTest, AnEmptyTimelineIsArmedAgain) {
  Boot();
  m->queue.Cancel(0);
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 1u);
  EXPECT_EQ(m->state.frameNumber, 1u);
}

TEST_F(FrameStepTest, TheLoopEndsWithAFramesEndAndNotWithItsBlank) {
  Boot();
  m->queue.Cancel(m->videoEventStartId);
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 1u);
  EXPECT_EQ(m->cpu.cop0[kCop0Cause] & kCauseVerticalBlank, 0u);
}

TEST_F(FrameStepTest, TheReaderIsReleasedOnceTheDiskIsIn) {
  Boot();
  while (m->bAllChunksLoaded == 0) m->FrameStep();
  m->FrameStep();
  EXPECT_EQ(m->readerThread, nullptr);
  EXPECT_EQ(m->packFile, nullptr);
  EXPECT_EQ(m->chunkTable, nullptr);
  EXPECT_NE(m->diskImage, nullptr);
}

// --- Sample rate ---------------------------------------------------------------------------------

TEST_F(FrameStepTest, TheSampleRateFollowsTheSamplePeriod) {
  constexpr f64 kRates[][2] = {{0.0, 31250},  {32.0, 31250},  {80.0, 12500},  {160.0, 6250},
                               {320.0, 3125}, {1.0, 1000000}, {-32.0, 31250}, {3.0, 333333}};
  for (const auto& [period, rate] : kRates) {
    m->soundBoard.link.samplePeriod = period;
    EXPECT_EQ(m->GetSampleRate(), static_cast<i64>(rate)) << period;
  }
}

TEST_F(FrameStepTest, NoSamplePeriodBreaksTheSampleRate) {
  for (const f64 period : {std::numeric_limits<f64>::quiet_NaN(), 1e-300, 5e-324}) {
    m->soundBoard.link.samplePeriod = period;
    EXPECT_GT(m->GetSampleRate(), 0);
  }
  m->soundBoard.link.samplePeriod = std::numeric_limits<f64>::infinity();
  EXPECT_EQ(m->GetSampleRate(), 0);
}

}  // namespace
}  // namespace vx::test
