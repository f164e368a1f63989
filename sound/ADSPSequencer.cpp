// The run loop, the four stacks, loops and interrupts.
#include <algorithm>

#include "sound/ADSPCondition.h"
#include "sound/ADSPDecode.h"
#include "sound/ADSPMemory.h"

namespace vx {

namespace {

constexpr u32 kLoopCondMask = 15;

// A depth as it indexes: a loaded state can hold any.
u32 UsableDepth(i32 depth, u32 limit) {
  return static_cast<u32>(std::clamp(depth, 0, static_cast<i32>(limit)));
}

// Stores a value if there is room, and keeps the stack's two status bits.
template <typename T, u32 limit>
bool Push(SADSPState& s, i32& depth, T (&entries)[limit], T value, u32 emptyBit, u32 overflowBit) {
  const u32 at = UsableDepth(depth, limit);
  if (at == limit) {
    s.sstat |= overflowBit;
    return false;
  }
  entries[at] = value;
  depth = static_cast<i32>(at + 1);
  s.sstat &= ~emptyBit;
  return true;
}

// Drops the top entry and answers its place. An empty stack stays empty and answers place 0.
u32 Pop(SADSPState& s, i32& depth, u32 limit, u32 emptyBit) {
  const u32 at = UsableDepth(depth, limit);
  if (at == 0) {
    depth = 0;
    return 0;
  }
  depth = static_cast<i32>(at - 1);
  if (depth == 0) s.sstat |= emptyBit;
  return at - 1;
}

struct SInterrupt {
  u32 pending;
  bool bAlwaysLatched;  // else ICNTL's bit of the same place chooses latch or level
  u32 enable;           // in IMASK
  u32 vector;
  u32 clearNested;  // IMASK bits that go when interrupts nest
};

// clang-format off
constexpr SInterrupt kInterrupts[] = {
  // pending  latched  enable  vector  IMASK bits cleared with nesting
  { 2,        false,   1u << 5,   4,   0x3F },  // command from the main processor
  { 4,        true,    1u << 4,   8,   0x1F },
  { 3,        true,    1u << 3,  12,   0x0F },
  { 1,        false,   1u << 2,  16,   0x07 },  // autobuffer
  { 0,        false,   1u << 1,  20,   0x03 },
  { 5,        true,    1u << 0,  24,   0x01 },
};
// clang-format on
constexpr u32 kAllInterrupts = 0x3F;

}  // namespace

// --- Slices ------------------------------------------------------------------------------------

u32 CADSP::Run(u32 targetCycles) {
  if (variant->bQuietTimer && (state.runFlags & kRunHalted) != 0) return targetCycles;
  state.cycleTarget = targetCycles;
  CheckInterrupts();
  u32 astat = state.astat;
  while (state.cycles < state.cycleTarget) {
    const u32 pc = state.pc;
    const u32 word = Fetch(pc);
    if (pc == state.loopEnd) [[unlikely]] {
      StepLoopEnd(pc, astat);
    } else {
      state.pc = pc + 1;
    }
    astat = HandlerOf(word)(*this, word, astat);
    ++state.cycles;
  }
  state.astat = astat;
  const u32 done = state.cutCycles != 0 ? state.cutCycles : state.cycles;
  state.cycles = 0;
  state.cutCycles = 0;
  state.cycleTarget = 0;
  return done;
}

void CADSP::CutSlice() {
  if (state.cutCycles == 0) state.cutCycles = state.cycles + 1;
  state.cycles = state.cycleTarget;
}

void CADSP::Execute(u32 word) { state.astat = HandlerOf(word)(*this, word, state.astat); }

// --- Loops -------------------------------------------------------------------------------------

// Runs before the loop's last word executes: the word may still replace the PC.
void CADSP::StepLoopEnd(u32 pc, u32 astat) {
  if (EvalCondition(state.loopCond & kLoopCondMask, astat)) {
    const u32 depth = UsableDepth(state.pcDepth, kPcStackWords);
    state.pc = depth != 0 ? state.pcStack[depth - 1] : 0;
    return;
  }
  Pop(state, state.pcDepth, kPcStackWords, kSstatPcEmpty);
  state.pc = pc + 1;
  PopLoop();
}

// --- Stacks ------------------------------------------------------------------------------------

void CADSP::PushPc(u32 value) {
  Push(state, state.pcDepth, state.pcStack, value, kSstatPcEmpty, kSstatPcOverflow);
}

u32 CADSP::PopPc() {
  return state.pcStack[Pop(state, state.pcDepth, kPcStackWords, kSstatPcEmpty)];
}

void CADSP::PushLoop(u32 entry) {
  if (!Push(state, state.loopDepth, state.loopStack, entry, kSstatLoopEmpty, kSstatLoopOverflow)) {
    return;
  }
  state.loopEnd = entry >> 4 & kAddressMask;
  state.loopCond = entry & kLoopCondMask;
}

void CADSP::PopLoop() {
  Pop(state, state.loopDepth, kSmallStackWords, kSstatLoopEmpty);
  if (state.loopDepth == 0) {
    state.sstat |= kSstatLoopEmpty;
    state.loopEnd = kNoLoop;
    state.loopCond = 0;
    return;
  }
  const u32 entry = state.loopStack[state.loopDepth - 1];
  state.loopEnd = entry >> 4 & kAddressMask;
  state.loopCond = entry & kLoopCondMask;
}

void CADSP::PushCounter(u32 value) {
  Push(state, state.counterDepth, state.counterStack, state.cntr, kSstatCounterEmpty,
       kSstatCounterOverflow);
  state.cntr = value & kAddressMask;
}

void CADSP::PopCounter() {
  state.cntr =
      state.counterStack[Pop(state, state.counterDepth, kSmallStackWords, kSstatCounterEmpty)];
}

void CADSP::PushStatus() {
  const u64 word =
      u64{state.astat & 0xFFFF} << 32 | u64{state.imask & 0xFFFF} << 16 | (state.mstat & 0xFFFF);
  Push(state, state.statusDepth, state.statusStack, word, kSstatStatusEmpty, kSstatStatusOverflow);
}

void CADSP::PopStatus() {
  const u64 word =
      state.statusStack[Pop(state, state.statusDepth, kSmallStackWords, kSstatStatusEmpty)];
  WriteMstat(static_cast<u32>(word & 0xFFFF));
  state.imask = static_cast<u32>(word >> 16 & 0xFFFF);
  state.astat = static_cast<u32>(word >> 32 & 0xFFFF);
}

void CADSP::WriteMstat(u32 value) {
  if (((value ^ state.mstat) & kMstatAlternateBank) != 0) {
    std::swap(state.bank, state.alternateBank);
  }
  state.mstat = value;
}

// --- Interrupts --------------------------------------------------------------------------------

void CADSP::TakeInterrupt() {
  for (const SInterrupt& row : kInterrupts) {
    const u32 bit = 1u << row.pending;
    const bool bLatched = row.bAlwaysLatched || (state.icntl & bit) != 0;
    if (((bLatched ? state.irqLatched : state.irqLevel) & bit) == 0) continue;
    if ((state.imask & row.enable) == 0) return;
    state.irqLatched &= ~bit;
    PushPc(state.pc);
    PushStatus();
    state.pc = row.vector;
    state.imask &= ~((state.icntl & kIcntlNesting) != 0 ? row.clearNested : kAllInterrupts);
    return;
  }
}

}  // namespace vx
