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

CProgress::CProgress(u64 totalFrames)
    : totalFrames_(totalFrames),
      bTerminal_(isatty(STDERR_FILENO) != 0),
      nextDrawNs_(MonotonicNs() + kFirstDrawNs) {}

CProgress::~CProgress() {
  if (bDrawn_) std::fputs(kClearLine, stderr);
}

void CProgress::Update(u64 framesDone) {
  if (!bTerminal_) return;
  const u64 nowNs = MonotonicNs();
  if (nowNs < nextDrawNs_) return;
  nextDrawNs_ = nowNs + kDrawEveryNs;
  bDrawn_ = true;
  const auto done = static_cast<unsigned long long>(framesDone);
  if (totalFrames_ == 0) {
    std::fprintf(stderr, "%sframe %llu", kClearLine, done);
  } else {
    std::fprintf(stderr, "%sframe %llu of %llu (%llu%%)", kClearLine, done,
                 static_cast<unsigned long long>(totalFrames_), done * 100 / totalFrames_);
  }
}

}  // namespace vx
