// The integer part of streams: register ops, loads and stores, branches.
#include "tests/oracle/StreamBuilder.h"

namespace vx::oracle {

namespace {

enum class EOperands : u8 {
  Word,      // sign-extended words in, one out
  Any,       // any in, a sign-extended word out
  Wide,      // any in, any out
  Preserve,  // words in and out, or any in and out
};

struct SIntegerRule {
  EOp op;
  EOperands operands;
  EOp standIn = EOp::Unimplemented;  // the op without an overflow trap
};

// clang-format off
constexpr SIntegerRule kRegisterRules[] = {
    {EOp::Addu, EOperands::Word},     {EOp::Add, EOperands::Word, EOp::Addu},
    {EOp::Subu, EOperands::Word},     {EOp::Sub, EOperands::Word, EOp::Subu},
    {EOp::Addiu, EOperands::Word},    {EOp::Addi, EOperands::Word, EOp::Addiu},
    {EOp::Daddu, EOperands::Wide},    {EOp::Dadd, EOperands::Wide, EOp::Daddu},
    {EOp::Dsubu, EOperands::Wide},    {EOp::Dsub, EOperands::Wide, EOp::Dsubu},
    {EOp::Daddiu, EOperands::Wide},   {EOp::Daddi, EOperands::Wide, EOp::Daddiu},
    {EOp::And, EOperands::Preserve},  {EOp::Or, EOperands::Preserve},
    {EOp::Xor, EOperands::Preserve},  {EOp::Nor, EOperands::Preserve},
    {EOp::Ori, EOperands::Preserve},  {EOp::Xori, EOperands::Preserve},
    {EOp::Andi, EOperands::Any},      {EOp::Lui, EOperands::Any},
    {EOp::Slt, EOperands::Any},       {EOp::Sltu, EOperands::Any},
    {EOp::Slti, EOperands::Any},      {EOp::Sltiu, EOperands::Any},
    {EOp::Sll, EOperands::Any},       {EOp::Sllv, EOperands::Any},
    {EOp::Srl, EOperands::Word},      {EOp::Srlv, EOperands::Word},
    {EOp::Sra, EOperands::Word},      {EOp::Srav, EOperands::Word},
    {EOp::Dsll, EOperands::Wide},     {EOp::Dsllv, EOperands::Wide},
    {EOp::Dsrl, EOperands::Wide},     {EOp::Dsrlv, EOperands::Wide},
    {EOp::Dsra, EOperands::Wide},     {EOp::Dsrav, EOperands::Wide},
    {EOp::Dsll32, EOperands::Wide},   {EOp::Dsrl32, EOperands::Wide},
    {EOp::Dsra32, EOperands::Wide},
    {EOp::Mult, EOperands::Word},     {EOp::Multu, EOperands::Word},
    {EOp::Dmult, EOperands::Wide},    {EOp::Dmultu, EOperands::Wide},
    {EOp::Mfhi, EOperands::Wide},     {EOp::Mflo, EOperands::Wide},
    {EOp::Mthi, EOperands::Wide},     {EOp::Mtlo, EOperands::Wide},
};

struct SMemoryRule {
  EOp op;
  u32 bytes;
  bool bAnyAddress;  // or aligned to its width
  EOperands operands;
};

constexpr SMemoryRule kLoadRules[] = {
    {EOp::Lb, 1, true, EOperands::Word},   {EOp::Lbu, 1, true, EOperands::Word},
    {EOp::Lh, 2, false, EOperands::Word},  {EOp::Lhu, 2, false, EOperands::Word},
    {EOp::Lw, 4, false, EOperands::Word},  {EOp::Lwu, 4, false, EOperands::Wide},
    {EOp::Ld, 8, false, EOperands::Wide},  {EOp::Lwl, 4, true, EOperands::Word},
    {EOp::Ldl, 8, true, EOperands::Wide},  {EOp::Ldr, 8, true, EOperands::Wide},
};
constexpr SMemoryRule kStoreRules[] = {
    {EOp::Sb, 1, true, EOperands::Any},    {EOp::Sh, 2, false, EOperands::Any},
    {EOp::Sw, 4, false, EOperands::Any},   {EOp::Sd, 8, false, EOperands::Any},
    {EOp::Swl, 4, true, EOperands::Any},   {EOp::Swr, 4, true, EOperands::Any},
    {EOp::Sdl, 8, true, EOperands::Any},   {EOp::Sdr, 8, true, EOperands::Any},
};

// Words that the board does nothing for, by encoding.
constexpr u32 kMissingWords[] = {
    0x0000000F,                          // sync
    48u << 26, 56u << 26,                // ll, sc
    52u << 26, 60u << 26,                // lld, scd
    53u << 26, 61u << 26,                // ldc1, sdc1
    0x00000030, 0x00000034, 0x00000036,  // tge, teq, tne
    0x04080000, 0x040C0000,              // tgei, teqi
};
constexpr u32 kMissingFpWords[] = {
    0x46000008, 0x46200009, 0x4600000A, 0x4620000B,  // round.l, trunc.l, ceil.l, floor.l
    0x4600000C, 0x4620000D, 0x4600000E, 0x4620000F,  // round.w, trunc.w, ceil.w, floor.w
};
// clang-format on

u32 RegisterWord(CStreamBuilder& b, EOp op, u32 s, u32 t, u32 d, u32 random) {
  switch (OpInfo(op).form) {
    case EOpForm::Immediate:
      return ImmediateWord(op, s, d, static_cast<i16>(random));
    case EOpForm::Upper:
      return ImmediateWord(op, 0, d, static_cast<i16>(random));
    case EOpForm::Shift:
      return Word(op, 0, t, d, random & 31);
    case EOpForm::ShiftVariable:
      return Word(op, b.AnySource(), t, d);
    case EOpForm::ReadTwo:
      return Word(op, s, t, 0);
    case EOpForm::ReadOne:
      return Word(op, s, 0, 0);
    case EOpForm::WriteOne:
      return Word(op, 0, 0, d);
    default:
      return Word(op, s, t, d);
  }
}

void PutRegisterOp(CStreamBuilder& b) {
  const SIntegerRule& rule = b.random.Pick(kRegisterRules);
  const bool bWords = rule.operands == EOperands::Word ||
                      (rule.operands == EOperands::Preserve && b.random.OneIn(2));
  const bool bWordResult = bWords || rule.operands == EOperands::Any;
  const u32 s = bWords ? b.WordSource() : b.AnySource();
  const u32 t = bWords ? b.WordSource() : b.AnySource();
  const u32 d = bWordResult ? b.WordTarget() : b.WideTarget();
  const u32 immediate = static_cast<u32>(b.Immediate());
  const u32 word = RegisterWord(b, rule.op, s, t, d, immediate);
  if (rule.standIn == EOp::Unimplemented) {
    b.Start(word);
  } else {
    b.Start(word, word - CodeOf(rule.op) + CodeOf(rule.standIn), EDeparture::OverflowIgnored);
  }
}

void PutMissing(CStreamBuilder& b) {
  const u32 fields = b.AnySource() << 21 | b.AnySource() << 16 | b.AnySource() << 11;
  switch (b.random.Below(3)) {
    case 0: {
      const u32 word = b.random.Pick(kMissingWords);
      // The register-immediate traps have their code where others have a register.
      const u32 free = MainCode(word) == kMainRegImm ? fields & ~(31u << 16) : fields;
      return b.Start(word | free, kNopWord, EDeparture::OpsMissing);
    }
    case 1:
      return b.Start(b.random.Pick(kMissingFpWords) | (fields & ~(31u << 21)), kNopWord,
                     EDeparture::OpsMissing);
    default:
      return b.Start(CodeOf(EOp::Cache) | fields, kNopWord, EDeparture::CacheIgnored);
  }
}

constexpr EOp kDivides[] = {EOp::Div, EOp::Divu, EOp::Ddiv, EOp::Ddivu};

// The divisor may be zero: the oracle then steps over the divide.
void PutDivide(CStreamBuilder& b) {
  const EOp op = b.random.Pick(kDivides);
  const bool bWords = op == EOp::Div || op == EOp::Divu;
  const u32 s = bWords ? b.WordSource() : b.AnySource();
  const u32 t = bWords ? b.WordSource() : b.AnySource();
  b.Start(kNopWord, ImmediateWord(EOp::Beq, t, 0, 2), EDeparture::DivideByZeroKeeps);
  b.Then(kNopWord);
  b.Then(Word(op, s, t, 0));
}

void PutPlainDivide(CStreamBuilder& b) {
  b.Start(Word(b.random.Pick(kDivides), b.AnySource(), b.AnySource(), 0));
}

// --- Memory ------------------------------------------------------------------------------------

// An address in the data area: a base register and the offset that leads there.
struct SAddress {
  u32 base;
  i32 offset;
};

SAddress ChooseAddress(CStreamBuilder& b, u32 bytes, bool bAnyAddress) {
  const u32 base = b.random.OneIn(2) ? kEvenBase : kOddBase;
  u32 place = b.random.Below(SStreamRecord::kDataBytes - 8);
  if (!bAnyAddress && !b.kind.bUnguarded) place &= ~(bytes - 1);
  return {base, static_cast<i32>(place) - static_cast<i32>(b.BaseOffset(base))};
}

u32 MemoryRegister(CStreamBuilder& b, const SMemoryRule& rule) {
  if (rule.operands == EOperands::Any) return b.AnySource();
  return rule.operands == EOperands::Wide ? b.WideTarget() : b.WordTarget();
}

const SMemoryRule& ChooseMemoryRule(CStreamBuilder& b) {
  return b.random.OneIn(2) ? b.random.Pick(kLoadRules) : b.random.Pick(kStoreRules);
}

// Through a base register that the op before has computed; unguarded with a dirty upper half.
void PutIndexed(CStreamBuilder& b, const SMemoryRule& rule) {
  b.Start(ImmediateWord(EOp::Andi, b.AnySource(), kTempA, 0x38));
  if (b.kind.bUnguarded) {
    b.Then(Word(EOp::Dsll32, 0, b.AnySource(), kTempB));
    b.Then(Word(EOp::Daddu, kTempA, kTempB, kTempA));
  }
  b.Then(Word(EOp::Daddu, kTempA, kEvenBase, kTempA));
  const i32 offset = (static_cast<i32>(b.random.Below(48)) - 28) * 8;
  b.Then(ImmediateWord(rule.op, kTempA, MemoryRegister(b, rule), offset));
}

// An unaligned word in two halves. Alone, lwr leaves an upper half of its own.
void PutUnalignedWord(CStreamBuilder& b) {
  const SAddress at = ChooseAddress(b, 4, true);
  const u32 target = b.WordTarget();
  if (b.random.OneIn(2)) {
    b.Start(ImmediateWord(EOp::Lwl, at.base, target, at.offset));
    b.Then(ImmediateWord(EOp::Lwr, at.base, target, at.offset - 3));
  } else {
    b.Start(ImmediateWord(EOp::Lwr, at.base, target, at.offset));
  }
  b.Then(Word(EOp::Sll, 0, target, target));
}

void PutLwr(CStreamBuilder& b) {
  const SAddress at = ChooseAddress(b, 4, true);
  const u32 target = b.WideTarget();
  b.Start(ImmediateWord(EOp::Lwr, at.base, target, at.offset));
  b.Then(kNopWord, Word(EOp::Dsll32, 0, target, target), EDeparture::LwrZeroExtends);
  b.Then(kNopWord, Word(EOp::Dsrl32, 0, target, target), EDeparture::LwrZeroExtends);
}

// --- Branches ----------------------------------------------------------------------------------

constexpr EOp kBranches[] = {EOp::Beq,  EOp::Bne,    EOp::Blez,   EOp::Bgtz, EOp::Bltz,
                             EOp::Bgez, EOp::Bltzal, EOp::Bgezal, EOp::J,    EOp::Jal};
constexpr EOp kLikelyBranches[] = {EOp::Beql,  EOp::Bnel,    EOp::Blezl,   EOp::Bgtzl, EOp::Bltzl,
                                   EOp::Bgezl, EOp::Bltzall, EOp::Bgezall, EOp::Bc1};

u32 BranchWord(CStreamBuilder& b, EOp op) {
  // A linking branch must not test the register that it links.
  const u32 s = b.random.Below(31);
  switch (OpInfo(op).form) {
    case EOpForm::Jump:
      return CodeOf(op);
    case EOpForm::BranchTwo:
      return ImmediateWord(op, s, b.random.OneIn(3) ? s : b.AnySource(), 0);
    case EOpForm::BranchFp:
      return FpBranchWord(0, b.random.OneIn(2), true, 0);
    default:
      return ImmediateWord(op, s, 0, 0);
  }
}

void PutRegisterJump(CStreamBuilder& b) {
  b.StartRegisterJump(kTempA);
  const bool bLinks = b.random.OneIn(2);
  const u32 link = b.kind.bUnguarded ? b.AnyTarget() : b.NonZero(b.WordTarget());
  b.Then(bLinks ? Word(EOp::Jalr, kTempA, 0, link) : Word(EOp::Jr, kTempA, 0, 0));
  PutSingle(b);
}

}  // namespace

void PutIntegerSingle(CStreamBuilder& b) {
  if (b.random.OneIn(16)) {
    PutMissing(b);
  } else {
    PutRegisterOp(b);
  }
}

void PutIntegerGroup(CStreamBuilder& b) {
  if (!b.random.OneIn(8)) return PutIntegerSingle(b);
  if (b.kind.bUnguarded) return PutPlainDivide(b);
  PutDivide(b);
}

void PutMemorySingle(CStreamBuilder& b) {
  const SMemoryRule& rule = ChooseMemoryRule(b);
  const SAddress at = ChooseAddress(b, rule.bytes, rule.bAnyAddress);
  b.Start(ImmediateWord(rule.op, at.base, MemoryRegister(b, rule), at.offset));
}

void PutMemoryGroup(CStreamBuilder& b) {
  switch (b.random.Below(8)) {
    case 0:
      return PutIndexed(b, ChooseMemoryRule(b));
    case 1:
      return PutUnalignedWord(b);
    case 2:
      return PutLwr(b);
    default:
      return PutMemorySingle(b);
  }
}

void PutBranchGroup(CStreamBuilder& b) {
  if (b.random.OneIn(6)) return PutRegisterJump(b);
  if (b.kind.bLikely && !b.random.OneIn(4)) {
    b.StartBranch(BranchWord(b, b.random.Pick(kLikelyBranches)));
    PutSingle(b);
    b.SetTarget(false);  // its record may hold the op behind it
    return;
  }
  if (b.kind.bFp && b.random.OneIn(3)) {
    b.StartBranch(FpBranchWord(b.Condition(), b.random.OneIn(2), false, 0));
  } else {
    b.StartBranch(BranchWord(b, b.random.Pick(kBranches)));
  }
  PutSingle(b);
  b.SetTarget(b.random.OneIn(4));
}

}  // namespace vx::oracle
