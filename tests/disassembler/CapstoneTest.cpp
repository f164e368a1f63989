// The disassembler against Capstone, word by word. VX_SEED and VX_WORDS in the environment choose
// other words, or more.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "mips3/Disassembler.h"
#include "tests/disassembler/Differences.h"
#include "tests/disassembler/Words.h"

namespace vx::test {
namespace {

constexpr u64 kDefaultSeed = 1;
constexpr u64 kDefaultWords = 2'000'000;
constexpr u64 kFewestWordsForEveryEntry = 1'000'000;
constexpr u32 kMostReports = 20;

u64 FromEnvironment(const char* name, u64 otherwise) {
  const char* const text = std::getenv(name);
  return text ? std::strtoull(text, nullptr, 0) : otherwise;
}

std::string TextOf(const SPlacedWord& placed, EOpTextStyle style) {
  char text[kOpTextBytes];
  EXPECT_EQ(DisassembleOp(text, placed.word, placed.address, style), 4u);
  return text;
}

std::string WithoutFirstBlank(std::string text) {
  const std::size_t blank = text.find(' ');
  if (!text.starts_with('<') && blank != text.npos) text.erase(blank, 1);
  return text;
}

std::string Report(u64 seed, u64 index, const SPlacedWord& placed, const SComparison& result) {
  char text[640];
  std::snprintf(text, sizeof text,
                "seed %llu, word %llu: %08X at %08X\n  ours       %s\n  Capstone   %s\n"
                "  expected   %s\n  shown was  %08X",
                static_cast<unsigned long long>(seed), static_cast<unsigned long long>(index),
                placed.word, placed.address, result.ours.c_str(), result.theirs.c_str(),
                result.wanted.c_str(), result.shownWord);
  return text;
}

TEST(DisassemblerAgainstCapstone, TellsTheSameExceptForTheKnownDifferences) {
  const u64 seed = FromEnvironment("VX_SEED", kDefaultSeed);
  const u64 words = FromEnvironment("VX_WORDS", kDefaultWords);
  CWordSource source(seed);
  CComparer comparer;
  u32 reports = 0;
  for (u64 i = 0; i < words && reports < kMostReports; ++i) {
    const SPlacedWord placed = source.Next();
    const std::string spaced = TextOf(placed, EOpTextStyle::Spaced);
    const SComparison result = comparer.Compare(placed.word, placed.address, spaced);
    const bool bJoins = TextOf(placed, EOpTextStyle::Joined) == WithoutFirstBlank(spaced);
    if (result.bEqual && bJoins) continue;
    ++reports;
    ADD_FAILURE() << Report(seed, i, placed, result)
                  << (bJoins ? "" : "\n  and joined it is another text");
  }
  if (words < kFewestWordsForEveryEntry || reports != 0) return;
  for (const CComparer::SUse& use : comparer.Uses()) {
    EXPECT_NE(use.count, 0u) << "no word needed this entry of the differences: " << use.entry;
  }
}

// The comparison itself: a text that is wrong in one place is not excused by any entry.
TEST(DisassemblerAgainstCapstone, FindsATextThatIsWrong) {
  constexpr u32 kAddress = 0x80001000;
  struct SWrong {
    u32 word;
    const char* text;
  };
  const SWrong kWrong[] = {
      {0x24020005, "addiu $v0, $zero, 6"},
      {0x24020005, "addi $v0, $zero, 5"},
      {0x24020005, "<unimplemented>"},
      {0x00851021, "addu $v0, $a1, $a0"},
      {0x8FBF0010, "lw $ra, 12($sp)"},
      {0x1000FFFF, "beq $zero, $zero, 80001004"},
      {0x40026000, "mfc0 $v0, $cause"},
      {0x46041040, "add.d $f1, $f2, $f4"},
      {0x46A41040, "add.w $f1, $f2, $f4"},
      {0x4604103C, "c.le.s $f2, $f4"},
      {0x70000000, "sll $zero, $zero, 0"},
      {0xC0000000, "lw $zero, 0($zero)"},
      {0x42000020, "tlbp"},
      {0x00000000, "sll $zero, $zero, 0"},
      {0x44C20000, "<cop1 - todo>"},
      {0x00821000, "sll $v0, $a0, 0"},
  };
  CComparer comparer;
  for (const SWrong& wrong : kWrong) {
    EXPECT_FALSE(comparer.Compare(wrong.word, kAddress, wrong.text).bEqual) << wrong.text;
    const std::string right = TextOf({wrong.word, kAddress}, EOpTextStyle::Spaced);
    EXPECT_TRUE(comparer.Compare(wrong.word, kAddress, right).bEqual) << right;
  }
}

}  // namespace
}  // namespace vx::test
