#include "tests/tools/SamplePack.h"

#include <cstring>

#include "tools/packfile/Manifest.h"
#include "tools/packfile/PackBuilder.h"

namespace vx::test {

std::vector<u8> SSamplePack::MakeImage() {
  std::vector<u8> image = RandomBytes(kChunkBytes, 3);
  const std::vector<u8> rest = PlainBytes(2 * kChunkBytes + 1000, 9);
  image.insert(image.end(), rest.begin(), rest.end());
  return image;
}

std::vector<u8> SSamplePack::Disk() const {
  std::vector<u8> disk = image;
  disk.resize(kDiskBytes);
  return disk;
}

std::filesystem::path WriteSampleInputs(const CTestFolder& folder, const SSamplePack& sample) {
  folder.Write("boot.bin", sample.bootRom);
  folder.Write("voice.bin", sample.soundRom2);
  folder.Write("disk.bin", sample.image);
  return folder.Write("sample.manifest", std::string("# a sample\n"
                                                     "identity = A\n"
                                                     "boot = boot.bin\n"
                                                     "sound2 = voice.bin\n"
                                                     "disk = disk.bin\n"
                                                     "chunk = 32768\n"
                                                     "cylinders = 4\n"
                                                     "heads = 4\n"
                                                     "sectors_per_track = 16\n"));
}

const SSamplePack& GetSamplePack() {
  static const SSamplePack sample = [] {
    SSamplePack made;
    const CTestFolder folder;
    const auto manifestPath = WriteSampleInputs(folder, made);
    BuildPack(ReadManifest(manifestPath), manifestPath, folder / "sample.qilhard", nullptr);
    made.bytes = ReadWhole(folder / "sample.qilhard");
    return made;
  }();
  return sample;
}

u64 GetNumber(const std::vector<u8>& bytes, std::size_t offset, u32 width) {
  u64 value = 0;
  std::memcpy(&value, bytes.data() + offset, width);
  return value;
}

void SetNumber(std::vector<u8>& bytes, std::size_t offset, u32 width, u64 value) {
  std::memcpy(bytes.data() + offset, &value, width);
}

}  // namespace vx::test
