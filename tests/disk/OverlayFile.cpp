#include "tests/disk/OverlayFile.h"

#include <cstring>

namespace vx::test {

namespace {

constexpr u32 kHeaderBytes = 24;
constexpr u32 kSectorBytes = 512;

template <typename T>
T At(const std::vector<u8>& bytes, u64 place) {
  T value = 0;
  std::memcpy(&value, bytes.data() + place, sizeof(value));
  return value;
}

template <typename T>
void Append(std::vector<u8>& out, T value) {
  out.resize(out.size() + sizeof(value));
  std::memcpy(out.data() + out.size() - sizeof(value), &value, sizeof(value));
}

}  // namespace

std::optional<SOverlay> ParseOverlay(const std::vector<u8>& file) {
  if (file.size() < 2 * kHeaderBytes || At<u64>(file, 0) != kOverlayMagic) return {};
  if (At<u64>(file, 8) != 2 || At<u64>(file, 16) != file.size() - kHeaderBytes) return {};
  return ParseDelta({file.begin() + kHeaderBytes, file.end()});
}

std::optional<SOverlay> ParseDelta(const std::vector<u8>& delta) {
  if (delta.size() < kHeaderBytes) return {};
  if (At<u64>(delta, 0) != 0 || At<u32>(delta, 20) != 0) return {};
  SOverlay overlay;
  overlay.bitmapWords = At<u32>(delta, 8);
  overlay.firstWord = At<u32>(delta, 12);
  overlay.lastWord = At<u32>(delta, 16);
  if (overlay.bitmapWords == 0) {
    return delta.size() == kHeaderBytes ? std::optional(overlay) : std::nullopt;
  }
  if (overlay.firstWord > overlay.lastWord || overlay.lastWord >= overlay.bitmapWords) return {};
  const u64 words = overlay.lastWord - overlay.firstWord + 1;
  u64 place = kHeaderBytes + 8 * words;
  if (place > delta.size()) return {};
  for (u64 word = 0; word < words; ++word) {
    const u64 bits = At<u64>(delta, kHeaderBytes + 8 * word);
    for (u32 bit = 0; bit < 64; ++bit) {
      if ((bits >> bit & 1) == 0) continue;
      if (place + kSectorBytes > delta.size()) return {};
      const auto first = delta.begin() + static_cast<std::ptrdiff_t>(place);
      overlay.sectors[(overlay.firstWord + word) * 64 + bit] = {first, first + kSectorBytes};
      place += kSectorBytes;
    }
  }
  return place == delta.size() ? std::optional(overlay) : std::nullopt;
}

std::vector<u8> DeltaBytes(const SOverlay& overlay) {
  std::vector<u8> out;
  Append(out, u64{0});
  Append(out, overlay.bitmapWords);
  Append(out, overlay.firstWord);
  Append(out, overlay.lastWord);
  Append(out, u32{0});
  if (overlay.bitmapWords == 0) return out;
  std::vector<u64> bits(overlay.lastWord - overlay.firstWord + 1);
  for (const auto& [sector, contents] : overlay.sectors) {
    bits[sector / 64 - overlay.firstWord] |= u64{1} << sector % 64;
  }
  for (const u64 word : bits) Append(out, word);
  for (const auto& [sector, contents] : overlay.sectors) {
    out.insert(out.end(), contents.begin(), contents.end());
  }
  return out;
}

std::vector<u8> OverlayBytes(const std::vector<u8>& delta) {
  std::vector<u8> out;
  Append(out, kOverlayMagic);
  Append(out, u64{2});
  Append(out, u64{delta.size()});
  out.insert(out.end(), delta.begin(), delta.end());
  return out;
}

}  // namespace vx::test
