// The overlay file as its format is told, read and made without the component.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "base/Types.h"

namespace vx::test {

inline constexpr u64 kOverlayMagic = 0xb19d1221ec002e69;

struct SOverlay {
  u32 bitmapWords = 0;
  u32 firstWord = 0;
  u32 lastWord = 0;
  std::map<u64, std::vector<u8>> sectors;

  bool operator==(const SOverlay&) const = default;
};

// Nothing unless the file is whole and every byte of it is accounted for.
std::optional<SOverlay> ParseOverlay(const std::vector<u8>& file);
std::optional<SOverlay> ParseDelta(const std::vector<u8>& delta);

std::vector<u8> DeltaBytes(const SOverlay& overlay);
std::vector<u8> OverlayBytes(const std::vector<u8>& delta);
inline std::vector<u8> OverlayBytes(const SOverlay& overlay) {
  return OverlayBytes(DeltaBytes(overlay));
}

}  // namespace vx::test
