#include "bench/kernels/Kernels.h"

#define VX_KERNEL(identifier, name, checksum, kind) \
  void Prepare##identifier(void);                   \
  uint32_t Pass##identifier(void);
#include "bench/kernels/KernelRows.inc"
#undef VX_KERNEL

typedef struct {
  void (*prepare)(void);
  uint32_t (*pass)(void);
} SKernel;

static const SKernel kKernels[kKernelCount] = {
#define VX_KERNEL(identifier, name, checksum, kind) {Prepare##identifier, Pass##identifier},
#include "bench/kernels/KernelRows.inc"
#undef VX_KERNEL
};

uint32_t PrepareKernel(uint32_t kernel) {
  kKernels[kernel].prepare();
  return kernel;
}

uint32_t RunPasses(uint32_t kernel, uint32_t passes) {
  const uint32_t first = kKernels[kernel].pass();
  uint32_t difference = 0;
  for (uint32_t i = 1; i < passes; ++i) difference |= kKernels[kernel].pass() ^ first;
  return first ^ difference;
}

void RunForEver(void) {
  for (uint32_t i = 0; i < kKernelCount; ++i) kKernels[i].prepare();
  for (;;) {
    for (uint32_t i = 0; i < kKernelCount; ++i) kKernels[i].pass();
  }
}
