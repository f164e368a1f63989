// The game pack: one file with the boot ROM, eight sound ROMs and the hard disk as chunks, all
// numbers little-endian. ROM data and packed chunks are zlib streams.
#pragma once

#include "base/Types.h"

namespace vx {

inline constexpr u64 kPackMagic = 0xea7dab00b1e5beef;
inline constexpr u64 kPackVersion = 3;
inline constexpr u64 kPackEntryCount = 10;
inline constexpr u64 kPackIdentityA = 0x8e21848dc23b33d2;
inline constexpr u64 kPackIdentityB = 0xbe281ce10a9925a0;  // the other register layout
inline constexpr u32 kPackRomEntries = 9;                  // boot ROM, then the sound ROMs
inline constexpr u32 kPackDiskEntry = 9;
inline constexpr u64 kPackMaxEntries = 256;  // that a file may have to be identified

struct SPackHeader {
  u64 magic;
  u64 version;
  u64 entryCount;
  u64 identity;
};
static_assert(sizeof(SPackHeader) == 32);

// One entry. In a ROM entry `tableOffset` is the stored size, and nothing behind the chunk count is
// read.
struct SPackEntry {
  u64 dataOffset;   // file offset of the stored data, or of the first chunk
  u64 tableOffset;  // file offset of the chunk size table; never 0
  u64 hash;         // identifies; protects nothing
  u32 chunkBytes;   // inflated size
  u32 chunkCount;   // 1 for a ROM, at least 2 for the disk
  u32 sectorBytes;
  u32 sectorCount;
  u32 reserved40;
  u32 cylinders;
  u32 heads;
  u32 sectorsPerTrack;
  u64 reserved56;
};
static_assert(sizeof(SPackEntry) == 64 && offsetof(SPackEntry, sectorBytes) == 32);
static_assert(offsetof(SPackEntry, cylinders) == 44);

inline constexpr u64 kPackSmallestFile =
    sizeof(SPackHeader) + kPackEntryCount * sizeof(SPackEntry) + 1;
static_assert(kPackSmallestFile == 673);

}  // namespace vx
