// Forming of blocks: what is written to the records, where a block ends, and what later runs make
// of it.
#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u32 kUser = 0x01000000;  // two mapped pages whose frames do not follow each other
constexpr u32 kUserNext = 0x01001000;
constexpr u32 kTarget = 0x80002000;
constexpr u32 kTarget2 = 0x80003000;

constexpr u32 Count(u32 reg) { return Addiu(reg, reg, 1); }

class Forming : public ProcessorTest {
 protected:
  void MapTwoPages() {
    MapPage(kUser, 0x5000, kPageMappedMask);
    MapPage(kUserNext, 0x9000, kPageMappedMask);
  }
  u32 FlagsAt(u32 address) { return RecordAt(address).flags; }
  u32 LinkAt(u32 address) { return RecordAt(address).link; }
};

TEST_F(Forming, WritesOneRecordAWordWhileItExecutes) {
  PlaceWithRest(kCode, {Count(kT0), Count(kT1)});
  EXPECT_EQ(RunBlock(), 4u);
  EXPECT_EQ(FlagsAt(kCode), 0x047u);
  EXPECT_EQ(LinkAt(kCode), 4u);
  EXPECT_EQ(FlagsAt(kCode + 4), 0x001u);
  EXPECT_EQ(FlagsAt(kCode + 8), 0x011u);
  EXPECT_EQ(FlagsAt(kCode + 12), 0x101u);
  EXPECT_EQ(FlagsAt(kCode + 16), 0u);
  for (u32 i = 0; i < 4; ++i) {
    EXPECT_EQ(RecordAt(kCode + 4 * i).word, Peek32(kCode + 4 * i));
    EXPECT_NE(RecordAt(kCode + 4 * i).handler, nullptr);
    EXPECT_EQ(LinkAt(kCode + 4 * i), i == 0 ? 4 : RecordIndexAt(kCode));
  }
  EXPECT_EQ(gpr[kT0] + gpr[kT1], 2u);
  EXPECT_EQ(cpu.pc, kCode + 8);
}

TEST_F(Forming, MarksAHeadThatIsABranch) {
  Place(kCode, {kBranchToSelf, kNop});
  RunBlock();
  EXPECT_EQ(FlagsAt(kCode), 0x057u);
  EXPECT_EQ(LinkAt(kCode), 2u);
}

TEST_F(Forming, EndsBehindEachOpThatCanMoveThePc) {
  PlaceWithRest(0x80000180, {kNop});
  for (const u32 word : {kSyscall, kBreak, kEret, Mtc0(kA0, kCop0Status), Mtc0(kA0, kCop0Cause),
                         Mtc0(kA0, kCop0EntryHi), Cop0FunctionOp(3)}) {
    SCOPED_TRACE(::testing::Message() << std::hex << word);
    nextCode += 0x40;
    cop0[kCop0Status] = 0;
    PlaceWithRest(nextCode, {kNop, word, Count(kT0)});
    EXPECT_EQ(RunBlock(), 2u);
    EXPECT_EQ(LinkAt(nextCode), 2u);
    EXPECT_EQ(FlagsAt(nextCode), 0x043u);
    EXPECT_EQ(FlagsAt(nextCode + 8), 0u);
    EXPECT_EQ(gpr[kT0], 0u);
  }
}

TEST_F(Forming, GoesOnBehindOtherCop0Ops) {
  for (const u32 word : {Mtc0(kA0, kCop0Compare), Mtc0(kA0, kCop0Epc), Mfc0(kA0, kCop0Status),
                         kTlbwi, 0x40A06000u /* no 64-bit move to Status */}) {
    SCOPED_TRACE(::testing::Message() << std::hex << word);
    nextCode += 0x40;
    PlaceWithRest(nextCode, {kNop, word, kNop});
    RunBlock();
    EXPECT_EQ(LinkAt(nextCode), 5u);
  }
}

TEST_F(Forming, MarksTheHeadOfABlockWithARegisterImmediateLikelyBranch) {
  Place(kTarget, {kBranchToSelf, kNop});
  for (const u32 code : {2u, 3u, 18u, 19u}) {
    nextCode += 0x40;
    gpr[kA0] = code & 1 ? 0 : ~u64{0};
    Place(nextCode, {kNop, RegImmOp(code, kA0, 8), kNop});
    RunBlock();
    EXPECT_EQ(FlagsAt(nextCode), 0x04Fu) << code;
    EXPECT_EQ(FlagsAt(nextCode + 8), 0x101u) << code;
  }
  for (const u32 word : {Beql(kZero, kZero, 8), Blezl(kZero, 8)}) {
    nextCode += 0x40;
    Place(nextCode, {kNop, word, kNop});
    RunBlock();
    EXPECT_EQ(FlagsAt(nextCode), 0x047u) << std::hex << word;
  }
}

// The second branch stands in the delay slot of the first: one op runs at the first target.
TEST_F(Forming, BranchInADelaySlotMakesItsBlockCareful) {
  PlaceWithRest(kTarget, {Count(kT0), Count(kT1)});
  PlaceWithRest(kTarget2, {Count(kT2)});
  Place(kCode, {kNop, J(kTarget), J(kTarget2), Count(kT3)});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    gpr[kT0] = gpr[kT1] = gpr[kT2] = gpr[kT3] = 0;
    EXPECT_EQ(RunBlock(), 3u);
    EXPECT_EQ(FlagsAt(kCode), 0x067u);
    EXPECT_EQ(cpu.pc, kTarget);
    EXPECT_EQ(cpu.branchTarget, kTarget2);
    EXPECT_EQ(RunBlock(), 1u);
    EXPECT_EQ(cpu.pc, kTarget2);
    RunBlock();
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(gpr[kT1], 0u);
    EXPECT_EQ(gpr[kT2], 1u);
    EXPECT_EQ(gpr[kT3], 0u);
  }
}

// --- Pages and the array's end -----------------------------------------------------------------

TEST_F(Forming, GoesOnIntoAPageThatFollowsInMemory) {
  PlaceWithRest(0x80001FF8, {Count(kT0), Count(kT0), Count(kT0)});
  EXPECT_EQ(RunBlock(), 5u);
  EXPECT_EQ(LinkAt(0x80001FF8), 5u);
}

TEST_F(Forming, EndsAtAPageThatDoesNotFollowInMemory) {
  MapTwoPages();
  PlaceWithRest(kUserNext, {Count(kT1)});
  Place(kUserNext - 8, {Count(kT0), Count(kT0)});
  EXPECT_EQ(RunBlock(), 2u);
  EXPECT_EQ(LinkAt(kUserNext - 8), 2u);
  EXPECT_EQ(cpu.pc, kUserNext);
  EXPECT_EQ(RunBlock(), 3u);
  EXPECT_EQ(gpr[kT0], 2u);
  EXPECT_EQ(gpr[kT1], 1u);
  EXPECT_EQ(FlagsAt(kUserNext) & 0x42, 0x42u);
  EXPECT_EQ(m->records[0x6000 >> 2].flags, 0u) << "what follows in memory is not touched";
}

TEST_F(Forming, OpAtSuchAPagesEndIsABlockOfItsOwn) {
  MapTwoPages();
  PlaceWithRest(kUserNext, {Count(kT1)});
  Place(kUserNext - 4, {Count(kT0)});
  EXPECT_EQ(RunBlock(), 1u);
  EXPECT_EQ(LinkAt(kUserNext - 4), 1u);
  SetPc(kUserNext - 4);
  EXPECT_EQ(RunBlock(), 1u);
  EXPECT_EQ(gpr[kT0], 2u);
}

TEST_F(Forming, BranchAtSuchAPagesEndRunsItsDelayOpFromTheNextPage) {
  MapTwoPages();
  Place(kUserNext, {Count(kT1), Count(kT2)});
  PlaceWithRest(kTarget, {Count(kT0)});
  Place(kUserNext - 8, {kNop, Jr(kA0)});
  gpr[kA0] = Extended(kTarget);
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kUserNext - 8);
    gpr[kT0] = gpr[kT1] = gpr[kT2] = 0;
    EXPECT_EQ(RunBlock(), 2u);
    EXPECT_EQ(cpu.pc, kUserNext);
    EXPECT_EQ(cpu.branchTarget, kTarget);
    EXPECT_EQ(RunBlock(), 1u);
    EXPECT_EQ(cpu.pc, kTarget);
    EXPECT_EQ(LinkAt(kUserNext), 1u);
    RunBlock();
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(gpr[kT1], 1u);
    EXPECT_EQ(gpr[kT2], 0u);
  }
}

TEST_F(Forming, MisalignedPcKeepsItsLowBitsAndRunsTheWordsBelow) {
  PlaceWithRest(kCode, {Count(kT0), Count(kT0)});
  SetPc(kCode + 2);
  EXPECT_EQ(RunBlock(), 4u);
  EXPECT_EQ(gpr[kT0], 2u);
  EXPECT_EQ(cpu.pc, kCode + 8 + 2);
  EXPECT_EQ(LinkAt(kCode), 4u);
}

TEST_F(Forming, MisalignedBlockEndsAtItsPageToo) {
  MapTwoPages();
  PlaceWithRest(kUserNext, {Count(kT1)});
  Place(kUserNext - 8, {Count(kT0), Count(kT0)});
  SetPc(kUserNext - 8 + 2);
  EXPECT_EQ(RunBlock(), 2u);
  EXPECT_EQ(LinkAt(kUserNext - 8), 2u);
}

TEST_F(Forming, EndsAtTheEndOfMainRam) {
  SetPc(0x887FFF00);
  EXPECT_EQ(RunBlock(), 64u);
  EXPECT_EQ(cpu.pc, 0x88800000u);
}

TEST_F(Forming, EndsAtTheEndOfTheBootRomWithTheLastRecord) {
  Place(0xBFC7FFF8, {Count(kT0), Count(kT0)});
  EXPECT_EQ(RunBlock(), 2u);
  EXPECT_EQ(LinkAt(0xBFC7FFF8), 2u);
  SetPc(0xBFC7FFFC);
  EXPECT_EQ(RunBlock(), 1u);
  EXPECT_EQ(cpu.pc, 0xBFC80000u);
  m->state.openBus = Count(kT1);
  EXPECT_EQ(Run(3), 3u) << "behind it the bus is open";
  EXPECT_EQ(gpr[kT1], 3u);
}

// --- Words without a record --------------------------------------------------------------------

TEST_F(Forming, WordFromNowhereRunsWithoutARecord) {
  m->state.openBus = Count(kT0);
  SetPc(0xB8000000);
  EXPECT_EQ(Run(5), 5u);
  EXPECT_EQ(gpr[kT0], 5u);
  EXPECT_EQ(cpu.pc, 0xB8000014u);
}

TEST_F(Forming, WordFromARegisterIsReadThere) {
  m->ioRead[0x200].read32 = [](CVXMachine*, u32 address) -> u64 {
    return address == 0x10002004 ? Jr(kA0) : Count(kT0);
  };
  PlaceWithRest(kTarget, {kNop});
  gpr[kA0] = Extended(kTarget);
  SetPc(0xB0002000);
  EXPECT_EQ(Run(3), 3u);
  EXPECT_EQ(gpr[kT0], 2u);
  EXPECT_EQ(cpu.pc, kTarget);
}

TEST_F(Forming, WordFromTheHoleIsANop) {
  SetPc(0x84000000);
  EXPECT_EQ(Run(5), 5u);
  EXPECT_EQ(cpu.pc, 0x84000014u);
}

// An unmapped address is its own physical one for the records, but its words read as 0.
TEST_F(Forming, UnmappedPageRunsNopsAndRecordsThem) {
  PlaceWithRest(kTarget, {Count(kT0)});
  SetPc(0x2000);
  EXPECT_EQ(RunBlock(), (0x80000u - 0x2000) / 4);
  EXPECT_EQ(gpr[kT0], 0u);
  EXPECT_EQ(RecordAt(kTarget).word, kNop);
  EXPECT_EQ(cpu.pc, 0x80000u);
}

// --- Records that are there already ------------------------------------------------------------

TEST_F(Forming, TakesOverTheRecordsOfABlockThatItRunsInto) {
  PlaceWithRest(kCode, {Count(kT0), Count(kT0), Count(kT0)});
  SetPc(kCode + 8);
  RunBlock();
  EXPECT_EQ(LinkAt(kCode + 8), 3u);
  SetPc(kCode);
  RunBlock();
  EXPECT_EQ(LinkAt(kCode), 5u);
  EXPECT_EQ(FlagsAt(kCode + 8), 0x047u) << "the inner head stays one";
  EXPECT_EQ(LinkAt(kCode + 8), 3u);
  EXPECT_EQ(LinkAt(kCode + 12), RecordIndexAt(kCode));
  EXPECT_EQ(LinkAt(kCode + 16), RecordIndexAt(kCode));
}

TEST_F(Forming, RunsWhatMemoryHoldsNowAlsoWhereARecordStands) {
  PlaceWithRest(kCode, {kNop, Count(kT0)});
  SetPc(kCode + 4);
  RunBlock();
  Poke32(kCode + 4, Count(kT1));
  SetPc(kCode);
  RunBlock();
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_EQ(gpr[kT1], 1u);
  SetPc(kCode);
  RunBlock();
  EXPECT_EQ(gpr[kT0], 2u) << "replay runs the record";
  EXPECT_EQ(gpr[kT1], 1u);
}

TEST_F(Forming, LeavesNoRecordInABlockWithoutAHandler) {
  // A block of one op, behind which nothing was recorded, gives way to an op that goes on.
  PlaceWithRest(0x80000180, {kNop});
  PlaceWithRest(kCode, {kNop, kBreak, Count(kT0)});
  SetPc(kCode + 4);
  RunBlock();
  Poke32(kCode + 4, kNop);
  SetPc(kCode);
  cop0[kCop0Status] = 0;
  RunBlock();
  EXPECT_EQ(LinkAt(kCode), 5u);
  for (u32 i = 0; i < 5; ++i) EXPECT_NE(RecordAt(kCode + 4 * i).handler, nullptr) << i;
  EXPECT_EQ(RecordAt(kCode + 8).word, Count(kT0));
  EXPECT_EQ(FlagsAt(kCode + 8), 0u);
}

TEST_F(Forming, IsNotRepeatedWhenABlockIsEnteredInItsMiddle) {
  PlaceWithRest(kCode, {Count(kT0), Count(kT1), Count(kT2)});
  RunBlock();
  SetPc(kCode + 4);
  EXPECT_EQ(RunBlock(), 4u);
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_EQ(gpr[kT1], 2u);
  EXPECT_EQ(gpr[kT2], 2u);
  EXPECT_EQ(FlagsAt(kCode + 4), 0x001u);
  // Entry at the delay op runs that op alone.
  SetPc(kCode + 16);
  EXPECT_EQ(RunBlock(), 1u);
  EXPECT_EQ(cpu.pc, kCode + 20);
}

TEST_F(Forming, NewCodeOverAnExecutedWordShowsOnlyAfterAReset) {
  PlaceWithRest(kCode, {Count(kT0)});
  RunBlock();
  PlaceWithRest(kCode, {Count(kT1)});
  RunBlock();
  EXPECT_EQ(gpr[kT0], 2u);
  EXPECT_EQ(gpr[kT1], 0u);
  // Nor does a store by the guest itself show.
  gpr[kA0] = Extended(kCode);
  gpr[kA1] = Count(kT2);
  PlaceWithRest(kTarget, {Sw(kA1, 0, kA0)});
  RunBlock();
  SetPc(kCode);
  RunBlock();
  EXPECT_EQ(gpr[kT0], 3u);
  m->Reset();
  m->queue.Clear();
  PlaceWithRest(kCode, {Count(kT1)});
  RunBlock();
  EXPECT_EQ(gpr[kT0], 0u);
  EXPECT_EQ(gpr[kT1], 1u);
}

TEST_F(Forming, ResetForgetsEveryBlock) {
  PlaceWithRest(kCode, {kNop});
  RunBlock();
  PlaceWithRest(kMainData, {kNop});
  RunBlock();
  PlaceWithRest(kRomCode, {kNop});
  RunBlock();
  m->Reset();
  for (const u32 address : {kCode, kMainData, kRomCode}) {
    EXPECT_EQ(RecordAt(address).flags, 0u);
    EXPECT_EQ(RecordAt(address).handler, nullptr);
  }
}

}  // namespace

}  // namespace vx
