#include "tools/vxpack/ProgressBar.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace vx {

CProgressBar::CProgressBar(std::string label)
    : label_(std::move(label)), bTerminal_(isatty(STDERR_FILENO) == 1) {}

CProgressBar::~CProgressBar() {
  if (shownPercent_ >= 0) std::fputs("\r\x1b[K", stderr);
}

void CProgressBar::Show(u64 done, u64 total) {
  constexpr int kCells = 40;
  if (!bTerminal_ || total == 0) return;
  const int percent = static_cast<int>(static_cast<f64>(done) * 100.0 / static_cast<f64>(total));
  if (percent == shownPercent_) return;
  shownPercent_ = percent;
  const int filled = percent * kCells / 100;
  std::fprintf(stderr, "\r%s [%s%s] %3d%%", label_.c_str(),
               std::string(static_cast<std::size_t>(filled), '#').c_str(),
               std::string(static_cast<std::size_t>(kCells - filled), '.').c_str(), percent);
  std::fflush(stderr);
}

}  // namespace vx
