#include "tests/oracle/LongProgram.h"

#include <cstring>

#include "mips3/AddressMap.h"
#include "tests/oracle/Assemble.h"
#include "tests/oracle/Random.h"

namespace vx::oracle {

namespace {

constexpr u32 kKseg0 = 0x80000000;
constexpr u32 kMainCode = 0x1000;           // physical
constexpr u32 kVectorRam = 0x180;           // physical
constexpr u32 kVectorBoot = 0x1FC00380;     // physical
constexpr u32 kFunctionFrame = 0x08010000;  // the page of functions, end of which crosses over
constexpr u32 kNextFrame = 0x08014000;      // to a frame elsewhere
constexpr u32 kFunctionPage = 0x200;        // virtual, through a TLB entry that stays
constexpr u32 kMappedPage = 0x100;          // virtual, of the entries that change
constexpr u32 kMappedPages = 8;
constexpr u32 kFunctionCount = 6;
constexpr u32 kFunctionBytes = 0x100;
constexpr u32 kStraddlerOffset = 0xFC0;  // in the page of functions
constexpr u32 kRomDataBytes = 0x300;

// Registers 1 to 15 are free for random ops.
constexpr u32 kFreeCount = 15;
constexpr u32 kLoopCounter = 17, kData = 18, kRom = 19, kMapped = 20, kScratch = 24;
constexpr u32 kK0 = 26, kK1 = 27, kRa = 31;

constexpr u32 kTimerMask = 0x8000;

class CCode {
 public:
  CCode(CRandom& randomSource, u32 address) : random(randomSource), address_(address) {}

  u32 Here() const { return address_ + 4 * static_cast<u32>(words_.size()); }
  std::vector<u32> Take() { return std::move(words_); }
  void Op(u32 word) { words_.push_back(word); }
  void Set(u32 target, u32 value) {
    Op(ImmediateWord(EOp::Lui, 0, target, static_cast<i32>(value >> 16)));
    Op(ImmediateWord(EOp::Ori, target, target, static_cast<i32>(value & 0xFFFF)));
  }
  void SetCop0(u32 index, u32 value) {
    Set(kScratch, value);
    Op(MoveWord(EOp::Mtc0, kScratch, index));
  }
  // A branch to an address, without its delay op.
  void BranchTo(EOp op, u32 s, u32 t, u32 target) {
    Op(ImmediateWord(op, s, t, static_cast<i32>(target - Here() - 4) / 4));
  }
  // The words at `index` once it is known how far a branch leads.
  u32 Mark() const { return static_cast<u32>(words_.size()); }
  void Land(u32 mark) { words_[mark] |= (Mark() - mark - 1) & 0xFFFF; }

  u32 Free() { return 1 + random.Below(kFreeCount); }
  void RandomOps(u32 count) {
    for (u32 i = 0; i < count; ++i) Op(RandomOp());
  }
  u32 RandomOp();

  CRandom& random;

 private:
  u32 RandomMemoryOp(EOp op);
  u32 RandomFpOp(EOp op);

  u32 address_;
  std::vector<u32> words_;
};

bool IsLoad(EOp op) {
  return op == EOp::Lwc1 || op == EOp::Ld || (op >= EOp::Ldl && op <= EOp::Lwu);
}

u32 CCode::RandomMemoryOp(EOp op) {
  const u32 t = OpInfo(op).form == EOpForm::LoadStoreFp ? random.Below(32) : Free();
  const u32 choice = random.Below(8);
  if (choice == 0 && IsLoad(op)) {
    return ImmediateWord(op, kRom, t, static_cast<i32>(random.Below(kRomDataBytes)));
  }
  if (choice < 4) {
    const i32 offset = static_cast<i32>(random.Below(kMappedPages << 12));
    return ImmediateWord(op, kMapped, t, offset);
  }
  return ImmediateWord(op, kData, t, static_cast<i32>(random.Below(kProgramDataBytes)));
}

u32 CCode::RandomFpOp(EOp op) {
  if (OpInfo(op).form == EOpForm::Cop1Move) return MoveWord(op, Free(), random.Below(32));
  const u32 format = random.Pick({kFormatSingle, kFormatDouble, kFormatWord, kFormatLong});
  return FpWord(op, format, random.Below(32), random.Below(32), random.Below(32));
}

// Any op of the table that neither branches nor has to do with exceptions and time.
u32 CCode::RandomOp() {
  for (;;) {
    const EOp op = static_cast<EOp>(kFirstRow + random.Below(kOpCount - kFirstRow));
    const SOpInfo& info = OpInfo(op);
    if ((info.traits & (kDelaySlot | kEndsBlock)) != 0 || info.table == EOpTable::Cop0 ||
        info.table == EOpTable::Cop0Function) {
      continue;
    }
    switch (info.form) {
      case EOpForm::LoadStore:
      case EOpForm::LoadStoreFp:
        return RandomMemoryOp(op);
      case EOpForm::Cop1Move:
      case EOpForm::FpTwo:
      case EOpForm::FpThree:
      case EOpForm::FpCompare:
        return RandomFpOp(op);
      case EOpForm::Immediate:
      case EOpForm::Upper:
        return ImmediateWord(op, Free(), Free(), static_cast<i16>(random.Next()));
      default:
        return Word(op, Free(), Free(), Free(), random.Below(32));
    }
  }
}

// --- Parts of a program --------------------------------------------------------------------------

void PutSkip(CCode& c) {
  static constexpr EOp kBranches[] = {EOp::Beq,  EOp::Bne,  EOp::Blez,   EOp::Bgtz,
                                      EOp::Bltz, EOp::Bgez, EOp::Bltzal, EOp::Bgezal};
  const EOp op = c.random.Pick(kBranches);
  const u32 t = OpInfo(op).form == EOpForm::BranchTwo ? c.Free() : 0;
  const u32 mark = c.Mark();
  if (c.random.OneIn(4)) {
    c.Op(FpBranchWord(c.random.Below(8), c.random.OneIn(2), false, 0));
  } else {
    c.Op(ImmediateWord(op, c.Free(), t, 0));
  }
  c.Op(c.RandomOp());
  c.RandomOps(c.random.Below(6));
  c.Land(mark);
}

// A likely branch that is always taken: both ways of replay are right for it.
void PutTakenLikely(CCode& c) {
  static constexpr EOp kLikely[] = {EOp::Beql, EOp::Blezl, EOp::Bgezl, EOp::Bgezall};
  const u32 mark = c.Mark();
  c.Op(ImmediateWord(c.random.Pick(kLikely), 0, 0, 0));
  c.Op(c.RandomOp());
  c.RandomOps(c.random.Below(4));
  c.Land(mark);
}

void PutLoop(CCode& c) {
  c.Op(ImmediateWord(EOp::Ori, 0, kLoopCounter, static_cast<i32>(1 + c.random.Below(6))));
  const u32 top = c.Here();
  c.RandomOps(1 + c.random.Below(8));
  if (c.random.OneIn(2)) PutSkip(c);
  c.Op(ImmediateWord(EOp::Addiu, kLoopCounter, kLoopCounter, -1));
  c.BranchTo(EOp::Bgtz, kLoopCounter, 0, top);
  c.Op(c.RandomOp());
}

// Functions are called where they lie, or through the TLB.
void PutCall(CCode& c) {
  const u32 index = c.random.OneIn(3) ? kFunctionCount : c.random.Below(kFunctionCount);
  const u32 offset = index == kFunctionCount ? kStraddlerOffset : index * kFunctionBytes;
  const bool bMapped = index == kFunctionCount || c.random.OneIn(2);
  if (bMapped || c.random.OneIn(2)) {
    c.Set(kScratch, bMapped ? (kFunctionPage << 12) + offset : kKseg0 + kFunctionFrame + offset);
    c.Op(Word(EOp::Jalr, kScratch, 0, kRa));
  } else {
    c.Op(JumpWord(EOp::Jal, kFunctionFrame + offset));
  }
  c.Op(c.RandomOp());
}

void PutException(CCode& c) {
  static constexpr u32 kUnknownCop0 = 0x42000011;
  const u32 word = c.random.Pick({CodeOf(EOp::Syscall), CodeOf(EOp::Break), kUnknownCop0});
  if (c.random.OneIn(4)) {
    c.Op(ImmediateWord(EOp::Beq, c.Free(), c.Free(), 1));  // in a delay slot, branch taken or not
  }
  c.Op(word);
  c.Op(kNopWord);
}

void PutSoftwareInterrupt(CCode& c) {
  c.SetCop0(kCop0Cause, c.random.Pick({0x100u, 0x200u, 0x300u}));
}

void PutStatus(CCode& c) {
  u32 status = static_cast<u32>(c.random.Next() & (kInterruptMask | kStatusFr));
  if (!c.random.OneIn(4)) status |= kStatusIe;
  if (c.random.OneIn(4)) status |= kStatusBev;
  c.SetCop0(kCop0Status, status);
}

void PutCompare(CCode& c) {
  c.Op(MoveWord(EOp::Mfc0, kScratch, kCop0Count));
  c.Op(ImmediateWord(EOp::Addiu, kScratch, kScratch, static_cast<i32>(c.random.Below(400))));
  c.Op(MoveWord(EOp::Mtc0, kScratch, kCop0Compare));
}

// Waits for the timer with interrupts off, in the form that ends a slice early.
void PutIdleLoop(CCode& c) {
  c.SetCop0(kCop0Status, 0);
  PutCompare(c);
  const u32 reg = c.Free();
  c.Op(MoveWord(EOp::Mfc0, reg, kCop0Cause));
  c.Op(kNopWord);
  c.Op(ImmediateWord(EOp::Andi, reg, reg, kTimerMask));
  c.Op(ImmediateWord(EOp::Beq, reg, 0, -4));
  c.Op(kNopWord);
}

void PutCop0Move(CCode& c) {
  static constexpr u32 kReadable[] = {kCop0Random, kCop0Count,   kCop0Cause, kCop0Status,
                                      kCop0Epc,    kCop0EntryHi, kCop0PRId,  kCop0Config};
  static constexpr u32 kWritable[] = {kCop0Wired, kCop0Count, kCop0PRId, kCop0Config, 4, 30};
  if (c.random.OneIn(3)) {
    c.Op(MoveWord(EOp::Mtc0, c.Free(), c.random.Pick(kWritable)));
    return;
  }
  const EOp op = c.random.OneIn(2) ? EOp::Mfc0 : EOp::Dmfc0;
  c.Op(MoveWord(op, c.random.OneIn(8) ? 0 : c.Free(), c.random.Pick(kReadable)));
}

u32 RandomEntryLo(CCode& c) {
  static constexpr u32 kFrames[] = {0x8020, 0x8021, 0x8022, 0x8024, 0x40, 0x1FC00, 0x18000, 0x1000};
  const u32 flags = c.random.Below(8);  // global, valid, dirty
  return c.random.Pick(kFrames) << 6 | flags;
}

void PutTlbWrite(CCode& c) {
  c.SetCop0(kCop0Index, c.random.Below(kTlbEntryCount - 1));
  c.SetCop0(kCop0PageMask, c.random.Pick({0u, 0u, 1u << 13, 3u << 13}));
  c.SetCop0(kCop0EntryLo0, RandomEntryLo(c));
  c.SetCop0(kCop0EntryLo1, RandomEntryLo(c));
  c.SetCop0(kCop0EntryHi, (kMappedPage + c.random.Below(kMappedPages)) << 13 | c.random.Below(3));
  c.Op(CodeOf(EOp::Tlbwi));
  if (c.random.OneIn(3)) {
    c.Op(CodeOf(c.random.Pick({EOp::Tlbr, EOp::Tlbwr, EOp::Tlbp})));
  }
}

void PutReturn(CCode& c) {
  constexpr u32 kOpsAhead = 4;
  c.Set(kScratch, c.Here() + 4 * kOpsAhead);
  c.Op(MoveWord(EOp::Mtc0, kScratch, kCop0Epc));
  c.Op(CodeOf(EOp::Eret));
}

void PutPart(CCode& c) {
  using Part = void (*)(CCode&);
  static constexpr Part kParts[] = {PutSkip,
                                    PutSkip,
                                    PutSkip,
                                    PutTakenLikely,
                                    PutLoop,
                                    PutLoop,
                                    PutLoop,
                                    PutCall,
                                    PutCall,
                                    PutException,
                                    PutSoftwareInterrupt,
                                    PutStatus,
                                    PutStatus,
                                    PutCompare,
                                    PutIdleLoop,
                                    PutCop0Move,
                                    PutCop0Move,
                                    PutTlbWrite,
                                    PutTlbWrite,
                                    PutReturn};
  c.RandomOps(c.random.Below(6));
  c.random.Pick(kParts)(c);
}

// --- The fixed frame around them -----------------------------------------------------------------

// Clears software interrupts, sets the timer anew, counts in memory and returns.
std::vector<u32> BuildHandler(CRandom& random, u32 address) {
  CCode c(random, address);
  c.Op(MoveWord(EOp::Mfc0, kK0, kCop0Cause));
  c.Op(ImmediateWord(EOp::Andi, kK0, kK1, kCauseSoftwareMask));
  u32 mark = c.Mark();
  c.Op(ImmediateWord(EOp::Beq, kK1, 0, 0));
  c.Op(ImmediateWord(EOp::Ori, 0, kK1, kCauseSoftwareMask));
  c.Op(Word(EOp::Nor, kK1, 0, kK1));
  c.Op(Word(EOp::And, kK0, kK1, kK1));
  c.Op(MoveWord(EOp::Mtc0, kK1, kCop0Cause));
  c.Land(mark);
  c.Op(ImmediateWord(EOp::Andi, kK0, kK1, kTimerMask));
  mark = c.Mark();
  c.Op(ImmediateWord(EOp::Beq, kK1, 0, 0));
  c.Op(MoveWord(EOp::Mfc0, kK1, kCop0Count));
  c.Op(ImmediateWord(EOp::Addiu, kK1, kK1, static_cast<i32>(500 + random.Below(3000))));
  c.Op(MoveWord(EOp::Mtc0, kK1, kCop0Compare));
  c.Land(mark);
  c.Op(ImmediateWord(EOp::Lw, kData, kK1, 0));
  c.Op(ImmediateWord(EOp::Addiu, kK1, kK1, 1));
  c.Op(ImmediateWord(EOp::Sw, kData, kK1, 0));
  c.Op(CodeOf(EOp::Eret));
  return c.Take();
}

std::vector<u32> BuildFunction(CRandom& random, u32 address, u32 ops) {
  CCode c(random, address);
  c.RandomOps(ops);
  c.Op(Word(EOp::Jr, kRa, 0, 0));
  c.Op(c.RandomOp());
  return c.Take();
}

std::vector<u32> BuildMain(CRandom& random) {
  CCode c(random, kKseg0 + kMainCode);
  // The entry behind which the functions lie: global, never written again.
  c.SetCop0(kCop0Index, kTlbEntryCount - 1);
  c.SetCop0(kCop0PageMask, 0);
  c.SetCop0(kCop0EntryLo0, kFunctionFrame >> 6 | 3);
  c.SetCop0(kCop0EntryLo1, kNextFrame >> 6 | 3);
  c.SetCop0(kCop0EntryHi, kFunctionPage << 13);
  c.Op(CodeOf(EOp::Tlbwi));
  const u32 top = c.Here();
  const u32 parts = 16 + random.Below(24);
  for (u32 i = 0; i < parts; ++i) PutPart(c);
  c.Op(JumpWord(EOp::J, top));
  c.Op(kNopWord);
  return c.Take();
}

// A branch as the last word of its page, taken in some calls and not in others: its delay op starts
// a block of its own behind the edge.
std::vector<u32> BuildEdgeBranch(CRandom& random, u32 wordsInPage) {
  CCode c(random, (kFunctionPage << 12) + kStraddlerOffset);
  c.RandomOps(wordsInPage - 1);
  const u32 mark = c.Mark();
  c.Op(ImmediateWord(random.OneIn(2) ? EOp::Bltz : EOp::Bgtz, c.Free(), 0, 0));
  c.RandomOps(2 + random.Below(6));
  c.Land(mark);
  c.RandomOps(random.Below(4));
  c.Op(Word(EOp::Jr, kRa, 0, 0));
  c.Op(c.RandomOp());
  return c.Take();
}

// A function that goes on in the next page, whose frame lies elsewhere.
void PlaceStraddler(SLongProgram& program, CRandom& random) {
  const u32 wordsInPage = (0x1000 - kStraddlerOffset) / 4;
  // Its return may be the page's last word, with the delay op behind the edge.
  const u32 ops = wordsInPage - 2 + random.Below(4);
  std::vector<u32> words = BuildFunction(random, (kFunctionPage << 12) + kStraddlerOffset, ops);
  if (random.OneIn(2)) words = BuildEdgeBranch(random, wordsInPage);
  const auto edge = words.begin() + wordsInPage;
  program.code.push_back({kNextFrame, {edge, words.end()}});
  words.erase(edge, words.end());
  program.code.push_back({kFunctionFrame + kStraddlerOffset, std::move(words)});
}

}  // namespace

SLongProgram GenerateLongProgram(u64 seed) {
  CRandom random(seed);
  SLongProgram program;
  program.seed = seed;
  program.bRandomTime = random.OneIn(2);
  program.code.push_back({kVectorRam, BuildHandler(random, kKseg0 + kVectorRam)});
  program.code.push_back({kVectorBoot, BuildHandler(random, kVectorBoot)});
  for (u32 i = 0; i < kFunctionCount; ++i) {
    const u32 physical = kFunctionFrame + i * kFunctionBytes;
    program.code.push_back({physical, BuildFunction(random, physical, random.Below(40))});
  }
  PlaceStraddler(program, random);
  program.code.push_back({kMainCode, BuildMain(random)});

  std::vector<u32> romData(kRomDataBytes / 4);
  for (u32& word : romData) word = static_cast<u32>(random.Next());
  program.code.push_back({kBootRomBase, std::move(romData)});
  program.data.resize(kProgramDataBytes);
  for (u8& byte : program.data) byte = static_cast<u8>(random.Next());
  for (u32 i = 1; i <= kFreeCount; ++i) program.gpr[i] = random.Value();
  for (u64& value : program.fpr) value = random.OneIn(2) ? random.Next() : random.Value();
  const auto extended = [](u32 value) { return static_cast<u64>(i64{static_cast<i32>(value)}); };
  program.gpr[kData] = extended(kKseg0 + kProgramDataPhysical);
  program.gpr[kRom] = extended(kKseg0 + kBootRomBase);
  program.gpr[kMapped] = kMappedPage << 12;
  return program;
}

void LoadLongProgram(CVXMachine* m, const SLongProgram& program) {
  for (const SPlacedCode& code : program.code) {
    if (code.words.empty()) continue;
    std::memcpy(m->flatMem + FlatIndex(code.physical), code.words.data(), 4 * code.words.size());
  }
  std::memcpy(m->flatMem + kProgramDataPhysical, program.data.data(), program.data.size());
  std::memcpy(m->cpu.gpr, program.gpr, sizeof(program.gpr));
  std::memcpy(m->cpu.fpr, program.fpr, sizeof(program.fpr));
  m->cpu.cop0[kCop0Status] = kStatusIe | kTimerMask;
  m->cpu.pc = kKseg0 + kMainCode;
  m->state.frameFlags = program.bRandomTime ? u32{kFrameRandomStart} : 0;
  m->state.randState = static_cast<u32>(program.seed) & 0x7FFFFFFF;
}

}  // namespace vx::oracle
