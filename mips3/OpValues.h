// What ops compute, as functions of operand values: one an op, under the name by which the op table
// says what executes it. Handlers and replay apply them to registers, native blocks to locals.
// Immediates are the 16 bits of the op word. Nothing here traps; the trapping and non-trapping
// forms of an op are one function.
#pragma once

#include <algorithm>

#include "machine/VXMachine.h"

namespace vx {

// A 32-bit result as the register holds it.
constexpr u64 SignExtend32(u32 value) { return static_cast<u64>(i64{static_cast<i32>(value)}); }

namespace ops {

constexpr u32 Low(u64 value) { return static_cast<u32>(value); }
constexpr i64 Signed(u64 value) { return static_cast<i64>(value); }
constexpr i64 SignExtend16(u32 immediate) { return static_cast<i16>(immediate); }

// --- Add, subtract, logic, compare -------------------------------------------------------------

constexpr u64 Addu(u64 s, u64 t) { return SignExtend32(Low(s) + Low(t)); }
constexpr u64 Subu(u64 s, u64 t) { return SignExtend32(Low(s) - Low(t)); }
constexpr u64 Daddu(u64 s, u64 t) { return s + t; }
constexpr u64 Dsubu(u64 s, u64 t) { return s - t; }
constexpr u64 Addiu(u64 s, u32 immediate) {
  return SignExtend32(Low(s) + static_cast<u32>(SignExtend16(immediate)));
}
constexpr u64 Daddiu(u64 s, u32 immediate) { return s + static_cast<u64>(SignExtend16(immediate)); }

constexpr u64 And(u64 s, u64 t) { return s & t; }
constexpr u64 Or(u64 s, u64 t) { return s | t; }
constexpr u64 Xor(u64 s, u64 t) { return s ^ t; }
constexpr u64 Nor(u64 s, u64 t) { return ~(s | t); }
constexpr u64 Andi(u64 s, u32 immediate) { return s & immediate; }
constexpr u64 Ori(u64 s, u32 immediate) { return s | immediate; }
constexpr u64 Xori(u64 s, u32 immediate) { return s ^ immediate; }
constexpr u64 Lui(u32 immediate) { return SignExtend32(immediate << 16); }

constexpr u64 Slt(u64 s, u64 t) { return Signed(s) < Signed(t); }
constexpr u64 Sltu(u64 s, u64 t) { return s < t; }
constexpr u64 Slti(u64 s, u32 immediate) { return Signed(s) < SignExtend16(immediate); }
constexpr u64 Sltiu(u64 s, u32 immediate) { return s < static_cast<u64>(SignExtend16(immediate)); }

// --- Shifts: the variable forms take the amount as their second operand ------------------------

constexpr u64 Sll(u64 t, u32 amount) { return SignExtend32(Low(t) << amount); }
constexpr u64 Srl(u64 t, u32 amount) { return SignExtend32(Low(t) >> amount); }
constexpr u64 Sra(u64 t, u32 amount) {
  return static_cast<u64>(i64{static_cast<i32>(Low(t)) >> amount});
}
constexpr u64 Sllv(u64 t, u64 s) { return Sll(t, Low(s) & 31); }
constexpr u64 Srlv(u64 t, u64 s) { return Srl(t, Low(s) & 31); }
constexpr u64 Srav(u64 t, u64 s) { return Sra(t, Low(s) & 31); }
constexpr u64 Dsll(u64 t, u32 amount) { return t << amount; }
constexpr u64 Dsrl(u64 t, u32 amount) { return t >> amount; }
constexpr u64 Dsra(u64 t, u32 amount) { return static_cast<u64>(Signed(t) >> amount); }
constexpr u64 Dsll32(u64 t, u32 amount) { return Dsll(t, amount + 32); }
constexpr u64 Dsrl32(u64 t, u32 amount) { return Dsrl(t, amount + 32); }
constexpr u64 Dsra32(u64 t, u32 amount) { return Dsra(t, amount + 32); }
constexpr u64 Dsllv(u64 t, u64 s) { return Dsll(t, Low(s) & 63); }
constexpr u64 Dsrlv(u64 t, u64 s) { return Dsrl(t, Low(s) & 63); }
constexpr u64 Dsrav(u64 t, u64 s) { return Dsra(t, Low(s) & 63); }

// --- Conditions of branches --------------------------------------------------------------------

constexpr bool IsEqual(u64 s, u64 t) { return s == t; }
constexpr bool IsNegative(u64 s) { return Signed(s) < 0; }
constexpr bool IsPositive(u64 s) { return Signed(s) > 0; }

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

inline void Mult(CVXMachine* m, u64 s, u64 t) {
  const i64 a = static_cast<i32>(Low(s));
  const i64 b = static_cast<i32>(Low(t));
  const u64 product = static_cast<u64>(a * b);
  SetHiLo32(m, static_cast<u32>(product >> 32), static_cast<u32>(product));
  OccupyMultiplier(m, kMultiplyCycles);
}
inline void Multu(CVXMachine* m, u64 s, u64 t) {
  const u64 product = u64{Low(s)} * Low(t);
  SetHiLo32(m, static_cast<u32>(product >> 32), static_cast<u32>(product));
  OccupyMultiplier(m, kMultiplyCycles);
}
inline void Dmult(CVXMachine* m, u64 s, u64 t) {
  const __int128 a = Signed(s);
  const __int128 b = Signed(t);
  const auto product = static_cast<unsigned __int128>(a * b);
  m->cpu.lo = static_cast<u64>(product);
  m->cpu.hi = static_cast<u64>(product >> 64);
  OccupyMultiplier(m, kMultiply64Cycles);
}
inline void Dmultu(CVXMachine* m, u64 s, u64 t) {
  const unsigned __int128 product = static_cast<unsigned __int128>(s) * t;
  m->cpu.lo = static_cast<u64>(product);
  m->cpu.hi = static_cast<u64>(product >> 64);
  OccupyMultiplier(m, kMultiply64Cycles);
}

// A zero divisor leaves HI and LO; the smallest integer by -1 gives itself without remainder.
inline void Div(CVXMachine* m, u64 s, u64 t) {
  const i32 a = static_cast<i32>(Low(s));
  const i32 b = static_cast<i32>(Low(t));
  if (b == -1) {
    SetHiLo32(m, 0, 0u - static_cast<u32>(a));
  } else if (b != 0) {
    SetHiLo32(m, static_cast<u32>(a % b), static_cast<u32>(a / b));
  }
  OccupyMultiplier(m, kDivideCycles);
}
inline void Divu(CVXMachine* m, u64 s, u64 t) {
  const u32 a = Low(s);
  const u32 b = Low(t);
  if (b != 0) SetHiLo32(m, a % b, a / b);
  OccupyMultiplier(m, kDivideCycles);
}
inline void Ddiv(CVXMachine* m, u64 s, u64 t) {
  const i64 a = Signed(s);
  const i64 b = Signed(t);
  if (b == -1) {
    m->cpu.hi = 0;
    m->cpu.lo = 0 - static_cast<u64>(a);
  } else if (b != 0) {
    m->cpu.hi = static_cast<u64>(a % b);
    m->cpu.lo = static_cast<u64>(a / b);
  }
  OccupyMultiplier(m, kDivide64Cycles);
}
inline void Ddivu(CVXMachine* m, u64 s, u64 t) {
  const u64 a = s;
  const u64 b = t;
  if (b != 0) {
    m->cpu.hi = a % b;
    m->cpu.lo = a / b;
  }
  OccupyMultiplier(m, kDivide64Cycles);
}

inline u64 Mfhi(CVXMachine* m) {
  WaitMultiplier(m);
  return m->cpu.hi;
}
inline u64 Mflo(CVXMachine* m) {
  WaitMultiplier(m);
  return m->cpu.lo;
}
inline void Mthi(CVXMachine* m, u64 s) {
  m->cpu.hi = s;
  WaitMultiplier(m);
}
inline void Mtlo(CVXMachine* m, u64 s) {
  m->cpu.lo = s;
  WaitMultiplier(m);
}

}  // namespace ops

}  // namespace vx
