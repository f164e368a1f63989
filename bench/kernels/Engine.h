// A machine that runs kernels: the board by replay or by native blocks, an emulator, or the host.
#pragma once

#include "base/Types.h"

namespace vx::bench {

struct SKernelRun {
  u32 checksum;
  f64 nanoseconds;  // of processor time, for the passes alone: without preparation and start
};

class CEngine {
 public:
  virtual ~CEngine() = default;
  // Runs passes of a kernel that has been run before, or is run once before the clock starts.
  // Throws std::runtime_error with a sentence for a person if the engine cannot.
  virtual SKernelRun Run(u32 kernel, u32 passes) = 0;
};

}  // namespace vx::bench
