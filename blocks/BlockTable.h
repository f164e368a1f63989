// The lookup table of native blocks, keyed by guest code content. One table serves all machines of
// the process; it is unpacked once, with the first pack.
#pragma once

#include "machine/VXMachine.h"

namespace vx {

// Unpacks and checks the table; only the first call of the process does anything. Any thread.
void LoadBlockTable();

// The native function for the block at a flat offset below the boot ROM, whose first word is given;
// null if the library does not hold that code.
NativeBlock LookUpBlock(const CVXMachine* m, u32 word, u32 flatOffset);

}  // namespace vx
