// Slices, loops, stacks, conditions and interrupts.
#include <gtest/gtest.h>

#include "tests/sound/DspRig.h"

namespace vx::test {
namespace {

constexpr u32 kNop = 0;
constexpr u32 Jump(u32 target, u32 condition = kTrue) { return 0x180000 | target << 4 | condition; }
constexpr u32 Call(u32 target, u32 condition = kTrue) { return 0x1C0000 | target << 4 | condition; }
constexpr u32 Until(u32 last, u32 condition) { return 0x140000 | last << 4 | condition; }
constexpr u32 kCounter = 14;
constexpr u32 kAddOne = 0x22000F | 3 << 13 | 0 << 11 | 2 << 8;  // AR = AR + AY0
constexpr u32 kReturn = 0x0A000F;
constexpr u32 kReturnFromInterrupt = 0x0A001F;

class Sequencer : public testing::Test {
 protected:
  Sequencer() { rig_.Bank().ay[0] = 1; }
  CDspRig rig_;
  SADSPState& s_ = rig_.State();
};

// --- Slices --------------------------------------------------------------------------------------

TEST_F(Sequencer, RunsOneWordACycleAndAnswersTheCycles) {
  rig_.Program(0, {kAddOne, kAddOne, kAddOne});
  EXPECT_EQ(rig_.Run(2), 2u);
  EXPECT_EQ(s_.bank.ar, 2);
  EXPECT_EQ(s_.pc, 2u);
  EXPECT_EQ(s_.cycles, 0u);
  EXPECT_EQ(s_.cycleTarget, 0u);
}

TEST_F(Sequencer, CyclesLeftOverAtEntryAreAnsweredWithoutRunning) {
  rig_.Program(0, {kAddOne});
  s_.cycles = 7;
  EXPECT_EQ(rig_.Run(5), 7u);
  EXPECT_EQ(s_.bank.ar, 0);
  EXPECT_EQ(s_.cycles, 0u);
}

TEST_F(Sequencer, FetchesExternalRamThroughItsMirrorsAndNothingAbove) {
  rig_.Program(0x400, {kAddOne});
  EXPECT_EQ(s_.externalRam[0x400], kAddOne);
  for (const u32 mirror : {0x400u, 0xC00u, 0x1400u, 0x1C00u}) {
    s_.pc = mirror;
    rig_.Run(1);
    EXPECT_EQ(s_.pc, mirror + 1);
  }
  EXPECT_EQ(s_.bank.ar, 4);
  s_.pc = 0x2400;
  rig_.Run(3);
  EXPECT_EQ(s_.bank.ar, 4);
  EXPECT_EQ(s_.pc, 0x2403u);
}

TEST_F(Sequencer, APcThatRunsAwayMeetsTheLoopEndOfNoLoop) {
  s_.pc = 65534;
  rig_.Run(2);
  EXPECT_EQ(s_.pc, 65536u) << "AZ is clear: the step ends a loop that is not there";
  s_.pc = 65535;
  s_.astat = kAstatZero;
  rig_.Run(1);
  EXPECT_EQ(s_.pc, 0u) << "AZ is set: the top of the empty stack reads as 0";
}

TEST_F(Sequencer, ACutEndsTheSliceBehindThePresentWordAndReportsWhatRan) {
  // A write that reboots tells the listeners, who cut the slice.
  rig_.Program(0, {kNop, kNop, 0x400000 | 0x200 << 4, 0x93FFF0, kNop, kNop});
  EXPECT_EQ(rig_.Run(100), 4u);
  EXPECT_EQ(rig_.cuts, 1u);
  EXPECT_EQ(s_.cutCycles, 0u);
}

TEST_F(Sequencer, ASecondCutKeepsTheFirstCount) {
  s_.cycleTarget = 100;
  s_.cycles = 10;
  rig_.processor.CutSlice();
  EXPECT_EQ(s_.cutCycles, 11u);
  EXPECT_EQ(s_.cycles, 100u);
  s_.cycles = 50;
  rig_.processor.CutSlice();
  EXPECT_EQ(s_.cutCycles, 11u);
  EXPECT_EQ(s_.cycles, 100u);
}

TEST_F(Sequencer, AMissingWordTellsTheHostWithThePcBehindItAndGoesOn) {
  const u32 missing[] = {0x02, 0x03, 0x04, 0x08, 0x11, 0x30, 0x31, 0x32,
                         0x33, 0x5A, 0x5F, 0x9C, 0x9F, 0xC0, 0xFF};
  for (const u32 top : missing) {
    rig_.port.lines.clear();
    rig_.Program(0x10, {top << 16 | 0x1234, kAddOne});
    s_.bank.ar = 0;
    rig_.Run(2);
    EXPECT_EQ(s_.bank.ar, 1);
    ASSERT_EQ(rig_.port.lines.size(), 1u) << top;
    char text[80];
    std::snprintf(text, sizeof(text), "ADSP unimplemented op at PC %08X: %08X (%i)\n", 0x11u,
                  top << 16 | 0x1234, static_cast<int>(top));
    EXPECT_EQ(rig_.port.lines[0].text, text);
    EXPECT_EQ(rig_.port.lines[0].level, 2);
  }
}

// --- Conditions ----------------------------------------------------------------------------------

TEST_F(Sequencer, EveryConditionReadsItsFlags) {
  for (u32 astat = 0; astat < 256; ++astat) {
    const bool z = astat & 1, n = astat & 2, v = astat & 4, c = astat & 8, x = astat & 16,
               m = astat & 64;
    const bool expected[16] = {z,  !z, !z && n == v, z || n != v, n != v, n == v, v,   !v, c,
                               !c, x,  !x,           m,           !m,     false,  true};
    for (u32 code = 0; code < 16; ++code) {
      if (code == kCounter) continue;
      s_.astat = astat;
      s_.pc = 5;
      rig_.Do(Jump(100, code));
      EXPECT_EQ(s_.pc == 100, expected[code]) << code << " with " << astat;
    }
  }
}

TEST_F(Sequencer, TheCountersConditionCountsDownWhateverTheInstruction) {
  for (const u32 word : {Jump(100, kCounter), Call(100, kCounter), 0x0A0000u | kCounter,
                         0x0B0000u | kCounter, 0x0E0000u | kCounter, 0x220000u | kCounter}) {
    s_.cntr = 3;
    rig_.Do(word);
    EXPECT_EQ(s_.cntr, 2u) << std::hex << word;
  }
}

TEST_F(Sequencer, ACounterOfOneIsFalseAndPopsTheCounterStack) {
  rig_.Do(LoadControl(5, 77));
  rig_.Do(LoadControl(5, 1));
  s_.pc = 5;
  rig_.Do(Jump(100, kCounter));
  EXPECT_EQ(s_.pc, 5u);
  EXPECT_EQ(s_.cntr, 77u);
  EXPECT_EQ(s_.counterDepth, 1);
}

TEST_F(Sequencer, ACounterOfNoughtIsFalseAndStays) {
  s_.counterDepth = 1;
  s_.pc = 5;
  rig_.Do(Jump(100, kCounter));
  EXPECT_EQ(s_.pc, 5u);
  EXPECT_EQ(s_.cntr, 0u);
  EXPECT_EQ(s_.counterDepth, 1);
}

// --- Loops ---------------------------------------------------------------------------------------

TEST_F(Sequencer, ACountedLoopRunsItsRoundsAndUnwindsItsStacks) {
  rig_.Program(0, {LoadControl(5, 3), Until(3, kCounter), kAddOne, kAddOne, kNop});
  rig_.Run(2);
  EXPECT_EQ(s_.loopEnd, 3u);
  EXPECT_EQ(s_.loopCond, 14u);
  EXPECT_EQ(s_.sstat, 0x10u) << "PC, counter and loop stack hold an entry each";
  rig_.Run(6);
  EXPECT_EQ(s_.bank.ar, 6);
  EXPECT_EQ(s_.pc, 4u);
  EXPECT_EQ(s_.loopEnd, 65535u);
  EXPECT_EQ(s_.cntr, 0u);
  EXPECT_EQ(s_.sstat, 0x55u);
}

TEST_F(Sequencer, ACounterOfNoughtMakesOneRoundAndKeepsItsStackEntry) {
  rig_.Program(0, {LoadControl(5, 0), Until(2, kCounter), kAddOne, kNop});
  rig_.Run(4);
  EXPECT_EQ(s_.bank.ar, 1);
  EXPECT_EQ(s_.counterDepth, 1);
  EXPECT_EQ(s_.sstat & kSstatCounterEmpty, 0u);
}

TEST_F(Sequencer, ALoopGoesRoundWhileItsConditionIsTrue) {
  constexpr u32 kNotEqual = 1;
  constexpr u32 kSubtractOne = ToAr(7, 2, 0);  // AR = AR - AY0
  s_.bank.ar = 4;
  rig_.Program(0, {Until(1, kNotEqual), kSubtractOne, kNop});
  rig_.Run(6);
  EXPECT_EQ(s_.bank.ar, 0xFFFF) << "the step looks at the flags before the last word";
  EXPECT_EQ(s_.pc, 2u);
}

TEST_F(Sequencer, AJumpInTheLastWordReplacesThePcAfterTheStep) {
  rig_.Program(0, {LoadControl(5, 3), Until(2, kCounter), Jump(100)});
  rig_.Run(3);
  EXPECT_EQ(s_.pc, 100u);
  EXPECT_EQ(s_.cntr, 2u);
  EXPECT_EQ(s_.loopDepth, 1);
  EXPECT_EQ(s_.pcDepth, 1);
}

TEST_F(Sequencer, ACallInTheLastWordReturnsToTheLoopsStart) {
  rig_.Program(0, {LoadControl(5, 2), Until(3, kCounter), kAddOne, Call(100)});
  rig_.processor.WriteProgram(100, kReturn);
  rig_.Run(5);
  EXPECT_EQ(s_.pc, 2u);
}

TEST_F(Sequencer, TwoLoopsWithOneEndMissTheOuterEnd) {
  rig_.Program(0, {LoadControl(5, 2), Until(4, kCounter), LoadControl(5, 1), Until(4, kCounter),
                   kAddOne, kNop});
  rig_.Run(6);
  EXPECT_EQ(s_.pc, 6u);
  EXPECT_EQ(s_.loopDepth, 1);
  EXPECT_EQ(s_.loopEnd, 4u);
}

TEST_F(Sequencer, ALoopBeyondTheFourthIsLostButLeavesItsPcEntry) {
  for (u32 i = 0; i < 4; ++i) rig_.Do(Until(100 + i, kTrue));
  EXPECT_EQ(s_.loopEnd, 103u);
  rig_.Do(Until(104, kTrue));
  EXPECT_EQ(s_.loopEnd, 103u);
  EXPECT_EQ(s_.loopDepth, 4);
  EXPECT_EQ(s_.pcDepth, 5);
  EXPECT_NE(s_.sstat & kSstatLoopOverflow, 0u);
}

TEST_F(Sequencer, TheEndOfAnInnerLoopBringsTheOuterBack) {
  rig_.Do(Until(200, 5));
  s_.pc = 10;
  rig_.Do(Until(10, kCounter));
  rig_.processor.StepLoopEnd(10, 0);
  EXPECT_EQ(s_.loopEnd, 200u);
  EXPECT_EQ(s_.loopCond, 5u);
  EXPECT_EQ(s_.pc, 11u);
}

// --- Stacks --------------------------------------------------------------------------------------

TEST_F(Sequencer, TheSeventeenthPcIsLostAndSetsItsBit) {
  for (u32 i = 0; i < 16; ++i) rig_.Do(LoadControl(15, 100 + i));
  EXPECT_EQ(s_.sstat & (kSstatPcEmpty | kSstatPcOverflow), 0u);
  rig_.Do(LoadControl(15, 999));
  EXPECT_EQ(s_.pcDepth, 16);
  EXPECT_EQ(s_.pcStack[15], 115u);
  EXPECT_NE(s_.sstat & kSstatPcOverflow, 0u);
}

TEST_F(Sequencer, AReturnFromAnEmptyStackTakesItsFirstEntry) {
  s_.pcStack[0] = 321;
  rig_.Do(kReturn);
  EXPECT_EQ(s_.pc, 321u);
  EXPECT_EQ(s_.pcDepth, 0);
}

TEST_F(Sequencer, TheFirstCounterLoadPushesTheOldValue) {
  s_.cntr = 9;
  rig_.Do(LoadControl(5, 5));
  EXPECT_EQ(s_.counterStack[0], 9u);
  EXPECT_EQ(s_.counterDepth, 1);
  EXPECT_EQ(s_.sstat & kSstatCounterEmpty, 0u);
}

TEST_F(Sequencer, ACounterLoadBeyondTheFourthIsLoadedAndItsPushLost) {
  for (u32 i = 1; i <= 5; ++i) rig_.Do(LoadControl(5, i));
  EXPECT_EQ(s_.cntr, 5u);
  EXPECT_EQ(s_.counterDepth, 4);
  EXPECT_EQ(s_.counterStack[3], 3u);
  EXPECT_NE(s_.sstat & kSstatCounterOverflow, 0u);
}

TEST_F(Sequencer, ACounterPopOfAnEmptyStackTakesEntryNoughtAndSetsNoBit) {
  s_.sstat = 0;
  s_.counterStack[0] = 44;
  s_.cntr = 1;
  rig_.Do(Jump(1, kCounter));
  EXPECT_EQ(s_.cntr, 44u);
  EXPECT_EQ(s_.sstat, 0u);
}

TEST_F(Sequencer, DepthsOutOfRangeDoNotLeaveTheStacks) {
  for (const i32 depth : {-5, 1000, INT32_MIN, INT32_MAX}) {
    s_.pcDepth = s_.loopDepth = s_.counterDepth = s_.statusDepth = depth;
    s_.cntr = 1;
    s_.loopEnd = 0;
    s_.loopCond = kCounter;
    s_.pc = 0;
    rig_.Run(1);
    rig_.Do(kReturnFromInterrupt);
    rig_.Do(Call(10));
    rig_.Do(Until(20, kCounter));
    rig_.Do(LoadControl(5, 3));
    EXPECT_GE(s_.pcDepth, 0);
    EXPECT_LE(s_.pcDepth, 16);
    EXPECT_LE(s_.loopDepth, 4);
    EXPECT_LE(s_.counterDepth, 4);
    EXPECT_LE(s_.statusDepth, 4);
  }
}

// --- Calls and returns ---------------------------------------------------------------------------

TEST_F(Sequencer, AnIndirectJumpTakesTheSecondGeneratorsRegisters) {
  for (u32 i = 0; i < 4; ++i) {
    s_.dag[4 + i].i = 0x4100 + i;  // above 14 bits, as a transfer can leave it
    s_.pc = 7;
    s_.pcDepth = 0;
    rig_.Do(0x0B000F | i << 6);
    EXPECT_EQ(s_.pc, 0x100u + i);
    EXPECT_EQ(s_.pcDepth, 0);
    s_.pc = 7;
    rig_.Do(0x0B001F | i << 6);
    EXPECT_EQ(s_.pc, 0x100u + i);
    EXPECT_EQ(s_.pcStack[0], 7u);
  }
}

TEST_F(Sequencer, AReturnFromInterruptRestoresStatusAndExchangesTheBanks) {
  s_.bank.ax[0] = 1;
  s_.alternateBank.ax[0] = 2;
  s_.statusDepth = 1;
  s_.pcDepth = 1;
  s_.pcStack[0] = 40;
  s_.statusStack[0] = u64{0x81} << 32 | u64{0x24} << 16 | 0x11;
  rig_.Do(kReturnFromInterrupt);
  EXPECT_EQ(s_.pc, 40u);
  EXPECT_EQ(s_.astat, 0x81u);
  EXPECT_EQ(s_.imask, 0x24u);
  EXPECT_EQ(s_.mstat, 0x11u);
  EXPECT_EQ(s_.bank.ax[0], 2);
  EXPECT_NE(s_.sstat & kSstatStatusEmpty, 0u);
}

// --- Interrupts ----------------------------------------------------------------------------------

struct SRow {
  u32 pending, imask, vector, nested;
};
constexpr SRow kRows[] = {{2, 0x20, 4, 0x00},  {4, 0x10, 8, 0x20},  {3, 0x08, 12, 0x30},
                          {1, 0x04, 16, 0x38}, {0, 0x02, 20, 0x3C}, {5, 0x01, 24, 0x3E}};

TEST_F(Sequencer, EveryInterruptHasItsVectorEnableAndNesting) {
  for (const bool bNesting : {false, true}) {
    for (const SRow& row : kRows) {
      s_.pc = 0x123;
      s_.pcDepth = s_.statusDepth = 0;
      s_.astat = 0x42;
      s_.mstat = 0x10;
      s_.icntl = 7 | (bNesting ? 16 : 0);
      s_.imask = 0x3F;
      s_.irqLatched = 1u << row.pending;
      rig_.processor.CheckInterrupts();
      EXPECT_EQ(s_.pc, row.vector);
      EXPECT_EQ(s_.irqLatched, 0u);
      EXPECT_EQ(s_.imask, bNesting ? row.nested : 0u) << row.pending;
      EXPECT_EQ(s_.pcStack[0], 0x123u);
      EXPECT_EQ(s_.statusStack[0], u64{0x42} << 32 | u64{0x3F} << 16 | 0x10);
      EXPECT_EQ(s_.mstat, 0x10u) << "no mode changes on entry";
    }
  }
}

TEST_F(Sequencer, AMaskedInterruptHoldsBackAllBelowIt) {
  s_.icntl = 7;
  s_.irqLatched = kPendingCommand | kPendingTransmit;
  s_.imask = 0x1F;
  s_.pc = 50;
  rig_.processor.CheckInterrupts();
  EXPECT_EQ(s_.pc, 50u);
  s_.imask = 0x20;
  rig_.processor.CheckInterrupts();
  EXPECT_EQ(s_.pc, 4u);
}

TEST_F(Sequencer, ALevelInterruptRepeatsUntilItsLineDrops) {
  s_.icntl = 0;
  s_.imask = 0x20;
  rig_.processor.RaiseLine(kPendingCommand);
  rig_.processor.CheckInterrupts();
  EXPECT_EQ(s_.pc, 4u);
  EXPECT_EQ(s_.irqLatched, 0u);
  s_.imask = 0x20;
  s_.pc = 9;
  rig_.processor.CheckInterrupts();
  EXPECT_EQ(s_.pc, 4u);
  rig_.processor.DropLine(kPendingCommand);
  s_.imask = 0x20;
  s_.pc = 9;
  rig_.processor.CheckInterrupts();
  EXPECT_EQ(s_.pc, 9u);
}

TEST_F(Sequencer, ALatchIsIgnoredInLevelMode) {
  s_.icntl = 0;
  s_.imask = 0x3F;
  s_.irqLatched = 7;
  s_.pc = 9;
  rig_.processor.CheckInterrupts();
  EXPECT_EQ(s_.pc, 9u);
  EXPECT_EQ(s_.irqLatched, 7u);
}

TEST_F(Sequencer, InterruptsAreLookedAtWhenASliceStarts) {
  rig_.Program(0, {kAddOne, kAddOne, kAddOne});
  rig_.processor.WriteProgram(4, kReturnFromInterrupt);
  s_.imask = 0x20;
  rig_.Run(1);
  rig_.processor.RaiseLine(kPendingCommand);
  s_.icntl = 4;
  EXPECT_EQ(s_.pc, 1u);
  rig_.Run(1);
  EXPECT_EQ(s_.pc, 1u) << "the handler has returned";
  EXPECT_EQ(s_.bank.ar, 1);
  EXPECT_EQ(s_.imask, 0x20u);
}

TEST_F(Sequencer, AForcedInterruptWaitsForTheNextCheck) {
  s_.imask = 0x3F;
  s_.icntl = 7;
  s_.pc = 9;
  rig_.Do(LoadControl(12, 1 << 9));
  EXPECT_EQ(s_.irqLatched, 1u << 3);
  EXPECT_EQ(s_.pc, 9u);
  rig_.Do(LoadControl(4, 7));
  EXPECT_EQ(s_.pc, 12u);
}

TEST_F(Sequencer, AMaskWriteTakesAPendingInterruptAtOnce) {
  s_.irqLatched = 1u << 4;
  s_.pc = 9;
  rig_.Do(LoadControl(3, 0x10));
  EXPECT_EQ(s_.pc, 8u);
  EXPECT_EQ(s_.pcStack[0], 9u);
}

TEST_F(Sequencer, AReturnFromInterruptTakesTheNextOne) {
  s_.pcDepth = s_.statusDepth = 1;
  s_.pcStack[0] = 40;
  s_.statusStack[0] = u64{0x3F} << 16;
  s_.irqLatched = 1u << 4;
  rig_.Do(kReturnFromInterrupt);
  EXPECT_EQ(s_.pc, 8u);
  EXPECT_EQ(s_.pcStack[0], 40u);
}

// --- Idle skip -----------------------------------------------------------------------------------

constexpr u32 kReadPointer = 0x0D02A3;  // AR = I7
constexpr u32 kCompare = 0x26E20F;      // AF = AR - AY0
constexpr u32 kWaitWhileGe = 0x181305;  // at 306
constexpr u32 kWaitWhileLt = 0x181364;  // at 312

TEST_F(Sequencer, AWaitLoopGivesUpItsSliceBehindItsSeventhWord) {
  rig_.Program(304, {kReadPointer, kCompare, kWaitWhileGe});
  s_.bank.ay[0] = 0;
  EXPECT_EQ(rig_.Run(1000), 1001u) << "the jump itself counts on top of the spent slice";
  EXPECT_EQ(s_.pc, 304u) << "the jump is taken";
  rig_.Program(310, {kReadPointer, kCompare, kWaitWhileLt});
  s_.bank.ay[0] = 1;
  EXPECT_EQ(rig_.Run(1000), 1001u);
}

TEST_F(Sequencer, AShortSliceInAWaitLoopRunsToItsEnd) {
  rig_.Program(304, {kReadPointer, kCompare, kWaitWhileGe});
  s_.bank.ay[0] = 0;
  EXPECT_EQ(rig_.Run(6), 6u);
  rig_.Program(304, {kReadPointer, kCompare, kWaitWhileGe});
  EXPECT_EQ(rig_.Run(8), 8u) << "the jump is the sixth word and no more than five ran before";
  EXPECT_EQ(rig_.Run(2), 2u);
}

TEST_F(Sequencer, OtherWordsOrPlacesAreNoWaitLoop) {
  rig_.Program(304, {kReadPointer, 0x26E20E, kWaitWhileGe});
  s_.bank.ay[0] = 0;
  EXPECT_EQ(rig_.Run(1000), 1000u);
  rig_.Program(310, {kReadPointer, kCompare, 0x181365});
  EXPECT_EQ(rig_.Run(1000), 1000u);
}

TEST(InstanceSequencer, HasNoIdleSkip) {
  CDspRig rig(kInstancedProcessor);
  rig.Program(304, {kReadPointer, kCompare, kWaitWhileGe});
  EXPECT_EQ(rig.Run(1000), 1000u);
}

TEST(InstanceSequencer, ReportsASliceAsRunWhileHalted) {
  CDspRig rig(kInstancedProcessor);
  rig.Program(0, {kAddOne});
  rig.State().runFlags = kRunHalted;
  EXPECT_EQ(rig.Run(1000), 1000u);
  EXPECT_EQ(rig.State().pc, 0u);
  EXPECT_EQ(rig.State().cycleTarget, 0u);
}

}  // namespace
}  // namespace vx::test
