// What loading and unloading do to the machine's own fields.
#include <cstring>

#include "machine/Settings.h"
#include "tests/machine/BoardTest.h"

namespace vx::test {
namespace {

struct PackFieldsTest : CBoardTest {
  bool Load(const CTestPack& pack) {
    const CPackFile file(pack);
    return m->LoadPack(file.Path());
  }
};

TEST_F(PackFieldsTest, HashesCombineTheEntriesHashes) {
  CTestPack pack;
  u64 all = 0, sound = 0;
  for (u32 i = 0; i < 10; ++i) {
    u64& hash = i == kPackDiskEntry ? pack.directory.disk.hash : pack.directory.roms[i].hash;
    hash = 0x0101010101010101 * (i + 1);
    all ^= hash;
    if (i >= 1 && i <= 8) sound ^= hash;
  }
  ASSERT_TRUE(Load(pack));
  EXPECT_EQ(m->packHash, all);
  EXPECT_EQ(m->soundRomHash, sound);
  EXPECT_EQ(m->diskId, pack.directory.disk.hash);
}

TEST_F(PackFieldsTest, TheDiskEntryFillsTheDiskFields) {
  CTestPack pack;
  pack.Disk().cylinders = 5;
  pack.Disk().heads = 6;
  pack.Disk().sectorsPerTrack = 7;
  pack.Disk().sectorCount = 30;
  ASSERT_TRUE(Load(pack));
  EXPECT_EQ(m->diskSectors, 30u);
  EXPECT_EQ(m->diskBytes, 30u * 512);
  EXPECT_EQ(m->chunkCount, 4u);
  EXPECT_EQ(m->chunkBytes, 4096u);
  EXPECT_EQ(m->sectorBytes, 512u);
  EXPECT_EQ(m->sectorsPerChunk, 8u);
  EXPECT_EQ(m->packCylinders, 5u);
  EXPECT_EQ(m->packHeads, 6u);
  EXPECT_EQ(m->packSectorsPerTrack, 7u);
  EXPECT_NE(m->diskImage, nullptr);
  EXPECT_EQ(m->deltaHeader.bitmapWords, 1u);
}

TEST_F(PackFieldsTest, UnloadingClearsThem) {
  ASSERT_TRUE(Load(CTestPack()));
  m->LoadPack(nullptr);
  EXPECT_EQ(m->packHash, 0u);
  EXPECT_EQ(m->soundRomHash, 0u);
  EXPECT_EQ(m->diskId, 0u);
  EXPECT_EQ(m->diskBytes, 0u);
  EXPECT_EQ(m->diskSectors, 0u);
  EXPECT_EQ(m->chunkCount, 0u);
  EXPECT_EQ(m->chunkBytes, 0u);
  EXPECT_EQ(m->sectorBytes, 0u);
  EXPECT_EQ(m->sectorsPerChunk, 0u);
  EXPECT_EQ(m->packCylinders, 100u);
  EXPECT_EQ(m->packHeads, 10u);
  EXPECT_EQ(m->packSectorsPerTrack, 10u);
  EXPECT_EQ(m->wantedChunk, kNoWantedChunk);
  EXPECT_EQ(m->bAllChunksLoaded, 0);
  EXPECT_EQ(m->diskImage, nullptr);
  EXPECT_EQ(m->dirtyBitmap, nullptr);
  EXPECT_EQ(m->packFile, nullptr);
  EXPECT_EQ(m->readerThread, nullptr);
  EXPECT_EQ(m->deltaHeader.bitmapWords, 0u);
  EXPECT_EQ(m->bIoLayoutB, 0);
}

TEST_F(PackFieldsTest, TheGeometryIs100By10By10BeforeAnyPack) {
  EXPECT_EQ(m->packCylinders, 100u);
  EXPECT_EQ(m->packHeads, 10u);
  EXPECT_EQ(m->packSectorsPerTrack, 10u);
  EXPECT_EQ(m->wantedChunk, kNoWantedChunk);
}

TEST_F(PackFieldsTest, AFailedLoadKeepsTheHashesAsFarAsItCame) {
  CTestPack pack;
  pack.directory.roms[4].chunkCount = 2;
  ASSERT_FALSE(Load(pack));
  u64 all = 0, sound = 0;
  for (u32 i = 0; i <= 4; ++i) all ^= pack.directory.roms[i].hash;
  for (u32 i = 1; i <= 3; ++i) sound ^= pack.directory.roms[i].hash;
  EXPECT_EQ(m->packHash, all);
  EXPECT_EQ(m->soundRomHash, sound);
  ASSERT_FALSE(m->LoadPack(nullptr));
  EXPECT_EQ(m->packHash, 0u);
}

TEST_F(PackFieldsTest, AFailedDiskEntryStartsNoReader) {
  CTestPack pack;
  pack.Disk().chunkCount = 1;
  ASSERT_FALSE(Load(pack));
  EXPECT_EQ(m->readerThread, nullptr);
  EXPECT_EQ(m->chunkTable, nullptr);
  EXPECT_EQ(m->packFile, nullptr);
}

TEST_F(PackFieldsTest, ASecondPackOfTheSameSizeHasACleanBitmapAndItsOwnDescription) {
  CTestPack pack;
  ASSERT_TRUE(Load(pack));
  const std::vector<u8> sector(512, 1);
  EXPECT_EQ(WriteSector(sector.data(), 3, m.get()), 512u);
  EXPECT_EQ(m->dirtyBitmap[0], 8u);
  pack.Disk().heads = 9;
  ASSERT_TRUE(Load(pack));
  EXPECT_EQ(m->dirtyBitmap[0], 0u);
  EXPECT_EQ(m->ata.identifyData[3], 9u);
}

TEST_F(PackFieldsTest, TheIdentitySelectsTheRegisterLayout) {
  CTestPack pack;
  pack.directory.header.identity = kPackIdentityB;
  ASSERT_TRUE(Load(pack));
  EXPECT_EQ(m->bIoLayoutB, 1);
  ASSERT_TRUE(Load(CTestPack()));
  EXPECT_EQ(m->bIoLayoutB, 0);
}

TEST_F(PackFieldsTest, LoadingTakesTwoOfTheThreeBooleanSettings) {
  const u8 off = 0, on = 1;
  std::memcpy(SettingList()->begin[13].current, &off, 1);
  std::memcpy(SettingList()->begin[14].current, &on, 1);
  std::memcpy(SettingList()->begin[15].current, &on, 1);
  ASSERT_TRUE(Load(CTestPack()));
  EXPECT_EQ(m->bDiskFlush, 1);
  EXPECT_EQ(m->bPreserveCache, 1);
  EXPECT_EQ(m->bRandomStart, 1);
  m->ApplySettings();
  EXPECT_EQ(m->bDiskFlush, 0);
}

TEST_F(PackFieldsTest, InputRecordsAreKeptWithTheWordsThatScriptsSee) {
  SInputRecord records[3];
  records[0].systemBits = 0x200;
  records[1].systemBits = 0xFFFFFFFF;
  records[2].padBits = 7;
  m->SetInput(records, 3);
  EXPECT_EQ(m->inputCount, 3u);
  EXPECT_EQ(m->inputRecords[2].padBits, 7u);
  EXPECT_EQ(m->scriptState.playerExtra[0], 1u);
  EXPECT_EQ(m->scriptState.playerExtra[1], 0x7FFFFFu);
  m->SetInput(records + 1, 1);
  EXPECT_EQ(m->scriptState.playerExtra[0], 0x7FFFFFu);
  EXPECT_EQ(m->scriptState.playerExtra[1], 0u);
  m->SetInput(nullptr, 0);
  EXPECT_EQ(m->scriptState.playerExtra[0], 0u);
  const std::vector<SInputRecord> many(40);
  m->SetInput(many.data(), 40);
  EXPECT_EQ(m->inputCount, 16u);
}

TEST_F(PackFieldsTest, InputLeavesTheSoundBitOfTheStatusWordAsItIs) {
  for (const u64 bit : {u64{0}, u64{2}}) {
    m->state.boardStatus = 0x50 | bit;
    m->SetInput(nullptr, 0);
    EXPECT_EQ(m->state.boardStatus, ~u64{2} | bit);
    SInputRecord record;
    record.systemBits = 0xC0;
    m->SetInput(&record, 1);
    EXPECT_EQ(m->state.boardStatus, (~u64{0xE}) | bit);
  }
}

}  // namespace
}  // namespace vx::test
