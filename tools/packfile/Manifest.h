// The text file that tells what goes into a pack. One `key = value` a line; `#` at the start of a
// line or behind white space begins a comment; a value that holds a `#` or outer blanks stands in
// double quotes. File names are relative to the manifest.
//
//   identity = A                 # board layout: A or B
//   boot     = boot.rom          # at most 524,288 bytes
//   sound1   = sound1.rom        # sound1 to sound8, each may be left out: an empty ROM
//   disk     = disk.img          # raw image, sector after sector
//   chunk    = 65536             # 32768 or 65536 bytes, inflated; 65536 if left out
//   sector   = 512               # the only size there is; may be left out
//   cylinders = 100              # with heads and sectors_per_track the size of the disk; the image
//   heads = 10                   # is extended by zeros to it and may not be larger. All three may
//   sectors_per_track = 10       # be left out: 16 heads, 63 sectors, as many cylinders as it takes
//   sectors = 10000              # addressable sectors, if they are more than the geometry holds
#pragma once

#include <filesystem>
#include <istream>
#include <optional>
#include <string>

#include "base/PackFormat.h"
#include "base/Types.h"

namespace vx {

// A file named in the manifest, with the line that names it.
struct SInputFile {
  std::filesystem::path path;
  u32 line = 0;
};

struct SGeometry {
  u32 cylinders = 0;
  u32 heads = 0;
  u32 sectorsPerTrack = 0;
};

struct SManifest {
  std::string name;  // of the manifest itself, for messages
  u64 identity = 0;
  SInputFile boot;
  std::optional<SInputFile> sounds[kPackRomCount - 1];
  SInputFile disk;
  u32 chunkBytes = 65536;
  std::optional<SGeometry> geometry;
  std::optional<u32> sectorCount;
};

// Reads a manifest. Throws CToolError (BadInput) with "NAME:LINE: what is wrong".
SManifest ParseManifest(std::istream& text, const std::string& name,
                        const std::filesystem::path& folder);
// Opens and reads a manifest file; BadFile if it cannot be read.
SManifest ReadManifest(const std::filesystem::path& path);

// The disk entry's sizes for an image of a given size: everything but offsets and hash.
// Throws CToolError (BadInput) if the image does not fit the manifest's geometry.
SPackDiskEntry ShapeDisk(const SManifest& manifest, u64 imageBytes);

// The text of a manifest for files named as given; a sound ROM without a name is left out.
std::string WriteManifest(const SPackDirectory& directory, const std::string& bootName,
                          const std::string (&soundNames)[kPackRomCount - 1],
                          const std::string& diskName);

}  // namespace vx
