#include "host/PlayControl.h"

#include <utility>

#include "host/Text.h"

namespace vx {

void CPlayControl::Take(u32 pressed, u32 held) {
  if ((pressed & kHostPause) != 0) bPaused_ = !bPaused_;
  if ((pressed & kHostStep) != 0) {
    bStep_ = bPaused_;
    bPaused_ = true;
  }
  if ((pressed & kHostMute) != 0) bMuted_ = !bMuted_;
  if ((pressed & kHostReset) != 0) bReset_ = true;
  if ((pressed & kHostScreenshot) != 0) bScreenshot_ = true;
  if ((pressed & kHostQuit) != 0) bLeft_ = true;
  bFast_ = (held & kHostFastForward) != 0;
  bRewinding_ = (held & kHostRewind) != 0;
  stateActions_ |= pressed & kHostStateActions;
}

bool CPlayControl::TakeFrame() { return std::exchange(bStep_, false) || !bPaused_; }
bool CPlayControl::TakeReset() { return std::exchange(bReset_, false); }
bool CPlayControl::TakeScreenshot() { return std::exchange(bScreenshot_, false); }
u32 CPlayControl::TakeStateActions() { return std::exchange(stateActions_, 0); }

std::string WindowTitle(const std::string& name, const CPlayControl& play,
                        const SDiskProgress& disk) {
  std::string states;
  const auto add = [&](const std::string& state) {
    states += (states.empty() ? "" : ", ") + state;
  };
  if (play.IsPaused()) add("paused");
  if (play.IsRewinding()) add("rewind");
  if (play.IsFast()) add("fast forward");
  if (play.IsMuted()) add("muted");
  if (!disk.IsComplete()) add(Format("disk %u%%", disk.Percent()));
  return name + " - vxrun" + (states.empty() ? "" : " [" + states + "]");
}

std::string ProgressLine(u64 framesDone, u64 totalFrames, const SDiskProgress& disk) {
  const auto done = static_cast<unsigned long long>(framesDone);
  std::string text = Format("frame %llu", done);
  if (totalFrames != 0) {
    const f64 percent = static_cast<f64>(framesDone) * 100.0 / static_cast<f64>(totalFrames);
    text += Format(" of %llu (%u%%)", static_cast<unsigned long long>(totalFrames),
                   static_cast<u32>(percent));
  }
  if (!disk.IsComplete()) {
    text +=
        Format("; disk %u%% (chunk %u of %u)", disk.Percent(), disk.chunksDone, disk.chunkCount);
  }
  return text;
}

}  // namespace vx
