#include "host/SoundFeed.h"

#include <vector>

namespace vx {

CSoundFeed::CSoundFeed(CSoundQueue& queue, u32 deviceRateHz)
    : queue_(queue), deviceRateHz_(deviceRateHz) {}

void CSoundFeed::SetMuted(bool bMuted) {
  if (bMuted && !bMuted_) queue_.Clear();
  bMuted_ = bMuted;
}

void CSoundFeed::StartAfterGap() {
  const std::vector<i16> silence(2 * static_cast<std::size_t>(kTargetSeconds * deviceRateHz_));
  queue_.Queue(silence.data(), static_cast<u32>(silence.size()));
  control_.Restart();
  resampler_.Restart();
  ++gaps_;
}

void CSoundFeed::Play(const i16* samples, u32 count, u32 rateHz, ESoundPace pace) {
  if (bMuted_ || rateHz < kLeastRateHz || count < 2) return;
  const f64 fillSeconds = static_cast<f64>(queue_.QueuedPairs()) / deviceRateHz_;
  if (fillSeconds > (pace == ESoundPace::RealTime ? kLimitSeconds : kTargetSeconds)) {
    ++dropped_;
    control_.Restart();
    return;
  }
  f64 factor = control_.Factor();
  if (fillSeconds == 0) {
    StartAfterGap();
  } else if (pace == ESoundPace::RealTime) {
    factor = control_.Step(fillSeconds, count / 2 / static_cast<f64>(rateHz));
  }
  const f64 ratio = static_cast<f64>(deviceRateHz_) / rateHz * factor;
  const std::vector<i16>& made = resampler_.Convert(samples, count, ratio);
  queue_.Queue(made.data(), static_cast<u32>(made.size()));
}

}  // namespace vx
