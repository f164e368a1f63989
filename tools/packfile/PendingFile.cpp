#include "tools/packfile/PendingFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "tools/packfile/ToolError.h"

namespace vx {
namespace {

// The unfinished file's name, where a signal handler can reach it; empty when there is none.
char g_unfinishedName[4096];

void RemoveUnfinished(int signalNumber) {
  if (g_unfinishedName[0] != '\0') unlink(g_unfinishedName);
  raise(signalNumber);  // the handler was installed for one call: this ends the process
}

void WatchSignals() {
  struct sigaction action = {};
  action.sa_handler = RemoveUnfinished;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
    sigaction(signalNumber, &action, nullptr);
  }
}

mode_t PermissionsOfNewFiles() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

CPendingFile::CPendingFile(const std::filesystem::path& target)
    : target_(target), temporaryName_(target.string() + ".XXXXXX") {
  if (temporaryName_.size() >= sizeof g_unfinishedName) {
    temporaryName_.clear();
    errno = ENAMETOOLONG;
    Fail("written");
  }
  std::error_code ignored;
  if (std::filesystem::is_directory(target_, ignored)) {
    errno = EISDIR;
    Fail("written");
  }
  // A device or pipe would be replaced by a file of its name.
  if (std::filesystem::exists(target_, ignored) &&
      !std::filesystem::is_regular_file(target_, ignored)) {
    errno = ENOTSUP;
    Fail("written");
  }
  const int descriptor = mkstemp(temporaryName_.data());
  if (descriptor < 0) Fail("written");
  std::memcpy(g_unfinishedName, temporaryName_.c_str(), temporaryName_.size() + 1);
  WatchSignals();
  fchmod(descriptor, PermissionsOfNewFiles());
  file_ = fdopen(descriptor, "wb");
  if (!file_) {
    close(descriptor);
    unlink(temporaryName_.c_str());
    Fail("written");
  }
}

CPendingFile::~CPendingFile() {
  if (!file_) return;
  std::fclose(file_);
  unlink(temporaryName_.c_str());
  g_unfinishedName[0] = '\0';
}

void CPendingFile::Write(std::span<const u8> bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) Fail("written");
  position_ += bytes.size();
}

void CPendingFile::Seek(u64 offset) {
  if (fseeko(file_, static_cast<off_t>(offset), SEEK_SET) != 0) Fail("written");
  position_ = offset;
}

void CPendingFile::Commit() {
  if (std::fflush(file_) != 0) Fail("written");
  if (std::rename(temporaryName_.c_str(), target_.c_str()) != 0) Fail("replaced");
  g_unfinishedName[0] = '\0';
  std::fclose(file_);
  file_ = nullptr;
}

void CPendingFile::Fail(const char* what) const {
  throw CToolError(EExitCode::BadFile,
                   target_.string() + " cannot be " + what + ": " + std::strerror(errno) + ".");
}

}  // namespace vx
