// vxrun with the component and the open cabinet that this project builds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "host/Component.h"
#include "host/ControlNames.h"
#include "host/PackCheck.h"
#include "host/Session.h"
#include "tests/host/Program.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

using test::SProgramResult;

class CRealBoard : public testing::TestWithParam<const char*> {
 protected:
  static SProgramResult Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--component", HOST_COMPONENT});
    return test::RunProgram(arguments);
  }
  static std::string RunWell(const std::vector<std::string>& arguments) {
    const SProgramResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  static bool Has(const std::string& text, const std::string& words) {
    return text.find(words) != std::string::npos;
  }
  std::string WriteMovie(const std::string& lines) {
    const std::string text = "vxmovie text 1\n" + lines;
    return test::WriteFile("movie.txt", {text.begin(), text.end()});
  }

  std::string OtherLayout() const {
    std::string other = pack;
    char& letter = other[other.size() - std::string("a.qilhard").size()];
    letter = letter == 'a' ? 'b' : 'a';
    return other;
  }

  std::string folder = test::TestFolder();
  std::string pack = std::string(HOST_CABINETS) + GetParam();
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Cabinets, CRealBoard,
                         testing::Values("opencabinet_a.qilhard", "opencabinet_b.qilhard"));

TEST_P(CRealBoard, AMovieWithCoinsStartAndAResetPlaysAgainAsItWasRecorded) {
  const std::string written = WriteMovie(
      "20 SYS:COIN1\n+4 SYS:-\n+9 P1:START,B1 P2:LEFT\n+4 P1:- P2:-\n90 RESET\nend 150\n");
  const std::string recorded = folder + "recorded.vxm";
  RunWell({pack, "--headless", "--input", written, "--record-input", recorded, "--hash-log",
           folder + "a"});
  EXPECT_TRUE(Has(RunWell({pack, "--headless", "--input", recorded, "--hash-log", folder + "b"}),
                  ", 150 of 150 frames, 3 states as recorded\n"));
  EXPECT_EQ(test::ReadWholeFile(folder + "a"), test::ReadWholeFile(folder + "b"));
}

TEST_P(CRealBoard, ARandomStartIsPlayedAgainAsItWasRecorded) {
  const std::string recorded = folder + "recorded.vxm";
  RunWell({pack, "--headless", "--frames", "120", "--set", "VX_RandCycles=on", "--record-input",
           recorded});
  RunWell({pack, "--headless", "--input", recorded});
}

TEST_P(CRealBoard, ARandomStartThatTheMovieDoesNotHaveIsADesync) {
  const std::string recorded = folder + "recorded.vxm";
  RunWell({pack, "--headless", "--frames", "120", "--record-input", recorded});
  const SProgramResult result =
      Run({pack, "--headless", "--input", recorded, "--set", "VX_RandCycles=on"});
  EXPECT_EQ(result.exitCode, 9);
  EXPECT_TRUE(Has(result.err, " after frame 60; ")) << result.err;
}

TEST_P(CRealBoard, TheBlobOfAMovieDictatesClockRateAndSwitches) {
  const std::string recorded = folder + "recorded.vxm";
  RunWell({pack, "--headless", "--frames", "120", "--record-input", recorded, "--set",
           "VX_MIPSClock=2.0", "--set", "VX_MachTiming=1", "--set", "VX_DIPTest=1"});
  RunWell({pack, "--headless", "--input", recorded, "--set", "VX_MIPSClock=0.5", "--set",
           "VX_MachTiming=0", "--set", "VX_DIPTest=0"});
}

TEST_P(CRealBoard, AMovieOfTheOtherLayoutIsRefused) {
  const std::string recorded = folder + "recorded.vxm";
  RunWell({pack, "--headless", "--frames", "5", "--record-input", recorded});
  EXPECT_EQ(Run({OtherLayout(), "--headless", "--input", recorded}).exitCode, 10);
}

TEST_P(CRealBoard, RunAheadLeavesAGameAndItsSoundAsTheyAre) {
  const std::string movie =
      WriteMovie("20 SYS:COIN1\n+4 SYS:-\n+9 P1:START,B1\n+4 P1:-\nend 150\n");
  for (const char* ahead : {"0", "1", "3"}) {
    RunWell({pack, "--headless", "--input", movie, "--run-ahead", ahead, "--hash-log",
             folder + "log" + ahead, "--wav", folder + "wav" + ahead});
  }
  for (const char* ahead : {"1", "3"}) {
    EXPECT_EQ(test::ReadWholeFile(folder + "log0"), test::ReadWholeFile(folder + "log" + ahead));
    EXPECT_EQ(test::ReadWholeFile(folder + "wav0"), test::ReadWholeFile(folder + "wav" + ahead));
  }
}

TEST_P(CRealBoard, TheCabinetsWavLastsAsLongAsTheRunAndMusicIsInIt) {
  constexpr u32 kFrames = 420;
  RunWell({pack, "--headless", "--frames", std::to_string(kFrames), "--wav", folder + "wav"});
  const std::string bytes = test::ReadWholeFile(folder + "wav");
  ASSERT_GT(bytes.size(), 44u);
  u32 rateHz = 0;
  std::memcpy(&rateHz, &bytes[24], 4);
  std::vector<i16> values((bytes.size() - 44) / 2);
  std::memcpy(values.data(), &bytes[44], values.size() * 2);
  const f64 seconds = static_cast<f64>(values.size()) / 2 / rateHz;
  // The sound program takes a moment to start; the last block is under way.
  EXPECT_NEAR(seconds, kFrames / 60.0, 0.06);
  u32 silent = 0;
  for (std::size_t i = values.size() - rateHz; i < values.size(); ++i) {
    silent = std::abs(values[i]) < 8 ? silent + 1 : 0;
    ASSERT_LT(silent, rateHz / 5) << "there is a gap in the title's tune";
  }
}

TEST_P(CRealBoard, ARunGoesOnFromASavedStateAsTheOneThatSavedIt) {
  const std::string caches = folder + "caches";
  const auto run = [&](const std::string& name, std::vector<std::string> more) {
    more.insert(more.end(), {pack, "--headless", "--states", folder + "states", "--cache-dir",
                             caches + name, "--hash-log", folder + name});
    RunWell(more);
    return test::ReadWholeFile(folder + name);
  };
  const std::string whole = run("whole", {"--frames", "200"});
  run("first", {"--frames", "120", "--save-state", "7"});
  const std::string rest = run("rest", {"--frames", "80", "--load-state", "7"});
  // The second run counts its frames anew.
  std::string expected = "# frame state picture\n";
  for (u32 frame = 121; frame <= 200; ++frame) {
    const std::string number = "\n" + std::to_string(frame) + " ";
    const std::size_t at = whole.find(number) + number.size();
    expected += std::to_string(frame - 120) + " " + whole.substr(at, whole.find('\n', at) - at + 1);
  }
  EXPECT_EQ(rest, expected);
}

TEST_P(CRealBoard, AStateOfTheOtherLayoutOrOfAnotherClockIsRefused) {
  const std::string state = folder + "state";
  std::filesystem::remove(state);
  RunWell({pack, "--headless", "--frames", "5", "--save-state", state});
  EXPECT_EQ(
      Run({pack, "--headless", "--frames", "5", "--load-state", state, "--set", "VX_MIPSClock=2.0"})
          .exitCode,
      11);
  EXPECT_EQ(Run({OtherLayout(), "--headless", "--frames", "5", "--load-state", state}).exitCode,
            11);
}

TEST_P(CRealBoard, TheDisksProgressReachesItsEnd) {
  const CComponent component(HOST_COMPONENT);
  const SPackInfo info = CheckPack(pack, PhysicalMemoryBytes());
  ASSERT_GT(info.deflatedChunkCount, 0u);
  CSession session(component, {});
  session.Start(pack, info);
  const SInputRecord records[kHostPlayers];
  for (u32 last = 0; !session.DiskProgress().IsComplete();) {
    session.RunFrame(records, kHostPlayers);
    const u32 done = session.DiskProgress().chunksDone;
    ASSERT_GE(done, last);
    last = done;
  }
  EXPECT_EQ(session.DiskProgress().chunkCount, info.deflatedChunkCount);
}

TEST_P(CRealBoard, EveryControlOfTheBoardIsListedAndItsDefaultsAreAFile) {
  const std::string list = RunWell({"--list-controls"});
  for (const char* name :
       {"P1:UP", "P1:B1", "P1:B6", "P1:SELECT", "P2:START", "P2:RIGHT", "SYS:COIN1", "SYS:COIN4",
        "SYS:TEST", "SYS:TILT", "SYS:VOLUME+", "P1:EXTRA9", "HOST:MUTE"}) {
    EXPECT_TRUE(Has(list, std::string("\n") + name + " ")) << name;
  }
  test::WriteFile("list", {list.begin(), list.end()});
  EXPECT_EQ(RunWell({"--list-controls", "--controls", folder + "list"}), list);
}

TEST_P(CRealBoard, SavedSettingsSurvive) {
  RunWell({"--save-settings", "--set", "VX_DIPCoinSet=5", "--set", "VX_MIPSClock=3.0"});
  const std::string list = RunWell({"--list-settings"});
  EXPECT_TRUE(Has(list, "VX_DIPCoinSet        = 5 ")) << list;
  EXPECT_TRUE(Has(list, "VX_MIPSClock         = 3 ")) << list;
}

}  // namespace vx
