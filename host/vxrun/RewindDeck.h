// Going back in time while a key is held.
#pragma once

#include <vector>

#include "host/Rewind.h"
#include "host/Session.h"

namespace vx {

// Keeps a state of every kEveryFrames frames. One thread, the session's.
class CRewindDeck {
 public:
  static constexpr u32 kEveryFrames = 4;
  static constexpr u64 kMostBytes = u64{256} << 20;  // of packed states
  // The key goes back at twice the speed at which the game went forward.
  static constexpr u32 kFramesAStepBack = kEveryFrames / 2;

  CRewindDeck(CSession& session, u32 seconds, f64 frameRate);

  // After a frame of the game. Throws CHostError (StateUnusable), as does the other.
  void EndFrame();

  // For each frame that the key is held: true if the machine stands at an earlier state now, of
  // which a frame is to be shown.
  bool StepBack();

  const CRewind& History() const { return history_; }

 private:
  CSession& session_;
  CRewind history_;
  CStateBuffer buffer_;
  std::vector<u8> state_;
  u32 framesSincePush_ = kEveryFrames;  // the first frame gives the first state
  u32 framesSinceStep_ = kFramesAStepBack;
};

}  // namespace vx
