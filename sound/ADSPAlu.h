// The ALU: sixteen operations into AR or AF.
//
// Oddities that sound programs rely on: y + 1 never sets AZ; x + y sets AZ on the 17-bit sum; AC of
// -y and y - 1 means y is 0; |x| raises no AV for 0x8000 and leaves an old AS standing. Operations
// with carry and NOT y do not exist.
#pragma once

#include "sound/ADSPUnits.h"

namespace vx {

enum class EAlu : u32 {
  PassY,
  Increment,
  AddCarry,
  Add,
  NotY,
  Negate,
  SubtractBorrow,
  Subtract,
  Decrement,
  Reverse,
  ReverseBorrow,
  NotX,
  And,
  Or,
  Xor,
  Absolute,
};

constexpr bool IsAluOpPresent(EAlu op) {
  return op != EAlu::AddCarry && op != EAlu::NotY && op != EAlu::SubtractBorrow &&
         op != EAlu::ReverseBorrow;
}

// What an operation gives: R and its flags in ASTAT's places.
struct SAluResult {
  u32 r;
  u32 flags;
  bool bNegativeLimit = false;  // saturates to 0x8000 instead of 0x7FFF
};

constexpr u32 FlagIf(bool bSet, u32 flag) { return bSet ? flag : 0u; }
constexpr u32 NegativeOf(u32 r) { return r >> 14 & kAstatNegative; }
constexpr u32 ZeroOf(u32 r) { return FlagIf((r & 0xFFFF) == 0, kAstatZero); }
// The overflow of a 17-bit sum or difference.
constexpr u32 OverflowOf(u32 r, u32 x, u32 y) {
  return ((r >> 1 ^ r) ^ x ^ y) >> 13 & kAstatOverflow;
}

// Zero-extended operands in, 17-bit arithmetic throughout.
template <EAlu op>
constexpr SAluResult Compute(u32 x, u32 y) {
  if constexpr (op == EAlu::PassY) {
    return {y, ZeroOf(y) | NegativeOf(y)};
  } else if constexpr (op == EAlu::Increment) {
    const u32 r = y + 1;
    const u32 carry = r >> 13 & kAstatCarry;
    return {r, NegativeOf(r) | FlagIf(y == 0x7FFF, kAstatOverflow) | carry, carry != 0};
  } else if constexpr (op == EAlu::Add) {
    const u32 r = x + y;
    const u32 carry = r >> 13 & kAstatCarry;
    return {r, FlagIf(r == 0, kAstatZero) | NegativeOf(r) | OverflowOf(r, x, y) | carry,
            carry != 0};
  } else if constexpr (op == EAlu::Negate) {
    const u32 r = 0u - y;
    return {r,
            FlagIf(y == 0, kAstatZero | kAstatCarry) | NegativeOf(r) |
                FlagIf(y == 0x8000, kAstatOverflow),
            y == 0};
  } else if constexpr (op == EAlu::Subtract) {
    const u32 r = x - y;
    const u32 carry = ~r >> 13 & kAstatCarry;
    return {r, ZeroOf(r) | NegativeOf(r) | OverflowOf(r, x, y) | carry, carry != 0};
  } else if constexpr (op == EAlu::Reverse) {
    return Compute<EAlu::Subtract>(y, x);
  } else if constexpr (op == EAlu::Decrement) {
    const u32 r = y - 1;
    return {r,
            FlagIf(y == 1, kAstatZero) | NegativeOf(r) | FlagIf(y == 0x8000, kAstatOverflow) |
                FlagIf(y == 0, kAstatCarry),
            y == 0};
  } else if constexpr (op == EAlu::NotX) {
    return {~x, ZeroOf(~x) | NegativeOf(~x)};
  } else if constexpr (op == EAlu::And) {
    return {x & y, ZeroOf(x & y) | NegativeOf(x & y)};
  } else if constexpr (op == EAlu::Or) {
    return {x | y, ZeroOf(x | y) | NegativeOf(x | y)};
  } else if constexpr (op == EAlu::Xor) {
    return {x ^ y, ZeroOf(x ^ y) | NegativeOf(x ^ y)};
  } else {
    static_assert(op == EAlu::Absolute);
    const bool bNegative = (x & 0x8000) != 0;
    return {bNegative ? 0u - x : x, FlagIf(x == 0, kAstatZero) | FlagIf(bNegative, kAstatXSign)};
  }
}

enum class EAluTarget { Ar, Af };

template <EAlu op, EAluTarget target>
u32 ExecuteAlu(CADSP& p, u32 word, u32 astat) {
  if constexpr (!IsAluOpPresent(op)) {
    p.port->Log(ESoundLog::Error, "ADSP unimplemented alu op: %i\n", static_cast<u32>(op), 0, 0);
    return astat;
  } else {
    SADSPState& s = p.state;
    const SAluResult result = Compute<op>(XOperand(p, word, kAluX), YOperand(p, word, kAluY));
    // AV stands under the latch, and AS is only ever set.
    const u32 kept = ~u32{kAstatZero | kAstatNegative | kAstatCarry | kAstatOverflow} |
                     (s.mstat & kMstatOverflowLatch);
    astat = (astat & kept) | result.flags;
    if constexpr (target == EAluTarget::Af) {
      s.bank.af = static_cast<u16>(result.r);
    } else {
      u32 r = result.r;
      if ((s.mstat & kMstatSaturate) != 0 && (astat & kAstatOverflow) != 0) {
        r = result.bNegativeLimit ? 0x8000 : 0x7FFF;
      }
      s.bank.ar = static_cast<u16>(r);
    }
    return astat;
  }
}
// One bit serves as the latch mode in MSTAT and as AV in ASTAT.
static_assert(u32{kMstatOverflowLatch} == u32{kAstatOverflow});

// clang-format off
template <EAluTarget target>
inline constexpr UnitTable kAluTable = {
  ExecuteAlu<EAlu::PassY,          target>,  //  0  y
  ExecuteAlu<EAlu::Increment,      target>,  //  1  y + 1
  ExecuteAlu<EAlu::AddCarry,       target>,  //  2  missing
  ExecuteAlu<EAlu::Add,            target>,  //  3  x + y
  ExecuteAlu<EAlu::NotY,           target>,  //  4  missing
  ExecuteAlu<EAlu::Negate,         target>,  //  5  -y
  ExecuteAlu<EAlu::SubtractBorrow, target>,  //  6  missing
  ExecuteAlu<EAlu::Subtract,       target>,  //  7  x - y
  ExecuteAlu<EAlu::Decrement,      target>,  //  8  y - 1
  ExecuteAlu<EAlu::Reverse,        target>,  //  9  y - x
  ExecuteAlu<EAlu::ReverseBorrow,  target>,  // 10  missing
  ExecuteAlu<EAlu::NotX,           target>,  // 11  not x
  ExecuteAlu<EAlu::And,            target>,  // 12  x and y
  ExecuteAlu<EAlu::Or,             target>,  // 13  x or y
  ExecuteAlu<EAlu::Xor,            target>,  // 14  x xor y
  ExecuteAlu<EAlu::Absolute,       target>,  // 15  |x|
};
// clang-format on

inline constexpr const UnitTable& kAluToAr = kAluTable<EAluTarget::Ar>;
inline constexpr const UnitTable& kAluToAf = kAluTable<EAluTarget::Af>;

// --- Division steps: only AQ among the flags changes -------------------------------------------

inline u32 QuotientFlag(u32 word16) { return word16 >> 10 & kAstatQuotient; }

inline u32 DivideSign(CADSP& p, u32 word, u32 astat) {
  SADSPState& s = p.state;
  const u32 y = YOperand(p, word, kAluY);
  const u32 signs = XOperand(p, word, kAluX) ^ y;
  const u32 ay0 = s.bank.ay[0];
  s.bank.af = static_cast<u16>(y << 1 | ay0 >> 15);
  s.bank.ay[0] = static_cast<u16>(ay0 << 1 | (signs >> 15 & 1));
  return (astat & ~u32{kAstatQuotient}) | QuotientFlag(signs);
}

// The quotient bit is the remainder's inverted sign, whatever the divisor's.
inline u32 DivideStep(CADSP& p, u32 word, u32 astat) {
  SADSPState& s = p.state;
  const u32 x = XOperand(p, word, kAluX);
  const u32 ay0 = s.bank.ay[0];
  const bool bAdd = (astat & kAstatQuotient) != 0;
  const u32 r = bAdd ? s.bank.af + x : s.bank.af - x;
  s.bank.af = static_cast<u16>(r << 1 | ay0 >> 15);
  s.bank.ay[0] = static_cast<u16>(ay0 << 1 | (~r >> 15 & 1));
  return (astat & ~u32{kAstatQuotient}) | QuotientFlag(r ^ x);
}

}  // namespace vx
