// Count, the time that polling skips, the idle loop, and the timer.
#include <cstring>

#include "mips3/AddressMap.h"
#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u32 kCompareTimer = 0x8000;

class Timebase : public ProcessorTest {
 protected:
  void Op(u32 word, u32 pc = kCode + 4) {
    cpu.pc = pc;
    ExecuteWord(m.get(), word);
  }
  void Write(u32 index, u64 value) {
    gpr[kA0] = value;
    Op(Mtc0(kA0, index));
  }
};

// --- Count -------------------------------------------------------------------------------------

TEST_F(Timebase, CountRunsAtHalfTheCycleRate) {
  cpu.retired = 1000;
  cpu.cycles = 7;
  EXPECT_EQ(CurrentCount(m.get()), 503u);
}

TEST_F(Timebase, CountNeeds64BitArithmetic) {
  cpu.retired = 0x1FFFFFFFE;
  cpu.cycles = 4;
  EXPECT_EQ(CurrentCount(m.get()), 1u);
  cpu.retired = 0x100000000;
  EXPECT_EQ(CurrentCount(m.get()), 0x80000002u);
}

TEST_F(Timebase, CountSignExtendsOrNotByTheWidthOfTheRead) {
  cpu.retired = 0x100000000;
  Op(Mfc0(kA1, kCop0Count));
  Op(Dmfc0(kA2, kCop0Count));
  EXPECT_EQ(gpr[kA1], 0xFFFFFFFF80000000);
  EXPECT_EQ(gpr[kA2], 0x80000020u) << "the first read moved time on by 64 cycles";
}

TEST_F(Timebase, WrittenCountGoesOnFromItsLowWord) {
  for (const u64 value : {u64{0}, u64{100}, u64{0xFFFFFFFF}, u64{0x1234567880000001}}) {
    cpu.retired = 0x123456789;
    cpu.cycles = 55;
    Write(kCop0Count, value);
    EXPECT_EQ(cop0[kCop0Count], value);
    EXPECT_EQ(cpu.countBase, 55 + 0x123456789 - 2 * (value & 0xFFFFFFFF));
    EXPECT_EQ(CurrentCount(m.get()), static_cast<u32>(value));
    cpu.cycles += 20;
    EXPECT_EQ(CurrentCount(m.get()), static_cast<u32>(value) + 10);
  }
  EXPECT_TRUE(m->queue.IsEmpty()) << "the timer is not re-armed";
}

TEST_F(Timebase, PollingMovesTimeOnUpToOneShortOfTheSlice) {
  constexpr struct {
    u32 cycles, budget, expected;
  } kRows[] = {
      {10, 1000, 74},   {935, 1000, 999},  {936, 1000, 999},
      {999, 1000, 999}, {5000, 1000, 999},  // behind the budget it moves back
      {0, 1, 0},        {10, 0, 74},        // outside a slice nothing limits it
  };
  for (const u32 index : {kCop0Count, kCop0Cause}) {
    for (const auto& row : kRows) {
      cpu.cycles = row.cycles;
      cpu.budget = row.budget;
      Op(Mfc0(kA1, index));
      EXPECT_EQ(cpu.cycles, row.expected) << row.cycles << " of " << row.budget;
      EXPECT_EQ(gpr[kA1], index == kCop0Count ? row.cycles / 2 : 0) << "the value before the step";
    }
  }
}

TEST_F(Timebase, PollingLoopSpends67CyclesARound) {
  Place(kCode, {Mfc0(kT0, kCop0Count), Beq(kZero, kZero, -2), kNop});
  EXPECT_EQ(Run(67 * 5), 67u * 5);
  EXPECT_EQ(cpu.pc, kCode);
  EXPECT_EQ(gpr[kT0], 67u * 4 / 2);
}

// --- Idle loop ---------------------------------------------------------------------------------

class IdleLoop : public ProcessorTest {
 protected:
  // The loop waits with t0; its first op, the read of Cause, is at kCode.
  void PlaceLoop(u32 nop, u32 mask, u32 branch, u32 delay) {
    Place(kCode, {Mfc0(kT0, kCop0Cause), nop, mask, branch, delay, kNop, kNop, kNop});
  }
  bool IsIdle() { return IsIdleLoop(m.get(), kCode + 4, kT0); }

  static constexpr u32 kMask = Andi(kT0, kT0, 0x400);
  static constexpr u32 kLoop = Beq(kT0, kZero, -4);
};

TEST_F(IdleLoop, EndsTheSliceAtOnce) {
  PlaceLoop(kNop, kMask, kLoop, kNop);
  EXPECT_EQ(Run(100000), 100000u + 5) << "forming";
  EXPECT_EQ(cpu.pc, kCode);
  EXPECT_EQ(Run(100000), 100000u + 5) << "replay";
}

TEST_F(IdleLoop, GivesTheCauseThatItReads) {
  PlaceLoop(kNop, kMask, kLoop, kNop);
  cop0[kCop0Cause] = 0x8000;
  cpu.budget = 10;
  cpu.cycles = 20;
  cpu.pc = kCode + 4;
  ExecuteWord(m.get(), Mfc0(kT0, kCop0Cause));
  EXPECT_EQ(gpr[kT0], 0x8000u);
  EXPECT_EQ(cpu.cycles, 10u) << "may also move time back";
}

TEST_F(IdleLoop, IsKnownInItsVariants) {
  constexpr struct {
    u32 mask, branch, delay;
  } kRows[] = {
      {kMask, kLoop, kNop},
      {Andi(kT0, kT0, 0xFC00), kLoop, kNop},
      {kMask, Beq(kZero, kT0, -4), kNop},
      {kMask, Beq(kT0, kA0, -4), kNop},
      {kMask, kLoop, Addiu(kA0, kA0, 1)},
      {kMask, kLoop, Addiu(kA1, kA1, -1)},
      {kMask, kLoop, Daddiu(kA0, kA0, -1)},
      {kMask, kLoop, Xori(kA1, kA1, 1)},  // any op with these fields counts
  };
  for (const auto& row : kRows) {
    PlaceLoop(kNop, row.mask, row.branch, row.delay);
    EXPECT_TRUE(IsIdle()) << std::hex << row.mask << ' ' << row.branch << ' ' << row.delay;
  }
}

TEST_F(IdleLoop, IsNotKnownWhenAnyWordDiffers) {
  constexpr struct {
    const char* what;
    u32 nop, mask, branch, delay;
  } kRows[] = {
      {"the first word is no nop", Addiu(kZero, kZero, 0), kMask, kLoop, kNop},
      {"the mask is no andi", kNop, Ori(kT0, kT0, 0x400), kLoop, kNop},
      {"the mask reads another register", kNop, Andi(kT0, kT1, 0x400), kLoop, kNop},
      {"the mask writes another register", kNop, Andi(kT1, kT0, 0x400), kLoop, kNop},
      {"the branch is no beq", kNop, kMask, Bne(kT0, kZero, -4), kNop},
      {"the branch is likely", kNop, kMask, Beql(kT0, kZero, -4), kNop},
      {"the branch goes elsewhere", kNop, kMask, Beq(kT0, kZero, -5), kNop},
      {"the branch tests other registers", kNop, kMask, Beq(kT1, kZero, -4), kNop},
      {"the delay op counts by two", kNop, kMask, kLoop, Addiu(kA0, kA0, 2)},
      {"the delay op counts another register", kNop, kMask, kLoop, Addiu(kA2, kA2, 1)},
      {"the delay op moves", kNop, kMask, kLoop, Addiu(kA1, kA0, 1)},
  };
  for (const auto& row : kRows) {
    PlaceLoop(row.nop, row.mask, row.branch, row.delay);
    EXPECT_FALSE(IsIdle()) << row.what;
  }
}

TEST_F(IdleLoop, ThatIsNotKnownPollsOn) {
  PlaceLoop(kNop, kMask, Beq(kT0, kZero, -5), kNop);
  cpu.budget = 1000;
  cpu.pc = kCode + 4;
  ExecuteWord(m.get(), Mfc0(kT0, kCop0Cause));
  EXPECT_EQ(cpu.cycles, 64u);
}

TEST_F(IdleLoop, EndsWithTheGuestImage) {
  const u32 words[] = {kNop, kMask, kLoop, kNop};
  std::memcpy(m->flatMem + kFlatBytes - 32, words, sizeof(words));
  EXPECT_TRUE(IsIdleLoop(m.get(), 0x18FFFFE0, kT0));
  std::memcpy(m->flatMem + kFlatBytes - 16, words, sizeof(words));
  EXPECT_FALSE(IsIdleLoop(m.get(), 0x18FFFFF0, kT0));
  // The hole's wrapped offsets lie outside, also where 32 bytes on wrap round.
  EXPECT_FALSE(IsIdleLoop(m.get(), 0x00080000, kT0));
  EXPECT_FALSE(IsIdleLoop(m.get(), 0x07F7FFF0, kT0));
}

// --- Timer -------------------------------------------------------------------------------------

TEST_F(Timebase, CompareSchedulesTheTimerByTheCountsLeft) {
  cpu.budget = 1000;
  cpu.cycles = 100;  // 1 us, Count 50
  cop0[kCop0Cause] = kCompareTimer;
  Write(kCop0Compare, 0x1234567800000000 | 1050);
  EXPECT_EQ(cop0[kCop0Compare], 1050u) << "the low word alone";
  EXPECT_EQ(cop0[kCop0Cause], 0u);
  ASSERT_EQ(m->queue.Entries().size(), 1u);
  EXPECT_EQ(m->queue.Entries()[0].time, 21.0);
  EXPECT_EQ(m->queue.Entries()[0].id, m->timerEventId);
  EXPECT_EQ(cpu.cycles, 100u) << "writing takes no poll step";
}

TEST_F(Timebase, CompareFollowsTheClock) {
  cpu.budget = 1000;
  cpu.clockMHz = 200.0;
  Write(kCop0Compare, 1000);
  EXPECT_EQ(m->queue.Entries()[0].time, 10.0);
}

TEST_F(Timebase, SecondCompareReplacesTheFirst) {
  cpu.budget = 1000;
  Write(kCop0Compare, 1000);
  Write(kCop0Compare, 500);
  ASSERT_EQ(m->queue.Entries().size(), 1u);
  EXPECT_EQ(m->queue.Entries()[0].time, 10.0);
}

TEST_F(Timebase, CompareEqualToCountFiresWithoutDelay) {
  cpu.budget = 1000;
  cpu.cycles = 200;
  Write(kCop0Compare, 100);
  EXPECT_EQ(m->queue.Entries()[0].time, 2.0);
}

TEST_F(Timebase, CompareJustBehindCountGoesOnceRound) {
  cpu.budget = 1000;
  cpu.cycles = 200;
  Write(kCop0Compare, 99);
  EXPECT_DOUBLE_EQ(m->queue.Entries()[0].time, 2.0 + 4294967295.0 * 2 / 100.0);
}

TEST_F(Timebase, CompareThatIsSoonestCutsTheSlice) {
  m->queue.Schedule(1e6, CEventQueue::kIdleId, 0);
  PlaceWithRest(kCode, {kNop, Mtc0(kA0, kCop0Compare), Addiu(kT0, kZero, 1)});
  gpr[kA0] = 300;
  EXPECT_EQ(Run(5000), 2u);
  EXPECT_EQ(gpr[kT0], 1u) << "writing Compare ends no block";
}

TEST_F(Timebase, TimerRaisesItsLineOnceAndDoesNotRearm) {
  PlaceWithRest(kCode, {kNop});
  Write(kCop0Compare, 100);
  SetPc(kCode);
  while (!m->queue.IsEmpty()) m->queue.Advance();
  EXPECT_EQ(cop0[kCop0Cause], kCompareTimer);
  EXPECT_GE(CurrentCount(m.get()), 100u);
  EXPECT_LE(CurrentCount(m.get()), 102u);
}

TEST_F(Timebase, TimerInterruptIsTakenAtTheNextSlice) {
  PlaceWithRest(kCode, {kNop});
  PlaceWithRest(0x80000180, {Addiu(kT0, kT0, 1)});
  Write(kCop0Compare, 100);
  cop0[kCop0Status] = kCompareTimer | kStatusIe;
  SetPc(kCode);
  while (!m->queue.IsEmpty()) m->queue.Advance();
  EXPECT_EQ(gpr[kT0], 0u);
  RunBlock();
  EXPECT_EQ(gpr[kT0], 1u);
  EXPECT_EQ(cop0[kCop0Epc], kCode + 4);
}

}  // namespace

}  // namespace vx
