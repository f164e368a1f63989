// What loading a state does to a board besides copying.
#include <limits>

#include "devices/DiskStore.h"
#include "tests/state/StateWriter.h"

namespace vx::test {
namespace {

struct StateLoad : CStateTest {
  StateLoad() { Boot(); }
};

// --- Scripts -----------------------------------------------------------------------------------

TEST_F(StateLoad, BlobsOfTheMachineGoAndThoseOfTheStateCome) {
  const StateBytes empty = Save(*m);
  m->scriptBlobStore[1] = {{1}};
  m->scriptBlobStore[2] = {{2, 2}};
  const StateBytes two = Save(*m);
  m->scriptBlobStore[1] = {{9, 9, 9}};
  m->scriptBlobStore[3] = {{3}};
  ASSERT_TRUE(Load(*m, two));
  ASSERT_EQ(m->scriptBlobStore.size(), 2u);
  EXPECT_EQ(m->scriptBlobStore[1].bytes, std::vector<u8>{1});
  EXPECT_EQ(m->scriptBlobStore[2].bytes, (std::vector<u8>{2, 2}));
  ASSERT_TRUE(Load(*m, empty));
  EXPECT_TRUE(m->scriptBlobStore.empty());
}

TEST_F(StateLoad, AStateForKeepsTellsTheResetHooksAndATransientOneDoesNot) {
  const StateBytes kept = Save(*m, 0);
  const StateBytes transient = Save(*m, 1);
  m->bScriptStartSent = 1;
  m->bResetPending = 0;
  ASSERT_TRUE(Load(*m, transient));
  EXPECT_EQ(m->bScriptStartSent, 1);
  EXPECT_EQ(m->bResetPending, 0);
  ASSERT_TRUE(Load(*m, kept));
  EXPECT_EQ(m->bScriptStartSent, 0);
  EXPECT_EQ(m->bResetPending, 1);
}

TEST_F(StateLoad, ATransientLoadLeavesAPendingNotificationAsItIs) {
  const StateBytes transient = Save(*m, 1);
  m->bResetPending = 1;
  ASSERT_TRUE(Load(*m, transient));
  EXPECT_EQ(m->bResetPending, 1);
}

TEST_F(StateLoad, AStateThatEndsBeforeItsTransientFlagIsOneForKeeps) {
  const StateBytes whole = Save(*m, 1);
  m->bScriptStartSent = 1;
  m->bResetPending = 0;
  ASSERT_TRUE(Load(*m, StateBytes(whole.begin(), whole.begin() + kAtTransient)));
  EXPECT_EQ(m->bScriptStartSent, 0);
  EXPECT_EQ(m->bResetPending, 1);
}

// --- Processor ---------------------------------------------------------------------------------

TEST_F(StateLoad, OpRecordsAndBreakpointsStayAsTheyAre) {
  const StateBytes reset = Save(*m);
  Steps(2);
  m->breakpointMap[0x100] = std::make_shared<CVXMachine::SMIPSBreakpointMapEntry>();
  const u32 index = kFlatBootRom / 4;
  ASSERT_NE(m->records[index].flags & kOpValid, 0u);
  const SPredecodedOp before = m->records[index];
  ASSERT_TRUE(Load(*m, reset));
  EXPECT_EQ(std::memcmp(&m->records[index], &before, sizeof(before)), 0);
  EXPECT_EQ(m->breakpointMap.size(), 1u);
}

TEST_F(StateLoad, TheOldTrackedPagesAreEmptiedWhenTheStateTracksOthers) {
  const StateBytes plain = Save(*m);
  m->cpu.mapLow = 0x1000;
  m->pages[0x1000] = {0x12345678, 1};
  m->pages[0x2000] = {0x87654321, 2};
  ASSERT_TRUE(Load(*m, plain));
  EXPECT_EQ(m->pages[0x1000].value, 0u);
  EXPECT_EQ(m->pages[0x2000].references, 0u);
  ExpectSame(Save(*m), plain);
}

TEST_F(StateLoad, PagesOutsideTheTrackedOnesStayWhenTheStateTracksTheSame) {
  const StateBytes plain = Save(*m);
  m->pages[0x1000] = {0x12345678, 1};
  ASSERT_TRUE(Load(*m, plain));
  EXPECT_EQ(m->pages[0x1000].value, 0x12345678u);
}

TEST_F(StateLoad, AStateWithMorePagesTrackedBringsThemToAnotherMachine) {
  m->cpu.mapLow = 0x800;
  m->pages[0x900] = {0x3F, 1};
  const StateBytes wide = Save(*m);
  EXPECT_EQ(wide.size(), kResetStateBytes + (0x80000u - 0x800) * 8);
  const BoardPtr other = Another();
  ASSERT_TRUE(Load(*other, wide));
  EXPECT_EQ(other->pages[0x900].value, 0x3Fu);
  ExpectSame(Save(*other), wide);
}

TEST_F(StateLoad, ARangeOfPagesBeyondTheMapCountsAsNone) {
  StateBytes bytes = Save(*m);
  PutAt<u32>(bytes, kAtContext + 1372, 0x100000);
  bytes.erase(bytes.begin() + kAtTrackedPages, bytes.begin() + kAtSound);
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(Save(*m).size(), kResetStateBytes - 2097152u);
}

TEST_F(StateLoad, AProcessorClockThatNoBoardHasIsPutRight) {
  for (const f64 clock : {0.0, -1.0, 1e300, 1e-9, std::numeric_limits<f64>::quiet_NaN()}) {
    StateBytes bytes = Save(*m);
    PutAt(bytes, kAtContext + 1360, clock);
    ASSERT_TRUE(Load(*m, bytes));
    EXPECT_EQ(m->cpu.clockMHz, 100.0);
  }
}

// --- Sound -------------------------------------------------------------------------------------

TEST_F(StateLoad, SamplesOfTheFrameUnderWayAreDropped) {
  m->SetInstanceCount(2);
  const StateBytes bytes = Save(*m);
  m->soundBoard.sampleCount = 5;
  m->instances.slots[1].instance->board.sampleCount = 6;
  m->instances.slots[1].instance->board.bHasSamples = 1;
  m->instances.slots[0].instance->Append(7);
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(m->soundBoard.sampleCount, 0u);
  EXPECT_EQ(m->instances.slots[1].instance->board.sampleCount, 0u);
  EXPECT_EQ(m->instances.slots[1].instance->board.bHasSamples, 0u);
  EXPECT_TRUE(m->instances.slots[0].instance->Commands().empty());
}

TEST_F(StateLoad, InstancesAreRebuiltToTheNumberOfTheState) {
  m->SetInstanceCount(3);
  m->instances.slots[2].position[1] = 4.0f;
  m->instances.slots[2].instance->processor.state.dataRam[9] = 0x1234;
  Steps(1);
  const StateBytes three = Save(*m);
  for (const u32 before : {0u, 1u, 5u}) {
    m->SetInstanceCount(before);
    ASSERT_TRUE(Load(*m, three));
    ASSERT_EQ(m->instances.slots.size(), 3u);
    EXPECT_EQ(m->instances.slots[2].position[1], 4.0f);
    EXPECT_EQ(m->instances.slots[2].instance->processor.state.dataRam[9], 0x1234);
    ExpectSame(Save(*m), three);
  }
}

TEST_F(StateLoad, AStateWithoutInstancesEndsThoseOfTheMachine) {
  const StateBytes none = Save(*m);
  m->SetInstanceCount(4);
  ASSERT_TRUE(Load(*m, none));
  EXPECT_FALSE(m->instances.IsActive());
  ExpectSame(Save(*m), none);
}

TEST_F(StateLoad, EventsOfRebuiltInstancesAreTheLoadedOnesAlone) {
  m->SetInstanceCount(2);
  const size_t pending = m->queue.Entries().size();
  const StateBytes two = Save(*m);
  m->SetInstanceCount(0);
  ASSERT_TRUE(Load(*m, two));
  EXPECT_EQ(m->queue.Entries().size(), pending);
  EXPECT_LT(m->queue.TimeOf(m->instances.slots[1].instance->processor.bootDoneEventId), 200.0);
}

TEST_F(StateLoad, ACountOfInstancesBeyondTheMostGivesTheMost) {
  StateBytes bytes = Save(*m);
  PutAt<u32>(bytes, kAtInstanceCount, 0xFFFFFFFF);
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(m->instances.slots.size(), 256u);
}

TEST_F(StateLoad, MoreSamplesThanCanBeHeldAreCutAndTheRestIsSkipped) {
  StateBytes bytes = Save(*m);
  PutAt<u32>(bytes, kAtOutputCount, 20000);
  bytes.insert(bytes.begin() + kAtOutputCount + 4, 40000, 0x11);
  m->soundBoard.link.bankRegister = 99;
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(m->mixer.outputCount, 16384u);
  EXPECT_EQ(m->mixer.output[16383], 0x1111);
  EXPECT_EQ(m->soundBoard.link.bankRegister, 0u) << "what follows is read from its place";
}

TEST_F(StateLoad, ATailLongerThanTheHostsBlockIsCutAndTheRestIsSkipped) {
  StateBytes bytes = Save(*m);
  PutAt<u32>(bytes, kAtTailCount, 2000);
  bytes.insert(bytes.begin() + kAtTailCount + 4, 8000, 0x11);
  m->soundBoard.link.bankRegister = 99;
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(m->mixer.tailCount, 1024u) << "the test host's block";
  EXPECT_EQ(m->mixer.tail[1023], 0x11111111);
  EXPECT_EQ(m->soundBoard.link.bankRegister, 0u);
}

TEST_F(StateLoad, BehindAShorterTailTheBufferIsEmpty) {
  const StateBytes none = Save(*m);
  m->mixer.PrepareTail(m->soundPort);
  m->mixer.tailCount = 3;
  std::fill_n(m->mixer.tail.get(), 3, 77);
  ASSERT_TRUE(Load(*m, none));
  EXPECT_EQ(m->mixer.tailCount, 0u);
  for (u32 i = 0; i < 3; ++i) EXPECT_EQ(m->mixer.tail[i], 0);
}

TEST_F(StateLoad, AnOddCountOfHeldSamplesDoesNotUpsetTheMix) {
  StateBytes bytes = Save(*m);
  PutAt<u32>(bytes, kAtOutputCount, 1);
  bytes.insert(bytes.begin() + kAtOutputCount + 4, 2, 0x11);
  ASSERT_TRUE(Load(*m, bytes));
  m->soundBoard.link.samplePeriod = 1e9;  // blocks of no samples
  m->soundBoard.sampleCount = 1;
  m->MixFrame();
  EXPECT_LE(m->mixer.outputCount, CMixer::kOutputValues);
}

TEST_F(StateLoad, ASoundClockThatNoBoardHasIsPutRight) {
  for (const f64 clock : {0.0, -1.0, 1e300, std::numeric_limits<f64>::quiet_NaN()}) {
    StateBytes bytes = Save(*m);
    PutAt(bytes, kAtSound + 13776, clock);
    ASSERT_TRUE(Load(*m, bytes));
    EXPECT_EQ(m->sound.state.clockMHz, 10.0);
  }
}

// --- Disk --------------------------------------------------------------------------------------

std::vector<u8> Sector(u8 value) { return std::vector<u8>(kSectorBytes, value); }

TEST_F(StateLoad, DirtySectorsComeBackAndThoseThatAreDirtyNowStay) {
  WriteSector(Sector(1).data(), 3, m.get());
  const StateBytes bytes = Save(*m);
  WriteSector(Sector(2).data(), 3, m.get());
  WriteSector(Sector(3).data(), 4, m.get());
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(m->diskImage[3 * 512], 1);
  EXPECT_EQ(m->diskImage[4 * 512], 3) << "written since, and not undone";
  EXPECT_EQ(m->dirtyBitmap[0], u64{8});
}

TEST_F(StateLoad, ABitmapOfAnotherDiskIsRefusedAfterWhatStandsBeforeIt) {
  WriteSector(Sector(1).data(), 3, m.get());
  StateBytes bytes = Save(*m);
  PutAt<u32>(bytes, kAtState, 777);
  PutAt<u32>(bytes, kAtDelta + 8, 2);
  WriteSector(Sector(2).data(), 3, m.get());
  m->bResetPending = 0;
  EXPECT_FALSE(Load(*m, bytes));
  EXPECT_EQ(m->state.frameNumber & 0xFFFFFFFF, 777u) << "what came before has been taken";
  EXPECT_EQ(m->diskImage[3 * 512], 2);
  EXPECT_EQ(m->bResetPending, 0);
  Steps(2);
}

TEST_F(StateLoad, ARangeOutsideItsBitmapIsRefused) {
  const StateBytes bytes = Save(*m);
  for (const auto& [first, last] : {std::pair{1u, 0u}, {0u, 1u}, {5u, 6u}, {0u, 0xFFFFFFFFu}}) {
    StateBytes edited = bytes;
    PutAt<u32>(edited, kAtDelta + 12, first);
    PutAt<u32>(edited, kAtDelta + 16, last);
    EXPECT_FALSE(Load(*m, edited)) << first << " to " << last;
  }
}

TEST_F(StateLoad, AWriteAfterAStateWithoutABitmapIsKeptAllTheSame) {
  StateBytes bytes = Save(*m);
  PutAt<u32>(bytes, kAtDelta + 8, 0);
  PutAt<u32>(bytes, kAtDelta + 16, 55);
  bytes.erase(bytes.begin() + kAtBitmap, bytes.begin() + kAtInstanceCount);
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(m->dirtyBitmap, nullptr);
  WriteSector(Sector(9).data(), 5, m.get());
  ASSERT_NE(m->dirtyBitmap, nullptr);
  EXPECT_EQ(m->dirtyBitmap[0], u64{1} << 5);
  const StateBytes dirty = Save(*m);
  EXPECT_EQ(dirty.size(), kResetStateBytes + 512u);
  EXPECT_EQ(ValueAt<u32>(dirty, kAtDelta + 8), 1u);
}

TEST_F(StateLoad, BitsBehindTheDisksEndAreReadPast) {
  StateBytes bytes = Save(*m);
  PutAt<u64>(bytes, kAtBitmap, u64{1} << 40 | u64{1} << 2);
  bytes.insert(bytes.begin() + kAtInstanceCount, 512, 0x22);
  bytes.insert(bytes.begin() + kAtInstanceCount + 512, 512, 0x33);
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(m->diskImage[2 * 512], 0x22);
  EXPECT_EQ(m->instances.slots.size(), 0u) << "the count behind was read from its place";
}

TEST_F(StateLoad, AShortStateLeavesTheBitmapAsItIs) {
  const StateBytes whole = Save(*m);
  WriteSector(Sector(1).data(), 3, m.get());
  ASSERT_TRUE(Load(*m, StateBytes(whole.begin(), whole.begin() + kAtDelta + 23)));
  ASSERT_NE(m->dirtyBitmap, nullptr);
  EXPECT_EQ(m->dirtyBitmap[0], u64{8});
}

TEST_F(StateLoad, ALookAheadCloneTakesTheBitmapAndLeavesTheSharedImageAlone) {
  WriteSector(Sector(1).data(), 3, m.get());
  m->SetInstanceCount(1);
  const StateBytes bytes = Save(*m);
  const BoardPtr clone = Another();
  clone->parent = m.get();
  clone->diskImage = m->diskImage;
  WriteSector(Sector(2).data(), 3, m.get());
  ASSERT_TRUE(Load(*clone, bytes));
  EXPECT_EQ(m->diskImage[3 * 512], 2);
  EXPECT_EQ(clone->dirtyBitmap[0], u64{8});
  EXPECT_EQ(clone->instances.slots.size(), 0u) << "a clone has no instances; theirs stays unread";
  clone->parent = nullptr;
}

// --- Time --------------------------------------------------------------------------------------

TEST_F(StateLoad, TheExtraReadTimeOfAStateGivesWayToTheSettingAtTheNextFrame) {
  m->ata.timing.extraReadTime = 5.0;
  const StateBytes bytes = Save(*m);
  m->ata.timing.extraReadTime = 0.0;
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(m->ata.timing.extraReadTime, 5.0);
  Steps(1);
  EXPECT_EQ(m->ata.timing.extraReadTime, 0.0);
}

struct SBadTime {
  const char* what;
  u32 offset;
  f64 value;
};

// What a state may never do is keep a frame from ending.
TEST_F(StateLoad, FramesEndWhateverTimesAStateHolds) {
  constexpr f64 kInfinity = std::numeric_limits<f64>::infinity();
  Steps(3);
  const StateBytes good = Save(*m);
  const u32 events = ValueAt<u32>(good, kAtQueue + 8);
  std::vector<u32> places = {kAtState + 8,  kAtState + 16, kAtState + 24,
                             kAtState + 88, kAtQueue,      kAtQueue + 16 + 24 * events};
  for (u32 i = 0; i < events; ++i) places.push_back(kAtQueue + 16 + 24 * i);
  for (const u32 place : places) {
    for (const f64 time : {-kInfinity, kInfinity, std::numeric_limits<f64>::quiet_NaN(), -1e300,
                           1e300, -1e12, 1e12, 0.0, 1e-300, -5000.0}) {
      StateBytes bytes = good;
      PutAt(bytes, place, time);
      ASSERT_TRUE(Load(*m, bytes));
      const u64 before = m->state.frameNumber;
      Steps(3);
      EXPECT_EQ(m->state.frameNumber, before + 3) << place << ": " << time;
    }
  }
}

TEST_F(StateLoad, FramesEndWithoutAFrameEndEventInTheState) {
  StateBytes bytes = Save(*m);
  for (u32 i = 0; i < 4; ++i) {
    const u32 at = kAtQueue + 16 + 24 * i + 8;
    if (ValueAt<u32>(bytes, at) == m->videoEventEndId) PutAt<u32>(bytes, at, 0);
  }
  ASSERT_TRUE(Load(*m, bytes));
  Steps(2);
  EXPECT_EQ(m->vBlankCount, 1u);
}

TEST_F(StateLoad, EventsOutOfOrderAreBroughtIntoIt) {
  StateBytes bytes = Save(*m);
  PutAt(bytes, kAtQueue + 16 + 24 * 3, 3e4);  // the last, which is to be the soonest
  ASSERT_TRUE(Load(*m, bytes));
  const auto& entries = m->queue.Entries();
  for (size_t i = 1; i < entries.size(); ++i) EXPECT_GE(entries[i - 1].time, entries[i].time);
  Steps(2);
}

TEST_F(StateLoad, AThousandFrameEventsInAStateAreOneOfEach) {
  StateBytes bytes = Save(*m);
  PutAt<u32>(bytes, kAtQueue + 8, 1004);
  StateBytes more;
  for (u32 i = 0; i < 1000; ++i) {
    SEvent event{100.0, 6 + i % 2, 0, 0};
    const u8* const raw = reinterpret_cast<const u8*>(&event);
    more.insert(more.end(), raw, raw + sizeof(event));
  }
  bytes.insert(bytes.begin() + kAtQueue + 16, more.begin(), more.end());
  ASSERT_TRUE(Load(*m, bytes));
  EXPECT_EQ(m->queue.Entries().size(), 4u);
  Steps(2);
}

}  // namespace
}  // namespace vx::test
