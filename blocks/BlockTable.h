// The lookup table of native blocks, keyed by guest code content. A word is matched against known
// code when its record is formed; no guest address takes part. One table serves all machines of the
// process; it is unpacked once, with the first pack.
//
// Image: signature; 65,536 buckets by the first word's halves; behind them the buckets' entries and
// the entries' code words, at offsets from the image's start. Within a bucket entries ascend by the
// first two words as one number, and of two with the same start the longer comes first.
#pragma once

#include <span>

#include "machine/VXMachine.h"

namespace vx {

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

// A library as it is built into the component: the stored table and the functions it names.
struct SBlockLibrary {
  std::span<const u8> image;
  std::span<const NativeBlock> natives;
};
// The library of this build.
const SBlockLibrary& BuiltInLibrary();

// Matches code in a table that has been checked. What the image holds is not trusted: a bucket with
// an offset, count or index out of range is empty, and a wrong signature empties the table.
class CBlockTable {
 public:
  // Takes over an image of the library and checks it.
  void Install(std::vector<u64> image, u64 imageBytes, std::span<const NativeBlock> natives);
  // The native function for the code at a flat offset, whose first word is given; null if the table
  // does not hold it.
  NativeBlock LookUp(const u8* flatMem, u32 word, u32 flatOffset) const;

 private:
  const SBlockEntry* EntriesOf(const SBlockBucket& bucket) const;
  bool IsBucketValid(const SBlockBucket& bucket) const;

  std::vector<u64> image_;  // in whole words, so that it is aligned
  u64 imageBytes_ = 0;
  std::span<const NativeBlock> natives_;
};

// Unpacks and checks the table; only the first call of the process does anything. Any thread.
void LoadBlockTable();

// The native function for the block at a flat offset below the boot ROM, whose first word is given;
// null if the library does not hold that code.
NativeBlock LookUpBlock(const CVXMachine* m, u32 word, u32 flatOffset);

}  // namespace vx
