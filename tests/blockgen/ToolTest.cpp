// The program: files in, files out, and what it says of bad ones.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "blocks/Formats.h"
#include "mips3/AddressMap.h"
#include "mips3/Context.h"
#include "tests/mips3/Encode.h"

namespace vx::blockgen {

namespace {

using namespace mips;
namespace fs = std::filesystem;

constexpr u32 kReturn = SpecialOp(8, kRa, 0, 0);
constexpr u32 kStep = MainOp(9, kV0, kV0, 1);

class Blockgen : public testing::Test {
 protected:
  Blockgen()
      : folder(fs::path(testing::TempDir()) /
               ("blockgen_" + std::to_string(getpid()) +
                testing::UnitTest::GetInstance()->current_test_info()->name())) {
    fs::create_directories(folder);
  }
  ~Blockgen() override { fs::remove_all(folder); }

  static std::string Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string Write(const std::string& name, const std::string& bytes) {
    std::ofstream(folder / name, std::ios::binary) << bytes;
    return (folder / name).string();
  }
  // A file of discovered code with one run of records whose first is a head.
  std::string WriteCode(const std::string& name, const std::vector<u32>& words) {
    std::string bytes;
    const auto put = [&bytes](const auto& value) {
      bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
    };
    put(SRecordCacheHeader{kRecordCacheMagic, kRecordCacheVersion, kRecordCount});
    put(static_cast<u16>(words.size()));
    put(u32{0x400});
    for (const u32& word : words) {
      put(SCachedRecord{word, kOpValid | (&word == words.data() ? u32{kOpHead} : 0u), 0});
    }
    put(u16{0});
    return Write(name, bytes);
  }
  int Run(const std::string& arguments) {
    const std::string command =
        std::string(VX_BLOCKGEN) + " " + arguments + " >" + (folder / "said").string() + " 2>&1";
    const int status = std::system(command.c_str());
    said = Read(folder / "said");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::map<std::string, std::string> FilesIn(const std::string& name) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(folder / name)) {
      files[entry.path().filename()] = Read(entry.path());
    }
    return files;
  }
  std::string Out(const std::string& name) { return " -o " + (folder / name).string(); }

  fs::path folder;
  std::string said;
};

TEST_F(Blockgen, WritesTheSameFilesWhateverTheOrderOfItsInputs) {
  const std::string a = WriteCode("a", {kStep, kReturn, kNop});
  const std::string b = WriteCode("b", {kNop, kStep, kReturn, kNop});
  ASSERT_EQ(Run(a + " " + b + Out("ab")), 0) << said;
  ASSERT_EQ(Run(b + " " + a + " " + b + Out("ba")), 0) << said;
  EXPECT_EQ(FilesIn("ab"), FilesIn("ba"));
  EXPECT_EQ(FilesIn("ab").count("table.bin"), 1u);
  EXPECT_NE(said.find("2 native blocks in 2 functions"), std::string::npos) << said;
}

TEST_F(Blockgen, LeavesFilesAloneThatStay) {
  const std::string a = WriteCode("a", {kStep, kReturn, kNop});
  ASSERT_EQ(Run(a + Out("o")), 0) << said;
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(5);
  fs::last_write_time(folder / "o/table.bin", old);
  ASSERT_EQ(Run(a + Out("o")), 0) << said;
  EXPECT_EQ(fs::last_write_time(folder / "o/table.bin"), old);
}

TEST_F(Blockgen, TakesWordsFromAMemoryImage) {
  // A likely branch that was not taken: its delay op's record holds the op behind it.
  const u32 likely = MainOp(20, kV0, kA0, 4);
  const std::string code = WriteCode("a", {likely, kNop, kNop, kReturn, kNop});
  ASSERT_EQ(Run(code + Out("without")), 0) << said;
  EXPECT_NE(said.find("0 native blocks"), std::string::npos) << said;

  std::string image(0x880000, '\0');
  const u32 words[] = {likely, kStep, kNop, kReturn, kNop};
  std::memcpy(image.data() + 0x1000, words, sizeof(words));
  ASSERT_EQ(Run(code + "=" + Write("image", image) + Out("with")), 0) << said;
  const std::string table = FilesIn("with")["table.bin"];
  EXPECT_NE(table.find(std::string(reinterpret_cast<const char*>(words), 8)), std::string::npos);
}

TEST_F(Blockgen, NamesAFileThatIsNotOneOfDiscoveredCode) {
  const std::string bad = Write("bad", "not a cache, but long enough for a header");
  EXPECT_EQ(Run(bad + Out("o")), 1);
  EXPECT_NE(said.find(bad), std::string::npos) << said;
  EXPECT_EQ(Run(Write("empty", "") + Out("o")), 1);
  EXPECT_EQ(Run((folder / "missing").string() + Out("o")), 1);
}

TEST_F(Blockgen, TakesAShortFileAsFarAsItGoes) {
  std::string bytes = Read(WriteCode("a", {kStep, kReturn, kNop, kStep}));
  ASSERT_EQ(Run(Write("short", bytes.substr(0, bytes.size() - 5)) + Out("o")), 0) << said;
  EXPECT_NE(said.find("1 native blocks"), std::string::npos) << said;
}

TEST_F(Blockgen, SkipsRecordsBehindTheArray) {
  std::string bytes = Read(WriteCode("a", {kStep, kReturn, kNop}));
  const u32 last = kRecordCount - 1;
  bytes.replace(18, 4, reinterpret_cast<const char*>(&last), 4);
  EXPECT_EQ(Run(Write("far", bytes) + Out("o")), 0) << said;
}

TEST_F(Blockgen, SaysWhatIsWrongWithAFolderThatCannotBeWritten) {
  const std::string a = WriteCode("a", {kStep, kReturn, kNop});
  Write("file", "x");
  EXPECT_EQ(Run(a + Out("file/o")), 3);
  EXPECT_NE(said.find("cannot be written"), std::string::npos) << said;
}

TEST_F(Blockgen, AsksForAFileAndAFolder) { EXPECT_EQ(Run(""), 2); }

}  // namespace

}  // namespace vx::blockgen
