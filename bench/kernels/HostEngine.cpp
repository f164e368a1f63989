#include "bench/kernels/HostEngine.h"

#include "bench/kernels/CpuClock.h"
#include "bench/kernels/Kernels.h"

namespace vx::bench {

SKernelRun CHostEngine::Run(u32 kernel, u32 passes) {
  PrepareKernel(kernel);
  RunPasses(kernel, 1);
  const f64 start = CpuNanoseconds();
  const u32 checksum = RunPasses(kernel, passes);
  return {checksum, CpuNanoseconds() - start};
}

}  // namespace vx::bench
