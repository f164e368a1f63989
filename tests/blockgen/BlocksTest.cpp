// Where blocks begin and end, and what gets none.
#include "blockgen/Blocks.h"

#include <gtest/gtest.h>

#include "mips3/Context.h"
#include "tests/mips3/Encode.h"
#include "tests/mips3/FpEncode.h"

namespace vx::blockgen {

namespace {

using namespace mips;

constexpr u32 kAt = 0x1000;  // a record index in low RAM
constexpr u32 kReturn = SpecialOp(8, kRa, 0, 0);
constexpr u32 kStep = MainOp(9, kV0, kV0, 1);  // addiu v0, v0, 1
constexpr u32 kStatusWrite = 0x40800000 | kT0 << 16 | 12 << 11;
constexpr u32 kBackToStart = MainOp(5, kV0, kA0, -3);  // bne, to two ops before it

class Collecting : public testing::Test {
 protected:
  // Words at consecutive records, the first a head.
  void Place(u32 index, const Words& words) {
    for (u32 i = 0; i < words.size(); ++i) code.Add(index + i, words[i], i == 0 ? u32{kOpHead} : 0u);
  }
  void Collect(const SOptions& options = {}) { CollectBlocks(code, options, set); }
  // That the one entry was dropped for this reason.
  void ExpectDropped(EDrop reason) {
    EXPECT_TRUE(set.blocks.empty());
    ASSERT_EQ(set.dropped.size(), 1u);
    EXPECT_EQ(set.dropped.begin()->reason, reason) << Describe(set.dropped.begin()->reason);
  }

  CGuestCode code;
  SBlockSet set;
};

TEST_F(Collecting, ABlockEndsBehindTheDelayOpOfItsBranch) {
  Place(kAt, {kStep, kReturn, kNop, kStep, kStep});
  Collect();
  EXPECT_EQ(set.blocks, (std::set<Words>{{kStep, kReturn, kNop}}));
}

TEST_F(Collecting, ABlockEndsWithAnOpBehindWhichNoRecordFollows) {
  const u32 enders[] = {
      kSyscall, kBreak, kEret, kStatusWrite, 0x40800000 | 13 << 11, 0x40800000 | 10 << 11};
  for (const u32 ender : enders) {
    SBlockSet one;
    CGuestCode fresh;
    fresh.Add(kAt, kStep, kOpHead);
    fresh.Add(kAt + 1, ender, 0);
    fresh.Add(kAt + 2, kStep, 0);
    CollectBlocks(fresh, {}, one);
    EXPECT_EQ(one.blocks, (std::set<Words>{{kStep, ender}})) << std::hex << ender;
  }
}

TEST_F(Collecting, AWriteToCompareDoesNotEndABlock) {
  const u32 compare = 0x40800000 | 11 << 11;
  Place(kAt, {compare, kReturn, kNop});
  Collect();
  EXPECT_EQ(set.blocks, (std::set<Words>{{compare, kReturn, kNop}}));
}

TEST_F(Collecting, ATargetInTheMiddleOfABlockGetsATailOfItsOwn) {
  Place(kAt, {kNop, kStep, kStep, kBackToStart, kNop});  // leads to the first kStep
  Collect();
  EXPECT_EQ(set.blocks, (std::set<Words>{{kNop, kStep, kStep, kBackToStart, kNop},
                                         {kStep, kStep, kBackToStart, kNop}}));
}

TEST_F(Collecting, AJumpInTheUnmappedSegmentsLeadsToATailToo) {
  const u32 jump = 2 << 26 | (kAt + 1);  // low RAM: the index is the word address
  Place(kAt, {kStep, kNop, jump, kNop});
  Collect();
  EXPECT_EQ(set.blocks.count({kNop, jump, kNop}), 1u);
}

TEST_F(Collecting, AllTailsAreEntriesOnRequestButNotTheDelayOp) {
  Place(kAt, {kStep, kNop, kReturn, kStep});
  Collect({.bAllTails = true});
  EXPECT_EQ(
      set.blocks,
      (std::set<Words>{{kStep, kNop, kReturn, kStep}, {kNop, kReturn, kStep}, {kReturn, kStep}}));
}

TEST_F(Collecting, TheSameWordsAtTwoPlacesAreOneBlock) {
  Place(kAt, {kStep, kReturn, kNop});
  Place(kAt + 100, {kStep, kReturn, kNop});
  Collect();
  EXPECT_EQ(set.blocks.size(), 1u);
}

TEST_F(Collecting, AHeadInADelaySlotGetsNone) {
  Place(kAt, {kReturn, kStep});
  code.Add(kAt + 1, kStep, kOpHead);
  code.Add(kAt + 2, kReturn, 0);
  code.Add(kAt + 3, kNop, 0);
  Collect();
  EXPECT_EQ(set.blocks, (std::set<Words>{{kReturn, kStep}}));
  ASSERT_EQ(set.dropped.size(), 1u);
  EXPECT_EQ(set.dropped.begin()->reason, EDrop::DelayOp);
}

TEST_F(Collecting, ADelayOpThatTheRunReachedAloneGetsNone) {
  // Its branch is the last word of another page.
  Place(kAt, {kStep, kReturn, kNop});
  code.Add(kAt, kStep, kOpHead | kOpDelayOp);
  Collect();
  ExpectDropped(EDrop::DelayOp);
}

TEST_F(Collecting, RomGetsNone) {
  Place(0x220000, {kStep, kReturn, kNop});
  Collect();
  ExpectDropped(EDrop::InRom);
}

TEST_F(Collecting, ABlockOverTheEndOfLowRamGetsNone) {
  Place(0x1FFFF, {kStep, kReturn, kNop});
  Collect();
  ExpectDropped(EDrop::EndOfMemory);
}

TEST_F(Collecting, ABranchWhoseDelayOpLiesInTheRomGetsNone) {
  Place(0x21FFFE, {kStep, kReturn, kNop});
  Collect();
  ExpectDropped(EDrop::EndOfMemory);
}

TEST_F(Collecting, ABlockWithWordsThatDidNotRunGetsNone) {
  Place(kAt, {kStep, kReturn});
  Collect();
  ExpectDropped(EDrop::WordsMissing);
}

TEST_F(Collecting, ASingleOpGetsNone) {
  Place(kAt, {kEret});
  Collect();
  ExpectDropped(EDrop::SingleOp);
}

TEST_F(Collecting, ABranchInADelaySlotGetsNone) {
  Place(kAt, {kReturn, kReturn, kNop});
  Collect();
  ExpectDropped(EDrop::BranchInDelaySlot);
}

TEST_F(Collecting, AnOpThatTheBoardLacksGetsNone) {
  Place(kAt, {SpecialOp(15, 0, 0, 0), kReturn, kNop});  // sync
  Collect();
  ExpectDropped(EDrop::NoHandler);
}

TEST_F(Collecting, AnUnknownCop0FunctionGetsNone) {
  Place(kAt, {kStep, Cop0FunctionOp(5)});
  Collect();
  ExpectDropped(EDrop::UnknownCop0);
}

TEST_F(Collecting, OpsThatOnlyTellTheHostGetNone) {
  for (const u32 word : {kTlbr, kTlbwr, kTlbp, Cfc1(kV0, 31)}) {
    SBlockSet one;
    CGuestCode fresh;
    fresh.Add(kAt, word, kOpHead);
    fresh.Add(kAt + 1, kReturn, 0);
    fresh.Add(kAt + 2, kNop, 0);
    CollectBlocks(fresh, {}, one);
    ASSERT_EQ(one.dropped.size(), 1u);
    EXPECT_EQ(one.dropped.begin()->reason, EDrop::TellsHost);
  }
}

TEST_F(Collecting, ALinkInRegisterZeroGetsNone) {
  Place(kAt, {SpecialOp(9, kRa, 0, 0), kNop});
  Collect();
  ExpectDropped(EDrop::LinksInZero);
}

TEST_F(Collecting, AVeryLongBlockGetsNone) {
  Place(kAt, Words(kMaxBlockWords + 1, kStep));
  Collect();
  ExpectDropped(EDrop::TooLong);
}

TEST_F(Collecting, FloatingPointIsRefusedOnRequest) {
  Place(kAt, {FpOp(kSingle, kFpAdd, 0, 2, 4), kReturn, kNop});
  Collect({.bRefuseFloat = true});
  ExpectDropped(EDrop::FloatRefused);
}

TEST_F(Collecting, FloatingPointBesideAWriteToStatusGetsNone) {
  Place(kAt, {Mtc1(kA0, 9), kStatusWrite});
  Collect();
  ExpectDropped(EDrop::FloatModel);
}

TEST_F(Collecting, ALikelyBranchThatDidNotTakeItsDelayOpGetsNone) {
  // The delay op's record holds the op behind the delay slot.
  const u32 likely = MainOp(20, kV0, kA0, 4);
  Place(kAt, {likely, kStep, kStep, kReturn, kNop});
  Collect();
  ExpectDropped(EDrop::DoubtfulDelayOp);
}

TEST_F(Collecting, ALikelyBranchWithAnotherOpBehindItsDelaySlotGetsABlock) {
  const u32 likely = MainOp(20, kV0, kA0, 4);
  Place(kAt, {likely, kStep, kNop, kReturn, kNop});
  Collect();
  EXPECT_EQ(set.blocks.count({likely, kStep}), 1u);
}

TEST_F(Collecting, TheReportCountsAndNamesWhatWasDropped) {
  Place(kAt, {kEret});
  Place(kAt + 16, {kStep, kReturn, kNop});
  Collect();
  EXPECT_EQ(Report(set),
            "1 blocks, 1 entries without one\n"
            "       1  a block of a single op\n"
            "\noffset    op        reason\n"
            "00004000  42000018  eret: a block of a single op\n");
}

}  // namespace

}  // namespace vx::blockgen
