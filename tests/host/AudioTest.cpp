// The sound device of a run, under SDL's dummy driver.
#include "host/vxrun/Audio.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace vx {

namespace {

class Audio : public testing::Test {
 protected:
  void SetUp() override { setenv("SDL_AUDIODRIVER", "dummy", 1); }
  void TearDown() override { SDL_Quit(); }

  static void Play(CAudio& audio) {
    const std::vector<i16> samples(1040, 100);
    audio.Play(samples.data(), 1040, 31250, ESoundPace::RealTime);
  }
  static void Send(CAudio& audio, u32 type, u32 which) {
    SDL_Event event{};
    event.type = type;
    event.adevice.which = which;
    audio.HandleEvent(event);
  }
  // The first device that a fresh SDL opens has this number.
  static constexpr u32 kFirstDevice = 2;
};

TEST_F(Audio, TheDeviceIsOpenedWithTheFirstSamples) {
  CAudio audio;
  EXPECT_FALSE(audio.IsOpen());
  audio.Play(nullptr, 0, 0, ESoundPace::RealTime);
  EXPECT_FALSE(audio.IsOpen());
  Play(audio);
  EXPECT_TRUE(audio.IsOpen());
  audio.SetMuted(true);
  Play(audio);
  audio.SetMuted(false);
  Play(audio);
}

TEST_F(Audio, WithoutADeviceItIsToldOnce) {
  setenv("SDL_AUDIODRIVER", "none-such", 1);
  testing::internal::CaptureStderr();
  CAudio audio;
  for (u32 i = 0; i < 5; ++i) Play(audio);
  Send(audio, SDL_AUDIODEVICEADDED, 0);
  Play(audio);
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(said.starts_with("vxrun: there is no sound device (")) << said;
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
  EXPECT_FALSE(audio.IsOpen());
}

TEST_F(Audio, ADeviceThatGoesIsToldAndOneThatComesIsTaken) {
  testing::internal::CaptureStderr();
  CAudio audio;
  Play(audio);
  Send(audio, SDL_AUDIODEVICEREMOVED, 77);
  ASSERT_TRUE(audio.IsOpen());
  for (u32 device = 1; device <= kFirstDevice; ++device) {
    Send(audio, SDL_AUDIODEVICEREMOVED, device);
  }
  EXPECT_FALSE(audio.IsOpen());
  for (u32 i = 0; i < 5; ++i) Play(audio);
  EXPECT_FALSE(audio.IsOpen());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "vxrun: there is no sound device (it has been removed); playing without sound\n");
  Send(audio, SDL_AUDIODEVICEADDED, 0);
  Play(audio);
  EXPECT_TRUE(audio.IsOpen());
}

}  // namespace
}  // namespace vx
