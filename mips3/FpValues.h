// What the ops of the floating point unit do, as functions of operand values, with their time. The
// handlers apply them to registers by the register model that Status selects; native blocks are
// made for registers that are each their own, and apply them to locals.
//
// An op waits for the unit that it needs; most occupy it then for their own time, conversions and
// compares only wait.
#pragma once

#include <algorithm>

#include "machine/VXMachine.h"
#include "mips3/FpArithmetic.h"
#include "mips3/MemoryValues.h"

namespace vx::ops {

// --- Time --------------------------------------------------------------------------------------

template <typename T>
inline constexpr u32 kFpDivideCycles = sizeof(T) == 4 ? 32 : 61;
template <typename T>
inline constexpr u32 kFpRootCycles = sizeof(T) == 4 ? 31 : 60;
inline constexpr u32 kFpAddCycles = 4;
inline constexpr u32 kFpMultiplyCycles = 8;
inline constexpr u32 kFpMoveCycles = 1;

inline void WaitFp(CVXMachine* m) { m->cpu.cycles = std::max(m->cpu.cycles, m->cpu.fpBusy); }
inline void OccupyFp(CVXMachine* m, u32 cycles) {
  WaitFp(m);
  m->cpu.fpBusy = m->cpu.cycles + cycles;
}
inline void OccupyFpMultiplier(CVXMachine* m) {
  m->cpu.cycles = std::max(m->cpu.cycles, m->cpu.fpMulBusy);
  m->cpu.fpMulBusy = m->cpu.cycles + kFpMultiplyCycles;
}

// --- Arithmetic --------------------------------------------------------------------------------

template <typename T>
inline T FpAdd(CVXMachine* m, T s, T t) {
  OccupyFp(m, kFpAddCycles);
  return vx::FpAdd<T>(s, t);
}
template <typename T>
inline T FpSub(CVXMachine* m, T s, T t) {
  OccupyFp(m, kFpAddCycles);
  return vx::FpSub<T>(s, t);
}
template <typename T>
inline T FpMul(CVXMachine* m, T s, T t) {
  OccupyFpMultiplier(m);
  return vx::FpMul<T>(s, t);
}
template <typename T>
inline T FpDiv(CVXMachine* m, T s, T t) {
  OccupyFp(m, kFpDivideCycles<T>);
  return vx::FpDiv<T>(s, t);
}
template <typename T>
inline T FpSqrt(CVXMachine* m, T s) {
  OccupyFp(m, kFpRootCycles<T>);
  return vx::FpSqrt<T>(s);
}
template <typename T>
inline T FpAbs(CVXMachine* m, T s) {
  OccupyFp(m, kFpMoveCycles);
  return vx::FpAbs<T>(s);
}
template <typename T>
inline T FpNeg(CVXMachine* m, T s) {
  OccupyFp(m, kFpMoveCycles);
  return vx::FpNeg<T>(s);
}
template <typename T>
inline T FpMov(CVXMachine* m, T s) {
  OccupyFp(m, kFpMoveCycles);
  return s;
}

// --- Conversions: without an integer source format the source is a double, whatever its format
// claims, and to a double its bits are copied -----------------------------------------------------

template <typename T>
using FpInteger = std::conditional_t<sizeof(T) == 4, i32, i64>;

inline f32 CvtS(CVXMachine* m, i32 s) {
  WaitFp(m);
  return static_cast<f32>(s);
}
inline f32 CvtS(CVXMachine* m, i64 s) {
  WaitFp(m);
  return static_cast<f32>(s);
}
inline f32 CvtS(CVXMachine* m, f64 s) {
  WaitFp(m);
  return FpNarrow(s);
}
inline f64 CvtD(CVXMachine* m, i32 s) {
  WaitFp(m);
  return static_cast<f64>(s);
}
inline f64 CvtD(CVXMachine* m, i64 s) {
  WaitFp(m);
  return static_cast<f64>(s);
}
inline f64 CvtD(CVXMachine* m, f64 s) {
  WaitFp(m);
  return s;
}
template <typename T>
inline i32 CvtW(CVXMachine* m, T s) {
  WaitFp(m);
  return FpToI32(s);
}
template <typename T>
inline i64 CvtL(CVXMachine* m, T s) {
  WaitFp(m);
  return FpToI64(s);
}

// --- Conditions --------------------------------------------------------------------------------

// The relation of a compare by bits 2 and 1 of its function; bits 3 and 0 tell forms apart that are
// the same here.
constexpr EFpRelation FpRelation(u32 funct) { return static_cast<EFpRelation>(funct >> 1 & 3); }

template <typename T>
inline void FpCompare(CVXMachine* m, EFpRelation relation, u32 condition, T s, T t) {
  const u32 bit = 1u << condition;
  const bool bHolds = vx::FpCompare<T>(relation, s, t);
  m->cpu.fpCond = bHolds ? m->cpu.fpCond | bit : m->cpu.fpCond & ~bit;
  WaitFp(m);
}
inline bool FpCondition(const CVXMachine* m, u32 condition) {
  return (m->cpu.fpCond >> condition & 1) != 0;
}

// --- Loads and stores of one word; their time is charged before ----------------------------------

template <typename Calls = SDirectCalls>
inline u32 Lwc1(CVXMachine* m, u32 address) {
  const u32 value = ReadMemory<u32, Calls>(m, address, 0);
  OccupyFp(m, kFpMoveCycles);
  return value;
}
template <typename Calls = SDirectCalls>
inline void Swc1(CVXMachine* m, u32 address, u32 value) {
  WriteMemory<u32, Calls>(m, address, value, 0);
  OccupyFp(m, kFpMoveCycles);
}

}  // namespace vx::ops
