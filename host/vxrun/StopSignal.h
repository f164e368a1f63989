// Ctrl-C and a polite kill end a run after its current frame, with all its files complete.
#pragma once

namespace vx {

void InstallStopSignals();
bool StopRequested();

}  // namespace vx
