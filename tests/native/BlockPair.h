// One block run both ways: by its native function on one machine, by its records on another that
// stands in the same state. Everything that a block can leave behind is compared.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "tests/mips3/ProcessorTest.h"

namespace vx::test {

// A block of the built-in library.
struct SLibraryBlock {
  std::vector<u32> words;
  NativeBlock native;
};
std::vector<SLibraryBlock> LibraryBlocks();

// How the records run.
enum class EReference {
  Replay,
  // Each op by its handler; a likely branch that is not taken ends the block behind its delay op.
  Handlers,
};
// Replay, except for blocks with a likely branch, where native blocks do what handlers do.
EReference ReferenceFor(const std::vector<u32>& words);

std::string Listing(const std::vector<u32>& words);

// Every virtual page of both machines leads somewhere: to a page of either RAM or the last one of
// it, to registers that answer by address and time and cut slices, to the ROM, to nowhere, or is
// not permitted. The state goes on from one run to the next.
class CBlockPair {
 public:
  CBlockPair();

  // The block that the next runs are of; its words stand in guest memory, too.
  void Take(const SLibraryBlock& block);
  // Puts both machines into the same random state.
  void Randomise(std::mt19937_64& random);
  // Runs both; empty if processor, registers of the board, device log and timeline agree, and else
  // what differs, side by side. `bMemory` compares memory and page map, too.
  std::string Run(EReference reference, bool bMemory);

  CVXMachine& Native() { return *native_; }
  CVXMachine& Records() { return *records_; }
  // Copies the first machine's processor and board state to the second.
  void Share();

 private:
  void BuildPages(CVXMachine& machine);
  void RunRecords(EReference reference);
  std::string Differences(bool bMemory) const;
  u64 RandomRegister(std::mt19937_64& random) const;

  MachinePtr native_;
  MachinePtr records_;
  std::vector<SPageEntry> pages_;  // as built
  const SLibraryBlock* block_ = nullptr;
  bool bMapsPages_ = false;
};

}  // namespace vx::test
