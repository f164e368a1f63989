// The oracle of the replay tests: a slice executed op by op from memory, without records. Blocks
// matter to it only in that a slice can end behind one alone.
#pragma once

#include "machine/VXMachine.h"

namespace vx {

// Runs a slice as the board would, for code without likely branches, without branches in delay
// slots and without jumps into delay slots, that is not changed while it runs.
u32 RunReference(CVXMachine* m, u32 budget);

}  // namespace vx
