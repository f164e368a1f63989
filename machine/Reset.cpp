// Power-on state of the board. The host applies the settings afterwards; until then the board runs
// at its own defaults.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "blocks/RecordCache.h"
#include "machine/HostAccess.h"
#include "machine/Settings.h"
#include "machine/VXMachine.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

// A seed out of the host's clock, as the digits of different decades.
u32 RandomSeed(f64 clockMs) {
  constexpr f64 kClockRange = 1000000.0;
  const f64 t = std::isfinite(clockMs) ? std::fmod(clockMs, kClockRange) : 0.0;
  u32 seed = 0;
  for (const f64 scale : {0.001, 0.000001, 1000000000.0, 1000.0, 1000000.0, 1.0}) {
    seed ^= static_cast<u32>(static_cast<i64>(t * scale));
  }
  return seed & 0x7FFFFFFF;
}

}  // namespace

void CVXMachine::ResetState() {
  const std::lock_guard lock(inputLock);
  state = SMachineState{};
  state.inputPort0 = ~u64{0};
  state.inputPort1 = ~u64{0};
  state.boardStatus = ~u64{0};
  state.dipPort = ~u64{0};
}

void CVXMachine::ClearTouchedRecords() {
  constexpr u32 kGroupRecords = 1u << kRecordGroupShift;
  for (u32 word = 0; word < std::size(recordGroups); ++word) {
    for (u64 left = recordGroups[word]; left != 0; left &= left - 1) {
      const u32 group = word * 64 + static_cast<u32>(std::countr_zero(left));
      std::memset(records + u64{group} * kGroupRecords, 0, kGroupRecords * sizeof(SPredecodedOp));
    }
    recordGroups[word] = 0;
  }
  longestBlock = 0;
}

void CVXMachine::Reset() noexcept {
  if (bFreshPages == 0) std::memset(flatMem, 0, kLowRamBytes + kMainRamBytes);
  ResetState();
  lookAheadFrameNumber = 0;
  if (bRandomStart.load(std::memory_order_relaxed) != 0) {
    state.randState = RandomSeed(HostClockMs());
    state.frameFlags |= kFrameRandomStart;
  }
  pendingDipWord = ~u64{0};
  pendingClockMHz = kDefaultClockSetting;
  pendingExtraReadTimeUs = 0;

  vBlankCount = 0;
  mixer.Reset();
  breakpointMap.clear();
  bPredecodeChanged = 1;
  ClearTouchedRecords();
  LoadRecordCache(*this);
  cpuRecords = records;
  cpuFlatMem = flatMem;
  cpuRecordCount = kRecordCount;
  cpuBreakpoints = &breakpointMap;

  queue.Clear();
  for (SDspInstanceSlot& slot : instances.slots) slot.time = 0.0;
  PrepareDisk(*this);
  ResetProcessor(this);
  sound.FullReset();
  state.frameRateInForce = 0.0;
  ArmVideoEvents();
  ata.Reset();
  soundBoard.BoardReset();
  if (bLoaded != 0) soundBoard.BootLoad();
  bResetPending = 1;
  bFreshPages = 0;
}

}  // namespace vx
