// Guest programs for benchmarks: op words laid into RAM, without a pack.
#pragma once

#include <vector>

#include "machine/VXMachine.h"

namespace vx::bench {

// Where the programs start: kseg0 main RAM.
inline constexpr u32 kCodeAddress = 0x88000000;
inline constexpr u32 kDataAddress = 0x88400000;

// Endless loop over `blocks` straight runs of ten mixed ops (loads, stores, arithmetic, shifts) and
// a jump each, laid one behind the other. One op is one cycle.
std::vector<u32> MixedBlocks(u32 blocks);
// Endless loop over `blocks` runs of ten ops that branch on a random register's bits, so that half
// of the branches go each way with no pattern.
std::vector<u32> BranchyBlocks(u32 blocks);

// A machine that stands at the start of a program.
class CGuestMachine {
 public:
  explicit CGuestMachine(const std::vector<u32>& code);
  ~CGuestMachine() { machine_->Destruct(1); }
  CGuestMachine(const CGuestMachine&) = delete;
  CGuestMachine& operator=(const CGuestMachine&) = delete;

  CVXMachine& Get() { return *machine_; }

 private:
  CVXMachine* machine_;
};

}  // namespace vx::bench
