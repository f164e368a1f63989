// The control of the sound queue on a simulated clock.
#include "host/SoundRateControl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace vx {

namespace {

constexpr f64 kTarget = 0.05;
constexpr f64 kFrameSeconds = 1.0 / 60;
constexpr f64 kRateHz = 48000;
constexpr u64 kHourOfFrames = 60 * 3600;

struct SClocks {
  f64 drift;              // of the device against the host, as a share
  f64 jitterSeconds;      // by which a frame may come late
  u32 devicePairs;        // that the device takes at once
  f64 hiccupSeconds = 0;  // by which one frame of each minute comes late
};

// What was seen, from the start and after the first minute.
struct SSeen {
  f64 leastFill = 1e9, mostFill = -1e9;  // seconds; below 0 the queue ran dry
  f64 leastFactor = 1e9, mostFactor = -1e9;
  f64 leastLate = 1e9, mostLate = -1e9;
  f64 mostSlope = 0;  // of the factor, a second
  f64 lateFillSum = 0;
  u64 lateFrames = 0;
};

// A device that takes its blocks by its own clock, and a board that makes 1/60 second a frame.
SSeen Simulate(CSoundRateControl& control, const SClocks& clocks, u64 frames) {
  std::mt19937 random(1);
  std::uniform_real_distribution<f64> late(0.0, clocks.jitterSeconds);
  SSeen seen;
  f64 fill = kTarget * kRateHz;
  f64 taken = 0;
  f64 rest = 0;
  f64 last = control.Factor();
  for (u64 frame = 0; frame < frames; ++frame) {
    f64 now = static_cast<f64>(frame) * kFrameSeconds + late(random);
    if (frame % 3600 == 1800) now += clocks.hiccupSeconds;
    const f64 due =
        std::floor(now * kRateHz * (1 + clocks.drift) / clocks.devicePairs) * clocks.devicePairs;
    fill -= std::max(due, taken) - taken;
    taken = std::max(due, taken);
    seen.leastFill = std::min(seen.leastFill, fill / kRateHz);
    const f64 factor = control.Step(fill / kRateHz, kFrameSeconds);
    seen.mostSlope = std::max(seen.mostSlope, std::abs(factor - last) / kFrameSeconds);
    last = factor;
    seen.leastFactor = std::min(seen.leastFactor, factor);
    seen.mostFactor = std::max(seen.mostFactor, factor);
    if (frame >= 3600) {
      seen.leastLate = std::min(seen.leastLate, factor);
      seen.mostLate = std::max(seen.mostLate, factor);
      seen.lateFillSum += fill / kRateHz;
      ++seen.lateFrames;
    }
    rest += factor * kRateHz * kFrameSeconds;
    fill += std::floor(rest);
    rest -= std::floor(rest);
    seen.mostFill = std::max(seen.mostFill, fill / kRateHz);
  }
  return seen;
}

class CClocks : public testing::TestWithParam<SClocks> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Drifts, CClocks,
                         testing::Values(SClocks{-0.005, 0, 512}, SClocks{-0.005, 0.008, 1024},
                                         SClocks{-0.0005, 0.004, 512}, SClocks{0, 0, 512},
                                         SClocks{0, 0.008, 1024}, SClocks{0.0005, 0.004, 256},
                                         SClocks{0.005, 0, 512}, SClocks{0.005, 0.008, 1024},
                                         SClocks{0.002, 0.004, 512, 0.012}));

TEST_P(CClocks, AnHourPassesWithoutAnEmptyOrAnOverfullQueue) {
  CSoundRateControl control(kTarget);
  const SSeen seen = Simulate(control, GetParam(), kHourOfFrames);
  EXPECT_GT(seen.leastFill, 0.0);
  EXPECT_LT(seen.mostFill, 0.12);
}

TEST_P(CClocks, TheFactorComesToTheDriftAndStaysThere) {
  CSoundRateControl control(kTarget);
  const SSeen seen = Simulate(control, GetParam(), kHourOfFrames);
  EXPECT_NEAR(seen.leastLate, 1 + GetParam().drift, 0.0015);
  EXPECT_NEAR(seen.mostLate, 1 + GetParam().drift, 0.0015);
  EXPECT_GE(seen.leastFactor, 1 - CSoundRateControl::kMostShare);
  EXPECT_LE(seen.mostFactor, 1 + CSoundRateControl::kMostShare);
}

TEST_P(CClocks, ThePitchNeverMovesFasterThanItsBound) {
  CSoundRateControl control(kTarget);
  const SSeen seen = Simulate(control, GetParam(), kHourOfFrames / 6);
  EXPECT_LE(seen.mostSlope, CSoundRateControl::kMostSlopePerSecond * 1.000001);
}

TEST_P(CClocks, TheFillComesBackToTheTarget) {
  CSoundRateControl control(kTarget);
  const SSeen seen = Simulate(control, GetParam(), kHourOfFrames / 6);
  EXPECT_NEAR(seen.lateFillSum / static_cast<f64>(seen.lateFrames), kTarget, 0.001);
}

TEST(SoundRateControl, AQueueAtItsTargetIsLeftAlone) {
  CSoundRateControl control(kTarget);
  for (u32 i = 0; i < 1000; ++i) EXPECT_EQ(control.Step(kTarget, kFrameSeconds), 1.0);
}

TEST(SoundRateControl, AFullQueueIsMadeLessForAndAnEmptyOneMore) {
  CSoundRateControl full(kTarget);
  CSoundRateControl empty(kTarget);
  for (u32 i = 0; i < 60; ++i) {
    full.Step(2 * kTarget, kFrameSeconds);
    empty.Step(0.0, kFrameSeconds);
  }
  EXPECT_LT(full.Factor(), 1.0);
  EXPECT_GT(empty.Factor(), 1.0);
}

TEST(SoundRateControl, ADriftBeyondItsReachEndsAtItsBoundAndIsForgottenSoon) {
  CSoundRateControl control(kTarget);
  for (u32 i = 0; i < 60 * 600; ++i) control.Step(0.15, kFrameSeconds);
  EXPECT_DOUBLE_EQ(control.Factor(), 1 - CSoundRateControl::kMostShare);
  const SSeen seen = Simulate(control, {0, 0, 512}, 60 * 120);
  EXPECT_NEAR(control.Factor(), 1.0, 0.0005);
  EXPECT_GT(seen.leastFill, 0.0);
}

TEST(SoundRateControl, AfterAGapWhatWasLearnedOfTheClocksStays) {
  CSoundRateControl control(kTarget);
  Simulate(control, {0.004, 0, 512}, 60 * 120);
  const f64 factor = control.Factor();
  control.Restart();
  EXPECT_EQ(control.Factor(), factor);
  control.Step(kTarget, kFrameSeconds);
  EXPECT_NEAR(control.Factor(), 1.004, 0.0005);
}

TEST(SoundRateControl, ValuesThatAreNoNumbersChangeNothing) {
  CSoundRateControl control(kTarget);
  const f64 nan = std::numeric_limits<f64>::quiet_NaN();
  control.Step(nan, kFrameSeconds);
  control.Step(0.2, nan);
  control.Step(0.2, 0);
  control.Step(0.2, -1);
  EXPECT_EQ(control.Factor(), 1.0);
}

}  // namespace vx
