// The machine's sound on the default sound device.
#pragma once

#include <SDL.h>

#include "plugin/Quillon.h"

namespace vx {

// Opens the device with the first samples and again when the board changes its rate. Without a
// device the machine runs silently. Main thread.
class CAudio {
 public:
  CAudio() = default;
  ~CAudio();
  CAudio(const CAudio&) = delete;
  CAudio& operator=(const CAudio&) = delete;

  // Muting drops what has not been heard yet.
  void SetMuted(bool bMuted);

  // `count` 16-bit values, left and right in turn.
  void Play(const i16* samples, u32 count, u32 rateHz);

 private:
  void Open(u32 rateHz);

  SDL_AudioDeviceID device_ = 0;
  u32 rateHz_ = 0;
  bool bMuted_ = false;
};

}  // namespace vx
