#include "tools/adspasm/Operation.h"

#include "tools/adspasm/Isa.h"

namespace vx::adsp {

namespace {

// --- Operands ----------------------------------------------------------------------------------

struct SOperand {
  std::optional<u32> x, y;
  std::string name;
};

bool IsNumber(const CTokens& tokens, i64 value, size_t ahead = 0) {
  const SToken& token = tokens.Peek(ahead);
  return token.kind == EToken::Number && token.value == value;
}

bool IsAluOperand(const SToken& token) {
  return token.kind == EToken::Name &&
         (FindOperand(kAluX, token.upper) || FindOperand(kAluY, token.upper));
}

SOperand ParseAluOperand(CTokens& tokens) {
  const SToken& token = tokens.Next();
  SOperand operand;
  operand.name = token.text;
  if (token.kind == EToken::Name) {
    operand.x = FindOperand(kAluX, token.upper);
    operand.y = FindOperand(kAluY, token.upper);
  }
  if (token.kind == EToken::Number && token.value == 0) operand.y = kZeroOperand;
  if (!operand.x && !operand.y) {
    throw CSourceError(
        Quote(token) +
        " is no operand of the ALU: x is one of AX0, AX1, AR, MR0, MR1, SR0, SR1, y one of AY0, "
        "AY1, AF, 0.");
  }
  return operand;
}

u32 NeedX(const SOperand& operand) {
  if (operand.x) return *operand.x;
  throw CSourceError(operand.name + " is a y operand; here goes an x operand of the ALU.");
}

u32 NeedY(const SOperand& operand) {
  if (operand.y) return *operand.y;
  throw CSourceError(operand.name + " is an x operand; here goes AY0, AY1, AF or 0.");
}

// --- ALU ---------------------------------------------------------------------------------------

// clang-format off
enum EAluCode : u32 {
  kPassY = 0, kIncrement = 1, kAddCarry = 2, kAdd = 3, kNotY = 4, kNegateY = 5, kSubtractBorrow = 6,
  kSubtract = 7, kDecrement = 8, kReverse = 9, kReverseBorrow = 10, kNotX = 11, kAnd = 12, kOr = 13,
  kXor = 14, kAbs = 15,
};
// clang-format on

void Set(SOperation& op, u32 code, u32 x, u32 y) {
  op.code = code;
  op.x = x;
  op.y = y;
}

bool AcceptCarryMinusOne(CTokens& tokens) {
  if (!tokens.IsSymbol("+") || !tokens.IsWord("C", 1)) return false;
  tokens.Next();
  tokens.Next();
  tokens.ExpectSymbol("-");
  if (!IsNumber(tokens, 1)) throw CSourceError("a subtraction with carry ends in \"+ C - 1\".");
  tokens.Next();
  return true;
}

void ParsePass(CTokens& tokens, SOperation& op) {
  const bool bMinus = tokens.AcceptSymbol("-");
  if (IsNumber(tokens, 1)) {
    tokens.Next();
    return Set(op, bMinus ? kDecrement : kIncrement, 0, kZeroOperand);
  }
  if (bMinus) throw CSourceError("PASS takes an operand of the ALU, 0, 1 or -1.");
  const SOperand operand = ParseAluOperand(tokens);
  if (operand.x) return Set(op, kAdd, *operand.x, kZeroOperand);
  Set(op, kPassY, 0, *operand.y);
}

void ParseNegation(CTokens& tokens, SOperation& op) {
  const SOperand operand = ParseAluOperand(tokens);
  if (operand.y) return Set(op, kNegateY, 0, *operand.y);
  const u32 code = AcceptCarryMinusOne(tokens) ? kReverseBorrow : kReverse;
  Set(op, code, *operand.x, kZeroOperand);
}

void SetPair(SOperation& op, u32 code, const SOperand& a, const SOperand& b) {
  if (a.x && b.x) {
    throw CSourceError(a.name + " and " + b.name +
                       " are both x operands; one of the two is AY0, AY1, AF or 0.");
  }
  if (a.y && b.y) {
    throw CSourceError(a.name + " and " + b.name +
                       " are both y operands; one of the two is AX0, AX1, AR, MR0, MR1, SR0 or "
                       "SR1.");
  }
  Set(op, code, a.x ? *a.x : *b.x, a.y ? *a.y : *b.y);
}

void ParseSum(CTokens& tokens, SOperation& op, const SOperand& a) {
  if (IsNumber(tokens, 1)) {
    tokens.Next();
    return Set(op, kIncrement, 0, NeedY(a));
  }
  if (tokens.AcceptWord("C")) {
    if (!tokens.IsSymbol("-")) return Set(op, kAddCarry, NeedX(a), kZeroOperand);
    tokens.Next();
    if (!IsNumber(tokens, 1)) throw CSourceError("a subtraction with carry ends in \"+ C - 1\".");
    tokens.Next();
    return Set(op, kSubtractBorrow, NeedX(a), kZeroOperand);
  }
  const SOperand b = ParseAluOperand(tokens);
  const bool bCarry = tokens.IsSymbol("+") && tokens.IsWord("C", 1);
  if (bCarry) {
    tokens.Next();
    tokens.Next();
  }
  SetPair(op, bCarry ? kAddCarry : kAdd, a, b);
}

void ParseDifference(CTokens& tokens, SOperation& op, const SOperand& a) {
  if (IsNumber(tokens, 1)) {
    tokens.Next();
    return Set(op, kDecrement, 0, NeedY(a));
  }
  const SOperand b = ParseAluOperand(tokens);
  const bool bBorrow = AcceptCarryMinusOne(tokens);
  if (a.x) return SetPair(op, bBorrow ? kSubtractBorrow : kSubtract, a, b);
  SetPair(op, bBorrow ? kReverseBorrow : kReverse, a, b);
}

void ParseAlu(CTokens& tokens, SOperation& op) {
  op.unit = EUnit::Alu;
  if (tokens.AcceptWord("PASS")) return ParsePass(tokens, op);
  if (tokens.AcceptWord("ABS")) return Set(op, kAbs, NeedX(ParseAluOperand(tokens)), 0);
  if (tokens.AcceptWord("NOT")) {
    const SOperand operand = ParseAluOperand(tokens);
    return operand.x ? Set(op, kNotX, *operand.x, 0) : Set(op, kNotY, 0, *operand.y);
  }
  if (tokens.AcceptSymbol("-")) return ParseNegation(tokens, op);
  const SOperand a = ParseAluOperand(tokens);
  if (tokens.AcceptSymbol("+")) return ParseSum(tokens, op, a);
  if (tokens.AcceptSymbol("-")) return ParseDifference(tokens, op, a);
  if (tokens.AcceptWord("AND")) return SetPair(op, kAnd, a, ParseAluOperand(tokens));
  if (tokens.AcceptWord("OR")) return SetPair(op, kOr, a, ParseAluOperand(tokens));
  if (tokens.AcceptWord("XOR")) return SetPair(op, kXor, a, ParseAluOperand(tokens));
  throw CSourceError("an operation of the ALU is missing; to move the value alone write PASS " +
                     a.name + ".");
}

// --- Multiplier --------------------------------------------------------------------------------

struct SProductMode {
  const char* name;
  u32 set, add, subtract;  // codes
};
// clang-format off
constexpr SProductMode kProductModes[] = {
  // mode   MR = P  MR + P  MR - P
  { "RND",  1,      2,       3 },
  { "SS",   4,      8,      12 },
  { "SU",   5,      9,      13 },
  { "US",   6,     10,      14 },
  { "UU",   7,     11,      15 },
};
// clang-format on

const SProductMode& ParseProductMode(CTokens& tokens) {
  if (!tokens.AcceptSymbol("(")) {
    throw CSourceError("a product ends in its signs: (SS), (SU), (US), (UU) or (RND).");
  }
  for (const SProductMode& mode : kProductModes) {
    if (!tokens.AcceptWord(mode.name)) continue;
    tokens.ExpectSymbol(")");
    return mode;
  }
  throw CSourceError(Quote(tokens.Peek()) +
                     " tells no signs of a product; there are SS, SU, US, UU and RND.");
}

void ParseProduct(CTokens& tokens, SOperation& op) {
  const SToken& first = tokens.Next();
  const auto x = FindOperand(kMacX, first.upper);
  if (first.kind != EToken::Name || !x) {
    throw CSourceError(Quote(first) +
                       " is no x operand of the multiplier; there are MX0, MX1, AR, MR0, MR1, SR0 "
                       "and SR1, and x stands before y.");
  }
  tokens.ExpectSymbol("*");
  const SToken& second = tokens.Next();
  auto y = second.kind == EToken::Name ? FindOperand(kMacY, second.upper) : std::nullopt;
  if (second.kind == EToken::Number && second.value == 0) y = kZeroOperand;
  if (!y) {
    throw CSourceError(Quote(second) +
                       " is no y operand of the multiplier; there are MY0, MY1, MF and 0.");
  }
  op.x = *x;
  op.y = *y;
}

void ParseMultiplier(CTokens& tokens, SOperation& op) {
  op.unit = EUnit::Multiplier;
  if (IsNumber(tokens, 0)) {
    tokens.Next();
    op.code = kProductModes[1].set;
    op.y = kZeroOperand;
    return;
  }
  bool bAdd = false;
  bool bSubtract = false;
  if (tokens.AcceptWord("MR")) {
    bAdd = tokens.AcceptSymbol("+");
    bSubtract = !bAdd && tokens.AcceptSymbol("-");
    if (!bAdd && !bSubtract) {
      op.y = kZeroOperand;
      op.code = tokens.IsSymbol("(") ? ParseProductMode(tokens).add : kProductModes[1].add;
      return;
    }
  }
  ParseProduct(tokens, op);
  const SProductMode& mode = ParseProductMode(tokens);
  op.code = bAdd ? mode.add : bSubtract ? mode.subtract : mode.set;
}

// --- Shifter -----------------------------------------------------------------------------------

enum EShiftCode : u32 { kExponentHigh = 12, kExponentExtended, kExponentLow, kExponentAdjust };
constexpr u32 kMerge = 1;
constexpr u32 kLow = 2;

u32 ParseShifterX(CTokens& tokens) {
  const SToken& token = tokens.Next();
  const auto x = FindOperand(kShifterX, token.upper);
  if (token.kind == EToken::Name && x) return *x;
  throw CSourceError(Quote(token) +
                     " is no operand of the shifter; there are SI, AR, MR0, MR1, MR2, SR0 and "
                     "SR1.");
}

void ParseShift(CTokens& tokens, CSymbols& symbols, i64 here, SOperation& op) {
  op.unit = EUnit::Shifter;
  const bool bMerge = tokens.IsWord("SR") && tokens.IsWord("OR", 1);
  if (bMerge) {
    tokens.Next();
    tokens.Next();
  }
  const SToken& kind = tokens.Next();
  static constexpr const char* kKinds[] = {"LSHIFT", "ASHIFT", "NORM"};
  const auto found = FindOperand(kKinds, kind.upper);
  if (kind.kind != EToken::Name || !found) {
    throw CSourceError("LSHIFT or ASHIFT is expected where " + Quote(kind) + " stands.");
  }
  op.x = ParseShifterX(tokens);
  op.bByCount = tokens.AcceptWord("BY");
  if (op.bByCount) op.count = Evaluate(tokens, symbols, here);
  tokens.ExpectSymbol("(");
  const bool bLow = tokens.AcceptWord("LO");
  if (!bLow) tokens.ExpectWord("HI");
  tokens.ExpectSymbol(")");
  op.code = *found * 4 + (bLow ? kLow : 0) + (bMerge ? kMerge : 0);
  if (op.bByCount && (op.count < -128 || op.count > 127)) {
    throw CSourceError("a shift goes by -128 to 127 places, not by " + std::to_string(op.count) +
                       ".");
  }
}

void ParseExponent(CTokens& tokens, SOperation& op) {
  op.unit = EUnit::Shifter;
  tokens.ExpectWord("EXP");
  op.x = ParseShifterX(tokens);
  tokens.ExpectSymbol("(");
  op.code = kExponentHigh;
  if (tokens.AcceptWord("LO")) {
    op.code = kExponentLow;
  } else if (tokens.AcceptWord("HIX")) {
    op.code = kExponentExtended;
  } else {
    tokens.ExpectWord("HI");
  }
  tokens.ExpectSymbol(")");
}

// --- Destinations ------------------------------------------------------------------------------

constexpr u32 kToMr = 0, kToAr = 2, kToMf = 4, kToAf = 6;

// AR also takes moves and loads.
bool IsAluExpression(const CTokens& tokens, size_t at) {
  const SToken& first = tokens.Peek(at);
  if (tokens.IsWord("PASS", at) || tokens.IsWord("NOT", at) || tokens.IsWord("ABS", at))
    return true;
  if (tokens.IsSymbol("-", at)) return IsAluOperand(tokens.Peek(at + 1));
  if (IsNumber(tokens, 0, at)) return IsAluOperand(tokens.Peek(at + 2));
  if (!IsAluOperand(first)) return false;
  return tokens.IsSymbol("+", at + 1) || tokens.IsSymbol("-", at + 1) ||
         tokens.IsWord("AND", at + 1) || tokens.IsWord("OR", at + 1) ||
         tokens.IsWord("XOR", at + 1) || first.upper == "AF";
}

}  // namespace

bool BeginsOperation(const CTokens& tokens) {
  if (!tokens.IsSymbol("=", 1)) return false;
  for (const char* name : {"AF", "MF", "MR", "SR"}) {
    if (tokens.IsWord(name)) return true;
  }
  if (tokens.IsWord("SE")) return tokens.IsWord("EXP", 2);
  if (tokens.IsWord("SB")) return tokens.IsWord("EXPADJ", 2);
  return tokens.IsWord("AR") && IsAluExpression(tokens, 2);
}

SOperation ParseOperation(CTokens& tokens, CSymbols& symbols, i64 here) {
  SOperation op;
  const std::string target = tokens.Next().upper;
  tokens.ExpectSymbol("=");
  if (target == "AR" || target == "AF") {
    op.pair = target == "AR" ? kToAr : kToAf;
    op.result = target == "AR" ? "AR" : "AF";
    ParseAlu(tokens, op);
  } else if (target == "MR" || target == "MF") {
    op.pair = target == "MR" ? kToMr : kToMf;
    op.result = target == "MR" ? "MR" : "MF";
    ParseMultiplier(tokens, op);
  } else if (target == "SR") {
    op.result = "SR";
    ParseShift(tokens, symbols, here, op);
  } else if (target == "SE") {
    op.result = "SE";
    ParseExponent(tokens, op);
  } else {
    op.unit = EUnit::Shifter;
    op.result = "SB";
    op.code = kExponentAdjust;
    tokens.ExpectWord("EXPADJ");
    op.x = ParseShifterX(tokens);
  }
  return op;
}

u32 ParseAluX(CTokens& tokens) { return NeedX(ParseAluOperand(tokens)); }
u32 ParseAluY(CTokens& tokens) { return NeedY(ParseAluOperand(tokens)); }

}  // namespace vx::adsp
