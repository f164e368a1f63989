// The computation units' operations as functions of processor, word and ASTAT, in tables by
// operation code. They answer ASTAT as they leave it.
#pragma once

#include "sound/ADSP.h"

namespace vx {

using UnitOp = u32 (*)(CADSP& p, u32 word, u32 astat);
using UnitTable = UnitOp[16];

constexpr u32 Bits(u32 word, u32 first, u32 count) { return word >> first & ((1u << count) - 1); }

// --- Operand selectors: byte offsets in the processor object -----------------------------------

static_assert(offsetof(CADSP, state) == 0);

inline constexpr u16 kBankOffset = offsetof(SADSPState, bank);
enum ERegisterOffset : u16 {
  kAx0 = kBankOffset + 0,
  kAx1 = kBankOffset + 2,
  kAy0 = kBankOffset + 4,
  kAy1 = kBankOffset + 6,
  kAr = kBankOffset + 8,
  kAf = kBankOffset + 10,
  kMx0 = kBankOffset + 12,
  kMx1 = kBankOffset + 14,
  kMy0 = kBankOffset + 16,
  kMy1 = kBankOffset + 18,
  kMr0 = kBankOffset + 24,
  kMr1 = kBankOffset + 26,
  kMr2 = kBankOffset + 28,
  kMf = kBankOffset + 32,
  kSr0 = kBankOffset + 36,
  kSr1 = kBankOffset + 38,
  kSi = kBankOffset + 40,
  kSe = kBankOffset + 42,
  kNought = offsetof(CADSP, zeroOperand),
};

// clang-format off
// Operand 5 of ALU and multiplier is MR1 on this board; the shifter's is MR2.
inline constexpr u16 kAluX[8]       = { kAx0, kAx1, kAr, kMr0, kMr1, kMr1, kSr0, kSr1 };
inline constexpr u16 kAluY[4]       = { kAy0, kAy1, kAf, kNought };
inline constexpr u16 kMacX[8]       = { kMx0, kMx1, kAr, kMr0, kMr1, kMr1, kSr0, kSr1 };
inline constexpr u16 kMacY[4]       = { kMy0, kMy1, kMf, kNought };
inline constexpr u16 kShifterX[8]   = { kSi,  kSi,  kAr, kMr0, kMr1, kMr2, kSr0, kSr1 };
inline constexpr u16 kDataRegisters[16] = {
    kAx0, kAx1, kMx0, kMx1, kAy0, kAy1, kMy0, kMy1, kSi, kSe, kAr, kMr0, kMr1, kMr2, kSr0, kSr1 };
// clang-format on

inline u32 XOperand(CADSP& p, u32 word, const u16 (&selector)[8]) {
  return p.DataRegister(selector[Bits(word, 8, 3)]);
}
inline u32 YOperand(CADSP& p, u32 word, const u16 (&selector)[4]) {
  return p.DataRegister(selector[Bits(word, 11, 2)]);
}

}  // namespace vx
