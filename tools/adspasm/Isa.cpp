#include "tools/adspasm/Isa.h"

#include <algorithm>
#include <iterator>

namespace vx::adsp {

// clang-format off
const XNames kAluX     = { "AX0", "AX1", "AR", "MR0", "MR1", "MR2", "SR0", "SR1" };
const XNames kMacX     = { "MX0", "MX1", "AR", "MR0", "MR1", "MR2", "SR0", "SR1" };
const XNames kShifterX = { "SI",  nullptr, "AR", "MR0", "MR1", "MR2", "SR0", "SR1" };
const YNames kAluY     = { "AY0", "AY1", "AF", "0" };
const YNames kMacY     = { "MY0", "MY1", "MF", "0" };

const SCondition kConditions[16] = {
  // IF        DO UNTIL          code
  { "EQ",      "NE"      },  //   0
  { "NE",      "EQ"      },  //   1
  { "GT",      "LE"      },  //   2
  { "LE",      "GT"      },  //   3
  { "LT",      "GE"      },  //   4
  { "GE",      "LT"      },  //   5
  { "AV",      "NOT AV"  },  //   6
  { "NOT AV",  "AV"      },  //   7
  { "AC",      "NOT AC"  },  //   8
  { "NOT AC",  "AC"      },  //   9
  { "NEG",     "POS"     },  //  10
  { "POS",     "NEG"     },  //  11
  { "MV",      "NOT MV"  },  //  12
  { "NOT MV",  "MV"      },  //  13
  { "NOT CE",  "CE"      },  //  14
  { "TRUE",    "FOREVER" },  //  15
};

const SMode kModes[7] = {
  // name       bit of its value
  { "G_MODE",    2 },
  { "SEC_REG",   4 },
  { "BIT_REV",   6 },
  { "AV_LATCH",  8 },
  { "AR_SAT",   10 },
  { "M_MODE",   12 },
  { "TIMER",    14 },
};
// clang-format on

namespace {

// clang-format off
constexpr SRegister kRegisters[] = {
  { "AX0", 0, 0 },  { "AX1", 0, 1 },  { "MX0", 0, 2 },  { "MX1", 0, 3 },
  { "AY0", 0, 4 },  { "AY1", 0, 5 },  { "MY0", 0, 6 },  { "MY1", 0, 7 },
  { "SI",  0, 8 },  { "SE",  0, 9 },  { "AR",  0, 10 }, { "MR0", 0, 11 },
  { "MR1", 0, 12 }, { "MR2", 0, 13 }, { "SR0", 0, 14 }, { "SR1", 0, 15 },

  { "I0", 1, 0 }, { "I1", 1, 1 }, { "I2", 1, 2 },  { "I3", 1, 3 },
  { "M0", 1, 4 }, { "M1", 1, 5 }, { "M2", 1, 6 },  { "M3", 1, 7 },
  { "L0", 1, 8 }, { "L1", 1, 9 }, { "L2", 1, 10 }, { "L3", 1, 11 },

  { "I4", 2, 0 }, { "I5", 2, 1 }, { "I6", 2, 2 },  { "I7", 2, 3 },
  { "M4", 2, 4 }, { "M5", 2, 5 }, { "M6", 2, 6 },  { "M7", 2, 7 },
  { "L4", 2, 8 }, { "L5", 2, 9 }, { "L6", 2, 10 }, { "L7", 2, 11 },

  { "ASTAT", 3, 0 }, { "MSTAT", 3, 1 }, { "SSTAT", 3, 2 },  { "IMASK", 3, 3 },
  { "ICNTL", 3, 4 }, { "CNTR", 3, 5 },  { "SB", 3, 6 },     { "PX", 3, 7 },
  { "RX0", 3, 8 },   { "TX0", 3, 9 },   { "RX1", 3, 10 },   { "TX1", 3, 11 },
  { "IFC", 3, 12 },  { "OWRCNTR", 3, 13 }, { "TOPPCSTACK", 3, 15 },
};

// Words of the language beside registers, conditions and modes.
constexpr std::string_view kWords[] = {
  "AF", "MF", "MR", "SR", "IF", "DO", "UNTIL", "JUMP", "CALL", "RTS", "RTI", "NOP", "IDLE", "ENA",
  "DIS", "MODIFY", "DIVS", "DIVQ", "SAT", "PUSH", "POP", "DM", "PM", "PASS",
  "ABS", "NOT", "AND", "OR", "XOR", "LSHIFT", "ASHIFT", "NORM", "EXP", "EXPADJ", "BY", "HI", "LO",
  "HIX", "SS", "SU", "US", "UU", "RND", "C", "CE", "FOREVER", "TRUE", "EQ", "NE", "GT", "LE", "LT",
  "GE", "AV", "AC", "NEG", "POS", "MV",
};

// Registers of the control group whose move only tells that it is missing.
constexpr u32 kUnreadable = 0xFF00;
constexpr u32 kUnwritable = 1u << 2 | 1u << 8 | 1u << 10 | 1u << 14;

struct SMissingRow {
  u32 first, last;  // top bytes
  const char* what;
};
constexpr SMissingRow kMissingRows[] = {
  // bytes
  { 0x01, 0x01, "this word belongs to the board's own patches" },
  { 0x02, 0x02, "IDLE and flag outputs are missing" },
  { 0x03, 0x03, "flag inputs are missing" },
  { 0x04, 0x04, "stack control is missing" },
  { 0x08, 0x08, "this class of words is missing" },
  { 0x11, 0x11, "a shift beside a program memory access is missing" },
  { 0x30, 0x33, "this class of words is missing" },
  { 0x5A, 0x5F, "only multiplications into MR go beside a program memory write" },
  { 0x9C, 0x9F, "a control register cannot be stored to memory; go through a data register" },
  { 0xC0, 0xFF, "two memory accesses in one word are missing" },
};
// clang-format on

// The ranges of top bytes whose bits 13 to 16 hold an operation of ALU or multiplier.
bool HasUnitOperation(u32 top) {
  return (top >= 0x20 && top <= 0x2F) || (top >= 0x50 && top <= 0x59) ||
         (top >= 0x60 && top <= 0x7F);
}

const char* MissingAlu(u32 code) {
  switch (code) {
    case 2:
      return "x + y + C is missing";
    case 4:
      return "NOT of a y operand is missing; use NOT of an x operand";
    case 6:
      return "x - y + C - 1 is missing";
    case 10:
      return "y - x + C - 1 is missing";
    default:
      return "";
  }
}

const char* MissingShift(u32 top, u32 code) {
  if (code >= 8 && code <= 11) return "NORM is missing";
  if (top != 0x0F && code > 12) return "of the exponent forms only EXP (HI) is there";
  return "";
}

std::string MissingControl(u32 index, bool bRead) {
  if (((bRead ? kUnreadable : kUnwritable) >> index & 1) == 0) return {};
  const SRegister* reg = RegisterOf(kControlGroup, index);
  return std::string(reg != nullptr ? reg->name : "this register") +
         (bRead ? " cannot be read" : " cannot be written");
}

}  // namespace

const SRegister* FindRegister(std::string_view upper) {
  const auto* found = std::find_if(std::begin(kRegisters), std::end(kRegisters),
                                   [upper](const SRegister& reg) { return upper == reg.name; });
  return found != std::end(kRegisters) ? found : nullptr;
}

const SRegister* RegisterOf(u32 group, u32 index) {
  const auto* found =
      std::find_if(std::begin(kRegisters), std::end(kRegisters),
                   [=](const SRegister& reg) { return reg.group == group && reg.index == index; });
  return found != std::end(kRegisters) ? found : nullptr;
}

std::optional<u32> IndexNumber(std::string_view upper) {
  if (upper.size() != 2 || upper[0] != 'I' || upper[1] < '0' || upper[1] > '7') return std::nullopt;
  return static_cast<u32>(upper[1] - '0');
}

std::optional<u32> ModifierNumber(std::string_view upper) {
  if (upper.size() != 2 || upper[0] != 'M' || upper[1] < '0' || upper[1] > '7') return std::nullopt;
  return static_cast<u32>(upper[1] - '0');
}

bool IsReserved(std::string_view upper) {
  const auto isMode = [upper](const SMode& mode) { return upper == mode.name; };
  return FindRegister(upper) != nullptr ||
         std::find(std::begin(kWords), std::end(kWords), upper) != std::end(kWords) ||
         std::any_of(std::begin(kModes), std::end(kModes), isMode);
}

std::string MissingIn(u32 word) {
  const u32 top = word >> 16 & 0xFF;
  for (const SMissingRow& row : kMissingRows) {
    if (top >= row.first && top <= row.last) return row.what;
  }
  const bool bAlu = (top & 2) != 0;
  if (HasUnitOperation(top) && bAlu) return MissingAlu(Field(word, 13, 4));
  const bool bShift = top >= 0x0E && top <= 0x13;
  if (bShift) return MissingShift(top, Field(word, 11, 4));
  if (top == 0x0D) {
    std::string missing;
    if (Field(word, 8, 2) == kControlGroup) missing = MissingControl(Field(word, 0, 4), true);
    if (missing.empty() && Field(word, 10, 2) == kControlGroup) {
      missing = MissingControl(Field(word, 4, 4), false);
    }
    return missing;
  }
  const bool bControlLoad = (top >= 0x3C && top <= 0x3F) || (top >= 0x8C && top <= 0x8F);
  return bControlLoad ? MissingControl(Field(word, 0, 4), false) : std::string();
}

}  // namespace vx::adsp
