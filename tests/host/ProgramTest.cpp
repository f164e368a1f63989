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

class CProgram : public testing::Test {
 protected:
  // A run that ends well.
  SProgramResult RunWell(std::vector<std::string> arguments,
                         const std::vector<std::string>& environment = {}) {
    arguments.insert(arguments.begin(), pack);
    const SProgramResult result = RunProgram(arguments, environment);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result;
  }
  void ExpectUsageError(const std::vector<std::string>& arguments, const std::string& words) {
    const SProgramResult result = RunProgram(arguments);
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  }

  std::string folder = test::TestFolder();
  std::string pack = test::STestPack().WriteAs("good.qilhard");
};

}  // namespace

TEST_F(CProgram, HelpListsTheExitCodes) {
  const SProgramResult result = RunProgram({"--help"});
  EXPECT_EQ(result.exitCode, 0);
  for (const char* words : {"--headless", "  4  the pack is truncated or damaged",
                            "  7  an output file or folder cannot be written"}) {
    EXPECT_NE(result.out.find(words), std::string::npos) << words;
  }
}

TEST_F(CProgram, MistakesInTheCommandLineEndWith1AndOneSentence) {
  ExpectUsageError({}, "PACK");
  ExpectUsageError({pack, "--no-such-option"}, "--no-such-option");
  ExpectUsageError({pack, "--frames", "-1"}, "--frames");
  ExpectUsageError({pack, "--frames", "0"}, "--frames");
  ExpectUsageError({pack, "--no-native", "--component", "x.so"}, "--no-native");
  ExpectUsageError({pack, "--frames", "many"}, "--frames");
  ExpectUsageError({pack, "--every", "5"}, "--every requires --png");
  ExpectUsageError({pack, "--headless", "--set", "FAKE_Clock=9"}, "FAKE_Clock takes 0 to 3");
  ExpectUsageError({pack, "--headless", "--set", "NoSuch=1"}, "there is no setting NoSuch");
}

TEST_F(CProgram, AHeadlessRunTellsWhatItWroteAndWhere) {
  const SProgramResult result =
      RunWell({"--headless", "--frames", "10", "--png", folder + "png", "--every", "4",
               "--hash-log", folder + "log", "--wav", folder + "sound.wav"});
  EXPECT_EQ(result.out, "10 frames run; 2 pictures in " + folder + "png/; hash log in " + folder +
                            "log; 0 sound samples in " + folder + "sound.wav\n");
  EXPECT_TRUE(fs::exists(folder + "png/frame_000004.png"));
  EXPECT_TRUE(fs::exists(folder + "png/frame_000008.png"));
  EXPECT_FALSE(fs::exists(folder + "png/frame_000001.png"));
  EXPECT_EQ(fs::file_size(folder + "sound.wav"), 44u);
}

TEST_F(CProgram, TwoRunsGiveTheSameHashLog) {
  RunWell({"--headless", "--frames", "20", "--hash-log", folder + "first"});
  RunWell({"--headless", "--frames", "20", "--hash-log", folder + "second"});
  const std::string first = test::ReadWholeFile(folder + "first");
  EXPECT_EQ(first, test::ReadWholeFile(folder + "second"));
  EXPECT_TRUE(first.starts_with("# frame state picture\n1 "));
  EXPECT_EQ(std::ranges::count(first, '\n'), 21);
  EXPECT_EQ(first.find('-'), std::string::npos);
}

TEST_F(CProgram, AFrameWithoutAPictureHasADashInTheHashLog) {
  RunWell(
      {"--headless", "--frames", "3", "--hash-log", folder + "log", "--set", "FAKE_BlindEvery=2"});
  std::istringstream log(test::ReadWholeFile(folder + "log"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(log, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_FALSE(lines[1].ends_with(" -"));
  EXPECT_TRUE(lines[2].ends_with(" -"));
  EXPECT_FALSE(lines[3].ends_with(" -"));
}

TEST_F(CProgram, SoundIsWrittenAtTheMachinesRate) {
  RunWell({"--headless", "--frames", "3", "--wav", folder + "sound.wav", "--set",
           "FAKE_SoundRate=24000"});
  const std::string bytes = test::ReadWholeFile(folder + "sound.wav");
  EXPECT_EQ(bytes.size(), 44u + 3 * 1000 * 2);
  EXPECT_EQ(static_cast<u8>(bytes[24]) | static_cast<u8>(bytes[25]) << 8, 24000);
}

TEST_F(CProgram, SecondsOfBoardTimeBecomeFrames) {
  EXPECT_EQ(RunWell({"--headless", "--seconds", "0.5"}).out, "30 frames run\n");
}

TEST_F(CProgram, AnUnthrottledRunTellsItsSpeed) {
  const std::string out = RunWell({"--headless", "--frames", "5", "--unthrottled"}).out;
  for (const char* words : {" frames/s, ", " times real time, ", " million guest cycles/s\n"}) {
    EXPECT_NE(out.find(words), std::string::npos) << out;
  }
}

TEST_F(CProgram, TheTimeToTheFirstFrameIsPrinted) {
  const std::string out = RunWell({"--headless", "--frames", "2", "--time-to-first-frame"}).out;
  EXPECT_TRUE(out.starts_with("first frame after ")) << out;
}

TEST_F(CProgram, AWindowRunEndsAfterItsFrames) {
  RunWell({"--frames", "3", "--scale", "1", "--hash-log", folder + "window"});
  RunWell({"--headless", "--frames", "3", "--hash-log", folder + "headless"});
  EXPECT_EQ(test::ReadWholeFile(folder + "window"), test::ReadWholeFile(folder + "headless"));
}

TEST_F(CProgram, AWindowRunPlaysSoundAndOutlivesAChangeOfRate) {
  RunWell({"--frames", "5", "--unthrottled", "--set", "FAKE_SoundRate=24000"});
}

TEST_F(CProgram, AWindowRunWithoutASoundDeviceSaysSoOnceAndPlaysOn) {
  const SProgramResult result = RunProgram({pack, "--frames", "5", "--set", "FAKE_SoundRate=24000"},
                                           {"SDL_AUDIODRIVER=none-such"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(result.err.starts_with("vxrun: there is no sound device (")) << result.err;
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
}

TEST_F(CProgram, AHeadlessRunAsksForNoSoundDevice) {
  const SProgramResult result =
      RunProgram({pack, "--headless", "--frames", "5", "--set", "FAKE_SoundRate=24000"},
                 {"SDL_AUDIODRIVER=none-such"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
}

TEST_F(CProgram, WithoutADisplayTheSentenceNamesTheWayOut) {
  const SProgramResult result = RunProgram({pack, "--frames", "3"}, {"SDL_VIDEODRIVER=none-such"});
  EXPECT_EQ(result.exitCode, 6);
  EXPECT_TRUE(result.err.starts_with("vxrun: there is no display for a window (")) << result.err;
  EXPECT_NE(result.err.find("--headless"), std::string::npos);
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
}

TEST_F(CProgram, AnUnreachableDisplayIsNotReplacedByAnInvisibleOne) {
  if (fs::exists("/dev/dri")) GTEST_SKIP() << "the bare console could show the window";
  const SProgramResult result = RunProgram(
      {pack, "--frames", "3"}, {"SDL_VIDEODRIVER=", "DISPLAY=:59999", "WAYLAND_DISPLAY=none-such"});
  EXPECT_EQ(result.exitCode, 6) << result.err;
}

TEST_F(CProgram, AComponentThatCannotBeLoadedEndsWith5) {
  for (const std::string& path :
       {folder + "none.so", pack, std::string(HOST_FAKE_FOLDER "host_fake_wrong_version.so")}) {
    const SProgramResult result = RunProgram({pack, "--headless", "--component", path});
    EXPECT_EQ(result.exitCode, 5) << result.err;
    EXPECT_TRUE(result.err.starts_with("vxrun: " + path + ": ")) << result.err;
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  }
}

TEST_F(CProgram, AnOutputThatCannotBeWrittenEndsWith7) {
  const std::vector<std::vector<std::string>> outputs = {
      {"--hash-log", folder + "none/log"}, {"--wav", folder + "none/sound.wav"}, {"--png", pack},
      {"--cache-dir", pack + "/cache"},    {"--hash-log", "/dev/full"},
  };
  for (const std::vector<std::string>& output : outputs) {
    std::vector<std::string> arguments = {pack, "--headless", "--frames", "3"};
    arguments.insert(arguments.end(), output.begin(), output.end());
    const SProgramResult result = RunProgram(arguments);
    EXPECT_EQ(result.exitCode, 7) << result.err;
    EXPECT_TRUE(result.err.starts_with("vxrun: " + output[1])) << result.err;
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
  }
}

TEST_F(CProgram, SettingsAreListedWithoutAPack) {
  const SProgramResult result = RunProgram({"--list-settings", "--set", "FAKE_Clock=3.0"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_NE(result.out.find("FAKE_Clock           = 3   (default 1; 0 to 3 (0 is \"0.5\""),
            std::string::npos)
      << result.out;
}

TEST_F(CProgram, WhatTheComponentSaysIsFilteredByLevel) {
  const std::vector<std::string> arguments = {pack, "--headless", "--frames",
                                              "2",  "--set",      "FAKE_Chatty=on"};
  EXPECT_EQ(RunProgram(arguments).err,
            "component warning: odd thing in \xE4\xB8\xAD\n"
            "component warning: odd thing in \xE4\xB8\xAD\n");
  std::vector<std::string> verbose = arguments;
  verbose.push_back("--verbose");
  EXPECT_NE(RunProgram(verbose).err.find("component information: frame 2\n"), std::string::npos);
}

}  // namespace vx
