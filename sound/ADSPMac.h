// The multiplier: products added to, subtracted from or put into MR or MF.
//
// A product is 32 bits wide and signed, whatever the signs of its operands, so that -1 times -1 in
// fractional mode gives -1 and no overflow.
#pragma once

#include "sound/ADSPUnits.h"

namespace vx {

enum class EMacSum { Set, Add, Subtract };

// Operand signs; Rounded is signed by signed.
enum class EMacMode { SignedSigned, SignedUnsigned, UnsignedSigned, UnsignedUnsigned, Rounded };

template <EMacMode mode>
u32 Product(CADSP& p, u32 word) {
  constexpr bool bXUnsigned =
      mode == EMacMode::UnsignedSigned || mode == EMacMode::UnsignedUnsigned;
  constexpr bool bYUnsigned =
      mode == EMacMode::SignedUnsigned || mode == EMacMode::UnsignedUnsigned;
  const u32 x = XOperand(p, word, kMacX);
  const u32 y = YOperand(p, word, kMacY);
  const u32 wideX = bXUnsigned ? x : static_cast<u32>(static_cast<i16>(x));
  const u32 wideY = bYUnsigned ? y : static_cast<u32>(static_cast<i16>(y));
  const u32 fraction = (p.state.mstat & kMstatIntegerMac) != 0 ? 0 : 1;
  return wideX * wideY << fraction;
}

template <EMacSum sum, EMacMode mode, typename T>
T Accumulate(T accumulator, T product) {
  T result = product;
  if constexpr (sum == EMacSum::Add) result = accumulator + product;
  if constexpr (sum == EMacSum::Subtract) result = accumulator - product;
  if constexpr (mode == EMacMode::Rounded) {
    // The tie is looked for in the product, not in the sum.
    result += 0x8000;
    if ((product & 0xFFFF) == 0x8000) result &= ~T{0x10000};
  }
  return result;
}

template <EMacSum sum, EMacMode mode>
u32 MultiplyToMr(CADSP& p, u32 word, u32 astat) {
  SADSPState& s = p.state;
  const i64 product = static_cast<i32>(Product<mode>(p, word));
  s.bank.mr = Accumulate<sum, mode>(s.bank.mr, static_cast<u64>(product));
  // Bits 31 to 39 are all 0 or all 1 if adding 1 leaves no more than the lowest of them.
  const bool bOverflow = (static_cast<u32>((s.bank.mr >> 31) + 1) & 0x1FE) != 0;
  return (astat & ~u32{kAstatMacOverflow}) | (bOverflow ? kAstatMacOverflow : 0u);
}

template <EMacSum sum, EMacMode mode>
u32 MultiplyToMf(CADSP& p, u32 word, u32 astat) {
  SADSPBank& bank = p.state.bank;
  const u32 result = Accumulate<sum, mode>(static_cast<u32>(bank.mr), Product<mode>(p, word));
  bank.mf = static_cast<u16>(result >> 16);
  return astat;
}

inline u32 MultiplyNothing(CADSP&, u32, u32 astat) { return astat; }

// clang-format off
inline constexpr UnitTable kMacToMr = {
  MultiplyNothing,                                              //  0
  MultiplyToMr<EMacSum::Set,      EMacMode::Rounded>,           //  1
  MultiplyToMr<EMacSum::Add,      EMacMode::Rounded>,           //  2
  MultiplyToMr<EMacSum::Subtract, EMacMode::Rounded>,           //  3
  MultiplyToMr<EMacSum::Set,      EMacMode::SignedSigned>,      //  4
  MultiplyToMr<EMacSum::Set,      EMacMode::SignedUnsigned>,    //  5
  MultiplyToMr<EMacSum::Set,      EMacMode::UnsignedSigned>,    //  6
  MultiplyToMr<EMacSum::Set,      EMacMode::UnsignedUnsigned>,  //  7
  MultiplyToMr<EMacSum::Add,      EMacMode::SignedSigned>,      //  8
  MultiplyToMr<EMacSum::Add,      EMacMode::SignedUnsigned>,    //  9
  MultiplyToMr<EMacSum::Add,      EMacMode::UnsignedSigned>,    // 10
  MultiplyToMr<EMacSum::Add,      EMacMode::UnsignedUnsigned>,  // 11
  MultiplyToMr<EMacSum::Subtract, EMacMode::SignedSigned>,      // 12
  MultiplyToMr<EMacSum::Subtract, EMacMode::SignedUnsigned>,    // 13
  MultiplyToMr<EMacSum::Subtract, EMacMode::UnsignedSigned>,    // 14
  MultiplyToMr<EMacSum::Subtract, EMacMode::UnsignedUnsigned>,  // 15
};

// The sum is MR's low 32 bits, which stay; no flag changes.
inline constexpr UnitTable kMacToMf = {
  MultiplyNothing,                                              //  0
  MultiplyToMf<EMacSum::Set,      EMacMode::Rounded>,           //  1
  MultiplyToMf<EMacSum::Add,      EMacMode::Rounded>,           //  2
  MultiplyToMf<EMacSum::Subtract, EMacMode::Rounded>,           //  3
  MultiplyToMf<EMacSum::Set,      EMacMode::SignedSigned>,      //  4
  MultiplyToMf<EMacSum::Set,      EMacMode::SignedUnsigned>,    //  5
  MultiplyToMf<EMacSum::Set,      EMacMode::UnsignedSigned>,    //  6
  MultiplyToMf<EMacSum::Set,      EMacMode::UnsignedUnsigned>,  //  7
  MultiplyToMf<EMacSum::Add,      EMacMode::SignedSigned>,      //  8
  MultiplyToMf<EMacSum::Add,      EMacMode::SignedUnsigned>,    //  9
  MultiplyToMf<EMacSum::Add,      EMacMode::UnsignedSigned>,    // 10
  MultiplyToMf<EMacSum::Add,      EMacMode::UnsignedUnsigned>,  // 11
  MultiplyToMf<EMacSum::Subtract, EMacMode::SignedSigned>,      // 12
  MultiplyToMf<EMacSum::Subtract, EMacMode::SignedUnsigned>,    // 13
  MultiplyToMf<EMacSum::Subtract, EMacMode::UnsignedSigned>,    // 14
  MultiplyToMf<EMacSum::Subtract, EMacMode::UnsignedUnsigned>,  // 15
};
// clang-format on

// Limits MR to 32 bits if MV is set; MV stays.
inline u32 SaturateMr(CADSP& p, u32, u32 astat) {
  SADSPState& s = p.state;
  if ((astat & kAstatMacOverflow) == 0) return astat;
  constexpr u64 kSignBit = u64{1} << 39;
  s.bank.mr = (s.bank.mr & kSignBit) != 0 ? 0xFFFFFFFF80000000u : 0x7FFFFFFFu;
  return astat;
}

}  // namespace vx
