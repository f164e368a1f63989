// A small pack with everything in it: a boot ROM, one sound ROM of eight, and a disk of four chunks
// of which the first is raw and the image fills three and a bit.
#pragma once

#include <filesystem>
#include <vector>

#include "base/Types.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {

struct SSamplePack {
  std::vector<u8> bootRom = PlainBytes(3000, 7);
  std::vector<u8> soundRom2 = RandomBytes(1000, 2);
  std::vector<u8> image = MakeImage();
  std::vector<u8> bytes;  // the pack file

  static constexpr u32 kChunkBytes = 32768;
  static constexpr u32 kChunkCount = 4;
  static constexpr u32 kSectorCount = 4 * 4 * 16;
  static constexpr u64 kDiskBytes = u64{kSectorCount} * 512;

  // The image as the guest sees it: extended by zeros.
  std::vector<u8> Disk() const;

 private:
  static std::vector<u8> MakeImage();
};

// Writes the inputs and "sample.manifest" into the folder.
std::filesystem::path WriteSampleInputs(const CTestFolder& folder, const SSamplePack& sample);
// Builds the sample, once a process.
const SSamplePack& GetSamplePack();

// Numbers in a pack file at a place that the test knows from the format.
u64 GetNumber(const std::vector<u8>& bytes, std::size_t offset, u32 width);
void SetNumber(std::vector<u8>& bytes, std::size_t offset, u32 width, u64 value);

// Where the format places the entries.
constexpr std::size_t EntryOffset(u32 index) { return 32 + std::size_t{index} * 64; }
inline constexpr std::size_t kDiskOffset = EntryOffset(9);

}  // namespace vx::test
