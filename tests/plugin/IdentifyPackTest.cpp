// Looking at a file without loading it: laxer than loading, and silent about what it does not know.
#include "tests/support/BoundaryTest.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {
namespace {

struct IdentifyPackTest : testing::Test {
  CTestHost host;
  CLoadedComponent component{&host.Api()};
  const SMachineTable& table = *component.table;
  u64 hash = 0x1234, size = 0x5678;

  IdentifyPackTest() { table.Startup(); }
  ~IdentifyPackTest() override { table.Shutdown(); }

  u32 Identify(const std::vector<u8>& bytes) {
    const CPackFile file(bytes);
    return table.IdentifyPack(&hash, &size, file.Path());
  }
  void ExpectUnknown(const std::vector<u8>& bytes) {
    EXPECT_EQ(Identify(bytes), 0u);
    EXPECT_EQ(hash, 0x1234u) << "written";
    EXPECT_EQ(size, 0x5678u) << "written";
  }
  // A file of a header, that many entries and `more` bytes; each entry's hash is its number.
  static std::vector<u8> Entries(u64 headerCount, u32 entries, u32 more) {
    CTestPack pack;
    pack.directory.header.entryCount = headerCount;
    std::vector<u8> bytes = pack.Bytes();
    bytes.resize(32);
    for (u32 i = 0; i < entries; ++i) {
      u8 entry[64] = {};
      entry[16] = static_cast<u8>(i + 1);
      bytes.insert(bytes.end(), entry, entry + 64);
    }
    bytes.resize(bytes.size() + more);
    return bytes;
  }
};

TEST_F(IdentifyPackTest, TellsTheHashOfAllEntriesAndTheLength) {
  const CTestPack pack;
  u64 expected = pack.directory.disk.hash;
  for (const SPackRomEntry& rom : pack.directory.roms) expected ^= rom.hash;
  const std::vector<u8> bytes = pack.Bytes();
  EXPECT_EQ(Identify(bytes), 1u);
  EXPECT_EQ(hash, expected);
  EXPECT_EQ(size, bytes.size());
}

TEST_F(IdentifyPackTest, AcceptsEntryCountsThatLoadingRefuses) {
  EXPECT_EQ(Identify(Entries(9, 9, 1)), 1u);
  EXPECT_EQ(hash, 1u ^ 2 ^ 3 ^ 4 ^ 5 ^ 6 ^ 7 ^ 8 ^ 9);
  EXPECT_EQ(Identify(Entries(11, 11, 1)), 1u);
  EXPECT_EQ(Identify(Entries(1, 1, 1)), 1u);
  EXPECT_EQ(hash, 1u);
}

TEST_F(IdentifyPackTest, AcceptsAThirdIdentity) {
  CTestPack pack;
  pack.directory.header.identity = 0x1122334455667788;
  EXPECT_EQ(Identify(pack.Bytes()), 1u);
}

TEST_F(IdentifyPackTest, EntryCountsGoFromOneTo256) {
  ExpectUnknown(Entries(0, 300, 1));
  ExpectUnknown(Entries(257, 300, 1));
  ExpectUnknown(Entries(0xFFFFFFFFFFFFFFFF, 300, 1));
  ExpectUnknown(Entries(0x400000000000000A, 300, 1));
  EXPECT_EQ(Identify(Entries(256, 256, 1)), 1u);
}

TEST_F(IdentifyPackTest, TheFileMustBeLongerThanItsEntries) {
  ExpectUnknown(Entries(10, 10, 0));
  ExpectUnknown(Entries(10, 9, 0));
  EXPECT_EQ(Identify(Entries(10, 10, 1)), 1u);
  EXPECT_EQ(size, 673u);
}

TEST_F(IdentifyPackTest, MagicAndVersionMustMatch) {
  CTestPack pack;
  pack.directory.header.magic ^= 1;
  ExpectUnknown(pack.Bytes());
  pack = CTestPack();
  pack.directory.header.version = 2;
  ExpectUnknown(pack.Bytes());
  pack.directory.header.version = 4;
  ExpectUnknown(pack.Bytes());
  pack.directory.header.version = 0x100000003;
  ExpectUnknown(pack.Bytes());
}

TEST_F(IdentifyPackTest, ShortFilesAreUnknown) {
  std::vector<u8> bytes = CTestPack().Bytes();
  for (const u32 length : {0u, 1u, 8u, 31u, 32u, 33u, 100u}) {
    bytes.resize(length);
    ExpectUnknown(bytes);
    bytes = CTestPack().Bytes();
  }
}

TEST_F(IdentifyPackTest, MissingFilesAndFoldersAreUnknown) {
  const CTestFolder folder;
  for (const std::wstring& path : {(folder / "none").wstring(), folder.Path().wstring(),
                                   folder.Path().wstring() + L"/", std::wstring()}) {
    EXPECT_EQ(table.IdentifyPack(&hash, &size, path.c_str()), 0u);
  }
  EXPECT_EQ(table.IdentifyPack(&hash, &size, nullptr), 0u);
  EXPECT_EQ(hash, 0x1234u);
  EXPECT_EQ(size, 0x5678u);
}

TEST_F(IdentifyPackTest, NullOutputsAreSkipped) {
  const CPackFile file{CTestPack()};
  EXPECT_EQ(table.IdentifyPack(nullptr, &size, file.Path()), 1u);
  EXPECT_NE(size, 0x5678u);
  EXPECT_EQ(table.IdentifyPack(&hash, nullptr, file.Path()), 1u);
  EXPECT_EQ(table.IdentifyPack(nullptr, nullptr, file.Path()), 1u);
}

TEST_F(IdentifyPackTest, LeavesALoadedMachineAlone) {
  CQuillonMachineBase* const machine = table.CreateMachine();
  const CPackFile file{CTestPack()};
  ASSERT_TRUE(machine->LoadPack(file.Path()));
  table.IdentifyPack(&hash, &size, file.Path());
  EXPECT_TRUE(machine->IsLoaded());
  table.DestroyMachine(machine);
}

}  // namespace
}  // namespace vx::test
