// The game pack file (".qilhard"): a header, ten entries, and the stored data they lead to. All
// numbers are little-endian, and the records below are the bytes of the file.
//
//   0    header, 32 bytes
//   32   ten entries of 64 bytes: boot ROM, sound ROMs 1 to 8, disk
//   672  stored data, wherever the entries say
//
// A ROM is one zlib stream. The disk is a row of chunks that lie back to back, each either one zlib
// stream or raw; a table of u16 gives their stored sizes, where 0 stands for raw.
//
// The board treats the hash fields as names, not as protection.
#pragma once

#include <bit>

#include "base/Types.h"

namespace vx {

static_assert(std::endian::native == std::endian::little, "records are copied as they are");

inline constexpr u64 kPackMagic = 0xea7dab00b1e5beef;
inline constexpr u64 kPackVersion = 3;
inline constexpr u64 kPackIdentityA = 0x8e21848dc23b33d2;  // board layout A
inline constexpr u64 kPackIdentityB = 0xbe281ce10a9925a0;  // board layout B
inline constexpr u32 kPackEntryCount = 10;
inline constexpr u32 kPackRomCount = 9;  // boot ROM, then the sound ROMs
inline constexpr u32 kPackDiskEntry = 9;
inline constexpr u64 kPackMaxEntries = 256;  // that a file may have to be identified
inline constexpr u32 kMaxRomBytes = 0x80000;
inline constexpr u32 kMinChunkCount = 2;
inline constexpr u32 kSectorBytes = 512;             // the only size that the board's drive reads
inline constexpr u32 kMaxPackedChunkBytes = 0xFFFF;  // a cell of the chunk size table
inline constexpr u64 kMaxDiskImageBytes = u64{64} << 30;

struct SPackHeader {
  u64 magic;
  u64 version;
  u64 entryCount;
  u64 identity;
};
static_assert(sizeof(SPackHeader) == 32);

struct SPackRomEntry {
  u64 dataOffset;
  u64 storedBytes;  // never 0
  u64 hash;
  u32 inflatedBytes;  // at most kMaxRomBytes
  u32 chunkCount;     // 1
  u8 notRead[32];
};
static_assert(sizeof(SPackRomEntry) == 64);
static_assert(offsetof(SPackRomEntry, hash) == 16 && offsetof(SPackRomEntry, chunkCount) == 28);

struct SPackDiskEntry {
  u64 firstChunkOffset;
  u64 sizeTableOffset;  // never 0
  u64 hash;
  u32 chunkBytes;
  u32 chunkCount;  // at least kMinChunkCount
  u32 sectorBytes;
  u32 sectorCount;
  u32 notRead40;
  u32 cylinders;
  u32 heads;
  u32 sectorsPerTrack;
  u64 notRead56;
};
static_assert(sizeof(SPackDiskEntry) == 64);
static_assert(offsetof(SPackDiskEntry, hash) == 16 && offsetof(SPackDiskEntry, chunkBytes) == 24);
static_assert(offsetof(SPackDiskEntry, sectorBytes) == 32);
static_assert(offsetof(SPackDiskEntry, cylinders) == 44 &&
              offsetof(SPackDiskEntry, notRead56) == 56);

struct SPackDirectory {
  SPackHeader header;
  SPackRomEntry roms[kPackRomCount];
  SPackDiskEntry disk;
};
static_assert(sizeof(SPackDirectory) == 672);
static_assert(offsetof(SPackDirectory, disk) == 32 + kPackDiskEntry * 64);

inline constexpr u64 kPackSmallestFile = sizeof(SPackDirectory) + 1;

}  // namespace vx
