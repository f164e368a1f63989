// The host's place for sounds in space: each source is panned between the two ears of a listener,
// fades with its distance, and leaves a short echo of the room behind.
//
// It gives the same samples for the same calls: gains are fixed-point, and an echo is a plain sum.
#pragma once

#include <atomic>
#include <list>
#include <mutex>
#include <optional>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

// Where the listener is and how it is turned. The axes have length 1.
struct SSpatialListener {
  f32 position[3] = {0, 0, 0};
  f32 forward[3] = {0, 0, 1};
  f32 right[3] = {1, 0, 0};
  f32 up[3] = {0, 1, 0};

  bool operator==(const SSpatialListener&) const = default;
};

// Of one source, in 1/32768.
struct SSpatialGains {
  i32 left = 0;
  i32 right = 0;

  bool operator==(const SSpatialGains&) const = default;
};

// With t the distance as a share of `range`, 0 to 1 (a range of 0 reaches everywhere): both ears
// together get the power that level x (1 - t)^2 has, split by the sine of the angle to the side.
// What is no number is silent.
SSpatialGains PanGains(const SSpatialListener& listener, const f32 (&position)[3], f32 range,
                       f32 level);

class CSpatialSource;

// Sources belong to the thread that made them; the rest may be called from any.
class CSpatialPanner {
 public:
  static constexpr u32 kTailPairs = 199;    // the latest echo
  static constexpr u32 kBlockValues = 512;  // room for what is left of a block: 2 x kTailPairs fit
  static constexpr u32 kMostPairs = 8192;   // of a block; more are left out

  CSpatialPanner();
  ~CSpatialPanner();

  void Enable(bool bEnabled) { bEnabled_.store(bEnabled, std::memory_order_relaxed); }
  bool IsEnabled() const { return bEnabled_.load(std::memory_order_relaxed); }

  // A listener of the host's own; without one the listener is where the board's scripts put it.
  void SetListener(const std::optional<SSpatialListener>& listener);
  // The board's four records, once a frame: written with the host's own listener, or else read.
  void MeetListener(f32* position, f32* forward, f32* right, f32* up);

  CSpatialSource* Create();
  void Destroy(CSpatialSource* source);
  void Place(CSpatialSource* source, const f32* position, f32 range, f32 level);
  // Puts 2 x `pairs` values into `out` and behind them the echo that is yet to come, left and right
  // in turn; answers the values of the latter. A gain that has changed since the frame before moves
  // in a straight line; a source that was silent in the frame before starts with its gain.
  u32 Render(i16* out, CSpatialSource* source, const i16* samples, u32 pairs);

  // The gains from which the next frame's go on, for a machine that goes back to an earlier frame.
  // Sources count in the order in which they were made.
  struct SGainState {
    bool bHeard = false;
    SSpatialGains gains;
  };
  std::vector<SGainState> SaveGains();
  void RestoreGains(const std::vector<SGainState>& states);
  // For a machine that goes somewhere else: all sources start with their gains.
  void ForgetGains() { RestoreGains({}); }

 private:
  std::mutex mutex_;
  std::list<CSpatialSource> sources_;
  std::optional<SSpatialListener> own_;
  SSpatialListener listener_;  // of this frame
  u64 frame_ = 1;
  std::atomic<bool> bEnabled_{false};
};

}  // namespace vx
