#include "host/vxrun/StartClock.h"

#include <ctime>

namespace vx {

namespace {
u64 ReadNs(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<u64>(time.tv_sec) * 1'000'000'000 + static_cast<u64>(time.tv_nsec);
}
}  // namespace

u64 MonotonicNs() { return ReadNs(CLOCK_MONOTONIC); }

CStartClock::CStartClock() : startNs_(MonotonicNs() - ReadNs(CLOCK_PROCESS_CPUTIME_ID)) {}

f64 CStartClock::ElapsedMs() const { return static_cast<f64>(MonotonicNs() - startNs_) / 1e6; }

}  // namespace vx
