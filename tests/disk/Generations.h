// What the saving program writes: in each generation the same sectors, with contents that tell the
// generation and the sector. Generation 0 is the disk of the pack.
#pragma once

#include <array>
#include <cstring>

#include "base/Types.h"

namespace vx::test {

// Spread so that the overlay is a few pages long and its bitmap has gaps.
inline constexpr auto kMarkedSectors = [] {
  std::array<u32, 96> sectors{};
  for (u32 i = 0; i < sectors.size(); ++i) sectors[i] = i * 3 + i / 32;
  return sectors;
}();
inline constexpr u32 kGenerationChunks = 40;

inline std::array<u8, 512> GenerationSector(u32 generation, u32 sector) {
  std::array<u8, 512> contents;
  u32 value = generation * 0x9E3779B9u ^ sector * 0x85EBCA6Bu;
  for (u8& byte : contents) {
    value = value * 1664525u + 1013904223u;
    byte = static_cast<u8>(value >> 24);
  }
  std::memcpy(contents.data(), &generation, sizeof(generation));
  std::memcpy(contents.data() + 4, &sector, sizeof(sector));
  return contents;
}

}  // namespace vx::test
