#include "tools/adspasm/Transfer.h"

namespace vx::adsp {

namespace {

constexpr u32 kDataBits = 16;

const SRegister& ParseRegister(CTokens& tokens) {
  const SToken& token = tokens.Next();
  const SRegister* reg = token.kind == EToken::Name ? FindRegister(token.upper) : nullptr;
  if (reg != nullptr) return *reg;
  if (token.upper == "AF" || token.upper == "MF" || token.upper == "MR" || token.upper == "SR") {
    throw CSourceError(token.upper + " is a result of its unit only; no move reads it.");
  }
  if (token.kind == EToken::Name) {
    throw CSourceError(Quote(token) + " is no instruction and no register.");
  }
  throw CSourceError("an instruction is expected where " + Quote(token) + " stands.");
}

bool IsMemory(const CTokens& tokens) {
  return (tokens.IsWord("DM") || tokens.IsWord("PM")) && tokens.IsSymbol("(", 1);
}

bool IsPointer(const CTokens& tokens) {
  return tokens.IsSymbol("(") && IndexNumber(tokens.Peek(1).upper).has_value();
}

bool IsRegister(const SToken& token) {
  return token.kind == EToken::Name && FindRegister(token.upper) != nullptr;
}

// "DM(I,M)", "PM(I,M)" or "DM(address)"; true if it is an access through a pointer.
bool ParseMemory(CTokens& tokens, CSymbols& symbols, i64 here, STransfer& t) {
  t.bProgramMemory = tokens.Next().upper == "PM";
  if (!IsPointer(tokens)) {
    if (t.bProgramMemory) {
      throw CSourceError("program memory is reached through I4 to I7 only: PM(I4,M4).");
    }
    tokens.ExpectSymbol("(");
    const i64 address = Evaluate(tokens, symbols, here);
    tokens.ExpectSymbol(")");
    t.value = FitField(address, kAddressBits, ESign::Unsigned, "a data address");
    return false;
  }
  t.pointer = ParsePointer(tokens);
  if (t.bProgramMemory && t.pointer.index < 4) {
    throw CSourceError("program memory is reached through I4 to I7 only.");
  }
  return true;
}

STransfer ParseStore(CTokens& tokens, CSymbols& symbols, i64 here) {
  STransfer t;
  const bool bIndirect = ParseMemory(tokens, symbols, here, t);
  tokens.ExpectSymbol("=");
  if (tokens.Peek().kind == EToken::Name && IsReserved(tokens.Peek().upper) &&
      !tokens.IsSymbol("(", 1)) {
    t.kind = bIndirect ? ETransfer::Store : ETransfer::StoreDirect;
    t.reg = &ParseRegister(tokens);
    return t;
  }
  if (!bIndirect) {
    throw CSourceError(
        "a value is stored through an address register: DM(I,M) = value; or take it through a data "
        "register.");
  }
  if (t.bProgramMemory) throw CSourceError("only a data register is stored to program memory.");
  t.kind = ETransfer::StoreImmediate;
  t.value = FitField(Evaluate(tokens, symbols, here), kDataBits, ESign::Either, "a data word");
  return t;
}

STransfer ParseLoad(CTokens& tokens, CSymbols& symbols, i64 here) {
  STransfer t;
  t.reg = &ParseRegister(tokens);
  tokens.ExpectSymbol("=");
  if (IsMemory(tokens)) {
    const bool bIndirect = ParseMemory(tokens, symbols, here, t);
    t.kind = bIndirect ? ETransfer::Load : ETransfer::LoadDirect;
    return t;
  }
  const SToken& token = tokens.Peek();
  const bool bFunction = tokens.IsSymbol("(", 1);  // HI(...) or LO(...)
  if (IsRegister(token) || (token.kind == EToken::Name && IsReserved(token.upper) && !bFunction)) {
    t.kind = ETransfer::Move;
    t.source = &ParseRegister(tokens);
    return t;
  }
  t.kind = ETransfer::LoadImmediate;
  const u32 bits = t.reg->group == kDataGroup ? kDataBits : kAddressBits;
  t.value = FitField(Evaluate(tokens, symbols, here), bits, ESign::Either,
                     "a value for " + std::string(t.reg->name));
  return t;
}

}  // namespace

u32 FitField(i64 value, u32 bits, ESign sign, const std::string& what) {
  const i64 least = sign == ESign::Either ? -(i64{1} << (bits - 1)) : 0;
  const i64 most = (i64{1} << bits) - 1;
  if (value < least || value > most) {
    throw CSourceError(what + " has " + std::to_string(bits) + " bits, " + std::to_string(least) +
                       " to " + std::to_string(most) + "; " + std::to_string(value) +
                       " does not fit.");
  }
  return static_cast<u32>(value & most);
}

SPointer ParsePointer(CTokens& tokens) {
  tokens.ExpectSymbol("(");
  const SToken& first = tokens.Next();
  const auto index = IndexNumber(first.upper);
  if (!index) throw CSourceError(Quote(first) + " is no address register; there are I0 to I7.");
  tokens.ExpectSymbol(",");
  const SToken& second = tokens.Next();
  const auto modifier = ModifierNumber(second.upper);
  if (!modifier) throw CSourceError(Quote(second) + " is no modifier; there are M0 to M7.");
  tokens.ExpectSymbol(")");
  if ((*index < 4) != (*modifier < 4)) {
    throw CSourceError(first.upper + " belongs to the " + (*index < 4 ? "first" : "second") +
                       " address generator and goes with " +
                       (*index < 4 ? "M0 to M3" : "M4 to M7") + ", not with " + second.upper + ".");
  }
  return {*index, *modifier};
}

STransfer ParseTransfer(CTokens& tokens, CSymbols& symbols, i64 here) {
  return IsMemory(tokens) ? ParseStore(tokens, symbols, here) : ParseLoad(tokens, symbols, here);
}

}  // namespace vx::adsp
