// Small packs for host tests, whole or spoiled in one place.
#pragma once

#include <string>
#include <vector>

#include "plugin/Quillon.h"

namespace vx::test {

struct SPackEntry {
  u64 offset = 0, size = 0, hash = 0;
  u32 inflatedBytes = 0, chunkCount = 0, sectorBytes = 0, sectorCount = 0;
  u32 unused40 = 0, cylinders = 0, heads = 0, sectorsPerTrack = 0;
  u64 unused56 = 0;
};
static_assert(sizeof(SPackEntry) == 64);

struct SPackHeader {
  u64 magic = 0xea7dab00b1e5beef, version = 3, entryCount = 10, identity = 0x8e21848dc23b33d2;
};

// A valid pack: nine ROMs, four disk chunks of which one is stored raw. Change any part, then take
// the bytes.
struct STestPack {
  STestPack();

  SPackHeader header;
  SPackEntry entries[10];
  std::vector<u16> chunkSizes;
  std::vector<u8> data;  // everything behind the entries, the chunk size table apart

  std::vector<u8> Bytes() const;
  // Writes the file into the test's folder and answers its path.
  std::string WriteAs(const std::string& name) const;
};

std::vector<u8> Deflate(const std::vector<u8>& plain);

// A folder of the running test, ending in "/"; it goes when the test program ends.
std::string TestFolder();
std::string WriteFile(const std::string& name, const std::vector<u8>& bytes);
std::string ReadWholeFile(const std::string& path);

}  // namespace vx::test
