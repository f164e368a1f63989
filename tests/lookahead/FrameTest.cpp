// A frame with look-ahead: what the host gets, and what becomes of the master.
#include <algorithm>
#include <set>

#include "tests/lookahead/LookAheadTest.h"

namespace vx::test {
namespace {

struct LookAheadFrame : CLookAheadTest {};

TEST_F(LookAheadFrame, BothBranchesThatFinishGoToTheHostTogether) {
  BootFlipper();
  ArmBranches();
  Frames(1);
  EXPECT_EQ(Log().dualCalls, 1u);
  EXPECT_EQ(Log().videoCalls, 0u);
  EXPECT_EQ(Log().dualWidth, 320u);
  EXPECT_EQ(Log().dualHeight, 240u);
  EXPECT_EQ(Log().dualPixels[0], Clone(0).frameTarget);
  EXPECT_EQ(Log().dualPixels[1], Clone(1).frameTarget);
  EXPECT_NE(Log().dualPixels[0], Log().dualPixels[1]);
  EXPECT_NE(*Log().dualPixels[0], 0u) << "the page that the guest has drawn";
}

TEST_F(LookAheadFrame, ABranchThatTimesOutMakesThePairGiveWayToTheMastersFrame) {
  for (const u32 late : {0u, 1u, 2u}) {
    m->LoadPack(nullptr);
    BootFlipper();
    Log().videoCalls = Log().dualCalls = 0;
    Log().onHook = [late](CVXMachine& machine) {
      const u32 branch = (machine.state.frameFlags & kFrameBranchOne) != 0 ? 1 : 0;
      if (IsClone(machine) && late < 2 && branch != late) {
        machine.state.frameFlags |= kFrameArmed;
      }
    };
    Frames(1);
    EXPECT_EQ(Log().dualCalls, 0u);
    EXPECT_EQ(Log().videoCalls, 1u);
    EXPECT_EQ(Log().videoPixels, m->frameTarget);
    for (u32 branch = 0; branch < 2; ++branch) {
      EXPECT_EQ(Clone(branch).state.frameFlags & kFrameTimedOut, 0u) << "cleared by the wait";
    }
  }
}

TEST_F(LookAheadFrame, WithoutPixelsForTheBranchesTheMastersFrameIsShown) {
  BootFlipper();
  ArmBranches();
  Log().bGivesPictures = false;
  Frames(1);
  EXPECT_EQ(Log().dualCalls, 0u);
  EXPECT_EQ(Log().videoCalls, 1u);
}

TEST_F(LookAheadFrame, AFrameThatIsNotShownStartsNoWorkersAndDeliversNoPicture) {
  BootFlipper();
  Log().filterAnswer = 0;
  Frames(2);
  m->onVideoFilter = nullptr;
  Frames(1);
  EXPECT_EQ(m->workers[0], nullptr);
  EXPECT_EQ(Log().dualCalls + Log().videoCalls, 0u);
  EXPECT_EQ(m->state.frameNumber, 3u);
  EXPECT_EQ(m->state.frameFlags & ~u32{kRunFlagPageFlipped}, u32{kFrameLookAhead});
  EXPECT_EQ(Log().requests.size(), 3u);
  EXPECT_TRUE(Log().requests[0].bSpeculative);
}

TEST_F(LookAheadFrame, WithoutAPackAFrameIsAPlainOne) {
  m->Reset();
  LookAhead();
  Frames(2);
  EXPECT_EQ(m->workers[0], nullptr);
  EXPECT_EQ(Log().videoCalls, 2u);
  EXPECT_EQ(m->state.frameNumber, 2u);
}

TEST_F(LookAheadFrame, WithoutTheFlagAFrameIsAPlainOneAndTheWorkersRest) {
  BootFlipper();
  ArmBranches();
  Frames(1);
  m->state.frameFlags &= ~u32{kFrameLookAhead};
  Frames(2);
  EXPECT_EQ(Log().videoCalls, 2u);
  EXPECT_NE(m->workers[0], nullptr);
  EXPECT_FALSE(Log().requests.back().bSpeculative);
}

TEST_F(LookAheadFrame, TheThreeFramesTakeSequenceNumbersOfOneSpeculativeCount) {
  BootFlipper();
  Frames(3);
  std::set<u64> numbers;
  for (const SPictureRequest& request : Log().requests) {
    EXPECT_TRUE(request.bSpeculative);
    numbers.insert(request.sequence);
  }
  EXPECT_EQ(numbers.size(), 9u);
  EXPECT_EQ(*numbers.rbegin(), 8u);
  EXPECT_EQ(m->lookAheadFrameNumber, 9u);
}

// --- Flags of the master -----------------------------------------------------------------------

TEST_F(LookAheadFrame, TheMasterRunsItsOwnFrameAsOneBesideWorkers) {
  BootFlipper();
  m->state.frameFlags |= kFrameRequest2 | kFrameRequest4;
  u32 seen = 0;
  Log().onHook = [&](CVXMachine& machine) {
    if (!IsClone(machine)) seen = machine.state.frameFlags;
  };
  Frames(1);
  constexpr u32 kOwn = kFrameTimedOut | kFrameBesideWorkers;
  EXPECT_EQ(seen & (kOwn | kFrameLookAhead | kFrameRequest2 | kFrameRequest4), kOwn);
}

TEST_F(LookAheadFrame, WhatTheMasterOrItsScriptDoesToItsFrameFlagsIsUndoneAfterTheFrame) {
  BootFlipper();
  m->state.frameFlags = kFrameLookAhead | kFrameRequest2 | kFrameTimedOut | kFrameBesideWorkers;
  Log().onHook = [&](CVXMachine& machine) {
    if (!IsClone(machine)) machine.state.frameFlags = 0xFFFFFFFF & ~u32{kFrameLookAhead};
  };
  Frames(1);
  EXPECT_EQ(m->state.frameFlags, (0xFFFFFFFF & ~u32{0x3FF8}) | kFrameLookAhead | kFrameRequest2);
}

TEST_F(LookAheadFrame, AScriptThatEndsLookAheadFromWithinTheFrameIsUndone) {
  BootFlipper();
  Log().onHook = [](CVXMachine& machine) { machine.state.frameFlags &= ~u32{kFrameLookAhead}; };
  Frames(1);
  EXPECT_NE(m->state.frameFlags & kFrameLookAhead, 0u);
}

TEST_F(LookAheadFrame, TheMasterGoesItsWayAsWithoutLookAhead) {
  std::vector<u64> logs[2];
  for (u32 run = 0; run < 2; ++run) {
    m->LoadPack(nullptr);
    BootFlipper();
    ArmBranches();
    if (run == 0) m->state.frameFlags &= ~u32{kFrameLookAhead};
    for (u32 frame = 0; frame < 120; ++frame) {
      Frames(1);
      logs[run].push_back(m->HashState());
    }
  }
  EXPECT_EQ(logs[0], logs[1]);
}

// --- Branches ----------------------------------------------------------------------------------

TEST_F(LookAheadFrame, ABranchStartsFromTheMastersStateAndRunsAhead) {
  BootFlipper();
  Frames(3);
  const u64 before = Result(0);
  u64 firstSeen[2] = {};
  Log().onHook = [&](CVXMachine& machine) {
    if (!IsClone(machine)) return;
    const u32 branch = (machine.state.frameFlags & kFrameBranchOne) != 0 ? 1 : 0;
    u64 count;
    std::memcpy(&count, machine.flatMem + kGuestResults, sizeof(count));
    if (firstSeen[branch] == 0) firstSeen[branch] = count;
  };
  Frames(1);
  EXPECT_EQ(firstSeen[0], before);
  EXPECT_EQ(firstSeen[1], before);
  u64 ahead;
  std::memcpy(&ahead, Clone(0).flatMem + kGuestResults, sizeof(ahead));
  EXPECT_GT(ahead, Result(0)) << "four frame periods at twice the clock";
  EXPECT_EQ(Clone(0).cpu.clockMHz, 200.0);
  EXPECT_EQ(m->cpu.clockMHz, 100.0);
}

TEST_F(LookAheadFrame, ABranchKnowsItsNumber) {
  BootFlipper();
  Frames(1);
  EXPECT_EQ(Clone(0).state.frameFlags & kFrameBranchOne, 0u);
  EXPECT_NE(Clone(1).state.frameFlags & kFrameBranchOne, 0u);
}

TEST_F(LookAheadFrame, ABranchGetsTheInputOfTheMaster) {
  BootFlipper();
  SInputRecord records[3];
  records[2].padBits = 0x123;
  m->SetInput(records, 3);
  Frames(1);
  EXPECT_EQ(Clone(1).inputCount, 3u);
  EXPECT_EQ(Clone(1).inputRecords[2].padBits, 0x123u);
}

TEST_F(LookAheadFrame, ABranchDropsEventsThatOnlyTheMasterKnows) {
  BootFlipper();
  const u32 id = m->queue.Register([](void*, u64, f64) {}, nullptr);
  m->queue.Schedule(500'000.0, id, 0);
  Frames(1);
  const auto isOfId = [id](const SEvent& event) { return event.id == id; };
  EXPECT_TRUE(std::ranges::any_of(m->queue.Entries(), isOfId));
  EXPECT_TRUE(std::ranges::none_of(Clone(0).queue.Entries(), isOfId));
  EXPECT_TRUE(std::ranges::none_of(Clone(1).queue.Entries(), isOfId));
}

TEST_F(LookAheadFrame, ABranchRunsNoSoundAndKeepsNoSamples) {
  BootFlipper();
  m->SetInstanceCount(2);
  Frames(2);
  EXPECT_EQ(Clone(0).instances.slots.size(), 0u);
  EXPECT_EQ(Clone(0).soundBoard.sampleCount, 0u);
  EXPECT_LT(Clone(0).state.soundTime, Clone(0).state.mainTime - 1000.0);
  for (const SEvent& event : Clone(0).queue.Entries()) EXPECT_LT(event.id, 8u);
}

TEST_F(LookAheadFrame, AChangedBreakpointReachesTheBranchesOfTheNextFrame) {
  BootFlipper();
  Frames(1);
  m->breakpointMap.begin()->second->callbackIds.push_back(77);
  m->bPredecodeChanged = 1;
  EXPECT_EQ(Clone(0).breakpointMap.begin()->second->callbackIds.size(), 1u) << "a copy of its own";
  Frames(1);
  EXPECT_EQ(Clone(0).breakpointMap.begin()->second->callbackIds, (std::vector<u32>{1, 77}));
  EXPECT_NE(Clone(0).breakpointMap.begin()->second, m->breakpointMap.begin()->second);
  EXPECT_EQ(m->bPredecodeChanged, 0);
}

TEST_F(LookAheadFrame, OpRecordsAreTakenOverWhenTheyHaveChangedAndNotBefore) {
  BootFlipper();
  Frames(4);
  ASSERT_EQ(m->bPredecodeChanged, 0);
  constexpr u32 kIndex = 0x1234;
  m->TouchRecord(kIndex);
  m->records[kIndex].word = 0x11223344;
  Frames(1);
  EXPECT_EQ(Clone(0).records[kIndex].word, 0u);
  Clone(1).TouchRecord(0x20000);
  Clone(1).records[0x20000].word = 5;
  m->bPredecodeChanged = 1;
  Frames(1);
  EXPECT_EQ(Clone(0).records[kIndex].word, 0x11223344u);
  EXPECT_EQ(Clone(1).records[0x20000].word, 0u) << "what only the clone had is gone";
}

TEST_F(LookAheadFrame, ABranchsDiskWritesLandInTheImageAndArmNoFlush) {
  BootFlipper();
  Frames(1);
  const std::vector<u8> sector(kSectorBytes, 0x77);
  EXPECT_EQ(WriteSector(sector.data(), 6, &Clone(0)), kSectorBytes);
  EXPECT_EQ(m->diskImage[6 * kSectorBytes], 0x77);
  EXPECT_EQ(m->dirtyBitmap[0], 0u);
  EXPECT_EQ(Clone(0).dirtyBitmap[0], u64{1} << 6);
  EXPECT_EQ(Clone(0).flushDeadline, 0.0);
}

TEST_F(LookAheadFrame, AStateThatDoesNotFitItsBufferIsReadAsFarAsItGoes) {
  BootFlipper();
  m->scriptBlobStore[1].bytes.resize(0x1400000);
  Frames(2);
  EXPECT_EQ(m->state.frameNumber, 2u);
  EXPECT_EQ(m->scriptBlobStore[1].bytes.size(), 0x1400000u);
}

}  // namespace
}  // namespace vx::test
