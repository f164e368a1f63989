// Time inside a slice, the cut of slices, and how the processors follow the timeline.
#include "tests/machine/BoardTest.h"

namespace vx::test {
namespace {

struct SliceTimeTest : CBoardTest {
  // As inside a slice of the main processor.
  void EnterSlice(u32 cycles, u32 budget) {
    m->cpu.cycles = cycles;
    m->cpu.budget = budget;
    m->cpu.stopMark = 0;
  }
};

TEST_F(SliceTimeTest, ACutRemembersTheCyclesOnceAndSpendsTheBudget) {
  EnterSlice(30, 100);
  m->CutSlice();
  EXPECT_EQ(m->cpu.stopMark, 31u);
  EXPECT_EQ(m->cpu.cycles, 100u);
  m->cpu.cycles = 80;
  m->CutSlice();
  EXPECT_EQ(m->cpu.stopMark, 31u);
  EXPECT_EQ(m->cpu.cycles, 100u);
}

TEST_F(SliceTimeTest, OutsideASliceACutDoesNothing) {
  EnterSlice(0, 0);
  m->CutSlice();
  EXPECT_EQ(m->cpu.stopMark, 0u);
  EXPECT_EQ(m->cpu.cycles, 0u);
}

TEST_F(SliceTimeTest, ALineThatChangesCutsTheSliceAndOneThatDoesNotLeavesIt) {
  EnterSlice(30, 100);
  m->SetCauseLine(kCauseAta, false);
  EXPECT_EQ(m->cpu.stopMark, 0u);
  m->SetCauseLine(kCauseAta, true);
  EXPECT_EQ(m->cpu.stopMark, 31u);
  EXPECT_EQ(m->cpu.cop0[kCop0Cause] & kInterruptMask, u64{kCauseAta});
  EnterSlice(30, 100);
  m->SetCauseLine(kCauseAta, true);
  EXPECT_EQ(m->cpu.stopMark, 0u);
  m->SetCauseLine(kCauseAta, false);
  EXPECT_EQ(m->cpu.stopMark, 31u) << "lowering cuts too";
}

TEST_F(SliceTimeTest, AnEventSoonerThanAllOthersCutsTheMainProcessorFirst) {
  EnterSlice(30, 100);
  m->sound.state.cycleTarget = 50;
  m->queue.Schedule(0.5, m->timerEventId, 0);
  EXPECT_EQ(m->cpu.stopMark, 31u);
  EXPECT_EQ(m->sound.state.cutCycles, 0u);
}

TEST_F(SliceTimeTest, ElseItCutsTheSoundProcessor) {
  EnterSlice(0, 0);
  m->sound.state.cycleTarget = 50;
  m->sound.state.cycles = 20;
  m->queue.Schedule(0.5, m->timerEventId, 0);
  EXPECT_EQ(m->sound.state.cutCycles, 21u);
  EXPECT_EQ(m->sound.state.cycles, 50u);
}

TEST_F(SliceTimeTest, ALaterEventCutsNothing) {
  EnterSlice(30, 100);
  m->queue.Schedule(12345.0, m->timerEventId, 0);
  EXPECT_EQ(m->cpu.stopMark, 0u);
}

TEST_F(SliceTimeTest, NowMovesInsideASliceOfTheMainProcessor) {
  m->state.mainTime = 10.0;
  m->cpu.clockMHz = 50.0;
  EnterSlice(25, 1000);
  EXPECT_EQ(m->queue.Now(), 10.0 + 25 * (1.0 / 50.0));
  m->CutSlice();
  EXPECT_EQ(m->queue.Now(), 10.0 + 1000 * (1.0 / 50.0)) << "a cut slice has reached its end";
}

TEST_F(SliceTimeTest, NowMovesInsideASliceOfTheSoundProcessor) {
  EnterSlice(0, 0);
  m->state.soundTime = 7.0;
  m->sound.state.cycleTarget = 100;
  m->sound.state.cycles = 30;
  EXPECT_EQ(m->queue.Now(), 7.0 + 30 * (1.0 / 10.0));
}

TEST_F(SliceTimeTest, OutsideSlicesNowIsTheTimeOfTheLastEvent) {
  Boot();
  EXPECT_EQ(m->queue.Now(), 0.0);
  m->queue.Advance();
  EXPECT_EQ(m->queue.Now(), 1000.0);
}

TEST_F(SliceTimeTest, BothProcessorsReachAnEventBeforeItFires) {
  Boot();
  m->queue.Advance();
  EXPECT_EQ(m->state.soundTime, 1000.0);
  EXPECT_GE(m->state.mainTime, 1000.0);
  EXPECT_LT(m->state.mainTime, 1001.0);
  EXPECT_EQ(m->queue.ClientTime(m->clientIndex), m->state.mainTime);
}

TEST_F(SliceTimeTest, ProcessorTimeGrowsByCyclesTimesTheLengthOfACycle) {
  Boot();
  m->pendingClockMHz = 300;
  m->cpu.clockMHz = 300.0;
  m->queue.Advance();
  EXPECT_EQ(m->state.mainTime, static_cast<f64>(m->cpu.retired) * (1.0 / 300.0));
}

TEST_F(SliceTimeTest, ATimeJustAheadStillTakesACycle) {
  Boot();
  m->state.soundTime = 1000.0 - 1e-9;
  m->state.mainTime = 1000.0 - 1e-9;
  m->queue.Advance();
  EXPECT_DOUBLE_EQ(m->state.soundTime, 1000.1 - 1e-9);
  EXPECT_GT(m->state.mainTime, 1000.0);
}

TEST_F(SliceTimeTest, ProcessorsThatAreAheadAreNotRun) {
  Boot();
  m->state.soundTime = 5000.0;
  m->state.mainTime = 5000.0;
  m->queue.Advance();
  EXPECT_EQ(m->state.soundTime, 5000.0);
  EXPECT_EQ(m->state.mainTime, 5000.0);
  EXPECT_EQ(m->cpu.retired, 0u);
  EXPECT_EQ(m->queue.LastFired(), 1000.0);
}

TEST_F(SliceTimeTest, DevicesTimesMoveWithTheOrigin) {
  Boot();
  m->FrameStep();
  m->ata.block.record.busyUntil = 20000.0;
  m->ata.block.record.lastIndexTime = 16700.0;
  m->flushDeadline = 1e12;
  const f64 now = m->queue.LastFired();
  const f64 mainTime = m->state.mainTime;
  const f64 soundTime = m->state.soundTime;
  m->queue.Rebase();
  EXPECT_EQ(m->ata.block.record.busyUntil, 20000.0 - now);
  EXPECT_EQ(m->ata.block.record.lastIndexTime, 16700.0 - now);
  EXPECT_EQ(m->state.mainTime, mainTime - now);
  EXPECT_EQ(m->state.soundTime, soundTime - now);
  EXPECT_EQ(m->flushDeadline, 1e12) << "host time";
}

}  // namespace
}  // namespace vx::test
