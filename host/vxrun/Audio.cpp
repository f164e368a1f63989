#include "host/vxrun/Audio.h"

#include <vector>

namespace vx {

namespace {

constexpr u32 kPairBytes = 4;
constexpr u32 kDeviceBlockPairs = 512;
constexpr u32 kLeadMs = 50;        // silence ahead of the first samples, against gaps
constexpr u32 kMaxQueuedMs = 150;  // beyond this sound would lag behind the picture

u32 BytesOf(u32 rateHz, u32 milliseconds) {
  return static_cast<u32>(u64{rateHz} * milliseconds / 1000) * kPairBytes;
}

}  // namespace

CAudio::~CAudio() {
  if (device_ != 0) SDL_CloseAudioDevice(device_);
}

void CAudio::Open(u32 rateHz) {
  if (device_ != 0) SDL_CloseAudioDevice(device_);
  device_ = 0;
  rateHz_ = rateHz;
  if (SDL_WasInit(SDL_INIT_AUDIO) == 0 && SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) return;
  SDL_AudioSpec wanted{};
  wanted.freq = static_cast<int>(rateHz);
  wanted.format = AUDIO_S16SYS;
  wanted.channels = 2;
  wanted.samples = kDeviceBlockPairs;
  SDL_AudioSpec got{};
  device_ = SDL_OpenAudioDevice(nullptr, 0, &wanted, &got, 0);
  if (device_ != 0) SDL_PauseAudioDevice(device_, 0);
}

void CAudio::SetMuted(bool bMuted) {
  if (bMuted && !bMuted_ && device_ != 0) SDL_ClearQueuedAudio(device_);
  bMuted_ = bMuted;
}

void CAudio::Play(const i16* samples, u32 count, u32 rateHz) {
  if (rateHz == 0 || bMuted_) return;
  if (rateHz != rateHz_) Open(rateHz);
  if (device_ == 0) return;
  const u32 queuedBytes = SDL_GetQueuedAudioSize(device_);
  if (queuedBytes > BytesOf(rateHz, kMaxQueuedMs)) return;
  if (queuedBytes == 0) {
    const std::vector<u8> silence(BytesOf(rateHz, kLeadMs));
    SDL_QueueAudio(device_, silence.data(), static_cast<u32>(silence.size()));
  }
  SDL_QueueAudio(device_, samples, count / 2 * kPairBytes);
}

}  // namespace vx
