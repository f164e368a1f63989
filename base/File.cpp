#include "base/File.h"

#include <sys/stat.h>

#include <algorithm>
#include <string>

#include "base/WideText.h"

namespace vx {

bool CQuillonFile::Open(const wchar_t* path, EFileMode mode) {
  Close();
  if (path == nullptr || *path == L'\0') return false;
  std::string name = WideToUtf8(path);
  std::replace(name.begin(), name.end(), '\\', '/');

  static constexpr const char* kModes[] = {"rbe", "wbe", "r+be"};
  m_stream = std::fopen(name.c_str(), kModes[static_cast<u32>(mode)]);
  if (m_stream == nullptr) return false;

  struct stat info {};
  if (fstat(fileno(m_stream), &info) != 0 || !S_ISREG(info.st_mode)) Close();
  return m_stream != nullptr;
}

void CQuillonFile::Close() {
  if (m_stream != nullptr) std::fclose(m_stream);
  m_stream = nullptr;
}

u64 CQuillonFile::Read(void* target, u64 bytes) {
  return m_stream != nullptr ? std::fread(target, 1, bytes, m_stream) : 0;
}

u64 CQuillonFile::Write(const void* source, u64 bytes) {
  return m_stream != nullptr ? std::fwrite(source, 1, bytes, m_stream) : 0;
}

bool CQuillonFile::Seek(u64 position) {
  if (m_stream == nullptr || position > INT64_MAX) return false;
  return fseeko(m_stream, static_cast<off_t>(position), SEEK_SET) == 0;
}

u64 CQuillonFile::Size() {
  struct stat info {};
  if (m_stream == nullptr || fstat(fileno(m_stream), &info) != 0) return 0;
  return static_cast<u64>(info.st_size);
}

}  // namespace vx
