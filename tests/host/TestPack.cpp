#include "tests/host/TestPack.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace vx::test {

namespace {

constexpr u32 kRomBytes = 0x2000;
constexpr u32 kChunkBytes = 0x1000;
constexpr u32 kChunkCount = 4;
constexpr u32 kRawChunk = 2;
constexpr u64 kDataStart = sizeof(SPackDirectory);

// The folders that tests of this process were given, removed when it ends.
class CTestFolders {
 public:
  ~CTestFolders() {
    std::error_code ignored;
    for (const std::string& folder : folders_) std::filesystem::remove_all(folder, ignored);
  }
  void Add(const std::string& folder) {
    if (folders_.insert(folder).second) std::filesystem::create_directories(folder);
  }

 private:
  std::set<std::string> folders_;
};

std::vector<u8> Pattern(u32 bytes, u32 seed) {
  std::vector<u8> out(bytes);
  for (u32 i = 0; i < bytes; ++i) out[i] = static_cast<u8>((i / 16 + seed) * 7);
  return out;
}

void Append(std::vector<u8>& out, const void* data, std::size_t bytes) {
  const u8* first = static_cast<const u8*>(data);
  out.insert(out.end(), first, first + bytes);
}

}  // namespace

std::vector<u8> Deflate(const std::vector<u8>& plain) {
  uLongf bytes = compressBound(plain.size());
  std::vector<u8> out(bytes);
  EXPECT_EQ(compress(out.data(), &bytes, plain.data(), plain.size()), Z_OK);
  out.resize(bytes);
  return out;
}

STestPack::STestPack() {
  directory.header = {kPackMagic, kPackVersion, kPackEntryCount, kPackIdentityA};
  for (u32 i = 0; i < kPackRomCount; ++i) {
    // Sizes differ, so that a damaged entry can be told by them.
    const std::vector<u8> stored = Deflate(Pattern(kRomBytes + i, i));
    directory.roms[i].dataOffset = kDataStart + data.size();
    directory.roms[i].storedBytes = stored.size();
    directory.roms[i].hash = i + 1;
    directory.roms[i].inflatedBytes = kRomBytes + i;
    directory.roms[i].chunkCount = 1;
    Append(data, stored.data(), stored.size());
  }
  SPackDiskEntry& disk = directory.disk;
  disk.firstChunkOffset = kDataStart + data.size();
  disk.hash = 10;
  disk.chunkBytes = kChunkBytes;
  disk.chunkCount = kChunkCount;
  disk.sectorBytes = 512;
  disk.sectorCount = kChunkBytes * kChunkCount / 512;
  disk.cylinders = 4;
  disk.heads = 2;
  disk.sectorsPerTrack = 4;
  for (u32 i = 0; i < kChunkCount; ++i) {
    const std::vector<u8> plain = Pattern(kChunkBytes, 100 + i);
    const std::vector<u8> stored = i == kRawChunk ? plain : Deflate(plain);
    chunkSizes.push_back(i == kRawChunk ? u16{0} : static_cast<u16>(stored.size()));
    Append(data, stored.data(), stored.size());
  }
  disk.sizeTableOffset = kDataStart + data.size();
}

std::vector<u8> STestPack::Bytes() const {
  std::vector<u8> out;
  Append(out, &directory, sizeof(directory));
  Append(out, data.data(), data.size());
  Append(out, chunkSizes.data(), chunkSizes.size() * sizeof(u16));
  return out;
}

std::string STestPack::WriteAs(const std::string& name) const { return WriteFile(name, Bytes()); }

std::string TestFolder() {
  const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
  std::string folder = testing::TempDir() + "vxhost-" + std::to_string(getpid());
  if (info != nullptr) folder += std::string("-") + info->test_suite_name() + "-" + info->name();
  static CTestFolders folders;
  folders.Add(folder);
  return folder + "/";
}

std::string WriteFile(const std::string& name, const std::vector<u8>& bytes) {
  const std::string path = TestFolder() + name;
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
  EXPECT_TRUE(out.good()) << path;
  return path;
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path;
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace vx::test
