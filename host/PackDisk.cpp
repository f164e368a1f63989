#include "host/PackDisk.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "host/Inflate.h"

namespace vx {

namespace {

struct SClose {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using CFile = std::unique_ptr<std::FILE, SClose>;

bool ReadAt(std::FILE* file, u64 offset, void* target, u64 bytes) {
  return std::fseek(file, static_cast<long>(offset), SEEK_SET) == 0 &&
         std::fread(target, 1, bytes, file) == bytes;
}

}  // namespace

bool CPackDisk::Open() {
  if (bTried_) return !offsets_.empty();
  bTried_ = true;
  const CFile file(std::fopen(path_.c_str(), "rb"));
  SPackDiskEntry disk{};
  if (!file || !ReadAt(file.get(), offsetof(SPackDirectory, disk), &disk, sizeof(disk))) {
    return false;
  }
  if (disk.chunkBytes < kSectorBytes || disk.chunkCount == 0) return false;
  std::vector<u16> sizes(disk.chunkCount);
  if (!ReadAt(file.get(), disk.sizeTableOffset, sizes.data(), sizes.size() * sizeof(u16)))
    return false;
  chunkBytes_ = disk.chunkBytes;
  offsets_ = {disk.firstChunkOffset};
  for (const u16 size : sizes) {
    offsets_.push_back(offsets_.back() + (size == 0 ? disk.chunkBytes : size));
  }
  chunkSizes_ = std::move(sizes);
  return true;
}

bool CPackDisk::LoadChunk(u32 chunk) {
  if (chunk == loaded_) return true;
  loaded_ = ~u32{0};
  const CFile file(std::fopen(path_.c_str(), "rb"));
  std::vector<u8> stored(offsets_[chunk + 1] - offsets_[chunk]);
  if (!file || !ReadAt(file.get(), offsets_[chunk], stored.data(), stored.size())) return false;
  if (chunkSizes_[chunk] == 0) {
    chunk_ = std::move(stored);
  } else {
    chunk_.resize(chunkBytes_);
    const u32 storedBytes = static_cast<u32>(stored.size());
    if (!InflateBlock(chunk_.data(), chunkBytes_, stored.data(), storedBytes).bExact) return false;
  }
  loaded_ = chunk;
  return true;
}

// A sector may reach from one chunk into the next.
bool CPackDisk::ReadSector(u64 sector, u8* target) {
  if (!Open() || sector > ~u64{0} / kSectorBytes - 1) return false;
  u64 at = sector * kSectorBytes;
  for (u64 missing = kSectorBytes; missing != 0;) {
    const u64 chunk = at / chunkBytes_;
    if (chunk >= chunkSizes_.size() || !LoadChunk(static_cast<u32>(chunk))) return false;
    const u64 within = at % chunkBytes_;
    const u64 count = std::min(missing, chunkBytes_ - within);
    std::memcpy(target, chunk_.data() + within, count);
    target += count;
    at += count;
    missing -= count;
  }
  return true;
}

}  // namespace vx
