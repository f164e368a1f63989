// The operations of the floating point unit on values, one function each, shared by everything that
// executes them. NaN results are fixed here, so that no compiler's choice of operand order shows:
// the first operand's NaN made quiet, else the second's, else the default.
#pragma once

#include <immintrin.h>

#include <bit>
#include <cmath>
#include <type_traits>

#include "base/Types.h"

namespace vx {

template <typename T>
using FpBits = std::conditional_t<sizeof(T) == 4, u32, u64>;

template <typename T>
constexpr FpBits<T> kFpSign = FpBits<T>{1} << (sizeof(T) * 8 - 1);
template <typename T>
constexpr FpBits<T> kFpQuiet = FpBits<T>{1} << (sizeof(T) == 4 ? 22 : 51);
template <typename T>
constexpr FpBits<T> kFpDefaultNan = sizeof(T) == 4 ? FpBits<T>(0xFFC00000)
                                                   : FpBits<T>(0xFFF8000000000000);

template <typename T>
inline T MakeQuiet(T nan) {
  return std::bit_cast<T>(std::bit_cast<FpBits<T>>(nan) | kFpQuiet<T>);
}

template <typename T>
inline T SettleNan(T result, T first, T second) {
  if (!std::isnan(result)) [[likely]]
    return result;
  if (std::isnan(first)) return MakeQuiet(first);
  if (std::isnan(second)) return MakeQuiet(second);
  return std::bit_cast<T>(kFpDefaultNan<T>);
}

#if defined(__x86_64__)

// The host's instructions settle NaNs in just this way, as long as the first operand is the one
// that they write.
#define VX_FP_OP(name, instruction)                  \
  inline f32 name##Exact(f32 a, f32 b) {             \
    asm(instruction "ss %1, %0" : "+x"(a) : "x"(b)); \
    return a;                                        \
  }                                                  \
  inline f64 name##Exact(f64 a, f64 b) {             \
    asm(instruction "sd %1, %0" : "+x"(a) : "x"(b)); \
    return a;                                        \
  }                                                  \
  template <typename T>                              \
  inline T name(T a, T b) {                          \
    return name##Exact(a, b);                        \
  }
VX_FP_OP(FpAdd, "add")
VX_FP_OP(FpSub, "sub")
VX_FP_OP(FpMul, "mul")
VX_FP_OP(FpDiv, "div")
#undef VX_FP_OP

#else

template <typename T>
inline T FpAdd(T a, T b) {
  return SettleNan<T>(a + b, a, b);
}
template <typename T>
inline T FpSub(T a, T b) {
  return SettleNan<T>(a - b, a, b);
}
template <typename T>
inline T FpMul(T a, T b) {
  return SettleNan<T>(a * b, a, b);
}
template <typename T>
inline T FpDiv(T a, T b) {
  return SettleNan<T>(a / b, a, b);
}

#endif

// A single is widened, and its root rounded back.
template <typename T>
inline T FpSqrt(T a) {
  return SettleNan<T>(static_cast<T>(std::sqrt(static_cast<f64>(a))), a, a);
}
template <typename T>
inline T FpAbs(T a) {
  return std::bit_cast<T>(std::bit_cast<FpBits<T>>(a) & ~kFpSign<T>);
}
template <typename T>
inline T FpNeg(T a) {
  return std::bit_cast<T>(std::bit_cast<FpBits<T>>(a) ^ kFpSign<T>);
}

// A half is added in the source format and the sum truncated, whatever its sign; what does not fit
// gives the smallest integer.
inline i32 FpToI32(f32 a) { return _mm_cvttss_si32(_mm_set_ss(a + 0.5f)); }
inline i32 FpToI32(f64 a) { return _mm_cvttsd_si32(_mm_set_sd(a + 0.5)); }
inline i64 FpToI64(f32 a) { return _mm_cvttss_si64(_mm_set_ss(a + 0.5f)); }
inline i64 FpToI64(f64 a) { return _mm_cvttsd_si64(_mm_set_sd(a + 0.5)); }

// Narrows as the hardware does; a NaN keeps the top of its payload and turns quiet.
inline f32 FpNarrow(f64 a) { return _mm_cvtss_f32(_mm_cvtsd_ss(_mm_setzero_ps(), _mm_set_sd(a))); }

enum class EFpRelation : u8 { Never, Equal, Less, LessOrEqual };

// A NaN makes every relation false, the unordered forms included.
template <typename T>
inline bool FpCompare(EFpRelation relation, T a, T b) {
  switch (relation) {
    case EFpRelation::Equal:
      return a == b;
    case EFpRelation::Less:
      return a < b;
    case EFpRelation::LessOrEqual:
      return a <= b;
    default:
      return false;
  }
}

}  // namespace vx
