// The kernels' rows, for C++: what each is called, and what a pass must answer.
#pragma once

#include "base/Types.h"
#include "bench/kernels/Kernels.h"

namespace vx::bench {

enum class EKernelKind { Integer, Float };

struct SKernelRow {
  const char* name;
  u32 checksum;  // of a pass, on every machine
  EKernelKind kind;
};

inline constexpr SKernelRow kKernelRows[kKernelCount] = {
#define VX_KERNEL(identifier, name, checksum, kind) {name, checksum, EKernelKind::kind},
#include "bench/kernels/KernelRows.inc"
#undef VX_KERNEL
};

}  // namespace vx::bench
