// Plain replay of a block's records: the interpreter's hot loop. Ops that the table marks for it
// run in place by a dispatch code in their record; all others go through their handler.
//
// pc and the cycle count stand in memory as of record `first`; what runs in place and cannot be
// seen by anything that looks at them is added when someone does, and at the end.
#include "mips3/BranchOps.h"
#include "mips3/MemoryOps.h"
#include "mips3/OpTable.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

constexpr u32 kDispatchHandler = 0;

}  // namespace

u32 ChooseDispatch(u32 word) {
  const EOp op = DecodeOp(word);
  return OpInfo(op).engine == EOpEngine::Call ? kDispatchHandler : static_cast<u32>(op);
}

void ReplayPlain(CVXMachine* m, const SPredecodedOp* record, const SPredecodedOp* last) {
  static const void* const kLabels[kOpCount] = {
      &&RunHandler,
      &&RunHandler,
#define VX_OP(identifier, table, code, name, form, traits, engine, executes) &&Run##identifier,
#include "mips3/OpRows.inc"
#undef VX_OP
  };

  const SPredecodedOp* first = record;
  u32 firstPc = m->cpu.pc;
  const auto uncharged = [&] { return static_cast<u32>(record - first); };
  const auto charge = [&] {
    m->cpu.cycles += uncharged();
    firstPc += 4 * uncharged();
    first = record;
  };

  if (record == last) goto RunLast;
  goto* kLabels[record->dispatch];

#define VX_NEXT()                                       \
  if (++record < last) goto* kLabels[record->dispatch]; \
  if (record == last) goto RunLast;                     \
  goto Done

#define VX_RUN_Plain(executes) Exec##executes(m, record->word)
#define VX_RUN_Timed(executes) \
  charge();                    \
  Exec##executes(m, record->word)
#define VX_RUN_Memory(executes) Exec##executes(m, record->word, uncharged())
#define VX_RUN_Branch(executes)          \
  m->cpu.pc = firstPc + 4 * uncharged(); \
  Exec##executes(m, record->word);       \
  firstPc = m->cpu.pc - 4 * uncharged()
#define VX_RUN_Call(executes) goto RunHandler

#define VX_OP(identifier, table, code, name, form, traits, engine, executes) \
  Run##identifier : VX_RUN_##engine(executes);                               \
  VX_NEXT();
#include "mips3/OpRows.inc"
#undef VX_OP

RunHandler:
  charge();
  m->cpu.pc = firstPc;
  record->handler(m, record->word);
  firstPc = m->cpu.pc;
  VX_NEXT();

RunLast:
  charge();
  if (m->cpu.branchTarget != kNoBranch) {
    firstPc = m->cpu.branchTarget;
    m->cpu.branchTarget = kNoBranch;
  }
  m->cpu.pc = firstPc;
  goto* kLabels[record->dispatch];

Done:
  m->cpu.cycles += 1;

#undef VX_RUN_Call
#undef VX_RUN_Branch
#undef VX_RUN_Memory
#undef VX_RUN_Timed
#undef VX_RUN_Plain
#undef VX_NEXT
}

}  // namespace vx
