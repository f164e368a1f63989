#include "tests/mips3/ProcessorTest.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "machine/HostAccess.h"
#include "mips3/Memory.h"

namespace vx {

namespace {

void KeepLog(i32 level, const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  LogLines().push_back({level, text});
}

CVXMachine* CreateMachine() {
  TestHost() = SHostApi{};
  TestHost().Log = KeepLog;
  SetHost(&TestHost());
  LogLines().clear();
  return new CVXMachine;
}

}  // namespace

std::vector<SLogLine>& LogLines() {
  static std::vector<SLogLine> lines;
  return lines;
}

SHostApi& TestHost() {
  static SHostApi host{};
  return host;
}

const char* NameOf(EWay way) {
  static constexpr const char* kNames[] = {"by its handler", "while forming", "in plain replay",
                                           "in careful replay"};
  return kNames[static_cast<u32>(way)];
}

ProcessorTest::ProcessorTest()
    : m(CreateMachine()), cpu(m->cpu), gpr(m->cpu.gpr), cop0(m->cpu.cop0), log(LogLines()) {
  m->queue.Clear();  // no frame event ends a slice
  cop0[kCop0Status] = 0;
  log.clear();
}

ProcessorTest::~ProcessorTest() {
  m.reset();
  SetHost(nullptr);
}

void ProcessorTest::Place(u32 address, std::initializer_list<u32> words) {
  SetPc(address);
  for (const u32 word : words) {
    Poke32(address, word);
    address += 4;
  }
}

void ProcessorTest::PlaceWithRest(u32 address, std::initializer_list<u32> words) {
  Place(address, words);
  const u32 end = address + 4 * static_cast<u32>(words.size());
  Poke32(end, mips::kBranchToSelf);
  Poke32(end + 4, mips::kNop);
}

void ProcessorTest::Poke32(u32 address, u32 value) {
  StoreFlat<u32>(m.get(), FlatIndexOfVirtual(m.get(), address), value);
}
void ProcessorTest::Poke64(u32 address, u64 value) {
  StoreFlat<u64>(m.get(), FlatIndexOfVirtual(m.get(), address), value);
}
u32 ProcessorTest::Peek32(u32 address) const {
  return LoadFlat<u32>(m.get(), FlatIndexOfVirtual(m.get(), address));
}
u64 ProcessorTest::Peek64(u32 address) const {
  return LoadFlat<u64>(m.get(), FlatIndexOfVirtual(m.get(), address));
}

u32 ProcessorTest::RecordIndexAt(u32 address) const {
  return FlatIndexOfVirtual(m.get(), address) >> 2;
}
SPredecodedOp& ProcessorTest::RecordAt(u32 address) { return m->records[RecordIndexAt(address)]; }

void ProcessorTest::SetPc(u32 address) {
  cpu.pc = address;
  cpu.branchTarget = kNoBranch;
}

void ProcessorTest::InEveryWay(u32 word, const std::function<void()>& prepare,
                               const std::function<void()>& check) {
  for (const EWay way : kEveryWay) {
    SCOPED_TRACE(NameOf(way));
    const u32 address = nextCode;
    nextCode += 0x10;
    // The op stands in the middle of its block.
    PlaceWithRest(address, {mips::kNop, word});
    if (way == EWay::Handler) {
      prepare();
      cpu.pc = address + 8;
      ExecuteWord(m.get(), word);
      check();
      continue;
    }
    if (way == EWay::Careful || way == EWay::Replay) RunBlock();
    if (way == EWay::Careful) RecordAt(address).flags |= kOpCareful;
    prepare();
    SetPc(address);
    RunBlock();
    check();
  }
}

void ProcessorTest::MapPage(u32 address, u32 physical, u32 permissions) {
  m->pages[address >> 12].value = (physical & kPageBaseMask) | permissions;
}

}  // namespace vx
