#include "tests/mips3/ReferenceStepper.h"

#include <algorithm>

#include "mips3/Memory.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

bool OwnsDelaySlot(u32 word) {
  const u32 main = word >> 26;
  if (main == 0) return (word & 63) == 8 || (word & 63) == 9;
  if (main == 1) return (word >> 16 & 0xC) == 0;
  if (main == 17) return (word >> 21 & 31) == 8;
  return (main >= 2 && main <= 7) || (main >= 20 && main <= 23);
}

bool EndsItsBlock(u32 word) {
  if (word >> 26 == 0) return (word & 63) == 12 || (word & 63) == 13;
  if (word >> 26 != 16) return false;
  const u32 rs = word >> 21 & 31;
  const u32 rd = word >> 11 & 31;
  return rs >= 16 || (rs == 4 && (rd == 10 || rd == 12 || rd == 13));
}

void RunOneBlock(CVXMachine* m) {
  bool bDelayOp = false;
  for (;;) {
    const u32 address = m->cpu.pc;
    m->cpu.pc += 4;
    if (m->cpu.branchTarget != kNoBranch) {
      m->cpu.pc = m->cpu.branchTarget;
      m->cpu.branchTarget = kNoBranch;
    }
    const u32 word = FetchWord(m, address);
    ExecuteWord(m, word);
    ++m->cpu.cycles;
    if (bDelayOp || EndsItsBlock(word)) return;
    bDelayOp = OwnsDelaySlot(word);
  }
}

}  // namespace

u32 RunReference(CVXMachine* m, u32 budget) {
  m->cpu.budget = budget;
  TakePendingInterrupt(m);
  while (m->cpu.cycles < budget) RunOneBlock(m);
  const u32 elapsed = m->cpu.stopMark != 0 ? m->cpu.stopMark : m->cpu.cycles;
  m->cpu.cycles = m->cpu.stopMark = m->cpu.budget = 0;
  m->cpu.retired += elapsed;
  for (u32* mark : {&m->cpu.mulBusy, &m->cpu.fpMulBusy, &m->cpu.fpBusy}) {
    *mark = *mark > elapsed ? *mark - elapsed : 0;
  }
  return elapsed;
}

}  // namespace vx
