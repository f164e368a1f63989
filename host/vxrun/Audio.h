// The machine's sound on the default sound device.
#pragma once

#include <SDL.h>

#include <optional>

#include "host/SoundFeed.h"
#include "plugin/Quillon.h"

namespace vx {

// Opens the device with the first samples. Without a device, or after it has gone, the machine
// plays on silently, which is told once on stderr; a device that comes is taken. Main thread.
class CAudio : private CSoundQueue {
 public:
  CAudio() = default;
  ~CAudio() override;
  CAudio(const CAudio&) = delete;
  CAudio& operator=(const CAudio&) = delete;

  void HandleEvent(const SDL_Event& event);

  // Muting drops what has not been heard yet.
  void SetMuted(bool bMuted);

  // `count` 16-bit values, left and right in turn.
  void Play(const i16* samples, u32 count, u32 rateHz, ESoundPace pace);

  bool IsOpen() const { return device_ != 0; }

 private:
  u32 QueuedPairs() override;
  void Queue(const i16* samples, u32 count) override;
  void Clear() override;

  void Open();
  void Lose(const char* why);

  SDL_AudioDeviceID device_ = 0;
  std::optional<CSoundFeed> feed_;  // while there is a device
  bool bTried_ = false;             // since a device last came
  bool bTold_ = false;
  bool bMuted_ = false;
};

}  // namespace vx
