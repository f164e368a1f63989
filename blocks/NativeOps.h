// What generated native blocks are made of, and the only header that they include. A block is a
// function of the machine alone: it computes on locals with the functions that the interpreter
// applies to registers, and stores the registers that it has changed at its very end.
//
// On entry pc is the address after the first op, no branch is pending and nothing has been charged.
// On return pc is the next op, and the cycle count has grown by the ops that ran and what they
// waited for. A function is given the pc and answers it beside the context; nothing that a memory
// access reaches moves it. `k` is the number of ops that have run without having been charged:
// accesses that leave RAM charge them for their duration, so that a device sees the time that
// replay would show it; ops that wait come after a Charge.
//
// Floating point is that of registers which are each their own (Status bit FR set); a block does
// not look at Status.
#pragma once

#include "blocks/ColdCalls.h"
#include "mips3/FpValues.h"
#include "mips3/MemoryValues.h"
#include "mips3/OpValues.h"
#include "mips3/Processor.h"

namespace vx::ops {

inline constexpr u64 kZero = 0;

inline void Charge(CVXMachine* m, u32 cycles) { m->cpu.cycles += cycles; }

// --- Where execution goes on ---------------------------------------------------------------------

// These answer the pc that they set. A target that reads as none means no branch. It hardly ever
// does, and a jump of the host that is always predicted costs nothing; the empty statement keeps
// the compiler from making it a select.
inline u32 GoTo(CVXMachine* m, u32 target, u32 behind) {
  if (target == kNoBranch) [[unlikely]] {
    asm volatile("");
    target = behind;
  }
  return m->cpu.pc = target;
}
// With a jump of the host, too: once it is predicted, the run loop finds the next block without
// waiting for what the branch compares.
inline u32 Branch(CVXMachine* m, bool bTaken, u32 target, u32 behind) {
  if (bTaken) {
    asm volatile("");
    return GoTo(m, target, behind);
  }
  return m->cpu.pc = behind;
}
inline u32 Jump(CVXMachine* m, u32 pc, u32 offset) {
  return m->cpu.pc = (pc & 0xF0000000) | offset;
}
// What a linking branch leaves behind: the address after its delay op.
constexpr u64 LinkTo(u32 address) { return SignExtend32(address); }

// --- Floating point registers as locals: whole, or the single in the low word --------------------

constexpr f64 AsDouble(u64 whole) { return std::bit_cast<f64>(whole); }
constexpr i64 AsLong(u64 whole) { return static_cast<i64>(whole); }
constexpr f32 AsSingle(u64 whole) { return std::bit_cast<f32>(Low(whole)); }
constexpr i32 AsWord(f32 single) { return std::bit_cast<i32>(single); }
constexpr u64 FromDouble(f64 value) { return std::bit_cast<u64>(value); }
constexpr u64 FromLong(i64 value) { return static_cast<u64>(value); }
constexpr f32 FromWord(i32 value) { return std::bit_cast<f32>(value); }
// A single leaves the high word of its register alone.
constexpr u64 Merge(u64 whole, f32 single) {
  return (whole & ~u64{0xFFFFFFFF}) | std::bit_cast<u32>(single);
}
inline void StoreSingle(u64& whole, f32 single) { std::memcpy(&whole, &single, sizeof(single)); }

constexpr u64 Mfc1(f32 single) { return SignExtend32(std::bit_cast<u32>(single)); }
constexpr u64 Mtc1(u64 t) { return Low(t); }
constexpr u32 WordOf(f32 single) { return std::bit_cast<u32>(single); }
inline void Ctc1(CVXMachine* m, u32 index, u64 t) { m->cpu.fcr[index] = Low(t); }

// --- COP0 and exceptions: pc stands in memory where these look at it or move it
// --------------------

inline u64 Mfc0(CVXMachine* m, u32 index, u32 target) {
  return SignExtend32(Low(ReadCop0(m, index, target)));
}
inline u64 Dmfc0(CVXMachine* m, u32 index, u32 target) { return ReadCop0(m, index, target); }
inline void Mtc0(CVXMachine* m, u32 index, u64 t) { WriteCop0(m, index, t); }
inline void Tlbwi(CVXMachine* m) { WriteTlbIndexed(m); }
inline void Eret(CVXMachine* m) { ReturnFromException(m); }
inline void Syscall(CVXMachine* m) { TakeException(m, kExceptionSyscall); }
inline void Break(CVXMachine* m) { TakeException(m, kExceptionBreak); }

}  // namespace vx::ops
