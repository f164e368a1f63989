// Clones of the sound processor in space, through the host's services.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "host/HostServices.h"
#include "machine/HostAccess.h"
#include "machine/VXMachine.h"

namespace vx::test {

namespace {

constexpr i16 kMain = 1000;
constexpr i16 kVoice = 8000;
constexpr u32 kPairs = 500;

using CBlocks = std::vector<std::vector<i16>>;

class SpatialMix : public testing::Test {
 protected:
  void SetUp() override {
    SetHost(CHostServices::Get().Api());
    CHostServices::Get().Panner().Enable(true);
    machine_ = new CVXMachine;
    machine_->onAudioBlock = [](CQuillonMachineBase*, const i16* samples, u32 count) {
      blocks.emplace_back(samples, samples + count);
    };
    blocks.clear();
    machine_->SetInstanceCount(1);
    SDspInstanceSlot& slot = machine_->instances.slots[0];
    slot.position[0] = 1.0f;
    machine_->state.listenerVectors[2][0] = 1.0f;
  }
  void TearDown() override {
    machine_->Destruct(1);
    CHostServices::Get().Panner().Enable(false);
    SetHost(nullptr);
  }

  // A frame's samples as the boards would have made them.
  void Mix(bool bVoice) {
    machine_->soundBoard.sampleCount = kPairs;
    std::fill_n(machine_->soundBoard.sampleBuffer, kPairs, static_cast<u16>(kMain));
    CSoundBoard& voice = machine_->instances.slots[0].instance->board;
    voice.sampleCount = bVoice ? kPairs : 0;
    voice.bHasSamples = bVoice ? 1 : 0;
    std::fill_n(voice.sampleBuffer, kPairs, static_cast<u16>(kVoice));
    machine_->MixFrame();
  }
  // All that was delivered so far.
  static std::vector<i16> Delivered() {
    std::vector<i16> all;
    for (const std::vector<i16>& block : blocks) all.insert(all.end(), block.begin(), block.end());
    return all;
  }

  CVXMachine* machine_;
  static CBlocks blocks;
};

CBlocks SpatialMix::blocks;

TEST_F(SpatialMix, AVoiceToTheRightIsOnTheRightAndItsEchoOutlivesIt) {
  Mix(true);
  for (u32 i = 0; i < 4; ++i) Mix(false);
  const std::vector<i16> sound = Delivered();
  EXPECT_EQ(sound[0], kMain);
  EXPECT_EQ(sound[1], kMain + kVoice * 3 / 4);
  const u32 end = 2 * kPairs;
  EXPECT_NE(sound[end + 1], kMain);
  u32 last = 0;
  for (u32 i = 0; i < sound.size(); ++i) {
    if (sound[i] != kMain) last = i;
  }
  EXPECT_GE(last, end);
  EXPECT_LE(last, end + 2 * CSpatialPanner::kTailPairs);
  EXPECT_EQ(machine_->mixer.tailCount, 0u);
}

TEST_F(SpatialMix, TheSameFramesGiveTheSameBytes) {
  const auto play = [&] {
    for (u32 frame = 0; frame < 20; ++frame) {
      machine_->instances.slots[0].position[2] = static_cast<f32>(frame) * 0.3f;
      Mix(frame % 5 != 4);
    }
  };
  play();
  const CBlocks first = blocks;
  TearDown();
  SetUp();
  play();
  EXPECT_EQ(blocks, first);
}

TEST_F(SpatialMix, WithThePannerOffTheBoardPansItself) {
  CHostServices::Get().Panner().Enable(false);
  Mix(true);
  for (u32 i = 0; i < 2; ++i) Mix(false);
  const std::vector<i16> sound = Delivered();
  EXPECT_EQ(sound[0], kMain);
  EXPECT_EQ(sound[1], kMain + kVoice);
  EXPECT_EQ(sound[2 * kPairs + 1], kMain);
}

}  // namespace
}  // namespace vx::test
