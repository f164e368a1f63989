#include "tools/packfile/EntryHash.h"

#include <new>

namespace vx {

CEntryHash::CEntryHash() : state_(XXH3_createState()) {
  if (!state_) throw std::bad_alloc();
  XXH3_64bits_reset(state_.get());
}

void CEntryHash::Add(std::span<const u8> bytes) {
  if (!bytes.empty()) XXH3_64bits_update(state_.get(), bytes.data(), bytes.size());
}

u64 CEntryHash::RomHash() const { return XXH3_64bits_digest(state_.get()); }

u64 CEntryHash::DiskHash(const SPackDiskEntry& shape) const {
  const u32 geometry[] = {shape.sectorBytes, shape.sectorCount, shape.cylinders, shape.heads,
                          shape.sectorsPerTrack};
  const std::unique_ptr<XXH3_state_t, SStateFreer> state(XXH3_createState());
  if (!state) throw std::bad_alloc();
  XXH3_copyState(state.get(), state_.get());
  XXH3_64bits_update(state.get(), geometry, sizeof geometry);
  const u64 hash = XXH3_64bits_digest(state.get());
  return hash != 0 ? hash : 1;
}

}  // namespace vx
