#include "host/SpatialPanner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace vx {

namespace {

constexpr f32 kLevel = 0.75f;
constexpr u32 kTailValues = 2 * CSpatialPanner::kTailPairs;

SSpatialGains At(f32 x, f32 y, f32 z, f32 range = 100, const SSpatialListener& listener = {}) {
  const f32 position[3] = {x, y, z};
  return PanGains(listener, position, range, kLevel);
}

f64 Power(const SSpatialGains& gains) {
  return std::hypot(static_cast<f64>(gains.left), static_cast<f64>(gains.right)) / 32768;
}

// One source, a frame at a time; a frame's values with its echo behind them.
class SpatialPanner : public testing::Test {
 protected:
  SpatialPanner() : source(panner.Create()) {}
  ~SpatialPanner() override { panner.Destroy(source); }

  std::vector<i16> Frame(const std::vector<i16>& samples, f32 x = 0) {
    MeetListener();
    const f32 position[3] = {x, 0, 0};
    panner.Place(source, position, 100, kLevel);
    const u32 pairs = static_cast<u32>(samples.size());
    std::vector<i16> out(2 * pairs + CSpatialPanner::kBlockValues, 77);
    const u32 tail = panner.Render(out.data(), source, samples.data(), pairs);
    EXPECT_EQ(tail, kTailValues);
    out.resize(2 * pairs + tail);
    return out;
  }
  // A frame in which the source is not heard.
  void MeetListener() {
    f32 position[3] = {0, 0, 0}, forward[3] = {0, 0, 1}, right[3] = {1, 0, 0}, up[3] = {0, 1, 0};
    panner.MeetListener(position, forward, right, up);
  }

  CSpatialPanner panner;
  CSpatialSource* source;
};

TEST(PanGains, ASourceAtTheListenerHasTheLevelOnBothEars) {
  const SSpatialGains gains = At(0, 0, 0);
  EXPECT_EQ(gains.left, gains.right);
  EXPECT_NEAR(Power(gains), kLevel, 0.0001);
}

TEST(PanGains, ASourceToOneSideIsOnThatEarAlone) {
  EXPECT_EQ(At(1, 0, 0).left, 0);
  EXPECT_GT(At(1, 0, 0).right, 0);
  EXPECT_EQ(At(-1, 0, 0).right, 0);
  EXPECT_EQ(At(-1, 0, 0).left, At(1, 0, 0).right);
}

TEST(PanGains, ThePowerDoesNotDependOnTheDirection) {
  for (u32 degrees = 0; degrees < 360; degrees += 15) {
    const f32 angle = static_cast<f32>(degrees) * 0.017453293f;
    EXPECT_NEAR(Power(At(50 * std::cos(angle), 0, 50 * std::sin(angle))), kLevel * 0.25, 0.0002);
  }
}

TEST(PanGains, TheGainFallsWithTheSquareOfWhatIsLeftOfTheRange) {
  EXPECT_NEAR(Power(At(0, 0, 25)), kLevel * 0.5625, 0.0001);
  EXPECT_NEAR(Power(At(0, 0, 90)), kLevel * 0.01, 0.0001);
  EXPECT_EQ(At(0, 0, 100), SSpatialGains{});
  EXPECT_EQ(At(0, 0, 1e6), SSpatialGains{});
}

TEST(PanGains, ARangeOfZeroReachesEverywhere) {
  EXPECT_NEAR(Power(At(0, 0, 1e6, 0)), kLevel, 0.0001);
}

TEST(PanGains, TheListenersPlaceAndTurnCount) {
  SSpatialListener listener;
  listener.position[0] = 10;
  EXPECT_EQ(At(11, 0, 0, 100, listener), At(1, 0, 0));
  listener.right[0] = -1;
  EXPECT_EQ(At(9, 0, 0, 100, listener), At(1, 0, 0));
}

TEST(PanGains, AListenerWithoutAxesHearsInTheMiddle) {
  SSpatialListener listener;
  listener.right[0] = 0;
  EXPECT_EQ(At(5, 0, 0, 100, listener).left, At(5, 0, 0, 100, listener).right);
}

TEST(PanGains, WhatIsNoNumberIsSilent) {
  const f32 nan = std::numeric_limits<f32>::quiet_NaN();
  const f32 infinite = std::numeric_limits<f32>::infinity();
  EXPECT_EQ(At(nan, 0, 0), SSpatialGains{});
  EXPECT_EQ(At(infinite, 0, 0), SSpatialGains{});
  EXPECT_EQ(At(1, 0, 0, nan), SSpatialGains{});
  const f32 position[3] = {0, 0, 0};
  EXPECT_EQ(PanGains({}, position, 100, nan), SSpatialGains{});
  EXPECT_LE(PanGains({}, position, 100, 1e30f).left, 32768);
}

TEST_F(SpatialPanner, AClickIsHeardAtOnceAndItsEchoesEndWithTheTail) {
  std::vector<i16> samples(10);
  samples[0] = 20000;
  const std::vector<i16> out = Frame(samples);
  EXPECT_NEAR(out[0], 20000 * kLevel * 0.7071, 2);
  EXPECT_EQ(out[0], out[1]);
  EXPECT_EQ(out[2], 0);
  EXPECT_NE(out[2 * CSpatialPanner::kTailPairs], 0);
  for (std::size_t i = 2 * CSpatialPanner::kTailPairs + 2; i < out.size(); ++i) {
    EXPECT_EQ(out[i], 0) << i;
  }
}

TEST_F(SpatialPanner, TheEchoesAreQuieterThanTheSoundAndCrossToTheOtherEar) {
  std::vector<i16> samples(10);
  samples[0] = 20000;
  const std::vector<i16> out = Frame(samples, 1);
  EXPECT_EQ(out[0], 0);
  f64 left = 0;
  f64 right = 0;
  for (std::size_t i = 2; i < out.size(); i += 2) {
    left += std::abs(out[i]);
    right += std::abs(out[i + 1]);
  }
  EXPECT_GT(left, 0);
  EXPECT_GT(right, 0);
  EXPECT_LT(left + right, std::abs(out[1]));
}

TEST_F(SpatialPanner, FramesWithTheirTailsAddUpToTheSoundInOnePiece) {
  std::vector<i16> samples(600);
  for (u32 i = 0; i < 600; ++i) samples[i] = static_cast<i16>(i * 7919 % 9000);
  const std::vector<i16> whole = Frame(samples);
  std::vector<i32> sum(whole.size());
  // The first is shorter than the tail.
  for (const auto& [first, last] : {std::pair{0, 150}, std::pair{150, 400}, std::pair{400, 600}}) {
    const std::vector<i16> part = Frame({samples.begin() + first, samples.begin() + last});
    for (std::size_t i = 0; i < part.size(); ++i)
      sum[2 * static_cast<std::size_t>(first) + i] += part[i];
  }
  EXPECT_EQ(std::vector<i32>(whole.begin(), whole.end()), sum);
}

TEST_F(SpatialPanner, SilenceStaysSilence) {
  for (const i16 value : Frame(std::vector<i16>(512))) EXPECT_EQ(value, 0);
}

TEST_F(SpatialPanner, LoudSoundsAreCutAtTheirLimitsAndDoNotWrap) {
  for (const i16 sign : {1, -1}) {
    const std::vector<i16> out = Frame(std::vector<i16>(512, static_cast<i16>(sign * 32767)), 1);
    for (std::size_t i = 1; i < 1024; i += 2) EXPECT_GT(out[i] * sign, 0) << i;
  }
}

TEST_F(SpatialPanner, AMovingSourceDoesNotClick) {
  const std::vector<i16> steady(500, 10000);
  Frame(steady, -50);
  const std::vector<i16> before = Frame(steady, -50);
  const std::vector<i16> out = Frame(steady, 50);
  // Without the echoes of what is new, which come later than the first.
  EXPECT_NEAR(out[0], 10000 * kLevel * 0.25, 3);
  EXPECT_EQ(out[1], 0);
  for (u32 i = 2; i < 2 * 37; ++i) EXPECT_LE(std::abs(out[i] - out[i - 2]), 10) << i;
  EXPECT_EQ(before[0], out[0]);
}

TEST_F(SpatialPanner, ASourceThatWasSilentStartsWhereItIs) {
  const std::vector<i16> steady(500, 10000);
  Frame(steady, -50);
  MeetListener();
  const std::vector<i16> out = Frame(steady, 50);
  EXPECT_EQ(out[0], 0);
  EXPECT_NEAR(out[1], 10000 * kLevel * 0.25, 3);
}

TEST_F(SpatialPanner, GainsThatWerePutBackGiveTheSameFrameAgain) {
  const std::vector<i16> steady(500, 10000);
  Frame(steady, -50);
  const auto gains = panner.SaveGains();
  const std::vector<i16> first = Frame(steady, 50);
  Frame(steady, 20);
  panner.RestoreGains(gains);
  EXPECT_EQ(Frame(steady, 50), first);
}

TEST_F(SpatialPanner, GainsThatWereForgottenStartWhereTheSourceIs) {
  const std::vector<i16> steady(500, 10000);
  Frame(steady, -50);
  panner.ForgetGains();
  EXPECT_EQ(Frame(steady, 50)[0], 0);
}

TEST_F(SpatialPanner, TheSameCallsGiveTheSameBytes) {
  CSpatialPanner otherPanner;
  std::vector<i16> samples(512);
  for (u32 i = 0; i < 512; ++i) samples[i] = static_cast<i16>(i * 31337);
  std::vector<std::vector<i16>> first;
  for (u32 frame = 0; frame < 20; ++frame) {
    first.push_back(Frame(samples, static_cast<f32>(frame) * 3.7f));
  }
  panner.Destroy(source);
  source = panner.Create();
  for (u32 frame = 0; frame < 20; ++frame) {
    EXPECT_EQ(Frame(samples, static_cast<f32>(frame) * 3.7f), first[frame]);
  }
}

TEST_F(SpatialPanner, WithoutAListenerOfTheHostsOwnTheBoardsIsLeftAsItIs) {
  f32 position[3] = {1, 2, 3}, forward[3] = {4, 5, 6}, right[3] = {-1, 0, 0}, up[3] = {7, 8, 9};
  panner.MeetListener(position, forward, right, up);
  EXPECT_EQ(position[1], 2);
  EXPECT_EQ(up[2], 9);
  const f32 place[3] = {0, 2, 3};
  panner.Place(source, place, 100, kLevel);
  const i16 sample = 10000;
  std::vector<i16> out(2 + CSpatialPanner::kBlockValues);
  panner.Render(out.data(), source, &sample, 1);
  EXPECT_EQ(out[0], 0);
  EXPECT_GT(out[1], 0);
}

TEST_F(SpatialPanner, AListenerOfTheHostsOwnIsToldToTheBoard) {
  SSpatialListener own;
  own.position[2] = 5;
  own.right[0] = -1;
  panner.SetListener(own);
  f32 position[3] = {1, 2, 3}, forward[3] = {}, right[3] = {}, up[3] = {};
  panner.MeetListener(position, forward, right, up);
  EXPECT_EQ(position[0], 0);
  EXPECT_EQ(position[2], 5);
  EXPECT_EQ(right[0], -1);
  EXPECT_EQ(forward[2], 1);
  EXPECT_EQ(up[1], 1);
  panner.MeetListener(nullptr, nullptr, nullptr, nullptr);
}

TEST_F(SpatialPanner, NothingToRenderLeavesNoTail) {
  const i16 sample = 1;
  i16 out[2] = {77, 77};
  const f32 place[3] = {};
  EXPECT_EQ(panner.Render(nullptr, source, &sample, 1), 0u);
  EXPECT_EQ(panner.Render(out, nullptr, &sample, 1), 0u);
  EXPECT_EQ(panner.Render(out, source, nullptr, 1), 0u);
  panner.Place(nullptr, place, 1, 1);
  panner.Place(source, nullptr, 1, 1);
  panner.Destroy(nullptr);
  EXPECT_EQ(out[0], 77);
}

TEST_F(SpatialPanner, ABlockBeyondTheMostIsCut) {
  MeetListener();
  const f32 place[3] = {};
  panner.Place(source, place, 0, kLevel);
  constexpr u32 kPairs = CSpatialPanner::kMostPairs;
  const std::vector<i16> samples(2 * kPairs, 5000);
  std::vector<i16> out(2 * kPairs + CSpatialPanner::kBlockValues + 1, 77);
  EXPECT_EQ(panner.Render(out.data(), source, samples.data(), 2 * kPairs), kTailValues);
  EXPECT_EQ(out.back(), 77);
}

}  // namespace
}  // namespace vx
