// The four commands of vxpack. Each throws CToolError when it cannot do what it is asked.
#pragma once

#include <filesystem>

namespace vx {

// Makes a pack from a manifest; unless quiet, says what came out.
void RunBuild(const std::filesystem::path& manifest, const std::filesystem::path& output,
              bool bQuiet);
// Prints what a pack holds.
void RunInfo(const std::filesystem::path& pack);
// Decodes everything in a pack and holds it against its hashes.
void RunVerify(const std::filesystem::path& pack, bool bQuiet);
// Writes ROMs, disk image and a manifest into a folder. Files that exist are kept unless forced.
void RunExtract(const std::filesystem::path& pack, const std::filesystem::path& folder, bool bForce,
                bool bQuiet);

}  // namespace vx
