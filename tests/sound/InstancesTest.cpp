// Clones of the sound processor: construction, feed, ticks and quiet timer.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "sound/DspInstances.h"
#include "tests/sound/DspRig.h"

namespace vx::test {
namespace {

class Instances : public testing::Test {
 protected:
  ~Instances() override { instances_.Clear(rig_.queue); }
  void Create(u32 count) { instances_.Create(count, rig_.processor, rig_.board, 0.0); }
  CInstancedADSP& At(u32 index) { return *instances_.slots[index].instance; }
  // Fires the soonest event.
  void Fire() {
    rig_.now = rig_.queue.Entries().back().time;
    rig_.queue.Advance();
  }
  void FireUntil(f64 time) {
    while (!rig_.queue.IsEmpty() && rig_.queue.Entries().back().time <= time) Fire();
    rig_.now = time;
  }

  CDspRig rig_;
  CDspInstances instances_;
};

// --- Construction --------------------------------------------------------------------------------

TEST_F(Instances, TakeTheMainProcessorsStateAndBoard) {
  SADSPState& s = rig_.State();
  s.pc = 0x123, s.bank.ar = 7, s.dataRam[4] = 9, s.internalRam[5] = 11, s.irqLatched = 6;
  s.runFlags = 0;
  rig_.board.link.bankRegister = 3;
  rig_.now = 40.0;
  Create(2);
  ASSERT_EQ(instances_.slots.size(), 2u);
  EXPECT_TRUE(instances_.IsActive());
  for (u32 i = 0; i < 2; ++i) {
    EXPECT_EQ(std::memcmp(&At(i).processor.state, &s, sizeof(s)), 0);
    EXPECT_EQ(std::memcmp(&At(i).board.link, &rig_.board.link, sizeof(SSoundLinkBlock)), 0);
    ASSERT_NE(rig_.Pending(At(i).processor.bootDoneEventId), nullptr);
    EXPECT_EQ(rig_.Pending(At(i).processor.bootDoneEventId)->time, 140.0);
    ASSERT_NE(rig_.Pending(At(i).processor.quietStopEventId), nullptr)
        << "the timer of its own reset stays pending";
    EXPECT_EQ(rig_.Pending(At(i).processor.quietStopEventId)->time, 1040.0);
  }
}

TEST_F(Instances, TakenInsideASliceStandOutsideOne) {
  rig_.State().cycles = 5, rig_.State().cutCycles = 6, rig_.State().cycleTarget = 7;
  Create(1);
  EXPECT_FALSE(At(0).processor.IsInSlice());
  EXPECT_EQ(At(0).processor.state.cycles, 0u);
  EXPECT_EQ(At(0).processor.state.cutCycles, 0u);
}

TEST_F(Instances, GetTheWordsThatHooksStandFor) {
  std::vector<SDspPatch> hooks = {{0x010006, 0x111111, 3, 1}, {0x010007, 0x010006, 3, 2}};
  rig_.processor.hooks = &hooks;
  rig_.State().internalRam[3] = 0x010007;
  rig_.State().externalRam[4] = 0x010006;
  rig_.State().externalRam[5] = 0x010008;
  rig_.State().externalRam[6] = 0x010003;
  Create(1);
  EXPECT_EQ(At(0).processor.state.internalRam[3], 0x111111u);
  EXPECT_EQ(At(0).processor.state.externalRam[4], 0x111111u);
  EXPECT_EQ(At(0).processor.state.externalRam[5], 0x010008u) << "no record: nothing to put back";
  EXPECT_EQ(At(0).processor.state.externalRam[6], 0x010003u) << "a patch stays";
  EXPECT_EQ(rig_.State().internalRam[3], 0x010007u);
}

TEST_F(Instances, RegisterTheirEventsInOrderAndGiveTheIdsBack) {
  Create(2);
  const u32 first = At(0).board.TickId();
  EXPECT_EQ(At(0).FeedId(), first + 2);
  EXPECT_EQ(At(0).processor.bootDoneEventId, first + 3);
  EXPECT_EQ(At(0).processor.quietStopEventId, first + 4);
  EXPECT_EQ(At(1).board.TickId(), first + 5);
  instances_.Clear(rig_.queue);
  EXPECT_FALSE(instances_.IsActive());
  EXPECT_TRUE(rig_.queue.IsEmpty()) << "their events are gone";
  Create(2);
  EXPECT_EQ(At(0).board.TickId(), first);
  EXPECT_EQ(At(1).processor.quietStopEventId, first + 9);
}

TEST_F(Instances, AreAtMost256) {
  Create(100000);
  EXPECT_EQ(instances_.slots.size(), 256u);
}

TEST_F(Instances, MoveWithTheOriginOfTime) {
  Create(1);
  instances_.slots[0].time = 50.0;
  rig_.queue.Schedule(30.0, CEventQueue::kIdleId, 0);
  FireUntil(30.0);
  rig_.queue.Rebase();
  EXPECT_EQ(instances_.slots[0].time, 20.0);
}

// --- Transfers -----------------------------------------------------------------------------------

TEST_F(Instances, StartTheirTransferWithTheMainBoardsNextTick) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  const f64 mainTick = rig_.Pending(rig_.board.TickId())->time;
  rig_.now = 500.0;
  Create(1);
  ASSERT_NE(rig_.Pending(At(0).board.TickId()), nullptr);
  EXPECT_EQ(rig_.Pending(At(0).board.TickId())->time, mainTick);
}

TEST_F(Instances, StartTheirTransferByThemselvesWithoutAMainTick) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  rig_.queue.Cancel(rig_.board.TickId());
  rig_.now = 500.0;
  Create(1);
  ASSERT_NE(rig_.Pending(At(0).board.TickId()), nullptr);
  EXPECT_EQ(rig_.Pending(At(0).board.TickId())->time, 500.0 + 2048.0);
}

TEST_F(Instances, StartNoTransferThatIsNotEnabled) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  rig_.board.link.controlRegs[kSystemControl] = 0;
  Create(1);
  EXPECT_EQ(rig_.Pending(At(0).board.TickId()), nullptr);
}

TEST_F(Instances, TickBeforeTheMainBoardAndKeepItsCount) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  Create(1);
  rig_.queue.Cancel(At(0).processor.quietStopEventId);
  rig_.queue.Cancel(At(0).processor.bootDoneEventId);
  for (u32 tick = 1; tick <= 4; ++tick) {
    FireUntil(tick * 2048.0);
    EXPECT_EQ(At(0).board.sampleCount, tick * 32);
    EXPECT_EQ(rig_.board.sampleCount, tick * 32);
    EXPECT_EQ(At(0).board.bHasSamples, 1);
  }
  EXPECT_EQ(rig_.board.bHasSamples, 0);
}

TEST_F(Instances, FallInStepWithAMainTickAtAnotherTime) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  Create(1);
  rig_.queue.Cancel(rig_.board.TickId());
  rig_.queue.Schedule(2100.0, rig_.board.TickId(), 0);
  FireUntil(2048.0);
  EXPECT_EQ(rig_.Pending(At(0).board.TickId())->time, 2100.0);
}

TEST_F(Instances, ConfigureInStepWithTheMainBoard) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  Create(1);
  rig_.now = 100.0;
  At(0).board.ConfigureAutobuffer();
  EXPECT_EQ(rig_.Pending(At(0).board.TickId())->time, 2048.0);
}

TEST_F(Instances, GiveSilenceWhileTheyAreHalted) {
  rig_.StartTransfer(7, 0x3800, 64, 1);
  rig_.processor.WriteData(0x3800, 0x5555);
  Create(1);
  At(0).processor.state.runFlags = kRunHalted;
  At(0).board.sampleBuffer[0] = 0x7777;
  FireUntil(2048.0);
  EXPECT_EQ(At(0).board.sampleCount, 32u);
  EXPECT_EQ(At(0).board.sampleBuffer[0], 0);
  EXPECT_EQ(At(0).board.bHasSamples, 0);
  EXPECT_EQ(At(0).processor.state.dag[7].i, 0x3800u) << "nothing moves";
  At(0).board.sampleCount = 4095;
  FireUntil(4096.0);
  EXPECT_EQ(At(0).board.bHasSamples, 1) << "a full buffer takes the ordinary way";
  EXPECT_EQ(At(0).processor.state.dag[7].i, 0x3820u);
}

// --- Quiet timer ---------------------------------------------------------------------------------

TEST_F(Instances, HaltWhenTheirTimerFires) {
  rig_.now = 0.0;
  Create(1);
  At(0).processor.state.runFlags = kRunQuietArmed;
  FireUntil(1000.0);
  EXPECT_EQ(At(0).processor.state.runFlags, u32{kRunHalted});
  EXPECT_EQ(At(0).processor.Run(50), 50u);
}

TEST_F(Instances, ArmTheirTimerAtTheEndOfTheirBoot) {
  Create(1);
  FireUntil(100.0);
  EXPECT_EQ(At(0).processor.state.runFlags, u32{kRunQuietArmed});
  EXPECT_EQ(rig_.Pending(At(0).processor.quietStopEventId)->time, 1100.0);
}

TEST(InstanceReset, ArmsTheTimerAnew) {
  CDspRig rig(kInstancedProcessor);
  rig.now = 25.0;
  rig.State().runFlags = kRunHalted;
  rig.processor.ProcessorReset();
  EXPECT_EQ(rig.State().runFlags, u32{kRunQuietArmed});
  EXPECT_EQ(rig.Count(rig.processor.quietStopEventId), 1u);
  EXPECT_EQ(rig.Pending(rig.processor.quietStopEventId)->time, 1025.0);
}

// --- Feed ----------------------------------------------------------------------------------------

TEST_F(Instances, AreFedOneByteEachTimeTheLastWasTaken) {
  Create(1);
  rig_.queue.Cancel(CEventQueue::kIdleId);
  rig_.now = 10.0;
  instances_.Forward(0x55);
  instances_.Forward(0x66);
  EXPECT_EQ(rig_.Count(At(0).FeedId()), 2u) << "each byte asks for a hand-over";
  rig_.queue.Cancel(CEventQueue::kIdleId);
  At(0).FeedNow();
  Fire();
  EXPECT_EQ(At(0).board.link.commandLatch, 0x55);
  EXPECT_EQ(At(0).processor.state.irqLevel, u32{kPendingCommand});
  EXPECT_EQ(rig_.Pending(At(0).FeedId())->time, 10.5);
  Fire();
  EXPECT_EQ(At(0).board.link.commandLatch, 0x55) << "not taken yet";
  EXPECT_EQ(rig_.Pending(At(0).FeedId())->time, 11.5);
  At(0).processor.ReadData(0x3400);
  Fire();
  EXPECT_EQ(At(0).board.link.commandLatch, 0x66);
  EXPECT_EQ(rig_.Pending(At(0).FeedId()), nullptr) << "nothing is left";
  EXPECT_TRUE(At(0).Commands().empty());
}

TEST_F(Instances, AreWokenByTheirFeed) {
  Create(1);
  At(0).processor.state.runFlags = kRunHalted;
  At(0).Append(0x1234);
  rig_.now = 0.0;
  At(0).FeedNow();
  Fire();
  EXPECT_EQ(At(0).processor.state.runFlags, u32{kRunQuietArmed});
  EXPECT_EQ(At(0).board.link.commandLatch, 0x34) << "one byte of it";
}

TEST_F(Instances, WithoutCommandsEndTheirFeed) {
  Create(1);
  rig_.queue.Cancel(CEventQueue::kIdleId);
  At(0).processor.state.runFlags = kRunHalted;
  At(0).FeedNow();
  Fire();
  EXPECT_TRUE(rig_.queue.IsEmpty());
  EXPECT_EQ(At(0).processor.state.runFlags, u32{kRunHalted});
}

TEST_F(Instances, PlayACommandOnTheCloneOfItsChannel) {
  std::fill(rig_.rom.begin(), rig_.rom.end(), u8{0xFF});
  rig_.rom[0x4040] = 0, rig_.rom[0x4041] = 0x50, rig_.rom[0x4042] = 0;
  rig_.rom[0x5003] = 0, rig_.rom[0x5004] = 0x60, rig_.rom[0x5005] = 0;
  rig_.rom[0x6001] = 1;
  const CSoundBoard::SRom rom = rig_.board.Rom();
  const f32 place[3] = {1, 2, 3};
  EXPECT_FALSE(instances_.Play(1, place, 9.0f, rom)) << "there are none";
  Create(1);
  EXPECT_FALSE(instances_.Play(1, place, 9.0f, rom)) << "channel 1 has no clone";
  instances_.Clear(rig_.queue);
  Create(2);
  At(1).processor.state.runFlags = kRunHalted;
  EXPECT_FALSE(instances_.Play(0x5500, place, 9.0f, rom));
  EXPECT_FALSE(instances_.Play(2, place, 9.0f, rom));
  EXPECT_TRUE(instances_.Play(1, place, 9.0f, rom));
  EXPECT_EQ(instances_.slots[1].position[2], 3.0f);
  EXPECT_EQ(instances_.slots[1].range, 9.0f);
  EXPECT_EQ(At(1).Commands(), (std::vector<u16>{0, 1}));
  EXPECT_EQ(At(1).processor.state.runFlags, 0u);
  EXPECT_EQ(rig_.Pending(At(1).processor.quietStopEventId), nullptr);
  EXPECT_NE(rig_.Pending(At(1).FeedId()), nullptr);
  EXPECT_TRUE(At(0).Commands().empty());
}

}  // namespace
}  // namespace vx::test
