// Pause, single steps, fast forward, rewind and sound as a player switches them; what the run is to
// do next.
#pragma once

#include <optional>
#include <string>

#include "host/ControlNames.h"

namespace vx {

// Unpacking of the disk behind the guest's back.
struct SDiskProgress {
  u32 chunksDone = 0;
  u32 chunkCount = 0;  // that need unpacking

  bool IsComplete() const { return chunksDone >= chunkCount; }
  u32 Percent() const {
    return IsComplete() ? 100 : static_cast<u32>(u64{chunksDone} * 100 / chunkCount);
  }
};

class CPlayControl {
 public:
  // `pressed`: actions that began since the last call; `held`: those that are held down now. Both
  // as EHostAction bits. A step while the machine runs pauses it.
  void Take(u32 pressed, u32 held);

  // Whether a frame is to run now; uses up a step.
  bool TakeFrame();
  // As if the player had asked for it.
  void Pause() { bPaused_ = true; }
  // Whether these were asked for since the last call.
  bool TakeReset();
  bool TakeScreenshot();
  // What was asked for of saved states since the last call, of kHostStateActions.
  u32 TakeStateActions();
  // The next frame runs even in a pause, so that it is seen where the machine is now.
  void ShowFrame() { bStep_ = bPaused_; }

  bool IsPaused() const { return bPaused_; }
  bool IsFast() const { return bFast_ && !bPaused_ && !bRewinding_; }
  bool IsRewinding() const { return bRewinding_; }
  bool IsMuted() const { return bMuted_; }
  bool IsLeft() const { return bLeft_; }

 private:
  bool bPaused_ = false;
  bool bStep_ = false;
  bool bFast_ = false;
  bool bMuted_ = false;
  bool bReset_ = false;
  bool bScreenshot_ = false;
  bool bLeft_ = false;
  bool bRewinding_ = false;
  u32 stateActions_ = 0;
};

// The window's title: the name, and in brackets what is out of the ordinary.
std::string WindowTitle(const std::string& name, const CPlayControl& play,
                        const SDiskProgress& disk);

// What a terminal shows of a run: frames done, of how many (0: not known), and the disk while it is
// being unpacked.
std::string ProgressLine(u64 framesDone, u64 totalFrames, const SDiskProgress& disk);

}  // namespace vx
