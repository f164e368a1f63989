// When the next frame of a window is due. Pure arithmetic on nanoseconds of a monotonic clock.
#pragma once

#include "plugin/Quillon.h"

namespace vx {

// Due times are counted from one origin, so rounding never adds up to drift. A host that was late
// by a few frames catches up; one that was late by more drops the debt and starts anew.
class CFramePacer {
 public:
  static constexpr u32 kMaxFramesBehind = 4;

  // Frames a second; anything that is not above 0 counts as 60.
  CFramePacer(f64 frameRate, u64 nowNs);

  // Takes a new rate from the last due time on.
  void SetRate(f64 frameRate);

  // Ends a frame: nanoseconds to wait from `nowNs` until the next one is due, or 0.
  u64 FinishFrame(u64 nowNs);

 private:
  u64 DueNs() const;

  f64 periodNs_ = 0;
  f64 frameRate_ = 0;
  u64 originNs_;
  u64 framesSinceOrigin_ = 0;
};

}  // namespace vx
