// What an overlay file of an earlier run does to the disk of a pack.
#include <fstream>

#include "devices/DiskOverlay.h"
#include "devices/DiskStore.h"
#include "tests/disk/DiskTest.h"

namespace vx::test {
namespace {

const std::vector<u8> kSaved(512, 0xEE);

struct DiskOverlayTest : CDiskTest {
  // An overlay of a disk of 40 chunks.
  static SOverlay Saved(const std::vector<u64>& sectors) {
    SOverlay overlay;
    overlay.bitmapWords = 5;
    overlay.lastWord = 4;
    for (const u64 sector : sectors) overlay.sectors[sector] = kSaved;
    return overlay;
  }
  void ExpectPackDisk() {
    for (const u64 sector : {0u, 3u, 64u, 319u}) EXPECT_EQ(Read(sector), PackSector(sector));
    EXPECT_TRUE(host.LogLines().empty());
    ASSERT_NE(m->dirtyBitmap, nullptr);
    for (u32 word = 0; word < 5; ++word) EXPECT_EQ(m->dirtyBitmap[word], 0u);
    EXPECT_EQ(m->deltaHeader.bitmapWords, 5u);
    EXPECT_EQ(m->deltaHeader.firstDirtyWord, 0u);
    EXPECT_EQ(m->deltaHeader.lastDirtyWord, 0u);
  }
  void ExpectIgnored(const std::vector<u8>& file) {
    PutOverlay(file);
    ASSERT_TRUE(Load(40));
    ExpectPackDisk();
    Restart();
  }
  void PutU64(std::vector<u8>& file, u64 place, u64 value) {
    std::memcpy(file.data() + place, &value, sizeof(value));
  }
};

TEST_F(DiskOverlayTest, ItIsAppliedByTheTimeThePackIsLoaded) {
  PutOverlay(OverlayBytes(Saved({3, 64, 319})));
  ASSERT_TRUE(Load(40));
  for (const u64 sector : {3u, 64u, 319u}) EXPECT_EQ(Read(sector), kSaved);
  for (const u64 sector : {2u, 4u, 63u, 65u, 318u}) EXPECT_EQ(Read(sector), PackSector(sector));
  EXPECT_EQ(m->dirtyBitmap[0], u64{1} << 3);
  EXPECT_EQ(m->dirtyBitmap[1], 1u);
  EXPECT_EQ(m->dirtyBitmap[4], u64{1} << 63);
  EXPECT_EQ(m->flushDeadline, 0.0) << "there is nothing new to write";
}

TEST_F(DiskOverlayTest, WhatARunHasWrittenIsThereInTheNextOneAndIsKeptByIt) {
  ASSERT_TRUE(Load(40));
  Write(3, kSaved);
  Restart();
  ASSERT_TRUE(Load(40));
  EXPECT_EQ(Read(3), kSaved);
  Write(100, 0x11);
  Restart();
  ASSERT_TRUE(Load(40));
  EXPECT_EQ(Read(3), kSaved);
  EXPECT_EQ(Read(100), std::vector<u8>(512, 0x11));
}

TEST_F(DiskOverlayTest, AMachineResetKeepsTheGuestsWritesAndReadsNothingAgain) {
  PutOverlay(OverlayBytes(Saved({3})));
  ASSERT_TRUE(Load(40));
  m->Reset();
  Write(3, 0x22);
  PutOverlay(OverlayBytes(Saved({3, 4})));
  m->Reset();
  EXPECT_EQ(Read(3), std::vector<u8>(512, 0x22));
  EXPECT_EQ(Read(4), PackSector(4));
  EXPECT_EQ(m->dirtyBitmap[0], u64{1} << 3);
}

TEST_F(DiskOverlayTest, ASecondPackOfTheSameSizeGetsItsOwnOverlayBitmapAndDescription) {
  SPackContent other = DiskContent(40);
  other.cylinders = 77;
  CTestPack second(other);
  second.Disk().hash = 0x77;
  folder.Write(OverlayFile(0x77).filename().string(), OverlayBytes(Saved({9})));
  ASSERT_TRUE(Load(40));
  Write(3, 0x33);
  ASSERT_TRUE(Load(second));
  EXPECT_EQ(Read(9), kSaved);
  EXPECT_EQ(Read(3), PackSector(3));
  EXPECT_EQ(m->dirtyBitmap[0], u64{1} << 9);
  EXPECT_EQ(m->ata.identifyData[1], 77u);
  Write(5, 0x44);
  PassFlushDelay();
  const auto overlay = ParseOverlay(ReadWhole(OverlayFile(0x77)));
  ASSERT_TRUE(overlay);
  EXPECT_EQ(overlay->sectors.size(), 2u);
  EXPECT_EQ(Overlay().sectors.size(), 1u) << "the first pack's overlay was written at unload";
}

TEST_F(DiskOverlayTest, ThePackLoadedAgainFindsWhatWasWrittenToIt) {
  ASSERT_TRUE(Load(40));
  Write(3, kSaved);
  ASSERT_TRUE(Load(40));
  EXPECT_EQ(Read(3), kSaved);
}

TEST_F(DiskOverlayTest, ADiskWithoutAnIdentityHasNoOverlayToRead) {
  folder.Write(OverlayFile(0).filename().string(), OverlayBytes(Saved({3})));
  CTestPack pack(DiskContent(40));
  pack.Disk().hash = 0;
  ASSERT_TRUE(Load(pack));
  ExpectPackDisk();
}

TEST_F(DiskOverlayTest, ACloneDoesNotReadItAgain) {
  PutOverlay(OverlayBytes(Saved({3})));
  ASSERT_TRUE(Load(40));
  Write(3, 0x55);
  m->parent = m.get();
  m->deltaHeader = SDeltaHeader{};
  PrepareDisk(*m);
  m->parent = nullptr;
  EXPECT_EQ(Read(3), std::vector<u8>(512, 0x55));
  EXPECT_EQ(m->dirtyBitmap[0], 0u);
  EXPECT_EQ(m->deltaHeader.bitmapWords, 5u);
}

// --- Files that are not used -------------------------------------------------------------------

TEST_F(DiskOverlayTest, AFileWithAWrongMagicIsIgnored) {
  std::vector<u8> file = OverlayBytes(Saved({3}));
  PutU64(file, 0, kOverlayMagic + 1);
  ExpectIgnored(file);
}

TEST_F(DiskOverlayTest, AFileOfAnotherVersionIsIgnored) {
  for (const u64 version : {u64{0}, u64{1}, u64{3}, u64{2} << 32}) {
    std::vector<u8> file = OverlayBytes(Saved({3}));
    PutU64(file, 8, version);
    ExpectIgnored(file);
  }
}

TEST_F(DiskOverlayTest, AFileWithASizeFieldOfZeroIsIgnored) {
  std::vector<u8> file = OverlayBytes(Saved({3}));
  PutU64(file, 16, 0);
  ExpectIgnored(file);
}

TEST_F(DiskOverlayTest, AFileThatIsShorterThanItSaysIsIgnored) {
  const std::vector<u8> file = OverlayBytes(Saved({3}));
  for (const size_t bytes :
       {size_t{0}, size_t{1}, size_t{23}, size_t{24}, size_t{48}, file.size() - 1}) {
    ExpectIgnored({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(bytes)});
  }
  std::vector<u8> longer = file;
  for (const u64 claim : {u64{file.size() - 23}, u64{file.size()}, ~u64{0}, ~u64{0} - 23}) {
    PutU64(longer, 16, claim);
    ExpectIgnored(longer);
  }
}

TEST_F(DiskOverlayTest, AnOverlayOfADiskOfAnotherSizeIsIgnored) {
  for (const u32 words : {1u, 4u, 6u, 0xFFFFFFFFu}) {
    SOverlay overlay = Saved({3});
    overlay.lastWord = 0;
    overlay.bitmapWords = words;
    ExpectIgnored(OverlayBytes(overlay));
  }
}

TEST_F(DiskOverlayTest, AnOverlayWhoseRangeLeavesTheBitmapIsIgnored) {
  std::vector<u8> file = OverlayBytes(Saved({3}));
  const u32 last = 5;
  std::memcpy(file.data() + 24 + 16, &last, sizeof(last));
  ExpectIgnored(file);
  const u32 first = 0xFFFFFFF0;
  std::memcpy(file.data() + 24 + 12, &first, sizeof(first));
  ExpectIgnored(file);
}

TEST_F(DiskOverlayTest, AFolderInTheOverlaysPlaceIsIgnored) {
  std::filesystem::create_directory(OverlayFile());
  ASSERT_TRUE(Load(40));
  ExpectPackDisk();
}

TEST_F(DiskOverlayTest, AnOverlayOfNoDiskLeavesABitmapForLaterWrites) {
  PutOverlay(OverlayBytes(std::vector<u8>(24)));
  ASSERT_TRUE(Load(40));
  ExpectPackDisk();
  Write(3, 1);
  PassFlushDelay();
  EXPECT_EQ(Overlay().sectors.size(), 1u);
}

// --- Files that are used as far as they go -----------------------------------------------------

TEST_F(DiskOverlayTest, WhatFollowsTheDeltaDoesNotMatter) {
  std::vector<u8> file = OverlayBytes(Saved({3}));
  file.resize(file.size() + 1000, 0xAA);
  PutOverlay(file);
  ASSERT_TRUE(Load(40));
  EXPECT_EQ(Read(3), kSaved);
  EXPECT_EQ(Read(4), PackSector(4));
}

TEST_F(DiskOverlayTest, ADeltaThatBeginsBehindTheFirstWordIsHonoured) {
  SOverlay overlay = Saved({130, 200});
  overlay.firstWord = 2;
  overlay.lastWord = 3;
  PutOverlay(OverlayBytes(overlay));
  ASSERT_TRUE(Load(40));
  EXPECT_EQ(Read(130), kSaved);
  EXPECT_EQ(Read(200), kSaved);
  Write(1, 0x66);
  PassFlushDelay();
  EXPECT_EQ(Overlay().firstWord, 0u);
  EXPECT_EQ(Overlay().sectors.size(), 3u);
}

TEST_F(DiskOverlayTest, TheSizeFieldCountsInItsLowHalf) {
  const std::vector<u8> delta = DeltaBytes(Saved({3}));
  std::vector<u8> file = OverlayBytes(delta);
  PutU64(file, 16, (u64{1} << 32) + delta.size());
  PutOverlay(file);
  std::filesystem::resize_file(OverlayFile(), (u64{1} << 32) + 4096);  // takes no room
  ASSERT_TRUE(Load(40));
  EXPECT_EQ(Read(3), kSaved);
}

TEST_F(DiskOverlayTest, BitsOfSectorsThatTheDiskDoesNotHaveAreCountedAndDropped) {
  CTestPack pack(DiskContent(40));
  pack.Disk().sectorCount = 318;
  PutOverlay(OverlayBytes(Saved({3, 318, 319})));
  ASSERT_TRUE(Load(pack));
  EXPECT_EQ(Read(3), kSaved);
  EXPECT_EQ(m->dirtyBitmap[4], 0u);
  const u8* const behind = m->diskImage.get() + 318 * 512;
  AwaitWholeDisk();
  EXPECT_EQ(std::vector<u8>(behind, behind + 512), PackSector(318));
}

TEST_F(DiskOverlayTest, ADirtySectorsChunkIsFetchedFirstAndDoesNotUndoIt) {
  Gate();
  ASSERT_TRUE(Load(40));
  gate->AwaitArrivals(1);
  PutOverlay(OverlayBytes(Saved({300})));
  std::thread loader([&] { ReadOverlay(*m); });
  while (m->wantedChunk != 37) std::this_thread::yield();
  gate->Pass(2);
  loader.join();
  EXPECT_EQ(InflateOrder(), (std::vector<u32>{0, 37}));
  gate->Open();
  AwaitWholeDisk();
  EXPECT_EQ(Read(300), kSaved);
  EXPECT_EQ(Read(301), PackSector(301));
}

TEST_F(DiskOverlayTest, ASectorWhoseContentsAreMissingIsWaitedForAllTheSame) {
  std::vector<u8> delta = DeltaBytes(Saved({3, 300}));
  delta.resize(delta.size() - 1);
  PutOverlay(OverlayBytes(delta));
  ASSERT_TRUE(Load(40));
  FlushPendingOverlay(*m);  // with the reader still at work
  EXPECT_EQ(Overlay().sectors[3], kSaved);
  EXPECT_EQ(Overlay().sectors[300], PackSector(300));
}

// --- The drive's description -------------------------------------------------------------------

TEST_F(DiskOverlayTest, TheIdentifyBlockTellsEveryWordOfTheDrive) {
  CTestPack pack(DiskContent(40));
  pack.Disk().cylinders = 0x10419;
  pack.Disk().heads = 13;
  pack.Disk().sectorsPerTrack = 47;
  ASSERT_TRUE(Load(pack));
  u16 expected[256] = {};
  const auto put = [&](u32 word, const char* text) {
    std::memcpy(expected + word, text, std::strlen(text));
  };
  put(10, "00ST9150AG0000000000");
  put(23, "6.666");
  put(27, "ST9150AG    ");
  const std::map<u32, u16> numbers = {
      {0, 0x045A},  {1, 0x0419},  {3, 13},      {6, 47},      {22, 4},      {47, 0x8010},
      {49, 0x0F03}, {51, 2},      {52, 2},      {53, 3},      {54, 0x0419}, {55, 13},
      {56, 47},     {57, 320},    {58, 0},      {60, 320},    {61, 0},      {62, 7},
      {63, 0x0407}, {64, 3},      {65, 0x0078}, {66, 0x0078}, {67, 0x014D}, {68, 0x0078},
      {69, 0x014D}, {70, 0x014D}, {100, 320},   {101, 0}};
  for (const auto& [word, value] : numbers) expected[word] = value;
  for (u32 word = 0; word < 256; ++word) {
    EXPECT_EQ(m->ata.identifyData[word], expected[word]) << word;
  }
}

TEST_F(DiskOverlayTest, TheSectorTotalIsRoundedUpAndGoesIntoTwoWords) {
  CTestPack pack(DiskContent(2));
  pack.Disk().sectorBytes = 1000;
  pack.Disk().sectorCount = 70000;
  ASSERT_TRUE(Load(pack));
  const u32 total = (70000000 + 511) / 512;
  for (const u32 word : {57u, 60u, 100u}) {
    EXPECT_EQ(m->ata.identifyData[word], total & 0xFFFF);
    EXPECT_EQ(m->ata.identifyData[word + 1], total >> 16);
  }
}

TEST_F(DiskOverlayTest, TheDriveHasThePacksGeometryUntilTheReset) {
  ASSERT_TRUE(Load(40));
  const SATARecord& drive = m->ata.block.record;
  EXPECT_EQ(drive.cylinders, 2u);
  EXPECT_EQ(drive.heads, 2u);
  EXPECT_EQ(drive.sectorsPerTrack, 8u);
  m->Reset();
  EXPECT_EQ(drive.cylinders, 419u);
  EXPECT_EQ(drive.heads, 13u);
  EXPECT_EQ(drive.sectorsPerTrack, 47u);
  EXPECT_EQ(m->ata.identifyData[1], 2u);
}

TEST_F(DiskOverlayTest, ADiskThatClaimsMoreThanAnyImageHoldsTakesABitmapOfTheLargestImage) {
  CTestPack pack(DiskContent(2));
  pack.Disk().sectorCount = 0xFFFFFFFF;
  pack.Disk().sectorBytes = 4096;
  ASSERT_TRUE(Load(pack));
  EXPECT_LE(RequiredBitmapWords(*m), kMaxDiskImageBytes / 512 / 64);
  EXPECT_EQ(Read(0), PackSector(0));
  EXPECT_TRUE(Write(0, 1));
}

}  // namespace
}  // namespace vx::test
