// A plain one-op-at-a-time reference for the run loop: fetch through the page map, program counter
// and pending branch, one cycle an op, and nothing else. It keeps no records; where a block would
// end it knows from the ops, since slices end at the end of blocks, and from one thing that has
// been: a delay op that is first reached apart from its branch stays a block of one op.
#pragma once

#include <array>
#include <string>
#include <unordered_set>

#include "machine/VXMachine.h"
#include "mips3/OpTable.h"

namespace vx::oracle {

// What a stepper has met, so that programs cannot turn hollow unnoticed.
struct SStepperCounts {
  std::array<u64, kOpCount> ops = {};
  u64 interrupts = 0;       // at the entry of a slice
  u64 cuts = 0;             // slices that an event ended early
  u64 partedBlocks = 0;     // by the end of a page
  u64 drainedBranches = 0;  // taken by an exception before its vector

  void Add(const SStepperCounts& other) {
    for (u32 i = 0; i < kOpCount; ++i) ops[i] += other.ops[i];
    interrupts += other.interrupts;
    cuts += other.cuts;
    partedBlocks += other.partedBlocks;
    drainedBranches += other.drainedBranches;
  }
};

class CStepper {
 public:
  explicit CStepper(CVXMachine* m) : m_(m) {}

  // What RunProcessor promises.
  u32 RunSlice(u32 budget);

  u64 Steps() const { return steps_; }
  const SStepperCounts& Counts() const { return counts_; }
  // The last ops, oldest first.
  std::string Trace() const;

 private:
  struct SStep {
    u32 address, word;
  };
  static constexpr u32 kTraceSteps = 48;

  // Executes one op; answers whether a block ends behind it.
  bool Step();
  // Whether the op at this address is a block of its own, as it is about to be executed.
  bool StandsAlone(u32 physical);
  u32 Fetch(u32 address) const;

  CVXMachine* m_;
  SStepperCounts counts_;
  u64 steps_ = 0;
  bool bAfterBranch_ = false;  // the next op belongs to the same block as the branch before it
  bool bBlockStart_ = true;
  std::unordered_set<u32> reached_;  // physical addresses
  std::unordered_set<u32> blocksOfOne_;
  std::array<SStep, kTraceSteps> trace_ = {};
};

}  // namespace vx::oracle
