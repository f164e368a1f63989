// Single native blocks of the made-up library: what they charge, where they go on, and how likely
// branches leave them.
#include <gtest/gtest.h>

#include <cstring>

#include "blocks/BlockTable.h"
#include "mips3/OpTable.h"
#include "tests/native/BlockPair.h"
#include "tests/native/Code.h"

namespace vx::test {

namespace {

constexpr u32 kEntry = 0x80010000;

u32 g_seenCycles[2];
u32 g_seenCount;

void SeeWrite(CVXMachine* m, u32, u64) { g_seenCycles[g_seenCount++ & 1] = m->cpu.cycles; }

class NativeEdge : public ProcessorTest {
 protected:
  // Runs the block by its native function, as the run loop enters it.
  void RunNative(const std::vector<u32>& words) {
    SetPc(kEntry + 4);
    cpu.cycles = 0;
    cpu.budget = 1000;
    for (const SLibraryBlock& block : LibraryBlocks()) {
      if (block.words != words) continue;
      EXPECT_EQ(block.native(m.get(), cpu.pc), cpu.pc);
      return;
    }
    FAIL() << "the library does not hold\n" << Listing(words);
  }
};

TEST_F(NativeEdge, TwoStoresChargeTheOpsBeforeEach) {
  for (SIoWriteRow& row : m->ioWrite) row = {SeeWrite, SeeWrite, SeeWrite, SeeWrite};
  gpr[4] = Extended(0xB0003800);
  g_seenCount = 0;
  RunNative(kTwoStores);
  EXPECT_EQ(g_seenCount, 2u);
  EXPECT_EQ(g_seenCycles[0], 0u);
  EXPECT_EQ(g_seenCycles[1], 1u);
  EXPECT_EQ(cpu.cycles, 4u);
}

TEST_F(NativeEdge, AJumpToTheAddressThatMeansNoneFallsThrough) {
  gpr[8] = Extended(0xFFFFFFFF);
  RunNative(kJumpToRegister);
  EXPECT_EQ(cpu.pc, kEntry + 8);
  EXPECT_EQ(cpu.branchTarget, kNoBranch);
  EXPECT_EQ(cpu.cycles, 2u);
}

TEST_F(NativeEdge, AJumpByRegisterGoesWhereItPoints) {
  gpr[8] = Extended(0x80123450);
  RunNative(kJumpToRegister);
  EXPECT_EQ(cpu.pc, 0x80123450u);
}

TEST_F(NativeEdge, ABranchToItselfReturnsAfterEachPass) {
  gpr[2] = 5;
  gpr[5] = 9;
  RunNative(kBranchToItself);
  EXPECT_EQ(cpu.pc, kEntry);
  EXPECT_EQ(cpu.cycles, 2u);
  EXPECT_EQ(gpr[2], 6u);
  gpr[2] = 9;
  RunNative(kBranchToItself);
  EXPECT_EQ(cpu.pc, kEntry + 8);
}

TEST_F(NativeEdge, ALoadToRegisterZeroIsChargedAndDropped) {
  gpr[4] = Extended(0xBFC00000);
  gpr[31] = Extended(0x80000000);
  RunNative(kLoadToZero);
  EXPECT_EQ(gpr[0], 0u);
  EXPECT_EQ(cpu.cycles, 3u + 154u);
}

TEST_F(NativeEdge, AJumpAloneChargesTwoCyclesAndStaysInItsRegion) {
  RunNative(kJumpAlone);
  EXPECT_EQ(cpu.cycles, 2u);
  EXPECT_EQ(cpu.pc, 0x80000000u | 0x1234u << 2);
}

TEST_F(NativeEdge, ADelayOpSeesTheLinkOfItsJump) {
  RunNative(kLinkAndUse);
  EXPECT_EQ(gpr[31], Extended(kEntry + 8));
  EXPECT_EQ(gpr[2], Extended(kEntry + 8));
}

TEST_F(NativeEdge, ALikelyBranchThatIsNotTakenSkipsItsDelayOp) {
  for (const std::vector<u32>& words : {kLikelyEqual, kLikelyMarked}) {
    gpr[2] = gpr[3] = 10;
    gpr[4] = 1;
    gpr[5] = 2;
    RunNative(words);
    EXPECT_EQ(gpr[2], 11u);
    EXPECT_EQ(gpr[3], 10u);
    EXPECT_EQ(cpu.pc, kEntry + 12);
    EXPECT_EQ(cpu.cycles, 2u);
  }
}

TEST_F(NativeEdge, ALikelyBranchThatIsTakenRunsItsDelayOp) {
  for (const std::vector<u32>& words : {kLikelyEqual, kLikelyMarked}) {
    gpr[2] = gpr[3] = 10;
    gpr[4] = gpr[5] = ~u64{0};
    RunNative(words);
    EXPECT_EQ(gpr[3], 11u);
    EXPECT_EQ(cpu.pc, kEntry + 8 + 16);
    EXPECT_EQ(cpu.cycles, 3u);
  }
}

// --- Through the run loop
// -------------------------------------------------------------------------

class NativeLoop : public ProcessorTest {
 protected:
  NativeLoop() {
    TestHost().DecompressTable = [](void* target, const void* source, u32 bytes, u32, u32, u32,
                                    u32) { std::memcpy(target, source, bytes); };
    LoadBlockTable();
    Place(kEntry, {kLinkAndUse[0], kLinkAndUse[1]});
  }
};

TEST_F(NativeLoop, ABlockIsMatchedWhenItFormsAndRunsNativelyFromThenOn) {
  EXPECT_EQ(RunBlock(), 2u);
  EXPECT_NE(RecordAt(kEntry).flags & kOpNative, 0u);
  SetPc(kEntry);
  gpr[31] = gpr[2] = 0;
  EXPECT_EQ(RunBlock(), 2u);
  EXPECT_EQ(gpr[2], Extended(kEntry + 8));
}

TEST_F(NativeLoop, ADelayOpIsNotMatched) {
  RunBlock();
  EXPECT_EQ(RecordAt(kEntry + 4).flags & kOpNative, 0u);
}

TEST_F(NativeLoop, CodeThatChangesUnderItsRecordKeepsItsNativeBlock) {
  RunBlock();
  Poke32(kEntry + 4, 0x24420007);  // addiu v0, v0, 7
  SetPc(kEntry);
  gpr[2] = 0;
  RunBlock();
  EXPECT_EQ(gpr[2], Extended(kEntry + 8));
}

TEST_F(NativeLoop, ADelayOpReachedAloneStaysABlockOfOneOp) {
  Place(kEntry, {kBranchToItself[0], kBranchToItself[1]});
  cpu.branchTarget = 0x80020000;
  EXPECT_EQ(RunBlock(), 1u);
  EXPECT_EQ(RecordAt(kEntry).flags & kOpNative, 0u);
  EXPECT_EQ(RecordAt(kEntry).link, 1u);
}

TEST_F(NativeLoop, TheBlockEndsWhenTheBudgetIsReachedInItsMiddle) {
  RunBlock();
  SetPc(kEntry);
  EXPECT_EQ(Run(1), 2u);
}

// --- The library as blockgen made it
// --------------------------------------------------------------

TEST(MadeUpLibrary, HoldsEveryOpThatCanBeTranslated) {
  std::vector<bool> bHeld(kOpCount);
  for (const SLibraryBlock& block : LibraryBlocks()) {
    for (const u32 word : block.words) bHeld[static_cast<u32>(DecodeOp(word))] = true;
  }
  for (u32 row = kFirstRow; row < kOpCount; ++row) {
    const EOp op = static_cast<EOp>(row);
    const bool bTellsHost =
        op == EOp::Tlbr || op == EOp::Tlbwr || op == EOp::Tlbp || op == EOp::Cfc1;
    EXPECT_EQ(bHeld[row], !bTellsHost) << OpInfo(op).name;
  }
}

TEST(MadeUpLibrary, FindsEachOfItsBlocksInGuestMemory) {
  const SBlockLibrary& library = BuiltInLibrary();
  CBlockTable table;
  std::vector<u64> image(library.image.size() / sizeof(u64) + 1);
  std::memcpy(image.data(), library.image.data(), library.image.size());
  table.Install(std::move(image), library.image.size(), library.natives);
  std::vector<u8> memory(kFlatBytes);
  for (const SLibraryBlock& block : LibraryBlocks()) {
    std::memcpy(memory.data() + 0x1234, block.words.data(), block.words.size() * 4);
    // Equal code may share a function, but never finds that of other code.
    EXPECT_EQ(table.LookUp(memory.data(), block.words[0], 0x1234), block.native)
        << Listing(block.words);
  }
}

}  // namespace

}  // namespace vx::test
