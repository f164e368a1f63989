#include "devices/DiskStore.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <optional>

#include "devices/DiskOverlay.h"
#include "machine/HostAccess.h"
#include "machine/VXMachine.h"

namespace vx {

namespace {

constexpr std::chrono::milliseconds kChunkWait{4};
constexpr u32 kBitmapWordBits = 64;
constexpr f64 kFlushDelayMs = 200.0;

// Brings one chunk of the pack into the image. The position in the file follows the reads
// and is unknown before the first one and where one has failed. A packed chunk that cannot be read
// whole stays empty.
void ReadChunk(CVXMachine& m, u32 index, u8* scratch, std::optional<u64>& filePosition) {
  SChunkRecord& chunk = m.chunkTable[index];
  u8* const target = m.diskImage.get() + u64{index} * m.chunkBytes;
  const bool bPacked = chunk.packedSize != 0;
  const u32 storedBytes = bPacked ? chunk.packedSize : m.chunkBytes;
  const bool bInPlace = filePosition == chunk.fileOffset || m.packFile->Seek(chunk.fileOffset);
  filePosition.reset();
  if (bInPlace && m.packFile->Read(bPacked ? scratch : target, storedBytes) == storedBytes) {
    filePosition = chunk.fileOffset + storedBytes;
    if (bPacked) HostInflate(target, scratch, m.chunkBytes, storedBytes);
  }
  chunk.bReady.store(1, std::memory_order_release);
}

// The reader thread: front to back, but a wanted chunk goes first and the reading goes on from it.
void ReadDisk(CVXMachine& m, const std::atomic<bool>& bStop) {
  const std::unique_ptr<u8[]> scratch(new u8[std::max(m.chunkBytes, 65536u)]);
  std::optional<u64> filePosition;
  u32 loaded = 0;
  u32 cursor = 0;
  while (!bStop.load(std::memory_order_acquire) && loaded < m.chunkCount) {
    const u32 wanted = m.wantedChunk.exchange(kNoWantedChunk, std::memory_order_acq_rel);
    const bool bPriority = wanted < m.chunkCount;
    if (bPriority) cursor = wanted;
    if (m.chunkTable[cursor].bReady.load(std::memory_order_relaxed) == 0) {
      ReadChunk(m, cursor, scratch.get(), filePosition);
      ++loaded;
    }
    cursor = (cursor + 1) % m.chunkCount;
    if (bPriority) m.chunkReadyEvent.Signal();
  }
  if (loaded == m.chunkCount) m.bAllChunksLoaded.store(1, std::memory_order_release);
}

// The chunk that has to arrive before a byte of the image can be used, or null if it is in.
SChunkRecord* MissingChunk(CVXMachine& m, u64 imageByte) {
  if (m.bAllChunksLoaded.load(std::memory_order_acquire) != 0 || m.chunkTable == nullptr) {
    return nullptr;
  }
  SChunkRecord& chunk = m.chunkTable[imageByte / m.chunkBytes];
  return chunk.bReady.load(std::memory_order_acquire) == 0 ? &chunk : nullptr;
}

void Want(CVXMachine& m, const SChunkRecord* chunk) {
  m.wantedChunk.store(static_cast<u32>(chunk - m.chunkTable.get()), std::memory_order_release);
}

void WaitForByte(CVXMachine& m, u64 imageByte) {
  SChunkRecord* const chunk = MissingChunk(m, imageByte);
  if (chunk == nullptr) return;
  Want(m, chunk);
  while (chunk->bReady.load(std::memory_order_acquire) == 0) m.chunkReadyEvent.WaitFor(kChunkWait);
}

void MarkDirty(CVXMachine& m, u64 sector) {
  const u32 word = static_cast<u32>(sector / kBitmapWordBits);
  if (m.dirtyBitmap == nullptr) {  // a loaded state can take it away
    m.deltaHeader = SDeltaHeader{};
    m.deltaHeader.bitmapWords = RequiredBitmapWords(m);
    m.dirtyBitmap = std::make_unique<u64[]>(m.deltaHeader.bitmapWords);
  }
  if (word < m.deltaHeader.bitmapWords) {
    m.deltaHeader.firstDirtyWord = std::min(m.deltaHeader.firstDirtyWord, word);
    m.deltaHeader.lastDirtyWord = std::max(m.deltaHeader.lastDirtyWord, word);
    m.dirtyBitmap[word] |= u64{1} << (sector % kBitmapWordBits);
  }
  // A burst of writes goes to the overlay file once, a while after the last of them.
  if (m.parent == nullptr) m.flushDeadline = HostClockMs() + kFlushDelayMs;
}

// --- The drive's description -------------------------------------------------------------------

void PutText(u16* words, const char* text, u32 bytes) { std::memcpy(words, text, bytes); }

void FillIdentifyData(CVXMachine& m) {
  struct SWord {
    u32 index;
    u16 value;
  };
  const u64 sectors = (m.diskBytes + 511) >> 9;
  const u16 low = static_cast<u16>(sectors);
  const u16 high = static_cast<u16>(sectors >> 16);
  const u16 cylinders = static_cast<u16>(m.packCylinders);
  const u16 heads = static_cast<u16>(m.packHeads);
  const u16 perTrack = static_cast<u16>(m.packSectorsPerTrack);
  // clang-format off
  const SWord words[] = {
    {   0, 0x045A    }, {   1, cylinders }, {   3, heads     }, {   6, perTrack  },
    {  22, 4         }, {  47, 0x8010    }, {  49, 0x0F03    }, {  51, 2         },
    {  52, 2         }, {  53, 3         }, {  54, cylinders }, {  55, heads     },
    {  56, perTrack  }, {  57, low       }, {  58, high      }, {  60, low       },
    {  61, high      }, {  62, 0x0007    }, {  63, 0x0407    }, {  64, 3         },
    {  65, 0x0078    }, {  66, 0x0078    }, {  67, 0x014D    }, {  68, 0x0078    },
    {  69, 0x014D    }, {  70, 0x014D    }, { 100, low       }, { 101, high      },
  };
  // clang-format on
  u16* const identify = m.ata.identifyData;
  std::fill_n(identify, 256, u16{0});
  for (const SWord& word : words) identify[word.index] = word.value;
  PutText(identify + 10, "00ST9150AG0000000000", 20);
  PutText(identify + 23, "6.666\0\0", 8);
  PutText(identify + 27, "ST9150AG    ", 12);
}

}  // namespace

bool IsOnDisk(const CVXMachine& m, u64 sector) {
  if (sector >= m.diskSectors || m.sectorsPerChunk == 0) return false;
  const u64 chunk = sector / m.sectorsPerChunk;
  return chunk < m.chunkCount && (sector + 1) * kSectorBytes <= u64{m.chunkCount} * m.chunkBytes;
}

// A chunk whose size is no multiple of a sector's can end inside the sector.
void WaitForSector(CVXMachine& m, u64 sector) {
  WaitForByte(m, sector * kSectorBytes);
  WaitForByte(m, sector * kSectorBytes + kSectorBytes - 1);
}

u32 RequiredBitmapWords(const CVXMachine& m) {
  // A pack may claim more than any image holds; no sector beyond that can be written.
  const u64 bytes = std::min(m.diskBytes, kMaxDiskImageBytes);
  const u64 sectors = (bytes + kSectorBytes - 1) / kSectorBytes;
  return static_cast<u32>((sectors + kBitmapWordBits - 1) / kBitmapWordBits);
}

void StartDiskReader(CVXMachine& m) {
  StopDiskReader(m);
  m.readerThread = std::make_unique<SReaderThread>();
  SReaderThread* const reader = m.readerThread.get();
  reader->thread = std::thread([&m, reader] { ReadDisk(m, reader->bStop); });
}

void StopDiskReader(CVXMachine& m) {
  if (m.readerThread == nullptr) return;
  m.readerThread->bStop.store(true, std::memory_order_release);
  m.readerThread->thread.join();
  m.readerThread.reset();
}

void FinishDiskLoad(CVXMachine& m) {
  if (m.readerThread == nullptr || m.bAllChunksLoaded.load(std::memory_order_acquire) == 0) return;
  StopDiskReader(m);
  m.packFile.reset();
  m.chunkTable.reset();
}

void PrepareDisk(CVXMachine& m) {
  const u32 words = RequiredBitmapWords(m);
  if (words == m.deltaHeader.bitmapWords) return;
  m.deltaHeader = SDeltaHeader{};
  m.deltaHeader.bitmapWords = words;
  m.dirtyBitmap = std::make_unique<u64[]>(words);
  FillIdentifyData(m);
  SATARecord& drive = m.ata.block.record;
  drive.cylinders = m.packCylinders;
  drive.heads = m.packHeads;
  drive.sectorsPerTrack = m.packSectorsPerTrack;
  // A clone shares the master's image, which holds the overlay and what was written since.
  if (m.parent == nullptr && m.diskId != 0) ReadOverlay(m);
}

void OnSectorTouched(u64 sector, void* user) {
  CVXMachine& m = *static_cast<CVXMachine*>(user);
  if (!IsOnDisk(m, sector)) return;
  const SChunkRecord* const chunk = MissingChunk(m, sector * kSectorBytes);
  if (chunk != nullptr) Want(m, chunk);
}

u32 ReadSector(u8* buffer, u64 sector, void* user) {
  CVXMachine& m = *static_cast<CVXMachine*>(user);
  if (!IsOnDisk(m, sector)) return 0;
  WaitForSector(m, sector);
  std::memcpy(buffer, m.diskImage.get() + sector * kSectorBytes, kSectorBytes);
  return kSectorBytes;
}

u32 WriteSector(const u8* buffer, u64 sector, void* user) {
  CVXMachine& m = *static_cast<CVXMachine*>(user);
  if (!IsOnDisk(m, sector)) return 0;
  WaitForSector(m, sector);
  std::memcpy(m.diskImage.get() + sector * kSectorBytes, buffer, kSectorBytes);
  MarkDirty(m, sector);
  return kSectorBytes;
}

}  // namespace vx
