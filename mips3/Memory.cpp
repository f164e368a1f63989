#include "mips3/Memory.h"

#include <algorithm>

namespace vx {

namespace {

constexpr u32 kRomReadCycles = 154;
constexpr i32 kLowestRandomCycles = -5;

// Whether an aligned access of T at this address lies wholly in a region. The limits cannot wrap.
template <typename T>
constexpr bool IsWithin(u32 physical, u32 base, u32 bytes) {
  return physical >= base && physical - base <= bytes - sizeof(T);
}

template <typename T>
IoReader ReaderOf(const SIoReadRow& row) {
  if constexpr (sizeof(T) == 8) return row.read64;
  if constexpr (sizeof(T) == 4) return row.read32;
  if constexpr (sizeof(T) == 2) return row.read16;
  return row.read8;
}

template <typename T>
IoWriter WriterOf(const SIoWriteRow& row) {
  if constexpr (sizeof(T) == 8) return row.write64;
  if constexpr (sizeof(T) == 4) return row.write32;
  if constexpr (sizeof(T) == 2) return row.write16;
  return row.write8;
}

// What reading the boot ROM costs, with the jitter of a random start.
void ChargeRomRead(CVXMachine* m) {
  m->cpu.cycles += kRomReadCycles;
  if ((m->state.frameFlags & kFrameRandomStart) == 0) return;
  m->state.randState = (m->state.randState * 0xC1C64E6Du + 12345u) & 0x7FFFFFFFu;
  i32 jitter = static_cast<i32>(m->state.randState >> 24 & 15);
  if (jitter >= 8) jitter -= 16;
  m->cpu.cycles += static_cast<u32>(std::max(jitter, kLowestRandomCycles));
}

template <typename T, bool bCharged>
T ReadOffRam(CVXMachine* m, u32 physical) {
  if (physical < kMainRamEnd) return 0;  // the hole between the RAMs
  if (IsWithin<T>(physical, kIoBase, kIoBytes)) {
    const SIoReadRow& row = m->ioRead[(physical - kIoBase) >> 4];
    return static_cast<T>(ReaderOf<T>(row)(m, physical));
  }
  if (IsWithin<T>(physical, kBootRomBase, kRomBytes)) {
    if constexpr (bCharged) ChargeRomRead(m);
    return LoadFlat<T>(m, physical - (kBootRomBase - kFlatBootRom));
  }
  return static_cast<T>(m->state.openBus);
}

}  // namespace

template <typename T>
T ReadSlow(CVXMachine* m, u32 physical, u32 uncharged) {
  m->cpu.cycles += uncharged;
  const T value = ReadOffRam<T, true>(m, physical);
  m->cpu.cycles -= uncharged;
  return value;
}

template <typename T>
void WriteSlow(CVXMachine* m, u32 physical, T value, u32 uncharged) {
  if (physical < kMainRamEnd) return;  // the hole between the RAMs
  if (!IsWithin<T>(physical, kIoBase, kIoBytes)) {
    m->state.openBus = value;
    return;
  }
  m->cpu.cycles += uncharged;
  WriterOf<T>(m->ioWrite[(physical - kIoBase) >> 4])(m, physical, value);
  m->cpu.cycles -= uncharged;
}

template <typename T>
void MergeMemory(CVXMachine* m, u32 address, T keep, T bits, T source, u32 uncharged) {
  const u32 page = m->pages[address >> 12].value;
  if ((page & kPageWrite) == 0) return;
  const u32 physical = PhysicalOf<T>(page, address);
  if (IsWithin<T>(physical, 0, kLowRamBytes) ||
      IsWithin<T>(physical, kMainRamBase, kMainRamBytes)) {
    const u32 offset = FlatIndex(physical);
    StoreFlat<T>(m, offset, (LoadFlat<T>(m, offset) & keep) | bits);
  } else if (physical < kMainRamEnd) {
    return;
  } else if (IsWithin<T>(physical, kIoBase, kIoBytes)) {
    m->cpu.cycles += uncharged;
    const u32 row = (physical - kIoBase) >> 4;
    const T old = static_cast<T>(ReaderOf<T>(m->ioRead[row])(m, physical));
    WriterOf<T>(m->ioWrite[row])(m, physical, (old & keep) | bits);
    m->cpu.cycles -= uncharged;
  } else {
    m->state.openBus = source;
  }
}

u32 FetchWord(CVXMachine* m, u32 address) {
  const u32 page = m->pages[address >> 12].value;
  if ((page & kPageRead) == 0) return 0;
  const u32 physical = PhysicalOf<u32>(page, address);
  if (IsWithin<u32>(physical, 0, kLowRamBytes) ||
      IsWithin<u32>(physical, kMainRamBase, kMainRamBytes)) {
    return LoadFlat<u32>(m, FlatIndex(physical));
  }
  return ReadOffRam<u32, false>(m, physical);
}

template u8 ReadSlow<u8>(CVXMachine*, u32, u32);
template u16 ReadSlow<u16>(CVXMachine*, u32, u32);
template u32 ReadSlow<u32>(CVXMachine*, u32, u32);
template u64 ReadSlow<u64>(CVXMachine*, u32, u32);
template void WriteSlow<u8>(CVXMachine*, u32, u8, u32);
template void WriteSlow<u16>(CVXMachine*, u32, u16, u32);
template void WriteSlow<u32>(CVXMachine*, u32, u32, u32);
template void WriteSlow<u64>(CVXMachine*, u32, u64, u32);
template void MergeMemory<u32>(CVXMachine*, u32, u32, u32, u32, u32);
template void MergeMemory<u64>(CVXMachine*, u32, u64, u64, u64, u32);

}  // namespace vx
