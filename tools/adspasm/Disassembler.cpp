#include "tools/adspasm/Disassembler.h"

#include <algorithm>

#include "tools/adspasm/Isa.h"
#include "tools/adspasm/Statement.h"

namespace vx::adsp {

namespace {

// An empty text says that the word has none.
using Text = std::string;

Text Number(u32 value) { return Hex(value, 4); }

Text NameOf(u32 group, u32 index) {
  const SRegister* reg = RegisterOf(group, index);
  return reg != nullptr ? reg->name : "?";
}

Text LowRegister(u32 word, u32 group) { return NameOf(group, Field(word, 0, 4)); }
Text HighRegister(u32 word) { return NameOf(kDataGroup, Field(word, 4, 4)); }

Text Pointer(const char* memory, u32 word, bool bSecond) {
  const u32 offset = bSecond ? 4 : 0;
  return Text(memory) + "(I" + std::to_string(Field(word, 2, 2) + offset) + ",M" +
         std::to_string(Field(word, 0, 2) + offset) + ")";
}

Text If(u32 word) {
  const u32 code = Field(word, 0, 4);
  return code == kTrue ? "" : Text("IF ") + kConditions[code].ifName + " ";
}

// --- Operations --------------------------------------------------------------------------------

Text AluText(u32 word) {
  const u32 code = Field(word, 13, 4);
  const Text x = kAluX[Field(word, 8, 3)];
  const u32 yCode = Field(word, 11, 2);
  const Text y = kAluY[yCode];
  const bool bZero = yCode == kZeroOperand;
  // clang-format off
  switch (code) {
    case 0:  return "PASS " + y;
    case 1:  return bZero ? "PASS 1" : y + " + 1";
    case 2:  return bZero ? x + " + C" : x + " + " + y + " + C";
    case 3:  return bZero ? "PASS " + x : x + " + " + y;
    case 4:  return "NOT " + y;
    case 5:  return "-" + y;
    case 6:  return bZero ? x + " + C - 1" : x + " - " + y + " + C - 1";
    case 7:  return x + " - " + y;
    case 8:  return bZero ? "PASS -1" : y + " - 1";
    case 9:  return bZero ? "-" + x : y + " - " + x;
    case 10: return bZero ? "-" + x + " + C - 1" : y + " - " + x + " + C - 1";
    case 11: return "NOT " + x;
    case 12: return x + " AND " + y;
    case 13: return x + " OR " + y;
    case 14: return x + " XOR " + y;
    default: return "ABS " + x;
  }
  // clang-format on
}

Text MacText(u32 word) {
  static constexpr const char* kSigns[] = {"SS", "SU", "US", "UU"};
  static constexpr const char* kSums[] = {"", "MR + ", "MR - "};
  const u32 code = Field(word, 13, 4);
  const bool bRounded = code < 4;
  const u32 sum = bRounded ? code - 1 : code / 4 - 1;
  return Text(kSums[sum]) + kMacX[Field(word, 8, 3)] + " * " + kMacY[Field(word, 11, 2)] + " (" +
         (bRounded ? "RND" : kSigns[code & 3]) + ")";
}

// An operation of ALU or multiplier; none for the multiplier's code 0.
Text UnitText(u32 word) {
  static constexpr const char* kTargets[] = {"MR", "AR", "MF", "AF"};
  const u32 target = Field(word, 17, 2);
  const bool bAlu = (target & 1) != 0;
  if (!bAlu && Field(word, 13, 4) == 0) return {};
  return Text(kTargets[target]) + " = " + (bAlu ? AluText(word) : MacText(word));
}

// An operation of the shifter, with its count where the word holds one.
Text ShiftText(u32 word, const Text& count) {
  static constexpr const char* kKinds[] = {"LSHIFT", "ASHIFT", "NORM"};
  static constexpr const char* kExponents[] = {"HI", "HIX", "LO"};
  const u32 code = Field(word, 11, 4);
  const char* name = kShifterX[Field(word, 8, 3)];
  if (name == nullptr) return {};
  const Text x = name;
  if (code == 15) return "SB = EXPADJ " + x;
  if (code >= 12) return "SE = EXP " + x + " (" + kExponents[code - 12] + ")";
  return Text("SR = ") + ((code & 1) != 0 ? "SR OR " : "") + kKinds[code / 4] + " " + x + count +
         ((code & 2) != 0 ? " (LO)" : " (HI)");
}

// --- Classes -----------------------------------------------------------------------------------

Text StoreText(u32 word, const Text& operation, const char* memory, bool bSecond) {
  const Text store = Pointer(memory, word, bSecond) + " = " + HighRegister(word);
  return operation.empty() ? store : store + ", " + operation;
}

Text ModesText(u32 word) {
  Text text;
  for (const SMode& mode : kModes) {
    const u32 pair = Field(word, mode.bit, 2);
    if ((pair & 2) == 0) continue;
    text += (text.empty() ? "" : ", ") + Text((pair & 1) != 0 ? "ENA " : "DIS ") + mode.name;
  }
  return text;
}

Text StackText(u32 word) {
  Text text;
  const auto add = [&text](const char* item) { text += (text.empty() ? "" : ", ") + Text(item); };
  if (Field(word, 0, 2) == 2) return "PUSH STS";
  if (Field(word, 0, 2) == 3) add("POP STS");
  if (Field(word, 2, 1) != 0) add("POP CNTR");
  if (Field(word, 3, 1) != 0) add("POP LOOP");
  if (Field(word, 4, 1) != 0) add("POP PC");
  return text;
}

Text JumpText(u32 word, const char* name) {
  return If(word) + name + " " + Number(Field(word, 4, 14));
}

Text LowClass(u32 word) {
  switch (word >> 16) {
    case 0x00:
      return "NOP";
    case 0x02:
      return "IDLE";
    case 0x04:
      return StackText(word);
    case 0x05:
      return "SAT MR";
    case 0x06:
      return Text("DIVS ") + kAluY[Field(word, 11, 2)] + ", " + kAluX[Field(word, 8, 3)];
    case 0x07:
      return Text("DIVQ ") + kAluX[Field(word, 8, 3)];
    case 0x09:
      return Pointer("MODIFY ", word, Field(word, 4, 1) != 0);
    case 0x0A:
      return If(word) + (Field(word, 4, 1) != 0 ? "RTI" : "RTS");
    case 0x0B:
      return If(word) + (Field(word, 4, 1) != 0 ? "CALL" : "JUMP") + " (I" +
             std::to_string(4 + Field(word, 6, 2)) + ")";
    case 0x0C:
      return ModesText(word);
    case 0x0D:
      return NameOf(Field(word, 10, 2), Field(word, 4, 4)) + " = " +
             LowRegister(word, Field(word, 8, 2));
    case 0x0E:
      return If(word) + ShiftText(word, {});
    case 0x0F:
      return ShiftText(word, " BY " + std::to_string(static_cast<i8>(word & 0xFF)));
    case 0x10:
      return ShiftText(word, {}) + ", " + HighRegister(word) + " = " +
             LowRegister(word, kDataGroup);
    case 0x11:
    case 0x12:
    case 0x13: {
      const bool bProgram = word >> 16 == 0x11;
      const bool bSecond = word >> 16 != 0x12;
      const char* memory = bProgram ? "PM" : "DM";
      const Text operation = ShiftText(word, {});
      if (operation.empty()) return {};
      return Field(word, 15, 1) != 0
                 ? StoreText(word, operation, memory, bSecond)
                 : operation + ", " + HighRegister(word) + " = " + Pointer(memory, word, bSecond);
    }
    default:
      return {};
  }
}

Text AccessClass(u32 word) {
  const u32 top = word >> 16;
  const bool bProgram = top < 0x60;
  const bool bSecond = bProgram || top >= 0x70;
  const char* memory = bProgram ? "PM" : "DM";
  const Text operation = UnitText(word);
  if ((top & 8) != 0) return StoreText(word, operation, memory, bSecond);
  const Text load = HighRegister(word) + " = " + Pointer(memory, word, bSecond);
  return operation.empty() ? load : operation + ", " + load;
}

Text TextOf(u32 word) {
  const u32 top = word >> 16;
  const u32 group = top >> 2 & 3;
  const Text direct = "DM(" + Number(Field(word, 4, 14)) + ")";
  if (top < 0x14) return LowClass(word);
  if (top < 0x18) {
    return "DO " + Number(Field(word, 4, 14)) + " UNTIL " + kConditions[word & 15].untilName;
  }
  if (top < 0x1C) return JumpText(word, "JUMP");
  if (top < 0x20) return JumpText(word, "CALL");
  if (top < 0x28) return If(word) + UnitText(word);
  if (top < 0x30) {
    return UnitText(word) + ", " + HighRegister(word) + " = " + LowRegister(word, kDataGroup);
  }
  if (top < 0x34) return {};
  if (top < 0x40) return LowRegister(word, group) + " = " + Number(Field(word, 4, 14));
  if (top < 0x50) return LowRegister(word, kDataGroup) + " = " + Number(Field(word, 4, 16));
  if (top < 0x80) return AccessClass(word);
  if (top < 0x90) return LowRegister(word, group) + " = " + direct;
  if (top < 0xA0) return direct + " = " + LowRegister(word, group);
  if (top < 0xC0) {
    return Pointer("DM", word, top >= 0xB0) + " = " + Number(Field(word, 4, 16));
  }
  return {};
}

bool AssemblesTo(const Text& text, u32 word) {
  try {
    const std::vector<SToken> tokens = SplitLine(text);
    CTokens cursor(tokens);
    CSymbols noSymbols;
    return AssembleInstruction(cursor, {noSymbols, 0, true}).word == word;
  } catch (const CSourceError&) {
    return false;
  }
}

}  // namespace

std::string Disassemble(u32 word) {
  const Text text = TextOf(word & kWordMask);
  return !text.empty() && AssemblesTo(text, word) ? text : ".DW24 " + Hex(word & kWordMask, 6);
}

std::string DisassembleImage(const SBootImage& image, const std::string& name) {
  constexpr size_t kColumn = 56;
  const Text indent(8, ' ');
  Text source = "; " + name + "\n" + indent + ".ALLOW_UNIMPL\n";
  if (!image.title.empty()) source += indent + ".TITLE \"" + image.title + "\"\n";
  source += indent + ".BOOTWORDS " + std::to_string(image.words.size()) + "\n";
  for (u32 i = 0; i < image.words.size(); ++i) {
    const u32 address = ProgramAddressOf(i);
    if (i == 0 || i == kInternalWords) source += indent + ".ORG " + Number(address) + "\n";
    Text line = indent + Disassemble(image.words[i]);
    line.resize(std::max(line.size() + 1, kColumn), ' ');
    source +=
        line + "; " + Hex(address, 4).substr(2) + "  " + Hex(image.words[i], 6).substr(2) + "\n";
  }
  return source;
}

}  // namespace vx::adsp
