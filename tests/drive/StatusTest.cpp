// Status: the busy time, the index pulse, and how an interrupt is raised and acknowledged.
#include "tests/drive/DriveTest.h"

namespace vx::test {
namespace {

struct DriveStatusTest : CDriveTest {
  DriveStatusTest() { SpinUp(); }
};

TEST_F(DriveStatusTest, TheIndexPulseIsSeenByTheFirstReadAfterARevolution) {
  record.lastIndexTime = nowUs;
  nowUs = record.lastIndexTime + kRevolutionUs - 0.001;
  EXPECT_EQ(Status() & kAtaIndex, 0u);
  const f64 start = record.lastIndexTime = 0.0;
  nowUs = start + kRevolutionUs;
  EXPECT_EQ(Status() & kAtaIndex, u32{kAtaIndex}) << "exactly one revolution";
  EXPECT_EQ(record.lastIndexTime, nowUs);
  EXPECT_EQ(Status() & kAtaIndex, 0u) << "the second read within the revolution";
}

TEST_F(DriveStatusTest, TheIndexPulseIsTimedFromTheReadThatSawItAndNotByAFixedPhase) {
  record.lastIndexTime = 0.0;
  nowUs = 2.9 * kRevolutionUs;
  EXPECT_NE(Status() & kAtaIndex, 0u);
  nowUs = 3.8 * kRevolutionUs;
  EXPECT_EQ(Status() & kAtaIndex, 0u);
  nowUs = 3.95 * kRevolutionUs;
  EXPECT_NE(Status() & kAtaIndex, 0u);
}

TEST_F(DriveStatusTest, AlternateStatusReportsTheIndexPulseToo) {
  record.lastIndexTime = 0.0;
  nowUs = 2 * kRevolutionUs;
  EXPECT_NE(drive.ReadAlternateStatus() & kAtaIndex, 0u);
  EXPECT_EQ(Status() & kAtaIndex, 0u) << "it was seen";
}

TEST_F(DriveStatusTest, TheDriveIsBusyUpToTheEndOfItsTimeAndNoLonger) {
  record.busyUntil = nowUs + 5.0;
  EXPECT_EQ(Status(), kAtaIdle | kAtaBusy);
  nowUs = record.busyUntil - 0.5;
  EXPECT_EQ(drive.ReadAlternateStatus(), kAtaIdle | kAtaBusy);
  nowUs = record.busyUntil;
  EXPECT_EQ(Status(), u32{kAtaIdle});
}

TEST_F(DriveStatusTest, BothStatusRegistersAcknowledgeTheInterrupt) {
  Command(0xF9);
  EXPECT_EQ(drive.block.interruptLine, 1u);
  Status();
  EXPECT_EQ(drive.block.interruptLine, 0u);
  Command(0xF9);
  drive.ReadAlternateStatus();
  EXPECT_EQ(drive.block.interruptLine, 0u);
  EXPECT_EQ(levels, (std::vector<u32>{1, 0, 1, 0}));
}

TEST_F(DriveStatusTest, ReadsOfStatusWithTheLineLowTellNobody) {
  Status();
  drive.ReadAlternateStatus();
  EXPECT_TRUE(levels.empty());
}

TEST_F(DriveStatusTest, AStatusReadWhileBusyAcknowledgesToo) {
  Command(0xF9);
  record.busyUntil = nowUs + 5.0;
  record.status |= kAtaBusy;
  EXPECT_EQ(Status(), kAtaIdle | kAtaBusy);
  EXPECT_EQ(levels, (std::vector<u32>{1, 0}));
}

TEST_F(DriveStatusTest, ALineThatStandsIsNotRaisedASecondTime) {
  StandOn({0, 0, 1});
  Select({0, 0, 1}, 2);
  Command(0x20);
  TakeSector();
  RunFor(kSeekUs);
  TakeSector();
  EXPECT_EQ(readSectors, (std::vector<u64>{0, 1}));
  EXPECT_EQ(levels, std::vector<u32>{1}) << "no read of status in between";
}

TEST_F(DriveStatusTest, TheAcceptanceOfACommandLowersTheLine) {
  Command(0xF9);
  Command(0x30);
  EXPECT_EQ(levels, (std::vector<u32>{1, 0}));
  levels.clear();
  GiveSector({});
  RunFor(kCommitUs);
  EXPECT_EQ(levels, std::vector<u32>{1});
  Command(0xF9);
  EXPECT_EQ(levels, (std::vector<u32>{1, 0, 1})) << "lowered, then raised by the command itself";
}

TEST_F(DriveStatusTest, ADriveWithoutAnInterruptWireWorks) {
  drive.SetInterruptCallback(nullptr, nullptr);
  Command(0xF9);
  EXPECT_EQ(drive.block.interruptLine, 1u);
  Status();
  EXPECT_EQ(drive.block.interruptLine, 0u);
}

}  // namespace
}  // namespace vx::test
