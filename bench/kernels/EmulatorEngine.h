// The kernels' guest code in QEMU's user mode: the same ops as on the board, as a program of its
// own that measures itself.
#pragma once

#include "bench/kernels/Engine.h"

namespace vx::bench {

class CEmulatorEngine final : public CEngine {
 public:
  // Whether this build knows an emulator.
  static bool IsThere();
  SKernelRun Run(u32 kernel, u32 passes) override;
};

}  // namespace vx::bench
