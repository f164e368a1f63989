// Controls, settings and progress as a person at the command line meets them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/host/Program.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

namespace fs = std::filesystem;
using test::RunProgram;
using test::SProgramResult;

class CProgramSetup : public testing::Test {
 protected:
  static void ExpectSentence(const SProgramResult& result, int exitCode, const std::string& text) {
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    EXPECT_EQ(result.err, "vxrun: " + text + "\n");
  }
  std::string Write(const std::string& name, const std::string& text) {
    fs::create_directories(fs::path(folder + name).parent_path());
    return test::WriteFile(name, {text.begin(), text.end()});
  }
  static std::string RunWell(const std::vector<std::string>& arguments) {
    const SProgramResult result = RunProgram(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  static bool Has(const std::string& text, const std::string& words) {
    return text.find(words) != std::string::npos;
  }

  std::string folder = test::TestFolder();
  std::string pack = test::STestPack().WriteAs("good.qilhard");
};

}  // namespace

TEST_F(CProgramSetup, TheListOfControlsIsAControlsFile) {
  const std::string list = RunWell({"--list-controls"});
  EXPECT_TRUE(Has(list, "\nP1:UP           = key:Up pad1:dpup pad1:-lefty\n")) << list;
  EXPECT_TRUE(Has(list, "\nHOST:QUIT       = key:Escape\n"));
  EXPECT_EQ(RunWell({"--list-controls", "--controls", Write("list.conf", list)}), list);
}

TEST_F(CProgramSetup, TheUsersOwnControlsFileHoldsUnlessAnotherIsNamed) {
  Write("config/vxrun/controls.conf", "P1:UP = key:W\n");
  EXPECT_TRUE(Has(RunWell({"--list-controls"}), "\nP1:UP           = key:W\n"));
  const std::string other = Write("other.conf", "P1:START = key:Return\n");
  const std::string list = RunWell({"--list-controls", "--controls", other});
  EXPECT_TRUE(Has(list, "\nP1:UP           = key:Up pad1"));
  EXPECT_TRUE(Has(list, "\nP1:START        = key:Return\n"));
}

TEST_F(CProgramSetup, AMistakeInAControlsFileIsToldBeforeAWindowOpens) {
  const std::string file = Write("bad.conf", "\nP1:UP = key:Upwards\n");
  ExpectSentence(RunProgram({pack, "--controls", file}, {"SDL_VIDEODRIVER=none-such"}), 1,
                 file + ":2: key:Upwards names no key");
  ExpectSentence(RunProgram({pack, "--headless", "--controls", folder + "none.conf"}), 2,
                 folder + "none.conf: there is no such file");
}

TEST_F(CProgramSetup, AHeadlessRunDoesNotMindTheUsersControlsFile) {
  Write("config/vxrun/controls.conf", "nonsense\n");
  RunWell({pack, "--headless", "--frames", "1"});
}

TEST_F(CProgramSetup, SavedSettingsHoldInLaterRunsUntilTheCommandLineSaysOtherwise) {
  RunWell({"--save-settings", "--set", "FAKE_Clock=3.0"});
  EXPECT_TRUE(fs::exists(folder + "config/vxrun/settings.conf"));
  EXPECT_TRUE(Has(RunWell({"--list-settings"}), "FAKE_Clock           = 3 "));
  EXPECT_TRUE(
      Has(RunWell({"--list-settings", "--set", "FAKE_Clock=0"}), "FAKE_Clock           = 0 "));
  EXPECT_TRUE(Has(RunWell({"--list-settings"}), "FAKE_Clock           = 3 "));
}

TEST_F(CProgramSetup, SavingKeepsWhatWasSavedBefore) {
  const std::string file = folder + "mine.conf";
  RunWell({"--save-settings", "--settings", file, "--set", "FAKE_Clock=2"});
  RunWell({pack, "--headless", "--frames", "1", "--save-settings", "--settings", file, "--set",
           "FAKE_Step=6"});
  const std::string text = test::ReadWholeFile(file);
  EXPECT_TRUE(Has(text, "\nFAKE_Clock = 2\n") && Has(text, "\nFAKE_Step = 6\n")) << text;
  EXPECT_FALSE(fs::exists(folder + "config"));
}

TEST_F(CProgramSetup, AMistakeInASettingsFileIsToldWithItsLine) {
  const std::string file = Write("bad.conf", "FAKE_Clock = 1\nFAKE_Clocks = 1\n");
  ExpectSentence(RunProgram({pack, "--headless", "--settings", file}), 1,
                 file + ":2: there is no setting FAKE_Clocks; --list-settings shows them all");
  ExpectSentence(RunProgram({pack, "--headless", "--settings", folder + "none.conf"}), 2,
                 folder + "none.conf: there is no such file");
}

TEST_F(CProgramSetup, SettingsThatCannotBeSavedEndTheRunBeforeItsFirstFrame) {
  const SProgramResult result =
      RunProgram({pack, "--headless", "--save-settings", "--settings", pack + "/settings.conf"});
  EXPECT_EQ(result.exitCode, 7) << result.err;
  EXPECT_EQ(result.out, "");
}

TEST_F(CProgramSetup, ATerminalShowsTheFramesAndTheDiskOfAHeadlessRun) {
  const SProgramResult result = test::RunOnTerminal(
      {pack, "--headless", "--set", "FAKE_DiskStop=2"}, "disk 66% (chunk 2 of 3)");
  EXPECT_TRUE(Has(result.err, "\033[Kframe ")) << result.err;
  EXPECT_TRUE(result.err.ends_with("\r\033[K")) << result.err;
  EXPECT_EQ(result.exitCode, 0);
}

TEST_F(CProgramSetup, ATerminalShowsTheDiskOfARunInAWindow) {
  const SProgramResult result =
      test::RunOnTerminal({pack, "--set", "FAKE_DiskStop=1"}, "disk 33% (chunk 1 of 3)");
  EXPECT_EQ(result.exitCode, 0) << result.err;
}

}  // namespace vx
