// Small packs for host tests, whole or spoiled in one place.
#pragma once

#include <string>
#include <vector>

#include "plugin/Quillon.h"

namespace vx::test {

// A valid pack: nine ROMs, four disk chunks of which one is stored raw. Change any part, then take
// the bytes.
struct STestPack {
  STestPack();

  SPackDirectory directory{};
  std::vector<u16> chunkSizes;
  std::vector<u8> data;  // everything behind the directory, the chunk size table apart

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
