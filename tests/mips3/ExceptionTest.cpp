// Exceptions and interrupts: when they enter, what they leave in Cause, Status and EPC, and how a
// pending branch is resolved first.
#include <utility>

#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u32 kVector = 0x80000180;
constexpr u32 kBootVector = 0xBFC00380;
constexpr u32 kTarget = 0x80002000;
constexpr u32 kTarget2 = 0x80003000;
constexpr u32 kLine = 0x400;
constexpr u64 kOpen = kLine | kStatusIe;  // Status that lets the line in

class Exceptions : public ProcessorTest {
 protected:
  Exceptions() {
    PlaceWithRest(kVector, {Addiu(kV0, kV0, 1)});
    PlaceWithRest(kTarget, {kNop});
    PlaceWithRest(kTarget2, {kNop});
    SetPc(kCode);
  }
  void Op(u32 word) {
    cpu.pc = kCode + 4;
    ExecuteWord(m.get(), word);
  }
};

TEST_F(Exceptions, SyscallAndBreakPointBehindThemselves) {
  for (const auto& [word, code] : {std::pair{kSyscall, 0x20u}, std::pair{kBreak, 0x24u}}) {
    for (const char* pass : {"forming", "replay"}) {
      SCOPED_TRACE(pass);
      PlaceWithRest(kCode, {kNop, word | 0x3FC0});  // the code field is free
      cop0[kCop0Status] = 0x10000000;
      cop0[kCop0Cause] = 0xFFFFFFFF8000FF7C;
      EXPECT_EQ(RunBlock(), 2u);
      EXPECT_EQ(cpu.pc, kVector);
      EXPECT_EQ(cop0[kCop0Epc], kCode + 8);
      EXPECT_EQ(cop0[kCop0Cause], 0xFF00u | code);
      EXPECT_EQ(cop0[kCop0Status], 0x10000002u);
    }
    m->Reset();
    m->queue.Clear();
  }
}

TEST_F(Exceptions, BootVectorIsUsedWhileItsBitIsSet) {
  cop0[kCop0Status] = kStatusBev;
  Op(kSyscall);
  EXPECT_EQ(cpu.pc, kBootVector);
}

TEST_F(Exceptions, InsideAnExceptionOnlyPcMoves) {
  cop0[kCop0Status] = kStatusExl;
  cop0[kCop0Epc] = 0x1234;
  cpu.branchTarget = kTarget;
  Op(kSyscall);
  EXPECT_EQ(cpu.pc, kVector);
  EXPECT_EQ(cop0[kCop0Epc], 0x1234u);
  EXPECT_EQ(cop0[kCop0Cause], 0x20u);
  EXPECT_EQ(cpu.branchTarget, kTarget) << "a pending branch stays pending";
}

TEST_F(Exceptions, SyscallInADelaySlotReturnsToTheTarget) {
  Place(kCode, {J(kTarget), kSyscall});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    cop0[kCop0Status] = 0;
    EXPECT_EQ(RunBlock(), 2u);
    EXPECT_EQ(cop0[kCop0Epc], kTarget);
    EXPECT_EQ(cpu.pc, kVector);
  }
}

// --- Interrupts --------------------------------------------------------------------------------

TEST_F(Exceptions, EachHardwareLineEntersWhenItsMaskIsOpen) {
  PlaceWithRest(kCode, {kNop});
  for (u32 bit = 8; bit < 17; ++bit) {
    const u64 line = u64{1} << bit;
    SetPc(kCode);
    gpr[kV0] = 0;
    cop0[kCop0Cause] = line;
    cop0[kCop0Status] = line | kStatusIe;
    RunBlock();
    const bool bLine = bit >= 10 && bit <= 15;
    EXPECT_EQ(gpr[kV0], bLine ? 1u : 0u) << "bit " << bit;
  }
}

TEST_F(Exceptions, InterruptEntersOnlyEnabledAndOutsideExceptions) {
  PlaceWithRest(kCode, {kNop});
  for (const u64 status : {u64{kLine}, u64{kOpen | kStatusExl}, u64{kOpen | kStatusErl},
                           u64{kStatusIe}, u64{0x800 | kStatusIe}}) {
    SetPc(kCode);
    cop0[kCop0Cause] = kLine;
    cop0[kCop0Status] = status;
    RunBlock();
    EXPECT_EQ(gpr[kV0], 0u) << std::hex << status;
  }
}

TEST_F(Exceptions, InterruptEntryCleansCauseAndSetsExl) {
  PlaceWithRest(kCode, {kNop});
  cop0[kCop0Cause] = 0xFFFFFFFF80000300 | kLine | 0x7C;
  cop0[kCop0Status] = kOpen;
  EXPECT_EQ(RunBlock(), 3u) << "entering takes no time";
  EXPECT_EQ(cop0[kCop0Cause], 0x300u | kLine);
  EXPECT_EQ(cop0[kCop0Status], kOpen | kStatusExl);
  EXPECT_EQ(cop0[kCop0Epc], kCode);
  EXPECT_EQ(gpr[kV0], 1u);
}

TEST_F(Exceptions, NothingTestsForInterruptsBetweenBlocks) {
  // The line rises without a cut: the slice goes on, the next one takes it.
  cop0[kCop0Status] = kOpen;
  m->ioRead[0x200].read32 = [](CVXMachine* machine, u32) {
    machine->cpu.cop0[kCop0Cause] = kLine;
    return u64{0};
  };
  gpr[kA0] = Extended(0xB0002000);
  PlaceWithRest(kCode, {Lw(kA1, 0, kA0)});
  EXPECT_EQ(Run(99), 99u);
  EXPECT_EQ(gpr[kV0], 0u);
  RunBlock();
  EXPECT_EQ(gpr[kV0], 1u);
}

TEST_F(Exceptions, StatusWriteTakesAPendingInterruptAtOnce) {
  PlaceWithRest(kCode, {Mtc0(kA0, kCop0Status)});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    cop0[kCop0Status] = 0;
    cop0[kCop0Cause] = kLine | 0x24;
    gpr[kA0] = kOpen;
    EXPECT_EQ(RunBlock(), 1u);
    EXPECT_EQ(cpu.pc, kVector);
    EXPECT_EQ(cop0[kCop0Epc], kCode + 4);
    EXPECT_EQ(cop0[kCop0Cause], kLine);
    EXPECT_EQ(cop0[kCop0Status], kOpen | kStatusExl);
  }
}

TEST_F(Exceptions, SoftwareInterruptEntersWhateverStatusMasks) {
  for (const u64 bits : {0x100u, 0x200u, 0x300u}) {
    cop0[kCop0Status] = 0;
    cop0[kCop0Cause] = kLine;
    gpr[kA0] = bits | 0x7C;
    Op(Mtc0(kA0, kCop0Cause));
    EXPECT_EQ(cpu.pc, kVector);
    EXPECT_EQ(cop0[kCop0Epc], kCode + 4);
    EXPECT_EQ(cop0[kCop0Cause], bits | kLine) << "code 0, and the bits stay";
    EXPECT_EQ(cop0[kCop0Status], kStatusExl);
  }
}

// --- Resolving a pending branch ----------------------------------------------------------------

TEST_F(Exceptions, InterruptWithAPendingBranchRunsItsDelayOpFirst) {
  PlaceWithRest(kCode, {Addiu(kT0, kT0, 1)});
  cpu.branchTarget = kTarget;
  cop0[kCop0Cause] = kLine;
  cop0[kCop0Status] = kOpen;
  EXPECT_EQ(Run(2), 1u + 3) << "the delay op counts in the slice";
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_EQ(gpr[kV0], 1u);
  EXPECT_EQ(cop0[kCop0Epc], kTarget);
  EXPECT_EQ(cpu.branchTarget, kNoBranch);
}

TEST_F(Exceptions, DelayOpIsTakenFromMemoryNotFromItsRecord) {
  PlaceWithRest(kCode, {Addiu(kT0, kT0, 1)});
  RunBlock();
  Poke32(kCode, Addiu(kT0, kZero, 77));
  SetPc(kCode);
  cpu.branchTarget = kTarget;
  cop0[kCop0Cause] = kLine;
  cop0[kCop0Status] = kOpen;
  RunBlock();
  EXPECT_EQ(gpr[kT0], 77u);
}

TEST_F(Exceptions, DelayOpOfADelayOpIsRunToo) {
  // The delay op is itself a branch: its own delay op lies at the first target.
  Place(kTarget, {Addiu(kT0, kT0, 1), Addiu(kT1, kT1, 1)});
  Place(kCode, {J(kTarget2)});
  cpu.branchTarget = kTarget;
  cop0[kCop0Cause] = kLine;
  cop0[kCop0Status] = kOpen;
  EXPECT_EQ(Run(3), 2u + 3);
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_EQ(gpr[kT1], 0u);
  EXPECT_EQ(cop0[kCop0Epc], kTarget2);
}

TEST_F(Exceptions, ChainOfDelayOpsThatNeverEndsIsGivenUp) {
  Place(kTarget, {J(kTarget)});
  Place(kCode, {J(kTarget)});
  cpu.branchTarget = kTarget;
  cop0[kCop0Cause] = kLine;
  cop0[kCop0Status] = kOpen;
  Run(100000);
  EXPECT_EQ(gpr[kV0], 1u);
  EXPECT_EQ(cpu.branchTarget, kNoBranch);
  EXPECT_EQ(cop0[kCop0Epc], kTarget);
}

TEST_F(Exceptions, ExceptionInTheDelayOpItselfLeavesTheVectorInEpc) {
  Place(kCode, {kSyscall});
  cpu.branchTarget = kTarget;
  cop0[kCop0Cause] = kLine;
  cop0[kCop0Status] = kOpen;
  Run(2);
  EXPECT_EQ(cop0[kCop0Epc], kVector);
  EXPECT_EQ(cop0[kCop0Cause], kLine | 0x20u);
  EXPECT_EQ(gpr[kV0], 1u);
}

TEST_F(Exceptions, DelayOpFromRomCostsItsCycleAlone) {
  Place(kRomCode, {Addiu(kT0, kT0, 1)});
  m->state.frameFlags |= kFrameRandomStart;
  m->state.randState = 9;
  cpu.branchTarget = kTarget;
  cop0[kCop0Cause] = kLine;
  cop0[kCop0Status] = kOpen;
  EXPECT_EQ(Run(2), 1u + 3);
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_EQ(m->state.randState, 9u);
}

TEST_F(Exceptions, DelayOpOnAPageWithoutReadPermissionIsANop) {
  cpu.pc = 0x00400000;
  cpu.branchTarget = kTarget;
  cop0[kCop0Cause] = kLine;
  cop0[kCop0Status] = kOpen;
  EXPECT_EQ(Run(2), 1u + 3);
  EXPECT_EQ(cop0[kCop0Epc], kTarget);
}

// --- Return ------------------------------------------------------------------------------------

TEST_F(Exceptions, EretReturnsAndClearsExlAlone) {
  PlaceWithRest(kCode, {kNop, kEret, Addiu(kT0, kT0, 1)});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    cop0[kCop0Status] = kStatusExl | kStatusErl | 0x10000000;
    cop0[kCop0Epc] = 0xFFFFFFFF00000000 | kTarget;
    cop0[kCop0Cause] = 0x7C;
    cpu.llFlag = 1;
    EXPECT_EQ(RunBlock(), 2u);
    EXPECT_EQ(cpu.pc, kTarget);
    EXPECT_EQ(cop0[kCop0Status], kStatusErl | 0x10000000u);
    EXPECT_EQ(cop0[kCop0Cause], 0x7Cu);
    EXPECT_EQ(cpu.llFlag, 0u);
    EXPECT_EQ(gpr[kT0], 0u) << "it has no delay slot";
  }
}

TEST_F(Exceptions, EretTakesAPendingInterruptAtOnce) {
  cop0[kCop0Status] = kOpen | kStatusExl;
  cop0[kCop0Epc] = kTarget;
  cop0[kCop0Cause] = kLine | 0x20;
  Op(kEret);
  EXPECT_EQ(cpu.pc, kVector);
  EXPECT_EQ(cop0[kCop0Epc], kTarget);
  EXPECT_EQ(cop0[kCop0Status], kOpen | kStatusExl);
  EXPECT_EQ(cop0[kCop0Cause], kLine);
}

TEST_F(Exceptions, EretUnderErlTakesNoInterrupt) {
  cop0[kCop0Status] = kOpen | kStatusExl | kStatusErl;
  cop0[kCop0Epc] = kTarget;
  cop0[kCop0Cause] = kLine;
  Op(kEret);
  EXPECT_EQ(cpu.pc, kTarget);
}

// --- Lines -------------------------------------------------------------------------------------

TEST_F(Exceptions, LineThatChangesCutsARunningSliceAndOthersDoNot) {
  cpu.budget = 100;
  cpu.cycles = 10;
  m->SetCauseLine(kCauseAta, true);
  EXPECT_EQ(cop0[kCop0Cause], kCauseAta);
  EXPECT_EQ(cpu.stopMark, 11u);
  EXPECT_EQ(cpu.cycles, 100u);
  cpu.cycles = 20;
  cpu.stopMark = 0;
  m->SetCauseLine(kCauseAta, true);
  EXPECT_EQ(cpu.stopMark, 0u);
  m->SetCauseLine(kCauseAta, false);
  EXPECT_EQ(cop0[kCop0Cause], 0u);
  EXPECT_EQ(cpu.stopMark, 21u) << "lowering a line cuts too";
}

}  // namespace

}  // namespace vx
