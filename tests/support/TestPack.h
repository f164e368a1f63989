// A game pack in memory. It is made from plain content; any number of its file form can be changed
// before the bytes are taken.
#pragma once

#include <filesystem>
#include <vector>

#include "base/PackFormat.h"

namespace vx::test {

// What a pack holds, before it is packed.
struct SPackContent {
  u64 identity = kPackIdentityA;
  std::vector<u8> bootRom = std::vector<u8>(64);
  std::vector<u8> soundRoms[8];  // an empty one is packed as a few bytes of its number
  std::vector<u8> disk;          // padded with zeros to whole chunks
  u32 chunkBytes = 4096;
  u32 chunkCount = 4;
  bool bEvenChunksRaw = false;
  u32 cylinders = 2, heads = 2, sectorsPerTrack = 8;
};

inline constexpr u64 kTestRomHash = 0x1111111100000000;  // plus the entry's number
inline constexpr u64 kTestDiskHash = 0x2222222200000009;

class CTestPack {
 public:
  explicit CTestPack(const SPackContent& content = {});

  SPackDirectory directory;
  std::vector<u16> chunkSizes;
  // Everything behind the directory but for the chunk size table, which stands at the file's end.
  std::vector<u8> data;

  SPackDiskEntry& Disk() { return directory.disk; }
  std::vector<u8> Bytes() const;

 private:
  // Appends stored data and answers its place in the file.
  u64 Store(const std::vector<u8>& bytes);
};

// A pack file that lasts as long as the object.
class CPackFile {
 public:
  explicit CPackFile(const CTestPack& pack) : CPackFile(pack.Bytes()) {}
  explicit CPackFile(const std::vector<u8>& bytes);
  ~CPackFile();
  CPackFile(const CPackFile&) = delete;
  CPackFile& operator=(const CPackFile&) = delete;

  const wchar_t* Path() const { return widePath_.c_str(); }

 private:
  std::filesystem::path path_;
  std::wstring widePath_;
};

// A pack whose boot ROM holds these op words from its start.
SPackContent PackOfCode(const std::vector<u32>& words, u64 identity = kPackIdentityA);

}  // namespace vx::test
