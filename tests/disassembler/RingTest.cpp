// The ring of scratch strings, and texts from several threads at once.
#include "mips3/DisassemblerRing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <barrier>
#include <string>
#include <thread>
#include <vector>

#include "mips3/Disassembler.h"

namespace vx::test {
namespace {

TEST(DisassemblerRing, GivesRoomInARow) {
  CDisassemblerRing ring;
  char* const first = ring.Take(kRegisterTextBytes);
  EXPECT_EQ(ring.Take(kMnemonicTextBytes), first + 16);
  EXPECT_EQ(ring.Take(kRegisterTextBytes), first + 80);
}

TEST(DisassemblerRing, StartsAgainAfterItsLastByte) {
  CDisassemblerRing ring;
  char* const first = ring.Take(kMnemonicTextBytes);
  for (u32 i = 1; i < 16384 / 64; ++i) EXPECT_EQ(ring.Take(kMnemonicTextBytes), first + i * 64);
  EXPECT_EQ(ring.Take(kMnemonicTextBytes), first);
}

TEST(DisassemblerRing, StartsAgainRatherThanSplitAString) {
  for (u32 leftOver = 16; leftOver < 64; leftOver += 16) {
    CDisassemblerRing ring;
    char* const first = ring.Take(kRegisterTextBytes);
    for (u32 taken = 16; taken < 16384 - leftOver; taken += 16) ring.Take(kRegisterTextBytes);
    EXPECT_EQ(ring.Take(kMnemonicTextBytes), first) << leftOver;
    EXPECT_EQ(ring.Take(kRegisterTextBytes), first + 64) << leftOver;
  }
}

TEST(DisassemblerRing, FillsWhatIsLeftIfItFits) {
  CDisassemblerRing ring;
  char* const first = ring.Take(kRegisterTextBytes);
  for (u32 taken = 16; taken < 16384 - 64; taken += 16) ring.Take(kRegisterTextBytes);
  EXPECT_EQ(ring.Take(kMnemonicTextBytes), first + 16384 - 64);
  EXPECT_EQ(ring.Take(kMnemonicTextBytes), first);
}

TEST(DisassemblerRing, EndsWithAZeroThatNobodyIsGiven) {
  CDisassemblerRing ring;
  char* const whole = ring.Take(CDisassemblerRing::kBytes);
  std::fill_n(whole, CDisassemblerRing::kBytes, '#');
  EXPECT_EQ(whole[CDisassemblerRing::kBytes], '\0');
}

TEST(DisassemblerRing, GivesNoPieceTwiceInOneRoundToThreadsAtOnce) {
  constexpr u32 kThreads = 4;
  constexpr u32 kPieces = CDisassemblerRing::kBytes / kRegisterTextBytes;
  CDisassemblerRing ring;
  std::array<std::vector<char*>, kThreads> taken;
  std::barrier start(kThreads);
  {
    std::vector<std::jthread> threads;
    for (std::vector<char*>& pieces : taken) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        for (u32 i = 0; i < kPieces / kThreads; ++i)
          pieces.push_back(ring.Take(kRegisterTextBytes));
      });
    }
  }
  std::vector<char*> all;
  for (const auto& pieces : taken) all.insert(all.end(), pieces.begin(), pieces.end());
  std::sort(all.begin(), all.end());
  for (u32 i = 1; i < kPieces; ++i) ASSERT_EQ(all[i], all[i - 1] + kRegisterTextBytes);
}

// A mnemonic and three registers: what an FP op with three operands takes.
constexpr u32 kFpOpBytes = kMnemonicTextBytes + 3 * kRegisterTextBytes;

TEST(DisassemblerRing, LetsALongListingOfOneThreadGoRoundManyTimes) {
  for (u32 i = 0; i < 10 * CDisassemblerRing::kBytes / kFpOpBytes; ++i) {
    const u32 fd = i % 32;
    char text[kOpTextBytes];
    DisassembleOp(text, 0x46030000 | 2u << 11 | fd << 6, 0);
    ASSERT_EQ(text, "add.s$f" + std::to_string(fd) + ", $f2, $f3") << i;
  }
}

// In each round all threads together take less than one turn of the ring.
TEST(DisassemblerRing, LetsThreadsPrintFpOpsAtOnce) {
  constexpr u32 kThreads = 4;
  constexpr u32 kOpsOfAThread = CDisassemblerRing::kBytes / kFpOpBytes / kThreads - 1;
  constexpr u32 kRounds = 500;
  std::array<u32, kThreads> wrong{};
  std::barrier round(kThreads);
  {
    std::vector<std::jthread> threads;
    for (u32 thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        const u32 word = 0x46030000 | thread << 11 | (thread + 8) << 6;
        const std::string expected =
            "add.s$f" + std::to_string(thread + 8) + ", $f" + std::to_string(thread) + ", $f3";
        for (u32 i = 0; i < kRounds; ++i) {
          round.arrive_and_wait();
          for (u32 op = 0; op < kOpsOfAThread; ++op) {
            char text[kOpTextBytes];
            DisassembleOp(text, word, 0);
            wrong[thread] += expected != text ? 1 : 0;
          }
        }
      });
    }
  }
  for (u32 thread = 0; thread < kThreads; ++thread) EXPECT_EQ(wrong[thread], 0u) << thread;
}

}  // namespace
}  // namespace vx::test
