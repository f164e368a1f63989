// From an instruction word to the code that executes it.
#pragma once

#include <array>

#include "sound/ADSP.h"

namespace vx {

// Executes a word. ASTAT comes and goes in a register: nearly every word that computes changes some
// of its bits, and would else wait for the store of the one before.
using AdspHandler = u32 (*)(CADSP& p, u32 word, u32 astat);

// The top byte gives the form and, in the forms that compute, bits 13 to 16 the unit's operation.
// Both lie in bits 13 to 23, so that one jump reaches code that is made for the pair.
inline constexpr u32 kDispatchShift = 13;
inline constexpr u32 kDispatchCount = 1u << (24 - kDispatchShift);
extern const std::array<AdspHandler, kDispatchCount> kDispatch;

inline AdspHandler HandlerOf(u32 word) {
  return kDispatch[word >> kDispatchShift & (kDispatchCount - 1)];
}

}  // namespace vx
