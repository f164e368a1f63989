#include "sound/ADSP.h"

#include <bit>
#include <cstring>

namespace vx {

namespace {

constexpr u32 kAddressMask = 0x3FFF;
constexpr u32 kNoLoop = 65535;
constexpr u32 kAllStacksEmpty = 0x55;

u32 CircularMask(u32 length) {
  if (length <= 1) return kAddressMask;
  const u32 bits = static_cast<u32>(std::bit_width(length - 1));
  return ((1u << bits) - 1) ^ kAddressMask;
}

}  // namespace

void CADSP::Construct(f64 clockMHz, CEventQueue* eventQueue, CEventQueue::Callback onBootDone,
                      void* context) {
  std::memset(&state, 0, sizeof(state));
  state.clockMHz = clockMHz;
  queue = eventQueue;
  bootDoneEventId = queue->Register(onBootDone, context);
  FullReset();
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
  state.sstat = kAllStacksEmpty;
}

u32 CADSP::Run(u32 cycles) { return cycles; }

void CADSP::CutSlice() {
  if (state.cutCycles == 0) state.cutCycles = state.cycles + 1;
  state.cycles = state.cycleTarget;
}

}  // namespace vx
