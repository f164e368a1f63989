// Packs that load: what lands where, and what loading leaves alone.
#include <algorithm>
#include <filesystem>

#include "tests/support/BoundaryTest.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {
namespace {

using PackTest = CBoundaryTest;

constexpr u32 kRomBytes = 0x80000;
constexpr u32 kFirstRom = 17 * kRomBytes;

std::vector<u8> RomOf(u32 bytes, u32 seed) {
  std::vector<u8> rom(bytes);
  for (u32 i = 0; i < bytes; ++i) rom[i] = static_cast<u8>(i * 7 + i / 251 + seed);
  return rom;
}

bool Holds(const u8* memory, const std::vector<u8>& bytes) {
  return std::equal(bytes.begin(), bytes.end(), memory);
}

TEST_F(PackTest, EachRomLandsInItsPlace) {
  SPackContent content;
  content.bootRom = RomOf(kRomBytes, 1);
  for (u32 i = 0; i < 8; ++i) content.soundRoms[i] = RomOf(kRomBytes, 2 + i);
  const CPackFile file{CTestPack(content)};
  ASSERT_TRUE(machine->LoadPack(file.Path()));
  EXPECT_TRUE(Holds(Memory() + 0x880000, content.bootRom));
  for (u32 i = 0; i < 8; ++i) {
    EXPECT_TRUE(Holds(Memory() + kFirstRom + (i + 1) * kRomBytes, content.soundRoms[i]))
        << "sound ROM " << i + 1;
  }
}

TEST_F(PackTest, AShorterRomLeavesTheRestOfItsPlaceAsItWas) {
  SPackContent content;
  content.bootRom = std::vector<u8>(kRomBytes, 0xAA);
  const CPackFile large{CTestPack(content)};
  ASSERT_TRUE(machine->LoadPack(large.Path()));
  content.bootRom = std::vector<u8>(16, 0xBB);
  const CPackFile small{CTestPack(content)};
  ASSERT_TRUE(machine->LoadPack(small.Path()));
  EXPECT_EQ(Memory()[0x88000F], 0xBB);
  EXPECT_EQ(Memory()[0x880010], 0xAA);
  EXPECT_EQ(Memory()[0x8FFFFF], 0xAA);
}

TEST_F(PackTest, ARomOfTheLargestSizePassesAndOneByteMoreDoesNot) {
  CTestPack pack;
  pack.directory.roms[3].inflatedBytes = 0x80000;
  const CPackFile largest{pack};
  EXPECT_TRUE(machine->LoadPack(largest.Path()));
  pack.directory.roms[3].inflatedBytes = 0x80001;
  const CPackFile larger{pack};
  EXPECT_FALSE(machine->LoadPack(larger.Path()));
}

TEST_F(PackTest, NullAndEmptyPathsUnload) {
  const CPackFile file{CTestPack()};
  for (const wchar_t* path : {static_cast<const wchar_t*>(nullptr), L""}) {
    ASSERT_TRUE(machine->LoadPack(file.Path()));
    EXPECT_TRUE(machine->IsLoaded());
    EXPECT_FALSE(machine->LoadPack(path));
    EXPECT_FALSE(machine->IsLoaded());
  }
}

TEST_F(PackTest, AFailedLoadUnloadsWhatWasThere) {
  const CPackFile file{CTestPack()};
  ASSERT_TRUE(machine->LoadPack(file.Path()));
  EXPECT_FALSE(machine->LoadPack(L"/nowhere/none.qilhard"));
  EXPECT_FALSE(machine->IsLoaded());
}

TEST_F(PackTest, RomsOfAnUnloadedPackStayInTheImage) {
  SPackContent content;
  content.bootRom = std::vector<u8>(16, 0xCC);
  const CPackFile file{CTestPack(content)};
  ASSERT_TRUE(machine->LoadPack(file.Path()));
  machine->LoadPack(nullptr);
  machine->Reset();
  EXPECT_EQ(Memory()[0x880000], 0xCC);
}

TEST_F(PackTest, LoadingDoesNotReset) {
  machine->RunFrame();
  machine->RunFrame();
  Memory()[0x2000] = 0x5A;
  const CPackFile file{CTestPack()};
  ASSERT_TRUE(machine->LoadPack(file.Path()));
  EXPECT_EQ(machine->GetFrameCount(), 2u);
  EXPECT_EQ(Memory()[0x2000], 0x5A);
}

TEST_F(PackTest, ASecondPackReplacesTheFirst) {
  SPackContent content;
  content.bootRom = std::vector<u8>(16, 0x11);
  const CPackFile first{CTestPack(content)};
  content.bootRom = std::vector<u8>(16, 0x22);
  const CPackFile second{CTestPack(content)};
  ASSERT_TRUE(machine->LoadPack(first.Path()));
  ASSERT_TRUE(machine->LoadPack(second.Path()));
  EXPECT_TRUE(machine->IsLoaded());
  EXPECT_EQ(Memory()[0x880000], 0x22);
}

TEST_F(PackTest, TheBlockTableIsUnpackedOnceAProcessAtMost) {
  const CPackFile file{CTestPack()};
  ASSERT_TRUE(machine->LoadPack(file.Path()));
  const u32 afterFirst = host.tableCalls;
  EXPECT_LE(afterFirst, 1u);
  ASSERT_TRUE(machine->LoadPack(file.Path()));
  CQuillonMachineBase* const second = table.CreateMachine();
  ASSERT_TRUE(second->LoadPack(file.Path()));
  table.DestroyMachine(second);
  table.Shutdown();
  table.Startup();
  ASSERT_TRUE(machine->LoadPack(file.Path()));
  EXPECT_EQ(host.tableCalls, afterFirst);
}

TEST_F(PackTest, PathsBeyondAsciiOpen) {
  const CTestFolder folder;
  const std::filesystem::path path = folder / "\xC3\xA4\xE6\x9D\xBF\xF0\x9F\x95\xB9.qilhard";
  folder.Write(path.filename().string(), CTestPack().Bytes());
  std::wstring wide = folder.Path().wstring();
  wide += L"/\u00E4\u677F\U0001F579.qilhard";
  EXPECT_TRUE(machine->LoadPack(wide.c_str()));
}

TEST_F(PackTest, BackslashesSeparateFoldersToo) {
  const CTestFolder folder;
  folder.Write("one.qilhard", CTestPack().Bytes());
  std::wstring wide = (folder / "one.qilhard").wstring();
  std::replace(wide.begin(), wide.end(), L'/', L'\\');
  EXPECT_TRUE(machine->LoadPack(wide.c_str()));
}

TEST_F(PackTest, LoadingLogsNothing) {
  const CPackFile good{CTestPack()};
  machine->LoadPack(good.Path());
  const CPackFile bad{std::vector<u8>(1000)};
  machine->LoadPack(bad.Path());
  EXPECT_TRUE(host.LogLines().empty());
}

TEST_F(PackTest, APackOfEachIdentityLoads) {
  for (const u64 identity : {u64{0x8e21848dc23b33d2}, u64{0xbe281ce10a9925a0}}) {
    SPackContent content;
    content.identity = identity;
    const CPackFile file{CTestPack(content)};
    EXPECT_TRUE(machine->LoadPack(file.Path()));
  }
}

TEST_F(PackTest, AMachineThatIsDestroyedWhileItsDiskIsReadEndsCleanly) {
  SPackContent content;
  content.chunkCount = 500;
  content.disk = RomOf(500 * 4096, 3);
  const CPackFile file{CTestPack(content)};
  CQuillonMachineBase* const other = table.CreateMachine();
  EXPECT_TRUE(other->LoadPack(file.Path()));
  table.DestroyMachine(other);
  EXPECT_TRUE(machine->LoadPack(file.Path()));
  EXPECT_FALSE(machine->LoadPack(nullptr));
}

}  // namespace
}  // namespace vx::test
