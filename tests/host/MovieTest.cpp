#include "host/Movie.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <limits>

#include "host/HostError.h"
#include "host/MovieFile.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

constexpr SPackMark kPack{0x1234, 5678};
constexpr SConfigBlob kConfig{kConfigBlobVersion, 0, 60.0, ~u64{0}, 100, 0};

SMovieInput Pad(u32 bits) { return {{bits, 0}, {0, 0}, false}; }

class CMovieOfFile : public testing::Test {
 protected:
  CMovieOfFile() {
    SInputBinding table[kInputBindingCount] = {};
    table[0] = {7, 0x80, 0, 33, 7, 0};
    table[1] = {3, 0x8, 0, 1, 11, 0};
    table[12] = {12, 0, 0x1, 0, 0, 0};
    table[13] = {13, 0, 0x2, 0, 0, 0};
    controls_ = ListControls(table);
  }

  // What was held in each frame.
  static std::vector<SMovieInput> Unroll(const SMovie& movie) {
    std::vector<SMovieInput> inputs;
    for (CMoviePlayer player(movie); !player.HasEnded();) inputs.push_back(player.TakeFrame());
    return inputs;
  }

  std::string Record(const std::vector<SMovieInput>& inputs) {
    CMovieWriter writer(path, kPack, kConfig, {"A=1", "B=2"});
    u64 frame = 0;
    for (const SMovieInput& input : inputs) {
      ++frame;
      writer.Add(input, [&] { return frame * 1000; });
    }
    writer.Finish([&] { return frame * 1000; });
    return test::ReadWholeFile(path);
  }
  static std::vector<SMovieInput> SomeInputs(u32 frames) {
    std::vector<SMovieInput> inputs;
    for (u32 i = 0; i < frames; ++i) {
      SMovieInput input = Pad(i / 7 % 3);
      input.systemBits[1] = i / 50;
      input.bReset = i == 100 || i == 101;
      inputs.push_back(input);
    }
    return inputs;
  }

  SMovie Read(const std::string& bytes) {
    test::WriteFile("movie", {bytes.begin(), bytes.end()});
    return ReadMovie(path, controls_);
  }
  std::string RefusalOf(const std::string& bytes, EExitCode code) {
    try {
      Read(bytes);
      return "";
    } catch (const CHostError& error) {
      EXPECT_EQ(error.Code(), code) << error.what();
      const std::string sentence = error.what();
      EXPECT_TRUE(sentence.starts_with(path)) << sentence;
      return sentence.substr(path.size() + 1);
    }
  }
  std::string TextRefusalOf(const std::string& lines) {
    return RefusalOf("vxmovie text 1\n" + lines, EExitCode::Usage);
  }
  std::vector<SMovieInput> Written(const std::string& lines) {
    return Unroll(Read("vxmovie text 1\n" + lines));
  }

  std::string path = test::TestFolder() + "movie";

 private:
  std::vector<SControl> controls_;
};

}  // namespace

TEST_F(CMovieOfFile, WhatIsRecordedReadsBackFrameByFrame) {
  const std::vector<SMovieInput> inputs = SomeInputs(200);
  const SMovie movie = Read(Record(inputs));
  EXPECT_EQ(Unroll(movie), inputs);
  EXPECT_TRUE(movie.bWhole);
  EXPECT_EQ(movie.packHash, kPack.hash);
  EXPECT_EQ(movie.packBytes, kPack.bytes);
  ASSERT_TRUE(movie.config);
  EXPECT_EQ(movie.config->clockMHz, 100u);
  ASSERT_EQ(movie.settings.size(), 2u);
  EXPECT_EQ(movie.settings[1].assignment, "B=2");
}

TEST_F(CMovieOfFile, AStateIsRecordedEverySixtyFramesAndAtTheEnd) {
  const SMovie movie = Read(Record(SomeInputs(150)));
  std::vector<u64> frames;
  for (const SMovieCheck& check : movie.checks) {
    frames.push_back(check.frame);
    EXPECT_EQ(check.stateHash, check.frame * 1000);
  }
  EXPECT_EQ(frames, (std::vector<u64>{60, 120, 150}));
}

TEST_F(CMovieOfFile, AMovieThatEndsWithABlockHasNoEmptyOneBehindIt) {
  EXPECT_EQ(Read(Record(SomeInputs(120))).checks.size(), 2u);
}

TEST_F(CMovieOfFile, ThePlayerTellsTheRecordedStateAfterItsFrameOnly) {
  const SMovie movie = Read(Record(SomeInputs(130)));
  CMoviePlayer player(movie);
  for (u64 frame = 1; frame <= 130; ++frame) {
    player.TakeFrame();
    const bool bChecked = frame == 60 || frame == 120 || frame == 130;
    EXPECT_EQ(player.ExpectedHash(), bChecked ? std::optional<u64>(frame * 1000) : std::nullopt);
  }
  EXPECT_EQ(player.LastCheckedFrame(), 120u);
  EXPECT_EQ(player.CheckCount(), 3u);
}

TEST_F(CMovieOfFile, InputThatStaysTheSameTakesNoRoom) {
  const std::string changing = Record(SomeInputs(600));
  const std::string still = Record(std::vector<SMovieInput>(600));
  EXPECT_LT(still.size(), 700u);
  EXPECT_GT(changing.size(), still.size());
}

TEST_F(CMovieOfFile, ARecordingThatWasInterruptedIsAMovieUpToItsLastFullBlock) {
  CMovieWriter writer(path, kPack, kConfig, {});
  const std::vector<SMovieInput> inputs = SomeInputs(100);
  for (const SMovieInput& input : inputs) writer.Add(input, [] { return u64{1}; });
  const SMovie movie = Read(test::ReadWholeFile(path));
  EXPECT_FALSE(movie.bWhole);
  EXPECT_EQ(Unroll(movie), std::vector<SMovieInput>(inputs.begin(), inputs.begin() + 60));
}

TEST_F(CMovieOfFile, EveryTruncationIsRefusedOrAMovieOfWholeBlocks) {
  const std::string bytes = Record(SomeInputs(150));
  u32 shorter = 0;
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    SCOPED_TRACE(size);
    try {
      const SMovie movie = Read(bytes.substr(0, size));
      EXPECT_FALSE(movie.bWhole);
      EXPECT_EQ(movie.frames, movie.checks.back().frame);
      ++shorter;
    } catch (const CHostError& error) {
      EXPECT_EQ(error.Code(), EExitCode::MovieUnusable);
    }
  }
  EXPECT_EQ(shorter, 3u);  // behind each block
}

TEST_F(CMovieOfFile, EveryChangedByteIsRefused) {
  const std::string bytes = Record(SomeInputs(150));
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    SCOPED_TRACE(i);
    std::string changed = bytes;
    changed[i] = static_cast<char>(changed[i] ^ 0x41);
    EXPECT_NE(RefusalOf(changed, EExitCode::MovieUnusable), "");
  }
}

TEST_F(CMovieOfFile, ALostBlockOrOneTooManyIsRefused) {
  const std::string bytes = Record(std::vector<SMovieInput>(180));
  constexpr std::size_t kBlock = 16 + 20 + 8;
  const std::size_t first = bytes.size() - 4 * kBlock + 20;
  std::string lost = bytes;
  lost.erase(first, kBlock);
  EXPECT_NE(RefusalOf(lost, EExitCode::MovieUnusable), "");
  std::string twice = bytes;
  twice.insert(first, bytes.substr(first, kBlock));
  EXPECT_NE(RefusalOf(twice, EExitCode::MovieUnusable), "");
  EXPECT_EQ(RefusalOf(bytes + "x", EExitCode::MovieUnusable),
            " is damaged: something follows its end");
}

TEST_F(CMovieOfFile, RefusalsTellWhatIsWrong) {
  const std::string bytes = Record(SomeInputs(150));
  EXPECT_EQ(RefusalOf("", EExitCode::MovieUnusable), " is not an input movie");
  EXPECT_EQ(RefusalOf("vxmovie text 12\n", EExitCode::MovieUnusable), " is not an input movie");
  EXPECT_EQ(RefusalOf(bytes.substr(0, 40), EExitCode::MovieUnusable),
            " is truncated inside its header");
  EXPECT_EQ(RefusalOf(bytes.substr(0, bytes.size() - 30), EExitCode::MovieUnusable),
            " is truncated behind frame 120");
  std::string version = bytes;
  version[8] = 2;
  EXPECT_EQ(RefusalOf(version, EExitCode::MovieUnusable),
            " is an input movie of version 2; this program plays version 1");
  CMovieWriter(path, kPack, kConfig, {}).Finish([] { return u64{0}; });
  EXPECT_EQ(RefusalOf(test::ReadWholeFile(path), EExitCode::MovieUnusable), " holds no frames");
}

TEST_F(CMovieOfFile, ASpeedThatNoMachineCanRunAtIsRefused) {
  for (const f64 rate : {0.0, -60.0, 1e300, std::numeric_limits<f64>::quiet_NaN(),
                         std::numeric_limits<f64>::infinity()}) {
    SConfigBlob config = kConfig;
    config.frameRate = rate;
    EXPECT_FALSE(IsUsableConfig(config)) << rate;
    CMovieWriter writer(path, kPack, config, {});
    writer.Add({}, [] { return u64{0}; });
    writer.Finish([] { return u64{0}; });
    EXPECT_EQ(RefusalOf(test::ReadWholeFile(path), EExitCode::MovieUnusable),
              " is damaged: no machine can run at its speed");
  }
  SConfigBlob config = kConfig;
  config.clockMHz = 0;
  EXPECT_FALSE(IsUsableConfig(config));
  config = kConfig;
  config.extraReadTimeUs = 0x80000000;
  EXPECT_FALSE(IsUsableConfig(config));
  EXPECT_TRUE(IsUsableConfig(kConfig));
}

TEST_F(CMovieOfFile, AMovieIsPlayedWithItsOwnPackOnly) {
  const SMovie movie = Read(Record(SomeInputs(10)));
  EXPECT_NO_THROW(CheckMoviePack(movie, "pack", kPack));
  EXPECT_THROW(CheckMoviePack(movie, "pack", {kPack.hash + 1, kPack.bytes}), CHostError);
  EXPECT_THROW(CheckMoviePack(movie, "pack", {kPack.hash, kPack.bytes + 1}), CHostError);
}

TEST_F(CMovieOfFile, AFullDeviceIsToldByName) {
  try {
    CMovieWriter writer("/dev/full", kPack, kConfig, {});
    FAIL();
  } catch (const CHostError& error) {
    EXPECT_EQ(error.Code(), EExitCode::OutputFailed);
    EXPECT_TRUE(std::string(error.what()).starts_with("/dev/full: ")) << error.what();
  }
}

TEST_F(CMovieOfFile, ARecordingThatRunsOutOfRoomStaysAMovie) {
  constexpr rlim_t kRoomBytes = 80 + 44 + 30;  // header, a block, and a part of the next
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit narrow{kRoomBytes, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &narrow), 0);
  EXPECT_THROW(
      {
        CMovieWriter writer(path, kPack, kConfig, {});
        for (u32 i = 0; i < 120; ++i) writer.Add({}, [] { return u64{1}; });
      },
      CHostError);
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, oldHandler);
  const SMovie movie = Read(test::ReadWholeFile(path));
  EXPECT_FALSE(movie.bWhole);
  EXPECT_EQ(movie.frames, 60u);
}

TEST_F(CMovieOfFile, AWrittenMovieHoldsWhatIsNamedUntilTheNextLineOfThatGroup) {
  const auto inputs = Written("3 P1:UP,START SYS:COIN1\n+2 SYS:-\n7 P1:- P2:UP\nend 8\n");
  ASSERT_EQ(inputs.size(), 8u);
  const std::vector<u32> pads1 = {0, 0, 0x88, 0x88, 0x88, 0x88, 0, 0};
  const std::vector<u32> pads2 = {0, 0, 0, 0, 0, 0, 0x80, 0x80};
  const std::vector<u32> system = {0, 0, 1, 1, 0, 0, 0, 0};
  for (u32 i = 0; i < 8; ++i) {
    EXPECT_EQ(inputs[i].padBits[0], pads1[i]) << i;
    EXPECT_EQ(inputs[i].padBits[1], pads2[i]) << i;
    EXPECT_EQ(inputs[i].systemBits[0], system[i]) << i;
  }
}

TEST_F(CMovieOfFile, AGroupThatIsNamedAgainIsHeldAnew) {
  const auto inputs = Written("1 P1:UP\n2 P1:START\n");
  ASSERT_EQ(inputs.size(), 2u);
  EXPECT_EQ(inputs[1].padBits[0], 0x8u);
}

TEST_F(CMovieOfFile, AWrittenResetLastsOneFrame) {
  const auto inputs = Written("2 RESET P1:UP\nend +2\n");
  ASSERT_EQ(inputs.size(), 4u);
  EXPECT_FALSE(inputs[0].bReset);
  EXPECT_TRUE(inputs[1].bReset);
  EXPECT_FALSE(inputs[2].bReset);
  EXPECT_EQ(inputs[2].padBits[0], 0x80u);
}

TEST_F(CMovieOfFile, AWrittenMovieNamesItsPackAndSettings) {
  const SMovie movie = Read("vxmovie text 1\npack 0xAB\nset A=1\nset B=two\n1 P1:UP\n");
  EXPECT_EQ(movie.packHash, 0xABu);
  EXPECT_FALSE(movie.packBytes);
  EXPECT_FALSE(movie.config);
  ASSERT_EQ(movie.settings.size(), 2u);
  EXPECT_EQ(movie.settings[1].assignment, "B=two");
  EXPECT_EQ(movie.settings[1].origin, path + ":4: ");
  EXPECT_THROW(CheckMoviePack(movie, "pack", kPack), CHostError);
  EXPECT_NO_THROW(CheckMoviePack(movie, "pack", {0xAB, 99}));
}

TEST_F(CMovieOfFile, MistakesInAWrittenMovieAreToldWithTheirLine) {
  EXPECT_EQ(TextRefusalOf("# nothing\n"), "1: the movie has no frames");
  EXPECT_EQ(TextRefusalOf("later P1:UP\n"),
            "2: later is no frame; a line reads FRAME or +FRAMES, then what is held");
  EXPECT_EQ(TextRefusalOf("0 P1:UP\n"), "2: frames go from 1 to 1000000000");
  EXPECT_EQ(TextRefusalOf("1 P1:UP\n+4000000000 P1:UP\n"), "3: frames go from 1 to 1000000000");
  EXPECT_EQ(TextRefusalOf("5 P1:UP\n5 P1:-\n"),
            "3: the frame does not lie behind the one of the line above");
  EXPECT_EQ(TextRefusalOf("5\n"), "2: the frame is not followed by what is held from there on");
  EXPECT_EQ(TextRefusalOf("5 P1:DOWN\n"),
            "2: there is no control P1:DOWN; --list-controls shows them all");
  EXPECT_EQ(TextRefusalOf("5 P1:UP,,START\n"),
            "2: there is no control P1:; --list-controls shows them all");
  for (const char* word : {"P3:UP", "HOST:QUIT", "UP", ":", "P:UP", "reset"}) {
    EXPECT_EQ(
        TextRefusalOf(std::string("5 ") + word + "\n"),
        std::string("2: ") + word + " does not begin with P1:, P2: or SYS:, and is not RESET");
  }
  EXPECT_EQ(TextRefusalOf("5 P1:UP\nend 4\n"), "3: the end lies before the line above");
  EXPECT_EQ(TextRefusalOf("5 P1:UP\nend 9\n+1 P1:-\n"), "4: nothing may follow the end");
  EXPECT_EQ(TextRefusalOf("end\n"), "2: end is followed by the number of the last frame");
  EXPECT_EQ(TextRefusalOf("5 P1:UP\nset A=1\n"), "3: set stands before the first frame");
  EXPECT_EQ(TextRefusalOf("set A = 1\n"), "2: set is followed by one word");
  EXPECT_EQ(TextRefusalOf("pack 12\n"), "2: 12 is no hash of a pack; it reads 0x and digits");
}

}  // namespace vx
