// The main processor's access rule: page map, then RAM, the register window, the boot ROM with its
// time charge, and the open-bus latch behind everything else. Misaligned addresses are aligned
// down. RAM is answered inline; the rest is out of line.
//
// `uncharged` is the number of executed ops whose cycles the caller has not added yet: the slow
// paths, which can see or move time, add them for their duration.
#pragma once

#include <cstring>

#include "machine/VXMachine.h"

namespace vx {

template <typename T>
T ReadSlow(CVXMachine* m, u32 physical, u32 uncharged);
template <typename T>
void WriteSlow(CVXMachine* m, u32 physical, T value, u32 uncharged);

// The word at a virtual address as the fetch path sees it: the read rule without the time charge.
u32 FetchWord(CVXMachine* m, u32 address);

// The physical address behind a virtual one; of a page that is not mapped, the address itself.
inline u32 PhysicalOfVirtual(const CVXMachine* m, u32 address) {
  const u32 page = m->pages[address >> 12].value;
  const bool bMapped = (page & kPageMappedMask) != 0;
  return bMapped ? (page & kPageBaseMask) | (address & 0xFFF) : address;
}

// The flat offset that a virtual address reaches, as used for op records and breakpoints.
inline u32 FlatIndexOfVirtual(const CVXMachine* m, u32 address) {
  return FlatIndex(PhysicalOfVirtual(m, address));
}

template <typename T>
T LoadFlat(const CVXMachine* m, size_t offset) {
  T value;
  std::memcpy(&value, m->flatMem + offset, sizeof(T));
  return value;
}

template <typename T>
void StoreFlat(CVXMachine* m, size_t offset, T value) {
  std::memcpy(m->flatMem + offset, &value, sizeof(T));
}

// The physical address of an access, aligned to its width.
template <typename T>
constexpr u32 PhysicalOf(u32 page, u32 address) {
  return (page & kPageBaseMask) | (address & 0xFFF & ~(u32{sizeof(T)} - 1));
}

// How the paths off RAM are called.
struct SDirectCalls {
  template <typename T>
  static T Read(CVXMachine* m, u32 physical, u32 uncharged) {
    return ReadSlow<T>(m, physical, uncharged);
  }
  template <typename T>
  static void Write(CVXMachine* m, u32 physical, T value, u32 uncharged) {
    WriteSlow<T>(m, physical, value, uncharged);
  }
};

// Main RAM first, where most data lies: no address is in two regions.
template <typename T, typename Calls = SDirectCalls>
inline T ReadMemory(CVXMachine* m, u32 address, u32 uncharged) {
  const u32 page = m->pages[address >> 12].value;
  if ((page & kPageRead) == 0) [[unlikely]]
    return 0;
  const u32 physical = PhysicalOf<T>(page, address);
  const u32 inMainRam = physical - kMainRamBase;
  if (inMainRam <= kMainRamBytes - sizeof(T)) [[likely]] {
    return LoadFlat<T>(m, size_t{kFlatMainRam} + inMainRam);
  }
  if (physical <= kLowRamBytes - sizeof(T)) return LoadFlat<T>(m, physical);
  return Calls::template Read<T>(m, physical, uncharged);
}

template <typename T, typename Calls = SDirectCalls>
inline void WriteMemory(CVXMachine* m, u32 address, T value, u32 uncharged) {
  const u32 page = m->pages[address >> 12].value;
  if ((page & kPageWrite) == 0) [[unlikely]]
    return;
  const u32 physical = PhysicalOf<T>(page, address);
  const u32 inMainRam = physical - kMainRamBase;
  if (inMainRam <= kMainRamBytes - sizeof(T)) [[likely]] {
    return StoreFlat<T>(m, size_t{kFlatMainRam} + inMainRam, value);
  }
  if (physical <= kLowRamBytes - sizeof(T)) return StoreFlat<T>(m, physical, value);
  Calls::template Write<T>(m, physical, value, uncharged);
}

// Merges bits into the aligned word that holds an address, for the unaligned stores: keeps `keep`
// of the old value and sets `bits`. Off RAM and registers the whole source goes to the open bus.
template <typename T>
void MergeMemory(CVXMachine* m, u32 address, T keep, T bits, T source, u32 uncharged);

}  // namespace vx
