// What saved states cost a run of the open cabinet: the history of the rewind key, going back, and
// run-ahead.
#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

#include "host/Component.h"
#include "host/PackCheck.h"
#include "host/Session.h"
#include "host/vxrun/RewindDeck.h"
#include "host/vxrun/RunAhead.h"

namespace vx {

namespace {

constexpr u32 kWarmFrames = 1200;  // self test, loader and title are past; attract mode plays
constexpr f64 kFrameMs = 1000.0 / 60;

f64 Seconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<f64>(now).count();
}

// The cabinet where something moves on the screen. Pictures are made, as in a window.
struct SCabinet {
  SCabinet()
      : session(component, {.wantsPicture = [] { return true; }, .onPicture = {}, .onSound = {}}) {
    session.Start(VX_CABINET, CheckPack(VX_CABINET, PhysicalMemoryBytes()));
    for (u32 i = 0; i < kWarmFrames; ++i) Run();
  }
  void Run() { session.RunFrame(records, kHostPlayers); }

  CComponent component{VX_COMPONENT};
  CSession session;
  SInputRecord records[kHostPlayers];
};

SCabinet& Cabinet() {
  static SCabinet cabinet;
  return cabinet;
}

// One state into and out of memory, by the machine alone. The aim: 1 ms, and never 2.
void SaveState(benchmark::State& state) {
  CQuillonMachineBase& machine = Cabinet().session.Machine();
  std::vector<u8> bytes(Cabinet().component.Table().GetStateBufferSize());
  for ([[maybe_unused]] auto round : state) {
    SStateStream stream = {bytes.data(), static_cast<u32>(bytes.size()), 0, 0};
    machine.SaveState(&stream, 1);
  }
}
BENCHMARK(SaveState)->Unit(benchmark::kMillisecond);

void LoadState(benchmark::State& state) {
  CQuillonMachineBase& machine = Cabinet().session.Machine();
  std::vector<u8> bytes(Cabinet().component.Table().GetStateBufferSize());
  SStateStream saved = {bytes.data(), static_cast<u32>(bytes.size()), 0, 0};
  machine.SaveState(&saved, 1);
  for ([[maybe_unused]] auto round : state) {
    SStateStream stream = {bytes.data(), saved.position, 0, 0};
    machine.LoadState(&stream);
  }
}
BENCHMARK(LoadState)->Unit(benchmark::kMillisecond);

// A frame of the game beside its two branches, as a script that steps every frame has it; nothing
// arms the branches, so that both run for all the time that they may.
void LookAheadFrame(benchmark::State& state) {
  constexpr u64 kSetStepMode = 66;
  SCabinet& cabinet = Cabinet();
  CQuillonMachineBase& machine = cabinet.session.Machine();
  const SMachineTable& table = cabinet.component.Table();
  u32 arguments[2];
  const auto step = [&](u32 bOn, u32 requests) {
    arguments[0] = bOn;
    arguments[1] = requests;
    table.ScriptCall(&machine, reinterpret_cast<u64>(arguments), kSetStepMode, 0);
  };
  f64 seconds = 0;
  for ([[maybe_unused]] auto round : state) {
    step(1, 1);
    const f64 start = Seconds();
    cabinet.Run();
    seconds += Seconds() - start;
  }
  step(0, 0);
  state.counters["percent_of_frame"] =
      seconds * 1000 / static_cast<f64>(state.iterations()) / kFrameMs * 100;
}
BENCHMARK(LookAheadFrame)->Iterations(300)->UseRealTime()->Unit(benchmark::kMillisecond);

// A minute of frames a round; the frames themselves are not counted. The aim: at most a tenth of a
// frame's 16.7 ms on average.
void RewindHistory(benchmark::State& state) {
  SCabinet& cabinet = Cabinet();
  u64 frames = 0;
  f64 total = 0;
  f64 packedBytes = 0;
  f64 states = 0;
  for ([[maybe_unused]] auto round : state) {
    CRewindDeck rewind(cabinet.session, 60, 60.0);
    f64 seconds = 0;
    for (u32 i = 0; i < 3600; ++i) {
      cabinet.Run();
      const f64 start = Seconds();
      rewind.EndFrame();
      seconds += Seconds() - start;
    }
    state.SetIterationTime(seconds);
    total += seconds;
    frames += 3600;
    packedBytes = static_cast<f64>(rewind.History().PackedBytes());
    states = rewind.History().Count();
  }
  const f64 msPerFrame = total * 1000 / static_cast<f64>(frames);
  state.counters["ms_per_frame"] = msPerFrame;
  state.counters["percent_of_frame"] = msPerFrame / kFrameMs * 100;
  state.counters["MiB_of_a_minute"] = packedBytes / (1 << 20);
  state.counters["states"] = states;
}
BENCHMARK(RewindHistory)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

// A step back without the frame that is shown then.
void RewindStep(benchmark::State& state) {
  SCabinet& cabinet = Cabinet();
  CRewindDeck rewind(cabinet.session, 60, 60.0);
  for ([[maybe_unused]] auto round : state) {
    state.PauseTiming();
    while (rewind.History().Count() < 20) {
      cabinet.Run();
      rewind.EndFrame();
    }
    state.ResumeTiming();
    while (!rewind.StepBack()) {
    }
  }
}
BENCHMARK(RewindStep)->Iterations(100)->Unit(benchmark::kMillisecond);

// Everything that run-ahead of so many frames adds to a frame; 0 is a frame of the game alone.
void RunAheadFrame(benchmark::State& state) {
  SCabinet& cabinet = Cabinet();
  CRunAhead ahead(cabinet.session, static_cast<u32>(state.range(0)));
  EFrameUse use = EFrameUse::Game;
  for ([[maybe_unused]] auto round : state) {
    cabinet.Run();
    if (state.range(0) != 0) ahead.Run(cabinet.records, kHostPlayers, use);
  }
}
BENCHMARK(RunAheadFrame)->Arg(0)->Arg(1)->Arg(2)->Iterations(200)->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace vx
