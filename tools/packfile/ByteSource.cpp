#include "tools/packfile/ByteSource.h"

#include <cerrno>
#include <cstring>

#include "tools/packfile/ToolError.h"

namespace vx {
namespace {

// The size of a regular file, or an error sentence as an exception.
u64 MeasureFile(const std::filesystem::path& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found) {
    throw CToolError(EExitCode::BadFile, path.string() + " does not exist.");
  }
  if (error) {
    throw CToolError(EExitCode::BadFile,
                     path.string() + " cannot be read: " + error.message() + ".");
  }
  if (status.type() != std::filesystem::file_type::regular) {
    throw CToolError(EExitCode::BadFile, path.string() + " is not a regular file.");
  }
  const u64 sizeBytes = std::filesystem::file_size(path, error);
  if (error) {
    throw CToolError(EExitCode::BadFile,
                     path.string() + " cannot be read: " + error.message() + ".");
  }
  return sizeBytes;
}

}  // namespace

void CByteSource::Read(u64 offset, std::span<u8> target) const {
  if (!Holds(offset, target.size())) {
    throw CToolError(EExitCode::BadFile, name_ + " ends at byte " + std::to_string(sizeBytes_) +
                                             ", before the " + std::to_string(target.size()) +
                                             " bytes wanted at " + std::to_string(offset) + ".");
  }
  if (!target.empty() && !ReadWithin(offset, target)) {
    throw CToolError(EExitCode::BadFile, name_ + " cannot be read at byte " +
                                             std::to_string(offset) + "; it may have changed.");
  }
}

CFileSource::CFileSource(const std::filesystem::path& path)
    : CByteSource(path.string(), MeasureFile(path)), file_(std::fopen(path.c_str(), "rb")) {
  if (!file_) {
    throw CToolError(EExitCode::BadFile,
                     path.string() + " cannot be opened: " + std::strerror(errno) + ".");
  }
}

bool CFileSource::ReadWithin(u64 offset, std::span<u8> target) const {
  if (fseeko(file_.get(), static_cast<off_t>(offset), SEEK_SET) != 0) return false;
  return std::fread(target.data(), 1, target.size(), file_.get()) == target.size();
}

bool CMemorySource::ReadWithin(u64 offset, std::span<u8> target) const {
  std::memcpy(target.data(), bytes_.data() + offset, target.size());
  return true;
}

}  // namespace vx
