// The settings file: one setting a line, "KEY = VALUE".
#pragma once

#include <string>

#include "host/Settings.h"

namespace vx {

// Takes the file's values, written as for CSettings::Set; settings without a line keep theirs.
// Throws CHostError: FileUnreadable, or Usage with the number of the line.
void ReadSettingsFile(CSettings& settings, const std::string& path);

// Writes all settings with their ranges. The file is replaced as a whole, or not at all. Throws
// CHostError (OutputFailed).
void WriteSettingsFile(const CSettings& settings, const std::string& path);

}  // namespace vx
