#include "mips3/Processor.h"

#include <cstring>

namespace vx {

namespace {

constexpr u32 kResetPc = 0xBFC00000;
constexpr u64 kResetStatus = 0x400004;
constexpr u64 kResetCompare = 0xFFFFFFFF;
constexpr u64 kResetPRId = 0x2000;
constexpr u64 kResetConfig = 0x264B0;

void OnCompare(void* context, u64, f64) {
  static_cast<CVXMachine*>(context)->SetCauseLine(kCauseTimer, true);
}

}  // namespace

void InitialiseProcessor(CVXMachine* m) {
  m->cpuQueue = &m->queue;
  m->timerEventId = m->queue.Register(OnCompare, m);
  std::memset(&m->cpu, 0, sizeof(m->cpu));
  m->cpu.clockMHz = kDefaultClockMHz;
}

void ResetProcessor(CVXMachine* m) {
  const f64 clockMHz = m->cpu.clockMHz;
  std::memset(&m->cpu, 0, sizeof(m->cpu));
  m->cpu.clockMHz = clockMHz;
  m->cpu.pc = kResetPc;
  m->cpu.branchTarget = kNoBranch;
  m->cpu.cop0[kCop0Status] = kResetStatus;
  m->cpu.cop0[kCop0Compare] = kResetCompare;
  m->cpu.cop0[kCop0PRId] = kResetPRId;
  m->cpu.cop0[kCop0Config] = kResetConfig;
  if (m->bFreshPages == 0) std::memset(m->pages, 0, sizeof(m->pages));
  ResetPageMap(m);
}

}  // namespace vx
