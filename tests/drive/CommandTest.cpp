// The command step: what is accepted, what each command does at once and what it does later.
#include <algorithm>
#include <cstring>

#include "tests/drive/DriveTest.h"

namespace vx::test {
namespace {

using Lines = std::vector<std::string>;

struct DriveCommandTest : CDriveTest {
  DriveCommandTest() { SpinUp(); }
};

constexpr u32 kKnownCommands[] = {0x20, 0x21, 0x30, 0x31, 0x91, 0xEC, 0xF9};

bool IsKnown(u32 code) {
  return std::find(std::begin(kKnownCommands), std::end(kKnownCommands), code) !=
         std::end(kKnownCommands);
}

TEST_F(DriveCommandTest, EveryUnknownCommandLeavesOneMessageAndNothingElse) {
  for (u32 code = 0; code < 256; ++code) {
    if (IsKnown(code)) continue;
    log.clear();
    Command(code);
    EXPECT_EQ(log, Lines{"ATA command unimplemented: " + std::to_string(code) + "\n"});
    EXPECT_EQ(record.command, code);
  }
  EXPECT_TRUE(levels.empty());
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_TRUE(touched.empty());
}

TEST_F(DriveCommandTest, AnUnknownCommandStillClearsErrorRequestPositionAndLine) {
  Command(0xF9);
  levels.clear();
  record.status = kAtaIdle | kAtaError | kAtaIndex;
  record.dataPosition = 100;
  const u16 count = record.sectorCount = 9;
  Command(0xC4);
  EXPECT_EQ(log, Lines{"ATA command unimplemented: 196\n"});
  EXPECT_EQ(record.status, kAtaIdle | kAtaIndex);
  EXPECT_EQ(record.dataPosition, 0u);
  EXPECT_EQ(levels, std::vector<u32>{0});
  EXPECT_EQ(record.sectorCount, count);
  EXPECT_EQ(record.error, 0u);
}

TEST_F(DriveCommandTest, ACommandIsIgnoredSilentlyWhileDataIsRequested) {
  Command(0x30);
  record.dataPosition = 6;
  Command(0xF9);
  Command(0xC4);
  EXPECT_EQ(record.command, 0x30u);
  EXPECT_EQ(record.dataPosition, 6u);
  EXPECT_TRUE(log.empty());
  EXPECT_TRUE(levels.empty());
}

TEST_F(DriveCommandTest, ACommandIsIgnoredSilentlyWhileTheDriveIsBusy) {
  Command(0xEC);
  Command(0xF9);
  EXPECT_EQ(record.command, 0xECu);
  EXPECT_TRUE(log.empty());
  EXPECT_TRUE(levels.empty());
}

TEST_F(DriveCommandTest, AStoredBusyBitBlocksACommandUntilSomethingReadsTheStatus) {
  record.status |= kAtaBusy;
  nowUs += 1000.0;
  Command(0xF9);
  EXPECT_TRUE(levels.empty());
  drive.ReadAlternateStatus();
  Command(0xF9);
  EXPECT_EQ(levels, std::vector<u32>{1});
}

TEST_F(DriveCommandTest, TheCommandThatOnlyInterruptsDoesSoAtOnce) {
  Command(0xF9);
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(Status(), u32{kAtaIdle});
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_TRUE(log.empty());
}

TEST_F(DriveCommandTest, InitialiseTakesTheGeometryTenMicrosecondsLater) {
  Select({0, 0, 1}, 47);
  Write(kDriveHead, 0xA6);
  Command(0x91);
  EXPECT_EQ(UntilNextEvent(), kSetupUs);
  EXPECT_EQ(Status(), kAtaIdle | kAtaBusy);
  EXPECT_TRUE(levels.empty());
  Write(kSectorCount, 63);  // the registers count at the time of execution
  RunFor(kSetupUs);
  EXPECT_EQ(record.sectorsPerTrack, 63u);
  EXPECT_EQ(record.heads, 7u);
  EXPECT_EQ(record.cylinders, 419u);
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(Status(), u32{kAtaIdle});
}

TEST_F(DriveCommandTest, InitialiseTakesAFinishedTransfersCountOfZero) {
  Select({0, 0, 1});
  Command(0x20);
  TakeSector();
  ASSERT_EQ(record.sectorCount, 0u);
  Command(0x91);
  RunFor(kSetupUs);
  EXPECT_EQ(record.sectorsPerTrack, 0u);
  EXPECT_EQ(record.heads, 1u);

  Select({50, 0, 9});
  Command(0x20);
  EXPECT_EQ(readSectors.back(), 8u) << "cylinders of no sectors take no time to cross";
  EXPECT_TRUE(queue.IsEmpty());
}

TEST_F(DriveCommandTest, IdentifySwapsTheBytesOfEveryWordTenMicrosecondsLater) {
  for (u32 i = 0; i < 256; ++i) drive.identifyData[i] = static_cast<u16>(i << 8 | (0xFF - i));
  Command(0xEC);
  EXPECT_EQ(UntilNextEvent(), kSetupUs);
  EXPECT_EQ(Status(), kAtaIdle | kAtaBusy);
  RunFor(kSetupUs);
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(Status(), kAtaIdle | kAtaDataRequest);
  for (u32 i = 0; i < 256; ++i) EXPECT_EQ(Read(kData), (0xFF - i) << 8 | i) << i;
  EXPECT_EQ(Status(), u32{kAtaIdle}) << "an identify block needs no further step";
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_TRUE(touched.empty());
}

TEST_F(DriveCommandTest, AnIdentifyBlockDoesNotCountSectors) {
  Write(kSectorCount, 5);
  Command(0xEC);
  RunFor(kSetupUs);
  TakeSector();
  EXPECT_EQ(record.sectorCount, 5u);
}

TEST_F(DriveCommandTest, EventsThatOnlyADamagedStateCanHoldDoNothing) {
  constexpr u32 kDriveEvent = 1;  // the first id behind the queue's own
  const SATARecord before = record;
  for (const u64 userData :
       {u64{0xC4} << 16 | 1, u64{0x00} << 16 | 1, u64{0x20} << 16 | 9, ~u64{0}}) {
    queue.Schedule(nowUs + 1.0, kDriveEvent, userData);
    RunFor(1.0);
  }
  EXPECT_EQ(std::memcmp(&before, &record, sizeof(record)), 0);
  EXPECT_TRUE(readSectors.empty());
  queue.Schedule(nowUs + 1.0, kDriveEvent, u64{0x20} << 16 | 1);
  RunFor(1.0);
  EXPECT_EQ(readSectors.size(), 1u) << "the id is the drive's";
}

// --- Reset -------------------------------------------------------------------------------------

struct DriveResetTest : CDriveTest {};

TEST_F(DriveResetTest, TheDriveSpinsUpInTwoStagesOfTwoThousandMicroseconds) {
  drive.Reset();
  EXPECT_EQ(Status(), u32{kAtaBusy});
  EXPECT_EQ(UntilNextEvent(), 2000.0);
  record.dataPosition = 8;
  RunFor(2000.0);
  EXPECT_EQ(record.dataPosition, 0u);
  EXPECT_EQ(Status(), kAtaIdle | kAtaBusy);
  EXPECT_EQ(record.sectorCount, 0u);
  EXPECT_EQ(record.sectorNumber, 0u);
  EXPECT_EQ(UntilNextEvent(), 2000.0);
  RunFor(2000.0);
  EXPECT_EQ(Status(), u32{kAtaIdle});
  EXPECT_EQ(record.sectorCount, 1u);
  EXPECT_EQ(record.sectorNumber, 1u);
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_TRUE(levels.empty()) << "spinning up raises no interrupt";
}

TEST_F(DriveResetTest, CommandsAreRefusedUntilTheDriveHasSpunUp) {
  drive.Reset();
  Command(0xF9);
  RunFor(2000.0);
  Command(0xF9);
  EXPECT_TRUE(levels.empty());
  RunFor(2000.0);
  Command(0xF9);
  EXPECT_EQ(levels, std::vector<u32>{1});
}

TEST_F(DriveResetTest, AResetPutsBackTheRecordAndItsOwnGeometry) {
  std::memset(static_cast<void*>(&record), 0xA5, sizeof(record));
  record.busyUntil = 1e9;
  drive.Reset();
  SATARecord fresh;
  fresh.status = kAtaBusy;
  fresh.busyUntil = nowUs + 2000.0;
  EXPECT_EQ(std::memcmp(&fresh, &record, sizeof(record)), 0);
  EXPECT_EQ(record.cylinders, 419u);
  EXPECT_EQ(record.heads, 13u);
  EXPECT_EQ(record.sectorsPerTrack, 47u);
  EXPECT_EQ(record.sectorsPerInterrupt, 1u);
}

TEST_F(DriveResetTest, AResetKeepsExtraReadTimeAndIdentifyData) {
  drive.timing.extraReadTime = 5000.0;
  drive.identifyData[7] = 0x1234;
  drive.Reset();
  EXPECT_EQ(drive.timing.extraReadTime, 5000.0);
  EXPECT_EQ(drive.identifyData[7], 0x1234u);
}

TEST_F(DriveResetTest, AResetLowersARaisedLineOnceAndARestingOneNotAtAll) {
  SpinUp();
  drive.Reset();
  EXPECT_TRUE(levels.empty());
  RunFor(kSpinUpUs);
  Command(0xF9);
  drive.Reset();
  EXPECT_EQ(levels, (std::vector<u32>{1, 0}));
  EXPECT_EQ(drive.block.interruptLine, 0u);
}

TEST_F(DriveResetTest, TheDrivesTimesMoveWithTheOriginOfTheTimeline) {
  SpinUp();
  record.lastIndexTime = nowUs - 100.0;
  Command(0xEC);
  queue.Rebase();
  EXPECT_EQ(record.lastIndexTime, -100.0);
  EXPECT_EQ(record.busyUntil, kSetupUs);
  EXPECT_EQ(queue.Entries().back().time, kSetupUs);
}

}  // namespace
}  // namespace vx::test
