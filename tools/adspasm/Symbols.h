// Names of a source and the expressions that use them.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "tools/adspasm/Tokens.h"

namespace vx::adsp {

enum class ESymbol : u32 { Code, Data, Constant };

struct SSymbol {
  ESymbol kind = ESymbol::Constant;
  i64 value = 0;
  bool bKnown = true;              // else `definition` is still to be evaluated
  bool bEvaluating = false;        // its definition is under way: a circle if met again
  std::vector<SToken> definition;  // of a constant that uses names from further down
  i64 here = 0;                    // the value of $ where it is defined
  std::string scope;               // the label that names beginning with @ belong to there
  SPlace place;
};

class CSymbols {
 public:
  // Throws CSourceError if the name is taken, by a symbol or by the language.
  void Define(const std::string& name, SSymbol symbol);
  // The value of a name; throws CSourceError if it has none.
  i64 ValueOf(const std::string& name, u32 depth);
  const std::unordered_map<std::string, SSymbol>& All() const { return symbols_; }
  SSymbol* Find(const std::string& name);
  // A name as it is kept: one that begins with @ belongs to the last label without.
  std::string Scoped(const std::string& name) const { return name[0] == '@' ? scope + name : name; }

  std::string scope;
  bool bAllDefined = false;  // until then, a name may still be defined further down

 private:
  std::unordered_map<std::string, SSymbol> symbols_;
};

// Evaluates what stands at the cursor, as far as it is an expression. `here` is the value of $.
// Throws CSourceError.
i64 Evaluate(CTokens& tokens, CSymbols& symbols, i64 here, u32 depth = 0);

}  // namespace vx::adsp
