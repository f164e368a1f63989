// The lettering of the overlay: 64 glyphs of eight by eight dots, capitals only.
#pragma once

#include "plugin/Quillon.h"

namespace vx {

inline constexpr u32 kFontFirst = ' ';
inline constexpr u32 kFontLast = '_';
inline constexpr u32 kFontCell = 8;

// The dots of a character: bit 8 * row + column. Small letters have those of capitals, what is not
// there those of a question mark.
u64 FontGlyph(char character);

}  // namespace vx
