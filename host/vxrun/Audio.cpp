#include "host/vxrun/Audio.h"

#include <cstdio>

namespace vx {

namespace {

constexpr u32 kPairBytes = 4;
constexpr int kDeviceRateHz = 48000;  // unless the device would rather have another
constexpr u32 kDeviceBlockPairs = 512;

}  // namespace

CAudio::~CAudio() {
  if (device_ != 0) SDL_CloseAudioDevice(device_);
}

void CAudio::Open() {
  bTried_ = true;
  if (SDL_WasInit(SDL_INIT_AUDIO) == 0 && SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) {
    Lose(SDL_GetError());
    return;
  }
  SDL_AudioSpec wanted{};
  wanted.freq = kDeviceRateHz;
  wanted.format = AUDIO_S16SYS;
  wanted.channels = 2;
  wanted.samples = kDeviceBlockPairs;
  SDL_AudioSpec got{};
  device_ = SDL_OpenAudioDevice(nullptr, 0, &wanted, &got, SDL_AUDIO_ALLOW_FREQUENCY_CHANGE);
  if (device_ == 0 || got.freq <= 0) {
    Lose(SDL_GetError());
    return;
  }
  feed_.emplace(static_cast<CSoundQueue&>(*this), static_cast<u32>(got.freq));
  feed_->SetMuted(bMuted_);
  SDL_PauseAudioDevice(device_, 0);
}

void CAudio::Lose(const char* why) {
  feed_.reset();
  if (device_ != 0) SDL_CloseAudioDevice(device_);
  device_ = 0;
  if (bTold_) return;
  bTold_ = true;
  std::fprintf(stderr, "vxrun: there is no sound device (%s); playing without sound\n", why);
}

void CAudio::HandleEvent(const SDL_Event& event) {
  const bool bDevice =
      (event.type == SDL_AUDIODEVICEADDED || event.type == SDL_AUDIODEVICEREMOVED) &&
      event.adevice.iscapture == 0;
  if (!bDevice) return;
  if (event.type == SDL_AUDIODEVICEADDED) {
    bTried_ = false;
  } else if (device_ != 0 && event.adevice.which == device_) {
    Lose("it has been removed");
  }
}

void CAudio::SetMuted(bool bMuted) {
  bMuted_ = bMuted;
  if (feed_) feed_->SetMuted(bMuted);
}

void CAudio::Play(const i16* samples, u32 count, u32 rateHz, ESoundPace pace) {
  if (rateHz == 0) return;
  if (device_ == 0 && !bTried_) Open();
  if (device_ == 0) return;
  if (SDL_GetAudioDeviceStatus(device_) == SDL_AUDIO_STOPPED) {
    Lose("it has stopped");
    return;
  }
  feed_->Play(samples, count, rateHz, pace);
}

u32 CAudio::QueuedPairs() { return SDL_GetQueuedAudioSize(device_) / kPairBytes; }

void CAudio::Queue(const i16* samples, u32 count) {
  // Without memory for it the block is not heard, which the next fill shows.
  SDL_QueueAudio(device_, samples, count / 2 * kPairBytes);
}

void CAudio::Clear() { SDL_ClearQueuedAudio(device_); }

}  // namespace vx
