// State of one sound processor as a format: memories, registers, stacks and address generators,
// laid out as a save state and a clone's snapshot hold them.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>

#include "base/Types.h"

namespace vx {

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
  u32 cutCycles;    // when not 0, what a cut slice reports as run
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

// --- Bits of the control registers -------------------------------------------------------------

enum EAstat : u32 {
  kAstatZero = 1u << 0,
  kAstatNegative = 1u << 1,
  kAstatOverflow = 1u << 2,
  kAstatCarry = 1u << 3,
  kAstatXSign = 1u << 4,
  kAstatQuotient = 1u << 5,
  kAstatMacOverflow = 1u << 6,
  kAstatShifterSign = 1u << 7,
};

enum EMstat : u32 {
  kMstatAlternateBank = 1u << 0,
  kMstatBitReverse = 1u << 1,
  kMstatOverflowLatch = 1u << 2,
  kMstatSaturate = 1u << 3,
  kMstatIntegerMac = 1u << 4,
  kMstatTimer = 1u << 5,
  kMstatGo = 1u << 6,
};

// Each stack has a bit for empty and one for overflow.
enum ESstat : u32 {
  kSstatPcEmpty = 1u << 0,
  kSstatPcOverflow = 1u << 1,
  kSstatCounterEmpty = 1u << 2,
  kSstatCounterOverflow = 1u << 3,
  kSstatStatusEmpty = 1u << 4,
  kSstatStatusOverflow = 1u << 5,
  kSstatLoopEmpty = 1u << 6,
  kSstatLoopOverflow = 1u << 7,
  kSstatAllEmpty = kSstatPcEmpty | kSstatCounterEmpty | kSstatStatusEmpty | kSstatLoopEmpty,
};

// Interrupts, by their bit in irqLevel and irqLatched.
enum EPending : u32 {
  kPendingTransmit = 1u << 1,  // the autobuffer has sent a whole buffer
  kPendingCommand = 1u << 2,   // the main processor has written the command latch
};

enum ERunFlag : u32 {
  kRunQuietArmed = 1u << 0,
  kRunHalted = 1u << 1,
};

inline constexpr u32 kIcntlNesting = 1u << 4;
inline constexpr u32 kAddressMask = 0x3FFF;
inline constexpr u32 kNoLoop = 65535;
inline constexpr u32 kCounterCondition = 14;  // the loop counter has not run out
inline constexpr u32 kPcStackWords = 16;
inline constexpr u32 kSmallStackWords = 4;

// A clock that time can be divided by; a loaded state can hold any.
inline f64 UsableClock(f64 clockMHz, f64 otherwise) {
  return std::isfinite(clockMHz) && clockMHz > 0.0 ? clockMHz : otherwise;
}

// The bits of an address that stand still while a circular buffer of this many words is walked.
constexpr u32 CircularMask(u32 length) {
  if (length <= 1) return kAddressMask;
  return ((1u << std::bit_width(length - 1)) - 1) ^ kAddressMask;
}

}  // namespace vx
