#include "tests/support/TestPack.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "tools/packfile/ZlibStream.h"

namespace vx::test {

namespace {

constexpr u64 kDataStart = sizeof(SPackDirectory);

void Append(std::vector<u8>& out, const void* data, std::size_t bytes) {
  const u8* const first = static_cast<const u8*>(data);
  out.insert(out.end(), first, first + bytes);
}

}  // namespace

CTestPack::CTestPack(const SPackContent& content)
    : directory{{kPackMagic, kPackVersion, kPackEntryCount, content.identity}, {}, {}} {
  for (u32 i = 0; i < kPackRomCount; ++i) {
    std::vector<u8> rom = i == 0 ? content.bootRom : content.soundRoms[i - 1];
    if (rom.empty()) rom.assign(4, static_cast<u8>(i));
    const std::vector<u8> stored = DeflateBytes(rom);
    SPackRomEntry& entry = directory.roms[i];
    entry.dataOffset = Store(stored);
    entry.storedBytes = stored.size();
    entry.hash = kTestRomHash + i;
    entry.inflatedBytes = static_cast<u32>(rom.size());
    entry.chunkCount = 1;
  }

  std::vector<u8> image = content.disk;
  image.resize(std::size_t{content.chunkCount} * content.chunkBytes);
  SPackDiskEntry& disk = Disk();
  disk.firstChunkOffset = kDataStart + data.size();
  disk.hash = kTestDiskHash;
  disk.chunkBytes = content.chunkBytes;
  disk.chunkCount = content.chunkCount;
  disk.sectorBytes = kSectorBytes;
  disk.sectorCount = static_cast<u32>(image.size() / kSectorBytes);
  disk.cylinders = content.cylinders;
  disk.heads = content.heads;
  disk.sectorsPerTrack = content.sectorsPerTrack;
  for (u32 i = 0; i < content.chunkCount; ++i) {
    const auto first = image.begin() + std::ptrdiff_t{i} * content.chunkBytes;
    const std::vector<u8> plain(first, first + content.chunkBytes);
    const bool bRaw = content.bEvenChunksRaw && i % 2 == 0;
    const std::vector<u8> stored = bRaw ? plain : DeflateBytes(plain);
    Store(stored);
    chunkSizes.push_back(bRaw ? u16{0} : static_cast<u16>(stored.size()));
  }
  disk.sizeTableOffset = kDataStart + data.size();
}

u64 CTestPack::Store(const std::vector<u8>& bytes) {
  const u64 place = kDataStart + data.size();
  Append(data, bytes.data(), bytes.size());
  return place;
}

std::vector<u8> CTestPack::Bytes() const {
  std::vector<u8> out;
  Append(out, &directory, sizeof(directory));
  Append(out, data.data(), data.size());
  Append(out, chunkSizes.data(), chunkSizes.size() * sizeof(u16));
  return out;
}

CPackFile::CPackFile(const std::vector<u8>& bytes) {
  std::string name = (std::filesystem::temp_directory_path() / "vxpack.XXXXXX").string();
  const int file = mkstemp(name.data());
  if (file < 0) throw std::runtime_error("no file for the test");
  const ssize_t written = write(file, bytes.data(), bytes.size());
  close(file);
  path_ = name;
  widePath_ = path_.wstring();
  if (written != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("a pack could not be written for the test");
  }
}

CPackFile::~CPackFile() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

SPackContent PackOfCode(const std::vector<u32>& words, u64 identity) {
  SPackContent content;
  content.identity = identity;
  content.bootRom.resize(words.size() * sizeof(u32));
  std::memcpy(content.bootRom.data(), words.data(), content.bootRom.size());
  return content;
}

}  // namespace vx::test
