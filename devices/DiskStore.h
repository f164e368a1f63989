// Records of the disk store: the pack's disk as chunks that a reader thread inflates into one image
// in memory while the guest runs, and the bitmap of sectors that the guest has written.
#pragma once

#include <atomic>
#include <thread>

#include "base/PackFormat.h"
#include "base/Types.h"

namespace vx {

class CVXMachine;

inline constexpr u32 kNoWantedChunk = 0xFFFFFFFF;

// One chunk of the disk in the pack file.
struct SChunkRecord {
  u64 fileOffset = 0;
  u16 packedSize = 0;  // 0: stored raw, one chunk long
  u16 padding10 = 0;
  std::atomic<u8> bReady{0};  // set last, with release, once its bytes are in the image
  u8 padding13[3] = {};
};
static_assert(sizeof(SChunkRecord) == 16);

// Head of the disk delta; the record is a format.
struct SDeltaHeader {
  u64 reserved0 = 0;
  u32 bitmapWords = 0;
  u32 firstDirtyWord = 0;
  u32 lastDirtyWord = 0;
  u32 reserved20 = 0;
};
static_assert(sizeof(SDeltaHeader) == 24);

// The disk reader. Its thread runs until all chunks are in or it is told to stop.
struct SReaderThread {
  std::thread thread;
  std::atomic<bool> bStop{false};
};

// Starts the reader of the machine's present chunk table.
void StartDiskReader(CVXMachine& machine);
// Stops the reader, waits for it and frees its record; nothing if there is none.
void StopDiskReader(CVXMachine& machine);
// Releases what only loading needs, once all chunks are in.
void FinishDiskLoad(CVXMachine& machine);
// Sizes the dirty bitmap for the present disk, describes the drive to the ATA device and applies
// the disk's overlay file. Nothing happens while the size stays the same.
void PrepareDisk(CVXMachine& machine);
// Waits until the chunks that a sector lies in are in the image. The sector is inside it.
void WaitForSector(CVXMachine& machine, u64 sector);
// Words that a bitmap of the present disk's sectors has.
u32 RequiredBitmapWords(const CVXMachine& machine);
// Whether a sector may be touched: on the disk and inside the image.
bool IsOnDisk(const CVXMachine& machine, u64 sector);

// The storage functions of the ATA device; `user` is the machine. A sector whose chunk is not in
// yet holds the calling thread until it is. Sectors outside the disk answer 0 bytes.
void OnSectorTouched(u64 sector, void* user);
u32 ReadSector(u8* buffer, u64 sector, void* user);
u32 WriteSector(const u8* buffer, u64 sector, void* user);

}  // namespace vx
