// A picture of the machine as a PNG file.
#pragma once

#include <string>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

// Pixels as 0x00RRGGBB. Throws CHostError (OutputFailed) naming the file.
void WritePng(const std::string& path, const u32* pixels, u32 width, u32 height);

// The same file as bytes. Throws std::bad_alloc if there is no memory for it.
std::vector<u8> EncodePng(const u32* pixels, u32 width, u32 height);

// A name that is not taken yet: FOLDER/STEM_000123.png, then FOLDER/STEM_000123_2.png and so on. An
// empty folder is the current one.
std::string FreePicturePath(const std::string& folder, const std::string& stem, u64 frame);

}  // namespace vx
