// Encodings that the processor does not have: a message with the word's fields, one cycle, nothing
// else.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u32 kMain[] = {18, 19, 28, 29, 30, 31, 48, 50, 51, 52, 53, 54, 56, 58, 59, 60, 61, 62};
constexpr u32 kSpecial[] = {1,  5,  10, 11, 14, 15, 21, 40, 41, 48,
                            49, 50, 51, 52, 53, 54, 55, 57, 61};
constexpr u32 kRegImm[] = {4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                           20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31};
constexpr u32 kCop0[] = {2, 3, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

std::vector<u32> UnimplementedWords() {
  std::vector<u32> words;
  for (const u32 code : kMain) words.push_back(MainOp(code, kA0, kA1, 0x1234));
  for (const u32 code : kSpecial) words.push_back(SpecialOp(code, kA0, kA1, kA2, 3));
  for (const u32 code : kRegImm) words.push_back(RegImmOp(code, kA0, 0x0123));
  for (const u32 code : kCop0) words.push_back(0x40000000 | code << 21 | kA1 << 16 | 12 << 11);
  return words;
}

SLogLine MessageFor(u32 word, u32 pc) {
  char text[160];
  std::snprintf(text, sizeof(text),
                "MIPS3 unimplemented op at PC %08X: %08X (b:%i s/cp1:%i ri:%i)\n", pc, word,
                word >> 26, word & 63, word >> 16 & 31);
  return {2, text};
}

using Unimplemented = ProcessorTest;

TEST_F(Unimplemented, OpLogsItsFieldsAndTakesOneCycle) {
  for (const u32 word : UnimplementedWords()) {
    SCOPED_TRACE(::testing::Message() << std::hex << word);
    nextCode += 0x20;
    PlaceWithRest(nextCode, {kNop, word, Addiu(kT0, kZero, 9)});
    gpr[kA0] = Extended(kData);
    gpr[kA1] = 0xFFFFFFFF;
    for (const char* pass : {"forming", "replay"}) {
      SCOPED_TRACE(pass);
      SetPc(nextCode);
      log.clear();
      gpr[kT0] = 0;
      EXPECT_EQ(RunBlock(), 5u);
      ASSERT_EQ(log.size(), 1u);
      EXPECT_EQ(log[0], MessageFor(word, nextCode + 8));
      EXPECT_EQ(gpr[kT0], 9u) << "the run goes on";
    }
  }
}

TEST_F(Unimplemented, OpLeavesAllStateAlone) {
  for (const u32 word : UnimplementedWords()) {
    gpr[kA0] = Extended(kData);
    cpu.pc = kCode + 4;
    const SMIPS3Context before = cpu;
    const u64 memory = Peek64(kData);
    ExecuteWord(m.get(), word);
    EXPECT_EQ(std::memcmp(&before, &cpu, sizeof(cpu)), 0) << std::hex << word;
    EXPECT_EQ(Peek64(kData), memory);
  }
}

TEST_F(Unimplemented, OpInADelaySlotLogsTheTarget) {
  constexpr u32 kSync = 15;
  PlaceWithRest(0x80002000, {kNop});
  Place(kCode, {J(0x80002000), kSync});
  RunBlock();
  ASSERT_EQ(log.size(), 1u);
  EXPECT_EQ(log[0], MessageFor(kSync, 0x80002000));
}

TEST_F(Unimplemented, EveryOtherEncodingIsSilent) {
  const auto isListed = [](const auto& list, u32 code) {
    return std::find(std::begin(list), std::end(list), code) != std::end(list);
  };
  for (u32 code = 0; code < 64; ++code) {
    if (code == 17) continue;
    if (!isListed(kMain, code)) {
      cpu.pc = kCode + 4;
      ExecuteWord(m.get(), code << 26);
    }
    if (!isListed(kSpecial, code)) {
      cpu.pc = kCode + 4;
      ExecuteWord(m.get(), code);
    }
  }
  for (u32 code = 0; code < 32; ++code) {
    if (!isListed(kRegImm, code)) {
      cpu.pc = kCode + 4;
      ExecuteWord(m.get(), RegImmOp(code, 0, 0));
    }
    if (!isListed(kCop0, code)) {
      cpu.pc = kCode + 4;
      ExecuteWord(m.get(), 0x40000000 | code << 21);
    }
    cpu.branchTarget = kNoBranch;
  }
  EXPECT_TRUE(log.empty());
}

}  // namespace

}  // namespace vx
