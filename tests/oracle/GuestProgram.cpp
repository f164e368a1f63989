#include "tests/oracle/GuestProgram.h"

#include <elf.h>

#include <cstring>

#include "tests/oracle/Assemble.h"

namespace vx::oracle {

namespace {

constexpr u32 kPageBytes = 0x1000;
constexpr u32 kA0 = 4, kA1 = 5, kA2 = 6, kV0 = 2, kA3 = 7, kAt = 1, kS0 = 16, kS1 = 17;
constexpr i32 kSysWrite = 5001;
constexpr i32 kSysPrctl = 5153;
constexpr i32 kSysExitGroup = 5205;
constexpr i32 kSetFpMode = 45;
constexpr u32 kSyscallWord = CodeOf(EOp::Syscall);

constexpr i32 kEntryOffset = offsetof(SStreamRecord, entry);
constexpr i32 kGprOffset = offsetof(SStreamRecord, gpr);
constexpr i32 kHiOffset = offsetof(SStreamRecord, hi);
constexpr i32 kLoOffset = offsetof(SStreamRecord, lo);
constexpr i32 kFprOffset = offsetof(SStreamRecord, fpr);
constexpr i32 kConditionsOffset = offsetof(SStreamRecord, conditions);

class CHarness {
 public:
  CHarness(u32 firstRecord, bool bFullRegisters)
      : firstRecord_(firstRecord), fprStep_(bFullRegisters ? 1 : 2) {}

  std::vector<u32> Assemble() {
    if (fprStep_ == 2) {
      Set(kA0, kSetFpMode);
      Set(kA1, 0);
      CallSystem(kSysPrctl);
    }
    SetAddress(kRecordRegister, firstRecord_);
    const u32 next = Here();
    Op(ImmediateWord(EOp::Ld, kRecordRegister, kTempB, kEntryOffset));
    const u32 toFinish = Here();
    Op(kNopWord);
    Op(kNopWord);
    LoadRegisters();
    Op(Word(EOp::Jr, kTempB, 0, 0));
    Op(kNopWord);
    while (kHarnessBase + 4 * Here() < kHarnessExit) Op(kNopWord);
    StoreRegisters();
    Op(ImmediateWord(EOp::Daddiu, kRecordRegister, kRecordRegister, sizeof(SStreamRecord)));
    BranchTo(EOp::Beq, 0, 0, next);
    words_[toFinish] = ImmediateWord(EOp::Beq, kTempB, 0, static_cast<i32>(Here() - toFinish - 1));
    WriteRecords();
    return words_;
  }

 private:
  u32 Here() const { return static_cast<u32>(words_.size()); }
  void Op(u32 word) { words_.push_back(word); }
  void Set(u32 target, i32 value) { Op(ImmediateWord(EOp::Ori, 0, target, value)); }
  void SetAddress(u32 target, u32 address) {
    Op(ImmediateWord(EOp::Lui, 0, target, static_cast<i32>(address >> 16)));
    Op(ImmediateWord(EOp::Ori, target, target, static_cast<i32>(address & 0xFFFF)));
  }
  void CallSystem(i32 number) {
    Set(kV0, number);
    Op(kSyscallWord);
  }
  void BranchTo(EOp op, u32 s, u32 t, u32 place) {
    Op(ImmediateWord(op, s, t, static_cast<i32>(place) - static_cast<i32>(Here()) - 1));
    Op(kNopWord);
  }
  static i32 At(i32 offset, u32 index) { return offset + static_cast<i32>(8 * index); }
  void Load(u32 target, i32 offset) { Op(ImmediateWord(EOp::Ld, kRecordRegister, target, offset)); }
  void Store(u32 source, i32 offset) {
    Op(ImmediateWord(EOp::Sd, kRecordRegister, source, offset));
  }

  void LoadRegisters() {
    for (u32 i = 0; i < 32; i += fprStep_) {
      Load(kAt, At(kFprOffset, i));
      Op(MoveWord(EOp::Dmtc1, kAt, i));
    }
    Load(kAt, kConditionsOffset);
    Op(MoveWord(EOp::Ctc1, kAt, 31));
    Load(kAt, kHiOffset);
    Op(Word(EOp::Mthi, kAt, 0, 0));
    Load(kAt, kLoOffset);
    Op(Word(EOp::Mtlo, kAt, 0, 0));
    for (u32 i = 1; i < 32; ++i) {
      if (i != kRecordRegister && i != kTempB) Load(i, At(kGprOffset, i));
    }
  }
  void StoreRegisters() {
    for (u32 i = 0; i < 32; ++i) Store(i, At(kGprOffset, i));
    Op(Word(EOp::Mfhi, 0, 0, kAt));
    Store(kAt, kHiOffset);
    Op(Word(EOp::Mflo, 0, 0, kAt));
    Store(kAt, kLoOffset);
    for (u32 i = 0; i < 32; i += fprStep_) {
      Op(MoveWord(EOp::Dmfc1, kAt, i));
      Store(kAt, At(kFprOffset, i));
    }
    Op(MoveWord(EOp::Cfc1, kAt, 31));
    Store(kAt, kConditionsOffset);
  }
  // Writes from the first record up to the one that ended the list, in as many calls as it takes.
  void WriteRecords() {
    SetAddress(kS0, firstRecord_);
    Op(Word(EOp::Dsubu, kRecordRegister, kS0, kS1));
    const u32 again = Here();
    Set(kA0, 1);
    Op(Word(EOp::Daddu, kS0, 0, kA1));
    Op(Word(EOp::Daddu, kS1, 0, kA2));
    CallSystem(kSysWrite);
    const u32 toFail = Here();
    Op(kNopWord);
    Op(kNopWord);
    Op(Word(EOp::Daddu, kS0, kV0, kS0));
    Op(Word(EOp::Dsubu, kS1, kV0, kS1));
    BranchTo(EOp::Bgtz, kS1, 0, again);
    Set(kA3, 0);
    words_[toFail] = ImmediateWord(EOp::Bne, kA3, 0, static_cast<i32>(Here() - toFail - 1));
    Op(Word(EOp::Daddu, kA3, 0, kA0));
    CallSystem(kSysExitGroup);
  }

  u32 firstRecord_;
  u32 fprStep_;  // with FR clear doubles have even numbers
  std::vector<u32> words_;
};

struct SSegment {
  u32 address;
  u32 flags;
  std::vector<u8> bytes;
};

Elf64_Phdr HeaderOf(const SSegment& segment, u64 offset) {
  Elf64_Phdr header = {};
  header.p_type = PT_LOAD;
  header.p_flags = segment.flags;
  header.p_offset = offset;
  header.p_vaddr = header.p_paddr = segment.address;
  header.p_filesz = header.p_memsz = segment.bytes.size();
  header.p_align = kPageBytes;
  return header;
}

std::vector<u8> WriteElf(std::span<const SSegment> segments) {
  Elf64_Ehdr header = {};
  std::memcpy(header.e_ident, ELFMAG, SELFMAG);
  header.e_ident[EI_CLASS] = ELFCLASS64;
  header.e_ident[EI_DATA] = ELFDATA2LSB;
  header.e_ident[EI_VERSION] = EV_CURRENT;
  header.e_type = ET_EXEC;
  header.e_machine = EM_MIPS;
  header.e_version = EV_CURRENT;
  header.e_entry = kHarnessBase;
  header.e_phoff = sizeof(header);
  header.e_flags = EF_MIPS_ARCH_3;
  header.e_ehsize = sizeof(header);
  header.e_phentsize = sizeof(Elf64_Phdr);
  header.e_phnum = static_cast<Elf64_Half>(segments.size());

  std::vector<u8> file(kPageBytes);
  std::memcpy(file.data(), &header, sizeof(header));
  size_t place = sizeof(header);
  for (const SSegment& segment : segments) {
    const Elf64_Phdr program = HeaderOf(segment, file.size());
    std::memcpy(file.data() + place, &program, sizeof(program));
    place += sizeof(program);
    file.insert(file.end(), segment.bytes.begin(), segment.bytes.end());
    file.resize((file.size() + kPageBytes - 1) / kPageBytes * kPageBytes);
  }
  return file;
}

template <typename T>
void Put(SSegment& segment, u32 address, const T* values, size_t count) {
  std::memcpy(segment.bytes.data() + (address - segment.address), values, count * sizeof(T));
}

SSegment MakeSegment(u32 address, u32 end, u32 flags) {
  const u32 start = address & ~(kPageBytes - 1);
  return {start, flags, std::vector<u8>(end - start)};
}

}  // namespace

std::vector<u8> BuildGuestProgram(std::span<const SStream> streams, bool bFullRegisters) {
  const u32 first = streams.front().slot;
  const u32 end = streams.back().slot + 1;
  const std::vector<u32> code = CHarness(RecordAddress(first), bFullRegisters).Assemble();

  SSegment segments[] = {
      MakeSegment(kHarnessBase, kHarnessBase + 4 * static_cast<u32>(code.size()), PF_R | PF_X),
      MakeSegment(kSlotBase + first * kSlotBytes, kSlotBase + end * kSlotBytes, PF_R | PF_X),
      MakeSegment(RecordAddress(first), RecordAddress(end) + 8, PF_R | PF_W)};
  auto& [harnessText, text, data] = segments;
  Put(harnessText, kHarnessBase, code.data(), code.size());
  for (const SStream& stream : streams) {
    u32 address = stream.address;
    for (const SStreamOp& op : stream.ops) {
      Put(text, address, &op.oracle, 1);
      address += 4;
    }
    Put(data, RecordAddress(stream.slot), stream.before, kRecordsOfStream);
  }
  return WriteElf(segments);
}

}  // namespace vx::oracle
