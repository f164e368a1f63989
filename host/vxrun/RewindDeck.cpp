#include "host/vxrun/RewindDeck.h"

#include <algorithm>
#include <cmath>

#include "host/HostError.h"

namespace vx {

namespace {

u32 StatesOf(u32 seconds, f64 frameRate) {
  const f64 frames = seconds * (frameRate > 0 ? frameRate : 60.0);
  return static_cast<u32>(std::ceil(std::min(frames, 1e6) / CRewindDeck::kEveryFrames)) + 1;
}

}  // namespace

CRewindDeck::CRewindDeck(CSession& session, u32 seconds, f64 frameRate)
    : session_(session), history_(StatesOf(seconds, frameRate), kMostBytes) {}

void CRewindDeck::EndFrame() {
  framesSinceStep_ = kFramesAStepBack;
  if (++framesSincePush_ < kEveryFrames) return;
  framesSincePush_ = 0;
  session_.SaveState(buffer_, true);
  history_.Push(buffer_.Stream());
}

bool CRewindDeck::StepBack() {
  if (++framesSinceStep_ < kFramesAStepBack) return false;
  framesSinceStep_ = 0;
  if (!history_.Pop(state_)) return false;
  framesSincePush_ = 0;
  session_.SaveState(buffer_, true);
  if (session_.LoadState(state_, buffer_.Stream())) return true;
  throw CHostError(EExitCode::StateUnusable, "--rewind: the machine cannot be put back");
}

}  // namespace vx
