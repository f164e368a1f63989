#include "base/File.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace vx {

namespace {

namespace fs = std::filesystem;

class File : public ::testing::Test {
 protected:
  File() {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    folder = fs::path(::testing::TempDir()) /
             ("vx_base_file_" + std::to_string(getpid()) + "_" + test->name());
    fs::remove_all(folder);
    fs::create_directories(folder);
  }
  ~File() override { fs::remove_all(folder); }

  fs::path Make(const std::string& name, const std::string& content) {
    const fs::path path = folder / name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }
  static std::string ContentOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  fs::path folder;
  CQuillonFile file;
};

TEST_F(File, ReadsWhatIsThere) {
  const fs::path path = Make("a.bin", std::string("abc\0def", 7));
  ASSERT_TRUE(file.Open(path.wstring().c_str(), EFileMode::Read));
  EXPECT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Size(), 7u);
  char buffer[16] = {};
  EXPECT_EQ(file.Read(buffer, 16), 7u);
  EXPECT_EQ(std::string(buffer, 7), std::string("abc\0def", 7));
  EXPECT_EQ(file.Read(buffer, 1), 0u);
}

TEST_F(File, RefusesAPipeInsteadOfWaitingForItsOtherEnd) {
  const fs::path path = folder / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_FALSE(file.Open(path.wstring().c_str(), EFileMode::Read));
  EXPECT_FALSE(file.Open(path.wstring().c_str(), EFileMode::Write));
}

TEST_F(File, SeeksAndKeepsItsPositionWhenAskedForItsSize) {
  const fs::path path = Make("a.bin", "0123456789");
  ASSERT_TRUE(file.Open(path.wstring().c_str(), EFileMode::Read));
  EXPECT_TRUE(file.Seek(4));
  EXPECT_EQ(file.Size(), 10u);
  char c = 0;
  EXPECT_EQ(file.Read(&c, 1), 1u);
  EXPECT_EQ(c, '4');
  EXPECT_FALSE(file.Seek(~u64{0}));
  EXPECT_FALSE(file.Seek(u64{1} << 63));
}

TEST_F(File, BackslashesSeparateFolders) {
  fs::create_directories(folder / "sub");
  Make("sub/b.bin", "b");
  const std::wstring path = folder.wstring() + L"\\sub\\b.bin";
  EXPECT_TRUE(file.Open(path.c_str(), EFileMode::Read));
}

TEST_F(File, NamesOutsideAsciiAreUtf8) {
  const fs::path path = Make("\xC3\xA9\xE6\x97\xA5.bin", "xy");
  const std::wstring wide = folder.wstring() + L"/\u00E9\u65E5.bin";
  ASSERT_TRUE(file.Open(wide.c_str(), EFileMode::Read));
  EXPECT_EQ(file.Size(), 2u);
}

TEST_F(File, AFolderIsRefused) {
  EXPECT_FALSE(file.Open(folder.wstring().c_str(), EFileMode::Read));
  EXPECT_FALSE(file.IsOpen());
}

TEST_F(File, NoPathIsRefused) {
  EXPECT_FALSE(file.Open(nullptr, EFileMode::Read));
  EXPECT_FALSE(file.Open(L"", EFileMode::Write));
}

TEST_F(File, MissingFileOpensOnlyForWriting) {
  const fs::path path = folder / "new.bin";
  EXPECT_FALSE(file.Open(path.wstring().c_str(), EFileMode::Read));
  EXPECT_FALSE(file.Open(path.wstring().c_str(), EFileMode::Update));
  EXPECT_FALSE(fs::exists(path));
  EXPECT_TRUE(file.Open(path.wstring().c_str(), EFileMode::Write));
  EXPECT_EQ(file.Write("abc", 3), 3u);
  file.Close();
  EXPECT_EQ(ContentOf(path), "abc");
}

TEST_F(File, WriteModeEmptiesAndUpdateModeKeeps) {
  const fs::path path = Make("a.bin", "0123456789");
  ASSERT_TRUE(file.Open(path.wstring().c_str(), EFileMode::Update));
  EXPECT_TRUE(file.Seek(2));
  EXPECT_EQ(file.Write("XY", 2), 2u);
  file.Close();
  EXPECT_EQ(ContentOf(path), "01XY456789");
  ASSERT_TRUE(file.Open(path.wstring().c_str(), EFileMode::Write));
  file.Close();
  EXPECT_EQ(ContentOf(path), "");
}

TEST_F(File, FailedOpenClosesWhatWasOpen) {
  const fs::path path = Make("a.bin", "a");
  ASSERT_TRUE(file.Open(path.wstring().c_str(), EFileMode::Read));
  EXPECT_FALSE(file.Open(L"", EFileMode::Read));
  EXPECT_FALSE(file.IsOpen());
}

TEST_F(File, ClosedFileAnswersNothing) {
  char c = 'x';
  EXPECT_EQ(file.Read(&c, 1), 0u);
  EXPECT_EQ(file.Write(&c, 1), 0u);
  EXPECT_FALSE(file.Seek(0));
  EXPECT_EQ(file.Size(), 0u);
  file.Close();
}

TEST_F(File, ReadModeDoesNotWrite) {
  const fs::path path = Make("a.bin", "abc");
  ASSERT_TRUE(file.Open(path.wstring().c_str(), EFileMode::Read));
  EXPECT_EQ(file.Write("zzz", 3), 0u);
  file.Close();
  EXPECT_EQ(ContentOf(path), "abc");
}

}  // namespace

}  // namespace vx
