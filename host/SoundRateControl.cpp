#include "host/SoundRateControl.h"

#include <algorithm>
#include <cmath>

namespace vx {

namespace {

// The device takes sound in blocks and frames come with jitter; the fill is smoothed over both.
constexpr f64 kSmoothingSeconds = 0.5;
// Share for a second of fill, and its growth for a second of fill that lasts a second. Together
// they bring a fill back within some ten seconds and without overshoot to speak of.
constexpr f64 kProportional = 0.3;
constexpr f64 kIntegral = 0.02;
constexpr f64 kMostBlockSeconds = 0.1;

}  // namespace

f64 CSoundRateControl::Step(f64 fillSeconds, f64 blockSeconds) {
  if (!std::isfinite(fillSeconds) || !(blockSeconds > 0)) return Factor();
  const f64 dt = std::min(blockSeconds, kMostBlockSeconds);
  const f64 error = fillSeconds - targetSeconds_;
  if (!bStarted_) {
    bStarted_ = true;
    smoothedSeconds_ = error;
  }
  smoothedSeconds_ += (error - smoothedSeconds_) * (dt / (kSmoothingSeconds + dt));

  const f64 wanted = -kProportional * smoothedSeconds_ + learned_;
  // At its bounds the share does not do what is wanted, so that nothing can be learned of it.
  if (std::abs(wanted) < kMostShare) learned_ -= kIntegral * smoothedSeconds_ * dt;
  learned_ = std::clamp(learned_, -kMostShare, kMostShare);
  const f64 step = kMostSlopePerSecond * dt;
  share_ += std::clamp(std::clamp(wanted, -kMostShare, kMostShare) - share_, -step, step);
  return Factor();
}

}  // namespace vx
