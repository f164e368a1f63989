// COP1, the floating point unit: the host's IEEE single and double arithmetic, rounding to nearest.
// The guest's rounding mode, exceptions and flush setting take no effect, and no compare traps.
//
// Status bit FR selects one of two register models at each op. With FR set every register is its
// own: a single lives in the low word and leaves the high word alone. With FR clear doubles use the
// even register of a pair, and singles one word of it, the high one for an odd number.
#pragma once

#include "machine/VXMachine.h"

namespace vx {

// Executes any word of main code 17.
void ExecuteCop1(CVXMachine* m, u32 word);

// The register of a load or store of one word, by the register model in force.
void LoadFpWord(CVXMachine* m, u32 index, u32 value);
u32 StoredFpWord(const CVXMachine* m, u32 index);

}  // namespace vx
