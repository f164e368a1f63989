// Words to texts and back, over all classes.
#include <gtest/gtest.h>

#include "tests/adspasm/AsmTest.h"
#include "tests/sound/RandomDsp.h"
#include "tools/adspasm/Disassembler.h"
#include "tools/adspasm/Isa.h"

namespace vx::test {
namespace {

using adsp::Field;

std::string RawText(u32 word) { return ".DW24 " + adsp::Hex(word, 6); }

// --- Which words have a text -------------------------------------------------------------------

// Bits that a class of words does not look at; with one of them set a word has no text.
struct SUnusedRow {
  u32 first, last;  // top bytes
  u32 bits;
};
// clang-format off
constexpr SUnusedRow kUnused[] = {
  { 0x00, 0x00, 0xFFFF }, { 0x05, 0x05, 0xFFFF }, { 0x06, 0x06, 0xE0FF }, { 0x07, 0x07, 0xE8FF },
  { 0x09, 0x0A, 0xFFE0 }, { 0x0B, 0x0B, 0xFF20 }, { 0x0C, 0x0C, 0x0003 }, { 0x0D, 0x0D, 0xF000 },
  { 0x0E, 0x0E, 0x80F0 }, { 0x0F, 0x0F, 0x8000 }, { 0x10, 0x10, 0x8000 }, { 0x20, 0x27, 0x00F0 },
};
// clang-format on

bool HasOperationText(u32 word) {
  const u32 code = Field(word, 13, 4);
  const u32 x = Field(word, 8, 3);
  const u32 y = Field(word, 11, 2);
  const bool bAlu = (word >> 17 & 1) != 0;
  if (!bAlu) return code != 0;
  switch (code) {
    case 0:
    case 1:
    case 4:
    case 8:
      return x == 0;
    case 5:
      return x == 0 && y != adsp::kZeroOperand;
    case 11:
    case 15:
      return y == 0;
    default:
      return true;
  }
}

bool HasShiftText(u32 word) {
  constexpr u32 kNamelessX = 1;
  return Field(word, 8, 3) != kNamelessX && (word >> 16 != 0x0F || Field(word, 11, 4) < 12);
}

bool HasName(u32 group, u32 index) { return adsp::RegisterOf(group, index) != nullptr; }

bool HasModeText(u32 word) {
  bool bTouchesAny = false;
  for (u32 bit = 2; bit < 16; bit += 2) {
    const u32 pair = Field(word, bit, 2);
    if (pair == 1) return false;
    bTouchesAny |= pair != 0;
  }
  return bTouchesAny;
}

// For words that the processor executes.
bool HasText(u32 word) {
  const u32 top = word >> 16;
  for (const SUnusedRow& row : kUnused) {
    if (top >= row.first && top <= row.last && (word & row.bits) != 0) return false;
  }
  const u32 low = Field(word, 0, 4);
  if (top == 0x07) return Field(word, 11, 2) == 2;
  if (top == 0x0C) return HasModeText(word);
  if (top == 0x0D) {
    return HasName(Field(word, 8, 2), low) && HasName(Field(word, 10, 2), Field(word, 4, 4));
  }
  if (top >= 0x0E && top <= 0x13) return HasShiftText(word);
  if (top >= 0x20 && top <= 0x2F) return HasOperationText(word);
  if (top >= 0x34 && top <= 0x3F) return HasName(Field(top, 2, 2), low);
  if (top >= 0x50 && top <= 0x7F) {
    const bool bAccessAlone = (top & 7) < 2 && (word & 0x1FF00) == 0;
    return bAccessAlone || HasOperationText(word);
  }
  if (top >= 0x80 && top <= 0x9B) return HasName(Field(top, 2, 2), low);
  return true;
}

void CheckWord(u32 word) {
  const std::string text = adsp::Disassemble(word);
  if (text == RawText(word)) {
    const bool bOwed = adsp::MissingIn(word).empty() && HasText(word);
    ASSERT_FALSE(bOwed) << adsp::Hex(word, 6) << " is executed and has no text";
    return;
  }
  ASSERT_EQ(WordOf(text, true), word) << text;
}

TEST(Disassembly, GivesEveryWordATextThatAssemblesToIt) {
  CRandom random(1);
  constexpr u32 kClasses = 1 << 11;  // top byte and operation
  for (u32 i = 0; i < kClasses; ++i) {
    for (u32 sample = 0; sample < 48; ++sample) {
      CheckWord(i << 13 | (random.Next() & 0x1FFF));
      if (HasFatalFailure()) return;
    }
    CheckWord(i << 13);
    CheckWord(i << 13 | 0xF);
    if (HasFatalFailure()) return;
  }
}

TEST(Disassembly, GivesRandomWordsATextThatAssemblesToThem) {
  CRandom random(2);
  for (u32 i = 0; i < 200000 && !HasFatalFailure(); ++i) CheckWord(random.Next() & 0xFFFFFF);
}

// Words as programs hold them: the generator stays within what the processor executes.
TEST(Disassembly, GivesProgramsATextThatAssemblesToThem) {
  CRandom random(3);
  for (u32 i = 0; i < 100000 && !HasFatalFailure(); ++i) {
    CheckWord(RandomInstruction(random, 100) & 0xFFFFFF);
  }
}

// --- Everything that the assembler takes ---------------------------------------------------------

void CheckText(const std::string& text) {
  const u32 word = WordOf(text, true);
  ASSERT_NE(word, kNoWord) << text;
  const std::string back = adsp::Disassemble(word);
  ASSERT_NE(back, RawText(word)) << text;
  ASSERT_EQ(WordOf(back, true), word) << text << " came back as " << back;
}

std::vector<std::string> AllOperations() {
  std::vector<std::string> all;
  for (const char* r : {"AR = ", "AF = "}) {
    const std::string to = r;
    for (const std::string x : adsp::kAluX) {
      for (const std::string y : adsp::kAluY) {
        for (const char* middle : {" + ", " - ", " AND ", " OR ", " XOR "}) {
          all.push_back(to + x + middle + y);
        }
        all.push_back(to + y + " - " + x);
        all.push_back(to + x + " + " + y + " + C");
        all.push_back(to + x + " - " + y + " + C - 1");
        all.push_back(to + y + " - " + x + " + C - 1");
      }
      for (const char* before : {"PASS ", "NOT ", "ABS ", "-"}) all.push_back(to + before + x);
      for (const char* behind : {" + C", " + C - 1"}) all.push_back(to + x + behind);
      all.push_back(to + "-" + x + " + C - 1");
    }
    for (const std::string y : {"AY0", "AY1", "AF"}) {
      for (const char* before : {"PASS ", "NOT ", "-"}) all.push_back(to + before + y);
      for (const char* behind : {" + 1", " - 1"}) all.push_back(to + y + behind);
    }
    for (const char* constant : {"PASS 0", "PASS 1", "PASS -1", "NOT 0"})
      all.push_back(to + constant);
  }
  for (const char* to : {"MR = ", "MF = "}) {
    for (const char* sum : {"", "MR + ", "MR - "}) {
      for (const char* signs : {" (SS)", " (SU)", " (US)", " (UU)", " (RND)"}) {
        for (const std::string x : adsp::kMacX) {
          for (const std::string y : adsp::kMacY) all.push_back(to + (sum + x) + " * " + y + signs);
        }
      }
    }
    for (const char* shortForm : {"0", "MR", "MR (RND)"})
      all.push_back(std::string(to) + shortForm);
  }
  for (const char* x : adsp::kShifterX) {
    if (x == nullptr) continue;
    for (const char* merge : {"SR = ", "SR = SR OR "}) {
      for (const char* kind : {"LSHIFT ", "ASHIFT ", "NORM "}) {
        for (const char* half : {" (HI)", " (LO)"})
          all.push_back(merge + (kind + (x + std::string(half))));
      }
    }
    for (const char* half : {" (HI)", " (HIX)", " (LO)"})
      all.push_back("SE = EXP " + (x + std::string(half)));
    all.push_back(std::string("SB = EXPADJ ") + x);
  }
  return all;
}

TEST(Disassembly, KnowsEveryOperationAloneAndBesideMovesAndMemory) {
  const char* const beside[] = {", MX0 = SR0",       ", SI = AY1",       ", MY1 = DM(I0,M3)",
                                ", AX0 = DM(I7,M4)", ", SE = PM(I5,M6)", ", DM(I2,M1) = SI",
                                ", DM(I4,M5) = SR1", ", PM(I6,M7) = MR2"};
  for (const std::string& operation : AllOperations()) {
    for (const char* other : beside) CheckText(operation + other);
    for (const char* condition : {"", "IF EQ ", "IF NOT AV ", "IF NOT CE "}) {
      CheckText(condition + operation);
    }
    if (HasFatalFailure()) return;
  }
}

TEST(Disassembly, KnowsEveryMoveAndLoad) {
  const std::string address = "DM(0x2345)";
  for (u32 group = 0; group < 4; ++group) {
    for (u32 index = 0; index < 16; ++index) {
      const adsp::SRegister* reg = adsp::RegisterOf(group, index);
      if (reg == nullptr) continue;
      const std::string name = reg->name;
      CheckText(name + " = " + address);
      CheckText(address + " = " + name);
      CheckText(name + " = 0x1234");
      CheckText(name + " = -5");
      for (u32 other = 0; other < 64; ++other) {
        const adsp::SRegister* source = adsp::RegisterOf(other / 16, other % 16);
        if (source != nullptr) CheckText(name + " = " + source->name);
      }
      if (HasFatalFailure()) return;
    }
  }
  for (u32 i = 0; i < 8; ++i) {
    for (u32 m = i & 4; m < (i & 4) + 4; ++m) {
      const std::string pointer = "(I" + std::to_string(i) + ",M" + std::to_string(m) + ")";
      CheckText("MODIFY " + pointer);
      CheckText("DM" + pointer + " = 0xFEDC");
      CheckText("DM" + pointer + " = AX1");
      CheckText("MR1 = DM" + pointer);
      if (i >= 4) CheckText("PM" + pointer + " = AX1");
      if (i >= 4) CheckText("MR1 = PM" + pointer);
    }
  }
}

TEST(Disassembly, KnowsEveryCondition) {
  for (const adsp::SCondition& condition : adsp::kConditions) {
    const std::string prefix = std::string("IF ") + condition.ifName + " ";
    for (const char* what : {"JUMP 0x123", "CALL 0x3FFF", "JUMP (I4)", "CALL (I7)", "RTS", "RTI"}) {
      CheckText(prefix + what);
    }
    CheckText(std::string("DO 0x2A UNTIL ") + condition.untilName);
  }
}

// --- Whole images ------------------------------------------------------------------------------

TEST(Disassembly, OfAnImageIsASourceOfTheSameImage) {
  CRandom random(4);
  adsp::SBootImage image{{}, "A title; with // marks"};
  for (u32 i = 0; i < adsp::kMostImageWords; ++i) image.words.push_back(random.Next() & 0xFFFFFF);
  const adsp::SProgram program = AssembleText(adsp::DisassembleImage(image, "random"));
  ASSERT_TRUE(program.bGood) << SaidOf(program).front();
  EXPECT_EQ(program.BootImage(), adsp::PackBootImage(image.words, image.title));
}

TEST(Disassembly, OfAnImageTellsItsAddresses) {
  const std::string text = adsp::DisassembleImage({std::vector<u32>(1032, 0x0A000F), {}}, "x");
  EXPECT_NE(text.find("RTS                                             ; 03FF  0A000F\n"
                      "        .ORG 0x0800\n        RTS"),
            std::string::npos);
}

}  // namespace
}  // namespace vx::test
