// The main processor as scripts see it: breakpoints, registers, time.
#include "mips3/Breakpoints.h"
#include "mips3/Processor.h"
#include "tests/script/ScriptTest.h"

namespace vx::test {
namespace {

using CScriptProcessor = CScriptTest;

constexpr u32 kSetBreakpoint = 7, kClearBreakpoint = 8;
constexpr u32 kGetGpr = 23, kSetGpr = 24;
constexpr u32 kGetCop0 = 35, kSetCop0 = 36, kAddCycles = 37, kBreakSlice = 38;

void ExpectMessage(const std::vector<SHostLogLine>& lines, i32 level, const char* text) {
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].level, level);
  EXPECT_EQ(lines[0].text, text);
}

// --- Breakpoints -------------------------------------------------------------------------------

TEST_F(CScriptProcessor, ABreakpointIsSetOnItsWordAndKeepsItsCallback) {
  m->bPredecodeChanged = 0;
  Call(kSetBreakpoint, {0x1000, 7});
  EXPECT_EQ(m->records[0x400].flags & kOpBreakRequested, u32{kOpBreakRequested});
  EXPECT_EQ(m->breakpointMap.at(0x1000)->callbackIds, std::vector<u32>{7});
  EXPECT_EQ(m->bPredecodeChanged, 1);
  EXPECT_TRUE(NewMessages().empty());
}

TEST_F(CScriptProcessor, TheSameCallbackStandsOnceAtAnAddress) {
  Call(kSetBreakpoint, {0x1000, 7});
  Call(kSetBreakpoint, {0x1000, 8});
  Call(kSetBreakpoint, {0x1000, 7});
  EXPECT_EQ(m->breakpointMap.at(0x1000)->callbackIds, (std::vector<u32>{7, 8}));
}

TEST_F(CScriptProcessor, ABreakpointTakesTheBlocksAroundItOffTheirFastPath) {
  for (const u32 index : {0x400u, 0x401u, 0x402u}) {
    m->records[index].flags = kOpValid | kOpBreakWrapped | (index == 0x400 ? kOpHead : 0u);
    m->records[index].link = index == 0x400 ? 3 : 0x400;
  }
  m->longestBlock = 3;
  Call(kSetBreakpoint, {0x1004, 7});
  for (const u32 index : {0x400u, 0x401u, 0x402u}) {
    EXPECT_EQ(m->records[index].flags & (kOpValid | kOpBreakWrapped), 0u) << index;
  }
}

TEST_F(CScriptProcessor, ABreakpointBehindTheCodeIsRefusedWithAMessage) {
  Call(kSetBreakpoint, {0x900000, 7});
  ExpectMessage(NewMessages(), 2, "Emu_SetMIPSBreakpoint: Invalid address (00900000)\n");
  Scalar(kClearBreakpoint, 0xFFFFFFFF);
  ExpectMessage(NewMessages(), 2, "Emu_ClearMIPSBreakpoint: Invalid address (FFFFFFFF)\n");
  EXPECT_TRUE(m->breakpointMap.empty());
  Call(kSetBreakpoint, {0x8FFFFF, 7});
  EXPECT_TRUE(NewMessages().empty());
  EXPECT_EQ(m->breakpointMap.count(0x8FFFFF), 1u);
}

TEST_F(CScriptProcessor, ClearingDropsAllCallbacksAndWarnsOfSeveral) {
  Call(kSetBreakpoint, {0x1000, 7});
  Scalar(kClearBreakpoint, 0x1000);
  EXPECT_TRUE(NewMessages().empty());
  Call(kSetBreakpoint, {0x1000, 7});
  Call(kSetBreakpoint, {0x1000, 8});
  Scalar(kClearBreakpoint, 0x1000);
  ExpectMessage(NewMessages(), 1,
                "Emu_ClearMIPSBreakpoint: Cleared an address (00001000) with more than 1 "
                "registered callback\n");
  EXPECT_TRUE(m->breakpointMap.empty());
  EXPECT_EQ(m->records[0x400].flags & kOpBreakRequested, 0u);
}

TEST_F(CScriptProcessor, ClearingWhereNothingStandsAsksTheRunLoopToLookAgain) {
  m->bPredecodeChanged = 0;
  Scalar(kClearBreakpoint, 0x2000);
  EXPECT_EQ(m->bPredecodeChanged, 1);
  EXPECT_TRUE(NewMessages().empty());
}

TEST_F(CScriptProcessor, ABreakpointCallsItsHookFromTheRunningGuest) {
  Boot(PackOfCode(CGuestCode().Op(mips::kNop).Op(mips::kNop).Rest().Words()));
  Call(kSetBreakpoint, {kFlatBootRom + 4, 99});
  Steps(1);
  ASSERT_EQ(Hooks().calls.size(), 1u);
  EXPECT_EQ(Hooks().calls[0].machine, m.get());
  EXPECT_TRUE(Hooks().calls[0].bFlag);
  EXPECT_EQ(Hooks().calls[0].words, (std::vector<u32>{99, kFlatBootRom + 4, mips::kNop}));
}

TEST_F(CScriptProcessor, AHookSeesThePlaceBehindItsWordAndMaySendTheGuestElsewhere) {
  CGuestCode code;
  code.Op(mips::kNop).Op(mips::kNop).Rest();
  const u32 elsewhere = code.Here();
  code.Op(mips::Addiu(mips::kT4, mips::kZero, 5)).Rest();
  Boot(PackOfCode(code.Words()));
  u32 pc = 0;
  Hooks().onCall = [&](const SHookCall&) {
    pc = Result<u32>(20);
    Scalar(21, 0xBFC00000 + 4 * elsewhere);
  };
  Call(kSetBreakpoint, {kFlatBootRom + 4, 1});
  Steps(1);
  EXPECT_EQ(pc, 0xBFC00008u);
  EXPECT_EQ(m->cpu.gpr[mips::kT4], 5u);
}

// --- Registers ---------------------------------------------------------------------------------

TEST_F(CScriptProcessor, CountersAreReadAndSet) {
  Scalar(21, 0x1'80001000);
  EXPECT_EQ(m->cpu.pc, 0x80001000u);
  EXPECT_EQ(Result<u32>(20), 0x80001000u);
  Scalar(22, 0x80002000);
  EXPECT_EQ(m->cpu.branchTarget, 0x80002000u);
  m->state.frameNumber = 0x1'00000002;
  EXPECT_EQ(Result<u64>(19), 0x1'00000002u);
}

TEST_F(CScriptProcessor, AGeneralRegistersNumberIsKeptToFiveBits) {
  for (u32 i = 0; i < 32; ++i) {
    Put(kIn, i);
    Put(kIn + 0x40, 0x100000001u * (i + 1));
    Call(kSetGpr, {kIn, kIn + 0x40});
    const u64 expected = i == 0 ? 0 : 0x100000001u * (i + 1);
    EXPECT_EQ(m->cpu.gpr[i], expected);
    EXPECT_EQ(Ask<u64>(kGetGpr, {kIn, kOut}), expected);
  }
  Put(kIn, 0xFFFFFFFFu);
  EXPECT_EQ(Ask<u64>(kGetGpr, {kIn, kOut}), m->cpu.gpr[31]);
  Put(kIn, 32u);
  Call(kSetGpr, {kIn, kIn + 0x40});
  EXPECT_EQ(m->cpu.gpr[0], 0u);
}

TEST_F(CScriptProcessor, LoHiAndTheLinkFlagAreReadAndSet) {
  Call(26, {0x89ABCDEF, 0x01234567});
  EXPECT_EQ(m->cpu.lo, 0x0123456789ABCDEFu);
  EXPECT_EQ(Result<u64>(25), 0x0123456789ABCDEFu);
  Call(28, {1, 2});
  EXPECT_EQ(m->cpu.hi, 0x200000001u);
  EXPECT_EQ(Result<u64>(27), 0x200000001u);
  Call(30, {3});
  EXPECT_EQ(m->cpu.llFlag, 3u);
  EXPECT_EQ(Result<u32>(29), 3u);
}

TEST_F(CScriptProcessor, FloatingRegistersAreReadAndSetWholeAndInHalves) {
  Put(kIn, 33u);  // register 1
  Put(kIn + 0x40, 0x1122334455667788u);
  Call(32, {kIn, kIn + 0x40});
  EXPECT_EQ(m->cpu.fpr[1], 0x1122334455667788u);
  EXPECT_EQ(Ask<u64>(31, {kIn, kOut}), 0x1122334455667788u);
  Put(kIn + 0x80, 0u);
  EXPECT_EQ(Ask<u32>(33, {kIn, kOut, kIn + 0x80}), 0x55667788u);
  Put(kIn + 0x80, 7u);
  EXPECT_EQ(Ask<u32>(33, {kIn, kOut, kIn + 0x80}), 0x11223344u);
  Put(kIn + 0x40, 0xAABBCCDDu);
  Call(34, {kIn, kIn + 0x40, kIn + 0x80});
  EXPECT_EQ(m->cpu.fpr[1], 0xAABBCCDD55667788u);
  Put(kIn + 0x80, 0u);
  Call(34, {kIn, kIn + 0x40, kIn + 0x80});
  EXPECT_EQ(m->cpu.fpr[1], 0xAABBCCDDAABBCCDDu);
}

// --- COP0 and time -----------------------------------------------------------------------------

class CScriptTime : public CScriptTest {
 protected:
  u64 Cop0(u32 index) {
    Put(kIn, index);
    return Ask<u64>(kGetCop0, {kIn, kOut});
  }
  void Place(u32 cycles, u32 budget) {
    m->cpu.cycles = cycles;
    m->cpu.budget = budget;
  }
  ~CScriptTime() override { Place(0, 0); }
};

TEST_F(CScriptTime, ReadingCountMovesTimeOnBeforeItCounts) {
  Place(100, 1000);
  m->cpu.retired = 5000;
  m->cpu.countBase = 1000;
  EXPECT_EQ(Cop0(9), (100u + 64 + 5000 - 1000) / 2);
  EXPECT_EQ(m->cpu.cycles, 164u);
}

TEST_F(CScriptTime, CountKeepsThirtyTwoBits) {
  m->cpu.retired = 0x5'00000000;
  EXPECT_EQ(Cop0(9), (0x5'00000040u >> 1) & 0xFFFFFFFFu);
}

TEST_F(CScriptTime, ReadingCountOrCauseStopsAtTheSlicesLastCycle) {
  Place(990, 1000);
  Cop0(9);
  EXPECT_EQ(m->cpu.cycles, 999u);
  m->cpu.cop0[kCop0Cause] = 0x8400;
  Place(900, 1000);
  EXPECT_EQ(Cop0(13), 0x8400u);
  EXPECT_EQ(m->cpu.cycles, 964u);
  EXPECT_EQ(Cop0(13), 0x8400u);
  EXPECT_EQ(m->cpu.cycles, 999u);
}

TEST_F(CScriptTime, OutsideASliceReadingCountMovesOnWithoutALimit) {
  Cop0(9);
  EXPECT_EQ(m->cpu.cycles, 64u);
}

TEST_F(CScriptTime, RandomComesFromTheCyclesAndWired) {
  Place(37, 1000);
  m->cpu.retired = 0;
  m->cpu.cop0[kCop0Wired] = 0x50;  // 16
  EXPECT_EQ(Cop0(1), 37u);         // 37 & 31 = 5, and 48 - 16
  m->cpu.cop0[kCop0Wired] = 0;
  EXPECT_EQ(Cop0(1), 47u);
  EXPECT_EQ(m->cpu.cycles, 37u);
}

TEST_F(CScriptTime, OtherRegistersReadAsTheyAreHeld) {
  m->cpu.cop0[14] = 0x123456789ABCDEF0;
  EXPECT_EQ(Cop0(14), 0x123456789ABCDEF0u);
  EXPECT_EQ(Cop0(14 + 32), 0x123456789ABCDEF0u);
}

TEST_F(CScriptTime, WritingGoesTheProcessorsOwnWay) {
  const auto set = [this](u32 index, u64 value) {
    Put(kIn, index);
    Put(kIn + 0x40, value);
    Call(kSetCop0, {kIn, kIn + 0x40});
  };
  set(15, 0x1234);  // which revision it is cannot be written
  EXPECT_EQ(m->cpu.cop0[15], 0x2000u);
  set(9, 1000);
  EXPECT_EQ(CurrentCount(m.get()), 1000u);
  set(11, 0x1'00000010);
  EXPECT_EQ(m->cpu.cop0[11], 0x10u);
  set(16, 0xFFFFFFFF);
  EXPECT_EQ(m->cpu.cop0[16], 0x264B7u);
}

TEST_F(CScriptTime, CyclesAreAddedAndTheRestOfASliceIsGivenUp) {
  Place(10, 1000);
  Scalar(kAddCycles, 25);
  EXPECT_EQ(m->cpu.cycles, 35u);
  Scalar(kAddCycles, 0xFFFFFFFF);
  EXPECT_EQ(m->cpu.cycles, 1000u);
  EXPECT_EQ(m->cpu.stopMark, 0u);
  Place(10, 0);
  Scalar(kAddCycles, 0xFFFFFFFF);
  EXPECT_EQ(m->cpu.cycles, 10u);
}

TEST_F(CScriptTime, BreakingASliceRemembersWhereItWas) {
  Place(10, 1000);
  Scalar(kBreakSlice, 0);
  EXPECT_EQ(m->cpu.cycles, 1000u);
  EXPECT_EQ(m->cpu.stopMark, 11u);
  m->cpu.stopMark = 0;
  Place(10, 0);
  Scalar(kBreakSlice, 0);
  EXPECT_EQ(m->cpu.cycles, 10u);
  EXPECT_EQ(m->cpu.stopMark, 0u);
}

}  // namespace
}  // namespace vx::test
