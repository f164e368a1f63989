// Files that are no pack, or a damaged one: a clean answer, and a machine that goes on working.
#include <functional>

#include "tests/support/BoundaryTest.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {
namespace {

struct BadPackTest : CBoundaryTest {
  // Loads, and shows that the machine lives on whatever the answer.
  bool Loads(const std::vector<u8>& bytes) {
    const CPackFile file(bytes);
    const bool bLoaded = machine->LoadPack(file.Path());
    EXPECT_EQ(machine->IsLoaded(), bLoaded);
    machine->Reset();
    machine->ApplySettings();
    const u64 before = machine->GetFrameCount();
    RunFrames(2);
    EXPECT_EQ(machine->GetFrameCount(), before + 2);
    return bLoaded;
  }
  bool LoadsChanged(const std::function<void(CTestPack&)>& change) {
    CTestPack pack;
    change(pack);
    return Loads(pack.Bytes());
  }
};

TEST_F(BadPackTest, AnUnchangedTestPackLoads) {
  EXPECT_TRUE(LoadsChanged([](CTestPack&) {}));
}

TEST_F(BadPackTest, TheHeaderIsChecked) {
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.directory.header.magic = 0; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.directory.header.magic ^= u64{1} << 63; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.directory.header.version = 2; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.directory.header.version = 4; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.directory.header.version = 0x100000003; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.directory.header.entryCount = 9; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.directory.header.entryCount = 11; }));
  EXPECT_FALSE(
      LoadsChanged([](CTestPack& pack) { pack.directory.header.entryCount = 0x10000000A; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.directory.header.identity = 0; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.directory.header.identity ^= 1; }));
}

TEST_F(BadPackTest, EachRomEntryNeedsStoredDataOneChunkAndASizeThatFits) {
  for (u32 i = 0; i < kPackRomCount; ++i) {
    SCOPED_TRACE(i);
    EXPECT_FALSE(LoadsChanged([i](CTestPack& pack) { pack.directory.roms[i].storedBytes = 0; }));
    EXPECT_FALSE(LoadsChanged([i](CTestPack& pack) { pack.directory.roms[i].chunkCount = 0; }));
    EXPECT_FALSE(LoadsChanged([i](CTestPack& pack) { pack.directory.roms[i].chunkCount = 2; }));
    EXPECT_FALSE(
        LoadsChanged([i](CTestPack& pack) { pack.directory.roms[i].inflatedBytes = 0x80001; }));
    EXPECT_FALSE(
        LoadsChanged([i](CTestPack& pack) { pack.directory.roms[i].inflatedBytes = 0xFFFFFFFF; }));
  }
}

TEST_F(BadPackTest, AStoredSizeBeyondTheFileIsRefused) {
  for (const u64 size : {u64{0x100000}, u64{0xFFFFFFFF}, u64{0x100000004}, ~u64{0}}) {
    EXPECT_FALSE(
        LoadsChanged([size](CTestPack& pack) { pack.directory.roms[4].storedBytes = size; }));
  }
}

TEST_F(BadPackTest, AnEmptyRomEntryOfSizeZeroPasses) {
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) { pack.directory.roms[5].inflatedBytes = 0; }));
}

TEST_F(BadPackTest, TheDiskEntryNeedsATableTwoChunksAndSectorsThatFit) {
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.Disk().sizeTableOffset = 0; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.Disk().chunkCount = 0; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.Disk().chunkCount = 1; }));
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) { pack.Disk().chunkCount = 2; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.Disk().sectorBytes = 0; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.Disk().chunkBytes = 0; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.Disk().chunkBytes = 511; }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.Disk().sectorBytes = 4097; }));
}

TEST_F(BadPackTest, ADiskImageBeyondReasonIsRefused) {
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) {
    pack.Disk().chunkBytes = 0xFFFFFFFF;
    pack.Disk().chunkCount = 17;
  }));
  EXPECT_FALSE(LoadsChanged([](CTestPack& pack) { pack.Disk().chunkCount = 0xFFFFFFFF; }));
}

TEST_F(BadPackTest, ASectorCountBeyondTheImageGetsAnAnswer) {
  for (const u32 sectorBytes : {512u, 1024u, 4096u}) {
    LoadsChanged([sectorBytes](CTestPack& pack) {
      pack.Disk().sectorBytes = sectorBytes;
      pack.Disk().sectorCount = 0x00FFFFFF;
    });
    EXPECT_FALSE(machine->LoadPack(nullptr));
  }
}

// A directory of the drive's sectors is kept for what the guest writes. Its size must follow what
// the disk can hold and not what a damaged entry claims.
TEST_F(BadPackTest, TheLargestSectorCountAndSizeGetAnAnswer) {
  LoadsChanged([](CTestPack& pack) {
    pack.Disk().chunkBytes = 0x10000;
    pack.Disk().sectorBytes = 0x10000;
    pack.Disk().sectorCount = 0xFFFFFFFF;
  });
  EXPECT_FALSE(machine->LoadPack(nullptr));
}

TEST_F(BadPackTest, OffsetsBeyondTheFileLeaveDataOutAndLoad) {
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) { pack.directory.roms[1].dataOffset = ~u64{0}; }));
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) { pack.Disk().firstChunkOffset = ~u64{0} - 5; }));
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) { pack.Disk().sizeTableOffset = ~u64{0}; }));
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) { pack.Disk().sizeTableOffset = u64{1} << 63; }));
}

TEST_F(BadPackTest, DataThatIsNoStreamLoadsWithAnUnfilledImage) {
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) { pack.data.assign(pack.data.size(), 0xFF); }));
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) {
    for (u16& size : pack.chunkSizes) size = 0xFFFF;
  }));
}

TEST_F(BadPackTest, HashFieldsIdentifyAndProtectNothing) {
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) {
    for (SPackRomEntry& rom : pack.directory.roms) rom.hash = ~rom.hash;
    pack.Disk().hash = ~pack.Disk().hash;
  }));
}

TEST_F(BadPackTest, FieldsThatAreNotReadMayHoldAnything) {
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) {
    for (u32 i = 0; i < kPackRomCount; ++i) {
      SPackRomEntry& rom = pack.directory.roms[i];
      std::fill(std::begin(rom.notRead), std::end(rom.notRead), u8{0xFF});
    }
    pack.Disk().notRead40 = 0xFFFFFFFF;
    pack.Disk().notRead56 = ~u64{0};
  }));
}

TEST_F(BadPackTest, AnyGeometryLoads) {
  for (const u32 value : {0u, 1u, 0xFFFFFFFFu}) {
    EXPECT_TRUE(LoadsChanged([value](CTestPack& pack) {
      pack.Disk().cylinders = pack.Disk().heads = pack.Disk().sectorsPerTrack = value;
    }));
  }
}

TEST_F(BadPackTest, ADiskOfNoSectorsLoads) {
  EXPECT_TRUE(LoadsChanged([](CTestPack& pack) { pack.Disk().sectorCount = 0; }));
}

TEST_F(BadPackTest, MissingFilesAndFoldersAreRefused) {
  const CTestFolder folder;
  EXPECT_FALSE(machine->LoadPack((folder / "none.qilhard").wstring().c_str()));
  EXPECT_FALSE(machine->LoadPack(folder.Path().wstring().c_str()));
  EXPECT_FALSE(machine->LoadPack((folder.Path().wstring() + L"/").c_str()));
  EXPECT_FALSE(machine->LoadPack(L"/dev/null"));
}

TEST_F(BadPackTest, AFileOfTheHeaderAloneIsRefused) {
  std::vector<u8> bytes = CTestPack().Bytes();
  bytes.resize(32);
  EXPECT_FALSE(Loads(bytes));
}

TEST_F(BadPackTest, AFileThatEndsWithItsEntriesIsRefused) {
  std::vector<u8> bytes = CTestPack().Bytes();
  bytes.resize(672);
  EXPECT_FALSE(Loads(bytes));
}

// Every place in a pack file at which a field, a stored stream or a table row begins or ends.
std::vector<std::size_t> FieldBoundaries(const CTestPack& pack, std::size_t fileBytes) {
  std::vector<std::size_t> places = {0, 8, 16, 24, 32};
  for (u32 entry = 0; entry < kPackEntryCount; ++entry) {
    for (const u32 field : {8, 16, 24, 28, 32, 36, 40, 44, 48, 52, 56, 64}) {
      places.push_back(32 + entry * 64 + field);
    }
  }
  for (u32 i = 0; i < kPackRomCount; ++i) {
    places.push_back(pack.directory.roms[i].dataOffset);
    places.push_back(pack.directory.roms[i].dataOffset + pack.directory.roms[i].storedBytes / 2);
  }
  std::size_t chunk = pack.directory.disk.firstChunkOffset;
  for (const u16 size : pack.chunkSizes) {
    places.push_back(chunk);
    places.push_back(chunk + size / 2);
    chunk += size != 0 ? size : pack.directory.disk.chunkBytes;
  }
  for (std::size_t at = pack.directory.disk.sizeTableOffset; at < fileBytes; ++at) {
    places.push_back(at);
  }
  return places;
}

TEST_F(BadPackTest, APackThatEndsAtAnyFieldGetsAnAnswer) {
  SPackContent content;
  content.bEvenChunksRaw = true;
  content.chunkBytes = 1024;
  const CTestPack pack(content);
  const std::vector<u8> whole = pack.Bytes();
  for (const std::size_t place : FieldBoundaries(pack, whole.size())) {
    SCOPED_TRACE(place);
    const std::vector<u8> bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(place));
    const bool bLoaded = Loads(bytes);
    EXPECT_TRUE(place >= 673 || !bLoaded);
  }
}

TEST_F(BadPackTest, AGoodPackLoadsAfterEveryBadOne) {
  for (u32 i = 0; i < kPackRomCount; ++i) {
    EXPECT_FALSE(LoadsChanged([i](CTestPack& pack) { pack.directory.roms[i].chunkCount = 7; }));
    EXPECT_TRUE(LoadsChanged([](CTestPack&) {}));
  }
}

}  // namespace
}  // namespace vx::test
