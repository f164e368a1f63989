#include "bench/speed/Report.h"

#include <cstdarg>
#include <cstdio>

namespace vx::bench {

namespace {

__attribute__((format(printf, 2, 3))) void Append(std::string& text, const char* format, ...) {
  char line[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  text += line;
}

std::string Number(std::optional<f64> value, const char* format) {
  if (!value) return "-";
  std::string text;
  Append(text, format, *value);
  return text;
}

struct SRatio {
  const char* name;
  EKernelKind kind;
  EWho who, than;
  f64 atLeast, aim;
};

// clang-format off
constexpr SRatio kRatios[] = {
    // what                                  kernels               of            than            at least  aim
    {"replay / QEMU user mode",              EKernelKind::Integer, EWho::Replay, EWho::Emulator, 0.10,     0.125},
    {"native blocks / replay",               EKernelKind::Integer, EWho::Native, EWho::Replay,   3.0,      4.0},
    {"native blocks / QEMU user mode",       EKernelKind::Integer, EWho::Native, EWho::Emulator, 0.35,     0.42},
    {"native blocks / QEMU, float transform",EKernelKind::Float,   EWho::Native, EWho::Emulator, 8.0,      11.0},
    {"native blocks / host",                 EKernelKind::Integer, EWho::Native, EWho::Host,     0.11,     0.13},
};
// clang-format on
constexpr f64 kMostFrameMs = 4.5;
constexpr f64 kMostLookUpNs = 200.0;

template <typename TRate>
void AppendRates(std::string& text, const char* name, TRate rate) {
  Append(text, "%-24s", name);
  for (const EWho who : kEveryone) Append(text, "%16s", Number(rate(who), "%.0f").c_str());
}

void AppendTable(std::string& text, const SFigures& figures) {
  Append(text, "%-24s", "kernel");
  for (const EWho who : kEveryone) Append(text, "%16s", NameOf(who));
  text += "     ops a pass  native\n";
  for (u32 i = 0; i < kKernelCount; ++i) {
    const SKernelFigures& kernel = figures.kernels[i];
    AppendRates(text, kKernelRows[i].name, [&](EWho who) { return MillionsASecond(kernel, who); });
    Append(text, "%15llu%7.0f%%\n", static_cast<unsigned long long>(kernel.ops),
           kernel.nativeShare * 100);
  }
  AppendRates(text, "geometric mean, integer",
              [&](EWho who) { return MeanMillions(figures, EKernelKind::Integer, who); });
  text += "\n";
}

const char* Verdict(std::optional<f64> value, bool bEnough) {
  return !value ? "not measured" : bEnough ? "yes" : "NO";
}

}  // namespace

std::string TextOf(const SFigures& figures) {
  std::string text;
  Append(text, "Millions of guest instructions a second, medians of %u interleaved runs\n\n",
         figures.repetitions);
  AppendTable(text, figures);
  Append(text, "\n%-42s%10s%10s%8s  %s\n", "figure", "measured", "at least", "aim", "reached");
  for (const SRatio& row : kRatios) {
    const std::optional<f64> value = MeanRatio(figures, row.kind, row.who, row.than);
    Append(text, "%-42s%10s%10.3g%8.3g  %s\n", row.name, Number(value, "%.3f").c_str(), row.atLeast,
           row.aim, Verdict(value, value.value_or(0) >= row.atLeast));
  }
  const auto appendMost = [&text](const char* name, std::optional<f64> value, f64 most) {
    Append(text, "%-42s%10s%10.3g%8s  %s\n", name, Number(value, "%.2f").c_str(), most, "",
           Verdict(value, value.value_or(0) <= most));
  };
  Append(text, "\n%-42s%10s%10s\n", "figure", "measured", "at most");
  appendMost("full-load frame at 300 cycles/us, ms", figures.frameMs[1], kMostFrameMs);
  appendMost("looking a record up while forming, ns", figures.lookUpNs, kMostLookUpNs);
  Append(text, "%-42s%10s\n", "the same frame by replay, ms",
         Number(figures.frameMs[0], "%.2f").c_str());
  return text;
}

}  // namespace vx::bench
