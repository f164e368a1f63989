// A small file that a run reads whole: controls, settings, an input movie.
#pragma once

#include <string>

#include "plugin/Quillon.h"

namespace vx {

// Throws CHostError (FileUnreadable) with a sentence that names the file: it is missing, no plain
// file, not to be read, or larger than `maxBytes`. Never blocks on pipes or devices.
std::string ReadInputFile(const std::string& path, u64 maxBytes);

// Whether there is anything under this name.
bool PathExists(const std::string& path);

}  // namespace vx
