// The library of a build without native blocks: a table of empty buckets.
#include "blocks/BlockTable.h"

namespace vx {

namespace {

constexpr u64 kEmptyImage[kBlockTableHeadBytes / sizeof(u64)] = {kBlockTableSignature};

}  // namespace

const SBlockLibrary& BuiltInLibrary() {
  static const SBlockLibrary library = {
      {reinterpret_cast<const u8*>(kEmptyImage), sizeof(kEmptyImage)}, {}};
  return library;
}

}  // namespace vx
