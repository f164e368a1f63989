// What a hook may do while it is called: set, clear, move the pc.
#include "tests/mips3/BreakpointFixture.h"

namespace vx {

namespace {

using namespace mips;

using BreakpointCallbacks = BreakpointRuleTest;

TEST_F(BreakpointCallbacks, HookMayClearItsOwnBreakpoint) {
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    Hooks().onCall = nullptr;
    SetAt(kWord, 7);
    if (pass[0] == 'r') RunCode();
    Hooks().onCall = [&](u32) { ClearAt(kWord); };
    EXPECT_EQ(RunCode(), 5u);
    ExpectHit(1);
    EXPECT_TRUE(m->breakpointMap.empty());
    RunCode();
    ExpectNoCall();
    EXPECT_EQ(gpr[kT0], 1u);
  }
}

TEST_F(BreakpointCallbacks, HookThatClearsDoesNotStopTheOtherHooksOfTheOp) {
  SetAt(kWord, 7);
  SetAt(kWord, 8);
  Hooks().onCall = [&](u32 id) {
    if (id == 7) ClearAt(kWord);
  };
  Hooks().skippingIds = {7, 8};
  RunCode();
  ASSERT_EQ(Hooks().calls.size(), 2u);
  EXPECT_EQ(Hooks().calls[1].id, 8u);
  EXPECT_EQ(gpr[kT0], 0u);
}

TEST_F(BreakpointCallbacks, HookMayClearAllBreakpoints) {
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    Hooks().onCall = nullptr;
    for (const u32 id : {7u, 8u, 9u}) SetAt(kWord, id);
    if (pass[0] == 'r') RunCode();
    Hooks().onCall = [&](u32) { ClearAllBreakpoints(m.get()); };
    EXPECT_EQ(RunCode(), 5u);
    EXPECT_GE(Hooks().calls.size(), 1u);
    EXPECT_EQ(gpr[kT0], 1u);
    RunCode();
    ExpectNoCall();
    EXPECT_EQ(gpr[kT0], 1u);
  }
}

TEST_F(BreakpointCallbacks, HookThatAddsAnotherIsNotFollowedByItUntilTheNextTime) {
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    ClearAllBreakpoints(m.get());
    Hooks().onCall = nullptr;
    SetAt(kWord, 7);
    if (pass[0] == 'r') RunCode();
    // Enough of them that their list moves.
    Hooks().onCall = [&](u32) {
      for (u32 id = 100; id < 200; ++id) SetAt(kWord, id);
    };
    EXPECT_EQ(RunCode(), 5u);
    ExpectHit(1);
    Hooks().onCall = nullptr;
    RunCode();
    EXPECT_EQ(Hooks().calls.size(), 101u);
  }
}

TEST_F(BreakpointCallbacks, HookMaySetOneOnTheNextOpWhichIsHitAtOnce) {
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    ClearAllBreakpoints(m.get());
    Hooks().onCall = nullptr;
    SetAt(kWord, 7);
    if (pass[0] == 'r') RunCode();
    Hooks().onCall = [&](u32 id) {
      if (id == 7) SetAt(kCode + 8, 8);
    };
    EXPECT_EQ(RunCode(), 5u);
    ExpectCalls({{true, 7, kOffset + 4, kCount}, {true, 8, kOffset + 8, kCount1}});
    EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
  }
}

TEST_F(BreakpointCallbacks, HookMaySetOneOnAnEarlierOpOfItsBlock) {
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    ClearAllBreakpoints(m.get());
    Hooks().onCall = nullptr;
    SetAt(kWord, 7);
    if (pass[0] == 'r') RunCode();
    Hooks().onCall = [&](u32) { SetAt(kCode, 6); };
    EXPECT_EQ(RunCode(), 5u);
    ExpectHit(1);
    RunCode();
    ExpectCalls({{true, 6, kOffset, kNop}, {true, 7, kOffset + 4, kCount}});
  }
}

TEST_F(BreakpointCallbacks, HookMayReplaceItsBreakpointByAnother) {
  SetAt(kWord, 7);
  RunCode();
  Hooks().onCall = [&](u32 id) {
    if (id != 7) return;
    ClearAt(kWord);
    SetAt(kWord, 8);
  };
  RunCode();
  ExpectHit(1);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunCode();
    ExpectCalls({{true, 8, kOffset + 4, kCount}});
    EXPECT_EQ(gpr[kT0], 1u);
  }
}

TEST_F(BreakpointCallbacks, HookMayMoveThePc) {
  PlaceWithRest(kTarget, {kCount2});
  SetAt(kWord, 7);
  Hooks().onCall = [&](u32) { cpu.pc = kTarget; };
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunFrom(kCode, 3), 5u);
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(gpr[kT1], 0u);
    EXPECT_EQ(gpr[kT2], 1u);
  }
}

// An entry that was set anew has no handler until its record is written again.
TEST_F(BreakpointCallbacks, WordWhoseEntryKnowsNoHandlerYetIsDispatched) {
  SetAt(kWord, 7);
  RunCode();
  const OpHandler wrapper = RecordAt(kWord).handler;
  ClearAt(kWord);
  SetAt(kWord, 7);
  ASSERT_EQ(m->breakpointMap.at(kOffset + 4)->underlying, nullptr);
  gpr[kT0] = 0;
  Hooks().calls.clear();
  cpu.pc = kWord + 4;
  wrapper(m.get(), kCount);
  ExpectCalls({{true, 7, kOffset + 4, kCount}});
  EXPECT_EQ(gpr[kT0], 1u);
}

TEST_F(BreakpointCallbacks, WrapperWithoutAnEntryDoesNothing) {
  SetAt(kWord, 7);
  RunCode();
  const OpHandler wrapper = RecordAt(kWord).handler;
  ClearAt(kWord);
  gpr[kT0] = 0;
  Hooks().calls.clear();
  cpu.pc = kWord + 4;
  wrapper(m.get(), kCount);
  ExpectNoCall();
  EXPECT_EQ(gpr[kT0], 0u);
}

}  // namespace

}  // namespace vx
