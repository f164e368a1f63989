// One run of the program from checked options to the last frame.
#pragma once

#include "host/HostError.h"
#include "host/vxrun/Options.h"
#include "host/vxrun/StartClock.h"

namespace vx {

// Throws CHostError for everything that keeps the run from being what was asked for.
EExitCode Run(const SOptions& options, const CStartClock& startClock);

}  // namespace vx
