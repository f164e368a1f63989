// Op words from the op table: what the generator and the guest harness are made of.
#pragma once

#include "mips3/OpTable.h"

namespace vx::oracle {

// Formats of floating point words.
inline constexpr u32 kFormatSingle = 16;
inline constexpr u32 kFormatDouble = 17;
inline constexpr u32 kFormatWord = 20;
inline constexpr u32 kFormatLong = 21;

constexpr u32 CodeOf(EOp op) {
  const SOpInfo& info = OpInfo(op);
  switch (info.table) {
    case EOpTable::Main:
      return info.code << 26;
    case EOpTable::Special:
      return info.code;
    case EOpTable::RegImm:
      return kMainRegImm << 26 | info.code << 16;
    case EOpTable::Cop0:
      return kMainCop0 << 26 | info.code << 21;
    case EOpTable::Cop0Function:
      return kMainCop0 << 26 | 1u << 25 | info.code;
    case EOpTable::Cop1:
      return kMainCop1 << 26 | info.code << 21;
    default:
      return kMainCop1 << 26 | info.code;
  }
}

// By fields: rs, rt, rd and the shift amount.
constexpr u32 Word(EOp op, u32 s, u32 t, u32 d, u32 amount = 0) {
  return CodeOf(op) | s << 21 | t << 16 | d << 11 | amount << 6;
}
// By fields: rs, rt and a 16-bit immediate or offset.
constexpr u32 ImmediateWord(EOp op, u32 s, u32 t, i32 immediate) {
  return CodeOf(op) | s << 21 | t << 16 | (static_cast<u32>(immediate) & 0xFFFF);
}
constexpr u32 JumpWord(EOp op, u32 address) { return CodeOf(op) | (address >> 2 & 0x3FFFFFF); }
// rt and the register of the other unit, for moves between units.
constexpr u32 MoveWord(EOp op, u32 t, u32 other) { return CodeOf(op) | t << 16 | other << 11; }
constexpr u32 FpWord(EOp op, u32 format, u32 ft, u32 fs, u32 fd) {
  return Word(op, format, ft, fs, fd);
}
constexpr u32 FpCompareWord(EOp op, u32 format, u32 ft, u32 fs, u32 condition) {
  return Word(op, format, ft, fs, condition << 2);
}
constexpr u32 FpBranchWord(u32 condition, bool bWhenTrue, bool bLikely, i32 offset) {
  const u32 selector = condition << 2 | (bLikely ? 2u : 0u) | (bWhenTrue ? 1u : 0u);
  return ImmediateWord(EOp::Bc1, 0, selector, offset);
}

inline constexpr u32 kNopWord = 0;

}  // namespace vx::oracle
