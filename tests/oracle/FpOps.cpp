// The floating point part of streams. With FR clear the oracle wants even registers for doubles;
// the board takes them by itself.
#include "tests/oracle/StreamBuilder.h"

namespace vx::oracle {

namespace {

u32 FreeRegister(CStreamBuilder& b) { return b.random.Below(kLastFreeFpr + 1); }

// A register that holds 64 bits, as the oracle has to name it.
u32 Whole(const CStreamBuilder& b, u32 index) { return b.IsPaired() ? index & 30 : index; }

struct SFpChoice {
  bool bDouble;
  u32 format;  // as the board gets it; the oracle gets the proper one
};

// Any format counts by its parity, but for those that stand for moves and branches.
SFpChoice ChooseFormat(CStreamBuilder& b) {
  static constexpr u32 kOtherFormats[] = {3,  7,  9,  10, 11, 12, 13, 14, 15, 18, 19, 20,
                                          21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31};
  const u32 format =
      b.random.OneIn(8) ? b.random.Pick(kOtherFormats) : kFormatSingle + b.random.Below(2);
  return {(format & 1) != 0, format};
}

EDeparture DepartureOf(const CStreamBuilder& b, const SFpChoice& choice) {
  if (choice.format != kFormatSingle && choice.format != kFormatDouble) {
    return EDeparture::FormatByParity;
  }
  return choice.bDouble && b.IsPaired() ? EDeparture::PairedDoubles : EDeparture::None;
}

// An op and what stands for it in the oracle, which often is the same word.
void PutPair(CStreamBuilder& b, u32 board, u32 oracle, EDeparture departure) {
  b.Start(board, oracle, board == oracle ? EDeparture::None : departure);
}

// A NaN result differs in sign and payload: both sides clear the register then.
void GuardNan(CStreamBuilder& b, u32 d, bool bDouble) {
  if (b.kind.bUnguarded) return;
  const u32 format = bDouble ? kFormatDouble : kFormatSingle;
  const u32 whole = Whole(b, d);
  const u32 compared = bDouble ? whole : d;
  const u32 condition = b.Condition();
  b.Then(FpCompareWord(EOp::CEq, format, compared, compared, condition));
  b.Then(FpBranchWord(condition, true, false, 2));
  b.Then(kNopWord);
  b.Then(MoveWord(EOp::Dmtc1, 0, whole));
}

void PutArithmetic(CStreamBuilder& b) {
  static constexpr EOp kOps[] = {EOp::FpAdd, EOp::FpSub, EOp::FpMul, EOp::FpDiv, EOp::FpSqrt};
  const EOp op = b.random.Pick(kOps);
  const SFpChoice choice = ChooseFormat(b);
  const u32 t = op == EOp::FpSqrt ? 0 : FreeRegister(b);
  const u32 s = FreeRegister(b);
  const u32 d = FreeRegister(b);
  const auto name = [&](u32 index) { return choice.bDouble ? Whole(b, index) : index; };
  PutPair(b, FpWord(op, choice.format, t, s, d),
          FpWord(op, kFormatSingle + choice.bDouble, name(t), name(s), name(d)),
          DepartureOf(b, choice));
  GuardNan(b, d, choice.bDouble);
}

void PutSignOp(CStreamBuilder& b) {
  static constexpr EOp kOps[] = {EOp::FpAbs, EOp::FpMov, EOp::FpNeg};
  const EOp op = b.random.Pick(kOps);
  const SFpChoice choice = ChooseFormat(b);
  const u32 s = FreeRegister(b);
  const u32 d = FreeRegister(b);
  const auto name = [&](u32 index) { return choice.bDouble ? Whole(b, index) : index; };
  PutPair(b, FpWord(op, choice.format, 0, s, d),
          FpWord(op, kFormatSingle + choice.bDouble, 0, name(s), name(d)), DepartureOf(b, choice));
}

void PutCompare(CStreamBuilder& b) {
  const u32 relation = b.random.Below(16);
  const auto op = static_cast<EOp>(static_cast<u32>(EOp::CF) + relation);
  // Odd forms hold for unordered operands too; the board's do not.
  const auto ordered = static_cast<EOp>(static_cast<u32>(EOp::CF) + (relation & ~1u));
  const SFpChoice choice = ChooseFormat(b);
  const u32 s = FreeRegister(b);
  const u32 t = b.random.OneIn(4) ? s : FreeRegister(b);
  const u32 condition = b.Condition();
  const auto name = [&](u32 index) { return choice.bDouble ? Whole(b, index) : index; };
  const EDeparture other = DepartureOf(b, choice);
  PutPair(b, FpCompareWord(op, choice.format, t, s, condition),
          FpCompareWord(ordered, kFormatSingle + choice.bDouble, name(t), name(s), condition),
          (relation & 1) != 0 ? EDeparture::UnorderedCompares : other);
}

// --- Moves -------------------------------------------------------------------------------------

void PutMoveFrom(CStreamBuilder& b) {
  const u32 s = FreeRegister(b);
  if (b.random.OneIn(2)) {
    const u32 target = b.WordTarget();
    PutPair(b, MoveWord(EOp::Mfc1, target, s), MoveWord(EOp::Mfc1, target, Whole(b, s)),
            EDeparture::PairedMoves);
  } else {
    b.Start(MoveWord(EOp::Dmfc1, b.WideTarget(), s));
  }
}

void PutMoveToWhole(CStreamBuilder& b) {
  b.Start(MoveWord(EOp::Dmtc1, b.AnySource(), FreeRegister(b)));
}

// With FR set the word clears the high word on the board, so the oracle's register is cleared
// first.
void PutMoveToWord(CStreamBuilder& b) {
  const u32 d = FreeRegister(b);
  const u32 source = b.AnySource();
  if (b.IsPaired()) {
    PutPair(b, MoveWord(EOp::Mtc1, source, d), MoveWord(EOp::Mtc1, source, Whole(b, d)),
            EDeparture::PairedMoves);
    return;
  }
  b.Start(kNopWord, MoveWord(EOp::Dmtc1, 0, d), EDeparture::MovesClearHighWord);
  b.Then(MoveWord(EOp::Mtc1, source, d));
}

i32 WordOffset(CStreamBuilder& b) {
  const i32 place = static_cast<i32>(b.random.Below(SStreamRecord::kDataBytes / 4) * 4);
  return place - static_cast<i32>(b.BaseOffset(kEvenBase));
}

void PutLoad(CStreamBuilder& b) {
  const u32 d = FreeRegister(b);
  const i32 offset = WordOffset(b);
  if (b.IsPaired()) {
    PutPair(b, ImmediateWord(EOp::Lwc1, kEvenBase, d, offset),
            ImmediateWord(EOp::Lwc1, kEvenBase, Whole(b, d), offset), EDeparture::PairedMoves);
    return;
  }
  b.Start(kNopWord, MoveWord(EOp::Dmtc1, 0, d), EDeparture::MovesClearHighWord);
  b.Then(ImmediateWord(EOp::Lwc1, kEvenBase, d, offset));
}

void PutStore(CStreamBuilder& b) {
  const u32 s = FreeRegister(b);
  const i32 offset = WordOffset(b);
  PutPair(b, ImmediateWord(EOp::Swc1, kEvenBase, s, offset),
          ImmediateWord(EOp::Swc1, kEvenBase, Whole(b, s), offset), EDeparture::PairedMoves);
}

void PutControlMove(CStreamBuilder& b) {
  const u32 control = b.random.OneIn(2) ? 31 : b.random.Below(32);
  const u32 word = b.random.OneIn(2) ? MoveWord(EOp::Ctc1, b.AnySource(), control)
                                     : MoveWord(EOp::Cfc1, b.WordTarget(), control);
  b.Start(word, kNopWord, EDeparture::ControlMoves);
}

// --- Conversions -------------------------------------------------------------------------------

// With FR clear the oracle has no long integers.
u32 ChooseSourceFormat(CStreamBuilder& b) {
  static constexpr u32 kFormats[] = {kFormatSingle, kFormatDouble, kFormatWord, kFormatLong};
  const u32 format = b.random.Pick(kFormats);
  return b.IsPaired() && format == kFormatLong ? kFormatWord : format;
}

void PutToSingle(CStreamBuilder& b) {
  const u32 format = ChooseSourceFormat(b);
  const u32 s = FreeRegister(b);
  const u32 d = FreeRegister(b);
  // A single source is read as a double; only the format word has a word for its source.
  const u32 oracleFormat = format == kFormatSingle ? kFormatDouble : format;
  const u32 oracleSource = format == kFormatWord ? s : Whole(b, s);
  PutPair(b, FpWord(EOp::CvtS, format, 0, s, d),
          FpWord(EOp::CvtS, oracleFormat, 0, oracleSource, d),
          format == kFormatSingle ? EDeparture::CvtSReadsDouble : EDeparture::PairedDoubles);
  GuardNan(b, d, false);
}

void PutToDouble(CStreamBuilder& b) {
  const u32 format = ChooseSourceFormat(b);
  const u32 s = FreeRegister(b);
  const u32 d = FreeRegister(b);
  const u32 board = FpWord(EOp::CvtD, format, 0, s, d);
  if (format == kFormatSingle || format == kFormatDouble) {
    PutPair(b, board, FpWord(EOp::FpMov, kFormatDouble, 0, Whole(b, s), Whole(b, d)),
            EDeparture::CvtDCopies);
    return;
  }
  const u32 oracleSource = format == kFormatWord ? s : Whole(b, s);
  PutPair(b, board, FpWord(EOp::CvtD, format, 0, oracleSource, Whole(b, d)),
          EDeparture::PairedDoubles);
}

// A value with quarters, of either sign, whose integer fits: a half is added and the sum truncated.
void PutToInteger(CStreamBuilder& b) {
  constexpr u32 kTruncLong = 9, kTruncWord = 13;
  const bool bDouble = b.random.OneIn(2);
  const bool bLong = !b.IsPaired() && b.random.OneIn(2);
  const u32 s = FreeRegister(b) & 30;
  const u32 d = FreeRegister(b);
  const u32 format = bDouble ? kFormatDouble : kFormatSingle;
  const u32 half = bDouble ? kFpHalfDouble : kFpHalfSingle;
  const u32 bits = 2 + b.random.Below(26);
  b.Start(Word(EOp::Sll, 0, b.AnySource(), kTempA));
  b.Then(Word(EOp::Sra, 0, kTempA, kTempA, bits));
  b.Then(MoveWord(EOp::Dmtc1, kTempA, s));
  b.Then(FpWord(bDouble ? EOp::CvtD : EOp::CvtS, kFormatWord, 0, s, s));
  for (u32 halvings = b.random.Below(3); halvings > 0; --halvings) {
    b.Then(FpWord(EOp::FpMul, format, half, s, s));
  }
  const EOp op = bLong ? EOp::CvtL : EOp::CvtW;
  const u32 truncate = bLong ? kTruncLong : kTruncWord;
  const u32 target = bLong ? Whole(b, d) : d;
  const u32 truncateWord = FpWord(EOp::FpAdd, format, 0, kFpTemp, target) | truncate;
  b.Then(kNopWord, FpWord(EOp::FpAdd, format, half, s, kFpTemp), EDeparture::RoundsByHalf);
  b.Then(FpWord(op, format, 0, s, d), truncateWord, EDeparture::RoundsByHalf);
}

// Any source and format, as only the plain rules can judge.
void PutPlainConversion(CStreamBuilder& b) {
  static constexpr EOp kOps[] = {EOp::CvtS, EOp::CvtD, EOp::CvtW, EOp::CvtL};
  const SFpChoice choice = ChooseFormat(b);
  b.Start(FpWord(b.random.Pick(kOps), choice.format, 0, FreeRegister(b), FreeRegister(b)));
}

void PutConversion(CStreamBuilder& b) {
  if (b.kind.bUnguarded) return PutPlainConversion(b);
  switch (b.random.Below(3)) {
    case 0:
      return PutToSingle(b);
    case 1:
      return PutToDouble(b);
    default:
      return PutToInteger(b);
  }
}

}  // namespace

void PutFpSingle(CStreamBuilder& b) {
  switch (b.random.Below(6)) {
    case 0:
      return PutMoveFrom(b);
    case 1:
      return PutMoveToWhole(b);
    case 2:
      return PutStore(b);
    case 3:
      return PutSignOp(b);
    case 4:
      return b.random.OneIn(4) ? PutControlMove(b) : PutMoveFrom(b);
    default:
      return PutCompare(b);
  }
}

void PutFpGroup(CStreamBuilder& b) {
  switch (b.random.Below(8)) {
    case 0:
      return PutConversion(b);
    case 1:
      return PutLoad(b);
    case 2:
      return PutMoveToWord(b);
    case 3:
    case 4:
      return PutFpSingle(b);
    default:
      return PutArithmetic(b);
  }
}

}  // namespace vx::oracle
