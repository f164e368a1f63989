#include "tools/packfile/PendingFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "tests/tools/TestFolder.h"
#include "tests/tools/ToolErrors.h"

namespace vx::test {
namespace {

constexpr u8 kBytes[] = {1, 2, 3, 4};

TEST(PendingFile, AppearsOnlyWhenCommitted) {
  const CTestFolder folder;
  CPendingFile file(folder / "f");
  file.Write(kBytes);
  EXPECT_FALSE(std::filesystem::exists(folder / "f"));
  file.Commit();
  EXPECT_EQ(ReadWhole(folder / "f"), (std::vector<u8>{1, 2, 3, 4}));
  EXPECT_EQ(folder.Names(), std::vector<std::string>{"f"});
}

TEST(PendingFile, GoesBackToFillInWhatIsKnownLater) {
  const CTestFolder folder;
  CPendingFile file(folder / "f");
  file.Write(kBytes);
  file.Seek(1);
  file.Write(std::span(kBytes).first(1));
  EXPECT_EQ(file.Position(), 2u);
  file.Commit();
  EXPECT_EQ(ReadWhole(folder / "f"), (std::vector<u8>{1, 1, 3, 4}));
}

TEST(PendingFile, LeavesNothingWhenDropped) {
  const CTestFolder folder;
  { CPendingFile(folder / "f").Write(kBytes); }
  EXPECT_TRUE(folder.Names().empty());
}

TEST(PendingFile, RefusesToTakeThePlaceOfAPipe) {
  const CTestFolder folder;
  ASSERT_EQ(mkfifo((folder / "p").c_str(), 0600), 0);
  EXPECT_THROW(CPendingFile(folder / "p"), CToolError);
  struct stat status = {};
  ASSERT_EQ(lstat((folder / "p").c_str(), &status), 0);
  EXPECT_TRUE(S_ISFIFO(status.st_mode));
}

TEST(PendingFile, GivesThePermissionsOfAnyNewFile) {
  const CTestFolder folder;
  const mode_t mask = umask(027);
  CPendingFile file(folder / "f");
  file.Commit();
  umask(mask);
  struct stat status = {};
  ASSERT_EQ(stat((folder / "f").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST(PendingFile, LeavesNothingWhenTheProcessIsEndedByASignal) {
  testing::FLAGS_gtest_death_test_style = "fast";  // the child works in the parent's folder
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
    const CTestFolder folder;
    EXPECT_EXIT(
        {
          CPendingFile file(folder / "f");
          file.Write(kBytes);
          if (folder.Names().size() == 1) raise(signalNumber);
        },
        testing::KilledBySignal(signalNumber), "");
    EXPECT_TRUE(folder.Names().empty());
  }
}

TEST(PendingFile, SaysWhichFileCannotBeWritten) {
  const CTestFolder folder;
  const SFailure missing = Failure([&] { CPendingFile file(folder / "no/f"); });
  EXPECT_EQ(missing.exitCode, EExitCode::BadFile);
  EXPECT_EQ(missing.sentence,
            (folder / "no/f").string() + " cannot be written: No such file or directory.");
  const SFailure isFolder = Failure([&] { CPendingFile file(folder.Path()); });
  EXPECT_EQ(isFolder.sentence, folder.Path().string() + " cannot be written: Is a directory.");
  const std::string longName(5000, 'x');
  EXPECT_EQ(Failure([&] { CPendingFile file(longName); }).sentence,
            longName + " cannot be written: File name too long.");
}

TEST(PendingFile, SaysWhenTheDeviceIsFull) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "there is no /dev/full here";
  const CTestFolder folder;
  const std::string name = (folder / "f").string();
  CPendingFile file(name);
  // The unfinished file's descriptor is led to a device that takes nothing.
  ASSERT_EQ(folder.Names().size(), 1u);
  const SFailure failure = Failure([&] {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code ignored;
      const auto target = std::filesystem::read_symlink(entry.path(), ignored).string();
      if (!target.starts_with(name)) continue;
      std::FILE* full = std::fopen("/dev/full", "wb");
      dup2(fileno(full), std::stoi(entry.path().filename().string()));
      std::fclose(full);
    }
    file.Write(kBytes);
    file.Commit();
  });
  EXPECT_EQ(failure.sentence, name + " cannot be written: No space left on device.");
}

}  // namespace
}  // namespace vx::test
