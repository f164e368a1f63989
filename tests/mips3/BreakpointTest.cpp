// Guest breakpoints as the run loop meets them.
#include "tests/mips3/BreakpointFixture.h"

namespace vx {

namespace {

using namespace mips;

using Breakpoint = BreakpointTest;

TEST_F(Breakpoint, CallsItsHookAndRunsTheOpInFormingAndReplay) {
  SetBreakpoint(m.get(), kOffset + 4, 7);
  for (const char* pass : {"forming", "replay", "second replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunCode(), 5u);
    ExpectHit(1);
  }
  EXPECT_EQ(RecordAt(kCode).link, 2u) << "the block ends at the word";
  EXPECT_EQ(RecordAt(kCode).flags & 0x420, 0x420u);
  EXPECT_EQ(RecordAt(kCode + 4).flags & 0x620, 0x620u);
}

TEST_F(Breakpoint, HookCanSkipTheOpWhichStillTakesItsCycle) {
  Hooks().skippingIds = {7};
  SetBreakpoint(m.get(), kOffset + 4, 7);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunCode(), 5u);
    ExpectHit(0);
  }
}

TEST_F(Breakpoint, OnAHeadIsHitToo) {
  SetBreakpoint(m.get(), kOffset, 3);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunCode(), 5u);
    ExpectCalls({{true, 3, kOffset, kNop}});
    EXPECT_EQ(gpr[kT0], 1u);
  }
}

TEST_F(Breakpoint, OnExecutedCodeTakesEffect) {
  RunCode();
  ExpectNoCall();
  SetBreakpoint(m.get(), kOffset + 4, 7);
  EXPECT_EQ(RecordAt(kCode).flags & kOpValid, 0u);
  RunCode();
  ExpectHit(1);
}

TEST_F(Breakpoint, SurvivesTheRebuildingOfItsRecord) {
  SetBreakpoint(m.get(), kOffset + 4, 7);
  RunCode();
  RecordAt(kCode).flags &= ~u32{kOpValid};
  RecordAt(kCode + 4).flags &= ~u32{kOpValid};
  RunCode();
  ExpectHit(1);
  RunCode();
  ExpectHit(1);
}

TEST_F(Breakpoint, TurnsNativeCodeOfItsBlockOff) {
  RunCode();
  RecordAt(kCode).flags |= kOpNative;
  RecordAt(kCode).native = [](CVXMachine* machine, u32 pc) {
    machine->cpu.cycles += 100;
    return pc;
  };
  EXPECT_EQ(RunCode(), 100u);
  SetBreakpoint(m.get(), kOffset + 4, 7);
  EXPECT_EQ(RunCode(), 5u);
  ExpectHit(1);
  EXPECT_EQ(RecordAt(kCode).flags & kOpNative, 0u);
}

TEST_F(Breakpoint, OnAnInnerHeadUnmakesTheBlockAroundItToo) {
  SetPc(kCode + 4);
  RunBlock();
  RunCode();  // a block from kCode runs over the head at kCode + 4
  SetBreakpoint(m.get(), kOffset + 4, 7);
  EXPECT_EQ(RecordAt(kCode).flags & kOpValid, 0u);
  RunCode();
  ExpectHit(1);
}

TEST_F(Breakpoint, WithoutHooksRunsItsOp) {
  // The request alone, as a rebuilt record can carry it.
  RecordAt(kCode + 4).flags |= kOpBreakRequested;
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunCode(), 5u);
    EXPECT_EQ(gpr[kT0], 1u);
  }
}

TEST_F(Breakpoint, IsGoneWhenCleared) {
  SetBreakpoint(m.get(), kOffset + 4, 7);
  SetBreakpoint(m.get(), kOffset + 4, 8);
  RunCode();
  ClearBreakpoint(m.get(), kOffset + 4);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunCode();
    ExpectNoCall();
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(gpr[kT1], 1u);
  }
  EXPECT_EQ(RecordAt(kCode + 4).flags & 0x620, 0u);
}

TEST_F(Breakpoint, BeyondTheRecordsIsRefused) {
  SetBreakpoint(m.get(), kFlatSoundRoms, 7);
  ClearBreakpoint(m.get(), 0xFFFFFFFC);
  EXPECT_TRUE(m->breakpointMap.empty());
}

TEST_F(Breakpoint, IsGoneAfterAReset) {
  SetBreakpoint(m.get(), kOffset + 4, 7);
  RunCode();
  m->Reset();
  m->queue.Clear();
  PlaceWithRest(kCode, {kNop, kCount, Addiu(kT1, kT1, 1)});
  RunCode();
  ExpectNoCall();
  EXPECT_EQ(gpr[kT0], 1u);
}

}  // namespace

}  // namespace vx
