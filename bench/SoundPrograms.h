// Sound programs for benchmarks: instruction words laid into a processor's memory, without a boot.
#pragma once

#include "tests/sound/DspRig.h"

namespace vx::bench {

// What a busy sound program spends its time on, as an endless loop without any patch: a resampler
// with its page test, a mixing loop, a volume loop and a butterfly loop, 64 rounds each.
void LoadBusyProgram(CADSP& p);
// One of the patched loops, entered again and again: native if `bNative`, else word by word.
void LoadPatchProgram(CADSP& p, u32 patch, bool bNative);
// A program that waits in a loop that no patch and no idle skip knows, and does nothing else.
void LoadSpinProgram(CADSP& p);

}  // namespace vx::bench
