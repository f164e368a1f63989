// Input movies as a person at the command line meets them.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "tests/host/Program.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

namespace fs = std::filesystem;
using test::RunProgram;
using test::SProgramResult;

class CProgramMovie : public testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& text) {
    return test::WriteFile(name, {text.begin(), text.end()});
  }
  std::string WriteMovie(const std::string& lines) {
    return Write("movie.txt", "vxmovie text 1\n" + lines);
  }
  SProgramResult Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {pack, "--headless"});
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

  std::string folder = test::TestFolder();
  std::string pack = test::STestPack().WriteAs("good.qilhard");
  std::string recorded = folder + "recorded.vxm";
};

constexpr const char* kShortMovie = "10 P1:START\n+5 P1:- SYS:COIN1\n40 RESET\nend 130\n";

}  // namespace

TEST_F(CProgramMovie, AMovieThatIsCopiedAndPlayedGivesTheSameHashLog) {
  const std::string written = WriteMovie(kShortMovie);
  EXPECT_EQ(RunWell({"--input", written, "--record-input", recorded, "--hash-log", folder + "a"}),
            "130 frames run; hash log in " + folder + "a; input from " + written +
                ", 130 of 130 frames; input of 130 frames in " + recorded + "\n");
  EXPECT_EQ(RunWell({"--input", recorded, "--hash-log", folder + "b"}),
            "130 frames run; hash log in " + folder + "b; input from " + recorded +
                ", 130 of 130 frames, 3 states as recorded\n");
  const std::string log = test::ReadWholeFile(folder + "a");
  EXPECT_EQ(log, test::ReadWholeFile(folder + "b"));
  RunWell({"--frames", "130", "--hash-log", folder + "c"});
  EXPECT_NE(log, test::ReadWholeFile(folder + "c"));
}

TEST_F(CProgramMovie, AMoviePlaysInAWindowAsItDoesHeadless) {
  RunWell({"--input", WriteMovie(kShortMovie), "--record-input", recorded});
  const SProgramResult result = RunProgram({pack, "--unthrottled", "--input", recorded});
  EXPECT_EQ(result.exitCode, 0) << result.err;
}

TEST_F(CProgramMovie, ADesyncEndsWith9AndNamesItsFrame) {
  RunWell({"--frames", "200", "--record-input", recorded});
  ExpectSentence(Run({"--input", recorded, "--set", "FAKE_DriftFrom=61"}), 9,
                 recorded +
                     ": the machine is not in the recorded state after frame 120; it last "
                     "was after frame 60");
  ExpectSentence(Run({"--input", recorded, "--set", "FAKE_DriftFrom=1"}), 9,
                 recorded +
                     ": the machine is not in the recorded state after frame 60; no state "
                     "matched before");
}

TEST_F(CProgramMovie, ADesyncLeavesTheOutputsComplete) {
  RunWell({"--frames", "200", "--record-input", recorded});
  Run({"--input", recorded, "--set", "FAKE_DriftFrom=61", "--hash-log", folder + "log"});
  const std::string log = test::ReadWholeFile(folder + "log");
  EXPECT_EQ(std::ranges::count(log, '\n'), 121);
}

TEST_F(CProgramMovie, AMovieForAnotherPackIsRefused) {
  RunWell({"--frames", "5", "--record-input", recorded});
  test::STestPack other;
  other.directory.roms[0].hash = 0x1000;
  const std::string otherPath = other.WriteAs("other.qilhard");
  const SProgramResult result = RunProgram({otherPath, "--headless", "--input", recorded});
  ExpectSentence(result, 10,
                 recorded + ": was made with another pack (0x000000000000000b) than " + otherPath +
                     " (0x000000000000100a)");
}

TEST_F(CProgramMovie, MoviesThatCannotBePlayedAreToldInOneSentence) {
  RunWell({"--frames", "100", "--record-input", recorded});
  const std::string bytes = test::ReadWholeFile(recorded);
  const std::string cut = Write("cut", bytes.substr(0, bytes.size() - 30));
  ExpectSentence(Run({"--input", cut}), 10, cut + ": is truncated behind frame 60");
  const std::string other = Write("other", "just a text\n");
  ExpectSentence(Run({"--input", other}), 10, other + ": is not an input movie");
  ExpectSentence(Run({"--input", folder + "none"}), 2, folder + "none: there is no such file");
  const std::string wrong = WriteMovie("1 P1:FLY\n");
  ExpectSentence(Run({"--input", wrong}), 1,
                 wrong + ":2: there is no control P1:FLY; --list-controls shows them all");
  const std::string setting = WriteMovie("set FAKE_Clock=9\n1 P1:UP\n");
  EXPECT_EQ(Run({"--input", setting}).exitCode, 1);
}

TEST_F(CProgramMovie, TheSettingsOfAMovieHoldWhileItPlays) {
  RunWell({"--save-settings", "--settings", folder + "own.conf", "--frames", "1"});
  RunWell({"--frames", "60", "--set", "FAKE_Clock=3", "--record-input", recorded});
  // The clock is part of the state; the blob dictates it whatever the settings say.
  RunWell({"--input", recorded});
  RunWell({"--input", recorded, "--set", "FAKE_Clock=0"});
  const std::string written = WriteMovie("set FAKE_Clock=3\nend 60\n");
  RunWell({"--input", written, "--record-input", folder + "copy.vxm"});
  EXPECT_EQ(test::ReadWholeFile(recorded), test::ReadWholeFile(folder + "copy.vxm"));
}

TEST_F(CProgramMovie, TheUsersSettingsDoNotReachAMovie) {
  RunWell({"--save-settings", "--set", "FAKE_Clock=0", "--frames", "1"});
  const std::string written = WriteMovie("end 60\n");
  RunWell({"--input", written, "--record-input", recorded});
  fs::remove_all(folder + "config");
  RunWell({"--input", written, "--record-input", folder + "copy.vxm"});
  EXPECT_EQ(test::ReadWholeFile(recorded), test::ReadWholeFile(folder + "copy.vxm"));
}

TEST_F(CProgramMovie, ARunWithAMovieHasTheBoardsClock) {
  RunWell({"--frames", "120", "--set", "FAKE_ClockCounts=1", "--record-input", recorded});
  RunWell({"--input", recorded});
}

TEST_F(CProgramMovie, TheBoardsClockMovesByOneFramesTimeAFrame) {
  const SProgramResult result =
      Run({"--input", WriteMovie("set FAKE_ClockCounts=1\nend 3\n"), "--verbose"});
  EXPECT_NE(result.err.find("clock at 1016.7 ms\ncomponent information: clock at 1033.3 ms\n"
                            "component information: clock at 1050.0 ms\n"),
            std::string::npos)
      << result.err;
}

TEST_F(CProgramMovie, ARunWithAMovieKeepsNothingUnlessAFolderIsNamed) {
  RunWell({"--frames", "1"});
  fs::remove_all(folder + "cache");
  RunWell({"--input", WriteMovie("end 3\n")});
  EXPECT_FALSE(fs::exists(folder + "cache"));
}

TEST_F(CProgramMovie, MoreFramesThanTheMovieHasRunWithoutInput) {
  EXPECT_EQ(RunWell({"--input", WriteMovie("end 3\n"), "--frames", "5"}),
            "5 frames run; input from " + folder + "movie.txt, 3 of 3 frames\n");
  EXPECT_EQ(RunWell({"--input", WriteMovie("end 9\n"), "--frames", "5"}),
            "5 frames run; input from " + folder + "movie.txt, 5 of 9 frames\n");
}

TEST_F(CProgramMovie, AnInterruptedRecordingIsComplete) {
  const SProgramResult result =
      test::RunOnTerminal({pack, "--headless", "--record-input", recorded}, "frame ", SIGINT);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(RunWell({"--input", recorded}).find("interrupted"), std::string::npos);
}

TEST_F(CProgramMovie, AKilledRecordingPlaysUpToItsLastFullSecond) {
  const SProgramResult result =
      test::RunOnTerminal({pack, "--headless", "--record-input", recorded}, "frame ", SIGKILL);
  EXPECT_EQ(result.signal, SIGKILL);
  const std::string out = RunWell({"--input", recorded});
  EXPECT_NE(out.find(" (its recording was interrupted), "), std::string::npos) << out;
}

TEST_F(CProgramMovie, ARecordingDoesNotWriteOverWhatTheRunReads) {
  const std::string written = WriteMovie("end 3\n");
  ExpectSentence(Run({"--input", written, "--record-input", written}), 1,
                 "--record-input " + written + ": would write over " + written);
  ExpectSentence(Run({"--record-input", pack}), 1,
                 "--record-input " + pack + ": would write over " + pack);
  EXPECT_EQ(test::ReadWholeFile(written), "vxmovie text 1\nend 3\n");
}

TEST_F(CProgramMovie, ARecordingThatCannotBeWrittenEndsWith7) {
  for (const std::string& path : {folder + "none/movie", std::string("/dev/full")}) {
    const SProgramResult result = Run({"--frames", "3", "--record-input", path});
    EXPECT_EQ(result.exitCode, 7) << result.err;
    EXPECT_TRUE(result.err.starts_with("vxrun: " + path + ": ")) << result.err;
  }
}

TEST_F(CProgramMovie, SettingsFilesAndMoviesDoNotGoTogether) {
  const std::string written = WriteMovie("end 3\n");
  EXPECT_EQ(Run({"--input", written, "--settings", folder + "own.conf"}).exitCode, 1);
  EXPECT_EQ(Run({"--input", written, "--save-settings"}).exitCode, 1);
}

}  // namespace vx
