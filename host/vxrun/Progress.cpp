#include "host/vxrun/Progress.h"

#include <unistd.h>
#include <cstdio>

#include "host/vxrun/StartClock.h"

namespace vx {

namespace {
constexpr u64 kFirstDrawNs = 500'000'000;  // a short run shows nothing
constexpr u64 kDrawEveryNs = 200'000'000;
constexpr const char* kClearLine = "\r\033[K";
}  // namespace

CProgress::CProgress()
    : bTerminal_(isatty(STDERR_FILENO) != 0), nextDrawNs_(MonotonicNs() + kFirstDrawNs) {}

CProgress::~CProgress() { Draw(""); }

bool CProgress::IsDue() const { return bTerminal_ && MonotonicNs() >= nextDrawNs_; }

void CProgress::Draw(const std::string& text) {
  if (!bDrawn_ && text.empty()) return;
  nextDrawNs_ = MonotonicNs() + kDrawEveryNs;
  std::fprintf(stderr, "%s%s", kClearLine, text.c_str());
  bDrawn_ = !text.empty();
}

}  // namespace vx
