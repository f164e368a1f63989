// The sound program's hot loops, as the native routines know them.
#pragma once

#include <array>

#include "base/Types.h"

namespace vx {

inline constexpr u32 kPatchCount = 6;
inline constexpr u32 kLongestPatch = 10;

struct SPatch {
  u32 address;
  u32 wordCount;
  std::array<u32, kLongestPatch> words;  // that must stand there
};

// clang-format off
inline constexpr SPatch kPatches[kPatchCount] = {
  // address words
  {   33,   4, { 0x3C1025, 0x378000, 0x14024E, 0xA00001 } },
  {  269,  10, { 0x14116E, 0x608035, 0x606941, 0x28810C, 0x604850, 0x632025, 0x6A60A1, 0x6B2CA9,
                 0x6A6CA1, 0x6800A9 } },
  {  291,   7, { 0x3C1005, 0x8390E6, 0x14129E, 0x600020, 0x20A00F, 0x050000, 0x6800C1 } },
  { 2553,   7, { 0x149FFE, 0x667AA9, 0x20A20F, 0x0D002B, 0x6000CC, 0x21280F, 0x6800CE } },
  {  368,   1, { 0x343900 } },
  {  386,   1, { 0x343BC1 } },
};
// clang-format on

}  // namespace vx
