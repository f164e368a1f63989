// The hook lists of the process, which all machines share, and a machine's hooks in its sound
// program. The walks over the lists are members of the machine: RunResetHooks at the start of the
// first frame after a reset or a loaded state, RunFrameHooks at every picture taken.
//
// ScriptLock guards the lists and is held over the callbacks. A callback may register on its own
// thread: what it adds is called from the next walk on.
#pragma once

#include "machine/VXMachine.h"

namespace vx {

// More would take the numbers of the native patches.
inline constexpr u32 kMostDspHooks = 0x10000 - kFirstHookNumber;

// Takes all hooks out of the sound program, the last one first, and forgets them. A word that is
// no longer the hook's stays.
void RemoveAllDspHooks(CVXMachine* m);

}  // namespace vx
