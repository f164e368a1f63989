// What saving and loading of a state share. The stream is one flat sequence of the machine's saved
// blocks, little-endian and without padding of its own, in the order in which SaveState writes it:
//
//   bytes                what                                             in versions
//   4                    version                                          all
//   0x80000, 0x800000    low RAM, main RAM                                all
//   160                  state block                                      all
//   32                   second block, of scripts                         2 on
//   4, (8, 4, size)*     script blobs: count; key, size, bytes of each    3 on
//   16, 24*, 8*          timeline: now and counts; events; client times   all
//   3,696                main processor                                   all
//   16,384, 8 a page     page map: first 2,048 pages; tracked pages       all
//   13,792               sound processor                                  all
//   4, 2*                samples held for the host: count, samples        all
//   4, 4*                tail of the host's sources: count, sums          4
//   584                  drive                                            all
//   32                   drive: extra read time                           4
//   512                  drive: identify block                            all
//   120                  sound board                                      all
//   1                    transient flag                                   all
//   24, 8*, 512*         disk delta (devices/DiskOverlay.h)               all
//   4, 13,956*           clones of the sound processor: count, each       all
#pragma once

#include "machine/VXMachine.h"

namespace vx {

inline constexpr u32 kStateVersion = 4;  // written; all from 0 on are read
inline constexpr u32 kStateWithScriptBlock = 2;
inline constexpr u32 kStateWithBlobs = 3;
inline constexpr u32 kStateWithTail = 4;

// Room that a state gets, the host's and our own; what does not fit is cut off.
inline constexpr u32 kStateBufferBytes = 0x1400000;

inline constexpr u32 kLowPages = kFirstMapTrackedPage;

// An instance's slot goes in as three items: its time, a reserved word, and its place and gains.
inline constexpr u32 kSlotPlaceOffset = offsetof(SDspInstanceSlot, position);
inline constexpr u32 kSlotPlaceBytes = offsetof(SDspInstanceSlot, reserved44) - kSlotPlaceOffset;
static_assert(kSlotPlaceOffset == 16 && kSlotPlaceBytes == 28);

// The tracked part of a page map.
struct SPageRange {
  u32 first = 0;
  u32 count = 0;

  u32 Bytes() const { return count * static_cast<u32>(sizeof(SPageEntry)); }
};

inline SPageRange TrackedPages(const SMIPS3Context& cpu) {
  if (cpu.mapLow > cpu.mapHigh || cpu.mapHigh >= kPageCount) return {};
  return {cpu.mapLow, cpu.mapHigh - cpu.mapLow + 1};
}

}  // namespace vx
