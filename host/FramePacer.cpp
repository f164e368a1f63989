#include "host/FramePacer.h"

#include <cmath>

namespace vx {

namespace {
constexpr f64 kFallbackRate = 60.0;
constexpr f64 kNsPerSecond = 1e9;
}  // namespace

CFramePacer::CFramePacer(f64 frameRate, u64 nowNs) : originNs_(nowNs) { SetRate(frameRate); }

void CFramePacer::SetRate(f64 frameRate) {
  if (!(frameRate > 0.0)) frameRate = kFallbackRate;
  if (frameRate == frameRate_) return;
  originNs_ = DueNs();
  framesSinceOrigin_ = 0;
  frameRate_ = frameRate;
  periodNs_ = kNsPerSecond / frameRate;
}

u64 CFramePacer::DueNs() const {
  return originNs_ +
         static_cast<u64>(std::llround(static_cast<f64>(framesSinceOrigin_) * periodNs_));
}

u64 CFramePacer::FinishFrame(u64 nowNs) {
  ++framesSinceOrigin_;
  const u64 dueNs = DueNs();
  if (nowNs < dueNs) return dueNs - nowNs;
  if (static_cast<f64>(nowNs - dueNs) > kMaxFramesBehind * periodNs_) {
    originNs_ = nowNs;
    framesSinceOrigin_ = 0;
  }
  return 0;
}

}  // namespace vx
