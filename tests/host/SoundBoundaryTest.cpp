// Sound through the two exports: a small sound program on the board, and what a host gets of it.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "host/Component.h"
#include "host/ControlNames.h"
#include "host/PackCheck.h"
#include "host/Session.h"
#include "tests/support/GuestCode.h"
#include "tests/support/TestPack.h"
#include "tests/tools/RunTool.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {

namespace {

constexpr u32 kFrames = 40;
constexpr u32 kRateHz = 31250;

// Sends a ring of 64 words over the serial port at 31250 Hz, into which it writes a rising number.
std::vector<u8> CountingRom() {
  const auto index = [](u32 i, u32 value) { return 0x380000 | value << 4 | i; };
  const auto store = [](u32 address, u32 r) { return 0x900000 | address << 4 | r; };
  const auto load = [](u32 r, u32 value) { return 0x400000 | value << 4 | r; };
  // clang-format off
  std::vector<u32> words = {
      index(11, 64), index(3, 0x3800), index(4, 1),  // L7, I7, M4 = 1
      index(8, 64), index(0, 0x3800),                // L4, I4
      load(0, 9), store(0x3FF1, 0),                  // divisor: 32 microseconds a sample
      load(0, 0x4000), store(0x3FF2, 0),             // internal clock
      load(0, 0x0E02), store(0x3FEF, 0),             // I7, M4, transmit
      load(0, 0x0800), store(0x3FFF, 0),             // port enable
      0x0D0CB0,                                      // TX1: start
      load(4, 1), load(10, 0),                       // AY0 = 1, AR = 0
  };
  // clang-format on
  const u32 loop = static_cast<u32>(words.size());
  words.push_back(0x22620F);  // AR = AR + AY0
  words.push_back(0x7800A0);  // DM(I4,M4) = AR
  words.push_back(0x18000F | loop << 4);
  std::vector<u8> rom(4 * words.size());
  for (u32 i = 0; i < words.size(); ++i) {
    rom[4 * i] = static_cast<u8>(words[i] >> 16);
    rom[4 * i + 1] = static_cast<u8>(words[i] >> 8);
    rom[4 * i + 2] = static_cast<u8>(words[i]);
  }
  rom[3] = static_cast<u8>((words.size() + 7) / 8 - 1);
  return rom;
}

class SoundThroughTheBoundary : public testing::Test {
 protected:
  SoundThroughTheBoundary() {
    SPackContent content = PackOfCode(CGuestCode().Rest().Words());
    content.soundRoms[0] = CountingRom();
    folder.Write("sound.qilhard", CTestPack(content).Bytes());
    packPath = (folder / "sound.qilhard").string();
  }

  // What a host receives in its callback, block by block.
  std::vector<std::vector<i16>> ReceiveBlocks(u32 frames) const {
    std::vector<std::vector<i16>> blocks;
    const CComponent component(HOST_COMPONENT);
    CSession session(
        component,
        {.wantsPicture = {}, .onPicture = {}, .onSound = [&](const i16* samples, u32 count) {
           blocks.emplace_back(samples, samples + count);
         }});
    session.Start(packPath, CheckPack(packPath, PhysicalMemoryBytes()));
    const SInputRecord records[kHostPlayers];
    for (u32 i = 0; i < frames; ++i) session.RunFrame(records, kHostPlayers);
    EXPECT_EQ(session.SampleRate(), kRateHz);
    return blocks;
  }
  // The values of the WAV that a headless run writes; its header is checked.
  std::vector<i16> RunToWav(std::vector<std::string> arguments) const {
    const std::string path = (folder / "sound.wav").string();
    arguments.insert(arguments.end(), {packPath, "--headless", "--wav", path, "--component",
                                       HOST_COMPONENT, "--cache-dir", (folder / "cache").string()});
    const SToolRun run = RunTool(HOST_VXRUN, arguments);
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_EQ(run.errors, "");
    const std::vector<u8> bytes = ReadWhole(path);
    u32 rateHz = 0;
    u32 dataBytes = 0;
    if (bytes.size() < 44) return {};
    std::memcpy(&rateHz, &bytes[24], 4);
    std::memcpy(&dataBytes, &bytes[40], 4);
    EXPECT_EQ(rateHz, kRateHz);
    EXPECT_EQ(dataBytes, bytes.size() - 44);
    std::vector<i16> values(dataBytes / 2);
    std::memcpy(values.data(), &bytes[44], dataBytes);
    return values;
  }

  CTestFolder folder;
  std::string packPath;
};

TEST_F(SoundThroughTheBoundary, TheWavIsBlockByBlockWhatTheHostReceives) {
  const std::vector<std::vector<i16>> blocks = ReceiveBlocks(kFrames);
  const std::vector<i16> wav = RunToWav({"--frames", std::to_string(kFrames)});
  ASSERT_GT(blocks.size(), kFrames - 4);
  std::size_t at = 0;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    ASSERT_LE(at + blocks[i].size(), wav.size());
    EXPECT_TRUE(std::equal(blocks[i].begin(), blocks[i].end(), wav.begin() + std::ptrdiff_t(at)))
        << "block " << i;
    at += blocks[i].size();
  }
  EXPECT_EQ(at, wav.size());
}

TEST_F(SoundThroughTheBoundary, TheWavLastsAsLongAsTheBoardRan) {
  const std::vector<i16> wav = RunToWav({"--seconds", "1"});
  constexpr f64 kBlockPairs = kRateHz / 60.0;
  // One block is under way when the run ends; the program takes a moment to start.
  EXPECT_NEAR(static_cast<f64>(wav.size()) / 2, 1.0 * kRateHz, 2 * kBlockPairs);
}

TEST_F(SoundThroughTheBoundary, EveryPairCarriesBothChannelsAndThereIsNoGap) {
  const std::vector<i16> wav = RunToWav({"--frames", std::to_string(kFrames)});
  ASSERT_GT(wav.size(), 4000u);
  u32 same = 0;
  u32 longest = 0;
  for (std::size_t i = 2000; i + 1 < wav.size(); i += 2) {
    ASSERT_EQ(wav[i], wav[i + 1]);
    same = wav[i] == wav[i - 2] ? same + 1 : 0;
    longest = std::max(longest, same);
  }
  EXPECT_LT(longest, 4u);
}

TEST_F(SoundThroughTheBoundary, TwoRunsAndTheHostsPannerGiveTheSameBytesWithoutClones) {
  const std::vector<std::string> frames = {"--frames", std::to_string(kFrames)};
  const std::vector<i16> first = RunToWav(frames);
  EXPECT_EQ(RunToWav(frames), first);
  EXPECT_EQ(RunToWav({"--frames", std::to_string(kFrames), "--spatial"}), first);
}

}  // namespace
}  // namespace vx::test
