// CADSP: the board's sound processor, an ADSP-2100 family core (24-bit instructions, 16-bit data,
// two address generators). This is one processor's state and its resets; the board around it is
// CSoundBoard.
#pragma once

#include "base/Types.h"
#include "machine/EventQueue.h"

namespace vx {

class CSoundBoard;

inline constexpr f64 kSoundClockMHz = 10.0;
inline constexpr u32 kAdspDataAddresses = 16384;
inline constexpr u32 kAdspInternalWords = 1024;
inline constexpr u32 kAdspExternalWords = 2048;
inline constexpr u32 kAdspDataWords = 512;

// The data registers, banked as a whole.
struct SADSPBank {
  u16 ax[2], ay[2];
  u16 ar, af;
  u16 mx[2], my[2];
  u32 unused20;
  u64 mr;  // MR0, MR1, MR2 from the low half-word up, sign above
  u16 mf;
  u16 unused34;
  u32 sr;
  u16 si;
  i16 se, sb;
  u16 unused46;
};
static_assert(sizeof(SADSPBank) == 48);
static_assert(offsetof(SADSPBank, mr) == 24 && offsetof(SADSPBank, sb) == 44);

// One address generator register set.
struct SADSPAddress {
  u32 i, l, m, base, mask;
};

// saved: everything that a guest can see of the processor, as a format.
struct SADSPState {
  u32 internalRam[kAdspInternalWords];
  u32 externalRam[kAdspExternalWords];
  u16 dataRam[kAdspDataWords];
  u32 pc, loopEnd, loopCond, cntr, px, astat, sstat, mstat;
  SADSPBank bank, alternateBank;
  i32 pcDepth;
  u32 pcStack[16];
  i32 loopDepth;
  u32 loopStack[4];
  i32 counterDepth;
  u32 counterStack[4];
  i32 statusDepth;
  u64 statusStack[4];
  u32 icntl, imask, reserved13592;
  SADSPAddress dag[8];
  u32 irqLevel, irqLatched;
  u32 cycles;       // run in the present slice
  u32 cutCycles;    // when not 0, one more than the cycles that count as run
  u32 cycleTarget;  // cycle count at which the present slice ends; 0 outside one
  f64 clockMHz;
  u32 runFlags;  // instances only
  u32 padding13788;
};
static_assert(sizeof(SADSPState) == 13792);
static_assert(offsetof(SADSPState, externalRam) == 4096);
static_assert(offsetof(SADSPState, dataRam) == 12288);
static_assert(offsetof(SADSPState, pc) == 13312);
static_assert(offsetof(SADSPState, bank) == 13344);
static_assert(offsetof(SADSPState, pcDepth) == 13440);
static_assert(offsetof(SADSPState, loopDepth) == 13508);
static_assert(offsetof(SADSPState, statusDepth) == 13548);
static_assert(offsetof(SADSPState, statusStack) == 13552);
static_assert(offsetof(SADSPState, icntl) == 13584);
static_assert(offsetof(SADSPState, dag) == 13596);
static_assert(offsetof(SADSPState, irqLevel) == 13756);
static_assert(offsetof(SADSPState, clockMHz) == 13776);

class CADSP {
 public:
  using ReadHandler = u16 (*)(CSoundBoard* board, u32 address);
  using WriteHandler = void (*)(CSoundBoard* board, u32 address, u16 value);

  // Zero state, the clock, the boot event's registration, then a full reset.
  void Construct(f64 clockMHz, CEventQueue* queue, CEventQueue::Callback onBootDone, void* context);
  // Machine reset: memories, banks, address registers, then ProcessorReset.
  void FullReset();
  // The reset that the guest can cause; memories and data registers stay. MSTAT and latched
  // interrupts survive both resets.
  void ProcessorReset();

  // Consumes a slice and answers the cycles done. The core is held: it executes no program.
  u32 Run(u32 cycles);
  bool IsInSlice() const { return state.cycleTarget != 0; }
  // Makes a running slice end at its present cycle.
  void CutSlice();

  // saved
  SADSPState state;

  // wiring
  CSoundBoard* board = nullptr;
  ReadHandler readTable[kAdspDataAddresses] = {};
  WriteHandler writeTable[kAdspDataAddresses] = {};
  CEventQueue* queue = nullptr;
  u32 bootDoneEventId = CEventQueue::kNoId;
  u32 quietStopEventId = CEventQueue::kNoId;  // instances only
};

}  // namespace vx
