// The kernels as code of the host, compiled from the same source.
#pragma once

#include "bench/kernels/Engine.h"

namespace vx::bench {

class CHostEngine final : public CEngine {
 public:
  SKernelRun Run(u32 kernel, u32 passes) override;
};

}  // namespace vx::bench
