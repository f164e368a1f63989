// One source line as tokens, and a cursor over them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/adspasm/Diagnostics.h"

namespace vx::adsp {

enum class EToken : u32 { Name, Number, String, Symbol, End };

struct SToken {
  EToken kind = EToken::End;
  std::string text;   // as written; a string without its quotes
  std::string upper;  // a name in capitals; a symbol as it is
  i64 value = 0;      // of a number
};

// Takes a line apart; ';' and '//' begin a comment. Throws CSourceError.
std::vector<SToken> SplitLine(std::string_view line);

class CTokens {
 public:
  explicit CTokens(const std::vector<SToken>& tokens) : tokens_(tokens) {}

  const SToken& Peek(size_t ahead = 0) const;
  const SToken& Next();
  bool AtEnd() const { return Peek().kind == EToken::End; }
  size_t Position() const { return at_; }

  bool IsSymbol(std::string_view symbol, size_t ahead = 0) const;
  bool IsWord(std::string_view upper, size_t ahead = 0) const;
  // Takes the next token if it is this symbol or this word.
  bool AcceptSymbol(std::string_view symbol);
  bool AcceptWord(std::string_view upper);
  // The same, or throws CSourceError.
  void ExpectSymbol(std::string_view symbol);
  void ExpectWord(std::string_view upper);
  void ExpectEnd() const;

 private:
  const std::vector<SToken>& tokens_;
  size_t at_ = 0;
};

// A token for a message: quoted, or "the end of the line".
std::string Quote(const SToken& token);
std::string UpperOf(std::string_view text);

}  // namespace vx::adsp
