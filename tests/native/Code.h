// The guest code that the tests' library of native blocks is made from: written by a step of the
// build, and the same again in the tests.
#pragma once

#include <string>
#include <vector>

#include "base/Types.h"
#include "tests/mips3/RandomProgram.h"

namespace vx::test {

// --- Blocks around each row of the op table ------------------------------------------------------

// Every op that can be translated stands in some of them in the middle, and in some in the delay
// slot, with random fields where the encoding leaves them free.
std::vector<std::vector<u32>> OpBlocks();

// --- Programs that run for ever
// -------------------------------------------------------------------

struct SPlacedProgram {
  u32 seed;
  u32 address;  // virtual
  u32 features;
  SProgram program;
};
std::vector<SPlacedProgram> Programs();

// --- Single blocks with a test of their own
// -------------------------------------------------------

inline const std::vector<u32> kTwoStores = {0xAC850000, 0xAC860004, 0x03E00008, 0};
inline const std::vector<u32> kJumpToRegister = {0x01000008, 0x24420001};  // jr t0
inline const std::vector<u32> kBranchToItself = {0x1445FFFF, 0x24420001};  // bne v0, a1, -1
inline const std::vector<u32> kLoadToZero = {0x8C800000, 0x03E00008, 0};   // lw zero, 0(a0)
inline const std::vector<u32> kJumpAlone = {0x08001234, 0};                // j
inline const std::vector<u32> kLinkAndUse = {0x0C001234, 0x03E01025};      // jal; or v0, ra
inline const std::vector<u32> kLikelyEqual = {0x24420001, 0x50850004, 0x24630001};
inline const std::vector<u32> kLikelyMarked = {0x24420001, 0x04820004, 0x24630001};  // bltzl a0
std::vector<std::vector<u32>> EdgeBlocks();

// Writes all of it as a file of discovered code.
void WriteCode(const std::string& path);

}  // namespace vx::test
