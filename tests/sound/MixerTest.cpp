// The way of samples to the host, to the last bit.
#include "sound/Mixer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "tests/sound/DspRig.h"

namespace vx::test {
namespace {

class Mixer : public testing::Test {
 protected:
  ~Mixer() override { instances_.Clear(rig_.queue); }

  void Create(u32 count) { instances_.Create(count, rig_.processor, rig_.board, 0.0); }
  SDspInstanceSlot& Slot(u32 index) { return instances_.slots[index]; }
  static void Fill(CSoundBoard& board, const std::vector<i32>& samples) {
    board.sampleCount = 0;
    for (const i32 sample : samples) {
      board.sampleBuffer[board.sampleCount++] = static_cast<u16>(sample);
    }
  }
  void FillMain(const std::vector<i32>& samples) { Fill(rig_.board, samples); }
  void FillInstance(u32 index, const std::vector<i32>& samples) {
    Fill(Slot(index).instance->board, samples);
    Slot(index).instance->board.bHasSamples = 1;
  }
  void Mix() {
    mixer_.MixFrame({rig_.board, instances_, listener_, bInvertRight_, frameRate_}, rig_.port);
  }
  // What has been mixed and is held for the host.
  std::vector<i32> Held() const { return {mixer_.output, mixer_.output + mixer_.outputCount}; }

  CDspRig rig_;
  CDspInstances instances_;
  CMixer mixer_;
  f32 listener_[4][3] = {{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
  bool bInvertRight_ = false;
  f64 frameRate_ = 60.0;
};

using Values = std::vector<i32>;

// --- The plain path ------------------------------------------------------------------------------

TEST_F(Mixer, WithoutClonesBothChannelsCarryTheSample) {
  bInvertRight_ = true;
  FillMain({1, -2, 32767, -32768});
  Mix();
  EXPECT_EQ(Held(), (Values{1, 1, -2, -2, 32767, 32767, -32768, -32768}))
      << "nothing is inverted without clones";
  EXPECT_EQ(rig_.board.sampleCount, 0u);
}

TEST_F(Mixer, AFrameWithoutSamplesDoesNothingAtAll) {
  Create(1);
  mixer_.outputCount = 4000;
  FillInstance(0, {5});
  Mix();
  EXPECT_TRUE(rig_.port.blocks.empty()) << "not even a block that is due";
  EXPECT_EQ(Slot(0).instance->board.sampleCount, 1u);
}

TEST_F(Mixer, AFrameThatDoesNotFitIsDropped) {
  mixer_.outputCount = 8192 - 7;
  FillMain({1, 2, 3, 4});
  Mix();
  EXPECT_EQ(mixer_.outputCount, 8192u - 7);
  EXPECT_EQ(rig_.board.sampleCount, 0u);
  EXPECT_TRUE(rig_.port.blocks.empty());
  frameRate_ = 0.001;
  mixer_.outputCount = 8192 - 8;
  FillMain({1, 2, 3, 4});
  Mix();
  EXPECT_EQ(mixer_.outputCount, 8192u);
}

TEST_F(Mixer, ABlockHoldsOneFrameOfTheGuestsRate) {
  struct SCase {
    f64 periodUs, frameRate;
    u32 values;
  };
  for (const SCase& row : {SCase{0.0, 60.0, 1040},
                           {32.0, 60.0, 1040},
                           {64.0, 60.0, 520},
                           {32.0, 58.9622645, 1058},
                           {80.0, 60.0, 416},
                           {32.0, 30.0, 2082}}) {
    rig_.port.blocks.clear();
    mixer_.outputCount = 0;
    rig_.board.link.samplePeriod = row.periodUs;
    frameRate_ = row.frameRate;
    Values samples(row.values / 2);
    std::iota(samples.begin(), samples.end(), 0);
    FillMain(samples);
    Mix();
    // 2 * floor(31250 / 60) is 1040: half a sample too little, every frame.
    ASSERT_EQ(rig_.port.blocks.size(), 1u) << row.periodUs;
    EXPECT_EQ(rig_.port.blocks[0].size(), row.values);
    EXPECT_EQ(rig_.port.blocks[0][7], 3);
    EXPECT_EQ(mixer_.outputCount, 0u);
  }
}

TEST_F(Mixer, TooMuchHeldSendsOnePairMore) {
  rig_.board.link.samplePeriod = 1000000.0 / 30000.0;  // 500 samples a frame
  struct SCase {
    u32 held, sent;
  };
  for (const SCase& row : {SCase{1480, 1000}, {1482, 1002}, {1000, 1000}, {998, 0}}) {
    rig_.port.blocks.clear();
    mixer_.outputCount = row.held - 2;
    for (u32 i = 0; i < row.held; ++i) mixer_.output[i] = static_cast<i16>(i);
    FillMain({77});
    Mix();
    if (row.sent == 0) {
      EXPECT_TRUE(rig_.port.blocks.empty());
      continue;
    }
    ASSERT_EQ(rig_.port.blocks.size(), 1u);
    EXPECT_EQ(rig_.port.blocks[0].size(), row.sent);
    EXPECT_EQ(mixer_.outputCount, row.held - row.sent);
    if (mixer_.outputCount > 2) {
      EXPECT_EQ(mixer_.output[0], static_cast<i16>(row.sent)) << "the rest moves to the front";
    }
  }
}

TEST_F(Mixer, SmallBlocksHaveASmallLimit) {
  rig_.board.link.samplePeriod = 1000000.0 / 6000.0;  // 100 samples a frame
  mixer_.outputCount = 398;
  FillMain({1});
  Mix();
  EXPECT_EQ(rig_.port.blocks.at(0).size(), 200u);
  mixer_.outputCount = 400;
  FillMain({1});
  Mix();
  EXPECT_EQ(rig_.port.blocks.at(1).size(), 202u);
}

// --- Clones, panned ------------------------------------------------------------------------------

TEST_F(Mixer, BesideClonesTheRightChannelCanBeInverted) {
  Create(1);
  FillMain({5, -32768, 7});
  Mix();
  EXPECT_EQ(Held(), (Values{5, 5, -32768, -32768, 7, 7}));
  mixer_.outputCount = 0;
  bInvertRight_ = true;
  FillMain({5, -32768, 7});
  Mix();
  EXPECT_EQ(Held(), (Values{5, -5, -32768, 32767, 7, -7})) << "clamped once, at the end";
}

TEST_F(Mixer, ASourceAtTheListenerIsHalfInBothChannels) {
  Create(1);
  FillMain({0, 0});
  FillInstance(0, {1001, -1001});
  Mix();
  EXPECT_EQ(Held(), (Values{500, 500, -500, -500})) << "products are truncated";
  EXPECT_EQ(Slot(0).bHasGains, 1);
  EXPECT_EQ(Slot(0).gainLeft, 0.5f);
  EXPECT_EQ(Slot(0).instance->board.sampleCount, 0u);
  EXPECT_EQ(Slot(0).instance->board.bHasSamples, 0);
}

TEST_F(Mixer, AnAxisSharesASourceBetweenTheChannels) {
  Create(1);
  Slot(0).position[0] = -10.0f;
  FillMain({0});
  FillInstance(0, {1000});
  Mix();
  EXPECT_EQ(Held(), (Values{1000, 0})) << "the way to the listener lies along the axis";
}

TEST_F(Mixer, GainsFallWithTheSquareOfTheDistanceInRange) {
  Create(1);
  Slot(0).position[1] = 5.0f;  // at a right angle to the axis
  struct SCase {
    f32 range;
    i32 value;
  };
  for (const SCase& row : {SCase{0.0f, 500}, {10.0f, 125}, {5.0f, 0}, {1.0f, 0}, {-3.0f, 500}}) {
    mixer_.outputCount = 0;
    Slot(0).range = row.range;
    Slot(0).bHasGains = 0;
    FillMain({0});
    FillInstance(0, {1000});
    Mix();
    EXPECT_EQ(Held(), (Values{row.value, row.value})) << row.range;
  }
}

TEST_F(Mixer, AChangedGainMovesInAStraightLineOverTheFrame) {
  Create(1);
  FillMain({0, 0, 0, 0});
  Slot(0).bHasGains = 1;
  Slot(0).gainLeft = 0.0f;
  Slot(0).gainRight = 1.0f;
  FillInstance(0, {1000, 1000, 1000, 1000});
  Mix();
  EXPECT_EQ(Held(), (Values{0, 1000, 125, 875, 250, 750, 375, 625}));
  EXPECT_EQ(Slot(0).gainLeft, 0.5f);
  mixer_.outputCount = 0;
  FillMain({0});
  FillInstance(0, {1000});
  Mix();
  EXPECT_EQ(Held(), (Values{500, 500}));
}

// So many samples that the last bit of a gain shows in some of them.
TEST_F(Mixer, ALineOfGainsIsExactToTheLastBit) {
  constexpr u32 kCount = 4000;
  constexpr u32 kRounds = 40;
  Create(1);
  frameRate_ = 0.001;  // no block takes anything away
  Slot(0).position[0] = 1.5f, Slot(0).position[1] = -2.25f, Slot(0).position[2] = 0.1f;
  Slot(0).range = 9.7f;
  const f32 dx = 0.0f - 1.5f, dy = 0.0f + 2.25f, dz = 0.0f - 0.1f;
  const f32 distance = std::sqrt(dx * dx + dy * dy + dz * dz);
  const f32 side = dx * (1.0f / distance);
  const f32 near = 1.0f - distance / 9.7f;
  const f32 newLeft = (side + 1.0f) * (near * near * 0.5f);
  const f32 newRight = (1.0f - side) * (near * near * 0.5f);
  Values samples;
  for (u32 i = 0; i < kCount; ++i) samples.push_back(static_cast<i16>(i * 40503u));
  for (u32 round = 0; round < kRounds; ++round) {
    const f32 oldLeft = 0.017f * static_cast<f32>(round);
    const f32 oldRight = 0.9f - oldLeft;
    Slot(0).bHasGains = 1;
    Slot(0).gainLeft = oldLeft;
    Slot(0).gainRight = oldRight;
    mixer_.outputCount = 0;
    FillMain(Values(kCount, 0));
    FillInstance(0, samples);
    Mix();
    Values expected;
    for (u32 i = 0; i < kCount; ++i) {
      const f32 part = static_cast<f32>(i) / static_cast<f32>(kCount);
      const f32 x = static_cast<f32>(samples[i]);
      expected.push_back(static_cast<i32>(x * ((newLeft - oldLeft) * part + oldLeft)));
      expected.push_back(static_cast<i32>(x * ((newRight - oldRight) * part + oldRight)));
    }
    ASSERT_EQ(Held(), expected);
    EXPECT_EQ(Slot(0).gainLeft, newLeft);
    EXPECT_EQ(Slot(0).gainRight, newRight);
  }
}

TEST_F(Mixer, ASilentCloneStartsAgainWithoutALine) {
  Create(1);
  Slot(0).bHasGains = 1;
  FillMain({3});
  Mix();
  EXPECT_EQ(Slot(0).bHasGains, 0);
  EXPECT_EQ(Held(), (Values{3, 3}));
}

TEST_F(Mixer, ACloneOfAnotherCountIsLeftOutAndTold) {
  Create(1);
  FillMain(Values(512, 1));
  FillInstance(0, Values(510, 1000));
  Slot(0).bHasGains = 1;
  Mix();
  ASSERT_EQ(rig_.port.lines.size(), 1u);
  EXPECT_EQ(rig_.port.lines[0].level, 1);
  EXPECT_EQ(rig_.port.lines[0].text, "DSP instance sample count mismatch: 510 vs 512\n");
  EXPECT_EQ(mixer_.output[0], 1);
  EXPECT_EQ(Slot(0).instance->board.sampleCount, 0u);
  EXPECT_EQ(Slot(0).bHasGains, 1);
}

TEST_F(Mixer, SumsAreClampedOnceAtTheEnd) {
  Create(3);
  FillMain({30000, -30000});
  FillInstance(0, {30000, -30000});
  FillInstance(1, {30000, -30000});
  FillInstance(2, {-32768, 32767});
  Mix();
  EXPECT_EQ(Held(), (Values{32767, 32767, -32768, -32768}));
}

TEST_F(Mixer, ForeignVectorsDoNoHarm) {
  Create(2);
  constexpr f32 kNan = std::numeric_limits<f32>::quiet_NaN();
  constexpr f32 kHuge = 3e38f;
  FillMain({0});
  FillInstance(0, {1000});
  FillInstance(1, {-32768});
  Slot(0).position[0] = kNan;
  listener_[2][0] = kHuge;
  Slot(1).position[0] = -1.0f;
  Mix();
  EXPECT_EQ(Held(), (Values{-32768, 32767})) << "no number adds nothing; a huge one is limited";
}

// --- The host's spatial mixer --------------------------------------------------------------------

TEST_F(Mixer, ASpatialHostRendersEachCloneAndItsTail) {
  Create(2);
  rig_.port.bSpatial = true;
  rig_.port.tailAnswer = 3;
  rig_.port.listener[2][1] = 9.0f;
  Slot(1).range = 42.0f;
  FillMain({10, 20});
  FillInstance(0, {100, 200});
  FillInstance(1, {1, 2});
  Mix();
  EXPECT_EQ(Held(), (Values{10 + 100 + 1, 10 + 200 + 2, 20 + 200 + 2, 20 + 400 + 4}));
  EXPECT_EQ(rig_.port.sourcesMade, 2u);
  EXPECT_EQ(rig_.port.placedRanges, (std::vector<f32>{0.0f, 42.0f}));
  EXPECT_EQ(listener_[2][1], 9.0f) << "the host gives the listener";
  EXPECT_EQ(mixer_.tailCount, 3u);
  EXPECT_EQ(Values(mixer_.tail.get(), mixer_.tail.get() + 4), (Values{2, 4, 6, 0}));
}

TEST_F(Mixer, ATailRingsOnInTheNextFrames) {
  Create(1);
  rig_.port.bSpatial = true;
  rig_.port.tailAnswer = 3;
  FillMain({0});
  FillInstance(0, {0});
  Mix();
  mixer_.outputCount = 0;
  FillMain({100});
  Mix();
  EXPECT_EQ(Held(), (Values{101, 102}));
  EXPECT_EQ(mixer_.tailCount, 1u);
  EXPECT_EQ(Values(mixer_.tail.get(), mixer_.tail.get() + 3), (Values{3, 0, 0}));
  mixer_.outputCount = 0;
  FillMain({100});
  Mix();
  EXPECT_EQ(Held(), (Values{103, 100}));
  EXPECT_EQ(mixer_.tailCount, 0u);
}

TEST_F(Mixer, ATailLongerThanItsBufferIsCut) {
  Create(1);
  rig_.port.bSpatial = true;
  rig_.port.tailAnswer = 0xFFFFFFFF;
  FillMain({0});
  FillInstance(0, {0});
  Mix();
  EXPECT_EQ(mixer_.tailCount, rig_.port.blockSize);
}

TEST_F(Mixer, AHostWithoutBlocksGivesNoTail) {
  Create(1);
  rig_.port.bSpatial = true;
  rig_.port.blockSize = 0;
  rig_.port.tailAnswer = 5;
  FillMain({1});
  FillInstance(0, {2});
  Mix();
  EXPECT_EQ(mixer_.tailCount, 0u);
  EXPECT_EQ(Held(), (Values{3, 5}));
}

TEST_F(Mixer, SourcesAreMadeAnewWhenTheCountOfClonesChanges) {
  rig_.port.bSpatial = true;
  Create(2);
  FillMain({1});
  Mix();
  FillMain({1});
  Mix();
  EXPECT_EQ(rig_.port.sourcesMade, 2u);
  instances_.Clear(rig_.queue);
  Create(3);
  EXPECT_EQ(rig_.port.sourcesGone, 0u);
  FillMain({1});
  Mix();
  EXPECT_EQ(rig_.port.sourcesGone, 2u);
  EXPECT_EQ(rig_.port.sourcesMade, 5u);
  mixer_.DestroySources(rig_.port);
  EXPECT_EQ(rig_.port.sourcesGone, 5u);
}

TEST_F(Mixer, AResetDropsWhatIsHeldAndTheTail) {
  Create(1);
  rig_.port.bSpatial = true;
  rig_.port.tailAnswer = 3;
  FillMain({1});
  FillInstance(0, {1});
  Mix();
  mixer_.Reset();
  EXPECT_EQ(mixer_.outputCount, 0u);
  EXPECT_EQ(mixer_.tailCount, 0u);
  EXPECT_EQ(mixer_.tail[0], 0);
}

}  // namespace
}  // namespace vx::test
