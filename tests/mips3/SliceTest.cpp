// Slices: budgets, cuts, what is carried from one to the next.
#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u32 kTarget = 0x80002000;
constexpr u32 kRegisters = 0xB0002000;

void CutOnWrite(CVXMachine* machine, u32, u64) { machine->CutSlice(); }
void SkipToBudgetOnWrite(CVXMachine* machine, u32, u64) {
  machine->cpu.cycles = machine->cpu.budget;
}

using Slice = ProcessorTest;

TEST_F(Slice, RunsTheBlockUnderWayToItsEnd) {
  PlaceWithRest(kCode, {kNop, kNop, kNop});
  EXPECT_EQ(Run(2), 5u);
  SetPc(kCode);
  EXPECT_EQ(Run(5), 5u);
  SetPc(kCode);
  EXPECT_EQ(Run(6), 7u);
}

TEST_F(Slice, AddsUpWhatItSpentAndClearsItsFields) {
  PlaceWithRest(kCode, {kNop});
  EXPECT_EQ(Run(10), 11u);
  EXPECT_EQ(Run(10), 10u);
  EXPECT_EQ(cpu.retired, 21u);
  EXPECT_EQ(cpu.cycles, 0u);
  EXPECT_EQ(cpu.budget, 0u);
  EXPECT_EQ(cpu.stopMark, 0u);
}

TEST_F(Slice, StartsFromCyclesAddedOutside) {
  Place(kCode, {kBranchToSelf, kNop});
  cpu.cycles = 3;
  EXPECT_EQ(Run(10), 11u);
  cpu.cycles = 50;
  EXPECT_EQ(Run(10), 50u) << "nothing is left to run";
  EXPECT_EQ(cpu.retired, 61u);
}

TEST_F(Slice, CutAnswersTheMarkAndNotTheBudget) {
  m->ioWrite[0x200].write32 = CutOnWrite;
  gpr[kA0] = Extended(kRegisters);
  PlaceWithRest(kCode, {kNop, kNop, kNop, Sw(kZero, 0, kA0), Addiu(kT0, kT0, 1)});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    EXPECT_EQ(Run(5000), 4u);
    EXPECT_EQ(cpu.cycles, 0u);
    EXPECT_EQ(cpu.stopMark, 0u);
  }
  EXPECT_EQ(gpr[kT0], 2u);
  EXPECT_EQ(cpu.retired, 8u);
}

TEST_F(Slice, SecondCutKeepsTheFirstMark) {
  m->ioWrite[0x200].write32 = CutOnWrite;
  gpr[kA0] = Extended(kRegisters);
  PlaceWithRest(kCode, {kNop, Sw(kZero, 0, kA0), kNop, Sw(kZero, 0, kA0)});
  EXPECT_EQ(Run(5000), 2u);
}

TEST_F(Slice, CutOutsideASliceDoesNothing) {
  cpu.cycles = 5;
  m->CutSlice();
  EXPECT_EQ(cpu.stopMark, 0u);
  EXPECT_EQ(cpu.cycles, 5u);
}

TEST_F(Slice, SkippedTimeCountsAsSpent) {
  m->ioWrite[0x200].write32 = SkipToBudgetOnWrite;
  gpr[kA0] = Extended(kRegisters);
  PlaceWithRest(kCode, {kNop, Sw(kZero, 0, kA0), kNop});
  EXPECT_EQ(Run(5000), 5004u);
  SetPc(kCode);
  EXPECT_EQ(Run(5000), 5004u);
}

TEST_F(Slice, RenumbersTheBusyMarks) {
  Place(kCode, {kBranchToSelf, kNop});
  cpu.mulBusy = 100;
  cpu.fpMulBusy = 5;
  cpu.fpBusy = 10;
  EXPECT_EQ(Run(10), 10u);
  EXPECT_EQ(cpu.mulBusy, 90u);
  EXPECT_EQ(cpu.fpMulBusy, 0u);
  EXPECT_EQ(cpu.fpBusy, 0u);
}

TEST_F(Slice, DivideBehindACutInOneBlockStaysBusyByTheBudget) {
  m->ioWrite[0x200].write32 = CutOnWrite;
  gpr[kA0] = Extended(kRegisters);
  PlaceWithRest(kCode, {Sw(kZero, 0, kA0), Ddiv(kA0, kA0)});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    cpu.mulBusy = 0;
    EXPECT_EQ(Run(1000), 1u);
    EXPECT_EQ(cpu.mulBusy, 1001u + 74 - 1);
  }
}

// --- A branch left pending ---------------------------------------------------------------------

// The processor stands at a delay op, with the branch before it taken in an earlier slice.
class PendingBranch : public ProcessorTest {
 protected:
  PendingBranch() {
    PlaceWithRest(kTarget, {Addiu(kT2, kT2, 1)});
    PlaceWithRest(kCode, {Addiu(kT0, kT0, 1), Addiu(kT1, kT1, 1)});
  }
  void ExpectDelayOpThenTarget() {
    SetPc(kCode);
    cpu.branchTarget = kTarget;
    gpr[kT0] = gpr[kT1] = gpr[kT2] = 0;
    EXPECT_EQ(RunBlock(), 1u);
    EXPECT_EQ(cpu.pc, kTarget);
    EXPECT_EQ(cpu.branchTarget, kNoBranch);
    EXPECT_EQ(RunBlock(), 3u);
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(gpr[kT1], 0u);
    EXPECT_EQ(gpr[kT2], 1u);
  }
};

TEST_F(PendingBranch, RunsOneOpWhereNothingIsRecorded) {
  ExpectDelayOpThenTarget();
  EXPECT_EQ(RecordAt(kCode).link, 1u);
  EXPECT_EQ(RecordAt(kCode).flags, 0x043u);
  ExpectDelayOpThenTarget();
}

TEST_F(PendingBranch, RunsOneOpOfALongerBlock) {
  RunBlock();
  EXPECT_EQ(RecordAt(kCode).link, 4u);
  ExpectDelayOpThenTarget();
}

TEST_F(PendingBranch, RunsOneOpInTheMiddleOfABlock) {
  PlaceWithRest(kCode - 4, {kNop, Addiu(kT0, kT0, 1), Addiu(kT1, kT1, 1)});
  RunBlock();
  ExpectDelayOpThenTarget();
}

TEST_F(PendingBranch, RunsOneOpAlsoWhenTheTargetFollows) {
  SetPc(kCode);
  cpu.branchTarget = kCode + 4;
  EXPECT_EQ(RunBlock(), 1u);
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_EQ(gpr[kT1], 0u);
  EXPECT_EQ(RecordAt(kCode).link, 1u);
}

TEST_F(PendingBranch, NeverRunsANativeBlock) {
  RunBlock();
  RecordAt(kCode).flags |= kOpNative;
  RecordAt(kCode).native = [](CVXMachine* machine, u32 pc) {
    machine->cpu.cycles += 1000;
    return pc;
  };
  ExpectDelayOpThenTarget();
  SetPc(kCode);
  EXPECT_EQ(RunBlock(), 1000u) << "without a pending branch it does";
}

TEST_F(PendingBranch, RunsADelayOpWithoutARecord) {
  m->state.openBus = Addiu(kT0, kT0, 1);
  SetPc(0xB8000000);
  cpu.branchTarget = kTarget;
  EXPECT_EQ(RunBlock(), 1u);
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_EQ(cpu.pc, kTarget);
}

// --- Careful replay ----------------------------------------------------------------------------

TEST_F(Slice, CarefulReplayDoesWhatPlainReplayDoes) {
  PlaceWithRest(kTarget, {kNop});
  Place(kCode, {Addiu(kT0, kT0, 1), Jal(kTarget), Addiu(kT1, kT1, 1)});
  RunBlock();
  RecordAt(kCode).flags |= kOpCareful;
  SetPc(kCode);
  EXPECT_EQ(RunBlock(), 3u);
  EXPECT_EQ(gpr[kT0], 2u);
  EXPECT_EQ(gpr[kT1], 2u);
  EXPECT_EQ(gpr[kRa], Extended(kCode + 12));
  EXPECT_EQ(cpu.pc, kTarget);
}

TEST_F(Slice, CarefulReplayLeavesAtABranchThatAppearsInMidBlock) {
  PlaceWithRest(kTarget, {Addiu(kT2, kT2, 1)});
  PlaceWithRest(kCode, {kNop, Addiu(kT0, kT0, 1), Addiu(kT1, kT1, 1)});
  RunBlock();
  RecordAt(kCode).flags |= kOpCareful;
  RecordAt(kCode).handler = [](CVXMachine* machine, u32) { machine->cpu.branchTarget = kTarget; };
  SetPc(kCode);
  gpr[kT0] = gpr[kT1] = 0;
  EXPECT_EQ(RunBlock(), 1u);
  EXPECT_EQ(cpu.pc, kCode + 4);
  EXPECT_EQ(Run(2), 1u + 3);
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_EQ(gpr[kT1], 0u);
  EXPECT_EQ(gpr[kT2], 1u);
}

TEST_F(Slice, RecordThatItsHeadNoLongerReachesRunsAlone) {
  PlaceWithRest(kCode, {kNop, Addiu(kT0, kT0, 1), Addiu(kT1, kT1, 1)});
  RunBlock();
  RecordAt(kCode).link = 1;
  SetPc(kCode + 4);
  EXPECT_EQ(RunBlock(), 1u);
  EXPECT_EQ(gpr[kT0], 2u);
  EXPECT_EQ(gpr[kT1], 1u);
  EXPECT_EQ(cpu.pc, kCode + 8);
}

}  // namespace

}  // namespace vx
