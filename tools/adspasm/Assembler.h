// The assembler of the sound processor: source files in, a program with its listing and symbols
// out. SYNTAX.md tells the language.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tools/adspasm/Image.h"
#include "tools/adspasm/Sources.h"
#include "tools/adspasm/Symbols.h"

namespace vx::adsp {

struct SAssembleOptions {
  std::vector<std::string> includeFolders;
  std::vector<std::pair<std::string, i64>> constants;  // defined before the first line
  bool bAllowMissing = false;                          // as if the source began with .ALLOW_UNIMPL
};

struct SNamedValue {
  std::string name;
  ESymbol kind;
  i64 value;
};

// A line of the listing: its source and the words that it made.
struct SListedLine {
  SPlace place;
  std::string text;
  EBus bus = EBus::Program;
  u32 address = 0;
  std::vector<u32> words;
};

struct SProgram {
  std::vector<SDiagnostic> diagnostics;
  bool bGood = false;  // no errors; the rest is of use only then
  CImage image;
  u32 leastWords = 0;
  std::string title;
  std::vector<SNamedValue> symbols;  // by value, then name
  std::vector<SListedLine> lines;
  std::vector<std::string> files;

  std::vector<u8> BootImage() const { return PackBootImage(image.Words(leastWords), title); }
};

// Never throws for what a source may hold; errors stand in the result.
SProgram Assemble(const std::string& path, const SAssembleOptions& options,
                  const SourceReader& read = ReadSourceFile);

// The listing and the symbols as texts; a symbol's line is "0800 CODE NAME".
std::string ListingOf(const SProgram& program);
std::string SymbolMapOf(const SProgram& program);

}  // namespace vx::adsp
