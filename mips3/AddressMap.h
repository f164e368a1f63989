// Where guest physical addresses lie in the flat guest memory image, and what has an op record.
#pragma once

#include "base/Types.h"

namespace vx {

// Guest physical regions.
inline constexpr u32 kLowRamBytes = 0x80000;
inline constexpr u32 kMainRamBase = 0x8000000;
inline constexpr u32 kMainRamBytes = 0x800000;
inline constexpr u32 kMainRamEnd = kMainRamBase + kMainRamBytes;
inline constexpr u32 kBootRomBase = 0x1FC00000;
inline constexpr u32 kRomBytes = 0x80000;  // every ROM of the board
inline constexpr u32 kBootRomEnd = kBootRomBase + kRomBytes;

// Flat offsets: positions in the guest memory image.
inline constexpr u32 kFlatMainRam = 0x80000;
inline constexpr u32 kFlatBootRom = 0x880000;
inline constexpr u32 kFlatSoundRoms = 0x900000;
inline constexpr u32 kFlatCatchAll = 0xD00000;
inline constexpr u32 kFlatBytes = 0xE00000;
inline constexpr u32 kSoundRomCount = 8;
static_assert(kFlatMainRam == kLowRamBytes && kFlatBootRom == kFlatMainRam + kMainRamBytes);
static_assert(kFlatSoundRoms == kFlatBootRom + kRomBytes);
static_assert(kFlatCatchAll == kFlatSoundRoms + kSoundRomCount * kRomBytes);

// Op records: one for every word of low RAM, main RAM and boot ROM.
inline constexpr u32 kRecordCount = 0x240000;
static_assert(kRecordCount == kFlatSoundRoms / 4);

// The flat offset of a guest physical address. The hole between the two RAMs wraps to a huge value,
// the ROM test takes in its end, and all else folds into the catch-all window: comparisons as plain
// as the board's own decoding.
constexpr u32 FlatIndex(u32 physical) {
  if (physical < kLowRamBytes) return physical;
  if (physical < kMainRamEnd) return physical - (kMainRamBase - kFlatMainRam);
  if (physical >= kBootRomBase && physical <= kBootRomEnd) {
    return physical - (kBootRomBase - kFlatBootRom);
  }
  return (physical & 0xFFFFF) + kFlatCatchAll;
}

}  // namespace vx
