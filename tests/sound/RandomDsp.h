// Random states and instruction words for the sound processor, the same for the same seed.
#pragma once

#include "sound/ADSPState.h"

namespace vx::test {

class CRandom {
 public:
  explicit CRandom(u64 seed) : state_(seed * 0x9E3779B97F4A7C15u + 0x1234567) {}
  u32 Next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return static_cast<u32>(state_ >> 24);
  }
  u32 Below(u32 limit) { return Next() % limit; }
  bool OneIn(u32 chances) { return Below(chances) == 0; }
  // A data word, often one at an edge.
  u16 Word();

 private:
  u64 state_;
};

// A data address, often at the edge of a range or of a device.
u32 RandomAddress(CRandom& random);
// A word of any class; jumps and loops stay near `pc`.
u32 RandomInstruction(CRandom& random, u32 pc);
// Registers, flags, stacks and address generators; the memories stay.
void RandomiseRegisters(CRandom& random, SADSPState& s);

}  // namespace vx::test
