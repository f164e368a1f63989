// What a reset brings back, and what outlives it.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "machine/Settings.h"
#include "tests/machine/BoardTest.h"

namespace vx::test {
namespace {

using ResetTest = CBoardTest;

constexpr u64 kAllOnes = ~u64{0};

bool IsZero(const u8* bytes, u64 count) {
  return std::all_of(bytes, bytes + count, [](u8 byte) { return byte == 0; });
}

TEST_F(ResetTest, EventIdsFollowTheConstructorsOrder) {
  EXPECT_EQ(m->timerEventId, 4u);
  EXPECT_EQ(m->sound.bootDoneEventId, 5u);
  EXPECT_EQ(m->videoEventEndId, 6u);
  EXPECT_EQ(m->videoEventStartId, 7u);
  EXPECT_EQ(m->queue.Register([](void*, u64, f64) {}, nullptr), 8u);
}

void ExpectEvent(const SEvent& event, f64 time, u32 id, u64 userData) {
  EXPECT_DOUBLE_EQ(event.time, time);
  EXPECT_EQ(event.id, id);
  EXPECT_EQ(event.userData, userData);
}

TEST_F(ResetTest, ALoadedMachineHasFourEventsPending) {
  Boot();
  const std::vector<SEvent>& events = m->queue.Entries();
  ASSERT_EQ(events.size(), 4u);
  ExpectEvent(events[0], 16666.666666666668, 6, 0);
  ExpectEvent(events[1], 15267.175572519085, 7, 0);
  ExpectEvent(events[2], 2000.0, 1, 2);
  ExpectEvent(events[3], 1000.0, 5, 0);
}

TEST_F(ResetTest, AMachineWithoutAPackDoesNotBootItsSoundProcessor) {
  const std::vector<SEvent>& events = m->queue.Entries();
  ASSERT_EQ(events.size(), 3u);
  ExpectEvent(events[0], 16666.666666666668, 6, 0);
  ExpectEvent(events[1], 15267.175572519085, 7, 0);
  ExpectEvent(events[2], 2000.0, 1, 2);
}

TEST_F(ResetTest, AResetAfterFramesBeginsTheTimelineAnew) {
  Boot();
  Steps(3);
  ASSERT_GT(m->queue.LastFired(), 0.0);
  m->Reset();
  EXPECT_EQ(m->queue.LastFired(), 0.0);
  EXPECT_EQ(m->queue.ClientTime(m->clientIndex), 0.0);
  EXPECT_EQ(m->state.mainTime, 0.0);
  EXPECT_EQ(m->state.soundTime, 0.0);
  EXPECT_DOUBLE_EQ(m->queue.Entries().front().time, 16666.666666666668);
  EXPECT_EQ(m->queue.Entries().size(), 4u);
}

TEST_F(ResetTest, TheFirstFrameAfterAResetIsAWholeFrame) {
  Boot();
  m->FrameStep();
  const u64 retired = m->cpu.retired;
  Steps(2);
  m->Reset();
  m->FrameStep();
  EXPECT_EQ(m->cpu.retired, retired);
  EXPECT_GT(retired, 1666000u);
}

TEST_F(ResetTest, BothRamsAreCleared) {
  Boot();
  for (const u32 place : {0u, 0x7FFFFu, 0x80000u, 0x87FFFFu}) m->flatMem[place] = 1;
  m->Reset();
  EXPECT_TRUE(IsZero(m->flatMem, 0x880000));
}

TEST_F(ResetTest, TheStateBlockGoesToItsResetValues) {
  Boot();
  std::memset(static_cast<void*>(&m->state), 0x5A, sizeof(m->state));
  m->state.frameFlags = 0xFFFFFFFF;
  m->Reset();
  SMachineState expected = {};
  expected.inputPort0 = expected.inputPort1 = expected.boardStatus = expected.dipPort = kAllOnes;
  expected.framePeriodUs = m->state.framePeriodUs;
  expected.frameRateInForce = 60.0;
  EXPECT_EQ(std::memcmp(&m->state, &expected, sizeof(expected)), 0);
  EXPECT_DOUBLE_EQ(m->state.framePeriodUs, 16666.666666666668);
}

TEST_F(ResetTest, PendingValuesGoToFixedDefaultsButTheRequestedFrameRateStays) {
  m->pendingDipWord = 0x1234;
  m->pendingClockMHz = 300;
  m->pendingExtraReadTimeUs = 20000;
  m->frameRateRequested = 30.0;
  m->Reset();
  EXPECT_EQ(m->pendingDipWord, kAllOnes);
  EXPECT_EQ(m->pendingClockMHz, 100u);
  EXPECT_EQ(m->pendingExtraReadTimeUs, 0u);
  EXPECT_EQ(m->frameRateRequested, 30.0);
  EXPECT_EQ(m->state.frameRateInForce, 30.0);
  EXPECT_DOUBLE_EQ(m->state.framePeriodUs, 33333.333333333336);
}

TEST_F(ResetTest, CountsOfFrameAndSoundGoToZero) {
  m->lookAheadFrameNumber = 9;
  m->mixer.tailCount = 9;
  m->mixer.outputCount = 9;
  m->vBlankCount = 9;
  m->soundBoard.sampleCount = 9;
  m->Reset();
  EXPECT_EQ(m->lookAheadFrameNumber, 0u);
  EXPECT_EQ(m->mixer.tailCount, 0u);
  EXPECT_EQ(m->mixer.outputCount, 0u);
  EXPECT_EQ(m->vBlankCount, 0u);
  EXPECT_EQ(m->soundBoard.sampleCount, 0u);
}

TEST_F(ResetTest, WithoutRandomStartThereIsNoSeed) {
  host.clockMs = 123456.789;
  m->Reset();
  EXPECT_EQ(m->state.randState, 0u);
  EXPECT_EQ(m->state.frameFlags, 0u);
}

// The seed of a clock value, digit groups worked out one by one.
u32 SeedOf(f64 clockMs) {
  const f64 t = std::fmod(clockMs, 1000000.0);
  const i64 parts[] = {static_cast<i64>(t * 0.001),        static_cast<i64>(t * 0.000001),
                       static_cast<i64>(t * 1000000000.0), static_cast<i64>(t * 1000.0),
                       static_cast<i64>(t * 1000000.0),    static_cast<i64>(t)};
  u32 seed = 0;
  for (const i64 part : parts) seed ^= static_cast<u32>(part);
  return seed & 0x7FFFFFFF;
}

TEST_F(ResetTest, RandomStartTakesItsSeedFromTheHostsClock) {
  m->bRandomStart = 1;
  for (const f64 clockMs : {1.0, 123456.789, 999999.999, 7654321.5, -12345.678}) {
    host.clockMs = clockMs;
    m->Reset();
    EXPECT_EQ(m->state.randState, SeedOf(clockMs)) << clockMs;
    EXPECT_EQ(m->state.frameFlags, u32{kFrameRandomStart});
  }
  host.clockMs = 1.0;
  m->Reset();
  EXPECT_EQ(m->state.randState, (1000000000u ^ 1000u ^ 1000000u ^ 1u));
}

TEST_F(ResetTest, BreakpointsAndOpRecordsAreCleared) {
  Boot();
  Steps(1);
  const auto isWritten = [](const SPredecodedOp& record) { return record.flags != 0; };
  ASSERT_TRUE(std::any_of(std::begin(m->records), std::end(m->records), isWritten));
  m->breakpointMap[0x100] = std::make_shared<CVXMachine::SMIPSBreakpointMapEntry>();
  m->bPredecodeChanged = 0;
  m->Reset();
  EXPECT_TRUE(m->breakpointMap.empty());
  EXPECT_TRUE(IsZero(reinterpret_cast<const u8*>(m->records), sizeof(m->records)));
  EXPECT_EQ(m->bPredecodeChanged, 1);
}

TEST_F(ResetTest, TheProcessorIsWiredToItsMachine) {
  m->Reset();
  EXPECT_EQ(m->cpuQueue, &m->queue);
  EXPECT_EQ(m->cpuRecords, m->records);
  EXPECT_EQ(m->cpuFlatMem, m->flatMem);
  EXPECT_EQ(m->cpuRecordCount, 0x240000u);
  EXPECT_EQ(m->cpuBreakpoints, &m->breakpointMap);
}

TEST_F(ResetTest, TheProcessorsClockStays) {
  m->cpu.clockMHz = 250.0;
  m->Reset();
  EXPECT_EQ(m->cpu.clockMHz, 250.0);
}

TEST_F(ResetTest, TheDriveIsFreshAndBusyUntilItHasSpunUp) {
  SATARecord& drive = m->ata.block.record;
  std::memset(static_cast<void*>(&drive), 0x5A, sizeof(drive));
  m->Reset();
  EXPECT_EQ(drive.cylinders, 419u);
  EXPECT_EQ(drive.heads, 13u);
  EXPECT_EQ(drive.sectorsPerTrack, 47u);
  EXPECT_EQ(drive.sectorsPerInterrupt, 1u);
  EXPECT_EQ(drive.status, 0x80u);
  EXPECT_EQ(drive.busyUntil, 2000.0);
  EXPECT_EQ(drive.sectorCount, 0u);
}

TEST_F(ResetTest, ARaisedDriveInterruptIsLowered) {
  m->ata.block.interruptLine = 1;
  m->cpu.cop0[kCop0Cause] |= kCauseAta;
  m->Reset();
  EXPECT_EQ(m->ata.block.interruptLine, 0);
  EXPECT_EQ(m->cpu.cop0[kCop0Cause] & kCauseAta, 0u);
}

TEST_F(ResetTest, RegistrationsOfTheQueueSurvive) {
  u32 told = 0;
  m->queue.AddListener([](void* context) { ++*static_cast<u32*>(context); }, &told);
  f64 rebased = 5.0;
  m->queue.AddRebased(&rebased);
  m->Reset();
  told = 0;
  m->queue.NotifyEarliest();
  EXPECT_EQ(told, 1u);
  Boot();
  m->FrameStep();
  m->queue.Rebase();
  EXPECT_LT(rebased, 0.0);
}

TEST_F(ResetTest, ScriptStateDiskRomsAndHashesOutliveIt) {
  SPackContent content = PackOfCode(CGuestCode().Rest().Words());
  content.disk = std::vector<u8>(4096, 0x33);
  Boot(content);
  while (m->bAllChunksLoaded == 0) m->FrameStep();
  m->scriptState.markFrame = 5;
  m->scriptState.playerExtra[1] = 6;
  m->scriptState.reserved[15] = 7;
  m->scriptBlobStore[3].bytes = {1, 2};
  m->bScriptStartSent = 1;
  m->SetInstanceCount(2);
  m->instances.slots[1].time = 4.0;
  std::vector<u8> sector(512, 0x77);
  EXPECT_EQ(WriteSector(sector.data(), 2, m.get()), 512u);
  const u64 packHash = m->packHash, soundRomHash = m->soundRomHash;

  m->Reset();
  EXPECT_EQ(m->scriptState.markFrame, 5u);
  EXPECT_EQ(m->scriptState.playerExtra[1], 6u);
  EXPECT_EQ(m->scriptState.reserved[15], 7u);
  EXPECT_EQ(m->scriptBlobStore[3].bytes.size(), 2u);
  EXPECT_EQ(m->bScriptStartSent, 1);
  ASSERT_EQ(m->instances.slots.size(), 2u);
  EXPECT_EQ(m->instances.slots[1].time, 0.0) << "moves with the timeline";
  EXPECT_EQ(m->dirtyBitmap[0], 4u);
  EXPECT_EQ(ReadSector(sector.data(), 2, m.get()), 512u);
  EXPECT_EQ(sector[0], 0x77);
  EXPECT_EQ(m->packHash, packHash);
  EXPECT_EQ(m->soundRomHash, soundRomHash);
  EXPECT_NE(m->flatMem[0x880000] | m->flatMem[0x880001] | m->flatMem[0x880003], 0);
  EXPECT_TRUE(m->IsLoaded());
}

TEST_F(ResetTest, TheResetNotificationWaitsForTheNextFrame) {
  EXPECT_EQ(m->bResetPending, 1) << "the constructor resets";
  m->FrameStep();
  EXPECT_EQ(m->bResetPending, 0);
  m->Reset();
  m->Reset();
  EXPECT_EQ(m->bResetPending, 1);
  m->FrameStep();
  EXPECT_EQ(m->bResetPending, 0);
}

TEST_F(ResetTest, AFreshMachineHasTakenTheSettingsBooleansAndTheFrameRate) {
  u32 value = 2;
  std::memcpy(SettingList()->begin[10].current, &value, 4);
  u8 flag = 0;
  std::memcpy(SettingList()->begin[13].current, &flag, 1);
  flag = 1;
  std::memcpy(SettingList()->begin[15].current, &flag, 1);
  const BoardPtr fresh(new CVXMachine);
  EXPECT_EQ(fresh->state.frameRateInForce, 30.0);
  EXPECT_EQ(fresh->bDiskFlush, 0);
  EXPECT_EQ(fresh->bPreserveCache, 0);
  EXPECT_EQ(fresh->bRandomStart, 1);
  EXPECT_NE(fresh->state.frameFlags & kFrameRandomStart, 0u) << "the constructor's own reset";
}

TEST_F(ResetTest, AFreshMachineIsZeroWhereItSavesAndHashes) {
  EXPECT_EQ(m->cpu.padding276, 0u);
  EXPECT_EQ(m->cpu.padding1356, 0u);
  EXPECT_EQ(m->state.padding44, 0u);
  EXPECT_TRUE(IsZero(reinterpret_cast<const u8*>(&m->scriptState), sizeof(m->scriptState)));
  EXPECT_TRUE(IsZero(m->ata.block.padding577, sizeof(m->ata.block.padding577)));
  EXPECT_EQ(m->ata.block.record.padding572, 0u);
  EXPECT_EQ(m->inputRecords[15].scale, 1.0f);
  EXPECT_EQ(m->frameTarget, nullptr);
}

}  // namespace
}  // namespace vx::test
