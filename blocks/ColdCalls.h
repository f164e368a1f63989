// Calls of the paths off RAM that leave every register of the host as it is, but for the result.
// A native block keeps guest registers in the host's; without these calls it would have to save
// them on entry, for accesses that it seldom makes. Code that uses them is compiled without a red
// zone.
#pragma once

#include "mips3/Memory.h"

namespace vx {

#if defined(__x86_64__)

struct SColdCalls {
  template <typename T>
  [[gnu::always_inline]] static T Read(CVXMachine* m, u32 physical, u32 uncharged) {
    u64 value = physical;
#define VX_CALL(bits)                                 \
  asm volatile("pushq %[k]\n\tcall vx_cold_read" bits \
               : "+a"(value)                          \
               : "D"(m), [k] "re"(u64{uncharged})     \
               : "cc", "memory")
    if constexpr (sizeof(T) == 1) VX_CALL("8");
    if constexpr (sizeof(T) == 2) VX_CALL("16");
    if constexpr (sizeof(T) == 4) VX_CALL("32");
    if constexpr (sizeof(T) == 8) VX_CALL("64");
#undef VX_CALL
    return static_cast<T>(value);
  }
  template <typename T>
  [[gnu::always_inline]] static void Write(CVXMachine* m, u32 physical, T value, u32 uncharged) {
#define VX_CALL(bits)                                                                  \
  asm volatile("pushq %[k]\n\tcall vx_cold_write" bits                                 \
               :                                                                       \
               : "a"(u64{physical}), "S"(u64{value}), "D"(m), [k] "re"(u64{uncharged}) \
               : "cc", "memory")
    if constexpr (sizeof(T) == 1) VX_CALL("8");
    if constexpr (sizeof(T) == 2) VX_CALL("16");
    if constexpr (sizeof(T) == 4) VX_CALL("32");
    if constexpr (sizeof(T) == 8) VX_CALL("64");
#undef VX_CALL
  }
};
using Cold = SColdCalls;

#else

using Cold = SDirectCalls;

#endif

}  // namespace vx
