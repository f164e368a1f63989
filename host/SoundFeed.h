// The way of the board's sound into the queue of a sound device: converted to the device's rate,
// and a little stretched or squeezed so that the queue neither runs dry nor grows.
#pragma once

#include "host/Resampler.h"
#include "host/SoundRateControl.h"
#include "plugin/Quillon.h"

namespace vx {

// A device that plays 16-bit stereo from a queue of its own.
class CSoundQueue {
 public:
  virtual ~CSoundQueue() = default;
  virtual u32 QueuedPairs() = 0;
  // `count` 16-bit values, left and right in turn.
  virtual void Queue(const i16* samples, u32 count) = 0;
  virtual void Clear() = 0;
};

// How the board runs: level with the clock on the wall, or as it can.
enum class ESoundPace { RealTime, Free };

// Main thread. The queue outlives the feed.
class CSoundFeed {
 public:
  // Before a block the queue holds about the target, and after a gap that much silence goes ahead.
  // Beyond the limit sound would lag behind the picture, so that blocks are left out.
  static constexpr f64 kTargetSeconds = 0.05;
  static constexpr f64 kLimitSeconds = 0.15;
  static constexpr u32 kLeastRateHz = 1000;  // of the board; below it nothing is heard

  CSoundFeed(CSoundQueue& queue, u32 deviceRateHz);

  // Takes a block of the board. At a free pace the queue is kept near the target by leaving blocks
  // out, and nothing is learned about clocks.
  void Play(const i16* samples, u32 count, u32 rateHz, ESoundPace pace);
  // Muting drops what has not been heard yet.
  void SetMuted(bool bMuted);

  f64 Factor() const { return control_.Factor(); }
  u64 Gaps() const { return gaps_; }        // how often the queue was found empty
  u64 Dropped() const { return dropped_; }  // blocks left out

 private:
  void StartAfterGap();

  CSoundQueue& queue_;
  u32 deviceRateHz_;
  CSoundRateControl control_{kTargetSeconds};
  CResampler resampler_;
  u64 gaps_ = 0;
  u64 dropped_ = 0;
  bool bMuted_ = false;
};

}  // namespace vx
