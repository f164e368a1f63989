// A pack opened for reading: its directory, held against everything that the board's loader and
// drive rely on, and its data, decoded on request. Any file may be offered: what is wrong with it
// is told by a CToolError (BadPack) that names the first bad place, what was found and what was
// expected.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "base/PackFormat.h"
#include "base/Types.h"
#include "tools/packfile/ByteSource.h"

namespace vx {

using ReportProgress = std::function<void(u64 doneBytes, u64 totalBytes)>;

// "the boot ROM", "sound ROM 3": what messages call entries 0 to 8.
std::string RomName(u32 index);

// The loader's names for files of a pack: the XOR of all hash fields, and of those of entries 1
// to 8.
u64 PackHash(const SPackDirectory& directory);
u64 SoundRomHash(const SPackDirectory& directory);

class CPackReader {
 public:
  // Reads header, entries and chunk size table. The source must outlive the reader.
  explicit CPackReader(const CByteSource& source);

  const SPackDirectory& Directory() const { return directory_; }
  u64 DiskBytes() const;  // as the guest sees it
  u32 RawChunkCount() const;
  u64 StoredDiskBytes() const;  // of all chunks

  // The inflated bytes of entry 0 to 8.
  std::vector<u8> ReadRom(u32 index) const;
  // Hands out the guest's disk from first to last byte, in pieces of any size.
  void ReadDisk(const std::function<void(std::span<const u8>)>& take,
                const ReportProgress& report) const;
  // Decodes every ROM and every chunk and holds the hash fields against what came out.
  void Verify(const ReportProgress& report) const;

 private:
  [[noreturn]] void Refuse(const std::string& what) const;
  void CheckHeader() const;
  void CheckRomEntry(u32 index) const;
  void CheckDiskEntry() const;
  void ReadSizeTable();
  void DecodeChunk(u32 chunk, const std::function<void(std::span<const u8>)>& take) const;

  const CByteSource& source_;
  SPackDirectory directory_ = {};
  std::vector<u16> storedChunkBytes_;  // the table of the file: 0 for a raw chunk
  std::vector<u64> chunkOffsets_;
};

}  // namespace vx
