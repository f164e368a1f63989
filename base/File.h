// The component's file wrapper: a stream over a file that is named by a wide path.
#pragma once

#include <cstdio>

#include "base/Types.h"

namespace vx {

enum class EFileMode : u32 { Read = 0, Write = 1, Update = 2 };  // "rb", "wb", "r+b"

// Puts a finished file in the place of another, which is whole at any time: the old or the new.
bool ReplaceFile(const wchar_t* finished, const wchar_t* replaced);
void RemoveFile(const wchar_t* path);

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
