// What the speed report measures: each kernel on each engine, all in turn within a repetition, so
// that what disturbs the machine meets them alike.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "bench/kernels/KernelTable.h"

namespace vx::bench {

enum class EWho { Replay, Native, Emulator, Host };
inline constexpr EWho kEveryone[] = {EWho::Replay, EWho::Native, EWho::Emulator, EWho::Host};
inline constexpr u32 kWhoCount = 4;
const char* NameOf(EWho who);

struct SMeasureOptions {
  u32 repetitions = 7;
  u32 milliseconds = 100;  // of each run, as near as whole passes come
};

struct SKernelFigures {
  u64 ops = 0;            // of a pass
  f64 nativeShare = 0.0;  // of them, run by native blocks when there are any
  // Nanoseconds a pass, one for each repetition; empty for an engine that is not there.
  std::vector<f64> passNs[kWhoCount];
};

struct SFigures {
  SKernelFigures kernels[kKernelCount];
  std::optional<f64> frameMs[2];  // full load at 300 cycles a microsecond: by replay, natively
  std::optional<f64> lookUpNs;    // of a record's native block while it is formed
  u32 repetitions = 0;
};

// Measures everything, and tells on stderr how far it is. Throws std::runtime_error if an engine
// fails or gives another checksum than the kernel's.
SFigures Measure(const SMeasureOptions& options);

// --- Reading figures ---------------------------------------------------------------------------

f64 MedianOf(std::vector<f64> values);
// Millions of guest instructions a second, by the median pass; none if the engine is not there.
std::optional<f64> MillionsASecond(const SKernelFigures& kernel, EWho who);
// How many times as fast one engine is as another, by the median of the repetitions' ratios.
std::optional<f64> Ratio(const SKernelFigures& kernel, EWho who, EWho than);
// Geometric mean of a ratio over the kernels of a kind; none if one of them has none.
std::optional<f64> MeanRatio(const SFigures& figures, EKernelKind kind, EWho who, EWho than);
std::optional<f64> MeanMillions(const SFigures& figures, EKernelKind kind, EWho who);

}  // namespace vx::bench
