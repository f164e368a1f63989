#include "host/OutputFile.h"

#include <unistd.h>
#include <cerrno>
#include <cstring>

#include "host/HostError.h"

namespace vx {

COutputFile::COutputFile(const std::string& path) : path_(path) {
  file_ = std::fopen(path.c_str(), "wb");
  if (file_ == nullptr) Fail("cannot be created: ");
}

COutputFile::~COutputFile() {
  if (file_ != nullptr) std::fclose(file_);
}

void COutputFile::Write(const void* data, u64 bytes) {
  if (bytes != 0 && std::fwrite(data, 1, bytes, file_) != bytes) Fail("cannot be written: ");
}

void COutputFile::Seek(u64 position) {
  if (std::fseek(file_, static_cast<long>(position), SEEK_SET) != 0) Fail("cannot be written: ");
}

void COutputFile::Flush() {
  if (std::fflush(file_) != 0) Fail("cannot be written: ");
}

void COutputFile::Sync() {
  Flush();
  if (fsync(fileno(file_)) != 0 && errno != EINVAL) Fail("cannot be written: ");
}

void COutputFile::Close() {
  std::FILE* file = file_;
  file_ = nullptr;
  if (std::fclose(file) != 0) Fail("cannot be written: ");
}

void COutputFile::Fail(const char* what) const {
  throw CHostError(EExitCode::OutputFailed, path_ + ": " + what + std::strerror(errno));
}

}  // namespace vx
