// Where packs and inputs are read from. Every access states its extent and is checked in 64 bits
// against the size that was found at opening.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "base/Types.h"

namespace vx {

class CByteSource {
 public:
  virtual ~CByteSource() = default;

  u64 SizeBytes() const { return sizeBytes_; }
  // What messages call this source: the file's name.
  const std::string& Name() const { return name_; }

  // Whether an area lies within the source.
  bool Holds(u64 offset, u64 bytes) const {
    return offset <= sizeBytes_ && bytes <= sizeBytes_ - offset;
  }

  // Fills the target from `offset` on. Throws CToolError (BadFile) if the area is not there or the
  // system cannot read it.
  void Read(u64 offset, std::span<u8> target) const;

 protected:
  CByteSource(std::string name, u64 sizeBytes) : name_(std::move(name)), sizeBytes_(sizeBytes) {}
  // Reads an area that lies within the source; false if the system fails.
  virtual bool ReadWithin(u64 offset, std::span<u8> target) const = 0;

 private:
  std::string name_;
  u64 sizeBytes_;
};

// A regular file. Throws CToolError (BadFile) if there is none to open.
class CFileSource final : public CByteSource {
 public:
  explicit CFileSource(const std::filesystem::path& path);

 private:
  struct SFileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  bool ReadWithin(u64 offset, std::span<u8> target) const override;

  std::unique_ptr<std::FILE, SFileCloser> file_;
};

// Bytes that the caller keeps alive.
class CMemorySource final : public CByteSource {
 public:
  CMemorySource(std::string name, std::span<const u8> bytes)
      : CByteSource(std::move(name), bytes.size()), bytes_(bytes) {}

 private:
  bool ReadWithin(u64 offset, std::span<u8> target) const override;

  std::span<const u8> bytes_;
};

}  // namespace vx
