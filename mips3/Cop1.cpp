#include "mips3/Cop1.h"

#include <algorithm>
#include <array>
#include <utility>

#include "machine/HostAccess.h"
#include "mips3/BranchOps.h"
#include "mips3/FpValues.h"
#include "mips3/OpTable.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

constexpr u32 Fs(u32 word) { return Rd(word); }
constexpr u32 Ft(u32 word) { return Rt(word); }
constexpr u32 Fd(u32 word) { return Sa(word); }
constexpr u32 kIntegerSource = 1u << 23;  // set by the formats W and L

bool HasFullRegisters(const CVXMachine* m) { return (m->cpu.cop0[kCop0Status] & kStatusFr) != 0; }

// --- The two register models ---------------------------------------------------------------------

// A register as moves and doubles see it.
template <bool bFull>
u64& WholeRegister(CVXMachine* m, u32 index) {
  return m->cpu.fpr[bFull ? index : index & 30];
}
u64& WholeRegister(CVXMachine* m, u32 index) {
  return HasFullRegisters(m) ? WholeRegister<true>(m, index) : WholeRegister<false>(m, index);
}

// The word of a register that a single lies in.
template <bool bFull>
constexpr u32 WordShift(u32 index) {
  return bFull ? 0 : (index & 1) * 32;
}

template <bool bFull>
u32 GetWord(CVXMachine* m, u32 index) {
  return static_cast<u32>(WholeRegister<bFull>(m, index) >> WordShift<bFull>(index));
}
template <bool bFull>
void SetWord(CVXMachine* m, u32 index, u32 value) {
  const u32 shift = WordShift<bFull>(index);
  u64& whole = WholeRegister<bFull>(m, index);
  whole = (whole & ~(u64{0xFFFFFFFF} << shift)) | u64{value} << shift;
}

template <bool bFull, typename T>
T Get(CVXMachine* m, u32 index) {
  if constexpr (sizeof(T) == 4) return std::bit_cast<T>(GetWord<bFull>(m, index));
  if constexpr (sizeof(T) == 8) return std::bit_cast<T>(WholeRegister<bFull>(m, index));
}
template <bool bFull, typename T>
void Set(CVXMachine* m, u32 index, T value) {
  if constexpr (sizeof(T) == 4) SetWord<bFull>(m, index, std::bit_cast<u32>(value));
  if constexpr (sizeof(T) == 8) WholeRegister<bFull>(m, index) = std::bit_cast<u64>(value);
}

// --- Arithmetic: by register model and source format ---------------------------------------------

template <typename T, T (*Operation)(CVXMachine*, T, T), bool bFull>
void Binary(CVXMachine* m, u32 w) {
  Set<bFull, T>(m, Fd(w), Operation(m, Get<bFull, T>(m, Fs(w)), Get<bFull, T>(m, Ft(w))));
}
template <typename T, T (*Operation)(CVXMachine*, T), bool bFull>
void Unary(CVXMachine* m, u32 w) {
  Set<bFull, T>(m, Fd(w), Operation(m, Get<bFull, T>(m, Fs(w))));
}

template <typename T, bool bFull>
void CvtS(CVXMachine* m, u32 w) {
  const bool bInteger = (w & kIntegerSource) != 0;
  Set<bFull, f32>(m, Fd(w),
                  bInteger ? ops::CvtS(m, Get<bFull, ops::FpInteger<T>>(m, Fs(w)))
                           : ops::CvtS(m, Get<bFull, f64>(m, Fs(w))));
}
template <typename T, bool bFull>
void CvtD(CVXMachine* m, u32 w) {
  const bool bInteger = (w & kIntegerSource) != 0;
  Set<bFull, f64>(m, Fd(w),
                  bInteger ? ops::CvtD(m, Get<bFull, ops::FpInteger<T>>(m, Fs(w)))
                           : ops::CvtD(m, Get<bFull, f64>(m, Fs(w))));
}
template <typename T, bool bFull>
void CvtW(CVXMachine* m, u32 w) {
  Set<bFull, i32>(m, Fd(w), ops::CvtW<T>(m, Get<bFull, T>(m, Fs(w))));
}
template <typename T, bool bFull>
void CvtL(CVXMachine* m, u32 w) {
  Set<bFull, i64>(m, Fd(w), ops::CvtL<T>(m, Get<bFull, T>(m, Fs(w))));
}
template <typename T, bool bFull>
void Compare(CVXMachine* m, u32 w) {
  ops::FpCompare<T>(m, ops::FpRelation(Funct(w)), w >> 8 & 7, Get<bFull, T>(m, Fs(w)),
                    Get<bFull, T>(m, Ft(w)));
}

template <typename T, bool bFull>
constexpr std::array<OpHandler, 64> BuildArithmetic() {
  std::array<OpHandler, 64> table{};
  for (OpHandler& handler : table) handler = ExecuteUnimplemented;
  const std::pair<EOp, OpHandler> rows[] = {
      {EOp::FpAdd, Binary<T, ops::FpAdd<T>, bFull>},
      {EOp::FpSub, Binary<T, ops::FpSub<T>, bFull>},
      {EOp::FpMul, Binary<T, ops::FpMul<T>, bFull>},
      {EOp::FpDiv, Binary<T, ops::FpDiv<T>, bFull>},
      {EOp::FpSqrt, Unary<T, ops::FpSqrt<T>, bFull>},
      {EOp::FpAbs, Unary<T, ops::FpAbs<T>, bFull>},
      {EOp::FpMov, Unary<T, ops::FpMov<T>, bFull>},
      {EOp::FpNeg, Unary<T, ops::FpNeg<T>, bFull>},
      {EOp::CvtS, CvtS<T, bFull>},
      {EOp::CvtD, CvtD<T, bFull>},
      {EOp::CvtW, CvtW<T, bFull>},
      {EOp::CvtL, CvtL<T, bFull>},
  };
  for (const auto& [op, handler] : rows) table[OpInfo(op).code] = handler;
  for (u32 funct = OpInfo(EOp::CF).code; funct < 64; ++funct) table[funct] = Compare<T, bFull>;
  return table;
}

constexpr std::array<OpHandler, 64> kArithmetic[2][2] = {
    // by register model, then by format
    {BuildArithmetic<f32, false>(), BuildArithmetic<f64, false>()},
    {BuildArithmetic<f32, true>(), BuildArithmetic<f64, true>()},
};

// --- Moves and branches --------------------------------------------------------------------------

void MoveFrom(CVXMachine* m, u32 w) {
  SetT(m, w, SignExtend32(static_cast<u32>(WholeRegister(m, Fs(w)))));
}
void MoveFromWhole(CVXMachine* m, u32 w) { SetT(m, w, WholeRegister(m, Fs(w))); }
void MoveTo(CVXMachine* m, u32 w) { LoadFpWord(m, Fs(w), LowT(m, w)); }
void MoveToWhole(CVXMachine* m, u32 w) { WholeRegister(m, Fs(w)) = RegT(m, w); }
void MoveToControl(CVXMachine* m, u32 w) { m->cpu.fcr[Fs(w)] = LowT(m, w); }
void MoveFromControl(CVXMachine*, u32) { HostLog(ELogLevel::Error, "cfc1 unimplemented\n"); }

void Branch(CVXMachine* m, u32 w) {
  const bool bCondition = ops::FpCondition(m, w >> 18 & 7);
  const bool bWhenTrue = (w >> 16 & 1) != 0;
  const bool bLikely = (w >> 17 & 1) != 0;
  const bool bTaken = bCondition == bWhenTrue;
  if (bLikely) {
    BranchLikelyIf(m, w, bTaken);
  } else {
    BranchIf(m, w, bTaken);
  }
}

}  // namespace

void ExecuteCop1(CVXMachine* m, u32 w) {
  switch (kCop1Ops[Rs(w)]) {
    case EOp::Mfc1:
      MoveFrom(m, w);
      break;
    case EOp::Dmfc1:
      MoveFromWhole(m, w);
      break;
    case EOp::Cfc1:
      MoveFromControl(m, w);
      break;
    case EOp::Mtc1:
      MoveTo(m, w);
      break;
    case EOp::Dmtc1:
      MoveToWhole(m, w);
      break;
    case EOp::Ctc1:
      MoveToControl(m, w);
      break;
    case EOp::Bc1:
      Branch(m, w);
      break;
    default:
      kArithmetic[HasFullRegisters(m)][Rs(w) & 1][Funct(w)](m, w);
      break;
  }
}

void LoadFpWord(CVXMachine* m, u32 index, u32 value) {
  if (HasFullRegisters(m)) {
    m->cpu.fpr[index] = value;
  } else {
    SetWord<false>(m, index & 30, value);
  }
}

u32 StoredFpWord(const CVXMachine* m, u32 index) {
  return static_cast<u32>(m->cpu.fpr[HasFullRegisters(m) ? index : index & 30]);
}

}  // namespace vx
