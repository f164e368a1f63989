#include "host/PackCheck.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "host/HostError.h"
#include "host/Text.h"

namespace vx {

namespace {

constexpr u64 kMaxDeflateRatio = 1032;  // no deflate stream holds more bytes for one of its own

unsigned long long Wide(u64 value) { return value; }

// The open file with the sentences' common beginning.
class CPackFile {
 public:
  explicit CPackFile(const std::string& path) : path_(path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) FailUnreadable(errno);
    if (S_ISDIR(status.st_mode)) Fail(EExitCode::FileUnreadable, "is a folder, not a pack file");
    if (!S_ISREG(status.st_mode)) {
      Fail(EExitCode::FileUnreadable, "is a device or pipe, not a pack file");
    }
    descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) FailUnreadable(errno);
    bytes_ = static_cast<u64>(status.st_size);
  }
  ~CPackFile() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  CPackFile(const CPackFile&) = delete;
  CPackFile& operator=(const CPackFile&) = delete;

  u64 Bytes() const { return bytes_; }

  void Read(u64 offset, void* target, u64 bytes) const {
    u8* out = static_cast<u8*>(target);
    while (bytes != 0) {
      const ssize_t got = pread(descriptor_, out, bytes, static_cast<off_t>(offset));
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) FailUnreadable(errno);
      if (got == 0) Fail(EExitCode::PackDamaged, "is truncated: it ends inside its tables");
      out += got;
      offset += static_cast<u64>(got);
      bytes -= static_cast<u64>(got);
    }
  }

  bool Holds(u64 offset, u64 bytes) const { return offset <= bytes_ && bytes <= bytes_ - offset; }

  [[noreturn]] void Fail(EExitCode code, const std::string& sentence) const {
    throw CHostError(code, path_ + ": " + sentence);
  }
  [[noreturn]] void FailDamaged(const std::string& sentence) const {
    Fail(EExitCode::PackDamaged, "is damaged: " + sentence);
  }

 private:
  [[noreturn]] void FailUnreadable(int reason) const {
    if (reason == ENOENT || reason == ENOTDIR)
      Fail(EExitCode::FileUnreadable, "there is no such file");
    Fail(EExitCode::FileUnreadable, std::string("cannot be read: ") + std::strerror(reason));
  }

  std::string path_;
  int descriptor_ = -1;
  u64 bytes_ = 0;
};

void CheckHeader(const CPackFile& file, SPackInfo& info) {
  if (file.Bytes() == 0) file.Fail(EExitCode::NotAPack, "is empty, not a pack");
  SPackHeader header{};
  file.Read(0, &header, std::min<u64>(file.Bytes(), sizeof(header)));
  const u64 magicBytes = std::min<u64>(file.Bytes(), sizeof(kPackMagic));
  if (std::memcmp(&header.magic, &kPackMagic, magicBytes) != 0) {
    file.Fail(EExitCode::NotAPack, "is not a pack");
  }
  if (file.Bytes() < sizeof(header)) {
    file.Fail(EExitCode::PackDamaged,
              Format("is truncated: %llu bytes do not even hold the header", Wide(file.Bytes())));
  }
  if (header.version != kPackVersion) {
    file.Fail(EExitCode::NotAPack,
              Format("is a pack of version %llu; this program runs version %llu",
                     Wide(header.version), Wide(kPackVersion)));
  }
  if (header.entryCount != kPackEntryCount) {
    file.Fail(EExitCode::NotAPack, Format("is a pack of %llu entries; packs for this board have %u",
                                          Wide(header.entryCount), kPackEntryCount));
  }
  if (header.identity != kPackIdentityA && header.identity != kPackIdentityB) {
    file.Fail(EExitCode::NotAPack,
              Format("is a pack for another board (identity 0x%016llx)", Wide(header.identity)));
  }
  if (file.Bytes() < kPackSmallestFile) {
    file.Fail(
        EExitCode::PackDamaged,
        Format("is truncated: it ends after %llu bytes, inside its entries", Wide(file.Bytes())));
  }
  info.fileBytes = file.Bytes();
  info.identity = header.identity;
}

void CheckRom(const CPackFile& file, u32 index, const SPackRomEntry& entry) {
  if (entry.storedBytes == 0) file.FailDamaged(Format("ROM entry %u is empty", index));
  if (entry.chunkCount != 1) {
    file.FailDamaged(
        Format("ROM entry %u is cut into %u chunks instead of 1", index, entry.chunkCount));
  }
  if (entry.inflatedBytes > kMaxRomBytes) {
    file.FailDamaged(Format("ROM entry %u would unpack to %u bytes, more than %u", index,
                            entry.inflatedBytes, kMaxRomBytes));
  }
  if (!file.Holds(entry.dataOffset, entry.storedBytes)) {
    file.Fail(
        EExitCode::PackDamaged,
        Format("is truncated or damaged: ROM entry %u (%llu bytes at %llu) reaches beyond the "
               "file's %llu bytes",
               index, Wide(entry.storedBytes), Wide(entry.dataOffset), Wide(file.Bytes())));
  }
  if (entry.inflatedBytes > entry.storedBytes * kMaxDeflateRatio) {
    file.FailDamaged(Format("ROM entry %u cannot unpack to %u bytes from %llu", index,
                            entry.inflatedBytes, Wide(entry.storedBytes)));
  }
}

void CheckDiskGeometry(const CPackFile& file, const SPackDiskEntry& disk, SPackInfo& info,
                       u64 memoryBytes) {
  if (disk.sizeTableOffset == 0) file.FailDamaged("the disk entry has no chunk size table");
  if (disk.chunkCount < kMinChunkCount) {
    file.FailDamaged(Format("the disk has a chunk count of %u, and the least is %u",
                            disk.chunkCount, kMinChunkCount));
  }
  if (disk.sectorBytes == 0) file.FailDamaged("the disk has a sector size of 0");
  if (disk.chunkBytes < disk.sectorBytes) {
    file.FailDamaged(Format("the disk's chunks of %u bytes are smaller than its sectors of %u",
                            disk.chunkBytes, disk.sectorBytes));
  }
  info.chunkBytes = disk.chunkBytes;
  info.chunkCount = disk.chunkCount;
  info.imageBytes = u64{disk.chunkBytes} * disk.chunkCount;
  if (info.imageBytes > kMaxDiskImageBytes) {
    file.FailDamaged(Format("the disk would take %llu GiB, and the most is %llu",
                            Wide(info.imageBytes >> 30), Wide(kMaxDiskImageBytes >> 30)));
  }
  const u64 sectorBytes = u64{disk.sectorBytes} * disk.sectorCount;
  if (sectorBytes > info.imageBytes) {
    file.FailDamaged(Format("the disk claims %llu bytes of sectors but stores %llu",
                            Wide(sectorBytes), Wide(info.imageBytes)));
  }
  if (info.imageBytes > memoryBytes) {
    file.Fail(EExitCode::OutOfMemory,
              Format("its disk takes %llu MiB of memory, and this computer has %llu",
                     Wide(info.imageBytes >> 20), Wide(memoryBytes >> 20)));
  }
}

void CheckChunkTable(const CPackFile& file, const SPackDiskEntry& disk, SPackInfo& info) {
  if (!file.Holds(disk.sizeTableOffset, u64{disk.chunkCount} * sizeof(u16))) {
    file.Fail(EExitCode::PackDamaged,
              Format("is truncated or damaged: the table of its %u disk chunks (at %llu) reaches "
                     "beyond the file's %llu bytes",
                     disk.chunkCount, Wide(disk.sizeTableOffset), Wide(file.Bytes())));
  }
  constexpr u32 kBlock = 32768;
  const auto sizes = std::make_unique<u16[]>(kBlock);
  u64 offset = disk.firstChunkOffset;
  for (u32 first = 0; first < disk.chunkCount;) {
    const u32 count = std::min(kBlock, disk.chunkCount - first);
    file.Read(disk.sizeTableOffset + u64{first} * sizeof(u16), sizes.get(), count * sizeof(u16));
    for (u32 i = 0; i < count; ++i) {
      const u64 stored = sizes[i] == 0 ? disk.chunkBytes : sizes[i];
      if (!file.Holds(offset, stored)) {
        file.Fail(EExitCode::PackDamaged,
                  Format("is truncated or damaged: disk chunk %u of %u reaches beyond the file's "
                         "%llu bytes",
                         first + i, disk.chunkCount, Wide(file.Bytes())));
      }
      if (disk.chunkBytes > stored * kMaxDeflateRatio) {
        file.FailDamaged(Format("disk chunk %u cannot unpack to %u bytes from %llu", first + i,
                                disk.chunkBytes, Wide(stored)));
      }
      offset += stored;
      if (sizes[i] != 0) ++info.deflatedChunkCount;
    }
    first += count;
  }
}

}  // namespace

SPackInfo CheckPack(const std::string& path, u64 memoryBytes) {
  const CPackFile file(path);
  SPackInfo info;
  CheckHeader(file, info);
  SPackDirectory directory{};
  file.Read(0, &directory, sizeof(directory));
  for (u32 i = 0; i < kPackRomCount; ++i) {
    CheckRom(file, i, directory.roms[i]);
    info.roms[i] = {directory.roms[i].storedBytes, directory.roms[i].inflatedBytes};
  }
  const SPackDiskEntry& disk = directory.disk;
  CheckDiskGeometry(file, disk, info, memoryBytes);
  CheckChunkTable(file, disk, info);
  return info;
}

u64 PhysicalMemoryBytes() {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long pageBytes = sysconf(_SC_PAGE_SIZE);
  if (pages <= 0 || pageBytes <= 0) return ~u64{0};
  return static_cast<u64>(pages) * static_cast<u64>(pageBytes);
}

}  // namespace vx
