// A picture of the machine as a PNG file.
#pragma once

#include <string>

#include "plugin/Quillon.h"

namespace vx {

// Pixels as 0x00RRGGBB. Throws CHostError (OutputFailed) naming the file.
void WritePng(const std::string& path, const u32* pixels, u32 width, u32 height);

}  // namespace vx
