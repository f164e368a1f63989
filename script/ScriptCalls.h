// The numbered functions that host scripts call, and the hook lists that they fill.
#pragma once

#include "base/Types.h"

namespace vx {

class CVXMachine;

// Runs a script function; the machine is null for a call without one. Unknown numbers do nothing.
inline void CallScriptFunction(CVXMachine*, u64, u64, u64) {}
// Clears the hook lists and their enable flags.
inline void ResetScriptHooks() {}

}  // namespace vx
