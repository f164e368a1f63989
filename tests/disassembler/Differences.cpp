#include "tests/disassembler/Differences.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "mips3/Disassembler.h"
#include "mips3/OpTable.h"

namespace vx::test {
namespace {

// --- Words of which Capstone is shown another one ------------------------------------------------

constexpr u32 kRsField = 31u << 21;
constexpr u32 kRtField = 31u << 16;
constexpr u32 kRdField = 31u << 11;
constexpr u32 kSaField = 31u << 6;
constexpr u32 kBelowRd = 0x7FF;

constexpr u32 kFirstRoundingFunct = 8;
constexpr u32 kLastRoundingFunct = 15;

bool IsFpFunction(u32 word) {
  return MainCode(word) == kMainCop1 && kCop1Ops[Rs(word)] == EOp::Unimplemented;
}

// The fields of which the data book wants zeros, while the board does not read them.
u32 UnreadFields(u32 word) {
  EOpForm form = OpInfo(DecodeOp(word)).form;
  if (IsFpFunction(word)) {
    const bool bRounding = Funct(word) >= kFirstRoundingFunct && Funct(word) <= kLastRoundingFunct;
    form = bRounding ? EOpForm::FpTwo : OpInfo(kCop1FunctionOps[Funct(word)]).form;
  }
  switch (form) {
    case EOpForm::ThreeRegister:
    case EOpForm::ShiftVariable:
      return kSaField;
    case EOpForm::Shift:
    case EOpForm::Upper:
      return kRsField;
    case EOpForm::ReadOne:
      return kRtField | kRdField | kSaField;
    case EOpForm::ReadTwo:
      return kRdField | kSaField;
    case EOpForm::WriteOne:
      return kRsField | kRtField | kSaField;
    case EOpForm::JumpRegister:
      return kRtField | kSaField;
    case EOpForm::BranchOne:
      return MainCode(word) == kMainRegImm ? 0 : kRtField;
    case EOpForm::Cop0Move:
    case EOpForm::Cop1Move:
      return kBelowRd;
    case EOpForm::FpTwo:
      return kRtField;
    case EOpForm::FpCompare:
      return 0xC0;
    default:
      return 0;
  }
}

u32 WithoutUnreadFields(u32 word) { return word & ~UnreadFields(word); }

u32 WithoutCondition(u32 word) {
  const bool bCompare =
      IsFpFunction(word) && OpInfo(kCop1FunctionOps[Funct(word)]).form == EOpForm::FpCompare;
  return bCompare ? word & ~(7u << 8) : word;
}

constexpr u32 kFormatS = 16;
constexpr u32 kFormatD = 17;
constexpr u32 kFormatW = 20;
constexpr u32 kFormatL = 21;

// By bits 21 and 23 of the word.
u32 FormatOf(u32 word) {
  const bool bOdd = (word >> 21 & 1) != 0;
  const bool bInteger = (word >> 23 & 1) != 0;
  return bInteger ? (bOdd ? kFormatL : kFormatW) : (bOdd ? kFormatD : kFormatS);
}
const char* SuffixOf(u32 word) {
  const u32 format = FormatOf(word);
  return format == kFormatS ? "s" : format == kFormatD ? "d" : format == kFormatW ? "w" : "l";
}
u32 WithFormat(u32 word, u32 format) { return (word & ~kRsField) | format << 21; }

u32 WithFormatOfItsBits(u32 word) {
  return IsFpFunction(word) ? WithFormat(word, FormatOf(word)) : word;
}

u32 WithFormatOfTheDataBook(u32 word) {
  if (!IsFpFunction(word) || FormatOf(word) != Rs(word)) return word;
  const EOp op = kCop1FunctionOps[Funct(word)];
  if (op == EOp::Unimplemented) return word;
  if (op == EOp::CvtS) return Rs(word) == kFormatS ? WithFormat(word, kFormatD) : word;
  if (op == EOp::CvtD) return Rs(word) == kFormatD ? WithFormat(word, kFormatS) : word;
  return WithFormat(word, (Rs(word) & 1) != 0 ? kFormatD : kFormatS);
}

struct SShown {
  const char* what;
  u32 (*show)(u32 word);
};
constexpr SShown kShown[] = {
    {"fields that the board does not read may hold anything", WithoutUnreadFields},
    {"compares do not tell their condition bit", WithoutCondition},
    {"bits 21 and 23 alone tell the format of an FP function", WithFormatOfItsBits},
    {"every FP function has all four formats", WithFormatOfTheDataBook},
};

// --- Ops that the board lacks --------------------------------------------------------------------

constexpr const char* kLacked = "<unimplemented>";

// Parts of the encoding that the board has not at all, whatever others put there.
struct SArea {
  const char* what;
  u32 mask;
  u32 bits;
};
constexpr u32 kMainField = 63u << 26;
// clang-format off
constexpr SArea kLackedAreas[] = {
    // what                              mask                     bits
    {"branches on COP0",                 kMainField | kRsField,   16u << 26 |  8u << 21},
    {"the interrupt switch of COP0",     kMainField | kRsField,   16u << 26 | 11u << 21},
    {"COP2",                             kMainField,              18u << 26},
    {"COP3",                             kMainField,              19u << 26},
    {"main code 28, extensions",         kMainField,              28u << 26},
    {"main code 30, extensions",         kMainField,              30u << 26},
    {"main code 31, extensions",         kMainField,              31u << 26},
    {"main code 50, loads of COP2",      kMainField,              50u << 26},
    {"main code 54, loads of COP2",      kMainField,              54u << 26},
    {"main code 58, stores of COP2",     kMainField,              58u << 26},
    {"main code 62, stores of COP2",     kMainField,              62u << 26},
};

// By Capstone's mnemonics. First those of the board's own generation, then later ones.
constexpr const char* kLackedOps[] = {
    "ll", "lld", "sc", "scd", "ldc1", "sdc1", "dmtc0", "sync",
    "tge", "tgeu", "tlt", "tltu", "teq", "tne", "tgei", "tgeiu", "tlti", "tltiu", "teqi", "tnei",
    "movf", "movt", "movn", "movz", "movf.s", "movt.s", "movn.s", "movz.s", "movf.d", "movt.d",
    "movn.d", "movz.d", "pref", "synci", "jalx", "lsa", "dlsa", "bposge32",
};
// clang-format on

// --- Texts that are written otherwise ------------------------------------------------------------

// Capstone's mnemonic and its count of operands; our mnemonic and operands, where %0 stands for
// Capstone's first.
struct SRename {
  const char* theirs;
  u32 operandCount;
  const char* ours;
  const char* operands;
};
// clang-format off
constexpr SRename kRenames[] = {
    // theirs   count  ours                  operands
    {"b",       1,     "beq",                "$zero, $zero, %0"},
    {"beqz",    2,     "beq",                "%0, $zero, %1"},
    {"bnez",    2,     "bne",                "%0, $zero, %1"},
    {"bal",     1,     "bgezal",             "$zero, %0"},
    {"jalr",    1,     "jalr",               "$ra, %0"},
    {"jr",      1,     "jalr",               "$zero, %0"},
    {"move",    2,     "or",                 "%0, %1, $zero"},
    {"move",    2,     "addu",               "%0, %1, $zero"},
    {"move",    2,     "daddu",              "%0, %1, $zero"},
    {"neg",     2,     "sub",                "%0, $zero, %1"},
    {"negu",    2,     "subu",               "%0, $zero, %1"},
    {"not",     2,     "nor",                "%0, %1, $zero"},
    {"ssnop",   0,     "sll",                "$zero, $zero, 1"},
    {"ehb",     0,     "sll",                "$zero, $zero, 3"},
    {"pause",   0,     "sll",                "$zero, $zero, 5"},
    {"div",     3,     "div",                "%1, %2"},
    {"divu",    3,     "divu",               "%1, %2"},
    {"ddiv",    3,     "ddiv",               "%1, %2"},
    {"ddivu",   3,     "ddivu",              "%1, %2"},
    {"syscall", 1,     "syscall",            ""},
    {"break",   1,     "break",              ""},
    {"break",   2,     "break",              ""},
    {"cfc1",    2,     "<cop1 - todo>",      ""},
    {"bc1f",    1,     "<cop1 - todo>",      ""},
    {"bc1f",    2,     "<cop1 - todo>",      ""},
    {"bc1t",    1,     "<cop1 - todo>",      ""},
    {"bc1t",    2,     "<cop1 - todo>",      ""},
    {"bc1fl",   1,     "<cop1 - todo>",      ""},
    {"bc1fl",   2,     "<cop1 - todo>",      ""},
    {"bc1tl",   1,     "<cop1 - todo>",      ""},
    {"bc1tl",   2,     "<cop1 - todo>",      ""},
    {"",        0,     "<invalid cop0 op>",  ""},
    {"wait",    0,     "<invalid cop0 op>",  ""},
    {"deret",   0,     "<invalid cop0 op>",  ""},
};
// clang-format on

enum EForm { kNumber, kTarget, kRegion, kNoOffset, kCop0Name, kFpControl, kNop, kFormCount };
constexpr const char* kForms[kFormCount] = {
    "numbers are decimal",
    "targets are eight digits",
    "a jump stays in the 256 MiB of its own address, not of its delay slot's",
    "an offset of 0 is written",
    "COP0 registers have names and no selection",
    "ctc1 writes control registers like FP registers",
    "only word 0 is nop",
};

constexpr std::size_t kFirstArea = std::size(kShown);
constexpr std::size_t kFirstLackedOp = kFirstArea + std::size(kLackedAreas);
constexpr std::size_t kFirstRename = kFirstLackedOp + std::size(kLackedOps);
constexpr std::size_t kFirstForm = kFirstRename + std::size(kRenames);

// clang-format off
constexpr const char* kGeneralNames[32] = {
    "$zero", "$at", "$v0", "$v1", "$a0", "$a1", "$a2", "$a3",
    "$t0",   "$t1", "$t2", "$t3", "$t4", "$t5", "$t6", "$t7",
    "$s0",   "$s1", "$s2", "$s3", "$s4", "$s5", "$s6", "$s7",
    "$t8",   "$t9", "$k0", "$k1", "$gp", "$sp", "$fp", "$ra",
};
constexpr const char* kCop0Names[32] = {
    "$index",    "$random",  "$entrylo0", "$entrylo1", "$context",  "$pagemask", "$wired",    "$7",
    "$badvaddr", "$count",   "$entryhi",  "$compare",  "$status",   "$cause",    "$epc",      "$prid",
    "$config",   "$lladdr",  "$watchlo",  "$watchhi",  "$xcontext", "$21",       "$22",       "$23",
    "$24",       "$25",      "$ecc",      "$cacheerr", "$taglo",    "$taghi",    "$errorepc", "$31",
};
// clang-format on

// Reads "-0x1f", "0x1f" or "9" up to what follows; false if the text begins otherwise.
bool ReadNumber(std::string_view text, i64& value, std::string_view& rest) {
  std::string_view digits = text;
  const bool bMinus = digits.starts_with('-');
  if (bMinus) digits.remove_prefix(1);
  const bool bHex = digits.starts_with("0x");
  if (bHex) digits.remove_prefix(2);
  u64 magnitude = 0;
  const auto [stop, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), magnitude, bHex ? 16 : 10);
  if (error != std::errc()) return false;
  value = static_cast<i64>(bMinus ? 0 - magnitude : magnitude);
  rest = digits.substr(static_cast<std::size_t>(stop - digits.data()));
  return true;
}

std::string Eight(i64 address) {
  char text[16];
  std::snprintf(text, sizeof text, "%08X", static_cast<u32>(address));
  return text;
}

std::string Fill(std::string_view pattern, const std::vector<std::string>& operands) {
  std::string text;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '%') {
      text += operands[static_cast<std::size_t>(pattern[++i] - '0')];
    } else {
      text += pattern[i];
    }
  }
  return text;
}

std::string MnemonicOf(const std::string& text) {
  return text.starts_with('<') ? text : text.substr(0, text.find(' '));
}

}  // namespace

CComparer::CComparer() {
  for (const SShown& shown : kShown) uses_.push_back({shown.what});
  for (const SArea& area : kLackedAreas) uses_.push_back({std::string("lacks ") + area.what});
  for (const char* op : kLackedOps) uses_.push_back({std::string("lacks ") + op});
  for (const SRename& row : kRenames) {
    uses_.push_back({std::string(row.theirs) + " with " + std::to_string(row.operandCount) +
                     " operands is " + row.ours});
  }
  for (const char* form : kForms) uses_.push_back({form});
}

u32 CComparer::WordToShow(u32 word) {
  for (std::size_t i = 0; i < std::size(kShown); ++i) {
    const u32 shown = kShown[i].show(word);
    if (shown != word) Use(i);
    word = shown;
  }
  return word;
}

bool CComparer::IsKnownToLack(u32 word, const SOracleText& theirs) {
  if (theirs.mnemonic.empty()) return true;
  const auto area = std::find_if(
      std::begin(kLackedAreas), std::end(kLackedAreas),
      [word](const SArea& candidate) { return (word & candidate.mask) == candidate.bits; });
  if (area != std::end(kLackedAreas)) {
    Use(kFirstArea + static_cast<std::size_t>(area - kLackedAreas));
    return true;
  }
  const auto op = std::find(std::begin(kLackedOps), std::end(kLackedOps), theirs.mnemonic);
  if (op == std::end(kLackedOps)) return false;
  Use(kFirstLackedOp + static_cast<std::size_t>(op - kLackedOps));
  return true;
}

void CComparer::WriteNumbers(u32 word, u32 address, SOracleText& text) {
  const bool bLeads = TargetOfOp(word, address).has_value();
  for (std::string& operand : text.operands) {
    const bool bTarget = bLeads && &operand == &text.operands.back();
    i64 value = 0;
    std::string_view rest;
    if (operand.starts_with('(')) {
      operand = "0" + operand;
      Use(kFirstForm + kNoOffset);
    } else if (ReadNumber(operand, value, rest)) {
      const std::string ours = (bTarget ? Eight(value) : std::to_string(value)) + std::string(rest);
      if (ours != operand) Use(kFirstForm + (bTarget ? kTarget : kNumber));
      operand = ours;
    }
  }
  const bool bJump = OpInfo(DecodeOp(word)).form == EOpForm::Jump;
  if (bJump && !text.operands.empty() && (address >> 28) != ((address + 4) >> 28)) {
    text.operands[0][0] = Eight(address)[0];
    Use(kFirstForm + kRegion);
  }
}

void CComparer::WriteRegisters(u32 word, SOracleText& text) {
  const EOp op = DecodeOp(word);
  if (OpInfo(op).form == EOpForm::Cop0Move && text.operands.size() == 3) {
    const auto name =
        std::find(std::begin(kGeneralNames), std::end(kGeneralNames), text.operands[1]);
    if (name == std::end(kGeneralNames)) return;
    text.operands = {text.operands[0], kCop0Names[name - kGeneralNames]};
    Use(kFirstForm + kCop0Name);
  }
  if (op == EOp::Ctc1 && text.operands.size() == 2) {
    text.operands[1] = std::string("$f") + text.operands[1].substr(1);
    Use(kFirstForm + kFpControl);
  }
  if (word != 0 && text.mnemonic == "nop") {
    text = {"sll", {"$zero", "$zero", "0"}};
    Use(kFirstForm + kNop);
  }
}

void CComparer::Rename(const std::string& ours, SOracleText& text) {
  for (std::size_t i = 0; i < std::size(kRenames); ++i) {
    const SRename& row = kRenames[i];
    if (text.mnemonic != row.theirs || text.operands.size() != row.operandCount) continue;
    if (ours != row.ours) continue;
    const std::string operands = Fill(row.operands, text.operands);
    text = {row.ours, {}};
    if (!operands.empty()) text.operands = {operands};
    Use(kFirstRename + i);
    return;
  }
}

SComparison CComparer::Compare(u32 word, u32 address, const std::string& ours) {
  SComparison result;
  result.ours = ours;
  result.shownWord = WordToShow(word);
  SOracleText theirs = oracle_.Read(result.shownWord, address);
  result.theirs = theirs.Joined();
  if (result.ours == kLacked && IsKnownToLack(word, theirs)) {
    result.wanted = kLacked;
  } else {
    WriteNumbers(word, address, theirs);
    WriteRegisters(word, theirs);
    if (IsFpFunction(word) && !theirs.mnemonic.empty()) {
      theirs.mnemonic = theirs.mnemonic.substr(0, theirs.mnemonic.rfind('.') + 1) + SuffixOf(word);
    }
    Rename(MnemonicOf(result.ours), theirs);
    result.wanted = theirs.Joined();
  }
  result.bEqual = result.ours == result.wanted;
  return result;
}

}  // namespace vx::test
