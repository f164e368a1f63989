// States of every version, written field by field from the format's table and without the
// component's own writer.
#pragma once

#include "tests/state/StateTest.h"

namespace vx::test {

StateBytes WriteState(const CVXMachine& machine, u32 version, u8 transient = 0);
// Where the items of WriteState's answer begin, the end included.
std::vector<u32> ItemBoundaries(const CVXMachine& machine, u32 version);

}  // namespace vx::test
