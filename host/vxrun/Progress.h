// One line on a terminal that tells how far a long run is. Silent where stderr is no terminal.
#pragma once

#include <string>

#include "plugin/Quillon.h"

namespace vx {

class CProgress {
 public:
  CProgress();
  ~CProgress();
  CProgress(const CProgress&) = delete;
  CProgress& operator=(const CProgress&) = delete;

  // Whether it is time to draw: a few times a second, and not at once.
  bool IsDue() const;
  // Draws the line anew; an empty text takes it away.
  void Draw(const std::string& text);

 private:
  bool bTerminal_;
  bool bDrawn_ = false;
  u64 nextDrawNs_;
};

}  // namespace vx
