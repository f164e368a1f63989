// The barrel shifter: SR from a 16-bit input and a signed count.
//
// A right shift brings in zeros in all eight codes; the arithmetic ones differ only in how their
// input is widened. No shift changes a flag. Normalising and the other exponent forms are missing.
#pragma once

#include <bit>

#include "sound/ADSPUnits.h"

namespace vx {

enum class EShiftInput { High, Low, LowSigned };
enum class EShiftMerge { Replace, Or };
enum class EShiftCount { Se, Immediate };

inline constexpr u32 kShiftCodeBit = 11;

// Counts outside -31 to 31 leave nothing.
constexpr u32 ShiftBy(u32 value, i32 count) {
  if (count > 31 || count < -31) return 0;
  return count > 0 ? value << count : value >> -count;
}

template <EShiftCount source, EShiftInput input, EShiftMerge merge>
u32 Shift(CADSP& p, u32 word, u32 astat) {
  SADSPBank& bank = p.state.bank;
  const i32 count = static_cast<i8>(source == EShiftCount::Se ? static_cast<u32>(bank.se) : word);
  u32 wide = XOperand(p, word, kShifterX);
  if constexpr (input == EShiftInput::High) wide <<= 16;
  if constexpr (input == EShiftInput::LowSigned) wide = static_cast<u32>(static_cast<i16>(wide));
  const u32 result = ShiftBy(wide, count);
  bank.sr = merge == EShiftMerge::Or ? bank.sr | result : result;
  return astat;
}

// EXP (HI): the shift that would normalise x, as a negative number.
inline u32 ExponentHigh(CADSP& p, u32 word, u32 astat) {
  SADSPState& s = p.state;
  const u32 x = XOperand(p, word, kShifterX);
  const bool bNegative = (x & 0x8000) != 0;
  const u32 magnitude = bNegative ? ~x & 0xFFFF : x;
  constexpr i32 kNoBits = -15;
  constexpr i32 kTopBit = 14;
  s.bank.se = static_cast<i16>(
      magnitude == 0 ? kNoBits : static_cast<i32>(std::bit_width(magnitude)) - 1 - kTopBit);
  return (astat & ~u32{kAstatShifterSign}) | (bNegative ? kAstatShifterSign : 0u);
}

inline u32 ShiftMissing(CADSP& p, u32 word, u32 astat) {
  p.port->Log(ESoundLog::Error, "ADSP unimplemented shifter op: %i\n", Bits(word, kShiftCodeBit, 4),
              0, 0);
  return astat;
}
inline u32 ShiftNothing(CADSP&, u32, u32 astat) { return astat; }

// clang-format off
inline constexpr UnitTable kShiftBySe = {
  Shift<EShiftCount::Se, EShiftInput::High,      EShiftMerge::Replace>,  //  0  LSHIFT (HI)
  Shift<EShiftCount::Se, EShiftInput::High,      EShiftMerge::Or>,       //  1  LSHIFT (HI, OR)
  Shift<EShiftCount::Se, EShiftInput::Low,       EShiftMerge::Replace>,  //  2  LSHIFT (LO)
  Shift<EShiftCount::Se, EShiftInput::Low,       EShiftMerge::Or>,       //  3  LSHIFT (LO, OR)
  Shift<EShiftCount::Se, EShiftInput::High,      EShiftMerge::Replace>,  //  4  ASHIFT (HI)
  Shift<EShiftCount::Se, EShiftInput::High,      EShiftMerge::Or>,       //  5  ASHIFT (HI, OR)
  Shift<EShiftCount::Se, EShiftInput::LowSigned, EShiftMerge::Replace>,  //  6  ASHIFT (LO)
  Shift<EShiftCount::Se, EShiftInput::LowSigned, EShiftMerge::Or>,       //  7  ASHIFT (LO, OR)
  ShiftMissing,                                                          //  8  NORM (HI)
  ShiftMissing,                                                          //  9  NORM (HI, OR)
  ShiftMissing,                                                          // 10  NORM (LO)
  ShiftMissing,                                                          // 11  NORM (LO, OR)
  ExponentHigh,                                                          // 12  EXP (HI)
  ShiftMissing,                                                          // 13  EXP (HIX)
  ShiftMissing,                                                          // 14  EXP (LO)
  ShiftMissing,                                                          // 15  EXPADJ
};

inline constexpr UnitTable kShiftByImmediate = {
  Shift<EShiftCount::Immediate, EShiftInput::High,      EShiftMerge::Replace>,  //  0  LSHIFT (HI)
  Shift<EShiftCount::Immediate, EShiftInput::High,      EShiftMerge::Or>,       //  1  LSHIFT (HI, OR)
  Shift<EShiftCount::Immediate, EShiftInput::Low,       EShiftMerge::Replace>,  //  2  LSHIFT (LO)
  Shift<EShiftCount::Immediate, EShiftInput::Low,       EShiftMerge::Or>,       //  3  LSHIFT (LO, OR)
  Shift<EShiftCount::Immediate, EShiftInput::High,      EShiftMerge::Replace>,  //  4  ASHIFT (HI)
  Shift<EShiftCount::Immediate, EShiftInput::High,      EShiftMerge::Or>,       //  5  ASHIFT (HI, OR)
  Shift<EShiftCount::Immediate, EShiftInput::LowSigned, EShiftMerge::Replace>,  //  6  ASHIFT (LO)
  Shift<EShiftCount::Immediate, EShiftInput::LowSigned, EShiftMerge::Or>,       //  7  ASHIFT (LO, OR)
  ShiftMissing,                                                                 //  8
  ShiftMissing,                                                                 //  9
  ShiftMissing,                                                                 // 10
  ShiftMissing,                                                                 // 11
  ShiftNothing,                                                                 // 12
  ShiftNothing,                                                                 // 13
  ShiftNothing,                                                                 // 14
  ShiftNothing,                                                                 // 15
};
// clang-format on

}  // namespace vx
