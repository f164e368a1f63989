// A progress bar on stderr for a person who waits. On anything but a terminal it stays silent.
#pragma once

#include <string>

#include "base/Types.h"

namespace vx {

class CProgressBar {
 public:
  explicit CProgressBar(std::string label);
  ~CProgressBar();  // wipes the line
  CProgressBar(const CProgressBar&) = delete;
  CProgressBar& operator=(const CProgressBar&) = delete;

  void Show(u64 done, u64 total);

 private:
  std::string label_;
  bool bTerminal_;
  int shownPercent_ = -1;
};

}  // namespace vx
