// A file that a run writes, with every failure turned into one sentence.
#pragma once

#include <cstdio>
#include <string>

#include "plugin/Quillon.h"

namespace vx {

// Each operation throws CHostError (OutputFailed) naming the file and the reason. The destructor
// closes silently, for runs that end by another error.
class COutputFile {
 public:
  explicit COutputFile(const std::string& path);
  ~COutputFile();
  COutputFile(const COutputFile&) = delete;
  COutputFile& operator=(const COutputFile&) = delete;

  void Write(const void* data, u64 bytes);
  void Seek(u64 position);
  // Hands what is buffered to the system, so that it outlives this process.
  void Flush();
  // Flush, and on to the disk itself.
  void Sync();
  // Writes out what is buffered and closes; nothing may follow.
  void Close();

  const std::string& Path() const { return path_; }

 private:
  [[noreturn]] void Fail(const char* what) const;

  std::string path_;
  std::FILE* file_ = nullptr;
};

}  // namespace vx
