#include "base/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "base/WideText.h"

namespace vx {

namespace {

// The system's name of a file: backslashes separate folders like slashes do.
std::string NativeName(const wchar_t* path) {
  std::string name = WideToUtf8(path);
  std::replace(name.begin(), name.end(), '\\', '/');
  return name;
}

// Makes a rename in a folder last.
void SyncFolderOf(const std::string& name) {
  const size_t slash = name.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : name.substr(0, slash + 1);
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  fsync(descriptor);
  close(descriptor);
}

}  // namespace

bool WriteFileWhole(const wchar_t* path, std::span<const u8> contents) {
  const std::wstring unfinished = std::wstring(path) + L".new";
  CQuillonFile file;
  const bool bWritten = file.Open(unfinished.c_str(), EFileMode::Write) &&
                        file.Write(contents.data(), contents.size()) == contents.size() &&
                        file.Sync();
  file.Close();

  const std::string source = NativeName(unfinished.c_str());
  const std::string target = NativeName(path);
  if (!bWritten || std::rename(source.c_str(), target.c_str()) != 0) {
    unlink(source.c_str());
    return false;
  }
  SyncFolderOf(target);
  return true;
}

bool CQuillonFile::Open(const wchar_t* path, EFileMode mode) {
  Close();
  if (path == nullptr || *path == L'\0') return false;
  const std::string name = NativeName(path);

  // Opening a pipe would wait for its other end.
  struct stat present {};
  if (stat(name.c_str(), &present) == 0 && !S_ISREG(present.st_mode)) return false;

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

bool CQuillonFile::Sync() {
  return stream_ != nullptr && std::fflush(stream_) == 0 && fsync(fileno(stream_)) == 0;
}

u64 CQuillonFile::Size() {
  struct stat info {};
  if (stream_ == nullptr || fstat(fileno(stream_), &info) != 0) return 0;
  return static_cast<u64>(info.st_size);
}

}  // namespace vx
