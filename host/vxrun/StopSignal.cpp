#include "host/vxrun/StopSignal.h"

#include <csignal>

namespace vx {

namespace {
volatile std::sig_atomic_t stopRequested = 0;

void OnStopSignal(int signal) {
  stopRequested = 1;
  // A second one ends the process at once, should the frame never end.
  std::signal(signal, SIG_DFL);
}
}  // namespace

void InstallStopSignals() {
  std::signal(SIGINT, OnStopSignal);
  std::signal(SIGTERM, OnStopSignal);
}

bool StopRequested() { return stopRequested != 0; }

}  // namespace vx
