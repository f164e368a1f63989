// Long programs executed two ways, through the run loop and by the plain stepper, with the whole
// state compared after every slice.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <set>

#include "mips3/Processor.h"
#include "tests/oracle/LongProgram.h"
#include "tests/oracle/Options.h"
#include "tests/oracle/Random.h"
#include "tests/oracle/Report.h"
#include "tests/oracle/Stepper.h"

namespace vx::oracle {
namespace {

constexpr const char* kSeedVariable = "VX_ORACLE_PROGRAM";
constexpr u64 kStepsOfProgram = 6000;

struct SDeleter {
  void operator()(CVXMachine* machine) const { machine->Destruct(1); }
};
using MachinePtr = std::unique_ptr<CVXMachine, SDeleter>;

std::string ContextRows(const SMIPS3Context& a, const SMIPS3Context& b) {
  std::string text = "              run loop          stepper\n";
  const auto row = [&](const char* name, u32 index, u64 x, u64 y) {
    text +=
        Format("  %-8s%2u  %016llx  %016llx%s\n", name, index, static_cast<unsigned long long>(x),
               static_cast<unsigned long long>(y), x == y ? "" : "  <-- differ");
  };
  for (u32 i = 0; i < 32; ++i) row("r", i, a.gpr[i], b.gpr[i]);
  row("pc", 0, a.pc, b.pc);
  row("branch", 0, a.branchTarget, b.branchTarget);
  row("hi", 0, a.hi, b.hi);
  row("lo", 0, a.lo, b.lo);
  row("fpcond", 0, a.fpCond, b.fpCond);
  for (u32 i = 0; i < 32; ++i) row("cop0_", i, a.cop0[i], b.cop0[i]);
  for (u32 i = 0; i < 32; ++i) row("f", i, a.fpr[i], b.fpr[i]);
  row("base", 0, a.countBase, b.countBase);
  row("retired", 0, a.retired, b.retired);
  row("mulbusy", 0, a.mulBusy, b.mulBusy);
  row("fpmul", 0, a.fpMulBusy, b.fpMulBusy);
  row("fpbusy", 0, a.fpBusy, b.fpBusy);
  const bool bSameTlb = std::memcmp(a.tlb, b.tlb, sizeof(a.tlb)) == 0 &&
                        std::memcmp(a.mapSlots, b.mapSlots, sizeof(a.mapSlots)) == 0;
  return text + (bSameTlb ? "" : "  TLB or map slots differ\n");
}

class LongPrograms : public ::testing::Test {
 protected:
  LongPrograms() : loop_(new CVXMachine), stepped_(new CVXMachine) {}

  // Calls `run` for each seed of the test, or for the one asked for.
  template <typename TRun>
  void ForEachProgram(u64 firstSeed, u64 count, TRun run) {
    const std::optional<u64> single = NumberFrom(kSeedVariable);
    if (single) {
      firstSeed = *single;
      count = 1;
    }
    for (u64 seed = firstSeed; seed < firstSeed + count && !HasFailure(); ++seed) {
      Start(seed);
      run(seed);
      if (!HasFailure()) CompareMemory();
    }
    std::printf("%llu ops in %llu slices\n", static_cast<unsigned long long>(steps_),
                static_cast<unsigned long long>(slices_));
    if (!single && !HasFailure()) CheckMet();
  }

  // That the programs together have met every op and every way in and out of a block.
  void CheckMet() {
    for (u32 i = kFirstRow; i < kOpCount; ++i) {
      // Floating point functions are decoded one level deeper; likely branches that are not taken,
      // in which replay is known to depart, are no part of programs.
      if (kOps[i].table == EOpTable::Cop1Function) continue;
      const std::set<EOp> absent = {EOp::Bnel, EOp::Bgtzl, EOp::Bltzl, EOp::Bltzall};
      EXPECT_NE(met_.ops[i] != 0, absent.contains(static_cast<EOp>(i))) << kOps[i].name;
    }
    EXPECT_GT(met_.interrupts, 0u);
    EXPECT_GT(met_.partedBlocks, 0u);
    EXPECT_TRUE(!bWantsDrains_ || met_.drainedBranches > 0);
    EXPECT_TRUE(!bWantsCuts_ || met_.cuts > 0);
  }

  void Start(u64 seed) {
    seed_ = seed;
    const SLongProgram program = GenerateLongProgram(seed);
    for (CVXMachine* m : {loop_.get(), stepped_.get()}) {
      m->Reset();
      m->queue.Clear();
      m->state.mainTime = m->state.soundTime = 0.0;
      LoadLongProgram(m, program);
    }
    stepper_ = std::make_unique<CStepper>(stepped_.get());
  }

  // The state after a slice, all but what a program cannot have touched in it.
  void CompareSlice() {
    ++slices_;
    const auto same = [&](u32 physical, u32 bytes) {
      const u32 flat = FlatIndex(physical);
      return std::memcmp(loop_->flatMem + flat, stepped_->flatMem + flat, bytes) == 0;
    };
    const bool bSame = std::memcmp(&loop_->cpu, &stepped_->cpu, sizeof(loop_->cpu)) == 0 &&
                       loop_->state.openBus == stepped_->state.openBus &&
                       loop_->state.randState == stepped_->state.randState &&
                       loop_->state.mainTime == stepped_->state.mainTime &&
                       same(kProgramDataPhysical, kProgramDataBytes) &&
                       same(kProgramFramePhysical, kProgramFrameBytes);
    EXPECT_TRUE(bSame) << "the last ops:\n"
                       << stepper_->Trace() << ContextRows(loop_->cpu, stepped_->cpu) << Again();
  }

  void CompareMemory() {
    steps_ += stepper_->Steps();
    met_.Add(stepper_->Counts());
    EXPECT_EQ(std::memcmp(loop_->flatMem, stepped_->flatMem, kFlatBytes), 0) << Again();
    EXPECT_EQ(std::memcmp(loop_->pages, stepped_->pages, sizeof(loop_->pages)), 0) << Again();
  }

  std::string Again() const {
    return Format("to run it again: %s=%llu oracle_programs --gtest_filter='LongPrograms.%s'\n",
                  kSeedVariable, static_cast<unsigned long long>(seed_),
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
  }

  // Moves the main processor's time on and fires what the queue then holds.
  void PassTime(u32 elapsed, CRandom& random) {
    PassTime(loop_.get(), elapsed);
    PassTime(stepped_.get(), elapsed);
    // Device lines come and go between slices.
    if (!random.OneIn(4)) return;
    const u32 line = random.OneIn(2) ? kCauseVerticalBlank : kCauseAta;
    const bool bRaised = random.OneIn(4);
    loop_->SetCauseLine(line, bRaised);
    stepped_->SetCauseLine(line, bRaised);
  }
  static void PassTime(CVXMachine* m, u32 cycles) {
    m->state.mainTime += cycles / m->cpu.clockMHz;
    while (!m->queue.IsEmpty() && m->queue.Entries().back().time <= m->state.mainTime) {
      m->queue.Cancel(m->timerEventId);
      m->SetCauseLine(kCauseTimer, true);
    }
  }

  MachinePtr loop_, stepped_;
  std::unique_ptr<CStepper> stepper_;
  u64 seed_ = 0;
  u64 steps_ = 0;
  u64 slices_ = 0;
  SStepperCounts met_;
  bool bWantsDrains_ = false;
  bool bWantsCuts_ = false;
};

TEST_F(LongPrograms, EndEveryBlockAsTheStepperDoes) {
  constexpr u64 kFirstSeed = 1, kPrograms = 200;
  bWantsDrains_ = true;
  ForEachProgram(kFirstSeed, kPrograms, [&](u64 seed) {
    CRandom random(~seed);
    while (stepper_->Steps() < kStepsOfProgram && !HasFailure()) {
      const u32 elapsed = RunProcessor(loop_.get(), 1);
      ASSERT_EQ(elapsed, stepper_->RunSlice(1)) << stepper_->Trace() << Again();
      PassTime(elapsed, random);
      CompareSlice();
    }
  });
}

TEST_F(LongPrograms, EndSlicesOfAnyLengthAsTheStepperDoes) {
  constexpr u64 kFirstSeed = 1001, kPrograms = 200;
  constexpr u32 kLongestSlice = 400;
  ForEachProgram(kFirstSeed, kPrograms, [&](u64 seed) {
    CRandom random(~seed);
    while (stepper_->Steps() < kStepsOfProgram && !HasFailure()) {
      const u32 budget = 1 + random.Below(kLongestSlice);
      const u32 elapsed = RunProcessor(loop_.get(), budget);
      ASSERT_EQ(elapsed, stepper_->RunSlice(budget)) << stepper_->Trace() << Again();
      PassTime(elapsed, random);
      CompareSlice();
    }
  });
}

// --- On the timeline -----------------------------------------------------------------------------

// A machine on its event queue with a processor client of its own, and a line that an event raises
// and lowers.
class CTimelineRun {
 public:
  CTimelineRun(CVXMachine* m, CStepper* stepper) : m_(m), stepper_(stepper) {
    m_->queue.ReplaceClient(m_->clientIndex, RunTo, this);
    tickId_ = m_->queue.Register(OnTick, this);
    m_->queue.Schedule(kTickUs, tickId_, 0);
  }
  ~CTimelineRun() { m_->queue.Unregister(tickId_); }
  void Advance() { m_->queue.Advance(); }

 private:
  static constexpr f64 kTickUs = 3.17;

  static f64 RunTo(void* context, f64 target) {
    CTimelineRun& run = *static_cast<CTimelineRun*>(context);
    CVXMachine* const m = run.m_;
    if (target > m->state.mainTime) {
      const f64 cycles = std::ceil((target - m->state.mainTime) * m->cpu.clockMHz);
      const u32 budget = cycles < 1.0 ? 1 : static_cast<u32>(cycles);
      const u32 done =
          run.stepper_ != nullptr ? run.stepper_->RunSlice(budget) : RunProcessor(m, budget);
      m->state.mainTime += done / m->cpu.clockMHz;
    }
    return m->state.mainTime;
  }
  static void OnTick(void* context, u64 tick, f64 time) {
    CTimelineRun& run = *static_cast<CTimelineRun*>(context);
    run.m_->SetCauseLine(kCauseVerticalBlank, tick % 3 == 0);
    run.m_->queue.Schedule(time + kTickUs, run.tickId_, tick + 1);
  }

  CVXMachine* m_;
  CStepper* stepper_;
  u32 tickId_ = CEventQueue::kNoId;
};

TEST_F(LongPrograms, MeetEventsOfTheTimelineAsTheStepperDoes) {
  constexpr u64 kFirstSeed = 2001, kPrograms = 200;
  bWantsCuts_ = true;
  ForEachProgram(kFirstSeed, kPrograms, [&](u64) {
    CTimelineRun first(loop_.get(), nullptr);
    CTimelineRun second(stepped_.get(), stepper_.get());
    while (stepper_->Steps() < kStepsOfProgram && !HasFailure()) {
      first.Advance();
      second.Advance();
      CompareSlice();
    }
  });
}

}  // namespace
}  // namespace vx::oracle
