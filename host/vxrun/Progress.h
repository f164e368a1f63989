// One line on a terminal that tells how far a long run is. Silent where stderr is no terminal.
#pragma once

#include "plugin/Quillon.h"

namespace vx {

class CProgress {
 public:
  // `totalFrames` of 0: the end is not known.
  explicit CProgress(u64 totalFrames);
  ~CProgress();
  CProgress(const CProgress&) = delete;
  CProgress& operator=(const CProgress&) = delete;

  // Draws a few times a second at most.
  void Update(u64 framesDone);

 private:
  u64 totalFrames_;
  bool bTerminal_;
  bool bDrawn_ = false;
  u64 nextDrawNs_;
};

}  // namespace vx
