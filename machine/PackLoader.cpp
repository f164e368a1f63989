// Loading and unloading of a game pack.
#include <sys/mman.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "blocks/BlockTable.h"
#include "blocks/RecordCache.h"
#include "devices/DiskOverlay.h"
#include "machine/HostAccess.h"
#include "machine/LookAhead.h"
#include "machine/PackIdentity.h"
#include "machine/Settings.h"
#include "machine/VXMachine.h"

namespace vx {

namespace {

// One buffer for the stored data of all ROMs; it only grows.
class CScratch {
 public:
  u8* Ensure(u64 bytes) {
    if (bytes > bytes_) {
      data_.reset(new u8[bytes]);
      bytes_ = bytes;
    }
    return data_.get();
  }

 private:
  std::unique_ptr<u8[]> data_;
  u64 bytes_ = 0;
};

// A disk image of zero pages that take no memory before they are filled: what a short file leaves
// out reads as zero, and a pack that claims a huge disk does no harm.
std::shared_ptr<u8[]> AllocateImage(u64 bytes) {
  void* const image = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (image == MAP_FAILED) throw std::bad_alloc();
  return {static_cast<u8*>(image), [bytes](u8* pages) { munmap(pages, bytes); }};
}

bool ReadHeader(CQuillonFile& file, SPackHeader& header) {
  header = {kPackMagic, kPackVersion, 0, 0};
  if (file.Size() <= sizeof(header)) return false;
  file.Read(&header, sizeof(header));
  return header.magic == kPackMagic && header.version == kPackVersion;
}

bool LoadRom(CVXMachine& m, CQuillonFile& file, const SPackRomEntry& entry, u32 index,
             CScratch& scratch) {
  const u64 storedBytes = entry.storedBytes;
  if (storedBytes == 0) return false;
  m.packHash ^= entry.hash;
  if (entry.chunkCount != 1 || entry.inflatedBytes > kMaxRomBytes) return false;
  if (storedBytes > file.Size() || storedBytes > UINT32_MAX) return false;
  u8* const stored = scratch.Ensure(storedBytes);
  std::fill_n(stored, storedBytes, u8{0});
  file.Seek(entry.dataOffset);
  file.Read(stored, storedBytes);
  if (index != 0) m.soundRomHash ^= entry.hash;
  HostInflate(m.flatMem + u64{index + 17} * kRomBytes, stored, entry.inflatedBytes,
              static_cast<u32>(storedBytes));
  return true;
}

void FillChunkTable(CVXMachine& m, CQuillonFile& file, const SPackDiskEntry& entry) {
  std::vector<u16> sizes(entry.chunkCount, 0);
  file.Seek(entry.sizeTableOffset);
  file.Read(sizes.data(), sizes.size() * sizeof(u16));
  m.chunkTable = std::make_unique<SChunkRecord[]>(entry.chunkCount);
  u64 offset = entry.firstChunkOffset;
  for (u32 i = 0; i < entry.chunkCount; ++i) {
    m.chunkTable[i].fileOffset = offset;
    m.chunkTable[i].packedSize = sizes[i];
    offset += sizes[i] != 0 ? sizes[i] : entry.chunkBytes;
  }
}

bool LoadDisk(CVXMachine& m, const std::shared_ptr<CQuillonFile>& file,
              const SPackDiskEntry& entry) {
  if (entry.sizeTableOffset == 0) return false;
  m.packHash ^= entry.hash;
  const u64 imageBytes = u64{entry.chunkCount} * entry.chunkBytes;
  if (entry.chunkCount < kMinChunkCount || entry.sectorBytes == 0 ||
      entry.chunkBytes < entry.sectorBytes || imageBytes > kMaxDiskImageBytes ||
      u64{entry.chunkCount} * sizeof(u16) > file->Size()) {
    return false;
  }
  m.chunkBytes = entry.chunkBytes;
  m.chunkCount = entry.chunkCount;
  m.sectorBytes = entry.sectorBytes;
  m.sectorsPerChunk = entry.chunkBytes / entry.sectorBytes;
  m.diskSectors = entry.sectorCount;
  m.diskBytes = u64{entry.sectorCount} * entry.sectorBytes;
  m.diskId = entry.hash;
  m.packCylinders = entry.cylinders;
  m.packHeads = entry.heads;
  m.packSectorsPerTrack = entry.sectorsPerTrack;
  m.diskImage = AllocateImage(imageBytes);
  m.wantedChunk = kNoWantedChunk;
  FillChunkTable(m, *file, entry);
  m.packFile = file;
  StartDiskReader(m);
  return true;
}

}  // namespace

void CVXMachine::Unload() {
  for (auto& worker : workers) worker.reset();
  StoreRecordCache(*this);
  packHash = 0;
  soundRomHash = 0;
  bLoaded = 0;
  bIoLayoutB = 0;
  if (flushDeadline != 0.0) FlushPendingOverlay(*this);
  StopDiskReader(*this);
  chunkTable.reset();
  bAllChunksLoaded = 0;
  diskBytes = 0;
  diskSectors = 0;
  diskId = 0;
  packCylinders = 100;
  packHeads = 10;
  packSectorsPerTrack = 10;
  chunkBytes = 0;
  chunkCount = 0;
  sectorBytes = 0;
  sectorsPerChunk = 0;
  wantedChunk = kNoWantedChunk;
  diskImage.reset();
  dirtyBitmap.reset();
  // The next pack's disk is described and given a bitmap anew, also at the same size.
  deltaHeader = SDeltaHeader{};
  packFile.reset();
}

bool CVXMachine::LoadPackFile(const wchar_t* path) {
  const auto file = std::make_shared<CQuillonFile>();
  if (!file->Open(path, EFileMode::Read)) return false;

  SPackDirectory directory{};
  SPackHeader& header = directory.header;
  if (!ReadHeader(*file, header) || header.entryCount != kPackEntryCount) return false;
  if (header.identity != kPackIdentityA && header.identity != kPackIdentityB) return false;
  if (file->Size() < kPackSmallestFile) return false;
  bIoLayoutB = header.identity == kPackIdentityB;

  file->Read(directory.roms, sizeof(directory.roms));
  file->Read(&directory.disk, sizeof(directory.disk));
  CScratch scratch;
  for (u32 i = 0; i < kPackRomCount; ++i) {
    if (!LoadRom(*this, *file, directory.roms[i], i, scratch)) return false;
  }
  return LoadDisk(*this, file, directory.disk);
}

bool CVXMachine::LoadPack(const wchar_t* path) noexcept {
  Unload();
  if (path == nullptr || *path == L'\0' || !LoadPackFile(path)) return false;
  bLoaded = 1;
  PrepareDisk(*this);
  BuildIoTables(*this);
  LoadBlockTable();
  bPreserveCache.store(PreserveCacheSetting(), std::memory_order_relaxed);
  bRandomStart.store(RandomStartSetting(), std::memory_order_relaxed);
  return true;
}

u32 IdentifyPack(u64* hash, u64* size, const wchar_t* path) {
  CQuillonFile file;
  SPackHeader header;
  if (!file.Open(path, EFileMode::Read) || !ReadHeader(file, header)) return 0;
  const u64 count = header.entryCount;
  if (count < 1 || count > kPackMaxEntries) return 0;
  if (count * sizeof(SPackRomEntry) + sizeof(SPackHeader) >= file.Size()) return 0;

  u64 combined = 0;
  for (u64 i = 0; i < count; ++i) {
    SPackRomEntry entry = {};  // any entry's hash lies where a ROM's does
    file.Read(&entry, sizeof(entry));
    combined ^= entry.hash;
  }
  if (hash != nullptr) *hash = combined;
  if (size != nullptr) *size = file.Size();
  return 1;
}

}  // namespace vx
