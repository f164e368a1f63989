// The board's sound on its way into the queue of a device that a test drives.
#include "host/SoundFeed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <vector>

namespace vx {

namespace {

constexpr u32 kDeviceHz = 48000;
constexpr u32 kBoardHz = 31250;
constexpr u32 kBlockPairs = 520;
constexpr u32 kTargetPairs = static_cast<u32>(CSoundFeed::kTargetSeconds * kDeviceHz);

class CTestQueue : public CSoundQueue {
 public:
  u32 QueuedPairs() override { return static_cast<u32>(heard.size() / 2 - played); }
  void Queue(const i16* samples, u32 count) override {
    heard.insert(heard.end(), samples, samples + count);
  }
  void Clear() override { heard.resize(2 * played); }
  // The device takes this many pairs, or as many as there are.
  void Take(u32 pairs) { played += std::min<std::size_t>(pairs, QueuedPairs()); }

  std::vector<i16> heard;  // all that was ever queued
  std::size_t played = 0;  // pairs
};

class SoundFeed : public testing::Test {
 protected:
  void Play(u32 blocks = 1, ESoundPace pace = ESoundPace::RealTime, u32 rateHz = kBoardHz) {
    for (u32 block = 0; block < blocks; ++block) {
      std::vector<i16> samples;
      for (u32 i = 0; i < kBlockPairs; ++i) {
        const f64 angle = 2 * std::numbers::pi * 440 * static_cast<f64>(pair_++) / rateHz;
        samples.push_back(static_cast<i16>(std::lround(10000 * std::sin(angle))));
        samples.push_back(static_cast<i16>(-samples.back()));
      }
      feed.Play(samples.data(), static_cast<u32>(samples.size()), rateHz, pace);
    }
  }
  // What the device takes while the board makes a block.
  static u32 BlockAtDevice(f64 drift = 0) {
    return static_cast<u32>(std::lround(kBlockPairs * (1 + drift) * kDeviceHz / kBoardHz));
  }

  CTestQueue queue;
  CSoundFeed feed{queue, kDeviceHz};

 private:
  u64 pair_ = 0;
};

TEST_F(SoundFeed, TheFirstBlockHasTheTargetOfSilenceAhead) {
  Play();
  ASSERT_GT(queue.heard.size(), 2 * kTargetPairs);
  for (u32 i = 0; i < 2 * kTargetPairs; ++i) ASSERT_EQ(queue.heard[i], 0);
  EXPECT_EQ(feed.Gaps(), 1u);
}

TEST_F(SoundFeed, AMinuteOnADriftingDeviceIsOneUnbrokenTone) {
  // 440 Hz at 48 kHz bends by at most 33 a sample, which a seam or a gap would exceed by far.
  for (u32 frame = 0; frame < 3600; ++frame) {
    Play();
    queue.Take(BlockAtDevice(0.004));
  }
  EXPECT_EQ(feed.Gaps(), 1u);
  EXPECT_EQ(feed.Dropped(), 0u);
  const std::size_t start = 2 * (kTargetPairs + 500);
  for (std::size_t i = start; i + 4 < queue.heard.size(); i += 2) {
    const i32 bend = queue.heard[i] - 2 * queue.heard[i + 2] + queue.heard[i + 4];
    ASSERT_LE(std::abs(bend), 60) << i;
    ASSERT_NEAR(queue.heard[i], -queue.heard[i + 1], 2) << i;
  }
  EXPECT_NEAR(feed.Factor(), 1.004, 0.001);
}

TEST_F(SoundFeed, AQueueThatRanDryStartsWithSilenceAgain) {
  Play(3);
  queue.Take(1000000);
  const std::size_t before = queue.heard.size();
  Play();
  EXPECT_EQ(feed.Gaps(), 2u);
  for (u32 i = 0; i < 2 * kTargetPairs; ++i) ASSERT_EQ(queue.heard[before + i], 0);
}

TEST_F(SoundFeed, ADeviceThatTakesNothingIsNotFedBeyondTheLimit) {
  Play(100);
  EXPECT_LE(queue.QueuedPairs(), CSoundFeed::kLimitSeconds * kDeviceHz + BlockAtDevice() * 1.01);
  EXPECT_GT(feed.Dropped(), 80u);
}

TEST_F(SoundFeed, FastForwardKeepsTheQueueShortAndLearnsNothing) {
  for (u32 frame = 0; frame < 600; ++frame) {
    Play(1, ESoundPace::Free);
    if (frame % 8 == 7) queue.Take(BlockAtDevice());
  }
  EXPECT_LE(queue.QueuedPairs(), kTargetPairs + BlockAtDevice());
  EXPECT_EQ(feed.Factor(), 1.0);
  EXPECT_EQ(feed.Gaps(), 1u);
}

TEST_F(SoundFeed, MutingDropsWhatHasNotBeenHeardAndNothingFollows) {
  Play(3);
  feed.SetMuted(true);
  EXPECT_EQ(queue.QueuedPairs(), 0u);
  Play(3);
  EXPECT_EQ(queue.QueuedPairs(), 0u);
  feed.SetMuted(false);
  Play();
  EXPECT_GT(queue.QueuedPairs(), kTargetPairs);
}

TEST_F(SoundFeed, AnyRateOfTheBoardComesOutAtTheRateOfTheDevice) {
  for (const u32 rateHz : {8000u, 15625u, 31250u, 48000u, 96000u}) {
    CTestQueue other;
    CSoundFeed otherFeed(other, kDeviceHz);
    const std::vector<i16> second(rateHz * 2, 1000);
    for (u32 part = 0; part < 10; ++part) {
      otherFeed.Play(second.data() + part * second.size() / 10,
                     static_cast<u32>(second.size() / 10), rateHz, ESoundPace::RealTime);
      other.Take(kDeviceHz / 10);
    }
    EXPECT_NEAR(static_cast<f64>(other.heard.size()) / 2 - kTargetPairs, kDeviceHz,
                kDeviceHz * 0.02)
        << rateHz;
  }
}

TEST_F(SoundFeed, RatesThatNobodyHearsAndEmptyBlocksAreLeftOut) {
  Play(1, ESoundPace::RealTime, 1);
  Play(1, ESoundPace::RealTime, 0);
  const i16 one = 1;
  feed.Play(&one, 1, kBoardHz, ESoundPace::RealTime);
  feed.Play(nullptr, 0, kBoardHz, ESoundPace::RealTime);
  EXPECT_TRUE(queue.heard.empty());
}

TEST(Resampler, ARatioOfOneGivesTheBlockBackALittleLater) {
  CResampler resampler;
  std::vector<i16> in;
  for (i16 i = 0; i < 2000; ++i) in.insert(in.end(), {static_cast<i16>(i * 3), i});
  std::vector<i16> out;
  for (u32 part = 0; part < 4; ++part) {
    const std::vector<i16>& made = resampler.Convert(in.data() + part * 1000, 1000, 1.0);
    out.insert(out.end(), made.begin(), made.end());
  }
  ASSERT_GT(out.size(), 3600u);
  for (std::size_t i = 400; i < out.size(); ++i) ASSERT_NEAR(out[i], in[i], 2) << i;
}

TEST(Resampler, ForeignRatiosAreKeptWithinBounds) {
  CResampler resampler;
  const std::vector<i16> in(200, 1);
  EXPECT_LE(resampler.Convert(in.data(), 200, 1e9).size(), 2 * 100 * 64u + 256);
  EXPECT_LE(resampler.Convert(in.data(), 200, 1e-9).size(), 256u);
  EXPECT_TRUE(resampler.Convert(in.data(), 200, 0).empty());
  EXPECT_TRUE(resampler.Convert(in.data(), 200, std::nan("")).empty());
}

}  // namespace
}  // namespace vx
