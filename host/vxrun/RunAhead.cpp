#include "host/vxrun/RunAhead.h"

#include "host/HostError.h"
#include "host/HostServices.h"

namespace vx {

void CRunAhead::Run(const SInputRecord* records, u32 count, EFrameUse& use) {
  // The board's files are not to meet what never happened: its clock stands.
  const CClockHold clockHold;
  const std::vector<CSpatialPanner::SGainState> gains = CHostServices::Get().Panner().SaveGains();
  session_.SaveState(state_, true);
  for (u32 frame = 1; frame <= frames_; ++frame) {
    use = frame == frames_ ? EFrameUse::AheadShown : EFrameUse::Ahead;
    session_.RunFrame(records, count);
  }
  use = EFrameUse::Game;
  if (!session_.LoadState(state_.Stream())) {
    throw CHostError(EExitCode::StateUnusable, "--run-ahead: the machine cannot be put back");
  }
  CHostServices::Get().Panner().RestoreGains(gains);
}

}  // namespace vx
