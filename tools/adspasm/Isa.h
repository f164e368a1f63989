// The sound processor's instruction set as tables: names, fields and what the processor lacks. The
// assembler and the disassembler both work from here.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Types.h"

namespace vx::adsp {

inline constexpr u32 kAddressBits = 14;
inline constexpr u32 kAddressMask = 0x3FFF;
inline constexpr u32 kWordMask = 0xFFFFFF;

// --- Registers ---------------------------------------------------------------------------------

inline constexpr u32 kDataGroup = 0;
inline constexpr u32 kFirstGenerator = 1;   // I0 to L3
inline constexpr u32 kSecondGenerator = 2;  // I4 to L7
inline constexpr u32 kControlGroup = 3;

// A register as moves and loads name it.
struct SRegister {
  const char* name;
  u32 group;
  u32 index;
};

const SRegister* FindRegister(std::string_view upper);
// Null for an index without a name.
const SRegister* RegisterOf(u32 group, u32 index);

// I0 to I7, M0 to M7: the number in the name.
std::optional<u32> IndexNumber(std::string_view upper);
std::optional<u32> ModifierNumber(std::string_view upper);

// --- Operands of the units ---------------------------------------------------------------------

// The names of a selector field, by its value; null where two values read the same.
using XNames = const char* const[8];
using YNames = const char* const[4];
extern const XNames kAluX, kMacX, kShifterX;
extern const YNames kAluY, kMacY;  // value 3 is the constant 0
inline constexpr u32 kZeroOperand = 3;
inline constexpr u32 kMisreadX = 5;  // ALU and multiplier: written MR2, but the board reads MR1

template <size_t count>
std::optional<u32> FindOperand(const char* const (&names)[count], std::string_view upper) {
  for (u32 i = 0; i < count; ++i) {
    if (names[i] != nullptr && upper == names[i]) return i;
  }
  return std::nullopt;
}

// --- Conditions --------------------------------------------------------------------------------

inline constexpr u32 kTrue = 15;
inline constexpr u32 kCounterNotDone = 14;

// By code: what IF asks for and what DO UNTIL ends at; the latter is the field's complement.
struct SCondition {
  const char* ifName;
  const char* untilName;
};
extern const SCondition kConditions[16];

// --- Modes of ENA and DIS ----------------------------------------------------------------------

struct SMode {
  const char* name;
  u32 bit;  // of its value; the one above says that the mode is touched
};
extern const SMode kModes[7];

// --- The whole ---------------------------------------------------------------------------------

// Whether a word in capitals belongs to the language, so that no label may be called so.
bool IsReserved(std::string_view upper);

// What the processor lacks of a word, as the end of a sentence; empty if it executes the word.
std::string MissingIn(u32 word);

constexpr u32 Field(u32 word, u32 first, u32 count) { return word >> first & ((1u << count) - 1); }

}  // namespace vx::adsp
