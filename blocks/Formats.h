// What the board, the block generator and tools exchange: the image of the lookup table and the
// file of discovered code. All values little-endian.
#pragma once

#include "base/Types.h"

namespace vx {

// --- The lookup table's image: signature; 65,536 buckets by the first word's halves; behind them
// the buckets' entries and the entries' code words, at offsets from the image's start. Within a
// bucket entries ascend by the first two words as one number, the second in its high half, and of
// two with the same start the longer comes first.
// --------------------------------------------------------

inline constexpr u32 kBlockBucketCount = 65536;
inline constexpr u64 kBlockTableSignature = 0x0000000000315856;  // "VX1"

struct SBlockEntry {
  u32 wordCount;    // at least 2
  u32 nativeIndex;  // row of the native table
  u64 words;        // where the code words lie
};
struct SBlockBucket {
  u32 count;
  u32 reserved;
  u64 entries;  // where the bucket's entries lie; 0: empty
};
static_assert(sizeof(SBlockEntry) == 16 && sizeof(SBlockBucket) == 16);

inline constexpr u32 kBlockTableHeadBytes = 8 + kBlockBucketCount * sizeof(SBlockBucket);
static_assert(kBlockTableHeadBytes == 1'048'584);

constexpr u32 BlockBucketOf(u32 firstWord) { return (firstWord ^ firstWord >> 16) & 0xFFFF; }

// --- The file of discovered code: header; then runs of consecutive records, u16 count, u32 first
// index, and word, flags and link of each; a count of 0 ends the file. --------------------------

inline constexpr u64 kRecordCacheMagic = 0xFA57A55BC6969696;
inline constexpr u32 kRecordCacheVersion = 3;
inline constexpr u32 kRecordCacheMaxRun = 65535;

struct SRecordCacheHeader {
  u64 magic;
  u32 version;
  u32 recordCount;
};
struct SCachedRecord {
  u32 word;
  u32 flags;  // without breakpoint bits
  u32 link;
};
static_assert(sizeof(SRecordCacheHeader) == 16 && sizeof(SCachedRecord) == 12);

}  // namespace vx
