// The component's file wrapper: a stream over a file that is named by a wide path.
#pragma once

#include <cstdio>
#include <span>

#include "base/Types.h"

namespace vx {

enum class EFileMode : u32 { Read = 0, Write = 1, Update = 2 };  // "rb", "wb", "r+b"

// Writes a file as a whole: first under a name of its own, then, once all of it is on the disk, in
// the place of the file of this name. Under its name there is always one complete file, the old or
// the new. On any failure the old one stays and the answer is false.
bool WriteFileWhole(const wchar_t* path, std::span<const u8> contents);

// Owns one open stream. Not synchronised: one thread at a time, though owners may share it.
class CQuillonFile {
 public:
  CQuillonFile() = default;
  CQuillonFile(const CQuillonFile&) = delete;
  CQuillonFile& operator=(const CQuillonFile&) = delete;
  ~CQuillonFile() { Close(); }

  // Opens after closing what was open. Backslashes separate folders like slashes do. A folder, a
  // null path or any failure of the system answers false.
  bool Open(const wchar_t* path, EFileMode mode);
  void Close();
  bool IsOpen() const { return stream_ != nullptr; }

  // Bytes delivered or taken; fewer than asked at the end of the file or on an error.
  u64 Read(void* target, u64 bytes);
  u64 Write(const void* source, u64 bytes);
  bool Seek(u64 position);
  // Brings all that was written to the disk. False if any of it could not be written.
  bool Sync();
  // Length in bytes; 0 if nothing is open. The position stays.
  u64 Size();

 private:
  std::FILE* stream_ = nullptr;
};

}  // namespace vx
