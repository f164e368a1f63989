// What floating point costs a guest in replay, and what a breakpoint costs code that does not hold
// it.
#include <benchmark/benchmark.h>

#include <bit>
#include <cstring>

#include "bench/GuestCode.h"
#include "mips3/Breakpoints.h"
#include "mips3/OpTable.h"
#include "mips3/Processor.h"

namespace vx::bench {

namespace {

constexpr u32 kSliceCycles = 100'000;
constexpr u32 kBlocks = 64;
constexpr u32 kS0 = 16;
constexpr u32 kSingle = 16;

u32 Fp(EOp op, u32 fd, u32 fs, u32 ft) {
  return 17u << 26 | kSingle << 21 | ft << 16 | fs << 11 | fd << 6 | OpInfo(op).code;
}
u32 FpMemory(EOp op, u32 ft, u32 offset) {
  return OpInfo(op).code << 26 | kS0 << 21 | ft << 16 | (offset & 0xFFFF);
}
u32 Jump(u32 address) { return OpInfo(EOp::J).code << 26 | (address >> 2 & 0x3FFFFFF); }

// Endless loop over runs of the same straight code, with a jump behind each.
std::vector<u32> Repeat(const std::vector<u32>& body) {
  std::vector<u32> code;
  for (u32 i = 0; i < kBlocks; ++i) {
    code.insert(code.end(), body.begin(), body.end());
    const u32 behind = kCodeAddress + 4 * (static_cast<u32>(code.size()) + 2);
    code.push_back(Jump(i + 1 == kBlocks ? kCodeAddress : behind));
    code.push_back(0);
  }
  return code;
}

// A point moved, scaled and compared as geometry code does it: 4 loads and stores in 16 ops. The
// values stay finite, and neither turn denormal nor NaN.
std::vector<u32> MixedSingles() {
  return Repeat({
      FpMemory(EOp::Lwc1, 0, 0),
      FpMemory(EOp::Lwc1, 2, 4),
      Fp(EOp::FpMul, 4, 0, 2),
      Fp(EOp::FpMul, 6, 2, 2),
      Fp(EOp::FpAdd, 4, 4, 6),
      Fp(EOp::FpSub, 8, 4, 0),
      Fp(EOp::FpAbs, 8, 8, 0),
      Fp(EOp::FpMul, 10, 8, 2),
      Fp(EOp::FpAdd, 12, 10, 4),
      Fp(EOp::FpNeg, 14, 12, 0),
      Fp(EOp::CvtW, 16, 12, 0),
      Fp(EOp::COlt, 0, 14, 12),
      Fp(EOp::FpMov, 18, 12, 0),
      Fp(EOp::FpAdd, 20, 18, 2),
      FpMemory(EOp::Swc1, 20, 8),
      FpMemory(EOp::Swc1, 16, 12),
  });
}

// One op of a kind sixteen times over, on values that it leaves alone.
std::vector<u32> OneOp(EOp op) {
  return Repeat(std::vector<u32>(16, Fp(op, op >= EOp::CF ? 0 : 4, 0, 2)));
}

void FillOperands(CVXMachine& m) {
  constexpr f32 kValues[] = {1.25f, 1.5f};
  const u32 offset = kFlatMainRam + (kDataAddress - kCodeAddress);
  std::memcpy(m.flatMem + offset, kValues, sizeof(kValues));
  m.cpu.cop0[kCop0Status] |= kStatusFr;
  m.cpu.fpr[0] = std::bit_cast<u32>(kValues[0]);
  m.cpu.fpr[2] = std::bit_cast<u32>(kValues[1]);
}

// The unit makes code wait, so that a turn of the loop takes more cycles than ops; how many is
// measured first.
void RunFp(benchmark::State& state, const std::vector<u32>& code) {
  CGuestMachine guest(code);
  CVXMachine& m = guest.Get();
  FillOperands(m);
  const auto runTurn = [&m] {
    u32 cycles = 0;
    for (u32 i = 0; i < kBlocks; ++i) cycles += RunProcessor(&m, 1);
    return cycles;
  };
  runTurn();
  const f64 opsACycle = static_cast<f64>(code.size()) / runTurn();
  u64 cycles = 0;
  for (auto _ : state) cycles += RunProcessor(&m, kSliceCycles);
  state.counters["per op"] =
      benchmark::Counter(static_cast<f64>(cycles) * opsACycle,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_FpMixedSingles(benchmark::State& state) { RunFp(state, MixedSingles()); }
BENCHMARK(BM_FpMixedSingles);

void BM_FpOp(benchmark::State& state) {
  const auto op = static_cast<EOp>(state.range(0));
  state.SetLabel(OpInfo(op).name);
  RunFp(state, OneOp(op));
}
BENCHMARK(BM_FpOp)
    ->ArgName("op")
    ->Arg(static_cast<i64>(EOp::FpAdd))
    ->Arg(static_cast<i64>(EOp::FpMul))
    ->Arg(static_cast<i64>(EOp::FpDiv))
    ->Arg(static_cast<i64>(EOp::FpSqrt))
    ->Arg(static_cast<i64>(EOp::FpMov))
    ->Arg(static_cast<i64>(EOp::CvtW))
    ->Arg(static_cast<i64>(EOp::COlt));

// The same loop three times: without a breakpoint in the machine, with one on code elsewhere that
// has run, and with one set and cleared again in the loop itself.
enum EBreakpoint : i64 { kNone, kElsewhere, kCleared };

void BM_ReplayBesideABreakpoint(benchmark::State& state) {
  const std::vector<u32> code = MixedBlocks(69);
  CGuestMachine guest(code);
  CVXMachine& m = guest.Get();
  const auto warmUp = [&] {
    for (u32 done = 0; done < code.size() * 64;) done += RunProcessor(&m, kSliceCycles);
  };
  warmUp();
  if (state.range(0) == kElsewhere) {
    constexpr u32 kElsewhereAddress = kCodeAddress + 0x10000;
    constexpr u32 kElsewhereOffset = kFlatMainRam + 0x10000;
    const u32 there[] = {0, Jump(kCodeAddress), 0};
    std::memcpy(m.flatMem + kElsewhereOffset, there, sizeof(there));
    SetBreakpoint(&m, kElsewhereOffset, 1);
    m.cpu.pc = kElsewhereAddress;
    warmUp();
  } else if (state.range(0) == kCleared) {
    SetBreakpoint(&m, kFlatMainRam + 8, 1);
    warmUp();
    ClearBreakpoint(&m, kFlatMainRam + 8);
    warmUp();
  }
  u64 ops = 0;
  for (auto _ : state) ops += RunProcessor(&m, kSliceCycles);
  static constexpr const char* kLabels[] = {"none", "elsewhere", "cleared"};
  state.SetLabel(kLabels[state.range(0)]);
  state.counters["per op"] = benchmark::Counter(
      static_cast<f64>(ops), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_ReplayBesideABreakpoint)
    ->ArgName("breakpoint")
    ->Arg(kNone)
    ->Arg(kElsewhere)
    ->Arg(kCleared);

}  // namespace

}  // namespace vx::bench
