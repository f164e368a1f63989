// Taking back what a guest has written to its disk, when its machine goes to an earlier state.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "host/PackDisk.h"

namespace vx {

// A state brings the sectors that its guest had written, and says nothing of the others: those that
// were written since stay on the disk as they are. The answer is `target` with such sectors added,
// as the pack has them; a machine that loads it and then `target` has its disk as it was. Nothing
// if there are no such sectors, or where it cannot be told: a stream of another shape, a pack that
// cannot be read.
std::optional<std::vector<u8>> AddLostSectors(std::span<const u8> target,
                                              std::span<const u8> present, CPackDisk& disk);

}  // namespace vx
