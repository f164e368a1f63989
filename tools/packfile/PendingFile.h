// An output file that appears under its name only when it is complete: it is written beside its
// place under another name and then renamed. Dropped before Commit, or ended by a signal, it leaves
// nothing behind, and what stood under the name before stays.
#pragma once

#include <cstdio>
#include <filesystem>
#include <span>
#include <string>

#include "base/Types.h"

namespace vx {

// One may exist at a time (the signal handler knows one name). All calls throw CToolError
// (BadFile).
class CPendingFile {
 public:
  explicit CPendingFile(const std::filesystem::path& target);
  ~CPendingFile();
  CPendingFile(const CPendingFile&) = delete;
  CPendingFile& operator=(const CPendingFile&) = delete;

  // Appends at the current position.
  void Write(std::span<const u8> bytes);
  // Moves the position, within or behind what was written.
  void Seek(u64 offset);
  u64 Position() const { return position_; }
  // Makes the file appear under its name.
  void Commit();

 private:
  [[noreturn]] void Fail(const char* what) const;

  std::filesystem::path target_;
  std::string temporaryName_;
  std::FILE* file_ = nullptr;
  u64 position_ = 0;
};

}  // namespace vx
