// Processor time of this thread, in nanoseconds: what other programs take from the machine does not
// count.
#pragma once

#include <ctime>

#include "base/Types.h"

namespace vx::bench {

inline f64 CpuNanoseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<f64>(time.tv_sec) * 1e9 + static_cast<f64>(time.tv_nsec);
}

}  // namespace vx::bench
