// Sectors on their way: reads and writes of one and of many, their interrupts, and failures.
#include "tests/drive/DriveTest.h"

namespace vx::test {
namespace {

class DriveReadTest : public CDriveTest, public testing::WithParamInterface<u32> {
 protected:
  DriveReadTest() { SpinUp(); }
};
INSTANTIATE_TEST_SUITE_P(BothReadCommands, DriveReadTest, testing::Values(0x20, 0x21));

TEST_P(DriveReadTest, OneSectorIsReadWithOneInterruptAndEndsIdle) {
  Select({0, 0, 8});
  Command(GetParam());
  RunFor(kSeekUs);
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(Status(), kAtaIdle | kAtaDataRequest);
  EXPECT_EQ(TakeSector(), Pattern(7));
  EXPECT_EQ(Status(), u32{kAtaIdle});
  EXPECT_EQ(record.sectorCount, 0u);
  EXPECT_EQ(record.sectorNumber, 8u) << "the head stays on the last sector";
  EXPECT_EQ(record.currentSector, 7u);
  EXPECT_TRUE(queue.IsEmpty());
}

TEST_P(DriveReadTest, ManySectorsComeOneByOneEachWithItsInterrupt) {
  Select({0, 0, 45}, 5);
  Command(GetParam());
  RunFor(kSeekUs);
  for (u32 i = 0; i < 5; ++i) {
    EXPECT_EQ(levels, std::vector<u32>{1}) << i;
    EXPECT_EQ(Status(), kAtaIdle | kAtaDataRequest) << i;
    levels.clear();
    EXPECT_EQ(record.sectorCount, 5 - i);
    EXPECT_EQ(record.currentSector, std::min(45 + i, 48u)) << "advanced before it is taken";
    EXPECT_EQ(TakeSector(), Pattern(44 + i));
    EXPECT_TRUE(levels.empty());
    if (i == 4) break;
    EXPECT_EQ(NextEventTime(), nowUs + kSeekUs);
    EXPECT_EQ(Status(), kAtaIdle | kAtaBusy);
    RunFor(kSeekUs);
  }
  EXPECT_EQ(Status(), u32{kAtaIdle});
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_EQ(touched, (std::vector<u64>{44, 45, 46, 47, 48}));
}

TEST_P(DriveReadTest, ACountOfZeroReads256Sectors) {
  Select({0, 0, 1}, 0);
  Command(GetParam());
  u32 taken = 0;
  while (true) {
    if (!queue.IsEmpty()) RunFor(UntilNextEvent());
    if ((Status() & kAtaDataRequest) == 0) break;
    ASSERT_EQ(TakeSector(), Pattern(taken)) << taken;
    ++taken;
  }
  EXPECT_EQ(taken, 256u);
  EXPECT_EQ(record.sectorCount, 0u);
}

TEST_P(DriveReadTest, AReadWithNothingLeftToCountDeliversOneSectorAndAdvances) {
  StandOn({0, 0, 3});
  record.sectorCount = 0;
  Command(GetParam());
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(TakeSector(), Pattern(2));
  EXPECT_EQ(record.sectorNumber, 4u);
  EXPECT_EQ(record.sectorCount, 0u);
  EXPECT_TRUE(queue.IsEmpty());
}

TEST_P(DriveReadTest, AReadPastTheEndOfATransferGivesTheOldFirstWordAndMoves) {
  Select({0, 0, 1});
  Command(GetParam());
  const Sector sector = TakeSector();
  EXPECT_EQ(Read(kData), static_cast<u32>(sector[0] | sector[1] << 8));
  EXPECT_EQ(record.dataPosition, 2u);
}

TEST_P(DriveReadTest, ASectorThatIsNotDeliveredWholeFailsTheTransfer) {
  for (const u32 bytes : {0u, 1u, 511u}) {
    SpinUp();
    deliveredBytes = bytes;
    Select({0, 0, 9}, 3);
    Command(GetParam());
    RunFor(kSeekUs);
    EXPECT_EQ(record.error, 0x80u);
    EXPECT_EQ(levels, std::vector<u32>{1});
    EXPECT_EQ(Status(), kAtaIdle | kAtaError);
    EXPECT_EQ(record.sectorCount, 3u) << "count and place stay where they were";
    EXPECT_EQ(record.sectorNumber, 9u);
    EXPECT_TRUE(queue.IsEmpty());
  }
}

TEST_P(DriveReadTest, TheNextCommandClearsTheErrorBitButNotTheErrorRegister) {
  deliveredBytes = 0;
  Select({0, 0, 9});
  Command(GetParam());
  RunFor(kSeekUs);
  deliveredBytes = 512;
  Command(GetParam());
  EXPECT_EQ(Status(), kAtaIdle | kAtaDataRequest);
  EXPECT_EQ(record.error, 0x80u);
  EXPECT_EQ(TakeSector(), Pattern(8));
}

TEST_P(DriveReadTest, AnErrorInTheMiddleOfATransferEndsItThere) {
  Select({0, 0, 1}, 3);
  Command(GetParam());
  TakeSector();
  deliveredBytes = 100;
  RunFor(kSeekUs);
  EXPECT_EQ(Status(), kAtaIdle | kAtaError);
  EXPECT_EQ(record.sectorCount, 2u);
  EXPECT_EQ(record.sectorNumber, 2u);
  EXPECT_EQ(levels, (std::vector<u32>{1, 0}));
}

TEST_P(DriveReadTest, ALongerCountdownHoldsTheInterruptBackUntilItRunsOut) {
  StandOn({0, 0, 1});
  Select({0, 0, 1}, 4);
  Command(GetParam());
  Status();
  levels.clear();
  record.interruptCountdown = 3;
  for (u32 i = 0; i < 2; ++i) {
    TakeSector();
    RunFor(kSeekUs);
    EXPECT_TRUE(levels.empty());
    EXPECT_EQ(Status(), kAtaIdle | kAtaDataRequest);
  }
  TakeSector();
  RunFor(kSeekUs);
  EXPECT_EQ(levels, std::vector<u32>{1}) << "the last sector forces it";
  EXPECT_EQ(record.interruptCountdown, 1u);
}

TEST_P(DriveReadTest, ACountdownOfZeroInterruptsAtTheLastSectorAlone) {
  StandOn({0, 0, 1});
  Select({0, 0, 1}, 3);
  Command(GetParam());
  Status();
  levels.clear();
  record.interruptCountdown = 0;
  TakeSector();
  RunFor(kSeekUs);
  EXPECT_TRUE(levels.empty());
  TakeSector();
  RunFor(kSeekUs);
  EXPECT_EQ(levels, std::vector<u32>{1});
}

// --- Writes ------------------------------------------------------------------------------------

class DriveWriteTest : public CDriveTest, public testing::WithParamInterface<u32> {
 protected:
  DriveWriteTest() { SpinUp(); }
};
INSTANTIATE_TEST_SUITE_P(BothWriteCommands, DriveWriteTest, testing::Values(0x30, 0x31));

TEST_P(DriveWriteTest, AWriteAsksForDataAtOnceWithoutAnInterrupt) {
  record.interruptCountdown = 9;
  Select({10, 1, 1});
  Command(GetParam());
  EXPECT_EQ(Status(), kAtaIdle | kAtaDataRequest);
  EXPECT_EQ(record.interruptCountdown, 1u);
  EXPECT_TRUE(levels.empty());
  EXPECT_TRUE(queue.IsEmpty());
}

TEST_P(DriveWriteTest, ASectorIsCommittedAHundredMicrosecondsAfterItsLastWord) {
  Select({0, 0, 5});
  Command(GetParam());
  GiveSector(Pattern(70));
  EXPECT_EQ(UntilNextEvent(), kCommitUs);
  EXPECT_EQ(Status(), kAtaIdle | kAtaBusy);
  RunFor(kCommitUs - 0.5);
  EXPECT_TRUE(writtenSectors.empty());
  EXPECT_TRUE(levels.empty());
  RunFor(0.5);
  EXPECT_EQ(written[4], Pattern(70));
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(Status(), u32{kAtaIdle});
  EXPECT_EQ(record.sectorCount, 0u);
  EXPECT_EQ(record.sectorNumber, 5u);
  EXPECT_TRUE(touched.empty()) << "the last sector does not advance";
}

TEST_P(DriveWriteTest, ManySectorsAreWrittenWithAnInterruptAfterEachCommit) {
  Select({0, 12, 46}, 3);
  Command(GetParam());
  const u64 first = 12 * 47 + 45;
  for (u32 i = 0; i < 3; ++i) {
    EXPECT_EQ(Status(), kAtaIdle | kAtaDataRequest);
    levels.clear();
    GiveSector(Pattern(100 + i));
    EXPECT_TRUE(levels.empty());
    RunFor(kCommitUs);
    EXPECT_EQ(levels, std::vector<u32>{1});
    EXPECT_EQ(written[first + i], Pattern(100 + i));
  }
  EXPECT_EQ(Status(), u32{kAtaIdle});
  EXPECT_EQ(touched, (std::vector<u64>{first + 1, first + 2}));
  EXPECT_EQ(record.cylinderLow, 1u);
  EXPECT_EQ(record.driveHead, 0u);
  EXPECT_EQ(record.sectorNumber, 1u);
}

TEST_P(DriveWriteTest, ACountOfZeroWrites256Sectors) {
  Select({0, 0, 1}, 0);
  Command(GetParam());
  u32 given = 0;
  while ((Status() & kAtaDataRequest) != 0) {
    GiveSector(Pattern(given++));
    RunFor(kCommitUs);
  }
  EXPECT_EQ(given, 256u);
  EXPECT_EQ(written.size(), 256u);
  EXPECT_EQ(written[255], Pattern(255));
}

TEST_P(DriveWriteTest, AWriteWithNothingLeftToCountTakesOneSectorAndAdvances) {
  Select({0, 0, 3});
  record.sectorCount = 0;
  Command(GetParam());
  GiveSector(Pattern(1));
  RunFor(kCommitUs);
  EXPECT_EQ(written[2], Pattern(1));
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(Status(), u32{kAtaIdle}) << "no further sector is asked for";
  EXPECT_EQ(record.sectorNumber, 4u);
  EXPECT_EQ(record.sectorCount, 0u);
}

TEST_P(DriveWriteTest, ASectorThatIsNotTakenWholeFailsTheTransfer) {
  for (const u32 bytes : {0u, 511u}) {
    SpinUp();
    takenBytes = bytes;
    Select({0, 0, 9}, 3);
    Command(GetParam());
    GiveSector(Pattern(1));
    RunFor(kCommitUs);
    EXPECT_EQ(record.error, 0x80u);
    EXPECT_EQ(levels, std::vector<u32>{1});
    EXPECT_EQ(Status(), kAtaIdle | kAtaError);
    EXPECT_EQ(record.sectorCount, 3u);
    EXPECT_EQ(record.sectorNumber, 9u);
    EXPECT_TRUE(touched.empty());
  }
}

TEST_P(DriveWriteTest, ACountdownOfZeroInterruptsOnlyWhenTheTransferIsDone) {
  Select({0, 0, 1}, 2);
  Command(GetParam());
  record.interruptCountdown = 0;
  GiveSector(Pattern(0));
  RunFor(kCommitUs);
  EXPECT_TRUE(levels.empty());
  EXPECT_EQ(Status(), kAtaIdle | kAtaDataRequest);
  GiveSector(Pattern(1));
  RunFor(kCommitUs);
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(record.interruptCountdown, 1u);
}

TEST_P(DriveWriteTest, AFullBufferOfAnotherCommandIsNotWritten) {
  Command(0xF9);
  GiveSector(Pattern(1));
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_EQ(record.dataPosition, 0u);
}

}  // namespace
}  // namespace vx::test
