#include "tools/adspasm/Symbols.h"

#include <utility>

#include "tools/adspasm/Isa.h"

namespace vx::adsp {

namespace {

constexpr u32 kDeepest = 100;  // parentheses, signs and constants that lead to others

struct SOperator {
  const char* symbol;
  u32 strength;
};
// clang-format off
constexpr SOperator kOperators[] = {
  // symbol  binds
  { "|",     1 },
  { "^",     2 },
  { "&",     3 },
  { "<<",    4 },
  { ">>",    4 },
  { "+",     5 },
  { "-",     5 },
  { "*",     6 },
  { "/",     6 },
};
// clang-format on

class CEvaluator {
 public:
  CEvaluator(CTokens& tokens, CSymbols& symbols, i64 here)
      : tokens_(tokens), symbols_(symbols), here_(here) {}

  i64 Sum(u32 weakest, u32 depth) {
    i64 left = Unary(depth);
    for (;;) {
      const SOperator* op = OperatorHere();
      if (op == nullptr || op->strength < weakest) return left;
      tokens_.Next();
      left = Apply(op->symbol, left, Sum(op->strength + 1, depth + 1));
    }
  }

 private:
  const SOperator* OperatorHere() const {
    for (const SOperator& op : kOperators) {
      if (tokens_.IsSymbol(op.symbol)) return &op;
    }
    return nullptr;
  }

  static i64 Checked(bool bOverflow, i64 value) {
    constexpr i64 kLimit = i64{1} << 40;
    if (bOverflow || value > kLimit || value < -kLimit) {
      throw CSourceError("the expression leaves the range of 40 bits.");
    }
    return value;
  }

  static i64 Shift(i64 value, i64 count, bool bLeft) {
    if (count < 0 || count > 31) throw CSourceError("a shift in an expression goes by 0 to 31.");
    return bLeft ? value * (i64{1} << count) : value >> count;
  }

  static i64 Apply(std::string_view op, i64 a, i64 b) {
    i64 result = 0;
    bool bOverflow = false;
    if (op == "+") bOverflow = __builtin_add_overflow(a, b, &result);
    if (op == "-") bOverflow = __builtin_sub_overflow(a, b, &result);
    if (op == "*") bOverflow = __builtin_mul_overflow(a, b, &result);
    if (op == "/") {
      if (b == 0) throw CSourceError("the expression divides by 0.");
      result = a / b;
    }
    if (op == "&") result = a & b;
    if (op == "|") result = a | b;
    if (op == "^") result = a ^ b;
    if (op == ">>") result = Shift(a, b, false);
    if (op == "<<") {
      if (a > 0xFFFFFFFF || a < -0xFFFFFFFFll) throw CSourceError("a shift takes up to 32 bits.");
      result = Shift(a, b, true);
      bOverflow = result > 0xFFFFFFFFFF;
    }
    return Checked(bOverflow, result);
  }

  i64 Unary(u32 depth) {
    if (depth > kDeepest) throw CSourceError("the expression is nested too deeply.");
    if (tokens_.AcceptSymbol("-")) return -Unary(depth + 1);
    if (tokens_.AcceptSymbol("+")) return Unary(depth + 1);
    if (tokens_.AcceptSymbol("~")) return ~Unary(depth + 1);
    return Primary(depth);
  }

  i64 Primary(u32 depth) {
    if (tokens_.AcceptSymbol("(")) return Closed(depth);
    if (tokens_.AcceptSymbol("$")) return here_;
    const SToken& token = tokens_.Peek();
    if (token.kind == EToken::Number) return tokens_.Next().value;
    if (token.kind != EToken::Name) {
      throw CSourceError("a value is expected where " + Quote(token) + " stands.");
    }
    if ((token.upper == "HI" || token.upper == "LO") && tokens_.IsSymbol("(", 1)) {
      const bool bHigh = token.upper == "HI";
      tokens_.Next();
      tokens_.Next();
      const i64 value = Closed(depth);
      return (bHigh ? value >> 16 : value) & 0xFFFF;
    }
    if (IsReserved(token.upper)) {
      throw CSourceError(token.text + " has no value that an expression could use.");
    }
    return symbols_.ValueOf(symbols_.Scoped(tokens_.Next().text), depth + 1);
  }

  i64 Closed(u32 depth) {
    const i64 value = Sum(1, depth + 1);
    tokens_.ExpectSymbol(")");
    return value;
  }

  CTokens& tokens_;
  CSymbols& symbols_;
  i64 here_;
};

}  // namespace

i64 Evaluate(CTokens& tokens, CSymbols& symbols, i64 here, u32 depth) {
  return CEvaluator(tokens, symbols, here).Sum(1, depth);
}

void CSymbols::Define(const std::string& name, SSymbol symbol) {
  if (IsReserved(UpperOf(name))) {
    throw CSourceError(name + " is a word of the language and names nothing else.");
  }
  const auto [found, bNew] = symbols_.emplace(name, std::move(symbol));
  if (bNew) return;
  throw CSourceError(name + " is already defined in " + InWords(found->second.place) + ".");
}

SSymbol* CSymbols::Find(const std::string& name) {
  const auto found = symbols_.find(name);
  return found != symbols_.end() ? &found->second : nullptr;
}

i64 CSymbols::ValueOf(const std::string& name, u32 depth) {
  SSymbol* symbol = Find(name);
  if (symbol == nullptr) {
    throw CSourceError(name + (bAllDefined ? " is not defined." : " is not defined above this."));
  }
  if (symbol->bKnown) return symbol->value;
  if (symbol->bEvaluating) throw CSourceError(name + " is defined by itself.");
  symbol->bEvaluating = true;
  const std::string outerScope = std::exchange(scope, symbol->scope);
  try {
    CTokens tokens(symbol->definition);
    symbol->value = Evaluate(tokens, *this, symbol->here, depth);
    tokens.ExpectEnd();
  } catch (...) {
    scope = outerScope;
    symbol->bEvaluating = false;
    throw;
  }
  scope = outerScope;
  symbol->bEvaluating = false;
  symbol->bKnown = true;
  return symbol->value;
}

}  // namespace vx::adsp
