// Words that the system plants in program memory: native routines in place of the sound program's
// hot loops, and script hooks.
//
// A native routine leaves what the words that it replaces would leave, in registers, flags, memory
// and stacks, and adds the table's cycles. It runs within one instruction: the loop's other words
// stay in memory, are not looked at, and no interrupt falls between them.
#include "sound/ADSPPatches.h"

#include <algorithm>

#include "sound/ADSPDecode.h"
#include "sound/ADSPMemory.h"

namespace vx {

namespace {

// --- Replay ------------------------------------------------------------------------------------

constexpr u32 kClearWords = 258;
constexpr u32 kVolumeRounds = 256;

// Executes a patch's words through the sequencer until the PC leaves them. The limit is what a
// healthy loop takes; a loop that outer loops or full stacks bend goes on in the guest's own words.
void ReplayWords(CADSP& p, const SPatch& patch, u32 limit) {
  SADSPState& s = p.state;
  AdspHandler handlers[kLongestPatch];
  for (u32 i = 0; i < patch.wordCount; ++i) handlers[i] = HandlerOf(patch.words[i]);
  s.pc = patch.address + 1;
  u32 astat = handlers[0](p, patch.words[0], s.astat);
  for (; limit != 0; --limit) {
    const u32 pc = s.pc;
    const u32 at = pc - patch.address;
    if (at == 0 || at >= patch.wordCount) break;
    if (pc == s.loopEnd) {
      p.StepLoopEnd(pc, astat);
    } else {
      s.pc = pc + 1;
    }
    astat = handlers[at](p, patch.words[at], astat);
  }
  s.astat = astat;
}

// The words' work on counter, stacks and PC, with a memory of its own: the routine clears the
// accumulator in ascending order whatever modifier, length and address mode say, and leaves the
// address register's base alone.
void ClearAccumulator(CADSP& p) {
  static constexpr SPatch kFrame = [] {
    SPatch frame = kPatches[0];
    frame.words[1] = 0;
    frame.words[3] = 0;
    return frame;
  }();
  constexpr u32 kEndIndex = 0x3902;
  ReplayWords(p, kFrame, 2 + kClearWords);
  std::fill_n(p.state.dataRam, kClearWords, u16{0});
  p.state.dag[0].i = kEndIndex;
}

// --- Routines ----------------------------------------------------------------------------------

// Adds a routine's cycles; a slice that was cut inside it still reports them.
class CCycleCharge {
 public:
  explicit CCycleCharge(CADSP& p) : p_(p), bWasCut_(p.state.cutCycles != 0) {}
  void Add(u32 cycles) {
    p_.state.cycles += cycles;
    if (!bWasCut_ && p_.state.cutCycles != 0) p_.state.cutCycles += cycles;
  }

 private:
  CADSP& p_;
  bool bWasCut_;
};

// A loop of CNTR rounds; a counter of 0 makes one. A counter that no program can load is left to
// the guest's own words.
void RunCountedLoop(CADSP& p, const SPatch& patch) {
  if (p.state.cntr > kAddressMask) {
    p.state.pc = patch.address + 1;
    p.Execute(patch.words[0]);
    return;
  }
  const u32 cycles = std::max(p.state.cntr, 1u) * (patch.wordCount - 1);
  CCycleCharge charge(p);
  ReplayWords(p, patch, cycles);
  charge.Add(cycles);
}

void RunClear(CADSP& p, const SPatch&) {
  constexpr u32 kCycles = 261;
  CCycleCharge charge(p);
  ClearAccumulator(p);
  charge.Add(kCycles);
}

void RunVolume(CADSP& p, const SPatch& patch) {
  constexpr u32 kCycles = 2 + 4 * kVolumeRounds;
  CCycleCharge charge(p);
  ReplayWords(p, patch, kCycles);
  charge.Add(kCycles);
}

void SetIndex(CADSP& p, u32 dag, u32 index) {
  p.state.dag[dag].i = index;
  p.state.dag[dag].base = p.state.dag[dag].mask & index;
}

// The program begins to work on a command.
void RunBusyMark(CADSP& p, const SPatch&) {
  SetIndex(p, 0, 0x390);
  p.WakeUp();
}

// The program has nothing to do.
void RunIdleMark(CADSP& p, const SPatch&) {
  SetIndex(p, 1, 0x3BC);
  p.ArmQuiet();
}

using PatchRoutine = void (*)(CADSP& p, const SPatch& patch);

// clang-format off
constexpr PatchRoutine kRoutines[kPatchCount] = {
  // routine          patch  cycles added   PC after
  RunClear,        //  0     261              37
  RunCountedLoop,  //  1     9 x CNTR        279
  RunVolume,       //  2     1026            298
  RunCountedLoop,  //  3     6 x CNTR       2560
  RunBusyMark,     //  4     0              next; instances only
  RunIdleMark,     //  5     0              next; instances only
};
// clang-format on

bool StandsInProgram(const CADSP& p, const SPatch& patch) {
  for (u32 i = 0; i < patch.wordCount; ++i) {
    if (p.ReadProgram(patch.address + i) != patch.words[i]) return false;
  }
  return true;
}

}  // namespace

// --- Planting ----------------------------------------------------------------------------------

void CADSP::FinishBoot() {
  if (hooks != nullptr && !hooks->empty()) {
    PlantHooks();
  } else {
    PlantPatches();
  }
  if (variant->bQuietTimer) ArmQuiet();
}

void CADSP::PlantPatches() {
  for (u32 number = 0; number < variant->patchCount; ++number) {
    const SPatch& patch = kPatches[number];
    if (StandsInProgram(*this, patch)) WriteProgram(patch.address, kPlantedWord + number);
  }
}

// The boot has written over the hooks: each takes what stands at its address now for the word that
// it replaces.
void CADSP::PlantHooks() {
  for (SDspPatch& hook : *hooks) {
    u32& word = HookedWord(state, hook.address);
    if (word == hook.handle) continue;
    hook.savedWord = word;
    word = hook.handle;
  }
}

// --- Execution ---------------------------------------------------------------------------------

void CADSP::ExecutePlanted(u32 number) {
  if (number >= kFirstHookNumber) {
    ExecuteHook(number - kFirstHookNumber);
  } else if (number < variant->patchCount) {
    kRoutines[number](*this, kPatches[number]);
  }
}

// The script may change the list from within the call, so the record is not touched after it. A
// saved word can itself be a hook; more of them than there are records would be a circle.
void CADSP::ExecuteHook(u32 index) {
  if (hooks == nullptr || index >= hooks->size() || hookDepth > hooks->size()) return;
  const SDspPatch hook = (*hooks)[index];
  if (!port->InvokeHook(hook.tag, kPlantedWord | (index + kFirstHookNumber))) return;
  ++hookDepth;
  Execute(hook.savedWord);
  --hookDepth;
}

}  // namespace vx
