#include "tests/oracle/BoardRunner.h"

#include <cstring>

#include "mips3/Memory.h"
#include "mips3/Processor.h"
#include "tests/oracle/Assemble.h"
#include "tests/oracle/GuestProgram.h"

namespace vx::oracle {

namespace {

constexpr u32 kPageBytes = 0x1000;
// Frames in main RAM. The second code page is the frame after the first, or another.
constexpr u32 kCodeFrame = 0x08100000;
constexpr u32 kOtherFrame = 0x08200000;
constexpr u32 kDataFrame = 0x08300000;
constexpr u32 kExitFrame = 0x08400000;
constexpr u32 kPermissions = kPageRead | kPageWrite | kPageFetch | kPageValid;
constexpr u32 kMaxBlocks = 4 * kMaxStreamOps;  // far more than a stream without loops has

u32 ConditionBits(u64 controlWord) {
  return static_cast<u32>((controlWord >> 23 & 1) | (controlWord >> 25 & 0x7F) << 1);
}

}  // namespace

CBoardRunner::CBoardRunner() : m_(new CVXMachine) { m_->queue.Clear(); }

u32 CBoardRunner::RecordIndex(u32 address) const {
  return FlatIndexOfVirtual(m_.get(), address) >> 2;
}

void CBoardRunner::MapPages(const SStream& stream) {
  const auto map = [&](u32 address, u32 frame) {
    m_->pages[address / kPageBytes].value = frame | kPermissions;
  };
  map(stream.address, kCodeFrame);
  map(stream.address + kPageBytes, stream.bSplitPages ? kOtherFrame : kCodeFrame + kPageBytes);
  map(RecordAddress(stream.slot), kDataFrame);
  map(kHarnessExit, kExitFrame);
}

void CBoardRunner::Place(const SStream& stream) {
  MapPages(stream);
  u32 address = stream.address;
  for (const SStreamOp& op : stream.ops) {
    StoreFlat<u32>(m_.get(), FlatIndexOfVirtual(m_.get(), address), op.board);
    m_->records[RecordIndex(address)] = {};
    address += 4;
  }
}

u8* CBoardRunner::DataOf(const SStream& stream, u32 which) {
  return m_->flatMem + FlatIndexOfVirtual(m_.get(), DataAddress(stream.slot, which));
}

void CBoardRunner::LoadState(const SStream& stream, u32 which) {
  const SStreamRecord& before = stream.before[which];
  SMIPS3Context& cpu = m_->cpu;
  std::memcpy(cpu.gpr, before.gpr, sizeof(cpu.gpr));
  std::memcpy(cpu.fpr, before.fpr, sizeof(cpu.fpr));
  cpu.hi = before.hi;
  cpu.lo = before.lo;
  cpu.fpCond = ConditionBits(before.conditions);
  cpu.pc = stream.address;
  cpu.branchTarget = kNoBranch;
  cpu.cop0[kCop0Status] = stream.bFullRegisters ? u64{kStatusFr} : 0;
  cpu.cop0[kCop0Cause] = 0;
  cpu.mulBusy = cpu.fpMulBusy = cpu.fpBusy = 0;
  std::memcpy(DataOf(stream, which), before.data, sizeof(before.data));
}

void CBoardRunner::MarkCareful(const SStream& stream) {
  u32 address = stream.address;
  for (size_t i = 0; i < stream.ops.size(); ++i, address += 4) {
    SPredecodedOp& record = m_->records[RecordIndex(address)];
    if ((record.flags & kOpHead) != 0) record.flags |= kOpCareful;
  }
}

SBoardResult CBoardRunner::Run(const SStream& stream, u32 which, EBoardPass pass) {
  if (pass == EBoardPass::Careful) MarkCareful(stream);
  LoadState(stream, which);
  SMIPS3Context& cpu = m_->cpu;
  SBoardResult result;
  while (result.blocks < kMaxBlocks && !result.bFinished) {
    ++result.blocks;
    result.cycles += RunProcessor(m_.get(), 1);
    result.bFinished = cpu.pc == kHarnessExit && cpu.branchTarget == kNoBranch;
  }
  result.mulBusy = cpu.mulBusy;
  result.fpMulBusy = cpu.fpMulBusy;
  result.fpBusy = cpu.fpBusy;

  SStreamRecord& after = result.after;
  after = stream.before[which];
  std::memcpy(after.gpr, cpu.gpr, sizeof(after.gpr));
  std::memcpy(after.fpr, cpu.fpr, sizeof(after.fpr));
  after.hi = cpu.hi;
  after.lo = cpu.lo;
  after.conditions = cpu.fpCond;
  std::memcpy(after.data, DataOf(stream, which), sizeof(after.data));
  return result;
}

}  // namespace vx::oracle
