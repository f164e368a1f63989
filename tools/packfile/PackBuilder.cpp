#include "tools/packfile/PackBuilder.h"

#include <algorithm>
#include <span>
#include <vector>

#include "tools/packfile/ByteSource.h"
#include "tools/packfile/EntryHash.h"
#include "tools/packfile/PendingFile.h"
#include "tools/packfile/ToolError.h"
#include "tools/packfile/ZlibStream.h"

namespace vx {
namespace {

template <typename T>
std::span<const u8> BytesOf(const T& record) {
  return {reinterpret_cast<const u8*>(&record), sizeof record};
}

// Opens an input; a failure names the manifest line that asked for it.
CFileSource OpenInput(const SManifest& manifest, const SInputFile& input) {
  try {
    return CFileSource(input.path);
  } catch (const CToolError& error) {
    throw CToolError(error.ExitCode(),
                     manifest.name + ":" + std::to_string(input.line) + ": " + error.what());
  }
}

void RefuseInputAsOutput(const std::filesystem::path& input, const std::filesystem::path& output) {
  std::error_code ignored;
  if (std::filesystem::equivalent(input, output, ignored)) {
    throw CToolError(EExitCode::BadInput, output.string() +
                                              " is an input of this build and is not overwritten; "
                                              "give another name for the pack.");
  }
}

std::vector<u8> ReadRomFile(const SManifest& manifest, const SInputFile& input) {
  const CFileSource source = OpenInput(manifest, input);
  if (source.SizeBytes() > kMaxRomBytes) {
    throw CToolError(EExitCode::BadInput,
                     manifest.name + ":" + std::to_string(input.line) + ": " + source.Name() +
                         " has " + std::to_string(source.SizeBytes()) +
                         " bytes; a ROM has at most " + std::to_string(kMaxRomBytes) + ".");
  }
  std::vector<u8> bytes(static_cast<std::size_t>(source.SizeBytes()));
  source.Read(0, bytes);
  return bytes;
}

SPackRomEntry WriteRom(CPendingFile& file, const std::vector<u8>& bytes) {
  const std::vector<u8> packed = DeflateBytes(bytes);
  CEntryHash hash;
  hash.Add(bytes);
  SPackRomEntry entry = {};
  entry.dataOffset = file.Position();
  entry.storedBytes = packed.size();
  entry.hash = hash.RomHash();
  entry.inflatedBytes = static_cast<u32>(bytes.size());
  entry.chunkCount = 1;
  file.Write(packed);
  return entry;
}

// Writes the chunk size table and all chunks behind it, and completes the entry.
void WriteDisk(CPendingFile& file, const CByteSource& image, SPackDiskEntry& disk,
               SBuildReport& summary, const ReportProgress& report) {
  const u64 diskBytes = u64{disk.sectorCount} * disk.sectorBytes;
  std::vector<u16> sizeTable(disk.chunkCount);
  const std::span<const u8> tableBytes(reinterpret_cast<const u8*>(sizeTable.data()),
                                       sizeTable.size() * sizeof(u16));
  disk.sizeTableOffset = file.Position();
  file.Write(tableBytes);
  disk.firstChunkOffset = file.Position();

  CEntryHash hash;
  std::vector<u8> chunk(disk.chunkBytes);
  for (u32 i = 0; i < disk.chunkCount; ++i) {
    const u64 begin = u64{i} * disk.chunkBytes;
    const u64 fromImage =
        image.SizeBytes() > begin ? std::min<u64>(image.SizeBytes() - begin, chunk.size()) : 0;
    const std::span<u8> given(chunk.data(), static_cast<std::size_t>(fromImage));
    if (!given.empty()) image.Read(begin, given);
    std::fill(chunk.begin() + static_cast<std::ptrdiff_t>(fromImage), chunk.end(), u8{0});
    const u64 onDisk = diskBytes > begin ? std::min<u64>(diskBytes - begin, chunk.size()) : 0;
    hash.Add({chunk.data(), static_cast<std::size_t>(onDisk)});

    const std::vector<u8> packed = DeflateBytes(chunk);
    if (packed.size() < chunk.size() && packed.size() <= kMaxPackedChunkBytes) {
      sizeTable[i] = static_cast<u16>(packed.size());
      file.Write(packed);
    } else {
      ++summary.rawChunkCount;
      file.Write(chunk);
    }
    if (report) report(i + 1, disk.chunkCount);
  }
  disk.hash = hash.DiskHash(disk);
  const u64 end = file.Position();
  file.Seek(disk.sizeTableOffset);
  file.Write(tableBytes);
  file.Seek(end);
}

}  // namespace

SBuildReport BuildPack(const SManifest& manifest, const std::filesystem::path& manifestPath,
                       const std::filesystem::path& output, const ReportProgress& report) {
  RefuseInputAsOutput(manifestPath, output);
  RefuseInputAsOutput(manifest.boot.path, output);
  for (const auto& sound : manifest.sounds) {
    if (sound) RefuseInputAsOutput(sound->path, output);
  }
  RefuseInputAsOutput(manifest.disk.path, output);

  std::vector<u8> roms[kPackRomCount];
  roms[0] = ReadRomFile(manifest, manifest.boot);
  if (roms[0].empty()) {
    throw CToolError(EExitCode::BadInput, manifest.name + ":" + std::to_string(manifest.boot.line) +
                                              ": " + manifest.boot.path.string() +
                                              " is empty; the board starts in its boot ROM.");
  }
  for (u32 i = 1; i < kPackRomCount; ++i) {
    if (const auto& sound = manifest.sounds[i - 1]) roms[i] = ReadRomFile(manifest, *sound);
  }
  const CFileSource image = OpenInput(manifest, manifest.disk);

  SPackDirectory directory = {};
  directory.header = {kPackMagic, kPackVersion, kPackEntryCount, manifest.identity};
  directory.disk = ShapeDisk(manifest, image.SizeBytes());
  SBuildReport summary;
  summary.imageBytes = image.SizeBytes();
  summary.diskBytes = u64{directory.disk.sectorCount} * directory.disk.sectorBytes;
  summary.chunkCount = directory.disk.chunkCount;

  CPendingFile file(output);
  file.Write(BytesOf(directory));
  for (u32 i = 0; i < kPackRomCount; ++i) directory.roms[i] = WriteRom(file, roms[i]);
  WriteDisk(file, image, directory.disk, summary, report);
  summary.packBytes = file.Position();
  file.Seek(0);
  file.Write(BytesOf(directory));
  file.Commit();
  return summary;
}

}  // namespace vx
