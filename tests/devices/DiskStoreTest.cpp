// The disk of a pack in memory: how chunks arrive, what the drive's storage functions answer, and
// that nothing outside the image is ever touched.
#include <algorithm>
#include <cstring>

#include "tests/machine/BoardTest.h"

namespace vx::test {
namespace {

struct DiskStoreTest : CBoardTest {
  SPackContent content;

  DiskStoreTest() {
    content.disk.resize(16384);
    for (u32 i = 0; i < content.disk.size(); ++i) {
      content.disk[i] = static_cast<u8>(i * 31 + i / 512);
    }
  }
  void Load(const CTestPack& pack) {
    const CPackFile file(pack);
    ASSERT_TRUE(m->LoadPack(file.Path()));
  }
  void Load() { Load(CTestPack(content)); }

  // The sector as the drive gets it; empty if it is refused.
  std::vector<u8> Sector(u64 sector) {
    std::vector<u8> bytes(512);
    const u32 count = ReadSector(bytes.data(), sector, m.get());
    EXPECT_TRUE(count == 0 || count == 512);
    bytes.resize(count);
    return bytes;
  }
  std::vector<u8> Expected(u32 sector) const {
    const auto first = content.disk.begin() + std::ptrdiff_t{sector} * 512;
    return {first, first + 512};
  }
  bool Writes(u64 sector, u8 value) {
    const std::vector<u8> bytes(512, value);
    return WriteSector(bytes.data(), sector, m.get()) == 512;
  }
};

TEST_F(DiskStoreTest, EverySectorArrivesPackedOrRaw) {
  for (const bool bRaw : {false, true}) {
    content.bEvenChunksRaw = bRaw;
    Load();
    for (u32 sector = 0; sector < 32; ++sector) EXPECT_EQ(Sector(sector), Expected(sector));
  }
}

TEST_F(DiskStoreTest, ARawChunkMovesTheNextOneByTheChunkSize) {
  content.bEvenChunksRaw = true;
  Load();
  const CTestPack pack(content);
  const u64 first = pack.directory.disk.firstChunkOffset;
  ASSERT_NE(m->chunkTable, nullptr);
  EXPECT_EQ(m->chunkTable[0].fileOffset, first);
  EXPECT_EQ(m->chunkTable[1].fileOffset, first + 4096);
  EXPECT_EQ(m->chunkTable[2].fileOffset, first + 4096 + pack.chunkSizes[1]);
  EXPECT_EQ(m->chunkTable[0].packedSize, 0u);
  EXPECT_EQ(m->chunkTable[1].packedSize, pack.chunkSizes[1]);
}

TEST_F(DiskStoreTest, SectorsCanBeAskedForInAnyOrderWhileTheDiskIsRead) {
  content.chunkCount = 300;
  content.disk.resize(300 * 4096);
  for (u32 i = 16384; i < content.disk.size(); ++i) content.disk[i] = static_cast<u8>(i >> 9);
  Load();
  for (const u32 sector : {2399u, 0u, 1200u, 7u, 2398u, 600u}) {
    EXPECT_EQ(Sector(sector), Expected(sector)) << sector;
  }
}

TEST_F(DiskStoreTest, SectorsBeyondTheDiskAnswerNothing) {
  Load();
  for (const u64 sector : {u64{32}, u64{33}, u64{0xFFFFFFFF}, u64{1} << 40, ~u64{0}}) {
    EXPECT_TRUE(Sector(sector).empty()) << sector;
    EXPECT_FALSE(Writes(sector, 1)) << sector;
    OnSectorTouched(sector, m.get());
  }
}

TEST_F(DiskStoreTest, WithoutAPackThereIsNoSector) {
  EXPECT_TRUE(Sector(0).empty());
  EXPECT_FALSE(Writes(0, 1));
  OnSectorTouched(0, m.get());
}

TEST_F(DiskStoreTest, ASectorCountBeyondTheImageDoesNotReachBehindIt) {
  CTestPack pack(content);
  pack.Disk().sectorCount = 0x10000;
  Load(pack);
  EXPECT_EQ(Sector(31), Expected(31));
  EXPECT_TRUE(Sector(32).empty());
  EXPECT_TRUE(Sector(0xFFFF).empty());
  EXPECT_FALSE(Writes(32, 1));
}

TEST_F(DiskStoreTest, AnOddSectorSizeStaysInsideTheImage) {
  for (const u32 sectorBytes : {1u, 7u, 100u, 1000u, 4096u}) {
    CTestPack pack(content);
    pack.Disk().sectorBytes = sectorBytes;
    pack.Disk().sectorCount = 0xFFFF;
    Load(pack);
    u32 reachable = 0;
    for (u64 sector = 0; sector < 0x10000; sector += sector < 64 ? 1 : 97) {
      reachable += Sector(sector).size() / 512;
      Writes(sector, 2);
      OnSectorTouched(sector, m.get());
    }
    EXPECT_LE(reachable, 32u);
  }
}

TEST_F(DiskStoreTest, AChunkThatEndsInsideASectorIsWaitedForOnBothSides) {
  content.chunkBytes = 1000;
  content.chunkCount = 17;
  content.disk.resize(17000);
  Load();
  EXPECT_EQ(m->sectorsPerChunk, 1u);
  for (u32 sector = 0; sector < 17; ++sector) EXPECT_EQ(Sector(sector), Expected(sector));
}

TEST_F(DiskStoreTest, AWrittenSectorReadsBackAndIsMarked) {
  content.chunkCount = 40;
  content.disk.resize(40 * 4096);
  Load();
  EXPECT_TRUE(Writes(70, 0x5A));
  EXPECT_TRUE(Writes(3, 0x5B));
  EXPECT_EQ(Sector(70), std::vector<u8>(512, 0x5A));
  EXPECT_EQ(Sector(69), Expected(69));
  EXPECT_EQ(Sector(71), Expected(71));
  EXPECT_EQ(m->dirtyBitmap[0], u64{1} << 3);
  EXPECT_EQ(m->dirtyBitmap[1], u64{1} << 6);
  EXPECT_EQ(m->deltaHeader.lastDirtyWord, 1u);
}

TEST_F(DiskStoreTest, AWriteIsNotUndoneByTheReader) {
  content.chunkCount = 300;
  content.disk.resize(300 * 4096, 0x11);
  Load();
  EXPECT_TRUE(Writes(2399, 0x5A));
  while (m->bAllChunksLoaded == 0) m->FrameStep();
  EXPECT_EQ(Sector(2399), std::vector<u8>(512, 0x5A));
}

TEST_F(DiskStoreTest, DamagedChunksReadAsSomethingAndHoldNobodyUp) {
  CTestPack pack(content);
  std::fill(pack.data.begin() + static_cast<std::ptrdiff_t>(pack.Disk().firstChunkOffset - 672),
            pack.data.end(), u8{0xFF});
  Load(pack);
  for (u32 sector = 0; sector < 32; ++sector) EXPECT_EQ(Sector(sector).size(), 512u);
}

TEST_F(DiskStoreTest, AChunkTableBeyondTheFileReadsAsRawChunks) {
  CTestPack pack(content);
  pack.Disk().sizeTableOffset = u64{1} << 62;
  Load(pack);
  EXPECT_EQ(Sector(31).size(), 512u);
}

TEST_F(DiskStoreTest, TheDriveIsDescribedByThePacksGeometry) {
  content.cylinders = 11;
  content.heads = 3;
  content.sectorsPerTrack = 9;
  Load();
  const u16* const words = m->ata.identifyData;
  EXPECT_EQ(words[1], 11u);
  EXPECT_EQ(words[3], 3u);
  EXPECT_EQ(words[6], 9u);
  EXPECT_EQ(words[60], 32u) << "sectors";
}

}  // namespace
}  // namespace vx::test
