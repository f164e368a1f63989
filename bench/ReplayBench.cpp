// What a guest op costs in replay. Each program runs twice in one process: as the run loop replays
// it, and with every op through its handler.
#include <benchmark/benchmark.h>

#include "bench/GuestCode.h"
#include "mips3/Processor.h"

namespace vx::bench {

namespace {

enum EWay : i64 { kInPlace, kThroughHandlers };
constexpr u32 kSliceCycles = 100'000;

void RunReplay(benchmark::State& state, const std::vector<u32>& code) {
  CGuestMachine guest(code);
  CVXMachine& m = guest.Get();
  const u32 warmUp = static_cast<u32>(code.size()) * 64;
  for (u32 done = 0; done < warmUp;) done += RunProcessor(&m, kSliceCycles);
  if (state.range(0) == kThroughHandlers) {
    for (u32 i = 0; i < code.size(); ++i) m.records[(kFlatMainRam >> 2) + i].dispatch = 0;
  }
  u64 ops = 0;
  for (auto _ : state) ops += RunProcessor(&m, kSliceCycles);
  state.counters["per op"] = benchmark::Counter(
      static_cast<f64>(ops), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_ReplayHotLoop(benchmark::State& state) { RunReplay(state, MixedBlocks(4)); }
void BM_ReplayMixed(benchmark::State& state) { RunReplay(state, MixedBlocks(69)); }
void BM_ReplayWide(benchmark::State& state) { RunReplay(state, MixedBlocks(4000)); }
void BM_ReplayBranchy(benchmark::State& state) { RunReplay(state, BranchyBlocks(196)); }

void Ways(benchmark::internal::Benchmark* bench) {
  bench->ArgName("handlers")->Arg(kInPlace)->Arg(kThroughHandlers);
}
BENCHMARK(BM_ReplayHotLoop)->Apply(Ways);
BENCHMARK(BM_ReplayMixed)->Apply(Ways);
BENCHMARK(BM_ReplayWide)->Apply(Ways);
BENCHMARK(BM_ReplayBranchy)->Apply(Ways);

}  // namespace

}  // namespace vx::bench
