// Where a host keeps and finds files.
#pragma once

#include <string>

namespace vx {

// The user's cache folder for this host, ending in "/": $XDG_CACHE_HOME/vxrun/, or
// $HOME/.cache/vxrun/, or a folder among the temporary files when neither is known.
std::string DefaultCacheFolder();

// Makes the folder and all above it; true if it is there and is a folder afterwards.
bool EnsureFolder(const std::string& path) noexcept;

// The component's place by default: machine_vx.so beside the running program.
std::string DefaultComponentPath();

}  // namespace vx
