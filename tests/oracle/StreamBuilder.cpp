#include "tests/oracle/StreamBuilder.h"

#include <algorithm>

#include "tests/oracle/GuestProgram.h"

namespace vx::oracle {

namespace {

constexpr u32 kWordRegisters[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 31};
constexpr u32 kWideRegisters[] = {13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 30};
// Addresses are positive words.
constexpr u32 kConstantWords[] = {0, kRecordRegister, kEvenBase, kOddBase};

constexpr u32 kMinimumOps = 64;
constexpr u32 kMostExtraOps = 32;
constexpr u32 kMostOpsSkipped = 12;

u64 SignExtended(u64 value) { return static_cast<u64>(i64{static_cast<i32>(value)}); }

// Any bits, integers, or numbers of both formats around what is special to them.
u64 FpValue(CRandom& random) {
  static constexpr u32 kSingles[] = {0,          0x80000000, 1,          0x007FFFFF, 0x3F800000,
                                     0xBF800000, 0x4B800001, 0x7F7FFFFF, 0x7F800000, 0xFF800000,
                                     0x7FC00001, 0xFFA12345, 0x4F000000, 0xCF000000};
  static constexpr u64 kDoubles[] = {1,
                                     0x000FFFFFFFFFFFFF,
                                     0x3FF0000000000000,
                                     0xBFF0000000000000,
                                     0x7FEFFFFFFFFFFFFF,
                                     0x7FF0000000000000,
                                     0xFFF0000000000000,
                                     0x7FF8000000000001,
                                     0xFFF4000000012345,
                                     0x41E0000000000000,
                                     0xC3E0000000000000,
                                     0x36A0000000000001};
  const u64 bits = random.Next();
  switch (random.Below(5)) {
    case 0:
      return (bits & 0xFFFFFFFF00000000) | random.Pick(kSingles);
    case 1:
      return random.Pick(kDoubles);
    case 2:
      // Near 1, where sums and products keep their bits.
      return (bits & 0x800FFFFF807FFFFF) | (0x3FD000003E800000 + (bits & 0x0040000002000000));
    case 3:
      return random.Value();
    default:
      return bits;
  }
}

}  // namespace

CStreamBuilder::CStreamBuilder(const SStreamClass& kindOfStream, u64 number)
    : random(number * 0x100 + static_cast<u64>(kindOfStream.id)), kind(kindOfStream) {
  stream_.number = number;
  stream_.slot = SlotOf(number);
  stream_.address = kSlotBase + stream_.slot * kSlotBytes + 4 * random.Below(kPhaseCount);
  stream_.bFormOnly = kind.bLikely;
  stream_.bSplitPages = random.OneIn(2);
  // The plain rules know both register models.
  stream_.bFullRegisters = !(kind.bPaired || (kind.bUnguarded && random.OneIn(2)));
  oddBaseOffset_ = 96 + random.Below(8);
  for (u32 which = 0; which < kRecordsOfStream; ++which) FillRecord(which);
}

void CStreamBuilder::FillRecord(u32 which) {
  SStreamRecord& r = stream_.before[which];
  const u32 data = DataAddress(stream_.slot, which);
  r.entry = stream_.address;
  for (u64& value : r.gpr) value = random.Value();
  if (!kind.bUnguarded) {
    for (const u32 index : kWordRegisters) r.gpr[index] = SignExtended(r.gpr[index]);
  }
  r.gpr[0] = 0;
  r.gpr[kTempB] = stream_.address;
  r.gpr[kRecordRegister] = RecordAddress(stream_.slot, which);
  r.gpr[kEvenBase] = data + kEvenBaseOffset;
  r.gpr[kOddBase] = data + oddBaseOffset_;
  r.hi = random.Value();
  r.lo = random.Value();
  for (u64& value : r.fpr) value = FpValue(random);
  r.fpr[kFpHalfDouble] = 0x3FE0000000000000;
  r.fpr[kFpHalfSingle] = 0x3F000000;
  r.conditions = u64{random.Below(2)} << 23;
  if (kind.bEightConditions) r.conditions |= u64{random.Below(128)} << 25;
  for (u8& byte : r.data) byte = static_cast<u8>(random.Next() >> 56);
}

u32 CStreamBuilder::WordSource() {
  if (kind.bUnguarded) return AnySource();
  return random.OneIn(8) ? random.Pick(kConstantWords) : random.Pick(kWordRegisters);
}
u32 CStreamBuilder::WordTarget() {
  if (random.OneIn(24)) return 0;
  return random.OneIn(4) ? random.Pick(kWideRegisters) : random.Pick(kWordRegisters);
}
u32 CStreamBuilder::WideTarget() {
  if (random.OneIn(24)) return 0;
  if (kind.bUnguarded && random.OneIn(2)) return random.Pick(kWordRegisters);
  return random.Pick(kWideRegisters);
}
u32 CStreamBuilder::AnyTarget() { return random.OneIn(2) ? WordTarget() : WideTarget(); }

i32 CStreamBuilder::Immediate() {
  static constexpr i32 kEdges[] = {0, 1, -1, 0x7FFF, -0x8000};
  if (random.OneIn(4)) return random.Pick(kEdges);
  return static_cast<i16>(random.Next());
}

void CStreamBuilder::Put(u32 board, u32 oracle, EDeparture departure, bool bTarget) {
  stream_.ops.push_back({board, oracle, departure, bTarget});
}

// Any op further down that a branch may lead to; behind the last op lies the way back.
u32 CStreamBuilder::ChooseTarget(u32 branch) {
  u32 target = std::min(Size(), branch + 2 + random.Below(kMostOpsSkipped));
  while (target < Size() && !stream_.ops[target].bTarget) ++target;
  return target;
}

void CStreamBuilder::StartBranch(u32 word) {
  branches_.push_back({Size(), false});
  Start(word);
}

void CStreamBuilder::StartRegisterJump(u32 target) {
  branches_.push_back({Size() + 2, true});
  Start(ImmediateWord(EOp::Lui, 0, target, 0));
  Then(ImmediateWord(EOp::Ori, target, target, 0));
}

void CStreamBuilder::Aim(const SBranch& branch) {
  const u32 target = ChooseTarget(branch.index);
  const u32 address = stream_.address + 4 * target;
  const auto patch = [&](u32 index, u32 bits) {
    stream_.ops[index].board |= bits;
    stream_.ops[index].oracle |= bits;
  };
  if (branch.bRegister) {
    patch(branch.index - 2, address >> 16);
    patch(branch.index - 1, address & 0xFFFF);
    return;
  }
  const EOp op = DecodeOp(stream_.ops[branch.index].board);
  const bool bJump = OpInfo(op).form == EOpForm::Jump;
  patch(branch.index, bJump ? address >> 2 & 0x3FFFFFF : (target - branch.index - 1) & 0xFFFF);
}

SStream CStreamBuilder::Finish(u32 exitAddress) {
  for (const SBranch& branch : branches_) Aim(branch);
  Start(JumpWord(EOp::J, exitAddress));
  Then(kNopWord);
  return std::move(stream_);
}

void PutSingle(CStreamBuilder& b) {
  const u32 choice = b.random.Below(8);
  if (b.kind.bFp && choice < 4) {
    PutFpSingle(b);
  } else if (choice < 6) {
    PutIntegerSingle(b);
  } else {
    PutMemorySingle(b);
  }
}

SStream GenerateStream(EStreamClass id, u64 number) {
  CStreamBuilder b(StreamClass(id), number);
  const u32 wanted = kMinimumOps + b.random.Below(kMostExtraOps);
  while (b.Size() < wanted) {
    const u32 choice = b.random.Below(16);
    if (choice < 2) {
      PutBranchGroup(b);
    } else if (choice < 6) {
      PutMemoryGroup(b);
    } else if (b.kind.bFp && choice < 13) {
      PutFpGroup(b);
    } else {
      PutIntegerGroup(b);
    }
  }
  return b.Finish(kHarnessExit);
}

}  // namespace vx::oracle
