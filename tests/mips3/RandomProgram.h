// Random guest programs for the differential tests: basic blocks of random ops that end in random
// branches to each other. They never leave their code, and run for ever.
#pragma once

#include <random>
#include <vector>

#include "base/Types.h"

namespace vx {

// What a program may contain beside ALU ops and branches.
enum EProgramFeature : u32 {
  kUsesMemory = 1,
  kUsesRom = 2,
  kUsesRegisters = 4,  // the register window
  kUsesTraps = 8,
  kUsesTime = 16,  // Count, Random and Cause reads
  kUsesFloat = 32,
};

// Registers that programs expect to be set, and leave alone.
inline constexpr u32 kLowRamBaseReg = 16, kMainRamBaseReg = 17, kRomBaseReg = 18, kIoBaseReg = 19,
                     kNowhereBaseReg = 20, kJumpReg = 21;
inline constexpr u32 kDataBytes = 256;  // what programs access behind each base

struct SProgram {
  std::vector<u32> words;
  u32 jumpTarget;  // for kJumpReg
};

SProgram MakeRandomProgram(std::mt19937& random, u32 address, u32 features);

}  // namespace vx
