// A small generator of pseudo-random numbers, the same on every system: a seed is a test case.
#pragma once

#include <cstddef>

#include "base/Types.h"

namespace vx::oracle {

class CRandom {
 public:
  explicit CRandom(u64 seed) : state_(seed) {}

  u64 Next() {
    state_ += 0x9E3779B97F4A7C15;
    u64 z = state_;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return z ^ z >> 31;
  }
  // 0 up to limit - 1.
  u32 Below(u32 limit) { return static_cast<u32>((Next() >> 32) * limit >> 32); }
  bool OneIn(u32 chances) { return Below(chances) == 0; }

  template <typename T, size_t Size>
  const T& Pick(const T (&choices)[Size]) {
    return choices[Below(static_cast<u32>(Size))];
  }

  // A value with a liking for the edges of integers, addresses and floating point.
  u64 Value() {
    static constexpr u64 kEdges[] = {0,
                                     1,
                                     2,
                                     ~u64{0},
                                     0x7FFFFFFF,
                                     0x80000000,
                                     0xFFFFFFFF,
                                     0x7FFFFFFFFFFFFFFF,
                                     0x8000000000000000,
                                     0xFFFFFFFF80000000,
                                     0x3F800000,
                                     0x3FF0000000000000};
    const u64 value = Next();
    switch (Below(6)) {
      case 0:
        return Pick(kEdges);
      case 1:
        return value & 0xFF;
      case 2:
        return static_cast<u64>(i64{static_cast<i32>(value)});
      case 3:
        return Pick(kEdges) + (value & 7) - 4;
      default:
        return value >> (value & 31);
    }
  }

 private:
  u64 state_;
};

}  // namespace vx::oracle
