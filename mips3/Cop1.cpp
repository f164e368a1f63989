#include "mips3/Cop1.h"

#include <algorithm>
#include <array>
#include <utility>

#include "machine/HostAccess.h"
#include "mips3/BranchOps.h"
#include "mips3/FpArithmetic.h"
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

// --- Time
// ------------------------------------------------------------------------------------------

void WaitUnit(CVXMachine* m, u32 busy) { m->cpu.cycles = std::max(m->cpu.cycles, busy); }
void OccupyUnit(CVXMachine* m, u32& busy, u32 cycles) {
  WaitUnit(m, busy);
  busy = m->cpu.cycles + cycles;
}

// --- Arithmetic: by register model and source format
// -------------------------------------------------

template <typename T, T (*Operation)(T, T), bool bFull>
void Binary(CVXMachine* m, u32 w) {
  Set<bFull, T>(m, Fd(w), Operation(Get<bFull, T>(m, Fs(w)), Get<bFull, T>(m, Ft(w))));
}
template <typename T, T (*Operation)(T), bool bFull>
void Unary(CVXMachine* m, u32 w) {
  Set<bFull, T>(m, Fd(w), Operation(Get<bFull, T>(m, Fs(w))));
}

template <typename T, bool bFull>
void Add(CVXMachine* m, u32 w) {
  Binary<T, FpAdd<T>, bFull>(m, w);
  OccupyUnit(m, m->cpu.fpBusy, 4);
}
template <typename T, bool bFull>
void Sub(CVXMachine* m, u32 w) {
  Binary<T, FpSub<T>, bFull>(m, w);
  OccupyUnit(m, m->cpu.fpBusy, 4);
}
template <typename T, bool bFull>
void Mul(CVXMachine* m, u32 w) {
  Binary<T, FpMul<T>, bFull>(m, w);
  OccupyUnit(m, m->cpu.fpMulBusy, 8);
}
template <typename T, bool bFull>
void Div(CVXMachine* m, u32 w) {
  Binary<T, FpDiv<T>, bFull>(m, w);
  OccupyUnit(m, m->cpu.fpBusy, sizeof(T) == 4 ? 32 : 61);
}
template <typename T, bool bFull>
void Sqrt(CVXMachine* m, u32 w) {
  Unary<T, FpSqrt<T>, bFull>(m, w);
  OccupyUnit(m, m->cpu.fpBusy, sizeof(T) == 4 ? 31 : 60);
}
template <typename T, bool bFull>
void Abs(CVXMachine* m, u32 w) {
  Unary<T, FpAbs<T>, bFull>(m, w);
  OccupyUnit(m, m->cpu.fpBusy, 1);
}
template <typename T, bool bFull>
void Mov(CVXMachine* m, u32 w) {
  Set<bFull, FpBits<T>>(m, Fd(w), Get<bFull, FpBits<T>>(m, Fs(w)));
  OccupyUnit(m, m->cpu.fpBusy, 1);
}
template <typename T, bool bFull>
void Neg(CVXMachine* m, u32 w) {
  Unary<T, FpNeg<T>, bFull>(m, w);
  OccupyUnit(m, m->cpu.fpBusy, 1);
}

// Conversions: an integer source has the width of its table's format. Without one the source is a
// double whatever its format claims, and to a double its bits are copied.
template <typename T, bool bFull>
using IntegerOf = std::conditional_t<sizeof(T) == 4, i32, i64>;

template <typename T, bool bFull>
void CvtS(CVXMachine* m, u32 w) {
  const f32 value = (w & kIntegerSource) != 0
                        ? static_cast<f32>(Get<bFull, IntegerOf<T, bFull>>(m, Fs(w)))
                        : FpNarrow(Get<bFull, f64>(m, Fs(w)));
  Set<bFull, f32>(m, Fd(w), value);
  WaitUnit(m, m->cpu.fpBusy);
}
template <typename T, bool bFull>
void CvtD(CVXMachine* m, u32 w) {
  if ((w & kIntegerSource) != 0) {
    Set<bFull, f64>(m, Fd(w), static_cast<f64>(Get<bFull, IntegerOf<T, bFull>>(m, Fs(w))));
  } else {
    Set<bFull, u64>(m, Fd(w), Get<bFull, u64>(m, Fs(w)));
  }
  WaitUnit(m, m->cpu.fpBusy);
}
template <typename T, bool bFull>
void CvtW(CVXMachine* m, u32 w) {
  Set<bFull, i32>(m, Fd(w), FpToI32(Get<bFull, T>(m, Fs(w))));
  WaitUnit(m, m->cpu.fpBusy);
}
template <typename T, bool bFull>
void CvtL(CVXMachine* m, u32 w) {
  Set<bFull, i64>(m, Fd(w), FpToI64(Get<bFull, T>(m, Fs(w))));
  WaitUnit(m, m->cpu.fpBusy);
}

// The relation of a compare by bits 2 and 1 of its function; bits 3 and 0 tell forms apart that are
// the same here.
template <typename T, bool bFull>
void Compare(CVXMachine* m, u32 w) {
  const auto relation = static_cast<EFpRelation>(Funct(w) >> 1 & 3);
  const u32 bit = 1u << (w >> 8 & 7);
  const bool bHolds = FpCompare(relation, Get<bFull, T>(m, Fs(w)), Get<bFull, T>(m, Ft(w)));
  m->cpu.fpCond = bHolds ? m->cpu.fpCond | bit : m->cpu.fpCond & ~bit;
  WaitUnit(m, m->cpu.fpBusy);
}

template <typename T, bool bFull>
constexpr std::array<OpHandler, 64> BuildArithmetic() {
  std::array<OpHandler, 64> table{};
  for (OpHandler& handler : table) handler = ExecuteUnimplemented;
  const std::pair<EOp, OpHandler> rows[] = {
      {EOp::FpAdd, Add<T, bFull>}, {EOp::FpSub, Sub<T, bFull>},   {EOp::FpMul, Mul<T, bFull>},
      {EOp::FpDiv, Div<T, bFull>}, {EOp::FpSqrt, Sqrt<T, bFull>}, {EOp::FpAbs, Abs<T, bFull>},
      {EOp::FpMov, Mov<T, bFull>}, {EOp::FpNeg, Neg<T, bFull>},   {EOp::CvtS, CvtS<T, bFull>},
      {EOp::CvtD, CvtD<T, bFull>}, {EOp::CvtW, CvtW<T, bFull>},   {EOp::CvtL, CvtL<T, bFull>},
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
  const bool bCondition = (m->cpu.fpCond >> (w >> 18 & 7) & 1) != 0;
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

void OccupyFpForMove(CVXMachine* m) { OccupyUnit(m, m->cpu.fpBusy, 1); }

}  // namespace vx
