#include "mips3/Disassembler.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "mips3/DisassemblerRing.h"
#include "mips3/OpTable.h"

namespace vx {

namespace {

constexpr u32 kOpBytes = 4;
constexpr const char* kOtherCop1 = "<cop1 - todo>";

// What every format has between its parts.
struct SSeparators {
  const char* first;   // between mnemonic and operands
  const char* second;  // before an immediate or a target
};
constexpr SSeparators kSeparators[] = {
    {"", ""},   // Joined
    {" ", ""},  // Spaced
};

// clang-format off
constexpr const char* kGeneralNames[32] = {
    "$zero", "$at", "$v0", "$v1", "$a0", "$a1", "$a2", "$a3",
    "$t0",   "$t1", "$t2", "$t3", "$t4", "$t5", "$t6", "$t7",
    "$s0",   "$s1", "$s2", "$s3", "$s4", "$s5", "$s6", "$s7",
    "$t8",   "$t9", "$k0", "$k1", "$gp", "$sp", "$fp", "$ra",
};
constexpr const char* kCop0Names[32] = {
    "$index",    "$random",   "$entrylo0", "$entrylo1", "$context",  "$pagemask", "$wired",   "$7",
    "$badvaddr", "$count",    "$entryhi",  "$compare",  "$status",   "$cause",    "$epc",     "$prid",
    "$config",   "$lladdr",   "$watchlo",  "$watchhi",  "$xcontext", "$21",       "$22",      "$23",
    "$24",       "$25",       "$ecc",      "$cacheerr", "$taglo",    "$taghi",    "$errorepc", "$31",
};
// clang-format on

// --- What the formats are made of ----------------------------------------------------------------

// One text to be made.
struct SOpText {
  char* out;
  const char* name;
  u32 word;
  u32 address;
  SSeparators separators;
};

[[gnu::format(printf, 3, 4)]] void Print(char* out, u32 bytes, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(out, bytes, format, arguments);
  va_end(arguments);
}

const char* General(u32 index) { return kGeneralNames[index]; }

const char* Fp(u32 index) {
  char* const text = SharedDisassemblerRing().Take(kRegisterTextBytes);
  Print(text, kRegisterTextBytes, "$f%i", static_cast<i32>(index));
  return text;
}

const char* Number(u32 value) {
  char* const text = SharedDisassemblerRing().Take(kRegisterTextBytes);
  Print(text, kRegisterTextBytes, "%i", static_cast<i32>(value));
  return text;
}

enum EFpFormat : u32 { kSingle, kDouble, kWord, kLong, kFpFormatCount };

// By bits 21 and 23 alone, as the processor tells formats apart.
constexpr u32 FpFormat(u32 word) { return (word >> 21 & 1) | (word >> 22 & 2); }
constexpr u32 Fs(u32 word) { return Rd(word); }
constexpr u32 Ft(u32 word) { return Rt(word); }
constexpr u32 Fd(u32 word) { return Sa(word); }

const char* FpName(const SOpText& t) {
  constexpr const char* kSuffixes[kFpFormatCount] = {"s", "d", "w", "l"};
  char* const text = SharedDisassemblerRing().Take(kMnemonicTextBytes);
  Print(text, kMnemonicTextBytes, "%s.%s", t.name, kSuffixes[FpFormat(t.word)]);
  return text;
}

// --- The formats ---------------------------------------------------------------------------------

void PrintWhole(const SOpText& t, const char* text) { Print(t.out, kOpTextBytes, "%s", text); }
void PrintJump(const SOpText& t, u32 target) {
  Print(t.out, kOpTextBytes, "%s%s%s%08X", t.name, t.separators.first, t.separators.second, target);
}
void PrintBranch(const SOpText& t, const char* a, u32 target) {
  Print(t.out, kOpTextBytes, "%s%s%s, %s%08X", t.name, t.separators.first, a, t.separators.second,
        target);
}
void PrintBranch(const SOpText& t, const char* a, const char* b, u32 target) {
  Print(t.out, kOpTextBytes, "%s%s%s, %s, %s%08X", t.name, t.separators.first, a, b,
        t.separators.second, target);
}
void PrintNumber(const SOpText& t, const char* a, i32 number) {
  Print(t.out, kOpTextBytes, "%s%s%s, %s%i", t.name, t.separators.first, a, t.separators.second,
        number);
}
void PrintNumber(const SOpText& t, const char* a, const char* b, i32 number) {
  Print(t.out, kOpTextBytes, "%s%s%s, %s, %s%i", t.name, t.separators.first, a, b,
        t.separators.second, number);
}
void PrintAccess(const SOpText& t, const char* a) {
  Print(t.out, kOpTextBytes, "%s%s%s, %i(%s)", t.name, t.separators.first, a,
        SignedImmediate(t.word), General(Rs(t.word)));
}
void PrintOne(const SOpText& t, const char* a) {
  Print(t.out, kOpTextBytes, "%s%s%s", t.name, t.separators.first, a);
}
void PrintTwo(const SOpText& t, const char* name, const char* a, const char* b) {
  Print(t.out, kOpTextBytes, "%s%s%s, %s", name, t.separators.first, a, b);
}
void PrintThree(const SOpText& t, const char* name, const char* a, const char* b, const char* c) {
  Print(t.out, kOpTextBytes, "%s%s%s, %s, %s", name, t.separators.first, a, b, c);
}

// --- Operands by form ----------------------------------------------------------------------------

constexpr u32 JumpTarget(u32 word, u32 address) {
  return (address & 0xF0000000) | (word & 0x03FFFFFF) << 2;
}
constexpr u32 BranchTarget(u32 word, u32 address) {
  return address + kOpBytes + static_cast<u32>(SignedImmediate(word)) * 4;
}

void PrintForm(const SOpText& t, EOpForm form) {
  const u32 w = t.word;
  switch (form) {
    case EOpForm::Plain:
      return PrintWhole(t, t.name);
    case EOpForm::ThreeRegister:
      return PrintThree(t, t.name, General(Rd(w)), General(Rs(w)), General(Rt(w)));
    case EOpForm::Immediate:
      return PrintNumber(t, General(Rt(w)), General(Rs(w)), SignedImmediate(w));
    case EOpForm::Upper:
      return PrintNumber(t, General(Rt(w)), static_cast<i32>(UnsignedImmediate(w)));
    case EOpForm::Shift:
      return PrintNumber(t, General(Rd(w)), General(Rt(w)), static_cast<i32>(Sa(w)));
    case EOpForm::ShiftVariable:
      return PrintThree(t, t.name, General(Rd(w)), General(Rt(w)), General(Rs(w)));
    case EOpForm::ReadOne:
      return PrintOne(t, General(Rs(w)));
    case EOpForm::ReadTwo:
      return PrintTwo(t, t.name, General(Rs(w)), General(Rt(w)));
    case EOpForm::WriteOne:
      return PrintOne(t, General(Rd(w)));
    case EOpForm::JumpRegister:
      return PrintTwo(t, t.name, General(Rd(w)), General(Rs(w)));
    case EOpForm::Jump:
      return PrintJump(t, JumpTarget(w, t.address));
    case EOpForm::BranchOne:
      return PrintBranch(t, General(Rs(w)), BranchTarget(w, t.address));
    case EOpForm::BranchTwo:
      return PrintBranch(t, General(Rs(w)), General(Rt(w)), BranchTarget(w, t.address));
    case EOpForm::BranchFp:
      return PrintWhole(t, kOtherCop1);
    case EOpForm::LoadStore:
      return PrintAccess(t, General(Rt(w)));
    case EOpForm::LoadStoreFp:
      return PrintAccess(t, Fp(Ft(w)));
    case EOpForm::Cop0Move:
      return PrintTwo(t, t.name, General(Rt(w)), kCop0Names[Rd(w)]);
    case EOpForm::Cop1Move:
      return PrintTwo(t, t.name, General(Rt(w)), Fp(Fs(w)));
    case EOpForm::FpTwo:
      return PrintTwo(t, FpName(t), Fp(Fd(w)), Fp(Fs(w)));
    case EOpForm::FpThree:
      return PrintThree(t, FpName(t), Fp(Fd(w)), Fp(Fs(w)), Fp(Ft(w)));
    case EOpForm::FpCompare:
      return PrintTwo(t, FpName(t), Fp(Fs(w)), Fp(Ft(w)));
  }
}

// The ops whose text is not that of their form.
void PrintOp(const SOpText& t, EOp op) {
  switch (op) {
    case EOp::Sll:
      return t.word == 0 ? PrintWhole(t, "nop") : PrintForm(t, OpInfo(op).form);
    case EOp::Andi:
    case EOp::Ori:
    case EOp::Xori:
      return PrintNumber(t, General(Rt(t.word)), General(Rs(t.word)),
                         static_cast<i32>(UnsignedImmediate(t.word)));
    case EOp::Cache:
      return PrintAccess(t, Number(Rt(t.word)));
    case EOp::Cfc1:
      return PrintWhole(t, kOtherCop1);
    default:
      return PrintForm(t, OpInfo(op).form);
  }
}

// --- One handler an op ---------------------------------------------------------------------------

// Takes room of kOpTextBytes, op word and address; answers the op's size.
using TextHandler = u32 (*)(char* out, u32 word, u32 address);

constexpr SSeparators SeparatorsOf(EOpTextStyle style) {
  return kSeparators[static_cast<u32>(style)];
}

template <EOpTextStyle kStyle, EOp kOp>
u32 Handle(char* out, u32 word, u32 address) {
  PrintOp({out, OpInfo(kOp).name, word, address, SeparatorsOf(kStyle)}, kOp);
  return kOpBytes;
}

// The COP1 functions that have a name and no row, since the processor lacks them.
constexpr u32 kFirstRounding = 8;
constexpr std::array kRoundings = {"round.l", "trunc.l", "ceil.l", "floor.l",
                                   "round.w", "trunc.w", "ceil.w", "floor.w"};

template <EOpTextStyle kStyle, u32 kRounding>
u32 HandleRounding(char* out, u32 word, u32 address) {
  PrintForm({out, kRoundings[kRounding], word, address, SeparatorsOf(kStyle)}, EOpForm::FpTwo);
  return kOpBytes;
}

// --- The tables ----------------------------------------------------------------------------------

template <EOpTextStyle kStyle, size_t... kIndices>
constexpr std::array<TextHandler, kOpCount> BuildOpHandlers(std::index_sequence<kIndices...>) {
  return {Handle<kStyle, static_cast<EOp>(kIndices)>...};
}

template <EOpTextStyle kStyle, size_t kSize>
constexpr std::array<TextHandler, kSize> BuildHandlers(const std::array<EOp, kSize>& ops) {
  constexpr auto kHandlers = BuildOpHandlers<kStyle>(std::make_index_sequence<kOpCount>());
  std::array<TextHandler, kSize> handlers{};
  for (size_t i = 0; i < kSize; ++i) handlers[i] = kHandlers[static_cast<u32>(ops[i])];
  return handlers;
}

template <EOpTextStyle kStyle, size_t... kIndices>
constexpr void AddRoundings(std::array<TextHandler, 64>& handlers,
                            std::index_sequence<kIndices...>) {
  ((handlers[kFirstRounding + kIndices] = HandleRounding<kStyle, kIndices>), ...);
}

template <EOpTextStyle kStyle>
struct STables {
  static constexpr auto kSpecial = BuildHandlers<kStyle>(kSpecialOps);
  static constexpr auto kRegImm = BuildHandlers<kStyle>(kRegImmOps);
  static constexpr auto kCop0Function = BuildHandlers<kStyle>(kCop0FunctionOps);

  // By bits 24..0, of which any that the table does not hold raises an exception.
  static u32 HandleCop0Function(char* out, u32 word, u32 address) {
    if (DecodeOp(word) == EOp::UnknownCop0) {
      return Handle<kStyle, EOp::UnknownCop0>(out, word, address);
    }
    return kCop0Function[Cop0Code(word)](out, word, address);
  }
  static constexpr auto kCop0 = [] {
    auto handlers = BuildHandlers<kStyle>(kCop0Ops);
    for (u32 rs = kFirstCop0FunctionRs; rs < 32; ++rs) handlers[rs] = HandleCop0Function;
    return handlers;
  }();

  // By format. Integers are not rounded.
  static constexpr auto kCop1Function = [] {
    std::array<std::array<TextHandler, 64>, kFpFormatCount> formats{};
    for (auto& handlers : formats) handlers = BuildHandlers<kStyle>(kCop1FunctionOps);
    constexpr auto kIndices = std::make_index_sequence<kRoundings.size()>();
    AddRoundings<kStyle>(formats[kSingle], kIndices);
    AddRoundings<kStyle>(formats[kDouble], kIndices);
    return formats;
  }();
  static u32 HandleCop1Function(char* out, u32 word, u32 address) {
    return kCop1Function[FpFormat(word)][Funct(word)](out, word, address);
  }
  static constexpr auto kCop1 = [] {
    auto handlers = BuildHandlers<kStyle>(kCop1Ops);
    for (u32 rs = 0; rs < 32; ++rs) {
      if (kCop1Ops[rs] == EOp::Unimplemented) handlers[rs] = HandleCop1Function;
    }
    return handlers;
  }();

  static u32 HandleSpecial(char* out, u32 word, u32 address) {
    return kSpecial[Funct(word)](out, word, address);
  }
  static u32 HandleRegImm(char* out, u32 word, u32 address) {
    return kRegImm[Rt(word)](out, word, address);
  }
  static u32 HandleCop0(char* out, u32 word, u32 address) {
    return kCop0[Rs(word)](out, word, address);
  }
  static u32 HandleCop1(char* out, u32 word, u32 address) {
    return kCop1[Rs(word)](out, word, address);
  }
  static constexpr auto kMain = [] {
    auto handlers = BuildHandlers<kStyle>(kMainOps);
    handlers[kMainSpecial] = HandleSpecial;
    handlers[kMainRegImm] = HandleRegImm;
    handlers[kMainCop0] = HandleCop0;
    handlers[kMainCop1] = HandleCop1;
    return handlers;
  }();
};

}  // namespace

CDisassemblerRing& SharedDisassemblerRing() {
  static CDisassemblerRing ring;
  return ring;
}

u32 DisassembleOp(char* out, u32 word, u32 address, EOpTextStyle style) {
  const auto& handlers = style == EOpTextStyle::Joined ? STables<EOpTextStyle::Joined>::kMain
                                                       : STables<EOpTextStyle::Spaced>::kMain;
  return handlers[MainCode(word)](out, word, address);
}

std::optional<u32> TargetOfOp(u32 word, u32 address) {
  switch (OpInfo(DecodeOp(word)).form) {
    case EOpForm::Jump:
      return JumpTarget(word, address);
    case EOpForm::BranchOne:
    case EOpForm::BranchTwo:
    case EOpForm::BranchFp:
      return BranchTarget(word, address);
    default:
      return std::nullopt;
  }
}

}  // namespace vx
