// Building the page map from the TLB and the unmapped segments. A page stays mapped until the last
// slot that starts on it has let go.
#include <algorithm>
#include <cstring>

#include "mips3/Processor.h"

namespace vx {

namespace {

constexpr u32 kKsegFirstPage = 0x80000;  // kseg0 and kseg1, which the TLB does not reach
constexpr u32 kKsegEndPage = 0xC0000;
constexpr u32 kKsegPages = 0x20000;  // of each of the two
constexpr u64 kEntryGlobal = 1, kEntryValid = 2, kEntryDirty = 4;
constexpr u64 kAsidMask = 0xFF;

// The pages of a range that lie in the map.
u32 ClippedCount(u32 firstPage, u32 count) {
  return firstPage < kPageCount ? std::min(count, kPageCount - firstPage) : 0;
}

void ReleaseSlot(CVXMachine* m, u32 slotIndex) {
  const SMapSlot& slot = m->cpu.mapSlots[slotIndex];
  if (slot.firstPagePlusOne == 0) return;
  const u32 first = slot.firstPagePlusOne - 1;
  if (first >= kPageCount) return;
  SPageEntry& page = m->pages[first];
  if (page.references == 0 || --page.references != 0) return;
  const u32 count = ClippedCount(first, slot.pageCount);
  for (u32 i = 0; i < count; ++i) m->pages[first + i].value = 0;
}

// An emptied slot counts as one page at page 0 that is not written.
void EmptySlot(CVXMachine* m, u32 slotIndex) {
  ReleaseSlot(m, slotIndex);
  m->cpu.mapSlots[slotIndex] = {1, 0};
  ++m->pages[0].references;
}

void FillSlot(CVXMachine* m, u32 slotIndex, u32 firstPage, u32 count, u32 base, u32 flags) {
  ReleaseSlot(m, slotIndex);
  m->cpu.mapSlots[slotIndex] = {firstPage + 1, count};
  ++m->pages[firstPage].references;
  const u32 clipped = ClippedCount(firstPage, count);
  for (u32 i = 0; i < clipped; ++i) m->pages[firstPage + i].value = (base + (i << 12)) | flags;
  if (firstPage >= kFirstMapTrackedPage) {
    const u32 last = std::min(firstPage + count - 1, kPageCount - 1);
    m->cpu.mapLow = std::min(m->cpu.mapLow, firstPage);
    m->cpu.mapHigh = std::max(m->cpu.mapHigh, last);
  }
}

void MapHalf(CVXMachine* m, u32 slotIndex, u32 page, u32 count, u64 lo) {
  if (page + count > kKsegFirstPage && page < kKsegEndPage) {
    EmptySlot(m, slotIndex);
    return;
  }
  u32 flags = 0;
  if ((lo & kEntryValid) != 0) {
    flags = kPageRead | kPageFetch | kPageValid;
    if ((lo & kEntryDirty) != 0) flags |= kPageWrite;
    // User pages are writable whatever the entry says; their own permissions move up, unread.
    if (page < kKsegFirstPage) flags = flags << 4 | kPageMappedMask;
  }
  const u32 base = static_cast<u32>((lo >> 6) << 12);
  FillSlot(m, slotIndex, page & (kPageCount - 1), count, base, flags | kPageInstalled);
}

}  // namespace

void MapTlbEntry(CVXMachine* m, u32 index) {
  const STlbEntry& entry = m->cpu.tlb[index];
  const bool bGlobal = (entry.entryLo[0] & entry.entryLo[1] & kEntryGlobal) != 0;
  const bool bSameSpace = ((m->cpu.cop0[kCop0EntryHi] ^ entry.entryHi) & kAsidMask) == 0;
  // The pair number is the first page's number as it stands: pairs are not scaled by two.
  const u64 firstPage = entry.entryHi >> 13 & 0x7FFFFFF;
  if ((!bSameSpace && !bGlobal) || firstPage >= kPageCount) {
    EmptySlot(m, 2 * index);
    EmptySlot(m, 2 * index + 1);
    return;
  }
  const u32 count = static_cast<u32>(entry.pageMask >> 13 & 0xFFF) + 1;
  for (u32 half = 0; half < 2; ++half) {
    MapHalf(m, 2 * index + half, static_cast<u32>(firstPage) + half * count, count,
            entry.entryLo[half]);
  }
}

void RemapAllTlb(CVXMachine* m) {
  for (u32 i = 0; i < kTlbEntryCount; ++i) {
    const STlbEntry& entry = m->cpu.tlb[i];
    if ((entry.entryLo[0] & entry.entryLo[1] & kEntryGlobal) == 0) MapTlbEntry(m, i);
  }
}

void ResetPageMap(CVXMachine* m) {
  m->cpu.mapLow = 0xFFFFFFFF;
  m->cpu.mapHigh = 0;
  for (u32 slot = 0; slot < kTlbSlotCount; ++slot) EmptySlot(m, slot);
  const u32 flags = kPageMappedMask | kPageInstalled;
  FillSlot(m, kMapSlotKseg0, kKsegFirstPage, kKsegPages, 0, flags);
  FillSlot(m, kMapSlotKseg1, kKsegFirstPage + kKsegPages, kKsegPages, 0, flags);
}

}  // namespace vx
