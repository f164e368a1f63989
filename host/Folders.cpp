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

std::string DefaultCacheFolder() {
  // A relative $XDG_CACHE_HOME counts as not set.
  const char* xdg = std::getenv("XDG_CACHE_HOME");
  if (xdg != nullptr && xdg[0] == '/') return std::string(xdg) + "/vxrun/";
  const char* home = std::getenv("HOME");
  if (home != nullptr && home[0] == '/') return std::string(home) + "/.cache/vxrun/";
  std::error_code error;
  fs::path temporary = fs::temp_directory_path(error);
  if (error) temporary = ".";
  return (temporary / ("vxrun-" + std::to_string(getuid()))).string() + "/";
}

std::string DefaultConfigFolder() {
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg != nullptr && xdg[0] == '/') return std::string(xdg) + "/vxrun/";
  const char* home = std::getenv("HOME");
  if (home != nullptr && home[0] == '/') return std::string(home) + "/.config/vxrun/";
  return "";
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
