// How long this process has lived, for the time to the first frame.
#pragma once

#include "plugin/Quillon.h"

namespace vx {

u64 MonotonicNs();

// Call first in main. What came before main, loading the libraries above all, is counted by the
// processor time that it took: the start time that the system keeps has steps of 10 ms.
class CStartClock {
 public:
  CStartClock();
  f64 ElapsedMs() const;

 private:
  u64 startNs_;
};

}  // namespace vx
