// Ops that work on registers alone, with the multiplier's time: one inline function an op, shared
// by the handlers and by replay. Nothing here traps; the trapping and non-trapping forms of an op
// are one function.
#pragma once

#include <algorithm>
#include <limits>

#include "machine/VXMachine.h"
#include "mips3/OpTable.h"

namespace vx {

// A 32-bit result as the register holds it.
constexpr u64 SignExtend32(u32 value) { return static_cast<u64>(i64{static_cast<i32>(value)}); }

inline u64 RegS(const CVXMachine* m, u32 word) { return m->cpu.gpr[Rs(word)]; }
inline u64 RegT(const CVXMachine* m, u32 word) { return m->cpu.gpr[Rt(word)]; }
inline u32 LowS(const CVXMachine* m, u32 word) { return static_cast<u32>(RegS(m, word)); }
inline u32 LowT(const CVXMachine* m, u32 word) { return static_cast<u32>(RegT(m, word)); }

inline void SetRegister(CVXMachine* m, u32 index, u64 value) {
  if (index != 0) m->cpu.gpr[index] = value;
}
inline void SetD(CVXMachine* m, u32 word, u64 value) { SetRegister(m, Rd(word), value); }
inline void SetT(CVXMachine* m, u32 word, u64 value) { SetRegister(m, Rt(word), value); }
inline u64 ImmediateS64(u32 word) { return static_cast<u64>(i64{SignedImmediate(word)}); }

inline void ExecNothing(CVXMachine*, u32) {}

// --- Add, subtract, logic, compare -------------------------------------------------------------

inline void ExecAddu(CVXMachine* m, u32 w) { SetD(m, w, SignExtend32(LowS(m, w) + LowT(m, w))); }
inline void ExecSubu(CVXMachine* m, u32 w) { SetD(m, w, SignExtend32(LowS(m, w) - LowT(m, w))); }
inline void ExecDaddu(CVXMachine* m, u32 w) { SetD(m, w, RegS(m, w) + RegT(m, w)); }
inline void ExecDsubu(CVXMachine* m, u32 w) { SetD(m, w, RegS(m, w) - RegT(m, w)); }
inline void ExecAddiu(CVXMachine* m, u32 w) {
  SetT(m, w, SignExtend32(LowS(m, w) + static_cast<u32>(SignedImmediate(w))));
}
inline void ExecDaddiu(CVXMachine* m, u32 w) { SetT(m, w, RegS(m, w) + ImmediateS64(w)); }

inline void ExecAnd(CVXMachine* m, u32 w) { SetD(m, w, RegS(m, w) & RegT(m, w)); }
inline void ExecOr(CVXMachine* m, u32 w) { SetD(m, w, RegS(m, w) | RegT(m, w)); }
inline void ExecXor(CVXMachine* m, u32 w) { SetD(m, w, RegS(m, w) ^ RegT(m, w)); }
inline void ExecNor(CVXMachine* m, u32 w) { SetD(m, w, ~(RegS(m, w) | RegT(m, w))); }
inline void ExecAndi(CVXMachine* m, u32 w) { SetT(m, w, RegS(m, w) & UnsignedImmediate(w)); }
inline void ExecOri(CVXMachine* m, u32 w) { SetT(m, w, RegS(m, w) | UnsignedImmediate(w)); }
inline void ExecXori(CVXMachine* m, u32 w) { SetT(m, w, RegS(m, w) ^ UnsignedImmediate(w)); }
inline void ExecLui(CVXMachine* m, u32 w) { SetT(m, w, SignExtend32(w << 16)); }

inline void ExecSlt(CVXMachine* m, u32 w) {
  SetD(m, w, static_cast<i64>(RegS(m, w)) < static_cast<i64>(RegT(m, w)));
}
inline void ExecSltu(CVXMachine* m, u32 w) { SetD(m, w, RegS(m, w) < RegT(m, w)); }
inline void ExecSlti(CVXMachine* m, u32 w) {
  SetT(m, w, static_cast<i64>(RegS(m, w)) < SignedImmediate(w));
}
inline void ExecSltiu(CVXMachine* m, u32 w) { SetT(m, w, RegS(m, w) < ImmediateS64(w)); }

// --- Shifts ------------------------------------------------------------------------------------

inline u64 ShiftLeft32(u32 value, u32 amount) { return SignExtend32(value << amount); }
inline u64 ShiftRight32(u32 value, u32 amount) { return SignExtend32(value >> amount); }
inline u64 ShiftArithmetic32(u32 value, u32 amount) {
  return static_cast<u64>(i64{static_cast<i32>(value) >> amount});
}
inline u64 ShiftArithmetic64(u64 value, u32 amount) {
  return static_cast<u64>(static_cast<i64>(value) >> amount);
}

inline void ExecSll(CVXMachine* m, u32 w) { SetD(m, w, ShiftLeft32(LowT(m, w), Sa(w))); }
inline void ExecSrl(CVXMachine* m, u32 w) { SetD(m, w, ShiftRight32(LowT(m, w), Sa(w))); }
inline void ExecSra(CVXMachine* m, u32 w) { SetD(m, w, ShiftArithmetic32(LowT(m, w), Sa(w))); }
inline void ExecSllv(CVXMachine* m, u32 w) { SetD(m, w, ShiftLeft32(LowT(m, w), LowS(m, w) & 31)); }
inline void ExecSrlv(CVXMachine* m, u32 w) {
  SetD(m, w, ShiftRight32(LowT(m, w), LowS(m, w) & 31));
}
inline void ExecSrav(CVXMachine* m, u32 w) {
  SetD(m, w, ShiftArithmetic32(LowT(m, w), LowS(m, w) & 31));
}
inline void ExecDsll(CVXMachine* m, u32 w) { SetD(m, w, RegT(m, w) << Sa(w)); }
inline void ExecDsrl(CVXMachine* m, u32 w) { SetD(m, w, RegT(m, w) >> Sa(w)); }
inline void ExecDsra(CVXMachine* m, u32 w) { SetD(m, w, ShiftArithmetic64(RegT(m, w), Sa(w))); }
inline void ExecDsll32(CVXMachine* m, u32 w) { SetD(m, w, RegT(m, w) << (Sa(w) + 32)); }
inline void ExecDsrl32(CVXMachine* m, u32 w) { SetD(m, w, RegT(m, w) >> (Sa(w) + 32)); }
inline void ExecDsra32(CVXMachine* m, u32 w) {
  SetD(m, w, ShiftArithmetic64(RegT(m, w), Sa(w) + 32));
}
inline void ExecDsllv(CVXMachine* m, u32 w) { SetD(m, w, RegT(m, w) << (LowS(m, w) & 63)); }
inline void ExecDsrlv(CVXMachine* m, u32 w) { SetD(m, w, RegT(m, w) >> (LowS(m, w) & 63)); }
inline void ExecDsrav(CVXMachine* m, u32 w) {
  SetD(m, w, ShiftArithmetic64(RegT(m, w), LowS(m, w) & 63));
}

// --- Multiply, divide, HI and LO ---------------------------------------------------------------

inline constexpr u32 kMultiplyCycles = 10;
inline constexpr u32 kMultiply64Cycles = 12;
inline constexpr u32 kDivideCycles = 42;
inline constexpr u32 kDivide64Cycles = 74;

// Results are there at once; an op that needs the multiplier waits for the one before it.
inline void WaitMultiplier(CVXMachine* m) {
  m->cpu.cycles = std::max(m->cpu.cycles, m->cpu.mulBusy);
}
inline void OccupyMultiplier(CVXMachine* m, u32 cycles) {
  WaitMultiplier(m);
  m->cpu.mulBusy = m->cpu.cycles + cycles;
}
inline void SetHiLo32(CVXMachine* m, u32 hi, u32 lo) {
  m->cpu.hi = SignExtend32(hi);
  m->cpu.lo = SignExtend32(lo);
}

inline void ExecMult(CVXMachine* m, u32 w) {
  const i64 a = static_cast<i32>(LowS(m, w));
  const i64 b = static_cast<i32>(LowT(m, w));
  const u64 product = static_cast<u64>(a * b);
  SetHiLo32(m, static_cast<u32>(product >> 32), static_cast<u32>(product));
  OccupyMultiplier(m, kMultiplyCycles);
}
inline void ExecMultu(CVXMachine* m, u32 w) {
  const u64 product = u64{LowS(m, w)} * LowT(m, w);
  SetHiLo32(m, static_cast<u32>(product >> 32), static_cast<u32>(product));
  OccupyMultiplier(m, kMultiplyCycles);
}
inline void ExecDmult(CVXMachine* m, u32 w) {
  const __int128 a = static_cast<i64>(RegS(m, w));
  const __int128 b = static_cast<i64>(RegT(m, w));
  const auto product = static_cast<unsigned __int128>(a * b);
  m->cpu.lo = static_cast<u64>(product);
  m->cpu.hi = static_cast<u64>(product >> 64);
  OccupyMultiplier(m, kMultiply64Cycles);
}
inline void ExecDmultu(CVXMachine* m, u32 w) {
  const unsigned __int128 product = static_cast<unsigned __int128>(RegS(m, w)) * RegT(m, w);
  m->cpu.lo = static_cast<u64>(product);
  m->cpu.hi = static_cast<u64>(product >> 64);
  OccupyMultiplier(m, kMultiply64Cycles);
}

// A zero divisor leaves HI and LO; the smallest integer by -1 gives itself without remainder.
inline void ExecDiv(CVXMachine* m, u32 w) {
  const i32 a = static_cast<i32>(LowS(m, w));
  const i32 b = static_cast<i32>(LowT(m, w));
  if (b == -1) {
    SetHiLo32(m, 0, 0u - static_cast<u32>(a));
  } else if (b != 0) {
    SetHiLo32(m, static_cast<u32>(a % b), static_cast<u32>(a / b));
  }
  OccupyMultiplier(m, kDivideCycles);
}
inline void ExecDivu(CVXMachine* m, u32 w) {
  const u32 a = LowS(m, w);
  const u32 b = LowT(m, w);
  if (b != 0) SetHiLo32(m, a % b, a / b);
  OccupyMultiplier(m, kDivideCycles);
}
inline void ExecDdiv(CVXMachine* m, u32 w) {
  const i64 a = static_cast<i64>(RegS(m, w));
  const i64 b = static_cast<i64>(RegT(m, w));
  if (b == -1) {
    m->cpu.hi = 0;
    m->cpu.lo = 0 - static_cast<u64>(a);
  } else if (b != 0) {
    m->cpu.hi = static_cast<u64>(a % b);
    m->cpu.lo = static_cast<u64>(a / b);
  }
  OccupyMultiplier(m, kDivide64Cycles);
}
inline void ExecDdivu(CVXMachine* m, u32 w) {
  const u64 a = RegS(m, w);
  const u64 b = RegT(m, w);
  if (b != 0) {
    m->cpu.hi = a % b;
    m->cpu.lo = a / b;
  }
  OccupyMultiplier(m, kDivide64Cycles);
}

inline void ExecMfhi(CVXMachine* m, u32 w) {
  SetD(m, w, m->cpu.hi);
  WaitMultiplier(m);
}
inline void ExecMflo(CVXMachine* m, u32 w) {
  SetD(m, w, m->cpu.lo);
  WaitMultiplier(m);
}
inline void ExecMthi(CVXMachine* m, u32 w) {
  m->cpu.hi = RegS(m, w);
  WaitMultiplier(m);
}
inline void ExecMtlo(CVXMachine* m, u32 w) {
  m->cpu.lo = RegS(m, w);
  WaitMultiplier(m);
}

}  // namespace vx
