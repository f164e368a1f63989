// Saved states as a person at the command line meets them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/host/Program.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

namespace fs = std::filesystem;
using test::RunProgram;
using test::SProgramResult;

class CProgramState : public testing::Test {
 protected:
  void SetUp() override { fs::remove_all(states); }

  SProgramResult Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {pack, "--headless", "--states", states});
    return RunProgram(arguments);
  }
  std::string RunWell(const std::vector<std::string>& arguments) {
    const SProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  void ExpectSentence(const SProgramResult& result, int exitCode, const std::string& text) {
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    EXPECT_EQ(result.err, "vxrun: " + text + "\n");
  }
  // The state hashes of a log, one a frame.
  static std::vector<std::string> States(const std::string& path) {
    std::istringstream log(test::ReadWholeFile(path));
    std::vector<std::string> hashes;
    std::string line;
    std::getline(log, line);
    while (std::getline(log, line)) {
      const std::size_t first = line.find(' ') + 1;
      hashes.push_back(line.substr(first, 16));
    }
    return hashes;
  }

  std::string folder = test::TestFolder();
  std::string states = folder + "states/";
  std::string slot3 = states + "good.3.vxstate";
  std::string pack = test::STestPack().WriteAs("good.qilhard");
};

}  // namespace

TEST_F(CProgramState, ARunGoesOnFromASlotAsTheRunThatSavedIt) {
  RunWell({"--frames", "30", "--hash-log", folder + "whole"});
  EXPECT_EQ(RunWell({"--frames", "10", "--save-state", "3"}),
            "10 frames run; state in " + slot3 + "\n");
  RunWell({"--frames", "20", "--load-state", "3", "--hash-log", folder + "rest"});
  const std::vector<std::string> whole = States(folder + "whole");
  const std::vector<std::string> rest = States(folder + "rest");
  ASSERT_EQ(rest.size(), 20u);
  EXPECT_TRUE(std::equal(rest.begin(), rest.end(), whole.begin() + 10));
}

TEST_F(CProgramState, AStateMayBeAFileAnywhere) {
  RunWell({"--frames", "10", "--save-state", folder + "mine"});
  RunWell({"--frames", "2", "--load-state", folder + "mine"});
}

TEST_F(CProgramState, AStateOfOtherSettingsIsRefusedWithTheirNames) {
  RunWell({"--frames", "10", "--save-state", "3", "--set", "FAKE_Clock=2.0"});
  ExpectSentence(Run({"--frames", "2", "--load-state", "3"}), 11,
                 slot3 + ": was saved with other settings: FAKE_Clock=2");
  RunWell({"--frames", "2", "--load-state", "3", "--set", "FAKE_Clock=2.0"});
}

TEST_F(CProgramState, AStateOfAnotherPackIsRefused) {
  RunWell({"--frames", "10", "--save-state", "3"});
  test::STestPack other;
  other.directory.roms[2].hash ^= 1;
  pack = other.WriteAs("good.qilhard");
  ExpectSentence(Run({"--frames", "2", "--load-state", "3"}), 11,
                 slot3 + ": was saved with another pack");
}

TEST_F(CProgramState, ADamagedStateIsRefused) {
  RunWell({"--frames", "10", "--save-state", "3"});
  fs::resize_file(slot3, fs::file_size(slot3) / 2);
  ExpectSentence(Run({"--frames", "2", "--load-state", "3"}), 11, slot3 + ": is truncated");
}

TEST_F(CProgramState, AFileThatIsMissingOrNoStateIsTold) {
  ExpectSentence(Run({"--frames", "2", "--load-state", "4"}), 2,
                 states + "good.4.vxstate: there is no such file");
  ExpectSentence(Run({"--frames", "2", "--load-state", pack}), 11, pack + ": is no saved state");
}

TEST_F(CProgramState, ThePackIsNotWrittenOver) {
  const std::string before = test::ReadWholeFile(pack);
  ExpectSentence(Run({"--frames", "2", "--save-state", pack}), 7,
                 pack + ": is no saved state, and is not written over");
  EXPECT_EQ(test::ReadWholeFile(pack), before);
}

TEST_F(CProgramState, APlaceThatCannotBeWrittenEndsWith7) {
  const SProgramResult result = Run({"--frames", "2", "--save-state", folder + "none/x"});
  EXPECT_EQ(result.exitCode, 7);
  EXPECT_TRUE(result.err.starts_with("vxrun: " + folder + "none/x")) << result.err;
}

TEST_F(CProgramState, StatesAndMoviesDoNotGoTogetherFromTheStart) {
  EXPECT_EQ(Run({"--load-state", "3", "--record-input", folder + "m"}).exitCode, 1);
  EXPECT_EQ(Run({"--load-state", "3", "--input", folder + "m"}).exitCode, 1);
  RunWell({"--frames", "5", "--record-input", folder + "m", "--save-state", "3"});
  RunWell({"--frames", "5", "--load-state", "3"});
}

TEST_F(CProgramState, TheSlotsAreListed) {
  RunWell({"--frames", "12", "--save-state", "3"});
  const std::string list = RunWell({"--list-states"});
  EXPECT_TRUE(list.starts_with("0  empty\n")) << list;
  EXPECT_NE(list.find(", frame 12\n4  empty\n"), std::string::npos) << list;
  EXPECT_EQ(std::ranges::count(list, '\n'), 10);
  EXPECT_NE(RunWell({"--list-states", "--set", "FAKE_Clock=2.0"})
                .find(", frame 12; was saved with other settings"),
            std::string::npos);
}

TEST_F(CProgramState, RunAheadChangesNothingThatCounts) {
  const std::vector<std::string> plain = {"--frames", "40", "--set", "FAKE_SoundRate=24000"};
  const auto run = [&](const std::string& name, const std::vector<std::string>& more) {
    std::vector<std::string> arguments = plain;
    arguments.insert(arguments.end(),
                     {"--hash-log", folder + name, "--wav", folder + name + ".wav"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    RunWell(arguments);
  };
  run("plain", {});
  run("ahead", {"--run-ahead", "2"});
  EXPECT_EQ(test::ReadWholeFile(folder + "plain"), test::ReadWholeFile(folder + "ahead"));
  EXPECT_EQ(test::ReadWholeFile(folder + "plain.wav"), test::ReadWholeFile(folder + "ahead.wav"));
}

TEST_F(CProgramState, AWindowWithRewindAndRunAheadRunsTheSameGame) {
  RunWell({"--frames", "20", "--hash-log", folder + "plain"});
  for (const std::vector<std::string>& more :
       {std::vector<std::string>{"--run-ahead", "1"}, {"--rewind", "0"}, {"--rewind", "5"}}) {
    std::vector<std::string> arguments = {pack, "--states",   states,           "--frames",
                                          "20", "--hash-log", folder + "window"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const SProgramResult result = RunProgram(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(test::ReadWholeFile(folder + "plain"), test::ReadWholeFile(folder + "window"));
  }
}

TEST_F(CProgramState, RunAheadPlaysAMovieAsItWasRecorded) {
  RunWell({"--frames", "130", "--record-input", folder + "m", "--run-ahead", "1"});
  RunWell({"--input", folder + "m", "--run-ahead", "3"});
  RunWell({"--input", folder + "m"});
}

}  // namespace vx
