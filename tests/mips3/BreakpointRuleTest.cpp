// What setting and clearing breakpoints does to records, and which hooks an op asks.
#include <cstring>

#include "tests/mips3/BreakpointFixture.h"

namespace vx {

namespace {

using namespace mips;

using BreakpointRules = BreakpointRuleTest;

// --- Setting and clearing ------------------------------------------------------------------------

TEST_F(BreakpointRules, SettingMarksTheWordAndKeepsTheIdsInOrder) {
  m->bPredecodeChanged = 0;
  SetAt(kWord, 9);
  SetAt(kWord, 3);
  SetAt(kWord, 9);
  EXPECT_EQ(FlagsAt(kWord), 0x200u);
  EXPECT_EQ(m->bPredecodeChanged, 1);
  ASSERT_EQ(m->breakpointMap.size(), 1u);
  EXPECT_EQ(m->breakpointMap.at(kOffset + 4)->callbackIds, (std::vector<u32>{9, 3}));
  EXPECT_EQ(m->breakpointMap.at(kOffset + 4)->underlying, nullptr);
}

TEST_F(BreakpointRules, SettingUnmakesTheWholeBlock) {
  RunCode();
  SetAt(kWord, 7);
  for (u32 i = 0; i < 5; ++i) EXPECT_EQ(FlagsAt(kCode + 4 * i) & 0x401, 0u) << i;
  EXPECT_EQ(FlagsAt(kWord) & kOpBreakRequested, 0x200u);
}

TEST_F(BreakpointRules, SettingACallbackThatIsThereUnmakesNothing) {
  SetAt(kWord, 7);
  RunCode();
  m->bPredecodeChanged = 0;
  RecordAt(kWord).flags &= ~u32{kOpBreakRequested};
  SetAt(kWord, 7);
  ExpectValid(kCode, true);
  ExpectValid(kWord, true);
  EXPECT_EQ(FlagsAt(kWord) & kOpBreakRequested, 0x200u) << "the word is marked all the same";
  EXPECT_EQ(m->bPredecodeChanged, 1);
}

TEST_F(BreakpointRules, SettingASecondCallbackUnmakesTheBlockAgain) {
  SetAt(kWord, 7);
  RunCode();
  SetAt(kWord, 8);
  EXPECT_EQ(FlagsAt(kCode) & 0x401, 0u);
  EXPECT_EQ(FlagsAt(kWord) & 0x601, 0x200u);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunCode();
    ExpectCalls({{true, 7, kOffset + 4, kCount}, {true, 8, kOffset + 4, kCount}});
    EXPECT_EQ(gpr[kT0], 1u);
  }
}

TEST_F(BreakpointRules, ClearingDropsTheEntryTheMarkAndTheBlock) {
  SetAt(kWord, 7);
  RunCode();
  m->bPredecodeChanged = 0;
  ClearAt(kWord);
  EXPECT_TRUE(m->breakpointMap.empty());
  EXPECT_EQ(FlagsAt(kCode) & 0x401, 0u);
  EXPECT_EQ(FlagsAt(kWord) & 0x601, 0u);
  EXPECT_EQ(m->bPredecodeChanged, 1);
  EXPECT_TRUE(log.empty());
}

TEST_F(BreakpointRules, ClearingSeveralCallbacksSaysSo) {
  SetAt(kWord, 7);
  SetAt(kWord, 8);
  ClearAt(kWord);
  EXPECT_EQ(log, (std::vector<SLogLine>{
                     {1,
                      "Emu_ClearMIPSBreakpoint: Cleared an address (00001004) with more than 1 "
                      "registered callback\n"}}));
  EXPECT_TRUE(m->breakpointMap.empty());
}

TEST_F(BreakpointRules, ClearingWhereNoneIsHarmsNothing) {
  RunCode();
  ClearAt(kWord);
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(RunCode(), 5u);
  EXPECT_EQ(gpr[kT0], 1u);
}

TEST_F(BreakpointRules, ClearingOneLeavesTheOthers) {
  SetAt(kCode, 6);
  SetAt(kWord, 7);
  RunCode();
  ClearAt(kCode);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunCode();
    ExpectHit(1);
  }
}

TEST_F(BreakpointRules, ClearedCodeRunsAsBeforeTheyWereSet) {
  RunCode();
  SetAt(kWord, 7);
  RunCode();
  RunCode();
  ClearAt(kWord);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunCode(), 5u);
    EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
    EXPECT_EQ(RecordAt(kCode).link, 5u);
    EXPECT_EQ(FlagsAt(kCode), 0x047u);
    EXPECT_EQ(FlagsAt(kWord), 0x001u);
  }
}

TEST_F(BreakpointRules, ClearingAllIsSilentAndLeavesNothing) {
  PlaceWithRest(kTarget, {kCount2});
  SetAt(kCode, 6);
  SetAt(kWord, 7);
  SetAt(kWord, 8);
  SetAt(kTarget, 9);
  SetBreakpoint(m.get(), kOffset + 9, 10);
  RunCode();
  RunFrom(kTarget, 2);
  ClearAllBreakpoints(m.get());
  EXPECT_TRUE(m->breakpointMap.empty());
  EXPECT_TRUE(log.empty());
  for (const u32 address : {kCode, kWord, kCode + 8, kTarget}) {
    EXPECT_EQ(FlagsAt(address) & 0x601, 0u) << std::hex << address;
  }
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunCode();
    EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
    RunFrom(kTarget, 2);
    EXPECT_EQ(gpr[kT2], 1u);
    ExpectNoCall();
  }
}

TEST_F(BreakpointRules, LastRecordTakesOneAndTheOffsetBehindIsRefused) {
  constexpr u32 kLast = kRecordCount * 4 - 4;
  SetBreakpoint(m.get(), kLast, 7);
  EXPECT_EQ(m->records[kRecordCount - 1].flags, 0x200u);
  SetBreakpoint(m.get(), kLast + 3, 7);
  EXPECT_EQ(m->breakpointMap.size(), 2u);
  SetBreakpoint(m.get(), kLast + 4, 7);
  EXPECT_EQ(m->breakpointMap.size(), 2u);
  ClearBreakpoint(m.get(), kLast + 4);
  ClearBreakpoint(m.get(), kLast + 3);
  EXPECT_EQ(m->breakpointMap.size(), 1u);
  ClearBreakpoint(m.get(), kLast);
  EXPECT_EQ(m->records[kRecordCount - 1].flags, 0u);
}

// --- What hooks are asked, and what their answers do ---------------------------------------------

TEST_F(BreakpointRules, HookGetsTheMachineTheOffsetAndTheWordWithPcBehindTheOp) {
  SetAt(kWord, 7);
  u32 seenPc = 0;
  Hooks().onCall = [&](u32) { seenPc = cpu.pc; };
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    Hooks().machines.clear();
    RunCode();
    ExpectHit(1);
    EXPECT_EQ(Hooks().machines, (std::vector<CQuillonMachineBase*>{m.get()}));
    EXPECT_EQ(seenPc, kWord + 4);
  }
}

TEST_F(BreakpointRules, HooksAreAskedInTheOrderInWhichTheyWereSet) {
  for (const u32 id : {9u, 2u, 0u, 0xFFFFFFFFu}) SetAt(kWord, id);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    RunCode();
    ASSERT_EQ(Hooks().calls.size(), 4u);
    u32 i = 0;
    for (const u32 id : {9u, 2u, 0u, 0xFFFFFFFFu}) EXPECT_EQ(Hooks().calls[i++].id, id);
    EXPECT_EQ(gpr[kT0], 1u) << "the op runs once";
  }
}

std::vector<SLogLine> g_formats;
void KeepFormat(i32 level, const char* format, ...) { g_formats.push_back({level, format}); }

TEST_F(BreakpointRules, HooksThatDisagreeAreReportedAndTheOpRuns) {
  TestHost().Log = KeepFormat;
  SetAt(kWord, 7);
  SetAt(kWord, 8);
  for (const u32 skipping : {7u, 8u}) {
    Hooks().skippingIds = {skipping};
    for (const char* pass : {"forming or replay", "replay"}) {
      SCOPED_TRACE(pass);
      g_formats.clear();
      EXPECT_EQ(RunCode(), 5u);
      EXPECT_EQ(Hooks().calls.size(), 2u);
      EXPECT_EQ(gpr[kT0], 1u);
      // The host gets the format as it is, and no address for it.
      EXPECT_EQ(g_formats,
                (std::vector<SLogLine>{{1,
                                        "Overlapping breakpoints at %08X are inconsistent about "
                                        "whether underlying op should be invoked. Possibly "
                                        "conflicting scripts.\n"}}));
    }
  }
}

TEST_F(BreakpointRules, HooksThatAgreeAreNotReported) {
  SetAt(kWord, 7);
  SetAt(kWord, 8);
  Hooks().skippingIds = {7, 8};
  for (const u32 runs : {0u, 1u}) {
    for (const char* pass : {"forming or replay", "replay"}) {
      SCOPED_TRACE(pass);
      EXPECT_EQ(RunCode(), 5u);
      EXPECT_EQ(gpr[kT0], runs);
      EXPECT_TRUE(log.empty());
    }
    Hooks().skippingIds = {};
  }
}

TEST_F(BreakpointRules, AnyAnswerButZeroRunsTheOp) {
  TestHost().InvokeMipsHook = [](CQuillonMachineBase*, bool, u32 id, u32, u32) {
    return id == 7 ? i32{-1} : i32{0x10000};
  };
  SetAt(kWord, 7);
  SetAt(kWord, 8);
  RunCode();
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_TRUE(log.empty());
}

TEST_F(BreakpointRules, HitsWhateverMapsThere) {
  MapPage(0x01000000, 0x1000, kPageMappedMask);
  SetAt(kWord, 7);
  for (const u32 base : {0x80001000u, 0xA0001000u, 0x01000000u, 0x80001000u}) {
    SCOPED_TRACE(::testing::Message() << std::hex << base);
    EXPECT_EQ(RunFrom(base, 4), 5u);
    ExpectHit(1);
  }
}

TEST_F(BreakpointRules, HitsInRomAndInMainRam) {
  for (const u32 base : {kRomCode + 0x100, kMainData}) {
    SCOPED_TRACE(::testing::Message() << std::hex << base);
    PlaceWithRest(base, {kNop, kCount, kCount1});
    SetAt(base + 4, 7);
    for (const char* pass : {"forming", "replay"}) {
      SCOPED_TRACE(pass);
      RunFrom(base, 4);
      ExpectCalls({{true, 7, OffsetOf(base + 4), kCount}});
      EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
    }
  }
}

TEST_F(BreakpointRules, LeavesBlocksElsewhereAlone) {
  PlaceWithRest(kTarget, {kCount2, kCount3});
  RunFrom(kTarget, 3);
  MakeNative(kTarget + 4);
  const SPredecodedOp before = RecordAt(kTarget);
  SetAt(kWord, 7);
  RunCode();
  RunCode();
  EXPECT_EQ(std::memcmp(&before, &RecordAt(kTarget), sizeof(before)), 0);
  EXPECT_EQ(FlagsAt(kTarget + 4), 0x081u);
}

}  // namespace

}  // namespace vx
