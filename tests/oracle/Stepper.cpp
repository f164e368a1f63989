#include "tests/oracle/Stepper.h"

#include <algorithm>
#include <cstring>

#include "mips3/Processor.h"
#include "tests/oracle/Report.h"

namespace vx::oracle {

namespace {

u32 PhysicalOf(const CVXMachine* m, u32 address) {
  const u32 page = m->pages[address >> 12].value;
  return (page & 15) != 0 ? (page & 0xFFFFF000) | (address & 0xFFF) : address;
}

// The ops with a delay slot, by encoding.
bool HasDelayOp(u32 word) {
  const u32 main = word >> 26;
  const u32 funct = word & 63;
  const u32 rs = word >> 21 & 31;
  const u32 rt = word >> 16 & 31;
  if (main == 0) return funct == 8 || funct == 9;
  if (main == 1) return (rt & 15) < 4;
  if (main == 17) return rs == 8;
  return (main >= 2 && main <= 7) || (main >= 20 && main <= 23);
}

// The ops that nothing in a block follows: exceptions, eret, and writes to Status, Cause, EntryHi.
bool StopsBlock(u32 word) {
  const u32 main = word >> 26;
  const u32 rd = word >> 11 & 31;
  if (main == 0) return (word & 63) == 12 || (word & 63) == 13;
  if (main != 16) return false;
  if ((word >> 25 & 1) == 0) return (word >> 21 & 31) == 4 && (rd == 10 || rd == 12 || rd == 13);
  const u32 function = word & 0x1FFFFFF;
  return function != 1 && function != 2 && function != 6 && function != 8;
}

}  // namespace

u32 CStepper::Fetch(u32 address) const {
  const u32 page = m_->pages[address >> 12].value;
  if ((page & 1) == 0) return 0;
  const u32 physical = (page & 0xFFFFF000) | (address & 0xFFC);
  u32 word = 0;
  if (physical < 0x80000) {
    std::memcpy(&word, m_->flatMem + physical, 4);
  } else if (physical - 0x8000000 < 0x800000) {
    std::memcpy(&word, m_->flatMem + 0x80000 + (physical - 0x8000000), 4);
  } else if (physical - 0x1FC00000 < 0x80000) {
    std::memcpy(&word, m_->flatMem + 0x880000 + (physical - 0x1FC00000), 4);
  }
  return word;
}

bool CStepper::StandsAlone(u32 physical) {
  const bool bNew = reached_.insert(physical).second;
  if (m_->cpu.branchTarget != kNoBranch) {
    if (bNew) blocksOfOne_.insert(physical);
    return true;
  }
  return bBlockStart_ && blocksOfOne_.contains(physical);
}

bool CStepper::Step() {
  SMIPS3Context& cpu = m_->cpu;
  const u32 address = cpu.pc;
  const bool bDelayOp = bAfterBranch_ || cpu.branchTarget != kNoBranch;
  const u32 word = Fetch(address);
  // Frames that do not follow each other in memory part blocks, as they stand before the op.
  const bool bPageEnd = (address & 0xFFC) == 0xFFC;
  const bool bParted = bPageEnd && PhysicalOf(m_, address + 4) != PhysicalOf(m_, address) + 4;
  const bool bAlone = StandsAlone(PhysicalOf(m_, address));
  if (cpu.branchTarget != kNoBranch) {
    cpu.pc = cpu.branchTarget;
    cpu.branchTarget = kNoBranch;
  } else {
    cpu.pc += 4;
  }
  trace_[steps_++ % kTraceSteps] = {address, word};
  ++counts_.ops[static_cast<u32>(DecodeOp(word))];
  ExecuteWord(m_, word);
  ++cpu.cycles;
  counts_.partedBlocks += bParted;
  const bool bEnds = bDelayOp || bAlone || bParted || StopsBlock(word);
  bAfterBranch_ = !bEnds && HasDelayOp(word);
  bBlockStart_ = bEnds;
  return bEnds;
}

u32 CStepper::RunSlice(u32 budget) {
  SMIPS3Context& cpu = m_->cpu;
  cpu.budget = budget;
  const bool bPending = cpu.branchTarget != kNoBranch;
  if (TakePendingInterrupt(m_)) {
    ++counts_.interrupts;
    counts_.drainedBranches += bPending;
  }
  while (cpu.cycles < budget) {
    while (!Step()) {
    }
  }
  const u32 elapsed = cpu.stopMark != 0 ? cpu.stopMark : cpu.cycles;
  counts_.cuts += cpu.stopMark != 0;
  cpu.cycles = cpu.stopMark = cpu.budget = 0;
  cpu.retired += elapsed;
  for (u32* mark : {&cpu.mulBusy, &cpu.fpMulBusy, &cpu.fpBusy}) {
    *mark = *mark > elapsed ? *mark - elapsed : 0;
  }
  return elapsed;
}

std::string CStepper::Trace() const {
  std::string text;
  for (u64 i = steps_ - std::min<u64>(steps_, kTraceSteps); i < steps_; ++i) {
    const SStep& step = trace_[i % kTraceSteps];
    text += Format("  %08x  %08x  %s\n", step.address, step.word, Describe(step.word).c_str());
  }
  return text;
}

}  // namespace vx::oracle
