#include "host/vxrun/RunAhead.h"

#include "host/HostError.h"
#include "host/HostServices.h"

namespace vx {

void CRunAhead::Run(const SInputRecord* records, u32 count, EFrameUse& use) {
  // The board's files are not to meet what never happened: its clock stands.
  const CClockHold clockHold;
  const std::vector<CSpatialPanner::SGainState> gains = CHostServices::Get().Panner().SaveGains();
  session_.SaveState(state_, true);
  const u64 clockReads = CHostServices::Get().ClockReads();
  for (u32 frame = 1; frame <= frames_; ++frame) {
    use = frame == frames_ ? EFrameUse::AheadShown : EFrameUse::Ahead;
    session_.RunFrame(records, count);
  }
  use = EFrameUse::Game;
  // The guest may have written to its disk, which a state alone does not take back.
  std::span<const u8> present;
  if (CHostServices::Get().ClockReads() != clockReads) {
    session_.SaveState(present_, true);
    present = present_.Stream();
  }
  if (!session_.LoadState(state_.Stream(), present)) {
    throw CHostError(EExitCode::StateUnusable, "--run-ahead: the machine cannot be put back");
  }
  CHostServices::Get().Panner().RestoreGains(gains);
}

}  // namespace vx
