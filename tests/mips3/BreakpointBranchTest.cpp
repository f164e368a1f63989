// Breakpoints on branches, in delay slots and at page ends, where pc is not simply the next op.
#include "tests/mips3/BreakpointFixture.h"

namespace vx {

namespace {

using namespace mips;

using BreakpointBranches = BreakpointRuleTest;

// --- Branches and delay slots --------------------------------------------------------------------

TEST_F(BreakpointBranches, OnABranchIsHitAndItsDelayOpAndTargetFollow) {
  PlaceWithRest(kTarget, {kCount2});
  Place(kCode, {kNop, J(kTarget), kCount, kCount1});
  SetAt(kWord, 7);
  for (const char* pass : {"forming", "replay", "second replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunFrom(kCode, 4), 6u);
    ExpectCalls({{true, 7, kOffset + 4, J(kTarget)}});
    EXPECT_EQ(gpr[kT0], 1u) << "the delay op";
    EXPECT_EQ(gpr[kT1], 0u);
    EXPECT_EQ(gpr[kT2], 1u);
  }
  EXPECT_EQ(RecordAt(kCode).link, 2u);
}

TEST_F(BreakpointBranches, OnABranchThatIsSkippedTheOpBehindRunsOnItsOwn) {
  Place(kCode, {kNop, J(kTarget), kCount, kBranchToSelf, kNop});
  SetAt(kWord, 7);
  Hooks().skippingIds = {7};
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunFrom(kCode, 3), 5u);
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(cpu.pc, kCode + 12);
  }
}

TEST_F(BreakpointBranches, OnALikelyBranchItAnnulsProperly) {
  PlaceWithRest(kTarget, {kCount2});
  for (const u32 word : {Bnel(kA0, kZero, (kTarget - kCode - 8) / 4),
                         Bgezl(kA1, static_cast<i32>(kTarget - kCode - 8) / 4)}) {
    SCOPED_TRACE(::testing::Message() << std::hex << word);
    ClearAllBreakpoints(m.get());
    PlaceWithRest(kCode, {kNop, word, kCount, kCount1});
    SetAt(kWord, 7);
    for (const bool bTaken : {false, true, false, true}) {
      SCOPED_TRACE(bTaken ? "taken" : "not taken");
      gpr[kA0] = bTaken ? 1 : 0;
      gpr[kA1] = bTaken ? 0 : ~u64{0};
      RunFrom(kCode, 3 + (bTaken ? 1 : 0));
      ExpectCalls({{true, 7, kOffset + 4, word}});
      EXPECT_EQ(gpr[kT0], bTaken ? 1u : 0u);
      EXPECT_EQ(gpr[kT1], bTaken ? 0u : 1u);
      EXPECT_EQ(gpr[kT2], bTaken ? 1u : 0u);
    }
  }
}

// In a taken branch's delay slot pc is the target already, so that the word before the target is
// looked up. With nothing there the delay op does not run.
TEST_F(BreakpointBranches, InTheDelaySlotOfATakenBranchNobodyIsAskedAndTheOpIsOnlyCounted) {
  PlaceWithRest(kTarget, {kCount2});
  Place(kCode, {kNop, J(kTarget), kCount, kCount1});
  SetAt(kCode + 8, 7);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunFrom(kCode, 4), 6u);
    ExpectNoCall();
    EXPECT_EQ(gpr[kT0], 0u);
    EXPECT_EQ(gpr[kT2], 1u);
  }
}

TEST_F(BreakpointBranches, InTheDelaySlotOfATakenBranchTheHooksBeforeTheTargetAreAsked) {
  PlaceWithRest(kTarget, {kCount2});
  Place(kCode, {kNop, J(kTarget), kCount, kCount1});
  SetAt(kCode + 8, 7);
  SetAt(kTarget - 4, 8);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    for (const u32 runs : {1u, 0u}) {
      Hooks().skippingIds = {};
      if (runs == 0) Hooks().skippingIds = {8};
      EXPECT_EQ(RunFrom(kCode, 4), 6u);
      ExpectCalls({{true, 8, OffsetOf(kTarget - 4), kCount}});
      EXPECT_EQ(gpr[kT0], runs);
      EXPECT_EQ(gpr[kT2], 1u);
    }
  }
}

TEST_F(BreakpointBranches, InTheDelaySlotOfABranchThatIsNotTakenItIsHit) {
  PlaceWithRest(kTarget, {kCount2});
  PlaceWithRest(kCode, {kNop, Bne(kZero, kA0, 0x100), kCount, kCount1});
  SetAt(kCode + 8, 7);
  gpr[kA0] = 0;
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunFrom(kCode, 5), 6u);
    ExpectCalls({{true, 7, kOffset + 8, kCount}});
    EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
  }
}

// Behind a likely branch that is not taken the op after the delay slot goes into the delay slot's
// record, and is looked up by its own address.
TEST_F(BreakpointBranches, InTheDelaySlotOfALikelyBranchNotTakenTheOpBehindIsOnlyCounted) {
  PlaceWithRest(kCode, {kNop, Bnel(kZero, kA0, 0x100), kCount, kCount1, kCount2});
  gpr[kA0] = 0;
  SetAt(kCode + 8, 7);
  EXPECT_EQ(RunFrom(kCode, 3), 3u);
  ExpectNoCall();
  EXPECT_EQ(gpr[kT0], 0u);
  EXPECT_EQ(gpr[kT1], 0u);
  EXPECT_EQ(cpu.pc, kCode + 16);
  EXPECT_EQ(RecordAt(kCode + 8).word, kCount1);
  SetAt(kCode + 12, 8);
  EXPECT_EQ(RunFrom(kCode, 3), 3u);
  ExpectCalls({{true, 8, kOffset + 12, kCount1}});
  EXPECT_EQ(gpr[kT1], 1u);
}

TEST_F(BreakpointBranches, InADelaySlotThatIsNoSlotWhenJumpedToItIsHit) {
  PlaceWithRest(kTarget, {kCount2});
  Place(kCode, {kNop, J(kTarget), kCount});
  PlaceWithRest(kCode + 12, {kCount1});
  SetAt(kCode + 8, 7);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunFrom(kCode + 8, 3);
    ExpectCalls({{true, 7, kOffset + 8, kCount}});
    EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
  }
}

// --- Page ends -----------------------------------------------------------------------------------

class BreakpointAtAPageEnd : public BreakpointRuleTest {
 protected:
  static constexpr u32 kNextPage = 0x01001000;
  BreakpointAtAPageEnd() {
    MapPage(kNextPage - 0x1000, 0x5000, kPageMappedMask);
    MapPage(kNextPage, 0x9000, kPageMappedMask);
    PlaceWithRest(kNextPage, {kCount1});
  }
};

TEST_F(BreakpointAtAPageEnd, IsHitBehindOtherOps) {
  Place(kNextPage - 8, {kNop, kCount});
  SetAt(kNextPage - 4, 7);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunFrom(kNextPage - 8, 3);
    ExpectCalls({{true, 7, 0x5FFC, kCount}});
    EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
  }
}

TEST_F(BreakpointAtAPageEnd, AloneIsNotHitWhileItsBlockForms) {
  Place(kNextPage - 4, {kCount});
  SetAt(kNextPage - 4, 7);
  RunFrom(kNextPage - 4, 2);
  ExpectNoCall();
  EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
  RunFrom(kNextPage - 4, 2);
  ExpectCalls({{true, 7, 0x5FFC, kCount}});
  EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
}

TEST_F(BreakpointAtAPageEnd, OnTheDelayOpInTheNextPageIsPassedWhileFormingAndLookedUpAtTheTarget) {
  PlaceWithRest(kTarget, {kCount2});
  gpr[kA0] = Extended(kTarget);
  Place(kNextPage - 8, {kNop, Jr(kA0)});
  SetAt(kNextPage, 7);
  SetAt(kTarget - 4, 8);
  RunFrom(kNextPage - 8, 4);
  ExpectNoCall();
  EXPECT_EQ(gpr[kT1], 1u);
  EXPECT_EQ(gpr[kT2], 1u);
  RunFrom(kNextPage - 8, 4);
  ExpectCalls({{true, 8, OffsetOf(kTarget - 4), kCount1}});
  EXPECT_EQ(gpr[kT1], 1u);
  EXPECT_EQ(gpr[kT2], 1u);
}

}  // namespace

}  // namespace vx
