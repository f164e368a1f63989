// The component's machine-level functions by slot.
#pragma once

#include "plugin/Quillon.h"

namespace vx {

// The table in static storage, filled on each call with the same functions.
const SMachineTable* FillMachineTable();

}  // namespace vx
