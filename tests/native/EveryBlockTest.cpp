// Every block of a library, in many random states, by its native function and by its records.
#include <gtest/gtest.h>

#include "tests/native/BlockPair.h"

namespace vx::test {

namespace {

#ifndef VX_STATES
#error "VX_STATES tells how many states each block is run in"
#endif

TEST(EveryBlock, LeavesInEveryStateWhatItsRecordsLeave) {
  const std::vector<SLibraryBlock> blocks = LibraryBlocks();
  ASSERT_GT(blocks.size(), 100u);
  CBlockPair pair;
  std::mt19937_64 random(20);
  for (const SLibraryBlock& block : blocks) {
    pair.Take(block);
    const EReference reference = ReferenceFor(block.words);
    for (u32 state = 1; state <= VX_STATES; ++state) {
      pair.Randomise(random);
      const bool bMemory = state % 32 == 0 || state == VX_STATES;
      const std::string differences = pair.Run(reference, bMemory);
      ASSERT_EQ(differences, "") << "state " << state << " of\n" << Listing(block.words);
    }
  }
}

}  // namespace

}  // namespace vx::test
