// What the plug-in boundary asks of the script functions.
#pragma once

#include "base/Types.h"

namespace vx {

class CVXMachine;

// Runs a script function; the machine is null for a call without one, in which only functions that
// touch no machine do anything. Numbers out of the table do nothing. `memoryBase` is the address of
// the script's linear memory and must have what the call's offsets name. Takes no lock for the
// machine: call it on the machine's own thread, or while it stands still.
void CallScriptFunction(CVXMachine* m, u64 memoryBase, u64 function, u64 argument);

// Forgets all callbacks of all three hook lists. What scripts have set in machines stays.
void ResetScriptHooks();

}  // namespace vx
