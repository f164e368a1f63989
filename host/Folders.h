// Where a host keeps and finds files.
#pragma once

#include <string>

namespace vx {

// The user's cache folder for this host, ending in "/": $XDG_CACHE_HOME/vxrun/, or
// $HOME/.cache/vxrun/, or a folder among the temporary files when neither is known.
std::string DefaultCacheFolder();

// The user's folder for what a person sets up, ending in "/": $XDG_CONFIG_HOME/vxrun/, or
// $HOME/.config/vxrun/. Empty when neither is known.
std::string DefaultConfigFolder();

// The user's folder for saved states, ending in "/": $XDG_DATA_HOME/vxrun/states/, or
// $HOME/.local/share/vxrun/states/, or a folder among the temporary files when neither is known.
std::string DefaultStateFolder();

// Makes the folder and all above it; true if it is there and is a folder afterwards.
bool EnsureFolder(const std::string& path) noexcept;

// The components' place by default, beside the running program: the one that runs native blocks,
// and the same board without any, for comparison.
inline constexpr const char* kNativeComponent = "machine_vx.so";
inline constexpr const char* kReplayComponent = "machine_vx_replay.so";
std::string ComponentBesideProgram(const char* name);

// A new folder among the temporary files; it goes with all that is in it.
class CTemporaryFolder {
 public:
  // Throws CHostError (OutputFailed).
  CTemporaryFolder();
  ~CTemporaryFolder();
  CTemporaryFolder(const CTemporaryFolder&) = delete;
  CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

  const std::string& Path() const { return path_; }  // ends in "/"

 private:
  std::string path_;
};

}  // namespace vx
