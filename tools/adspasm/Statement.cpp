#include "tools/adspasm/Statement.h"

#include "tools/adspasm/Isa.h"
#include "tools/adspasm/Operation.h"
#include "tools/adspasm/Transfer.h"

namespace vx::adsp {

namespace {

constexpr u32 kTopShift = 16;
constexpr u32 Top(u32 byte) { return byte << kTopShift; }

// --- Words without an operation ----------------------------------------------------------------

// Bits 2 and 3 the index, bits 0 and 1 the modifier, of one generator.
u32 PointerBits(const SPointer& pointer) {
  return (pointer.index & 3) << 2 | (pointer.modifier & 3);
}
bool IsSecond(const SPointer& pointer) { return pointer.index >= 4; }

u32 NeedDataRegister(const SRegister& reg, const char* where) {
  if (reg.group == kDataGroup) return reg.index;
  throw CSourceError(std::string(reg.name) + " does not go " + where +
                     "; that takes AX0 to AY1, MX0 to MY1, SI, SE, AR, MR0 to MR2, SR0 or SR1.");
}

u32 EncodeTransfer(const STransfer& t) {
  static constexpr u32 kLoadImmediateTop[] = {0x40, 0x34, 0x38, 0x3C};
  const u32 group = t.reg != nullptr ? t.reg->group : 0;
  switch (t.kind) {
    case ETransfer::Move:
      return Top(0x0D) | group << 10 | t.source->group << 8 | t.reg->index << 4 | t.source->index;
    case ETransfer::LoadImmediate:
      return Top(kLoadImmediateTop[group]) | t.value << 4 | t.reg->index;
    case ETransfer::LoadDirect:
      return Top(0x80 + 4 * group) | t.value << 4 | t.reg->index;
    case ETransfer::StoreDirect:
      return Top(0x90 + 4 * group) | t.value << 4 | t.reg->index;
    case ETransfer::StoreImmediate:
      return Top(IsSecond(t.pointer) ? 0xB0 : 0xA0) | t.value << 4 | PointerBits(t.pointer);
    default:
      return 0;
  }
}

bool IsIndirect(const STransfer& t) {
  return t.kind == ETransfer::Load || t.kind == ETransfer::Store;
}

// --- Words around an operation -----------------------------------------------------------------

// An access through a pointer, alone or beside an operation of ALU or multiplier. An access alone
// is one beside the multiplier's operation 0, which does nothing.
u32 EncodeUnitAccess(const SOperation* op, const STransfer& t) {
  const bool bStore = t.kind == ETransfer::Store;
  const u32 reg = NeedDataRegister(*t.reg, "through an address register");
  u32 top = IsSecond(t.pointer) ? 0x70 : 0x60;
  if (t.bProgramMemory) top = 0x50;
  if (bStore) top += 8;
  const u32 operation = op != nullptr ? Top(op->pair) | op->Bits() : 0;
  return Top(top) + operation + (reg << 4) + PointerBits(t.pointer);
}

u32 EncodeShiftAccess(const SOperation& op, const STransfer& t) {
  const u32 reg = NeedDataRegister(*t.reg, "through an address register");
  const u32 store = t.kind == ETransfer::Store ? 1u << 15 : 0;
  // Beside a shift, program memory has a class of its own, which the processor lacks.
  const u32 top = t.bProgramMemory ? 0x11 : IsSecond(t.pointer) ? 0x13 : 0x12;
  return Top(top) | store | op.Bits() | reg << 4 | PointerBits(t.pointer);
}

u32 EncodePair(const SOperation& op, const STransfer& t) {
  if (op.bByCount) throw CSourceError("a shift by a count stands alone in its word.");
  const bool bShift = op.unit == EUnit::Shifter;
  if (IsIndirect(t)) return bShift ? EncodeShiftAccess(op, t) : EncodeUnitAccess(&op, t);
  if (t.kind != ETransfer::Move) {
    throw CSourceError(
        "beside an operation goes a move between data registers, DM(I,M) or PM(I,M), and nothing "
        "else.");
  }
  const u32 target = NeedDataRegister(*t.reg, "into a move beside an operation");
  const u32 source = NeedDataRegister(*t.source, "into a move beside an operation");
  const u32 top = bShift ? 0x10 : 0x28 + op.pair;
  return Top(top) | op.Bits() | target << 4 | source;
}

u32 EncodeOperation(const SOperation& op, u32 condition) {
  if (op.bByCount) {
    if (condition != kTrue) throw CSourceError("a shift by a count takes no IF.");
    return Top(0x0F) | op.Bits() | (static_cast<u32>(op.count) & 0xFF);
  }
  return Top(op.unit == EUnit::Shifter ? 0x0E : 0x20 + op.pair) | op.Bits() | condition;
}

// What a reader of the text would not expect of the word.
void JudgeOperation(const SOperation& op, const SStatementContext& context, SInstruction& out) {
  const bool bMisread = op.unit != EUnit::Shifter && op.x == kMisreadX;
  if (bMisread && !context.bAllowMissing) {
    throw CSourceError(
        "MR2 as an operand of ALU and multiplier reads MR1 on this board; write MR1, or allow it "
        "by "
        ".ALLOW_UNIMPL.");
  }
  if (op.bByCount && (op.count > 31 || op.count < -31)) {
    out.warnings.push_back("a shift by more than 31 places leaves nothing of its input.");
  }
}

void JudgePair(const SOperation& op, const STransfer& t, SInstruction& out) {
  if (t.kind == ETransfer::Store) return;
  const std::string target = t.reg->name;
  const std::string result = op.result;
  const bool bPart = (result == "MR" || result == "SR") && target.starts_with(result);
  if (target == result || bPart) {
    out.warnings.push_back("the value that " + target + " takes replaces the operation's result.");
  }
}

void AssembleClauses(CTokens& tokens, const SStatementContext& context, u32 condition,
                     SInstruction& out) {
  std::optional<SOperation> op;
  std::optional<STransfer> transfer;
  do {
    if (BeginsOperation(tokens)) {
      if (op) throw CSourceError("a word holds one operation only.");
      op = ParseOperation(tokens, context.symbols, context.here);
    } else {
      if (transfer) {
        throw CSourceError("a word of this processor holds one move or memory access only.");
      }
      transfer = ParseTransfer(tokens, context.symbols, context.here);
    }
  } while (tokens.AcceptSymbol(","));
  tokens.ExpectEnd();
  if (op) JudgeOperation(*op, context, out);
  if (transfer && condition != kTrue) {
    throw CSourceError("IF goes with an operation alone, a jump, a call or a return.");
  }
  if (op && transfer) {
    JudgePair(*op, *transfer, out);
    out.word = EncodePair(*op, *transfer);
  } else if (op) {
    out.word = EncodeOperation(*op, condition);
  } else {
    out.word =
        IsIndirect(*transfer) ? EncodeUnitAccess(nullptr, *transfer) : EncodeTransfer(*transfer);
    if (transfer->kind == ETransfer::StoreDirect) out.storeAddress = transfer->value;
    if (transfer->kind == ETransfer::LoadImmediate && transfer->value == 0 &&
        std::string_view(transfer->reg->name) == "CNTR") {
      out.warnings.push_back(
          "a loop with a counter of 0 makes one round and keeps its place on "
          "the counter stack.");
    }
  }
}

// --- Program flow ------------------------------------------------------------------------------

u32 ParseCondition(CTokens& tokens, bool bUntil) {
  const bool bNot = tokens.AcceptWord("NOT");
  const SToken& token = tokens.Next();
  const std::string name = (bNot ? "NOT " : "") + token.upper;
  for (u32 code = 0; code < 16; ++code) {
    const SCondition& row = kConditions[code];
    if (name == (bUntil ? row.untilName : row.ifName)) return code;
  }
  throw CSourceError((bNot ? "NOT " + token.text : Quote(token)) +
                     (bUntil ? " ends no loop; there are CE, FOREVER"
                             : " is no condition of IF; "
                               "there are NOT CE, TRUE") +
                     ", EQ, NE, GT, LE, LT, GE, AV, NOT AV, AC, NOT AC, NEG, POS, MV and NOT MV.");
}

u32 ParseTarget(CTokens& tokens, const SStatementContext& context) {
  const i64 target = Evaluate(tokens, context.symbols, context.here);
  return FitField(target, kAddressBits, ESign::Unsigned, "an address");
}

void AssembleJump(CTokens& tokens, const SStatementContext& context, u32 condition, bool bCall,
                  SInstruction& out) {
  out.flow = bCall ? EFlow::Call : EFlow::Jump;
  if (tokens.IsSymbol("(") && IndexNumber(tokens.Peek(1).upper) && tokens.IsSymbol(")", 2)) {
    const u32 index = *IndexNumber(tokens.Peek(1).upper);
    if (index < 4) throw CSourceError("an indirect jump or call goes through I4 to I7 only.");
    for (u32 i = 0; i < 3; ++i) tokens.Next();
    out.word = Top(0x0B) | (index - 4) << 6 | (bCall ? 1u << 4 : 0) | condition;
  } else {
    out.target = ParseTarget(tokens, context);
    out.bHasTarget = true;
    out.word = Top(bCall ? 0x1C : 0x18) | out.target << 4 | condition;
  }
  tokens.ExpectEnd();
}

void AssembleDo(CTokens& tokens, const SStatementContext& context, SInstruction& out) {
  out.flow = EFlow::Do;
  out.target = ParseTarget(tokens, context);
  out.bHasTarget = true;
  tokens.ExpectWord("UNTIL");
  out.word = Top(0x14) | out.target << 4 | ParseCondition(tokens, true);
  tokens.ExpectEnd();
}

u32 ParseModes(CTokens& tokens) {
  u32 word = Top(0x0C);
  bool bEnable = true;
  do {
    if (tokens.AcceptWord("ENA")) bEnable = true;
    if (tokens.AcceptWord("DIS")) bEnable = false;
    const SToken& token = tokens.Next();
    const SMode* found = nullptr;
    for (const SMode& mode : kModes) {
      if (token.upper == mode.name) found = &mode;
    }
    if (found == nullptr) {
      throw CSourceError(Quote(token) +
                         " is no mode; there are SEC_REG, BIT_REV, AV_LATCH, AR_SAT, M_MODE, TIMER "
                         "and G_MODE.");
    }
    const u32 bits = 3u << found->bit;
    if ((word & bits) != 0) throw CSourceError(token.text + " is named twice.");
    word |= (bEnable ? 3u : 2u) << found->bit;
  } while (tokens.AcceptSymbol(","));
  return word;
}

u32 ParseStackWord(CTokens& tokens, bool bPush) {
  u32 word = Top(0x04);
  do {
    if (bPush || tokens.IsWord("STS")) {
      tokens.ExpectWord("STS");
      word |= bPush ? 2 : 3;
    } else if (tokens.AcceptWord("CNTR")) {
      word |= 1u << 2;
    } else if (tokens.AcceptWord("LOOP")) {
      word |= 1u << 3;
    } else {
      tokens.ExpectWord("PC");
      word |= 1u << 4;
    }
  } while (tokens.AcceptSymbol(",") && tokens.AcceptWord("POP"));
  return word;
}

u32 ParseDivideSign(CTokens& tokens) {
  const u32 y = ParseAluY(tokens);
  tokens.ExpectSymbol(",");
  return Top(0x06) | y << 11 | ParseAluX(tokens) << 8;
}

constexpr u32 kDivideStepY = 2u << 11;  // AF, as the data book has it; the processor does not look

// Instructions that begin with a word of their own and take no IF; false if this is none.
bool AssembleKeyword(CTokens& tokens, const SStatementContext& context, SInstruction& out) {
  if (tokens.AcceptWord("DO")) {
    AssembleDo(tokens, context, out);
    return true;
  }
  if (tokens.AcceptWord("NOP")) {
    out.word = 0;
  } else if (tokens.AcceptWord("IDLE")) {
    out.word = 0x028000;
  } else if (tokens.IsWord("ENA") || tokens.IsWord("DIS")) {
    out.word = ParseModes(tokens);
  } else if (tokens.AcceptWord("PUSH")) {
    out.word = ParseStackWord(tokens, true);
  } else if (tokens.AcceptWord("POP")) {
    out.word = ParseStackWord(tokens, false);
  } else if (tokens.AcceptWord("DIVS")) {
    out.word = ParseDivideSign(tokens);
  } else if (tokens.AcceptWord("DIVQ")) {
    out.word = Top(0x07) | kDivideStepY | ParseAluX(tokens) << 8;
  } else if (tokens.AcceptWord("MODIFY")) {
    const SPointer pointer = ParsePointer(tokens);
    out.word = Top(0x09) | (IsSecond(pointer) ? 1u << 4 : 0) | PointerBits(pointer);
  } else {
    return false;
  }
  tokens.ExpectEnd();
  return true;
}

bool AssembleReturn(CTokens& tokens, u32 condition, SInstruction& out) {
  const bool bInterrupt = tokens.IsWord("RTI");
  if (!bInterrupt && !tokens.IsWord("RTS")) return false;
  tokens.Next();
  tokens.ExpectEnd();
  out.flow = EFlow::Return;
  out.word = Top(0x0A) | (bInterrupt ? 1u << 4 : 0) | condition;
  return true;
}

}  // namespace

SInstruction AssembleInstruction(CTokens& tokens, const SStatementContext& context) {
  SInstruction out;
  const bool bIf = tokens.AcceptWord("IF");
  const u32 condition = bIf ? ParseCondition(tokens, false) : kTrue;
  if (tokens.IsWord("SAT")) {
    constexpr u32 kOnOverflow = 12;
    if (bIf && condition != kOnOverflow) throw CSourceError("SAT MR takes no IF but IF MV.");
    tokens.Next();
    tokens.ExpectWord("MR");
    tokens.ExpectEnd();
    out.word = Top(0x05);
  } else if (tokens.IsWord("JUMP") || tokens.IsWord("CALL")) {
    const bool bCall = tokens.Next().upper == "CALL";
    AssembleJump(tokens, context, condition, bCall, out);
  } else if (!AssembleReturn(tokens, condition, out)) {
    const SToken first = tokens.Peek();
    const bool bKeyword = AssembleKeyword(tokens, context, out);
    if (bKeyword && bIf) throw CSourceError(first.upper + " takes no IF.");
    if (!bKeyword) AssembleClauses(tokens, context, condition, out);
  }
  const std::string missing = MissingIn(out.word);
  if (!missing.empty() && !context.bAllowMissing) {
    throw CSourceError("the processor does not execute this: " + missing +
                       "; .ALLOW_UNIMPL lets such words through.");
  }
  return out;
}

}  // namespace vx::adsp
