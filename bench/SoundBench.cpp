// What the sound processor costs: nanoseconds an instruction word by word, the patched loops beside
// the words that they replace, and a frame of a busy processor.
#include <benchmark/benchmark.h>

#include <memory>

#include "bench/SoundPrograms.h"
#include "sound/DspInstances.h"
#include "sound/Mixer.h"

namespace vx::bench {

namespace {

constexpr u32 kFrameCycles = 166667;  // of a sixtieth of a second

// Runs frames; the rate is that of cycles, its inverse the time of one.
void RunFrames(benchmark::State& state, test::CDspRig& rig) {
  u64 cycles = 0;
  for (auto _ : state) cycles += rig.Run(kFrameCycles);
  state.counters["cycle"] = benchmark::Counter(
      static_cast<double>(cycles), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_BusyFrame(benchmark::State& state) {
  const auto rig = std::make_unique<test::CDspRig>();
  LoadBusyProgram(rig->processor);
  RunFrames(state, *rig);
}
BENCHMARK(BM_BusyFrame)->Unit(benchmark::kMicrosecond);

void BM_SpinFrame(benchmark::State& state) {
  const auto rig = std::make_unique<test::CDspRig>();
  LoadSpinProgram(rig->processor);
  RunFrames(state, *rig);
}
BENCHMARK(BM_SpinFrame)->Unit(benchmark::kMicrosecond);

void BM_PatchFrame(benchmark::State& state) {
  const auto rig = std::make_unique<test::CDspRig>();
  LoadPatchProgram(rig->processor, static_cast<u32>(state.range(0)), state.range(1) != 0);
  RunFrames(state, *rig);
}
BENCHMARK(BM_PatchFrame)
    ->ArgNames({"patch", "native"})
    ->ArgsProduct({{0, 1, 2, 3}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

// --- Clones ------------------------------------------------------------------------------------

// A rig with clones, all of which send 512 samples a frame.
class CCloneRig {
 public:
  explicit CCloneRig(u32 count) : rig_(std::make_unique<test::CDspRig>()) {
    rig_->port.bKeepBlocks = false;
    LoadBusyProgram(rig_->processor);
    instances_.Create(count, rig_->processor, rig_->board, 0.0);
  }
  ~CCloneRig() { instances_.Clear(rig_->queue); }

  test::CDspRig& Rig() { return *rig_; }
  CDspInstances& Get() { return instances_; }

 private:
  std::unique_ptr<test::CDspRig> rig_;
  CDspInstances instances_;
};

// The main processor and eight clones, all busy, for a frame each.
void BM_EightBusyClones(benchmark::State& state) {
  CCloneRig clones(8);
  for (auto _ : state) {
    clones.Rig().Run(kFrameCycles);
    for (SDspInstanceSlot& slot : clones.Get().slots) slot.instance->processor.Run(kFrameCycles);
  }
}
BENCHMARK(BM_EightBusyClones)->Unit(benchmark::kMicrosecond);

// A halted clone's slices and ticks of a frame.
void BM_HaltedClone(benchmark::State& state) {
  constexpr u32 kSlices = 10;
  constexpr u32 kTicks = 2;
  CCloneRig clones(1);
  CInstancedADSP& clone = *clones.Get().slots[0].instance;
  clone.processor.state.runFlags = kRunHalted;
  clone.board.link.autobufferLength = 512;
  clone.board.link.autobufferStep = 1;
  clone.board.link.tickPeriod = 8192.0;
  CEventQueue& queue = clones.Rig().queue;
  queue.Cancel(CEventQueue::kIdleId);
  queue.Schedule(0.0, clone.board.TickId(), 0);
  for (auto _ : state) {
    for (u32 i = 0; i < kSlices; ++i) benchmark::DoNotOptimize(clone.processor.Run(16667));
    for (u32 i = 0; i < kTicks; ++i) queue.Advance();
    clone.board.sampleCount = 0;
    queue.Rebase();
  }
}
BENCHMARK(BM_HaltedClone)->Unit(benchmark::kNanosecond);

// A frame's mix with clones that all move.
void BM_MixFrame(benchmark::State& state) {
  const u32 count = static_cast<u32>(state.range(0));
  CCloneRig clones(count);
  if (count == 0) clones.Get().Clear(clones.Rig().queue);
  CSoundBoard& board = clones.Rig().board;
  f32 listener[4][3] = {{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
  auto mixer = std::make_unique<CMixer>();
  constexpr u32 kSamples = 521;
  for (auto _ : state) {
    board.sampleCount = kSamples;
    for (SDspInstanceSlot& slot : clones.Get().slots) {
      slot.instance->board.sampleCount = kSamples;
      slot.instance->board.bHasSamples = 1;
      slot.position[0] += 0.01f;
      slot.range = 1000.0f;
    }
    mixer->MixFrame({board, clones.Get(), listener, false, 60.0}, clones.Rig().port);
  }
}
BENCHMARK(BM_MixFrame)->ArgName("clones")->Arg(0)->Arg(8)->Unit(benchmark::kMicrosecond);

}  // namespace

}  // namespace vx::bench
