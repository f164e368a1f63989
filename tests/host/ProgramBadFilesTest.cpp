// Every bad file ends with its exit code and exactly one sentence that names the file.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "tests/host/Program.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

using test::RunProgram;
using test::SProgramResult;
using test::STestPack;

void ExpectRefusal(const std::string& path, int exitCode, const std::string& words) {
  const SProgramResult result = RunProgram({path, "--headless", "--frames", "10"});
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.exitCode, exitCode) << result.err;
  EXPECT_TRUE(result.err.starts_with("vxrun: " + path + ": ")) << result.err;
  EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  EXPECT_EQ(result.out, "");
}

}  // namespace

TEST(ProgramBadFiles, AMissingFileEndsWith2) {
  ExpectRefusal(test::TestFolder() + "none.qilhard", 2, "there is no such file");
}

TEST(ProgramBadFiles, AFolderEndsWith2) {
  ExpectRefusal(test::TestFolder(), 2, "is a folder, not a pack file");
}

TEST(ProgramBadFiles, AFileThatMayNotBeReadEndsWith2) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser may read everything";
  const std::string path = STestPack().WriteAs("locked.qilhard");
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  ExpectRefusal(path, 2, "cannot be read: Permission denied");
}

TEST(ProgramBadFiles, ADeviceEndsWith2) { ExpectRefusal("/dev/zero", 2, "is a device or pipe"); }

TEST(ProgramBadFiles, APipeEndsWith2) {
  const std::string path = test::TestFolder() + "pipe";
  std::filesystem::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ExpectRefusal(path, 2, "is a device or pipe");
}

TEST(ProgramBadFiles, AnEmptyFileEndsWith3) {
  ExpectRefusal(test::WriteFile("empty.qilhard", {}), 3, "is empty, not a pack");
}

TEST(ProgramBadFiles, AFileThatIsNoPackEndsWith3) {
  ExpectRefusal(test::WriteFile("text.qilhard", std::vector<u8>(3000, 'x')), 3, "is not a pack");
}

TEST(ProgramBadFiles, AnotherVersionEndsWith3) {
  STestPack pack;
  pack.directory.header.version = 2;
  ExpectRefusal(pack.WriteAs("old.qilhard"), 3, "is a pack of version 2");
}

TEST(ProgramBadFiles, AnotherBoardEndsWith3) {
  STestPack pack;
  pack.directory.header.identity = 1;
  ExpectRefusal(pack.WriteAs("other.qilhard"), 3, "is a pack for another board");
}

TEST(ProgramBadFiles, ATruncatedPackEndsWith4) {
  std::vector<u8> bytes = STestPack().Bytes();
  for (const std::size_t size :
       {bytes.size() - 1, std::size_t{1000}, std::size_t{672}, std::size_t{32}, std::size_t{20}}) {
    bytes.resize(size);
    ExpectRefusal(test::WriteFile("cut.qilhard", bytes), 4, "truncated");
  }
}

TEST(ProgramBadFiles, ADamagedEntryEndsWith4) {
  STestPack pack;
  pack.directory.roms[7].inflatedBytes = 0x80001;
  ExpectRefusal(pack.WriteAs("spoiled.qilhard"), 4, "is damaged: ROM entry 7");
}

TEST(ProgramBadFiles, ADamagedRomEndsWith4) {
  STestPack pack;
  pack.data[pack.directory.roms[0].storedBytes / 2] ^= 0xFF;
  ExpectRefusal(pack.WriteAs("spoiled.qilhard"), 4, "is damaged: ROM entry 0 of ");
}

TEST(ProgramBadFiles, ADamagedDiskChunkEndsWith4) {
  STestPack pack;
  pack.data[pack.data.size() - pack.chunkSizes[3] / 2] ^= 0xFF;
  ExpectRefusal(pack.WriteAs("spoiled.qilhard"), 4, "is damaged: a disk chunk of ");
}

TEST(ProgramBadFiles, ANameThatIsNotUtf8EndsWith2) {
  ExpectRefusal(STestPack().WriteAs("caf\xE9.qilhard"), 2, "rename the file");
}

TEST(ProgramBadFiles, RandomDamageNeverEndsByASignal) {
  const std::vector<u8> whole = STestPack().Bytes();
  std::mt19937 random(7);
  for (u32 round = 0; round < 25; ++round) {
    std::vector<u8> spoiled = whole;
    for (u32 i = 0; i < 3; ++i) spoiled[random() % spoiled.size()] ^= static_cast<u8>(random());
    const std::string path = test::WriteFile("spoiled.qilhard", spoiled);
    const SProgramResult result = RunProgram({path, "--headless", "--frames", "5"});
    ASSERT_EQ(result.signal, 0) << result.err;
    ASSERT_TRUE(result.exitCode == 0 || (result.exitCode >= 2 && result.exitCode <= 4))
        << result.exitCode << ": " << result.err;
    ASSERT_EQ(std::ranges::count(result.err, '\n'), result.exitCode == 0 ? 0 : 1) << result.err;
  }
}

}  // namespace vx
