// The run loop: slices, forming of blocks, and which way a block is executed. A word's record is
// written the first time it is reached, while it executes; after that its block replays from
// records or runs natively. Nothing compares a record with memory again before the next reset.
#include <algorithm>

#include "blocks/BlockTable.h"
#include "mips3/Breakpoints.h"
#include "mips3/Memory.h"
#include "mips3/OpTable.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

constexpr u32 kPageWordMask = 0xFFC;
constexpr u32 kPageWords = 0x400;

u32 RecordIndexOf(const CVXMachine* m, u32 address) { return FlatIndexOfVirtual(m, address) >> 2; }

void ExecuteCounted(CVXMachine* m, u32 word) {
  ExecuteWord(m, word);
  ++m->cpu.cycles;
}

// Takes the next address: a pending branch's target moves into pc, else pc goes on by an op.
u32 TakeAddress(CVXMachine* m) {
  const u32 address = m->cpu.pc;
  if (m->cpu.branchTarget != kNoBranch) {
    m->cpu.pc = m->cpu.branchTarget;
    m->cpu.branchTarget = kNoBranch;
  } else {
    m->cpu.pc += 4;
  }
  return address;
}

// --- Forming -----------------------------------------------------------------------------------

// Writes word, handler and native match of a record whose flags and link stand.
void WriteRecord(CVXMachine* m, u32 head, u32 index, u32 word) {
  SPredecodedOp& record = m->records[index];
  record.word = word;
  if ((record.flags & kOpDelayOp) == 0 && index << 2 < kFlatBootRom) {
    if (const NativeBlock native = LookUpBlock(m, word, index << 2); native != nullptr) {
      record.native = native;
      record.flags |= kOpNative;
    }
  }
  record.handler = ChooseHandler(word);
  record.dispatch = ChooseDispatch(word);
  m->TouchRecord(index);
  m->bPredecodeChanged = 1;
  if ((record.flags & kOpBreakMask) != 0) InstallBreakpoint(m, head, index);
}

// Writes or takes over the record of a word behind its block's head.
void AppendRecord(CVXMachine* m, u32 head, u32 index, u32 word, bool bTakeOver, bool bDelayOp) {
  SPredecodedOp& record = m->records[index];
  if (!bTakeOver) {
    record.link = head;
    record.flags = (record.flags & kOpBreakRequested) | kOpValid |
                   (HasDelaySlot(word) ? kOpDelaySlotOwner : 0u) | (bDelayOp ? kOpDelayOp : 0u);
    WriteRecord(m, head, index, word);
    return;
  }
  if ((record.flags & kOpHead) == 0) record.link = std::min(record.link, head);
  if ((record.flags & kOpBreakWrapped) != 0) MarkBlockCareful(m, head, index);
  if ((record.flags & kOpValid) != 0) return;
  // It counts as valid in this pass without being so. A record that a block's range covers can
  // always be replayed, and none keeps a wrapper of a breakpoint that is gone.
  if (record.handler == nullptr) record.word = word;
  record.handler = ChooseHandler(record.word);
  record.dispatch = ChooseDispatch(record.word);
  m->TouchRecord(index);
  if ((record.flags & kOpBreakRequested) != 0) InstallBreakpoint(m, head, index);
}

void FormBlock(CVXMachine* m, u32 headIndex, u32 headAddress, bool bSingle) {
  SPredecodedOp& head = m->records[headIndex];
  u32 word = FetchWord(m, headAddress);
  head.flags = (head.flags & kOpBreakRequested) | kOpValid | kOpHead | kOpHeadWritten |
               (HasDelaySlot(word) ? kOpDelaySlotOwner : 0u);
  head.link = 1;
  WriteRecord(m, headIndex, headIndex, word);
  // A delay op that is reached alone stays alone: a native block would run on behind it.
  if (bSingle) head.flags &= ~u32{kOpNative};
  m->longestBlock = std::max(m->longestBlock, 1u);

  if (bSingle || RecordIndexOf(m, m->cpu.pc) != headIndex + 1) {
    ExecuteCounted(m, word);
    return;
  }

  u32 index = headIndex + 1;
  bool bDelayOp = false;
  bool bTakeOver = false;  // once a valid record is met, the rest of the pass counts as valid
  u32 lastIndex = headIndex;
  while ((m->records[lastIndex].flags & kOpBreakRequested) == 0) {
    ExecuteCounted(m, word);
    const bool bOwnsDelay = HasDelaySlot(word);
    if (bDelayOp || EndsBlock(word)) {
      if (bOwnsDelay) head.flags |= kOpCareful;
      return;
    }
    if (bOwnsDelay) head.flags |= kOpHasBranch;
    if (IsMarkedLikely(word)) head.flags |= kOpHasLikely;
    bDelayOp = bOwnsDelay;

    // A block goes on into the next page only where that follows in memory too.
    const u32 nextAddress = headAddress + 4 * (index - headIndex);
    if (index >= kRecordCount) return;
    if ((nextAddress & kPageWordMask) == 0 && RecordIndexOf(m, nextAddress) != index) return;

    bTakeOver = bTakeOver || (m->records[index].flags & kOpValid) != 0;
    // Behind a likely branch that was not taken this is the op after the delay slot, and it goes
    // into the delay slot's record.
    word = FetchWord(m, TakeAddress(m));
    AppendRecord(m, headIndex, index, word, bTakeOver, bDelayOp);
    ++head.link;
    m->longestBlock = std::max(m->longestBlock, head.link);
    lastIndex = index++;
  }
  RunBreakpoint(m, word);
  ++m->cpu.cycles;
}

// --- Replay ------------------------------------------------------------------------------------

void ReplayCareful(CVXMachine* m, const SPredecodedOp* record, const SPredecodedOp* last,
                   bool bMarkedLikely) {
  for (; record < last; ++record) {
    record->handler(m, record->word);
    ++m->cpu.cycles;
    if (m->cpu.branchTarget != kNoBranch && record != last - 1) return;
    m->cpu.pc += 4;
  }
  if (bMarkedLikely && record == last && m->cpu.branchTarget == kNoBranch) return;
  if (m->cpu.branchTarget != kNoBranch) {
    m->cpu.pc = m->cpu.branchTarget;
    m->cpu.branchTarget = kNoBranch;
  }
  record->handler(m, record->word);
  ++m->cpu.cycles;
}

void ReplayBlock(CVXMachine* m, const SPredecodedOp* record) {
  const SPredecodedOp* const head =
      (record->flags & kOpHead) != 0 ? record : &m->records[record->link];
  // A record that its head no longer reaches runs alone.
  const SPredecodedOp* const last = std::max(record, head + head->link - 1);
  if ((head->flags & kOpCareful) != 0) [[unlikely]] {
    ReplayCareful(m, record, last, (head->flags & kOpHasLikely) != 0);
  } else {
    ReplayPlain(m, record, last);
  }
}

// The op at the address taken while a branch was pending is that branch's delay op: it runs alone,
// whatever block lies there, and the branch's target follows.
void RunDelayOp(CVXMachine* m, u32 index, u32 address) {
  const SPredecodedOp& record = m->records[index];
  if ((record.flags & kOpValid) == 0) {
    FormBlock(m, index, address, true);
    return;
  }
  record.handler(m, record.word);
  ++m->cpu.cycles;
}

// One step from an address in any state.
void RunNext(CVXMachine* m) {
  const bool bDelayOp = m->cpu.branchTarget != kNoBranch;
  const u32 address = TakeAddress(m);
  const u32 index = RecordIndexOf(m, address);
  if (index >= kRecordCount) [[unlikely]] {
    // Registers, the hole, and what is nowhere: such words have no record.
    ExecuteCounted(m, FetchWord(m, address));
    return;
  }
  const SPredecodedOp& record = m->records[index];
  if (bDelayOp) {
    RunDelayOp(m, index, address);
  } else if ((record.flags & kOpValid) == 0) {
    FormBlock(m, index, address, false);
  } else if ((record.flags & kOpNative) != 0) {
    record.native(m, m->cpu.pc);
  } else {
    ReplayBlock(m, &record);
  }
}

// The records of a page of code, from its value in the page map.
struct SCodePage {
  static constexpr u64 kNone = ~u64{0};  // no page's value
  u64 value = kNone;
  SPredecodedOp* records = nullptr;
};

SCodePage CodePageOf(CVXMachine* m, u32 value) {
  if ((value & kPageMappedMask) == 0) return {};
  const u32 first = FlatIndex(value & kPageBaseMask) >> 2;
  if (first > kRecordCount - kPageWords) return {};
  return {value, &m->records[first]};
}

// Runs blocks until the budget is spent. Where a page's records lie follows from its value alone,
// so that comparing values is enough to see that the code comes from the page before, or that the
// map has changed.
void RunBlocks(CVXMachine* m, u32 budget) {
  SCodePage page;
  u32 address = m->cpu.pc;
  while (m->cpu.cycles < budget) {
    const u32 value = m->pages[address >> 12].value;
    if (value != page.value || m->cpu.branchTarget != kNoBranch) [[unlikely]] {
      page = CodePageOf(m, value);
      if (page.records == nullptr || m->cpu.branchTarget != kNoBranch) {
        RunNext(m);
        address = m->cpu.pc;
        continue;
      }
    }
    const SPredecodedOp* const record = page.records + (address >> 2 & (kPageWords - 1));
    const u32 way = record->flags & (kOpValid | kOpNative);
    if (way == (kOpValid | kOpNative)) {
      m->cpu.pc = address + 4;
      address = record->native(m, address + 4);
      continue;
    }
    if (way == kOpValid) {
      m->cpu.pc = address + 4;
      ReplayBlock(m, record);
    } else {
      RunNext(m);
    }
    address = m->cpu.pc;
  }
}

void Renumber(u32& mark, u32 elapsed) { mark = std::max(mark, elapsed) - elapsed; }

}  // namespace

u32 RunProcessor(CVXMachine* m, u32 budget) {
  m->cpu.budget = budget;
  TakePendingInterrupt(m);
  RunBlocks(m, budget);

  const u32 elapsed = m->cpu.stopMark != 0 ? m->cpu.stopMark : m->cpu.cycles;
  m->cpu.cycles = 0;
  m->cpu.stopMark = 0;
  m->cpu.budget = 0;
  m->cpu.retired += elapsed;
  Renumber(m->cpu.mulBusy, elapsed);
  Renumber(m->cpu.fpMulBusy, elapsed);
  Renumber(m->cpu.fpBusy, elapsed);
  return elapsed;
}

}  // namespace vx
