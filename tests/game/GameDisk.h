// Packs of the cabinet with another disk, for tests of what is on it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/Types.h"

namespace vx::test {

// The disk's image as the build left it.
std::vector<u8> ReadGameDisk();
// Place of a file in the image, by the disk's directory; throws std::runtime_error without it.
u64 FilePlace(const std::vector<u8>& disk, const std::string& name);

// A pack of layout A with a disk of the test's own; it lasts as long as the object.
class CDiskPack {
 public:
  explicit CDiskPack(const std::vector<u8>& disk);
  ~CDiskPack();
  CDiskPack(const CDiskPack&) = delete;
  CDiskPack& operator=(const CDiskPack&) = delete;

  std::string Path() const { return (folder_ / "cabinet.qilhard").string(); }

 private:
  std::filesystem::path folder_;
};

}  // namespace vx::test
