// COP0 as far as the board's guests need it: a time base, one interrupt path, a software TLB and
// three exception causes. Exceptions resolve a pending branch first, so there is no branch-delay
// bit and EPC never points at a branch.
#include <algorithm>

#include "machine/HostAccess.h"
#include "mips3/BranchOps.h"
#include "mips3/Memory.h"
#include "mips3/OpTable.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

constexpr u32 kVectorBoot = 0xBFC00380;
constexpr u32 kVectorRam = 0x80000180;
constexpr u64 kCauseEntryMask = 0x7FFFFF00;  // what exception entry keeps of Cause
constexpr u64 kConfigWritable = 7;
constexpr u32 kPollCycles = 64;  // time that polling Count or Cause skips
constexpr u32 kRandomTop = 47;
// More ops than any delay slot chain that ends; a chain of branches that never does is dropped.
constexpr u32 kMaxDrainedOps = 65536;

bool IsInterruptPending(const CVXMachine* m) {
  const u64 status = m->cpu.cop0[kCop0Status];
  return (m->cpu.cop0[kCop0Cause] & status & kInterruptMask) != 0 &&
         (status & kStatusEnableMask) == kStatusIe;
}

// Runs the delay op of a pending branch, straight from memory.
void DrainBranch(CVXMachine* m) {
  for (u32 ops = 0; m->cpu.branchTarget != kNoBranch; ++ops) {
    const u32 word = FetchWord(m, m->cpu.pc);
    m->cpu.pc = m->cpu.branchTarget;
    m->cpu.branchTarget = kNoBranch;
    if (ops == kMaxDrainedOps) return;
    ExecuteWord(m, word);
    ++m->cpu.cycles;
  }
}

void EnterVector(CVXMachine* m) {
  u64& status = m->cpu.cop0[kCop0Status];
  if ((status & kStatusExl) == 0) {
    status |= kStatusExl;
    DrainBranch(m);
    m->cpu.cop0[kCop0Epc] = m->cpu.pc;
  }
  m->cpu.pc = (m->cpu.cop0[kCop0Status] & kStatusBev) != 0 ? kVectorBoot : kVectorRam;
}

void SkipPollTime(CVXMachine* m) {
  m->cpu.cycles = std::min(m->cpu.cycles + kPollCycles, m->cpu.budget - 1);
}

u64 ReadRandom(const CVXMachine* m) {
  const u32 elapsed = static_cast<u32>(m->cpu.cycles - m->cpu.countBase + m->cpu.retired);
  const u32 wired = static_cast<u32>(m->cpu.cop0[kCop0Wired]) & 63;
  return std::min(kTlbEntryCount - wired + (elapsed & 31), kRandomTop);
}

void WriteCompare(CVXMachine* m, u64 value) {
  const u32 compare = static_cast<u32>(value);
  m->cpu.cop0[kCop0Cause] &= ~u64{kCauseTimer};
  m->cpu.cop0[kCop0Compare] = compare;
  const u32 ticks = compare - CurrentCount(m);
  const f64 delayUs = static_cast<f64>(u64{ticks} * 2) / m->cpu.clockMHz;
  m->cpuQueue->Cancel(m->timerEventId);
  m->cpuQueue->Schedule(m->cpuQueue->Now() + delayUs, m->timerEventId, 0);
}

void WriteCause(CVXMachine* m, u64 value) {
  u64& cause = m->cpu.cop0[kCop0Cause];
  cause = (value & ~kInterruptMask) | (cause & kInterruptMask);
  // Software interrupts enter at once, with no look at mask or enable, and stay set.
  if ((cause & kCauseSoftwareMask) != 0) TakeException(m, 0);
}

void WriteEntryHi(CVXMachine* m, u64 value) {
  const u64 old = m->cpu.cop0[kCop0EntryHi];
  m->cpu.cop0[kCop0EntryHi] = value;
  if (((old ^ value) & 0xFF) != 0) RemapAllTlb(m);
}

}  // namespace

bool TakePendingInterrupt(CVXMachine* m) {
  if (!IsInterruptPending(m)) return false;
  m->cpu.cop0[kCop0Cause] &= kCauseEntryMask;
  EnterVector(m);
  return true;
}

void TakeException(CVXMachine* m, u32 code) {
  u64& cause = m->cpu.cop0[kCop0Cause];
  cause = (cause & kCauseEntryMask) | code;
  EnterVector(m);
}

u32 CurrentCount(const CVXMachine* m) {
  return static_cast<u32>((u64{m->cpu.cycles} - m->cpu.countBase + m->cpu.retired) >> 1);
}

u64 ReadCop0(CVXMachine* m, u32 index, u32 target) {
  switch (index) {
    case kCop0Random:
      return ReadRandom(m);
    case kCop0Count: {
      const u32 count = CurrentCount(m);
      SkipPollTime(m);
      return count;
    }
    case kCop0Cause:
      if (IsIdleLoop(m, m->cpu.pc, target)) {
        m->cpu.cycles = m->cpu.budget;
      } else {
        SkipPollTime(m);
      }
      return m->cpu.cop0[kCop0Cause];
    default:
      return m->cpu.cop0[index & 31];
  }
}

void WriteCop0(CVXMachine* m, u32 index, u64 value) {
  u64* const cop0 = m->cpu.cop0;
  switch (index & 31) {
    case kCop0Count:
      cop0[kCop0Count] = value;
      m->cpu.countBase = m->cpu.cycles + m->cpu.retired - 2 * u64{static_cast<u32>(value)};
      break;
    case kCop0EntryHi:
      WriteEntryHi(m, value);
      break;
    case kCop0Compare:
      WriteCompare(m, value);
      break;
    case kCop0Status:
      cop0[kCop0Status] = value;
      TakePendingInterrupt(m);
      break;
    case kCop0Cause:
      WriteCause(m, value);
      break;
    case kCop0PRId:
      break;
    case kCop0Config:
      cop0[kCop0Config] = (cop0[kCop0Config] & ~kConfigWritable) | (value & kConfigWritable);
      break;
    default:
      cop0[index & 31] = value;
      break;
  }
}

void WriteTlbIndexed(CVXMachine* m) {
  const u32 index = m->cpu.cop0[kCop0Index] & 63;
  if (index >= kTlbEntryCount) return;
  m->cpu.tlb[index] = {m->cpu.cop0[kCop0PageMask],
                       m->cpu.cop0[kCop0EntryHi],
                       {m->cpu.cop0[kCop0EntryLo0], m->cpu.cop0[kCop0EntryLo1]}};
  MapTlbEntry(m, index);
}

void ReturnFromException(CVXMachine* m) {
  m->cpu.pc = static_cast<u32>(m->cpu.cop0[kCop0Epc]);
  m->cpu.cop0[kCop0Status] &= ~u64{kStatusExl};
  m->cpu.llFlag = 0;
  TakePendingInterrupt(m);
}

void ExecuteCop0Function(CVXMachine* m, u32 word) {
  switch (DecodeOp(word)) {
    case EOp::Tlbr:
      HostLog(ELogLevel::Error, "tlbr unimplemented\n");
      break;
    case EOp::Tlbwi:
      WriteTlbIndexed(m);
      break;
    case EOp::Tlbwr:
      HostLog(ELogLevel::Error, "tlbwr unimplemented\n");
      break;
    case EOp::Tlbp:
      HostLog(ELogLevel::Error, "tlbp unimplemented\n");
      break;
    case EOp::Eret:
      ReturnFromException(m);
      break;
    default:
      TakeException(m, kExceptionUnknownCop0);
      break;
  }
}

bool IsIdleLoop(const CVXMachine* m, u32 pc, u32 reg) {
  constexpr u32 kLoopBytes = 32;
  const u64 offset = FlatIndexOfVirtual(m, pc);
  if (offset + kLoopBytes > kFlatBytes) return false;
  const auto wordAt = [&](u32 at) { return LoadFlat<u32>(m, static_cast<u32>(offset) + at); };

  const u32 mask = wordAt(4);
  const u32 branch = wordAt(8);
  const u32 delay = wordAt(12);
  const bool bNop = wordAt(0) == 0;
  const bool bMasks = MainCode(mask) == static_cast<u32>(OpInfo(EOp::Andi).code) &&
                      Rs(mask) == reg && Rt(mask) == reg;
  const bool bLoops = MainCode(branch) == OpInfo(EOp::Beq).code &&
                      UnsignedImmediate(branch) == 0xFFFC &&
                      (Rs(branch) == reg || Rt(branch) == reg);
  const i32 step = SignedImmediate(delay);
  const bool bCounts =
      (Rs(delay) == 4 || Rs(delay) == 5) && Rt(delay) == Rs(delay) && (step == 1 || step == -1);
  return bNop && bMasks && bLoops && (delay == 0 || bCounts);
}

}  // namespace vx
