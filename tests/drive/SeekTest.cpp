// What it costs a read to bring the head to its sector, and how sectors are counted.
#include "tests/drive/DriveTest.h"

namespace vx::test {
namespace {

using Lines = std::vector<std::string>;
const std::string kNotLba = "ATA non-LBA path unimplemented\n";

u64 Linear(const SPlace& p) { return (p.cylinder * 13 + p.head) * 47 + p.sector - 1; }

struct DriveSeekTest : CDriveTest {
  DriveSeekTest() { SpinUp(); }

  // The delay that a read of a place is scheduled with; negative if it ran at once.
  f64 DelayTo(const SPlace& place) {
    Select(place);
    Command(0x20);
    return UntilNextEvent();
  }
};

TEST_F(DriveSeekTest, ASectorIsCountedThroughHeadsAndCylinders) {
  for (const SPlace& place : {SPlace{0, 0, 1}, SPlace{0, 0, 47}, SPlace{0, 1, 1}, SPlace{0, 12, 47},
                              SPlace{1, 0, 1}, SPlace{418, 12, 47}, SPlace{0x0123, 3, 5}}) {
    StandOn({7, 7, 7});
    Select(place, 1, 0xA0);
    Command(0x20);
    RunFor(20000.0);
    EXPECT_EQ(readSectors, std::vector<u64>{Linear(place)});
    EXPECT_EQ(touched, std::vector<u64>{Linear(place)});
    EXPECT_EQ(record.currentSector, Linear(place));
    TakeSector();
  }
}

TEST_F(DriveSeekTest, RepeatingTheSameSectorRunsInsideTheCommandWrite) {
  StandOn({3, 2, 1});
  Select({3, 2, 1});
  Command(0x20);
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_EQ(record.status, kAtaIdle | kAtaDataRequest);
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(TakeSector(), Pattern(Linear({3, 2, 1})));
}

TEST_F(DriveSeekTest, AnotherSectorOfTheSameCylinderTakesFourTenthsOfAMicrosecond) {
  StandOn({3, 2, 1});
  EXPECT_NEAR(DelayTo({3, 12, 47}), kSeekUs, 1e-6);
  EXPECT_EQ(Status(), kAtaIdle | kAtaBusy);
  EXPECT_TRUE(readSectors.empty());
  EXPECT_EQ(touched, std::vector<u64>{Linear({3, 12, 47})}) << "the store is told at once";
  RunFor(kSeekUs);
  EXPECT_EQ(readSectors.size(), 1u);
}

TEST_F(DriveSeekTest, AHundredCylindersTakeTheirShareOfAFullStroke) {
  StandOn({0, 0, 1});
  const f64 start = nowUs;
  DelayTo({100, 0, 1});
  EXPECT_EQ(NextEventTime(), start + (100 * 13000.0 / 419 + 1300.0));
  EXPECT_EQ(record.busyUntil, NextEventTime());
  EXPECT_NEAR(UntilNextEvent(), 4402.6, 0.1);
}

TEST_F(DriveSeekTest, ASeekBackwardsTakesAsLongAsOneForwards) {
  StandOn({100, 0, 1});
  const f64 start = nowUs;
  DelayTo({0, 12, 47});
  EXPECT_EQ(NextEventTime(), start + (100 * 13000.0 / 419 + 1300.0));
}

TEST_F(DriveSeekTest, ANeighbouringCylinderCountsAsOneHoweverNearItsSectors) {
  StandOn({0, 12, 47});
  const f64 start = nowUs;
  DelayTo({1, 0, 1});
  EXPECT_EQ(NextEventTime(), start + (13000.0 / 419 + 1300.0));
}

TEST_F(DriveSeekTest, ExtraReadTimeIsAddedToEverySeek) {
  StandOn({0, 0, 1});
  drive.timing.extraReadTime = 5000.0;
  f64 start = nowUs;
  DelayTo({100, 0, 1});
  EXPECT_EQ(NextEventTime(), start + ((100 * 13000.0 / 419 + 1300.0) + 5000.0));
  RunFor(20000.0);
  TakeSector();
  start = nowUs;
  EXPECT_NEAR(DelayTo({100, 0, 1}), 5000.0, 1e-6) << "also when the head stands there already";
  EXPECT_NE(Status() & kAtaBusy, 0u);
}

TEST_F(DriveSeekTest, NegativeExtraReadTimeIsNotAdded) {
  StandOn({0, 0, 1});
  drive.timing.extraReadTime = -3.0;
  EXPECT_NEAR(DelayTo({0, 0, 2}), kSeekUs, 1e-6);
}

TEST_F(DriveSeekTest, ADriveWithoutCylindersSeeksInTheSettlingTimeAlone) {
  StandOn({0, 0, 1});
  record.cylinders = 0;
  EXPECT_NEAR(DelayTo({100, 0, 1}), 1300.0, 1e-6);
}

TEST_F(DriveSeekTest, TheNextSectorInSequenceTakesASeekAfterATransferOfOne) {
  StandOn({0, 0, 5});
  EXPECT_NEAR(DelayTo({0, 0, 6}), kSeekUs, 1e-6);
}

TEST_F(DriveSeekTest, AWriteMovesNoHeadAndTellsTheStoreNothing) {
  StandOn({0, 0, 1});
  Select({200, 3, 4});
  Command(0x30);
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_TRUE(touched.empty());
  EXPECT_EQ(record.currentSector, 0u);
}

TEST_F(DriveSeekTest, SectorNumberZeroIsBeforeTheDiskAndFails) {
  deliveredBytes = 0;
  Select({0, 0, 0});
  Command(0x20);
  RunFor(1e9);
  EXPECT_EQ(readSectors, std::vector<u64>{0xFFFFFFFF});
  EXPECT_EQ(Status() & ~u32{kAtaIndex}, kAtaIdle | kAtaError);
}

TEST_F(DriveSeekTest, TheLargestPlaceIsCountedInThirtyTwoBits) {
  record.heads = 16;
  record.sectorsPerTrack = 0xFFFF;
  Select({0xFFFF, 15, 255});
  Command(0x20);
  RunFor(1e7);
  const u32 expected = 254u + (0xFFFFu * 16u + 15u) * 0xFFFFu;
  EXPECT_EQ(readSectors, std::vector<u64>{expected});
}

// --- Advance -----------------------------------------------------------------------------------

struct SAdvance {
  SPlace from, to;
};

TEST_F(DriveSeekTest, TheHeadAdvancesOverTrackAndCylinderEnds) {
  const SAdvance kCases[] = {{{0, 0, 1}, {0, 0, 2}},          {{0, 0, 46}, {0, 0, 47}},
                             {{0, 0, 47}, {0, 1, 1}},         {{0, 11, 47}, {0, 12, 1}},
                             {{0, 12, 47}, {1, 0, 1}},        {{0xFF, 12, 47}, {0x100, 0, 1}},
                             {{0x1FF, 12, 47}, {0x200, 0, 1}}};
  for (const SAdvance& advance : kCases) {
    StandOn(advance.from);
    Select(advance.from, 2, 0xA0);
    Command(0x20);
    EXPECT_EQ(touched, (std::vector<u64>{Linear(advance.from), Linear(advance.to)}));
    EXPECT_EQ(record.currentSector, Linear(advance.to));
    EXPECT_EQ(record.sectorNumber, advance.to.sector);
    EXPECT_EQ(record.driveHead, 0xA0 | advance.to.head) << "bits 4 to 7 are kept";
    EXPECT_EQ(record.cylinderHigh << 8 | record.cylinderLow, static_cast<int>(advance.to.cylinder));
    TakeSector();
    RunFor(kSeekUs);
    EXPECT_EQ(readSectors, (std::vector<u64>{Linear(advance.from), Linear(advance.to)}));
    TakeSector();
  }
}

TEST_F(DriveSeekTest, TheLastCylinderIsFollowedByTheFirst) {
  Select({0xFFFF, 12, 47}, 2);
  Command(0x20);
  RunFor(1e7);
  EXPECT_EQ(record.cylinderHigh, 0u);
  EXPECT_EQ(record.cylinderLow, 0u);
  EXPECT_EQ(touched.back(), 0u);
}

TEST_F(DriveSeekTest, ASectorNumberBeyondTheTrackAdvancesToTheNextHead) {
  Select({0, 3, 200}, 2);
  Command(0x20);
  RunFor(kSeekUs);
  EXPECT_EQ(record.sectorNumber, 1u);
  EXPECT_EQ(record.driveHead, 4u);
}

// --- The address mode bit ----------------------------------------------------------------------

TEST_F(DriveSeekTest, AReadOfOneSectorInTheOtherAddressModeReadsSectorZeroWithTwoMessages) {
  StandOn({0, 0, 2});
  Select({5, 6, 7}, 1, 0x40);
  Command(0x20);
  EXPECT_EQ(log, Lines{kNotLba}) << "for the seek";
  RunFor(kSeekUs);
  EXPECT_EQ(log, (Lines{kNotLba, kNotLba})) << "and for the transfer";
  EXPECT_EQ(readSectors, std::vector<u64>{0});
  EXPECT_EQ(TakeSector(), Pattern(0));
  EXPECT_EQ(record.sectorNumber, 7u);
}

TEST_F(DriveSeekTest, AnAdvanceInTheOtherAddressModeLeavesTwoMessagesMore) {
  StandOn({0, 0, 1});
  Select({5, 6, 7}, 2, 0x40);
  Command(0x20);
  EXPECT_EQ(log.size(), 4u);
  EXPECT_EQ(touched, (std::vector<u64>{0, 0}));
  EXPECT_EQ(record.currentSector, 0u);
  EXPECT_EQ(record.sectorNumber, 7u) << "the task file stays";
}

TEST_F(DriveSeekTest, AWriteInTheOtherAddressModeWritesSectorZeroWithOneMessage) {
  Select({5, 6, 7}, 1, 0x40);
  Command(0x30);
  EXPECT_TRUE(log.empty());
  GiveSector(Pattern(99));
  RunFor(kCommitUs);
  EXPECT_EQ(log, Lines{kNotLba});
  EXPECT_EQ(written[0], Pattern(99));
}

}  // namespace
}  // namespace vx::test
