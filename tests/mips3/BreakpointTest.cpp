// Guest breakpoints as the run loop meets them.
#include "mips3/Breakpoints.h"

#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

struct SCall {
  bool bFlag;
  u32 id, offset, word;
  bool operator==(const SCall&) const = default;
};
std::vector<SCall> g_calls;
u32 g_skippingId = 0;  // the hook that does not want the op to run

i32 KeepCall(CQuillonMachineBase*, bool bFlag, u32 id, u32 offset, u32 word) {
  g_calls.push_back({bFlag, id, offset, word});
  return id == g_skippingId ? 0 : 1;
}

constexpr u32 kOffset = kCode & 0x1FFFFFFF;
constexpr u32 kCount = Addiu(kT0, kT0, 1);

class Breakpoint : public ProcessorTest {
 protected:
  Breakpoint() {
    TestHost().InvokeMipsHook = KeepCall;
    g_calls.clear();
    g_skippingId = 0;
    PlaceWithRest(kCode, {kNop, kCount, Addiu(kT1, kT1, 1)});
  }
  // Runs the placed code once, up to its rest.
  u32 RunCode() {
    SetPc(kCode);
    g_calls.clear();
    gpr[kT0] = gpr[kT1] = 0;
    return Run(4);
  }
  void ExpectHit(u32 runs) {
    EXPECT_EQ(g_calls, (std::vector<SCall>{{true, 7, kOffset + 4, kCount}}));
    EXPECT_EQ(gpr[kT0], runs);
    EXPECT_EQ(gpr[kT1], 1u);
  }
};

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
  g_skippingId = 7;
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
    EXPECT_EQ(g_calls, (std::vector<SCall>{{true, 3, kOffset, kNop}}));
    EXPECT_EQ(gpr[kT0], 1u);
  }
}

TEST_F(Breakpoint, OnExecutedCodeTakesEffect) {
  RunCode();
  EXPECT_TRUE(g_calls.empty());
  SetBreakpoint(m.get(), kOffset + 4, 7);
  EXPECT_EQ(RecordAt(kCode).flags & kOpValid, 0u);
  RunCode();
  ExpectHit(1);
}

TEST_F(Breakpoint, HooksThatDisagreeAreLoggedAndTheOpRuns) {
  g_skippingId = 8;
  SetBreakpoint(m.get(), kOffset + 4, 7);
  SetBreakpoint(m.get(), kOffset + 4, 8);
  SetBreakpoint(m.get(), kOffset + 4, 8);  // no second time
  RunCode();
  EXPECT_EQ(g_calls.size(), 2u);
  EXPECT_EQ(gpr[kT0], 1u);
  ASSERT_EQ(log.size(), 1u);
  EXPECT_EQ(log[0].level, 1);
  EXPECT_EQ(log[0].text.find("Overlapping breakpoints at "), 0u);
  EXPECT_NE(log[0].text.find(" are inconsistent about whether underlying op should be invoked. "
                             "Possibly conflicting scripts.\n"),
            std::string::npos);
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
  RecordAt(kCode).native = [](CVXMachine* machine) { machine->cpu.cycles += 100; };
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
    EXPECT_TRUE(g_calls.empty());
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
  EXPECT_TRUE(g_calls.empty());
  EXPECT_EQ(gpr[kT0], 1u);
}

}  // namespace

}  // namespace vx
