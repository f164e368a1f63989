#include "sound/ADSP.h"

#include <cstring>

namespace vx {

namespace {

constexpr f64 kQuietUs = 1000.0;

}  // namespace

// --- Construction and resets -------------------------------------------------------------------

void CADSP::Construct(f64 clockMHz, CEventQueue* eventQueue, CSoundPort* soundPort,
                      const SADSPVariant& itsVariant) {
  std::memset(&state, 0, sizeof(state));
  state.clockMHz = clockMHz;
  queue = eventQueue;
  port = soundPort;
  variant = &itsVariant;
  bootDoneEventId = queue->Register(OnBootDone, this);
  if (variant->bQuietTimer) quietStopEventId = queue->Register(OnQuietStop, this);
  FullReset();
}

void CADSP::Unregister() {
  if (variant->bQuietTimer) queue->Unregister(quietStopEventId);
  queue->Unregister(bootDoneEventId);
}

void CADSP::FullReset() {
  std::memset(state.internalRam, 0, sizeof(state.internalRam));
  std::memset(state.externalRam, 0, sizeof(state.externalRam));
  std::memset(state.dataRam, 0, sizeof(state.dataRam));
  std::memset(&state.bank, 0, sizeof(state.bank));
  std::memset(&state.alternateBank, 0, sizeof(state.alternateBank));
  std::memset(state.dag, 0, sizeof(state.dag));
  state.px = 0;
  state.icntl = 0;
  state.cycles = 0;
  state.cycleTarget = 0;
  ProcessorReset();
}

void CADSP::ProcessorReset() {
  for (SADSPAddress& address : state.dag) {
    address.l &= kAddressMask;
    address.i &= kAddressMask;
    address.mask = CircularMask(address.l);
    address.base = address.i & address.mask;
  }
  state.loopEnd = kNoLoop;
  state.pc = 0;
  state.cntr = 0;
  state.astat = 0;
  state.pcDepth = 0;
  state.loopDepth = 0;
  state.counterDepth = 0;
  state.statusDepth = 0;
  state.irqLevel = 0;
  state.imask = 0;
  state.runFlags = 0;
  state.sstat = kSstatAllEmpty;
  if (variant->bQuietTimer) ArmQuiet();
}

// --- Events ------------------------------------------------------------------------------------

void CADSP::ArmQuiet() {
  if ((state.runFlags & (kRunQuietArmed | kRunHalted)) != 0) return;
  state.runFlags |= kRunQuietArmed;
  queue->Cancel(quietStopEventId);
  queue->Schedule(queue->Now() + kQuietUs, quietStopEventId, 0);
}

bool CADSP::WakeUp() {
  if ((state.runFlags & (kRunQuietArmed | kRunHalted)) == 0) return false;
  state.runFlags &= ~u32{kRunQuietArmed | kRunHalted};
  queue->Cancel(quietStopEventId);
  return true;
}

void CADSP::OnBootDone(void* context, u64, f64) { static_cast<CADSP*>(context)->FinishBoot(); }

void CADSP::OnQuietStop(void* context, u64, f64) {
  auto* p = static_cast<CADSP*>(context);
  p->state.runFlags = (p->state.runFlags & ~u32{kRunQuietArmed}) | kRunHalted;
}

}  // namespace vx
