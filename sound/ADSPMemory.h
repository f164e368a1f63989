// The processor's two buses and its address generators, inline for the instruction handlers.
//
// External RAM is one store seen from both buses: a data write replaces the high 16 bits of the
// 24-bit program word and leaves its low byte. A data access to RAM or ROM never reaches the device
// tables.
#pragma once

#include "sound/ADSP.h"
#include "sound/SoundBoard.h"

namespace vx {

inline constexpr u32 kExternalEnd = 0x2000;  // on both buses
inline constexpr u32 kExternalMask = kAdspExternalWords - 1;
inline constexpr u32 kRomWindow = 0x2000;
inline constexpr u32 kRomWindowWords = 0x1000;
inline constexpr u32 kDataRam = 0x3800;

// --- Program bus -------------------------------------------------------------------------------

inline u32 CADSP::ReadProgram(u32 address) const {
  if (address < kAdspInternalWords) return state.internalRam[address];
  if (address < kExternalEnd) return state.externalRam[address & kExternalMask];
  return 0;
}

inline u32 CADSP::Fetch(u32 address) const { return ReadProgram(address); }

inline void CADSP::WriteProgram(u32 address, u32 value) {
  if (address < kAdspInternalWords) {
    state.internalRam[address] = value;
  } else if (address < kExternalEnd) {
    state.externalRam[address & kExternalMask] = value;
  }
}

// Where a script's hook lies: without an upper bound, unlike a fetch.
inline u32& HookedWord(SADSPState& s, u32 address) {
  return address < kAdspInternalWords ? s.internalRam[address]
                                      : s.externalRam[address & kExternalMask];
}

// --- Data bus ----------------------------------------------------------------------------------

// Whether an address leads to RAM or the ROM window: such an access cannot reach a device.
inline bool IsNearToRead(u32 address) {
  return address < kRomWindow + kRomWindowWords || address - kDataRam < kAdspDataWords;
}
inline bool IsNearToWrite(u32 address) {
  return address < kExternalEnd || address - kDataRam < kAdspDataWords;
}

[[gnu::always_inline]] inline u16 CADSP::ReadNear(u32 address) const {
  if (address < kExternalEnd) {
    return static_cast<u16>(state.externalRam[address & kExternalMask] >> 8);
  }
  if (address >= kDataRam) return state.dataRam[address - kDataRam];
  return static_cast<u16>(0xFF00 | board->RomByte(address - kRomWindow));
}

[[gnu::always_inline]] inline void CADSP::WriteNear(u32 address, u16 value) {
  if (address < kExternalEnd) {
    u32& word = state.externalRam[address & kExternalMask];
    word = (word & 0xFF) | u32{value} << 8;
  } else {
    state.dataRam[address - kDataRam] = value;
  }
}

inline u16 CADSP::ReadData(u32 address) {
  return IsNearToRead(address) ? ReadNear(address) : ReadDataFar(address);
}

inline bool CADSP::WriteData(u32 address, u16 value) {
  if (!IsNearToWrite(address)) return WriteDataFar(address, value);
  WriteNear(address, value);
  return true;
}

// --- Address generators ------------------------------------------------------------------------

// The generator that a memory form uses, as the offset of its first register.
enum class EGenerator : u32 { First = 0, Second = 4 };

struct SReversal {
  u8 byte[256];
};
inline constexpr SReversal kReversal = [] {
  SReversal table{};
  for (u32 value = 0; value < 256; ++value) {
    for (u32 bit = 0; bit < 8; ++bit) {
      if ((value >> bit & 1) != 0) table.byte[value] |= static_cast<u8>(0x80u >> bit);
    }
  }
  return table;
}();

// The 14 bits of an address in reverse order.
constexpr u32 ReverseAddress(u32 address) {
  return u32{kReversal.byte[address >> 8 & 0x3F]} >> 2 | u32{kReversal.byte[address & 0xFF]} << 6;
}

// One step of an address register. A sum that leaves the buffer is brought back by one length, and
// a length of 0 is a plain 14-bit wrap.
[[gnu::always_inline]] inline void PostModify(SADSPState& s, u32 index, u32 modifier) {
  SADSPAddress& address = s.dag[index];
  u32 next = (address.i + s.dag[modifier].m) & kAddressMask;
  if (next < address.base) {
    next += address.l;
  } else if (next >= address.base + address.l) {
    next -= address.l;
  }
  address.i = next;
}

// The data address that a register puts on the bus. The second generator is never reversed.
template <EGenerator generator>
[[gnu::always_inline]] inline u32 DataAddress(const SADSPState& s, u32 index) {
  const u32 address = s.dag[index].i & kAddressMask;
  if constexpr (generator == EGenerator::First) {
    if ((s.mstat & kMstatBitReverse) != 0) return ReverseAddress(address);
  }
  return address;
}

}  // namespace vx
