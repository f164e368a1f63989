// A long guest program that exercises the whole processor without end: loops, calls, exceptions,
// interrupts, TLB changes and the time base, around random ops. A seed is a program.
#pragma once

#include <vector>

#include "machine/VXMachine.h"

namespace vx::oracle {

// Words at a physical address.
struct SPlacedCode {
  u32 physical;
  std::vector<u32> words;
};

struct SLongProgram {
  u64 seed = 0;
  std::vector<SPlacedCode> code;
  u64 gpr[32] = {};
  u64 fpr[32] = {};
  std::vector<u8> data;
  bool bRandomTime = false;  // ROM reads cost a random time
};

// Guest memory that programs write.
inline constexpr u32 kProgramDataPhysical = 0x40000;
inline constexpr u32 kProgramFramePhysical = 0x08020000;
inline constexpr u32 kProgramDataBytes = 0x1000;
inline constexpr u32 kProgramFrameBytes = 0x8000;

SLongProgram GenerateLongProgram(u64 seed);

// Puts a program at its start into a machine that has just been reset.
void LoadLongProgram(CVXMachine* m, const SLongProgram& program);

}  // namespace vx::oracle
