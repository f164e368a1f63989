// The hash fields of the packs made here: XXH3-64 of what an entry inflates to.
#pragma once

#include <xxhash.h>

#include <memory>
#include <span>

#include "base/PackFormat.h"
#include "base/Types.h"

namespace vx {

// Takes an entry's inflated bytes piece by piece.
class CEntryHash {
 public:
  CEntryHash();
  void Add(std::span<const u8> bytes);
  // A ROM's hash: of its bytes.
  u64 RomHash() const;
  // The disk's hash: of its sectors, followed by sector size, sector count, cylinders, heads and
  // sectors per track as u32. How the disk is cut into chunks takes no part. Never 0, because the
  // hash names the file that keeps what the guest writes.
  u64 DiskHash(const SPackDiskEntry& shape) const;

 private:
  struct SStateFreer {
    void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
  };
  std::unique_ptr<XXH3_state_t, SStateFreer> state_;
};

}  // namespace vx
