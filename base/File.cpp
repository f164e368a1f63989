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
  stream_ = std::fopen(name.c_str(), kModes[static_cast<u32>(mode)]);
  if (stream_ == nullptr) return false;

  struct stat info {};
  if (fstat(fileno(stream_), &info) != 0 || !S_ISREG(info.st_mode)) Close();
  return stream_ != nullptr;
}

void CQuillonFile::Close() {
  if (stream_ != nullptr) std::fclose(stream_);
  stream_ = nullptr;
}

u64 CQuillonFile::Read(void* target, u64 bytes) {
  return stream_ != nullptr ? std::fread(target, 1, bytes, stream_) : 0;
}

u64 CQuillonFile::Write(const void* source, u64 bytes) {
  return stream_ != nullptr ? std::fwrite(source, 1, bytes, stream_) : 0;
}

bool CQuillonFile::Seek(u64 position) {
  if (stream_ == nullptr || position > INT64_MAX) return false;
  return fseeko(stream_, static_cast<off_t>(position), SEEK_SET) == 0;
}

u64 CQuillonFile::Size() {
  struct stat info {};
  if (stream_ == nullptr || fstat(fileno(stream_), &info) != 0) return 0;
  return static_cast<u64>(info.st_size);
}

}  // namespace vx
