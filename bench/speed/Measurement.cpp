#include "bench/speed/Measurement.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>

#include "bench/kernels/BoardEngine.h"
#include "bench/kernels/CpuClock.h"
#include "bench/kernels/EmulatorEngine.h"
#include "bench/kernels/HostEngine.h"
#include "blocks/BlockTable.h"
#include "mips3/Memory.h"

namespace vx::bench {

namespace {

// The checked run of some passes, in nanoseconds a pass.
f64 RunPassesOf(CEngine& engine, EWho who, u32 kernel, u32 passes) {
  const SKernelRun run = engine.Run(kernel, passes);
  if (run.checksum != kKernelRows[kernel].checksum) {
    char text[160];
    std::snprintf(text, sizeof(text), "%s: %s gives checksum %08x instead of %08x",
                  kKernelRows[kernel].name, NameOf(who), run.checksum,
                  kKernelRows[kernel].checksum);
    throw std::runtime_error(text);
  }
  return run.nanoseconds / passes;
}

// So many passes as fill the time.
u32 PassesFor(CEngine& engine, EWho who, u32 kernel, u32 milliseconds) {
  constexpr f64 kShortestNs = 5e6;  // long enough to foretell more
  u32 passes = 1;
  f64 passNs = RunPassesOf(engine, who, kernel, passes);
  while (passNs * passes < kShortestNs) {
    passes *= 4;
    passNs = RunPassesOf(engine, who, kernel, passes);
  }
  return std::max(1u, static_cast<u32>(milliseconds * 1e6 / passNs));
}

// All kernels in turn on a machine that runs whole frames; milliseconds a frame.
f64 FullLoadFrameMs(EBoardWay way, u32 repetitions) {
  constexpr u32 kClockMHz = 300;
  constexpr u32 kFrames = 64;
  CBoardEngine board(way);
  board.StartForEver();
  CVXMachine& m = board.Machine();
  m.bLoaded = 1;
  m.pendingClockMHz = kClockMHz;
  std::vector<f64> times;
  for (u32 i = 0; i < repetitions + 1; ++i) {
    const f64 start = CpuNanoseconds();
    for (u32 frame = 0; frame < kFrames; ++frame) m.FrameStep();
    times.push_back((CpuNanoseconds() - start) / kFrames / 1e6);
  }
  times.erase(times.begin());  // the first starts cold
  return MedianOf(times);
}

// Every word of the kernels' code looked up in random order, as if records were formed.
f64 LookUpNs(CBoardEngine& board, u32 repetitions) {
  const CVXMachine& m = board.Machine();
  std::vector<u32> offsets(board.ImageWords());
  std::iota(offsets.begin(), offsets.end(), 0u);
  std::shuffle(offsets.begin(), offsets.end(), std::mt19937(1));
  std::vector<f64> times;
  for (u32 i = 0; i < repetitions; ++i) {
    u64 found = 0;
    const f64 start = CpuNanoseconds();
    for (const u32 word : offsets) {
      const u32 offset = kFlatMainRam + word * 4;
      found += LookUpBlock(&m, LoadFlat<u32>(&m, offset), offset) != nullptr;
    }
    times.push_back((CpuNanoseconds() - start) / static_cast<f64>(offsets.size()));
    if (found > offsets.size()) std::abort();  // keeps the results in use
  }
  return MedianOf(times);
}

// The engines of this build, and the passes that fill a run on each.
class CBench {
 public:
  explicit CBench(const SMeasureOptions& options) : options_(options) {
    At(EWho::Replay) = std::make_unique<CBoardEngine>(EBoardWay::Replay);
    if (!BuiltInLibrary().natives.empty()) {
      At(EWho::Native) = std::make_unique<CBoardEngine>(EBoardWay::Native);
    }
    if (CEmulatorEngine::IsThere()) At(EWho::Emulator) = std::make_unique<CEmulatorEngine>();
    At(EWho::Host) = std::make_unique<CHostEngine>();
  }

  SFigures Run() {
    SFigures figures;
    figures.repetitions = options_.repetitions;
    Prepare(figures);
    for (u32 i = 0; i < options_.repetitions; ++i) {
      std::fprintf(stderr, "\rRepetition %u of %u ", i + 1, options_.repetitions);
      Repeat(figures);
    }
    figures.frameMs[0] = FullLoadFrameMs(EBoardWay::Replay, options_.repetitions);
    if (CBoardEngine* const native = Native()) {
      figures.frameMs[1] = FullLoadFrameMs(EBoardWay::Native, options_.repetitions);
      figures.lookUpNs = LookUpNs(*native, options_.repetitions);
    }
    std::fprintf(stderr, "\n");
    return figures;
  }

 private:
  std::unique_ptr<CEngine>& At(EWho who) { return engines_[static_cast<u32>(who)]; }
  CBoardEngine* Native() { return static_cast<CBoardEngine*>(At(EWho::Native).get()); }

  void Prepare(SFigures& figures) {
    for (u32 kernel = 0; kernel < kKernelCount; ++kernel) {
      std::fprintf(stderr, "\rPreparing: %-20s", kKernelRows[kernel].name);
      CBoardEngine& board =
          Native() != nullptr ? *Native() : static_cast<CBoardEngine&>(*At(EWho::Replay));
      const CBoardEngine::SOpCount count = board.CountOps(kernel);
      figures.kernels[kernel].ops = count.ops;
      figures.kernels[kernel].nativeShare =
          static_cast<f64>(count.nativeOps) / static_cast<f64>(count.ops);
      for (const EWho who : kEveryone) {
        if (At(who) == nullptr) continue;
        passes_[static_cast<u32>(who)][kernel] =
            PassesFor(*At(who), who, kernel, options_.milliseconds);
      }
    }
  }

  void Repeat(SFigures& figures) {
    for (u32 kernel = 0; kernel < kKernelCount; ++kernel) {
      for (const EWho who : kEveryone) {
        if (At(who) == nullptr) continue;
        const u32 index = static_cast<u32>(who);
        figures.kernels[kernel].passNs[index].push_back(
            RunPassesOf(*At(who), who, kernel, passes_[index][kernel]));
      }
    }
  }

  SMeasureOptions options_;
  std::unique_ptr<CEngine> engines_[kWhoCount];
  u32 passes_[kWhoCount][kKernelCount] = {};
};

// The geometric mean of a figure over the kernels of a kind.
template <typename TFigure>
std::optional<f64> MeanOver(const SFigures& figures, EKernelKind kind, TFigure figure) {
  f64 logs = 0.0;
  u32 count = 0;
  for (u32 kernel = 0; kernel < kKernelCount; ++kernel) {
    if (kKernelRows[kernel].kind != kind) continue;
    const std::optional<f64> value = figure(figures.kernels[kernel]);
    if (!value) return std::nullopt;
    logs += std::log(*value);
    ++count;
  }
  return std::exp(logs / count);
}

}  // namespace

const char* NameOf(EWho who) {
  static constexpr const char* kNames[kWhoCount] = {"replay", "native blocks", "QEMU user mode",
                                                    "host"};
  return kNames[static_cast<u32>(who)];
}

SFigures Measure(const SMeasureOptions& options) { return CBench(options).Run(); }

f64 MedianOf(std::vector<f64> values) {
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

std::optional<f64> MillionsASecond(const SKernelFigures& kernel, EWho who) {
  const std::vector<f64>& passNs = kernel.passNs[static_cast<u32>(who)];
  if (passNs.empty()) return std::nullopt;
  return static_cast<f64>(kernel.ops) * 1e3 / MedianOf(passNs);
}

std::optional<f64> Ratio(const SKernelFigures& kernel, EWho who, EWho than) {
  const std::vector<f64>& mine = kernel.passNs[static_cast<u32>(who)];
  const std::vector<f64>& theirs = kernel.passNs[static_cast<u32>(than)];
  if (mine.empty() || theirs.empty()) return std::nullopt;
  std::vector<f64> ratios;
  for (size_t i = 0; i < mine.size(); ++i) ratios.push_back(theirs[i] / mine[i]);
  return MedianOf(ratios);
}

std::optional<f64> MeanRatio(const SFigures& figures, EKernelKind kind, EWho who, EWho than) {
  return MeanOver(figures, kind,
                  [&](const SKernelFigures& kernel) { return Ratio(kernel, who, than); });
}

std::optional<f64> MeanMillions(const SFigures& figures, EKernelKind kind, EWho who) {
  return MeanOver(figures, kind,
                  [&](const SKernelFigures& kernel) { return MillionsASecond(kernel, who); });
}

}  // namespace vx::bench
