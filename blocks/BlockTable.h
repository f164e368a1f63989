// The lookup table of native blocks, keyed by guest code content. A word is matched against known
// code when its record is formed; no guest address takes part. One table serves all machines of the
// process; it is unpacked once, with the first pack.
#pragma once

#include <span>

#include "blocks/Formats.h"
#include "machine/VXMachine.h"

namespace vx {

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
