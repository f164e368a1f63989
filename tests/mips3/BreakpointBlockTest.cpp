// Blocks with breakpoints: careful replay, native code, blocks that overlap, the odd case of record
// 0 and offsets that are not aligned.
#include "tests/mips3/BreakpointFixture.h"

namespace vx {

namespace {

using namespace mips;

using BreakpointBlocks = BreakpointRuleTest;

// --- Blocks --------------------------------------------------------------------------------------

TEST_F(BreakpointBlocks, EndsItsBlockAndTheNextOpStartsAnother) {
  SetAt(kWord, 7);
  SetPc(kCode);
  EXPECT_EQ(RunBlock(), 2u);
  EXPECT_EQ(cpu.pc, kCode + 8);
  EXPECT_EQ(RecordAt(kCode).link, 2u);
  EXPECT_EQ(RunBlock(), 3u);
  EXPECT_EQ(FlagsAt(kCode + 8), 0x047u) << "neither careful nor marked";
}

TEST_F(BreakpointBlocks, MarksEveryRecordOfItsBlockCareful) {
  PlaceWithRest(kCode, {kNop, kNop, kNop, kCount, kCount1});
  SetAt(kCode + 12, 7);
  RunCode();
  EXPECT_EQ(FlagsAt(kCode), 0x463u);
  EXPECT_EQ(FlagsAt(kCode + 4), 0x421u);
  EXPECT_EQ(FlagsAt(kCode + 8), 0x421u);
  EXPECT_EQ(FlagsAt(kCode + 12), 0x621u);
}

TEST_F(BreakpointBlocks, HitsWhenItsBlockIsEnteredInTheMiddle) {
  PlaceWithRest(kCode, {kNop, kNop, kNop, kCount, kCount1});
  SetAt(kCode + 12, 7);
  RunFrom(kCode, 5);
  for (const u32 entry : {kCode + 4, kCode + 12}) {
    RunFrom(entry, 4 - (entry - kCode) / 4 + 1);
    ExpectCalls({{true, 7, kOffset + 12, kCount}});
    EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
  }
}

TEST_F(BreakpointBlocks, InstallingTurnsNativeCodeOffFromTheHeadToTheWord) {
  RunCode();
  for (u32 i = 0; i < 4; ++i) MakeNative(kCode + 4 * i);
  const u32 head = RecordIndexAt(kCode);
  InstallBreakpoint(m.get(), head, head + 2);
  for (u32 i = 0; i < 3; ++i) EXPECT_EQ(FlagsAt(kCode + 4 * i) & 0x4A0, 0x420u) << i;
  EXPECT_EQ(FlagsAt(kCode + 12) & 0x4A0, 0x080u);
}

TEST_F(BreakpointBlocks, NativeBlockWithOneInItsMiddleReplaysInstead) {
  PlaceWithRest(kCode, {kNop, kNop, kCount, kNop, kCount1});
  RunCode();
  for (u32 i = 0; i < 5; ++i) MakeNative(kCode + 4 * i);
  EXPECT_EQ(RunFrom(kCode, 6), kNativeCycles);
  SetAt(kCode + 8, 7);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunFrom(kCode, 6), 7u);
    ExpectCalls({{true, 7, kOffset + 8, kCount}});
    EXPECT_EQ(FlagsAt(kCode) & 0x0A0, 0x020u);
  }
}

TEST_F(BreakpointBlocks, BlockThatRunsIntoAMarkedOneTurnsCareful) {
  PlaceWithRest(kCode, {kCount2, kNop, kNop, kCount, kCount1});
  SetAt(kCode + 12, 7);
  RunFrom(kCode + 8, 3);  // a block of two, the second with the breakpoint
  MakeNative(kCode + 8);
  RunFrom(kCode, 5);
  ExpectCalls({{true, 7, kOffset + 12, kCount}});
  EXPECT_EQ(RecordAt(kCode).link, 4u);
  for (u32 i = 0; i < 4; ++i) EXPECT_EQ(FlagsAt(kCode + 4 * i) & 0x4A0, 0x420u) << i;
  EXPECT_EQ(RunFrom(kCode, 5), 7u);
  ExpectCalls({{true, 7, kOffset + 12, kCount}});
  EXPECT_EQ(gpr[kT0] + gpr[kT1] + gpr[kT2], 3u);
}

TEST_F(BreakpointBlocks, SettingAndClearingUnmakeEveryBlockOverTheWord) {
  PlaceWithRest(kCode, {kNop, kNop, kCount, kCount1});
  RunFrom(kCode + 8, 2);
  RunFrom(kCode + 4, 3);
  RunFrom(kCode, 4);  // three blocks that end at the same op
  MakeNative(kCode);
  MakeNative(kCode + 4);
  SetAt(kCode + 8, 7);
  for (const u32 entry : {kCode, kCode + 4, kCode + 8}) {
    ExpectValid(entry, false);
  }
  for (const u32 entry : {kCode + 8, kCode + 4, kCode}) {
    RunFrom(entry, 2 + (kCode + 8 - entry) / 4);
    ExpectCalls({{true, 7, kOffset + 8, kCount}});
  }
  ClearAt(kCode + 8);
  for (const char* pass : {"first", "second"}) {
    SCOPED_TRACE(pass);
    for (const u32 entry : {kCode, kCode + 4, kCode + 8}) {
      RunFrom(entry, 2 + (kCode + 8 - entry) / 4);
      ExpectNoCall();
      EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u) << "no op is lost";
    }
  }
}

TEST_F(BreakpointBlocks, RequestSurvivesTheRebuildingAndTheWrapperReturns) {
  SetAt(kWord, 7);
  RunCode();
  const OpHandler wrapper = RecordAt(kWord).handler;
  EXPECT_NE(wrapper, ChooseHandler(kCount));
  EXPECT_EQ(m->breakpointMap.at(kOffset + 4)->underlying, ChooseHandler(kCount));
  RecordAt(kCode).flags &= ~0x401u;
  RecordAt(kWord).flags &= ~0x401u;
  RecordAt(kWord).handler = nullptr;
  RunCode();
  EXPECT_EQ(FlagsAt(kWord), 0x621u);
  EXPECT_EQ(RecordAt(kWord).handler, wrapper);
  RunCode();
  ExpectHit(1);
}

// While the mark stands on record 0, installing a breakpoint neither turns a block careful nor
// takes its native code away.
TEST_F(BreakpointBlocks, OneInTheBlockOfRecord0StopsTheMarkingOfOtherBlocks) {
  PlaceWithRest(0x80000000, {kCount2});
  SetAt(0x80000000, 3);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunFrom(0x80000000, 2);
    ExpectCalls({{true, 3, 0, kCount2}});
  }
  EXPECT_EQ(m->records[0].flags & kOpBreakWrapped, 0x400u);
  SetAt(kWord, 7);
  for (const char* pass : {"forming", "plain replay"}) {
    SCOPED_TRACE(pass);
    RunCode();
    ExpectHit(1);
    EXPECT_EQ(FlagsAt(kCode), 0x043u);
    EXPECT_EQ(FlagsAt(kWord), 0x201u);
  }
  const u32 head = RecordIndexAt(kCode);
  MakeNative(kCode);
  InstallBreakpoint(m.get(), head, head + 1);
  EXPECT_EQ(RunCode(), kNativeCycles) << "native code goes on over the breakpoint";
  ExpectNoCall();
  ClearAt(0x80000000);
  SetAt(kWord, 8);
  RunCode();
  EXPECT_EQ(FlagsAt(kCode), 0x463u) << "the marking works again";
}

// --- Unaligned offsets ---------------------------------------------------------------------------

TEST_F(BreakpointBlocks, UnalignedOffsetIsAKeyThatNothingLooksUp) {
  SetBreakpoint(m.get(), kOffset + 5, 7);
  EXPECT_EQ(FlagsAt(kWord), 0x200u);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunCode(), 5u);
    ExpectNoCall();
    EXPECT_EQ(gpr[kT0], 1u) << "the op runs";
  }
  EXPECT_EQ(m->breakpointMap.size(), 2u);
  EXPECT_TRUE(m->breakpointMap.at(kOffset + 4)->callbackIds.empty());
}

TEST_F(BreakpointBlocks, UnalignedOffsetUnmakesTheBlocksOfTwoWords) {
  // A write of Status ends the first block, so that the next word starts another.
  PlaceWithRest(kCode, {kNop, Mtc0(kZero, kCop0Status), kCount1});
  for (const u32 misalignment : {0u, 1u, 2u, 3u}) {
    SCOPED_TRACE(misalignment);
    RunCode();
    ExpectValid(kCode, true);
    ExpectValid(kCode + 8, true);
    SetBreakpoint(m.get(), kOffset + 4 + misalignment, 7);
    ExpectValid(kCode, false);
    ExpectValid(kCode + 8, misalignment == 0);
    RunCode();
    ClearBreakpoint(m.get(), kOffset + 4 + misalignment);
    ExpectValid(kCode, false);
    ExpectValid(kCode + 8, misalignment == 0);
  }
}

// --- Records left over behind a block that ends early --------------------------------------------

// The op that runs as the delay op of a branch in a delay slot is recorded alone. A block that
// later runs into that record counts all behind it as written, whatever breakpoints did to it
// since.
class BreakpointBehindALoneOp : public BreakpointRuleTest {
 protected:
  static constexpr u32 kLone = kCode + 4;
  static constexpr u32 kBehind = kCode + 8;
  BreakpointBehindALoneOp() {
    constexpr u32 kJumps = 0x80003000;
    PlaceWithRest(kTarget, {kNop});
    PlaceWithRest(kCode, {kNop, kCount, kCount1});
    Place(kJumps, {J(kLone), J(kTarget), kNop});
    jumps = kJumps;
  }
  void RecordLoneOp() {
    RunFrom(jumps, 4);
    ASSERT_EQ(RecordAt(kLone).link, 1u);
    ASSERT_EQ(FlagsAt(kLone) & 0x003, 0x003u);
  }
  u32 jumps;
};

TEST_F(BreakpointBehindALoneOp, OnceClearedLeavesAnOpThatRuns) {
  SetAt(kBehind, 7);
  RunFrom(kBehind, 2);
  ClearAt(kBehind);
  RecordLoneOp();
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunCode();
    ExpectNoCall();
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(gpr[kT1], 1u);
  }
}

TEST_F(BreakpointBehindALoneOp, IsHitInFormingAndReplay) {
  SetAt(kBehind, 7);
  RecordLoneOp();
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunCode();
    ExpectCalls({{true, 7, kOffset + 8, kCount1}});
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(gpr[kT1], 1u);
  }
}

}  // namespace

}  // namespace vx
