// A quick look at a pack file before a machine gets it: header, entries and chunk size table, no
// data. The component answers a plain "no", or runs a damaged pack; this tells a person why.
#pragma once

#include <array>
#include <string>

#include "plugin/Quillon.h"

namespace vx {

struct SPackRom {
  u64 storedBytes;
  u32 inflatedBytes;
};

struct SPackInfo {
  u64 fileBytes = 0;
  u64 identity = 0;
  std::array<SPackRom, kPackRomCount> roms{};
  u32 chunkBytes = 0;
  u32 chunkCount = 0;
  u32 deflatedChunkCount = 0;  // the others are stored as they are
  u64 imageBytes = 0;          // memory that the disk takes: chunk count times chunk size
};

// Throws CHostError with a sentence that names the file: FileUnreadable, NotAPack, PackDamaged, or
// OutOfMemory if the disk image exceeds `memoryBytes`. Never blocks on pipes or devices.
SPackInfo CheckPack(const std::string& path, u64 memoryBytes);

// Main memory of this computer.
u64 PhysicalMemoryBytes();

}  // namespace vx
