#include "tests/native/BlockPair.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "blocks/BlockTable.h"
#include "machine/HostAccess.h"
#include "mips3/Memory.h"
#include "mips3/OpTable.h"

namespace vx::test {

namespace {

constexpr u32 kCodeAddress = 0x80010000;
constexpr u32 kCodePages = 4;
// The pages of RAM that data accesses reach: the last ones of each RAM among them.
constexpr u32 kDataPages[] = {0x00040000, 0x0007F000, 0x08100000, 0x087FF000};
constexpr u32 kPageBytes = 4096;

// Registers whose answers and cuts depend on address and time, so that an inexact cycle shows. Each
// access goes into a running hash.
void LogAccess(CVXMachine* m, u64 what) {
  m->scriptState.markFrame = (m->scriptState.markFrame ^ what ^ m->cpu.cycles) * 0x100000001B3;
}
template <typename T>
u64 ReadDevice(CVXMachine* m, u32 address) {
  LogAccess(m, u64{address} << 8 | sizeof(T));
  if ((address & 0x30) == 0x30) m->SetCauseLine(kCauseAta, (m->cpu.cycles & 1) != 0);
  return static_cast<T>((u64{m->cpu.cycles} + address) * 0x9E3779B97F4A7C15);
}
template <typename T>
void WriteDevice(CVXMachine* m, u32 address, u64 value) {
  LogAccess(m, u64{address} << 40 ^ value << 8 ^ (sizeof(T) | 16));
  if ((value & 7) == 0) m->CutSlice();
  if ((value & 7) == 1) m->cpu.cycles = m->cpu.budget;
  if ((value & 7) == 2) m->SetCauseLine(kCauseAta, (value & 8) != 0);
}

MachinePtr MakeMachine() {
  SetHost(&TestHost());  // without services
  MachinePtr machine(new CVXMachine);
  machine->queue.Clear();
  return machine;
}

bool MapsPages(const std::vector<u32>& words) {
  return std::any_of(words.begin(), words.end(), [](u32 word) {
    return DecodeOp(word) == EOp::Tlbwi ||
           (DecodeOp(word) == EOp::Mtc0 && Rd(word) == static_cast<u32>(kCop0EntryHi));
  });
}

void Show(std::string& text, const char* name, u32 index, u64 native, u64 records) {
  if (native == records) return;
  char line[120];
  std::snprintf(line, sizeof(line), "  %-10s %2u  %016" PRIX64 "  %016" PRIX64 "\n", name, index,
                native, records);
  text += line;
}

}  // namespace

std::vector<SLibraryBlock> LibraryBlocks() {
  const SBlockLibrary& library = BuiltInLibrary();
  const u8* const image = library.image.data();
  std::vector<SLibraryBlock> blocks;
  for (u32 i = 0; i < kBlockBucketCount; ++i) {
    SBlockBucket bucket;
    std::memcpy(&bucket, image + 8 + i * sizeof(bucket), sizeof(bucket));
    for (u32 j = 0; j < bucket.count; ++j) {
      SBlockEntry entry;
      std::memcpy(&entry, image + bucket.entries + j * sizeof(entry), sizeof(entry));
      std::vector<u32> words(entry.wordCount);
      std::memcpy(words.data(), image + entry.words, words.size() * sizeof(u32));
      blocks.push_back({std::move(words), library.natives[entry.nativeIndex]});
    }
  }
  return blocks;
}

EReference ReferenceFor(const std::vector<u32>& words) {
  const bool bLikely = std::any_of(words.begin(), words.end(), [](u32 word) {
    return (OpInfo(DecodeOp(word)).traits & kLikely) == kLikely || IsMarkedLikely(word);
  });
  return bLikely ? EReference::Handlers : EReference::Replay;
}

std::string Listing(const std::vector<u32>& words) {
  std::string text;
  char line[64];
  for (const u32 word : words) {
    std::snprintf(line, sizeof(line), "  %08X %s\n", word, OpInfo(DecodeOp(word)).name);
    text += line;
  }
  return text;
}

CBlockPair::CBlockPair() : native_(MakeMachine()), records_(MakeMachine()) {
  for (CVXMachine* machine : {native_.get(), records_.get()}) {
    for (u32 row = 0; row < kIoRowCount; ++row) {
      machine->ioRead[row] = {ReadDevice<u64>, ReadDevice<u32>, ReadDevice<u16>, ReadDevice<u8>};
      machine->ioWrite[row] = {WriteDevice<u64>, WriteDevice<u32>, WriteDevice<u16>,
                               WriteDevice<u8>};
    }
    BuildPages(*machine);
    std::mt19937 random(1);
    for (u32 i = 0; i < kRomBytes; i += 4) {
      StoreFlat<u32>(machine, kFlatBootRom + i, static_cast<u32>(random()));
    }
  }
  pages_.assign(native_->pages, native_->pages + kPageCount);
}

void CBlockPair::BuildPages(CVXMachine& machine) {
  constexpr u32 kAll = kPageMappedMask | kPageInstalled;
  constexpr u32 kReadOnly = kAll & ~u32{kPageWrite};
  constexpr u32 kWriteOnly = kAll & ~u32{kPageRead};
  constexpr u32 kPlaces[] = {
      kDataPages[0] | kAll,      kDataPages[1] | kAll,       kDataPages[2] | kAll,
      kDataPages[3] | kAll,      kDataPages[0] | kAll,       kDataPages[2] | kAll,
      kDataPages[2] | kReadOnly, kDataPages[0] | kWriteOnly, kIoBase | kAll,
      (kIoBase + 0x3000) | kAll, kBootRomBase | kAll,        (kBootRomEnd - kPageBytes) | kAll,
      0x18000000 | kAll,         0x04000000 | kAll,          kPageInstalled,
      0xFFFFF000 | kAll,
  };
  for (u32 page = 0; page < kPageCount; ++page) {
    machine.pages[page].value = kPlaces[page * 2654435761u >> 28];
  }
  for (u32 i = 0; i < kCodePages; ++i) {
    machine.pages[(kCodeAddress >> 12) + i].value = (0x10000 + i * kPageBytes) | kAll;
  }
}

void CBlockPair::Take(const SLibraryBlock& block) {
  if (bMapsPages_) {
    for (CVXMachine* machine : {native_.get(), records_.get()}) {
      std::copy(pages_.begin(), pages_.end(), machine->pages);
    }
  }
  block_ = &block;
  bMapsPages_ = MapsPages(block.words);
  const u32 first = FlatIndexOfVirtual(native_.get(), kCodeAddress) / 4;
  for (u32 i = 0; i < block.words.size(); ++i) {
    for (CVXMachine* machine : {native_.get(), records_.get()}) {
      StoreFlat<u32>(machine, (first + i) * 4, block.words[i]);
    }
    SPredecodedOp& record = records_->records[first + i];
    record = {ChooseHandler(block.words[i]), nullptr, block.words[i], kOpValid, 0,
              ChooseDispatch(block.words[i])};
    records_->TouchRecord(first + i);
  }
}

u64 CBlockPair::RandomRegister(std::mt19937_64& random) const {
  const u64 bits = random();
  const u64 value = random();
  switch (bits & 15) {
    case 0:
      return 0;
    case 1:
      return ~u64{0};
    case 2:
      return value & 7;
    case 3:
      return u64{1} << 63;
    case 4:
      return value;
    case 5:
      return native_->cpu.gpr[bits >> 8 & 31];  // equal registers
    case 6:
      return (value & ~u64{0xFFF}) | 0xFF8 | (value & 7);  // near a page's end
    default:
      return Extended(static_cast<u32>(value));
  }
}

void CBlockPair::Randomise(std::mt19937_64& random) {
  SMIPS3Context& cpu = native_->cpu;
  const u64 bits = random();
  for (u32 i = 1; i < 32; ++i) cpu.gpr[i] = RandomRegister(random);
  for (u64& value : cpu.fpr) {
    const u64 kind = random();
    const f32 single = static_cast<f32>(static_cast<i32>(kind >> 32)) / 65536.0f;
    const f64 whole = static_cast<f64>(static_cast<i64>(kind)) / 4294967296.0;
    value = kind % 4 == 0   ? std::bit_cast<u64>(whole)
            : kind % 4 == 1 ? std::bit_cast<u32>(single)
            : kind % 4 == 2 ? kind
                            : RandomRegister(random);
  }
  // At the block's own place, or anywhere, now and then misaligned.
  const u32 anywhere = static_cast<u32>(random()) & ((bits & 0xF00) == 0 ? ~u32{0} : ~u32{3});
  cpu.pc = ((bits & 0x7000) != 0 ? kCodeAddress : anywhere) + 4;
  cpu.branchTarget = kNoBranch;
  cpu.budget = 1 + static_cast<u32>(random() % 400);
  cpu.cycles = static_cast<u32>(random() % cpu.budget);
  cpu.stopMark = (bits & 0x70000) == 0 ? 1 + cpu.cycles : 0;
  cpu.mulBusy = static_cast<u32>(random() % 500);
  cpu.fpBusy = static_cast<u32>(random() % 500);
  cpu.fpMulBusy = static_cast<u32>(random() % 500);
  cpu.lo = RandomRegister(random);
  cpu.hi = RandomRegister(random);
  cpu.llFlag = static_cast<u32>(bits >> 40 & 1);
  cpu.fpCond = static_cast<u32>(random() & 0xFF);
  for (const u32 index : {kCop0Index, kCop0EntryLo0, kCop0EntryLo1, kCop0PageMask, kCop0Wired,
                          kCop0EntryHi, kCop0Epc}) {
    cpu.cop0[index] = RandomRegister(random);
  }
  cpu.cop0[kCop0Status] = kStatusFr | (random() & (kInterruptMask | 7 | kStatusBev));
  cpu.cop0[kCop0Cause] = random() & (kInterruptMask | (bits >> 41 & 3) << 8);
  cpu.retired = random() >> 20;
  cpu.countBase = random() >> 20;
  native_->state.frameFlags = (bits >> 44 & 1) != 0 ? u32{kFrameRandomStart} : 0u;
  Share();
}

void CBlockPair::Share() {
  std::memcpy(&records_->cpu, &native_->cpu, sizeof(SMIPS3Context));
  records_->state = native_->state;
  records_->scriptState = native_->scriptState;
}

void CBlockPair::RunRecords(EReference reference) {
  CVXMachine* const m = records_.get();
  const u32 first = FlatIndexOfVirtual(native_.get(), kCodeAddress) / 4;
  const SPredecodedOp* record = &m->records[first];
  const SPredecodedOp* const last = record + block_->words.size() - 1;
  if (reference == EReference::Replay) return ReplayPlain(m, record, last);
  for (; record <= last; ++record) {
    if (record == last && m->cpu.branchTarget != kNoBranch) {
      m->cpu.pc = m->cpu.branchTarget;
      m->cpu.branchTarget = kNoBranch;
    }
    const u32 pc = m->cpu.pc;
    record->handler(m, record->word);
    ++m->cpu.cycles;
    // A likely branch that is not taken has moved pc behind its delay op.
    if (HasDelaySlot(record->word) && m->cpu.branchTarget == kNoBranch && m->cpu.pc != pc) return;
    if (record < last) m->cpu.pc += 4;
  }
}

std::string CBlockPair::Run(EReference reference, bool bMemory) {
  const u32 next = block_->native(native_.get(), native_->cpu.pc);
  if (next != native_->cpu.pc) return "the block answers another pc than it leaves\n";
  RunRecords(reference);
  return Differences(bMemory);
}

std::string CBlockPair::Differences(bool bMemory) const {
  const SMIPS3Context& a = native_->cpu;
  const SMIPS3Context& b = records_->cpu;
  std::string text;
  const auto isSameEvent = [](const SEvent& x, const SEvent& y) {
    return x.time == y.time && x.id == y.id;
  };
  const std::vector<SEvent>& eventsA = native_->queue.Entries();
  const std::vector<SEvent>& eventsB = records_->queue.Entries();
  if (!std::equal(eventsA.begin(), eventsA.end(), eventsB.begin(), eventsB.end(), isSameEvent)) {
    text += "  the timeline differs\n";
  }
  if (bMemory) {
    for (const u32 page : kDataPages) {
      const u32 offset = FlatIndex(page);
      if (std::memcmp(native_->flatMem + offset, records_->flatMem + offset, kPageBytes) != 0) {
        Show(text, "memory at", 0, page, 0);
      }
    }
    if (bMapsPages_ && std::memcmp(native_->pages, records_->pages, sizeof(native_->pages)) != 0) {
      text += "  the page map differs\n";
    }
  }
  if (std::memcmp(&a, &b, sizeof(a)) == 0 && text.empty() &&
      std::memcmp(&native_->state, &records_->state, sizeof(SMachineState)) == 0 &&
      native_->scriptState.markFrame == records_->scriptState.markFrame) {
    return "";
  }
  for (u32 i = 0; i < 32; ++i) Show(text, "gpr", i, a.gpr[i], b.gpr[i]);
  for (u32 i = 0; i < 32; ++i) Show(text, "fpr", i, a.fpr[i], b.fpr[i]);
  for (u32 i = 0; i < 32; ++i) Show(text, "cop0", i, a.cop0[i], b.cop0[i]);
  Show(text, "pc", 0, a.pc, b.pc);
  Show(text, "target", 0, a.branchTarget, b.branchTarget);
  Show(text, "cycles", 0, a.cycles, b.cycles);
  Show(text, "stopMark", 0, a.stopMark, b.stopMark);
  Show(text, "hi", 0, a.hi, b.hi);
  Show(text, "lo", 0, a.lo, b.lo);
  Show(text, "fpCond", 0, a.fpCond, b.fpCond);
  Show(text, "mulBusy", 0, a.mulBusy, b.mulBusy);
  Show(text, "fpBusy", 0, a.fpBusy, b.fpBusy);
  Show(text, "fpMulBusy", 0, a.fpMulBusy, b.fpMulBusy);
  Show(text, "openBus", 0, native_->state.openBus, records_->state.openBus);
  Show(text, "randState", 0, native_->state.randState, records_->state.randState);
  Show(text, "devices", 0, native_->scriptState.markFrame, records_->scriptState.markFrame);
  return "  state          native            records\n" + text;
}

}  // namespace vx::test
