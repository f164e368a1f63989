// Keeps the queue of a sound device at its target by making a little more or a little less sound of
// what the board made: no two clocks agree, and neither picture nor sound is to stutter over an
// hour. Pure arithmetic on seconds.
#pragma once

#include "plugin/Quillon.h"

namespace vx {

// A controller with a proportional and an integral part on the smoothed fill. The integral part
// learns how far the two clocks differ, so that the fill comes back to the target itself. How far
// and how fast the factor moves is bounded, both below what an ear takes for a change of pitch.
class CSoundRateControl {
 public:
  static constexpr f64 kMostShare = 0.008;           // of the factor, from 1
  static constexpr f64 kMostSlopePerSecond = 0.002;  // of the factor

  // `targetSeconds` above 0.
  explicit CSoundRateControl(f64 targetSeconds) : targetSeconds_(targetSeconds) {}

  // Takes the fill of the queue just before a block of `blockSeconds` goes in, and answers how many
  // seconds of sound to make of each second of it. Values that are no numbers change nothing.
  f64 Step(f64 fillSeconds, f64 blockSeconds);
  // Forgets the fills so far, as after a gap; what is known of the clocks stays.
  void Restart() { bStarted_ = false; }

  f64 Factor() const { return 1.0 + share_; }
  f64 TargetSeconds() const { return targetSeconds_; }

 private:
  f64 targetSeconds_;
  f64 smoothedSeconds_ = 0;  // fill above the target
  f64 learned_ = 0;          // integral part of the share
  f64 share_ = 0;
  bool bStarted_ = false;
};

}  // namespace vx
