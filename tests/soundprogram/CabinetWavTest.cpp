// The cabinet's sound as a person gets it: the file that a run without a window writes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "base/Types.h"

namespace vx::test {
namespace {

struct SWave {
  u32 rate = 0;
  std::vector<i16> left, right;
};

SWave ReadWave(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<u8> bytes{std::istreambuf_iterator<char>(file), {}};
  constexpr size_t kHeaderBytes = 44, kRatePlace = 24;
  SWave wave;
  if (bytes.size() < kHeaderBytes) return wave;
  std::memcpy(&wave.rate, &bytes[kRatePlace], sizeof(wave.rate));
  for (size_t at = kHeaderBytes; at + 4 <= bytes.size(); at += 4) {
    wave.left.push_back(static_cast<i16>(bytes[at] | bytes[at + 1] << 8));
    wave.right.push_back(static_cast<i16>(bytes[at + 2] | bytes[at + 3] << 8));
  }
  return wave;
}

TEST(CabinetWav, LastsAsLongAsTheRunAndPlaysOnWithoutAGap) {
  constexpr u32 kFrames = 1500, kRateHz = 15625;
  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) / ("cabinet_wav_" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::string command = std::string(VX_PROGRAM) + " " VX_PACK " --headless --frames " +
                              std::to_string(kFrames) + " --wav " + (folder / "out.wav").string() +
                              " --cache-dir " + folder.string();
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
  const SWave wave = ReadWave((folder / "out.wav").string());
  std::filesystem::remove_all(folder);

  ASSERT_EQ(wave.rate, kRateHz);
  // What is short of the run: the start of the sound program, the half of its ring that is on its
  // way, and what is left of the host's last block.
  constexpr u32 kStart = 64, kHalfRing = 256, kHostBlock = kRateHz / 60;
  constexpr u32 kWhole = kRateHz * (kFrames / 60);
  EXPECT_LE(wave.left.size(), kWhole);
  EXPECT_GE(wave.left.size() + kStart + kHalfRing + kHostBlock, kWhole);
  EXPECT_TRUE(wave.left == wave.right);
  // From the title's first note on, no stretch of a fifth of a second is silent.
  const auto first =
      std::find_if(wave.left.begin(), wave.left.end(), [](i16 x) { return std::abs(x) > 500; });
  ASSERT_LT(first - wave.left.begin(), kRateHz * 15);
  u32 silent = 0, longest = 0;
  for (auto sample = first; sample != wave.left.end(); ++sample) {
    silent = std::abs(*sample) > 8 ? 0 : silent + 1;
    longest = std::max(longest, silent);
  }
  EXPECT_LT(longest, kRateHz / 5);
}

}  // namespace
}  // namespace vx::test
