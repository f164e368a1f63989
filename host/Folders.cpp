#include "host/Folders.h"

#include <unistd.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "host/HostError.h"

namespace vx {

namespace fs = std::filesystem;

namespace {

// Below the folder that the variable names, or else below the user's own. A relative folder counts
// as not set.
std::string FolderOfUser(const char* variable, const std::string& belowHome) {
  const char* xdg = std::getenv(variable);
  if (xdg != nullptr && xdg[0] == '/') return std::string(xdg) + "/vxrun/";
  const char* home = std::getenv("HOME");
  if (home != nullptr && home[0] == '/') return home + belowHome + "/vxrun/";
  return "";
}

std::string TemporaryFolderOfUser() {
  std::error_code error;
  fs::path temporary = fs::temp_directory_path(error);
  if (error) temporary = ".";
  return (temporary / ("vxrun-" + std::to_string(getuid()))).string() + "/";
}

}  // namespace

std::string DefaultCacheFolder() {
  const std::string folder = FolderOfUser("XDG_CACHE_HOME", "/.cache");
  return folder.empty() ? TemporaryFolderOfUser() : folder;
}

std::string DefaultConfigFolder() { return FolderOfUser("XDG_CONFIG_HOME", "/.config"); }

std::string DefaultStateFolder() {
  const std::string folder = FolderOfUser("XDG_DATA_HOME", "/.local/share");
  return (folder.empty() ? TemporaryFolderOfUser() : folder) + "states/";
}

bool EnsureFolder(const std::string& path) noexcept {
  try {
    std::error_code error;
    fs::create_directories(path, error);
    return fs::is_directory(path, error);
  } catch (const std::exception&) {
    return false;
  }
}

std::string ComponentBesideProgram(const char* name) {
  std::error_code error;
  const fs::path self = fs::read_symlink("/proc/self/exe", error);
  const fs::path folder = error ? fs::path(".") : self.parent_path();
  return (folder / name).string();
}

CTemporaryFolder::CTemporaryFolder() {
  std::error_code error;
  fs::path folder = fs::temp_directory_path(error);
  if (error) folder = ".";
  path_ = (folder / "vxrun-XXXXXX").string();
  if (mkdtemp(path_.data()) == nullptr) {
    throw CHostError(EExitCode::OutputFailed,
                     folder.string() + ": no folder can be made there: " + std::strerror(errno));
  }
  path_.push_back('/');
}

CTemporaryFolder::~CTemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

}  // namespace vx
