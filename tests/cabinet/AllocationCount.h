// How many times anything in this process, loaded libraries included, has taken memory from the
// heap.
#pragma once

#include "base/Types.h"

namespace vx::test {

u64 HeapAllocations();

}  // namespace vx::test
