#include "tests/mips3/OpCoverage.h"

#include <gtest/gtest.h>

#include <set>

#include "mips3/OpTable.h"
#include "tests/mips3/Encode.h"

namespace vx {

namespace {

// Ops whose behaviour has tests of its own instead of rows in a table.
constexpr u32 kTestedByName[] = {
    mips::J(0),   mips::Jal(0),         mips::Jr(0),      mips::Jalr(0, 0),  mips::kSyscall,
    mips::kBreak, mips::Cache(0, 0, 0), mips::Mfc0(1, 0), mips::Dmfc0(1, 0), mips::Mtc0(1, 0),
    mips::kTlbr,  mips::kTlbwi,         mips::kTlbwr,     mips::kTlbp,       mips::kEret,
};

// The row of a word; floating point arithmetic is told apart by its function.
EOp RowOf(u32 word) {
  const EOp op = DecodeOp(word);
  if (MainCode(word) != kMainCop1 || op != EOp::Unimplemented) return op;
  return kCop1FunctionOps[Funct(word)];
}

TEST(OpTable, EveryRowHasATestOfItsBehaviour) {
  std::set<EOp> tested;
  for (const auto& words :
       {RegisterOpWords(), MultiplierOpWords(), LoadStoreOpWords(), BranchOpWords(),
        FpArithmeticOpWords(), FpCompareOpWords(), FpMoveOpWords()}) {
    for (const u32 word : words) tested.insert(RowOf(word));
  }
  for (const u32 word : kTestedByName) tested.insert(RowOf(word));
  EXPECT_FALSE(tested.contains(EOp::Unimplemented));
  EXPECT_FALSE(tested.contains(EOp::UnknownCop0));
  for (u32 i = kFirstRow; i < kOpCount; ++i) {
    EXPECT_TRUE(tested.contains(static_cast<EOp>(i))) << kOps[i].name;
  }
}

TEST(OpTable, WordsWithADelaySlotAreThoseOfTheManuals) {
  for (u32 main = 0; main < 64; ++main) {
    if (main == 0 || main == 1 || main == 17) continue;
    const bool bExpected = (main >= 2 && main <= 7) || (main >= 20 && main <= 23);
    EXPECT_EQ(HasDelaySlot(main << 26), bExpected) << "main " << main;
  }
  for (u32 funct = 0; funct < 64; ++funct) {
    EXPECT_EQ(HasDelaySlot(funct), funct == 8 || funct == 9) << "special " << funct;
  }
  for (u32 rt = 0; rt < 32; ++rt) {
    const bool bExpected = rt <= 3 || (rt >= 16 && rt <= 19);
    EXPECT_EQ(HasDelaySlot(mips::RegImmOp(rt, 0, 0)), bExpected) << "regimm " << rt;
  }
  for (u32 rs = 0; rs < 32; ++rs) {
    EXPECT_EQ(HasDelaySlot(17u << 26 | rs << 21), rs == 8) << "cop1 " << rs;
  }
}

TEST(OpTable, OnlyTheRegisterImmediateAndFpLikelyBranchesAreMarked) {
  for (u32 rt = 0; rt < 32; ++rt) {
    const bool bExpected = rt == 2 || rt == 3 || rt == 18 || rt == 19;
    EXPECT_EQ(IsMarkedLikely(mips::RegImmOp(rt, 0, 0)), bExpected) << "regimm " << rt;
  }
  for (u32 rt = 0; rt < 4; ++rt) {
    EXPECT_EQ(IsMarkedLikely(0x45000000 | rt << 16), rt >= 2) << "bc1 " << rt;
  }
  EXPECT_FALSE(IsMarkedLikely(mips::Beql(1, 2, 3)));
  EXPECT_FALSE(IsMarkedLikely(mips::Bnel(1, 2, 3)));
  EXPECT_FALSE(IsMarkedLikely(mips::Blezl(1, 3)));
  EXPECT_FALSE(IsMarkedLikely(mips::Bgtzl(1, 3)));
}

TEST(OpTable, ABlockEndsAtTrapsReturnsAndWritesOfThreeCop0Registers) {
  EXPECT_TRUE(EndsBlock(mips::kSyscall));
  EXPECT_TRUE(EndsBlock(mips::kBreak));
  EXPECT_TRUE(EndsBlock(mips::kEret));
  EXPECT_TRUE(EndsBlock(mips::Cop0FunctionOp(3)));
  for (u32 rd = 0; rd < 32; ++rd) {
    EXPECT_EQ(EndsBlock(mips::Mtc0(1, rd)), rd == 10 || rd == 12 || rd == 13) << "mtc0 " << rd;
    EXPECT_FALSE(EndsBlock(mips::Mfc0(1, rd)));
    EXPECT_FALSE(EndsBlock(mips::Dmfc0(1, rd)));
    EXPECT_FALSE(EndsBlock(0x40A00000 | rd << 11)) << "dmtc0";
  }
  for (const u32 word : {mips::kTlbr, mips::kTlbwi, mips::kTlbwr, mips::kTlbp}) {
    EXPECT_FALSE(EndsBlock(word));
  }
  // Stray bits make a function unknown.
  EXPECT_TRUE(EndsBlock(mips::kTlbwi | 1u << 20));
}

}  // namespace

}  // namespace vx
