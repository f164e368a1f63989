// Makes a pack file from a manifest. The same manifest and inputs give the same bytes.
#pragma once

#include <filesystem>

#include "base/Types.h"
#include "tools/packfile/Manifest.h"
#include "tools/packfile/PackReader.h"

namespace vx {

// What a build did, for a closing line.
struct SBuildReport {
  u64 packBytes = 0;
  u64 imageBytes = 0;  // of the disk image as given
  u64 diskBytes = 0;   // of the disk as the guest sees it: zero-extended if larger
  u32 chunkCount = 0;
  u32 rawChunkCount = 0;
};

// Writes the pack under `output`, which takes its name only when it is complete. Throws CToolError:
// BadInput for inputs that do not fit, BadFile for files that cannot be read or written, and
// BadInput if `output` is the manifest or one of the inputs.
SBuildReport BuildPack(const SManifest& manifest, const std::filesystem::path& manifestPath,
                       const std::filesystem::path& output, const ReportProgress& report);

}  // namespace vx
