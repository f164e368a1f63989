// What vxdis lists: bytes and the virtual address of the first of them, out of a plain file or a
// pack.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Types.h"

namespace vx {

// Where the main processor finds the boot ROM at reset.
inline constexpr u32 kBootRomAddress = 0xBFC00000;

struct SImage {
  std::string name;  // for messages
  u32 base = 0;      // virtual address, a multiple of 4; the bytes end within 32 bits
  std::vector<u8> bytes;

  u64 End() const { return u64{base} + bytes.size(); }
};

// A file that begins like a pack, or of which an entry is asked, is read as a pack: entry 0, the
// boot ROM, unless asked otherwise. Any other file is taken byte by byte. Without a base, entry 0
// and plain files lie at kBootRomAddress, and sound ROMs, which the main processor does not see, at
// 0. Throws CToolError.
SImage ReadImage(const std::filesystem::path& path, std::optional<u32> entry,
                 std::optional<u32> base);

// The part from `start` on, `lengthBytes` long; without them from the first and to the last byte.
// Throws CToolError (BadInput) if the image does not hold it.
SImage TakePart(SImage image, std::optional<u32> start, std::optional<u64> lengthBytes);

}  // namespace vx
