// The table that turns pad bits into bits of the guest's input words.
#pragma once

#include "base/Types.h"

namespace vx {

inline constexpr u32 kPadMaskCount = 12;

// Fills the table; SetInput reads it. Before that no pad bit reaches the guest.
void FillPadMaskTable();

}  // namespace vx
