#include "mips3/Breakpoints.h"

#include <algorithm>

#include "machine/HostAccess.h"
#include "mips3/Memory.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

// The handler of a record with a breakpoint.
void BreakpointWrapper(CVXMachine* m, u32 word) { RunBreakpoint(m, word); }

std::shared_ptr<CVXMachine::SMIPSBreakpointMapEntry>& EntryOf(CVXMachine* m, u32 flatOffset) {
  auto& entry = m->breakpointMap[flatOffset];
  if (entry == nullptr) entry = std::make_shared<CVXMachine::SMIPSBreakpointMapEntry>();
  return entry;
}

// Unmakes every block whose head's range covers the word, native or not, valid or not.
void ClearBlocksOver(CVXMachine* m, u32 index) {
  constexpr u32 kCleared = kOpValid | kOpBreakWrapped;
  m->records[index].flags &= ~kCleared;
  const u32 reach = std::min(index + 1, std::max(m->longestBlock, 1u));
  for (u32 back = 0; back < reach; ++back) {
    const u32 head = index - back;
    const SPredecodedOp& record = m->records[head];
    if ((record.flags & kOpHead) == 0 || record.link <= back) continue;
    const u32 end = std::min(head + record.link, kRecordCount);
    for (u32 i = head; i < end; ++i) m->records[i].flags &= ~kCleared;
  }
  m->bPredecodeChanged = 1;
}

// The words that a breakpoint at this offset touches; an unaligned offset touches two.
void ClearBlocksAt(CVXMachine* m, u32 flatOffset) {
  const u32 end = std::min((flatOffset + 7) >> 2, kRecordCount);
  for (u32 index = flatOffset >> 2; index < end; ++index) ClearBlocksOver(m, index);
}

}  // namespace

void SetBreakpoint(CVXMachine* m, u32 flatOffset, u32 callbackId) {
  const u32 index = flatOffset >> 2;
  if (index >= kRecordCount) return;
  m->TouchRecord(index);
  m->records[index].flags |= kOpBreakRequested;
  m->bPredecodeChanged = 1;
  std::vector<u32>& ids = EntryOf(m, flatOffset)->callbackIds;
  if (std::find(ids.begin(), ids.end(), callbackId) != ids.end()) return;
  ids.push_back(callbackId);
  ClearBlocksAt(m, flatOffset);
}

void ClearBreakpoint(CVXMachine* m, u32 flatOffset) {
  const u32 index = flatOffset >> 2;
  if (index >= kRecordCount) return;
  if (const auto found = m->breakpointMap.find(flatOffset); found != m->breakpointMap.end()) {
    if (found->second->callbackIds.size() > 1) {
      HostLog(ELogLevel::Warning,
              "Emu_ClearMIPSBreakpoint: Cleared an address (%08X) with more than 1 registered "
              "callback\n",
              flatOffset);
    }
    m->breakpointMap.erase(found);
  }
  m->records[index].flags &= ~u32{kOpBreakRequested};
  ClearBlocksAt(m, flatOffset);
}

void ClearAllBreakpoints(CVXMachine* m) {
  while (!m->breakpointMap.empty()) {
    const auto first = m->breakpointMap.begin();
    first->second->callbackIds.clear();
    ClearBreakpoint(m, first->first);
  }
}

void MarkBlockCareful(CVXMachine* m, u32 head, u32 index) {
  for (u32 i = head; i <= index; ++i) {
    u32& flags = m->records[i].flags;
    flags = (flags & ~u32{kOpNative}) | kOpCareful | kOpBreakWrapped;
  }
}

void InstallBreakpoint(CVXMachine* m, u32 head, u32 index) {
  // The test looks at the array's first record, whatever block is being written.
  if ((m->records[0].flags & kOpBreakWrapped) == 0) MarkBlockCareful(m, head, index);
  SPredecodedOp& record = m->records[index];
  EntryOf(m, index << 2)->underlying = record.handler;
  record.handler = BreakpointWrapper;
  record.dispatch = 0;
}

void RunBreakpoint(CVXMachine* m, u32 word) {
  // In the delay slot of a taken branch this is the word before the target.
  const u32 flatOffset = FlatIndexOfVirtual(m, m->cpu.pc - 4);
  const auto found = m->breakpointMap.find(flatOffset);
  if (found == m->breakpointMap.end()) return;
  // A callback may set and clear breakpoints, this one included.
  const std::shared_ptr<CVXMachine::SMIPSBreakpointMapEntry> entry = found->second;
  const size_t count = entry->callbackIds.size();
  bool bRun = count == 0;
  bool bSkip = false;
  for (size_t i = 0; i < std::min(count, entry->callbackIds.size()); ++i) {
    const bool bWants = HostInvokeMipsHook(m, entry->callbackIds[i], flatOffset, word);
    (bWants ? bRun : bSkip) = true;
  }
  if (bRun && bSkip) {
    HostLog(ELogLevel::Warning,
            "Overlapping breakpoints at %08X are inconsistent about whether underlying op should "
            "be invoked. Possibly conflicting scripts.\n");
  }
  if (!bRun) return;
  if (entry->underlying != nullptr) {
    entry->underlying(m, word);
  } else {
    ExecuteWord(m, word);  // set anew, and its record not yet built
  }
}

}  // namespace vx
