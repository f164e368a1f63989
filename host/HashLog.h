// A log that two runs can be compared by: one line a frame, columns apart by one space, the names
// of the columns in the first line behind a "#".
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/OutputFile.h"
#include "plugin/Quillon.h"

namespace vx {

class CHashLog {
 public:
  // Creates the file. `columns` are the names behind the frame number. Throws as COutputFile does.
  CHashLog(const std::string& path, const std::vector<std::string>& columns);

  // One value a column, in order; a value that this frame does not have is written as "-".
  void Write(u64 frame, const std::vector<std::optional<u64>>& values);
  void Close() { file_.Close(); }

 private:
  COutputFile file_;
  std::string line_;
};

// Hash of a picture: its pixels as they lie.
u64 HashPicture(const u32* pixels, u32 width, u32 height);

// Hash of bytes, begun from the hash of others.
u64 HashBytes(const void* data, u64 bytes, u64 previous);

}  // namespace vx
