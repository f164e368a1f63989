// Op words of the floating point unit, with the encodings of the published manuals written out once
// more. Operands come in assembler order.
#pragma once

#include "base/Types.h"

namespace vx::mips {

enum EFpFormat : u32 { kSingle = 16, kDouble = 17, kWord = 20, kLong = 21 };

enum EFpFunct : u32 {
  kFpAdd = 0,
  kFpSub = 1,
  kFpMul = 2,
  kFpDiv = 3,
  kFpSqrt = 4,
  kFpAbs = 5,
  kFpMov = 6,
  kFpNeg = 7,
  kCvtS = 32,
  kCvtD = 33,
  kCvtW = 36,
  kCvtL = 37,
  kFirstCompare = 48,
};

// fd, fs, ft; the format may be any value of bits 25..21.
constexpr u32 FpOp(u32 format, u32 funct, u32 d, u32 s, u32 t = 0) {
  return 0x44000000 | format << 21 | t << 16 | s << 11 | d << 6 | funct;
}
// condition, fs, ft
constexpr u32 FpCompareOp(u32 format, u32 funct, u32 condition, u32 s, u32 t) {
  return FpOp(format, funct, condition << 2, s, t);
}

// rt, fs
constexpr u32 Cop1Move(u32 code, u32 t, u32 fs) {
  return 0x44000000 | code << 21 | t << 16 | fs << 11;
}
constexpr u32 Mfc1(u32 t, u32 fs) { return Cop1Move(0, t, fs); }
constexpr u32 Dmfc1(u32 t, u32 fs) { return Cop1Move(1, t, fs); }
constexpr u32 Cfc1(u32 t, u32 fs) { return Cop1Move(2, t, fs); }
constexpr u32 Mtc1(u32 t, u32 fs) { return Cop1Move(4, t, fs); }
constexpr u32 Dmtc1(u32 t, u32 fs) { return Cop1Move(5, t, fs); }
constexpr u32 Ctc1(u32 t, u32 fs) { return Cop1Move(6, t, fs); }

// condition, offset in ops from the delay slot
constexpr u32 Bc1(u32 form, u32 condition, i32 offset) {
  return 0x45000000 | condition << 18 | form << 16 | (static_cast<u32>(offset) & 0xFFFF);
}
constexpr u32 Bc1f(u32 condition, i32 offset) { return Bc1(0, condition, offset); }
constexpr u32 Bc1t(u32 condition, i32 offset) { return Bc1(1, condition, offset); }
constexpr u32 Bc1fl(u32 condition, i32 offset) { return Bc1(2, condition, offset); }
constexpr u32 Bc1tl(u32 condition, i32 offset) { return Bc1(3, condition, offset); }

}  // namespace vx::mips
