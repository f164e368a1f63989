// What the machine itself costs: its life cycle, its timeline, a frame at full load and the
// conversion of a picture.
#include <benchmark/benchmark.h>

#include "bench/GuestCode.h"
#include "machine/VXMachine.h"

namespace vx::bench {

namespace {

void BM_CreateAndDestroy(benchmark::State& state) {
  for (auto _ : state) (new CVXMachine)->Destruct(1);
}
BENCHMARK(BM_CreateAndDestroy)->Unit(benchmark::kMillisecond);

// The first reset behind creation writes to memory that the system has not handed out yet.
void BM_FirstReset(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto* const machine = new CVXMachine;
    state.ResumeTiming();
    machine->Reset();
    state.PauseTiming();
    machine->Destruct(1);
    state.ResumeTiming();
  }
}
BENCHMARK(BM_FirstReset)->Unit(benchmark::kMillisecond)->Iterations(50);

// A reset after a program of the given size has run.
void BM_WarmReset(benchmark::State& state) {
  const std::vector<u32> code = MixedBlocks(static_cast<u32>(state.range(0)));
  CGuestMachine guest(code);
  CVXMachine& m = guest.Get();
  m.Reset();
  for (auto _ : state) {
    state.PauseTiming();
    for (u32 i = 0; i < code.size(); ++i) m.TouchRecord((kFlatMainRam >> 2) + i);
    state.ResumeTiming();
    m.Reset();
  }
}
BENCHMARK(BM_WarmReset)->ArgName("blocks")->Arg(100)->Arg(20000)->Unit(benchmark::kMillisecond);

// Events that are scheduled, reached and fired with one client that keeps up.
void BM_Events(benchmark::State& state) {
  CEventQueue queue;
  queue.Initialise([](void*) { return 0.0; }, nullptr);
  queue.AddClient([](void*, f64 target) { return target; }, nullptr, 0.0);
  struct STick {
    CEventQueue* queue;
    u32 id;
    f64 periodUs;
  };
  STick ticks[] = {
      {&queue, 0, 32.0}, {&queue, 0, 100.0}, {&queue, 0, 2000.0}, {&queue, 0, 16666.0}};
  for (STick& tick : ticks) {
    tick.id = queue.Register(
        [](void* context, u64, f64 time) {
          const auto* self = static_cast<const STick*>(context);
          self->queue->SchedulePeriodic(time, self->periodUs, self->id, 0);
        },
        &tick);
    queue.Schedule(tick.periodUs, tick.id, 0);
  }
  for (auto _ : state) queue.Advance();
  state.counters["events/s"] =
      benchmark::Counter(static_cast<f64>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Events);

// A frame in which the guest never waits.
void BM_FullLoadFrame(benchmark::State& state) {
  CGuestMachine guest(MixedBlocks(69));
  CVXMachine& m = guest.Get();
  m.bLoaded = 1;
  m.pendingClockMHz = static_cast<u32>(state.range(0));
  for (auto _ : state) m.FrameStep();
}
BENCHMARK(BM_FullLoadFrame)
    ->ArgName("cycles/us")
    ->Arg(100)
    ->Arg(300)
    ->Unit(benchmark::kMillisecond);

void BM_ConvertFrame(benchmark::State& state) {
  CGuestMachine guest(MixedBlocks(1));
  CVXMachine& m = guest.Get();
  std::vector<u32> picture(kVideoWidth * kVideoHeight);
  for (u32 i = 0; i < kLowRamBytes; ++i) m.flatMem[i] = static_cast<u8>(i * 7 + (i >> 8));
  m.frameTarget = picture.data();
  for (auto _ : state) {
    m.CaptureFrame();
    benchmark::DoNotOptimize(picture.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_ConvertFrame)->Unit(benchmark::kMicrosecond);

}  // namespace

}  // namespace vx::bench
