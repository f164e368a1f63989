// The kernels by number: small programs with a fixed workload, the same source for the board, for a
// user-mode program and for the host. A pass always starts from the same data and gives the same
// checksum, wherever it runs.
#pragma once

#include <stdint.h>

enum EKernel {
#define VX_KERNEL(identifier, name, checksum, kind) kKernel##identifier,
#include "bench/kernels/KernelRows.inc"
#undef VX_KERNEL
  kKernelCount
};

#ifdef __cplusplus
extern "C" {
#endif

// Lays out the kernel's data; before the first pass.
uint32_t PrepareKernel(uint32_t kernel);
// Runs at least one pass and answers the checksum of each; another value if they differ.
uint32_t RunPasses(uint32_t kernel, uint32_t passes);
// Prepares all kernels and then runs a pass of each in turn, without end.
void RunForEver(void);

#ifdef __cplusplus
}
#endif
