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
    : m_target(target), m_temporaryName(target.string() + ".XXXXXX") {
  if (m_temporaryName.size() >= sizeof g_unfinishedName) {
    m_temporaryName.clear();
    errno = ENAMETOOLONG;
    Fail("written");
  }
  std::error_code ignored;
  if (std::filesystem::is_directory(m_target, ignored)) {
    errno = EISDIR;
    Fail("written");
  }
  const int descriptor = mkstemp(m_temporaryName.data());
  if (descriptor < 0) Fail("written");
  std::memcpy(g_unfinishedName, m_temporaryName.c_str(), m_temporaryName.size() + 1);
  WatchSignals();
  fchmod(descriptor, PermissionsOfNewFiles());
  m_file = fdopen(descriptor, "wb");
  if (!m_file) {
    close(descriptor);
    unlink(m_temporaryName.c_str());
    Fail("written");
  }
}

CPendingFile::~CPendingFile() {
  if (!m_file) return;
  std::fclose(m_file);
  unlink(m_temporaryName.c_str());
  g_unfinishedName[0] = '\0';
}

void CPendingFile::Write(std::span<const u8> bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), m_file) != bytes.size()) Fail("written");
  m_position += bytes.size();
}

void CPendingFile::Seek(u64 offset) {
  if (fseeko(m_file, static_cast<off_t>(offset), SEEK_SET) != 0) Fail("written");
  m_position = offset;
}

void CPendingFile::Commit() {
  if (std::fflush(m_file) != 0) Fail("written");
  if (std::rename(m_temporaryName.c_str(), m_target.c_str()) != 0) Fail("replaced");
  g_unfinishedName[0] = '\0';
  std::fclose(m_file);
  m_file = nullptr;
}

void CPendingFile::Fail(const char* what) const {
  throw CToolError(EExitCode::BadFile,
                   m_target.string() + " cannot be " + what + ": " + std::strerror(errno) + ".");
}

}  // namespace vx
