#include "host/StateDisk.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "host/StateSections.h"

namespace vx {

namespace {

constexpr u64 kFirstWordAt = 12;  // in the head of the disk part; the last one stands behind it
constexpr u32 kWordSectors = 64;

u64 WordOf(std::span<const u8> stream, const SStateSections& sections, u32 word) {
  const u32 index = word - sections.firstWord;
  if (word < sections.firstWord || index >= sections.bitmapWords) return 0;
  u64 value = 0;
  std::memcpy(&value, stream.data() + sections.bitmap + u64{index} * sizeof(value), sizeof(value));
  return value;
}

void Append(std::vector<u8>& bytes, std::span<const u8> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

}  // namespace

std::optional<std::vector<u8>> AddLostSectors(std::span<const u8> target,
                                              std::span<const u8> present, CPackDisk& disk) {
  const auto to = FindStateSections(target);
  const auto from = FindStateSections(present);
  if (!to || !from || to->bitmapWords == 0 || from->bitmapWords == 0) return std::nullopt;
  const u32 first = std::min(to->firstWord, from->firstWord);
  const u32 end = std::max(to->firstWord + to->bitmapWords, from->firstWord + from->bitmapWords);
  bool bAny = false;
  for (u32 word = first; word < end && !bAny; ++word) {
    bAny = (WordOf(present, *from, word) & ~WordOf(target, *to, word)) != 0;
  }
  if (!bAny) return std::nullopt;

  std::vector<u8> made(target.begin(), target.begin() + static_cast<i64>(to->bitmap));
  const u32 range[2] = {first, end - 1};
  std::memcpy(made.data() + to->disk + kFirstWordAt, range, sizeof(range));
  for (u32 word = first; word < end; ++word) {
    const u64 bits = WordOf(present, *from, word) | WordOf(target, *to, word);
    const u8* const bytes = reinterpret_cast<const u8*>(&bits);
    made.insert(made.end(), bytes, bytes + sizeof(bits));
  }
  u64 held = to->sectors;
  for (u32 word = first; word < end; ++word) {
    const u64 kept = WordOf(target, *to, word);
    for (u64 rest = WordOf(present, *from, word) | kept; rest != 0; rest &= rest - 1) {
      const int bit = std::countr_zero(rest);
      if ((kept >> bit & 1) != 0) {
        Append(made, target.subspan(held, kSectorBytes));
        held += kSectorBytes;
        continue;
      }
      u8 sector[kSectorBytes];
      const u64 number = u64{word} * kWordSectors + static_cast<u64>(bit);
      if (!disk.ReadSector(number, sector)) return std::nullopt;
      Append(made, sector);
    }
  }
  Append(made, target.subspan(to->instances));
  return made;
}

}  // namespace vx
