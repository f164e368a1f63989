#include "tools/vxpack/Commands.h"

#include <cinttypes>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "tools/packfile/ByteSource.h"
#include "tools/packfile/Manifest.h"
#include "tools/packfile/PackBuilder.h"
#include "tools/packfile/PackReader.h"
#include "tools/packfile/PendingFile.h"
#include "tools/packfile/ToolError.h"
#include "tools/vxpack/ProgressBar.h"

namespace vx {
namespace {

constexpr const char* kBootName = "boot.rom";
constexpr const char* kDiskName = "disk.img";
constexpr const char* kManifestName = "pack.manifest";

ReportProgress ShowOn(CProgressBar& bar) {
  return [&bar](u64 done, u64 total) { bar.Show(done, total); };
}

void PrintRow(const char* name, u64 offset, u64 storedBytes, u64 bytes, u64 hash) {
  std::printf("%-6s  %12" PRIu64 "  %12" PRIu64 "  %12" PRIu64 "  %016" PRIX64 "\n", name, offset,
              storedBytes, bytes, hash);
}

void WriteWhole(const std::filesystem::path& target, std::span<const u8> bytes) {
  CPendingFile file(target);
  file.Write(bytes);
  file.Commit();
}

// Whether extracting may write a file of this name.
void RefuseTaken(const std::filesystem::path& target, const std::filesystem::path& pack,
                 bool bForce) {
  std::error_code ignored;
  if (std::filesystem::equivalent(target, pack, ignored)) {
    throw CToolError(EExitCode::BadInput,
                     target.string() +
                         " is the pack itself and is not overwritten; give another "
                         "folder.");
  }
  if (!bForce && std::filesystem::exists(std::filesystem::symlink_status(target, ignored))) {
    throw CToolError(EExitCode::BadInput, target.string() +
                                              " exists already; give another folder, "
                                              "or --force to replace it.");
  }
}

void MakeFolder(const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error || !std::filesystem::is_directory(folder, error)) {
    throw CToolError(EExitCode::BadFile,
                     folder.string() + " cannot be made a folder: " + error.message() + ".");
  }
}

}  // namespace

void RunBuild(const std::filesystem::path& manifestPath, const std::filesystem::path& output,
              bool bQuiet) {
  const SManifest manifest = ReadManifest(manifestPath);
  SBuildReport summary;
  {
    CProgressBar bar("packing " + output.filename().string());
    summary = BuildPack(manifest, manifestPath, output, ShowOn(bar));
  }
  if (bQuiet) return;
  if (summary.imageBytes < summary.diskBytes) {
    std::fprintf(stderr,
                 "vxpack: note: %s has %" PRIu64 " bytes; it is extended by zeros to the %" PRIu64
                 " bytes of the disk.\n",
                 manifest.disk.path.c_str(), summary.imageBytes, summary.diskBytes);
  }
  std::printf("%s: %" PRIu64 " bytes, disk of %" PRIu64 " bytes in %u chunks, %u of them raw\n",
              output.c_str(), summary.packBytes, summary.diskBytes, summary.chunkCount,
              summary.rawChunkCount);
}

void RunInfo(const std::filesystem::path& packPath) {
  const CFileSource source(packPath);
  const CPackReader reader(source);
  const SPackDirectory& directory = reader.Directory();
  const SPackDiskEntry& disk = directory.disk;
  std::printf("file       %s, %" PRIu64 " bytes\n", source.Name().c_str(), source.SizeBytes());
  std::printf("layout     %s\n", directory.header.identity == kPackIdentityA ? "A" : "B");
  std::printf("pack hash  %016" PRIX64 "\n", PackHash(directory));
  std::printf("sound hash %016" PRIX64 "\n\n", SoundRomHash(directory));
  std::printf("%-6s  %12s  %12s  %12s  %s\n", "entry", "offset", "stored", "bytes", "hash");
  for (u32 i = 0; i < kPackRomCount; ++i) {
    const SPackRomEntry& rom = directory.roms[i];
    const std::string name = i == 0 ? "boot" : "sound" + std::to_string(i);
    PrintRow(name.c_str(), rom.dataOffset, rom.storedBytes, rom.inflatedBytes, rom.hash);
  }
  PrintRow("disk", disk.firstChunkOffset, reader.StoredDiskBytes(), reader.DiskBytes(), disk.hash);
  std::printf("\ndisk       %u sectors of %u bytes; %u cylinders, %u heads, %u sectors per track\n",
              disk.sectorCount, disk.sectorBytes, disk.cylinders, disk.heads, disk.sectorsPerTrack);
  std::printf("chunks     %u of %u bytes, %u of them raw; size table at %" PRIu64 "\n",
              disk.chunkCount, disk.chunkBytes, reader.RawChunkCount(), disk.sizeTableOffset);
}

void RunVerify(const std::filesystem::path& packPath, bool bQuiet) {
  const CFileSource source(packPath);
  const CPackReader reader(source);
  {
    CProgressBar bar("verifying " + packPath.filename().string());
    reader.Verify(ShowOn(bar));
  }
  if (!bQuiet) {
    std::printf("%s: whole; %u ROMs and %u disk chunks decoded, all hashes agree\n",
                source.Name().c_str(), kPackRomCount, reader.Directory().disk.chunkCount);
  }
}

void RunExtract(const std::filesystem::path& packPath, const std::filesystem::path& folder,
                bool bForce, bool bQuiet) {
  const CFileSource source(packPath);
  const CPackReader reader(source);
  const SPackDirectory& directory = reader.Directory();

  std::string soundNames[kPackRomCount - 1];
  std::vector<std::string> names = {kBootName, kDiskName, kManifestName};
  for (u32 i = 1; i < kPackRomCount; ++i) {
    if (directory.roms[i].inflatedBytes == 0) continue;
    soundNames[i - 1] = "sound" + std::to_string(i) + ".rom";
    names.push_back(soundNames[i - 1]);
  }
  MakeFolder(folder);
  for (const std::string& name : names) RefuseTaken(folder / name, packPath, bForce);

  for (u32 i = 0; i < kPackRomCount; ++i) {
    const std::vector<u8> bytes = reader.ReadRom(i);
    const std::string name = i == 0 ? kBootName : soundNames[i - 1];
    if (!name.empty()) WriteWhole(folder / name, bytes);
  }
  {
    CProgressBar bar("extracting " + packPath.filename().string());
    CPendingFile file(folder / kDiskName);
    reader.ReadDisk([&file](std::span<const u8> piece) { file.Write(piece); }, ShowOn(bar));
    file.Commit();
  }
  const std::string manifest = WriteManifest(directory, kBootName, soundNames, kDiskName);
  WriteWhole(folder / kManifestName,
             {reinterpret_cast<const u8*>(manifest.data()), manifest.size()});
  if (!bQuiet) {
    std::printf("%s: %zu files; 'vxpack build %s' makes a pack of them again\n", folder.c_str(),
                names.size(), (folder / kManifestName).c_str());
  }
}

}  // namespace vx
