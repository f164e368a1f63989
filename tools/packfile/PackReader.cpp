#include "tools/packfile/PackReader.h"

#include <algorithm>
#include <cinttypes>

#include "tools/packfile/EntryHash.h"
#include "tools/packfile/ToolError.h"
#include "tools/packfile/ZlibStream.h"

namespace vx {
namespace {

constexpr u64 kPieceBytes = 64 * 1024;

std::string Hex(u64 value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%016" PRIx64, value);
  return text;
}

std::string Text(u64 value) { return std::to_string(value); }

std::string Found(const std::string& what, const std::string& found, const std::string& expected) {
  return what + ": found " + found + ", expected " + expected;
}

std::string ChunkName(u32 chunk, u32 chunkCount) {
  return "disk chunk " + Text(chunk) + " (of 0 to " + Text(chunkCount - 1) + ")";
}

}  // namespace

std::string RomName(u32 index) {
  return index == 0 ? "the boot ROM" : "sound ROM " + std::to_string(index);
}

u64 SoundRomHash(const SPackDirectory& directory) {
  u64 hash = 0;
  for (u32 i = 1; i < kPackRomCount; ++i) hash ^= directory.roms[i].hash;
  return hash;
}

u64 PackHash(const SPackDirectory& directory) {
  return directory.roms[0].hash ^ SoundRomHash(directory) ^ directory.disk.hash;
}

CPackReader::CPackReader(const CByteSource& source) : source_(source) {
  if (source.SizeBytes() < sizeof(SPackHeader)) {
    Refuse("this is no pack: found " + Text(source.SizeBytes()) +
           " bytes, expected at least a header of " + Text(sizeof(SPackHeader)));
  }
  source.Read(0, {reinterpret_cast<u8*>(&directory_.header), sizeof(SPackHeader)});
  CheckHeader();
  source.Read(0, {reinterpret_cast<u8*>(&directory_), sizeof directory_});
  for (u32 i = 0; i < kPackRomCount; ++i) CheckRomEntry(i);
  CheckDiskEntry();
  ReadSizeTable();
}

void CPackReader::Refuse(const std::string& what) const {
  throw CToolError(EExitCode::BadPack, source_.Name() + ": " + what + ".");
}

void CPackReader::CheckHeader() const {
  const SPackHeader& header = directory_.header;
  if (header.magic != kPackMagic) {
    Refuse(Found("this is no pack; its magic number", Hex(header.magic), Hex(kPackMagic)));
  }
  if (header.version != kPackVersion) {
    Refuse(Found("the version", Text(header.version), Text(kPackVersion)));
  }
  if (header.entryCount != kPackEntryCount) {
    Refuse(Found("the entry count", Text(header.entryCount), Text(kPackEntryCount)));
  }
  if (header.identity != kPackIdentityA && header.identity != kPackIdentityB) {
    Refuse(Found("the identity", Hex(header.identity),
                 Hex(kPackIdentityA) + " or " + Hex(kPackIdentityB)));
  }
  if (source_.SizeBytes() <= sizeof(SPackDirectory)) {
    Refuse(Found("the file is cut off in its entries", Text(source_.SizeBytes()) + " bytes",
                 "more than " + Text(sizeof(SPackDirectory))));
  }
}

void CPackReader::CheckRomEntry(u32 index) const {
  const SPackRomEntry& rom = directory_.roms[index];
  const std::string name = RomName(index);
  if (rom.storedBytes == 0) {
    Refuse(Found(name + ", stored size", "0 bytes", "a zlib stream"));
  }
  if (rom.chunkCount != 1) {
    Refuse(Found(name + ", chunk count", Text(rom.chunkCount), "1"));
  }
  if (rom.inflatedBytes > kMaxRomBytes) {
    Refuse(Found(name + ", inflated size", Text(rom.inflatedBytes) + " bytes",
                 "at most " + Text(kMaxRomBytes)));
  }
  if (rom.dataOffset < sizeof(SPackDirectory) || !source_.Holds(rom.dataOffset, rom.storedBytes)) {
    Refuse(Found(name + ", place of its data",
                 Text(rom.storedBytes) + " bytes at " + Text(rom.dataOffset),
                 "an area between byte " + Text(sizeof(SPackDirectory)) +
                     " and the end of the file at " + Text(source_.SizeBytes())));
  }
}

void CPackReader::CheckDiskEntry() const {
  const SPackDiskEntry& disk = directory_.disk;
  if (disk.sizeTableOffset == 0) {
    Refuse(Found("the disk, place of the chunk size table", "0", "an offset"));
  }
  if (disk.chunkCount < kMinChunkCount) {
    Refuse(
        Found("the disk, chunk count", Text(disk.chunkCount), "at least " + Text(kMinChunkCount)));
  }
  if (disk.sectorBytes != kSectorBytes) {
    Refuse(Found("the disk, sector size", Text(disk.sectorBytes), Text(kSectorBytes)));
  }
  if (disk.chunkBytes == 0 || disk.chunkBytes % kSectorBytes != 0) {
    Refuse(Found("the disk, chunk size", Text(disk.chunkBytes) + " bytes",
                 "a multiple of the sector size"));
  }
  const u64 imageBytes = u64{disk.chunkCount} * disk.chunkBytes;
  if (imageBytes > kMaxDiskImageBytes) {
    Refuse(Found("the disk, size of all chunks", Text(imageBytes) + " bytes",
                 "at most " + Text(kMaxDiskImageBytes)));
  }
  if (disk.sectorCount == 0 || DiskBytes() > imageBytes) {
    Refuse(Found("the disk, sector count", Text(disk.sectorCount),
                 "1 to " + Text(imageBytes / kSectorBytes) + " for its chunks"));
  }
  const bool bNoGeometry = disk.cylinders == 0 || disk.heads == 0 || disk.sectorsPerTrack == 0;
  const u64 headSectors = u64{disk.heads} * disk.sectorsPerTrack;
  if (bNoGeometry || headSectors > disk.sectorCount ||
      headSectors * disk.cylinders > disk.sectorCount) {
    Refuse(Found(
        "the disk, geometry",
        Text(disk.cylinders) + " cylinders, " + Text(disk.heads) + " heads, " +
            Text(disk.sectorsPerTrack) + " sectors per track",
        "numbers above 0 whose product is at most the sector count of " + Text(disk.sectorCount)));
  }
}

void CPackReader::ReadSizeTable() {
  const SPackDiskEntry& disk = directory_.disk;
  const u64 tableBytes = u64{disk.chunkCount} * sizeof(u16);
  if (disk.sizeTableOffset < sizeof(SPackDirectory) ||
      !source_.Holds(disk.sizeTableOffset, tableBytes)) {
    Refuse(Found("the disk, place of the chunk size table",
                 Text(tableBytes) + " bytes at " + Text(disk.sizeTableOffset),
                 "an area between byte " + Text(sizeof(SPackDirectory)) +
                     " and the end of the file at " + Text(source_.SizeBytes())));
  }
  storedChunkBytes_.resize(disk.chunkCount);
  source_.Read(disk.sizeTableOffset,
               {reinterpret_cast<u8*>(storedChunkBytes_.data()), std::size_t{tableBytes}});
  chunkOffsets_.resize(disk.chunkCount);
  u64 offset = disk.firstChunkOffset;
  for (u32 chunk = 0; chunk < disk.chunkCount; ++chunk) {
    const u64 storedBytes =
        storedChunkBytes_[chunk] != 0 ? storedChunkBytes_[chunk] : u64{disk.chunkBytes};
    if (offset < sizeof(SPackDirectory) || !source_.Holds(offset, storedBytes)) {
      Refuse(Found(ChunkName(chunk, disk.chunkCount) + ", place of its data",
                   Text(storedBytes) + " bytes at " + Text(offset),
                   "an area between byte " + Text(sizeof(SPackDirectory)) +
                       " and the end of the file at " + Text(source_.SizeBytes())));
    }
    chunkOffsets_[chunk] = offset;
    offset += storedBytes;
  }
}

u64 CPackReader::DiskBytes() const {
  return u64{directory_.disk.sectorCount} * directory_.disk.sectorBytes;
}

u32 CPackReader::RawChunkCount() const {
  return static_cast<u32>(std::count(storedChunkBytes_.begin(), storedChunkBytes_.end(), u16{0}));
}

u64 CPackReader::StoredDiskBytes() const {
  u64 bytes = u64{RawChunkCount()} * directory_.disk.chunkBytes;
  for (const u16 stored : storedChunkBytes_) bytes += stored;
  return bytes;
}

std::vector<u8> CPackReader::ReadRom(u32 index) const {
  const SPackRomEntry& rom = directory_.roms[index];
  std::vector<u8> bytes;
  bytes.reserve(rom.inflatedBytes);
  const std::string fault = InflateStored(source_, rom.dataOffset, rom.storedBytes,
                                          rom.inflatedBytes, [&bytes](std::span<const u8> piece) {
                                            bytes.insert(bytes.end(), piece.begin(), piece.end());
                                          });
  if (!fault.empty()) Refuse(RomName(index) + " at byte " + Text(rom.dataOffset) + ": " + fault);
  return bytes;
}

void CPackReader::DecodeChunk(u32 chunk,
                              const std::function<void(std::span<const u8>)>& take) const {
  const SPackDiskEntry& disk = directory_.disk;
  const u64 offset = chunkOffsets_[chunk];
  if (storedChunkBytes_[chunk] != 0) {
    const std::string fault =
        InflateStored(source_, offset, storedChunkBytes_[chunk], disk.chunkBytes, take);
    if (!fault.empty()) {
      Refuse(ChunkName(chunk, disk.chunkCount) + " at byte " + Text(offset) + ": " + fault);
    }
    return;
  }
  std::vector<u8> piece(static_cast<std::size_t>(std::min(u64{disk.chunkBytes}, kPieceBytes)));
  for (u64 done = 0; done < disk.chunkBytes;) {
    piece.resize(static_cast<std::size_t>(std::min(disk.chunkBytes - done, kPieceBytes)));
    source_.Read(offset + done, piece);
    take(piece);
    done += piece.size();
  }
}

void CPackReader::ReadDisk(const std::function<void(std::span<const u8>)>& take,
                           const ReportProgress& report) const {
  u64 leftBytes = DiskBytes();
  for (u32 chunk = 0; chunk < directory_.disk.chunkCount; ++chunk) {
    DecodeChunk(chunk, [&](std::span<const u8> piece) {
      const u64 wantedBytes = std::min<u64>(piece.size(), leftBytes);
      take(piece.first(static_cast<std::size_t>(wantedBytes)));
      leftBytes -= wantedBytes;
    });
    if (report) report(DiskBytes() - leftBytes, DiskBytes());
  }
}

void CPackReader::Verify(const ReportProgress& report) const {
  for (u32 i = 0; i < kPackRomCount; ++i) {
    CEntryHash hash;
    hash.Add(ReadRom(i));
    if (hash.RomHash() != directory_.roms[i].hash) {
      Refuse(Found(RomName(i) + ", hash of its data", Hex(hash.RomHash()),
                   Hex(directory_.roms[i].hash) + " as its entry says"));
    }
  }
  CEntryHash hash;
  ReadDisk([&hash](std::span<const u8> piece) { hash.Add(piece); }, report);
  const SPackDiskEntry& disk = directory_.disk;
  if (hash.DiskHash(disk) != disk.hash) {
    Refuse(Found("the disk, hash of its data and geometry", Hex(hash.DiskHash(disk)),
                 Hex(disk.hash) + " as its entry says"));
  }
}

}  // namespace vx
