#include "bench/kernels/BoardEngine.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "bench/kernels/CpuClock.h"
#include "bench/kernels/Kernels.h"
#include "blocks/BlockTable.h"
#include "machine/HostAccess.h"
#include "mips3/Memory.h"
#include "mips3/Processor.h"

namespace vx::bench {

namespace {

constexpr u32 kImageAddress = 0x88000000;
constexpr u32 kAnswerRow = 0x3FF0 >> 4;
constexpr u32 kSliceCycles = 100'000;  // a millisecond of the board
constexpr u32 kA0 = 4, kA1 = 5;

struct SAnswer {
  bool bThere = false;
  u32 value = 0;
};
thread_local SAnswer g_answer;

void TakeAnswer(CVXMachine* machine, u32, u64 value) {
  g_answer = {true, static_cast<u32>(value)};
  machine->CutSlice();
}

void CopyTable(void* target, const void* source, u32 targetBytes, u32, u32, u32, u32) {
  std::memcpy(target, source, targetBytes);
}

const SHostApi& BenchHost() {
  static const SHostApi host = [] {
    SHostApi api{};
    api.DecompressTable = CopyTable;
    return api;
  }();
  return host;
}

u64 SignExtended(u32 address) { return static_cast<u64>(i64{static_cast<i32>(address)}); }

}  // namespace

// The image's entries, as distances from its start.
enum class CBoardEngine::EEntry : u32 { Prepare = 0, Run = 8, RunForEver = 16 };

CBoardEngine::CBoardEngine(EBoardWay way) : machine_((SetHost(&BenchHost()), new CVXMachine)) {
  LoadBlockTable();
  std::ifstream file(VX_KERNEL_IMAGE, std::ios::binary);
  const std::vector<char> image{std::istreambuf_iterator<char>(file), {}};
  if (image.empty() || image.size() > kMainRamBytes) {
    machine_->Destruct(1);
    throw std::runtime_error(VX_KERNEL_IMAGE ": is not there or no image of the kernels");
  }
  std::memcpy(machine_->flatMem + kFlatMainRam, image.data(), image.size());
  imageWords_ = static_cast<u32>(image.size() / sizeof(u32));
  machine_->ioWrite[kAnswerRow].write32 = TakeAnswer;
  machine_->cpu.cop0[kCop0Status] = kStatusFr | 1u << 29;
  // Twice, since some code only runs from the second pass on.
  for (u32 kernel = 0; kernel < kKernelCount; ++kernel) {
    RunToAnswer(EEntry::Prepare, kernel, 0);
    RunToAnswer(EEntry::Run, kernel, 2);
  }
  if (way == EBoardWay::Native) return;
  for (SPredecodedOp& record : machine_->records) record.flags &= ~u32{kOpNative};
}

void CBoardEngine::Start(EEntry entry, u32 kernel, u32 passes) {
  machine_->cpu.pc = kImageAddress + static_cast<u32>(entry);
  machine_->cpu.branchTarget = kNoBranch;
  machine_->cpu.gpr[kA0] = kernel;
  machine_->cpu.gpr[kA1] = SignExtended(passes);
  g_answer = {};
}

u32 CBoardEngine::RunToAnswer(EEntry entry, u32 kernel, u32 passes) {
  Start(entry, kernel, passes);
  while (!g_answer.bThere) RunProcessor(machine_, kSliceCycles);
  return g_answer.value;
}

SKernelRun CBoardEngine::Run(u32 kernel, u32 passes) {
  RunToAnswer(EEntry::Prepare, kernel, 0);
  RunToAnswer(EEntry::Run, kernel, 1);
  const f64 start = CpuNanoseconds();
  const u32 checksum = RunToAnswer(EEntry::Run, kernel, passes);
  return {checksum, CpuNanoseconds() - start};
}

CBoardEngine::SOpCount CBoardEngine::CountTo(u32 kernel, u32 passes) {
  SOpCount count{};
  RunToAnswer(EEntry::Prepare, kernel, 0);
  Start(EEntry::Run, kernel, passes);
  while (!g_answer.bThere) {
    const u32 index = FlatIndexOfVirtual(machine_, machine_->cpu.pc) >> 2;
    const SPredecodedOp& record = machine_->records[index];
    const u32 head = (record.flags & kOpHead) != 0 ? index : record.link;
    const u32 ops = head + machine_->records[head].link - index;
    count.ops += ops;
    if ((record.flags & kOpNative) != 0) count.nativeOps += ops;
    RunProcessor(machine_, 1);  // one block
  }
  return count;
}

CBoardEngine::SOpCount CBoardEngine::CountOps(u32 kernel) {
  const SOpCount one = CountTo(kernel, 1);
  const SOpCount two = CountTo(kernel, 2);
  return {two.ops - one.ops, two.nativeOps - one.nativeOps};
}

void CBoardEngine::StartForEver() { Start(EEntry::RunForEver, 0, 0); }

}  // namespace vx::bench
