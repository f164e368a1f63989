// The one op table of the main processor, from which interpreter, replay, disassembler, block
// generator and tests take encodings and traits. No second list of ops exists.
#pragma once

#include <array>

#include "base/Types.h"

namespace vx {

enum class EOpTable : u8 {
  Main,          // bits 31..26
  Special,       // main 0, bits 5..0
  RegImm,        // main 1, bits 20..16
  Cop0,          // main 16, bits 25..21
  Cop0Function,  // main 16 with bit 25 set, bits 24..0
  Cop1,          // main 17, bits 25..21
  Cop1Function,  // main 17 with any other bits 25..21, bits 5..0
};

enum class EOpForm : u8 {
  Plain,          // no operand
  ThreeRegister,  // rd, rs, rt
  Immediate,      // rt, rs, immediate
  Upper,          // rt, immediate
  Shift,          // rd, rt, amount
  ShiftVariable,  // rd, rt, rs
  ReadOne,        // rs
  ReadTwo,        // rs, rt
  WriteOne,       // rd
  JumpRegister,   // rd, rs
  Jump,           // 26-bit index
  BranchOne,      // rs, offset
  BranchTwo,      // rs, rt, offset
  BranchFp,       // offset
  LoadStore,      // rt, offset(rs)
  LoadStoreFp,    // ft, offset(rs)
  Cop0Move,       // rt, rd
  Cop1Move,       // rt, fs
  FpTwo,          // fd, fs
  FpThree,        // fd, fs, ft
  FpCompare,      // fs, ft
};

enum EOpTrait : u8 {
  kNone = 0,
  kDelaySlot = 0x01,               // the next op runs before its target
  kLikely = kDelaySlot | 0x02,     // annuls its delay op when not taken
  kLikelyMarked = kLikely | 0x04,  // and marks its block for it
  kEndsBlock = 0x08,               // nothing behind it belongs to its block
  kEndsByRd = 0x10 | 0x20,         // ends its block when it writes Status, Cause or EntryHi
  kTimed = 0x20,                   // reads or moves the cycle count
  kMemory = 0x40,                  // accesses memory
  kMemoryTimed = kMemory | kTimed,
  kUnimplemented = 0x80,
};

// How replay runs an op.
enum class EOpEngine : u8 { Call, Plain, Timed, Memory, Branch };

enum class EOp : u8 {
  Unimplemented,  // every encoding without a row
  UnknownCop0,    // COP0 functions without a row raise an exception
#define VX_OP(identifier, table, code, name, form, traits, engine, executes) identifier,
#include "mips3/OpRows.inc"
#undef VX_OP
  Count,
};
inline constexpr u32 kOpCount = static_cast<u32>(EOp::Count);
inline constexpr u32 kFirstRow = static_cast<u32>(EOp::UnknownCop0) + 1;

struct SOpInfo {
  EOpTable table;
  u32 code;
  const char* name;
  EOpForm form;
  u8 traits;  // EOpTrait
  EOpEngine engine;
  const char* executes;  // the function that executes it
};

inline constexpr std::array<SOpInfo, kOpCount> kOps = {{
    {EOpTable::Main, 0xFFFFFFFF, "<unimplemented>", EOpForm::Plain, kUnimplemented, EOpEngine::Call,
     "Unimplemented"},
    {EOpTable::Cop0Function, 0xFFFFFFFF, "<invalid cop0 op>", EOpForm::Plain, kEndsBlock,
     EOpEngine::Call, "Cop0Function"},
#define VX_OP(identifier, table, code, name, form, traits, engine, executes) \
  {EOpTable::table, code, name, EOpForm::form, traits, EOpEngine::engine, #executes},
#include "mips3/OpRows.inc"
#undef VX_OP
}};

constexpr const SOpInfo& OpInfo(EOp op) { return kOps[static_cast<u32>(op)]; }

// Fields of an op word.
constexpr u32 MainCode(u32 word) { return word >> 26; }
constexpr u32 Rs(u32 word) { return word >> 21 & 31; }
constexpr u32 Rt(u32 word) { return word >> 16 & 31; }
constexpr u32 Rd(u32 word) { return word >> 11 & 31; }
constexpr u32 Sa(u32 word) { return word >> 6 & 31; }
constexpr u32 Funct(u32 word) { return word & 63; }
constexpr u32 Cop0Code(u32 word) { return word & 0x1FFFFFF; }
constexpr i32 SignedImmediate(u32 word) { return static_cast<i16>(word); }
constexpr u32 UnsignedImmediate(u32 word) { return word & 0xFFFF; }

inline constexpr u32 kMainSpecial = 0;
inline constexpr u32 kMainRegImm = 1;
inline constexpr u32 kMainCop0 = 16;
inline constexpr u32 kMainCop1 = 17;
inline constexpr u32 kFirstCop0FunctionRs = 16;

// The ops of one table by their code.
template <EOpTable Table, u32 Size>
constexpr std::array<EOp, Size> BuildOpIndex() {
  std::array<EOp, Size> index{};
  for (u32 i = kFirstRow; i < kOpCount; ++i) {
    if (kOps[i].table == Table) index[kOps[i].code] = static_cast<EOp>(i);
  }
  return index;
}
inline constexpr auto kMainOps = BuildOpIndex<EOpTable::Main, 64>();
inline constexpr auto kSpecialOps = BuildOpIndex<EOpTable::Special, 64>();
inline constexpr auto kRegImmOps = BuildOpIndex<EOpTable::RegImm, 32>();
inline constexpr auto kCop0Ops = BuildOpIndex<EOpTable::Cop0, 32>();
inline constexpr auto kCop0FunctionOps = BuildOpIndex<EOpTable::Cop0Function, 32>();
inline constexpr auto kCop1Ops = BuildOpIndex<EOpTable::Cop1, 32>();
inline constexpr auto kCop1FunctionOps = BuildOpIndex<EOpTable::Cop1Function, 64>();

constexpr EOp DecodeOp(u32 word) {
  switch (MainCode(word)) {
    case kMainSpecial:
      return kSpecialOps[Funct(word)];
    case kMainRegImm:
      return kRegImmOps[Rt(word)];
    case kMainCop0: {
      if (Rs(word) < kFirstCop0FunctionRs) return kCop0Ops[Rs(word)];
      const u32 code = Cop0Code(word);
      const EOp op = code < 32 ? kCop0FunctionOps[code] : EOp::Unimplemented;
      return op != EOp::Unimplemented ? op : EOp::UnknownCop0;
    }
    case kMainCop1: {
      const EOp op = kCop1Ops[Rs(word)];
      return op != EOp::Unimplemented ? op : kCop1FunctionOps[Funct(word)];
    }
    default:
      return kMainOps[MainCode(word)];
  }
}

constexpr bool HasDelaySlot(u32 word) { return (OpInfo(DecodeOp(word)).traits & kDelaySlot) != 0; }

// Whether not taking this branch must be marked on its block's head: the REGIMM and COP1 likely
// forms. The main-code likely branches are not marked.
constexpr bool IsMarkedLikely(u32 word) {
  const EOp op = DecodeOp(word);
  if (op == EOp::Bc1) return (word >> 17 & 1) != 0;
  return (OpInfo(op).traits & kLikelyMarked) == kLikelyMarked;
}

// Whether no record follows this op in its block.
constexpr bool EndsBlock(u32 word) {
  const u8 traits = OpInfo(DecodeOp(word)).traits;
  if ((traits & kEndsByRd) == kEndsByRd) {
    const u32 rd = Rd(word);
    return rd == 10 || rd == 12 || rd == 13;  // EntryHi, Status, Cause
  }
  return (traits & kEndsBlock) != 0;
}

}  // namespace vx
