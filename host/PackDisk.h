// The disk of a pack as it is in the file, sector by sector.
#pragma once

#include <string>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

// For packs that CheckPack has passed. Reads the file when it is asked for a sector, and keeps the
// chunk that it read last. One thread.
class CPackDisk {
 public:
  explicit CPackDisk(std::string packPath) : path_(std::move(packPath)) {}

  // Puts the sector's kSectorBytes into `target`. False if the file cannot be read any more, has
  // changed beyond reading, or has no such sector.
  bool ReadSector(u64 sector, u8* target);

 private:
  bool Open();
  bool LoadChunk(u32 chunk);

  std::string path_;
  bool bTried_ = false;
  u32 chunkBytes_ = 0;
  std::vector<u64> offsets_;     // of each chunk in the file, and behind the last
  std::vector<u16> chunkSizes_;  // 0: stored as it is
  std::vector<u8> chunk_;
  u32 loaded_ = ~u32{0};
};

}  // namespace vx
