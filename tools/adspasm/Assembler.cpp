#include "tools/adspasm/Assembler.h"

#include <algorithm>
#include <tuple>

#include "tools/adspasm/Checks.h"
#include "tools/adspasm/Isa.h"
#include "tools/adspasm/Statement.h"
#include "tools/adspasm/Transfer.h"

namespace vx::adsp {

namespace {

constexpr i64 kAddressEnd = 1 << kAddressBits;
constexpr i64 kNowhere = -1;

// A statement with a place in memory, between the two passes.
struct SStatement {
  const SSourceLine* line;
  size_t firstToken;
  EBus bus;
  i64 address;
  bool bAllowMissing;
  std::string scope;  // of names that begin with @
};

struct SExpectation {
  SPlace place;
  u32 address;
  std::vector<u32> words;
};

class CAssembler {
 public:
  CAssembler(const SAssembleOptions& options, SProgram& program)
      : program_(program), bAllowMissing_(options.bAllowMissing) {}

  void Run(const std::string& path, const SAssembleOptions& options, const SourceReader& read) {
    const SPlace caller{"the command line", 0};
    for (const auto& [name, value] : options.constants) {
      Guard(caller, [&, &name = name, value = value] {
        DefineValue(name, ESymbol::Constant, value, caller);
      });
    }
    ReadSources(path, options.includeFolders, read, diagnostics, sources);
    for (const SSourceLine& line : sources.lines) {
      Guard(line.place, [&] { PlaceLine(line); });
    }
    symbols_.bAllDefined = true;
    ResolveConstants();
    ListLines();
    for (const SStatement& statement : statements_) {
      Guard(statement.line->place, [&] { Emit(statement); });
    }
    Finish(path);
  }

  CDiagnostics diagnostics;
  SSources sources;

 private:
  template <typename TAction>
  void Guard(const SPlace& place, TAction action) {
    try {
      action();
    } catch (const CSourceError& error) {
      diagnostics.Error(place, error.what());
    }
  }

  i64& Here() { return bus_ == EBus::Program ? codeAt_ : dataAt_; }

  // --- First pass: places and names ------------------------------------------------------------

  void PlaceLine(const SSourceLine& line) {
    CTokens tokens(line.tokens);
    while (tokens.Peek().kind == EToken::Name && tokens.IsSymbol(":", 1)) {
      const SToken label = tokens.Next();
      tokens.Next();
      DefineLabel(label, line.place);
    }
    if (tokens.AtEnd()) return;
    const SToken& first = tokens.Peek();
    if (first.kind == EToken::Name && first.text[0] == '.') {
      PlaceDirective(tokens, line);
    } else {
      Claim(line, tokens, 1);
    }
  }

  void DefineLabel(const SToken& label, const SPlace& place) {
    if (label.text[0] == '.') throw CSourceError("a label does not begin with a dot.");
    const std::string name = symbols_.Scoped(label.text);
    if (label.text[0] != '@') symbols_.scope = label.text;
    if (Here() == kNowhere)
      throw CSourceError("a label needs a place: .ORG or .DATA goes before it.");
    DefineValue(name, bus_ == EBus::Program ? ESymbol::Code : ESymbol::Data, Here(), place);
  }

  void DefineValue(const std::string& name, ESymbol kind, i64 value, const SPlace& place) {
    SSymbol symbol;
    symbol.kind = kind;
    symbol.value = value;
    symbol.place = place;
    symbols_.Define(name, std::move(symbol));
  }

  // Puts a statement of so many words at the present place.
  void Claim(const SSourceLine& line, const CTokens& tokens, i64 words) {
    i64& here = Here();
    if (here == kNowhere) throw CSourceError("this needs a place: .ORG or .DATA goes before it.");
    statements_.push_back({&line, tokens.Position(), bus_, here, bAllowMissing_, symbols_.scope});
    Advance(words);
  }

  void Advance(i64 words) {
    i64& here = Here();
    if (words > kAddressEnd - here) {
      here = kAddressEnd;
      throw CSourceError("this goes beyond the last address, 0x3FFF.");
    }
    here += words;
  }

  i64 KnownValue(CTokens& tokens, const char* what, i64 least, i64 most) {
    const i64 value = Evaluate(tokens, symbols_, std::max<i64>(Here(), 0));
    if (value < least || value > most) {
      throw CSourceError(std::string(what) + " is " + std::to_string(least) + " to " +
                         std::to_string(most) + ", not " + std::to_string(value) + ".");
    }
    return value;
  }

  void PlaceDirective(CTokens& tokens, const SSourceLine& line) {
    const CTokens start = tokens;
    const std::string name = tokens.Next().upper;
    if (name == ".DW24" || name == ".DW16") return Claim(line, start, CountValues(line, tokens));
    if (name == ".EXPECT") {
      statements_.push_back(
          {&line, start.Position(), bus_, Here(), bAllowMissing_, symbols_.scope});
      return;
    }
    if (name == ".ORG") {
      bus_ = EBus::Program;
      codeAt_ = KnownValue(tokens, "a program address", 0, kAddressMask);
    } else if (name == ".DATA") {
      bus_ = EBus::Data;
      if (!tokens.AtEnd()) dataAt_ = KnownValue(tokens, "a data address", 0, kAddressMask);
    } else if (name == ".CODE") {
      bus_ = EBus::Program;
    } else if (name == ".SPACE") {
      PlaceSpace(tokens, line);
    } else if (name == ".ALIGN") {
      PlaceAlign(tokens);
    } else if (name == ".EQU") {
      PlaceConstant(tokens, line.place);
    } else if (name == ".ALLOW_UNIMPL") {
      bAllowMissing_ = !tokens.AcceptWord("OFF");
      if (bAllowMissing_) tokens.AcceptWord("ON");
    } else if (name == ".TITLE") {
      PlaceTitle(tokens);
    } else if (name == ".BOOTWORDS") {
      program_.leastWords =
          static_cast<u32>(KnownValue(tokens, "the size of the boot image", 1, kMostImageWords));
    } else {
      throw CSourceError(Quote(start.Peek()) +
                         " is no directive; see SYNTAX.md beside the assembler.");
    }
    tokens.ExpectEnd();
  }

  static i64 CountValues(const SSourceLine& line, const CTokens& tokens) {
    if (tokens.AtEnd()) throw CSourceError("a value is missing.");
    i64 count = 1;
    for (size_t i = tokens.Position(); i < line.tokens.size(); ++i) {
      if (line.tokens[i].kind == EToken::Symbol && line.tokens[i].text == ",") ++count;
    }
    return count;
  }

  void PlaceSpace(CTokens& tokens, const SSourceLine& line) {
    const i64 words = KnownValue(tokens, "a space", 0, kAddressEnd);
    if (Here() == kNowhere) throw CSourceError("this needs a place: .ORG or .DATA goes before it.");
    const i64 first = Here();
    Advance(words);
    for (i64 i = 0; i < words; ++i) {
      program_.image.Reserve(bus_, static_cast<u32>(first + i), line.place);
    }
  }

  void PlaceAlign(CTokens& tokens) {
    const i64 step = KnownValue(tokens, "an alignment", 1, kAddressEnd);
    if (Here() == kNowhere) throw CSourceError("this needs a place: .ORG or .DATA goes before it.");
    Advance((step - Here() % step) % step);
  }

  void PlaceConstant(CTokens& tokens, const SPlace& place) {
    const SToken name = tokens.Next();
    if (name.kind != EToken::Name || name.text[0] == '.') {
      throw CSourceError(".EQU takes a name and its value: .EQU NAME = value.");
    }
    if (!tokens.AcceptSymbol("=")) tokens.ExpectSymbol(",");
    SSymbol symbol;
    symbol.here = std::max<i64>(Here(), 0);
    symbol.place = place;
    symbol.scope = symbols_.scope;
    symbol.bKnown = false;
    bool bAllKnown = !tokens.AtEnd();
    if (!bAllKnown) throw CSourceError("a value is missing.");
    while (!tokens.AtEnd()) {
      const SToken& token = tokens.Next();
      const SSymbol* used = symbols_.Find(symbols_.Scoped(token.text));
      const bool bLater = token.kind == EToken::Name && !IsReserved(token.upper);
      if (bLater && (used == nullptr || !used->bKnown)) bAllKnown = false;
      symbol.definition.push_back(token);
    }
    const std::string full = symbols_.Scoped(name.text);
    if (bAllKnown) {
      CTokens definition(symbol.definition);
      symbol.value = Evaluate(definition, symbols_, symbol.here);
      definition.ExpectEnd();
      symbol.bKnown = true;
    }
    symbols_.Define(full, std::move(symbol));
  }

  void PlaceTitle(CTokens& tokens) {
    const SToken title = tokens.Next();
    if (title.kind != EToken::String) throw CSourceError(".TITLE takes a text in double quotes.");
    for (const char c : title.text) {
      if (!IsTitleCharacter(c)) throw CSourceError("a title holds plain characters only.");
    }
    program_.title = title.text;
  }

  void ResolveConstants() {
    std::vector<std::pair<SPlace, std::string>> open;
    for (const auto& [name, symbol] : symbols_.All()) {
      if (!symbol.bKnown) open.emplace_back(symbol.place, name);
    }
    std::sort(open.begin(), open.end(), [](const auto& a, const auto& b) {
      return std::tie(a.first.file, a.first.line, a.second) <
             std::tie(b.first.file, b.first.line, b.second);
    });
    for (const auto& [place, name] : open) {
      Guard(place, [&, &name = name] { symbols_.ValueOf(name, 0); });
    }
  }

  // --- Second pass: words ----------------------------------------------------------------------

  void ListLines() {
    program_.lines.reserve(sources.lines.size());
    for (const SSourceLine& line : sources.lines)
      program_.lines.push_back({line.place, line.text, EBus::Program, 0, {}});
    firstLine_ = sources.lines.data();
  }

  void Put(const SStatement& statement, i64 offset, u32 word) {
    const u32 address = static_cast<u32>(statement.address + offset);
    program_.image.Put(statement.bus, address, word, statement.line->place);
    SListedLine& listed = program_.lines[static_cast<size_t>(statement.line - firstLine_)];
    if (listed.words.empty()) {
      listed.bus = statement.bus;
      listed.address = address;
    }
    listed.words.push_back(word);
  }

  void Emit(const SStatement& statement) {
    symbols_.scope = statement.scope;
    CTokens tokens(statement.line->tokens);
    while (tokens.Position() < statement.firstToken) tokens.Next();
    if (tokens.IsWord(".EXPECT")) return EmitExpectation(tokens, statement);
    if (tokens.IsWord(".DW24") || tokens.IsWord(".DW16")) return EmitValues(tokens, statement);
    if (statement.bus == EBus::Data) {
      throw CSourceError("an instruction goes to program memory; .CODE or .ORG goes before it.");
    }
    const SInstruction instruction =
        AssembleInstruction(tokens, {symbols_, statement.address, statement.bAllowMissing});
    Put(statement, 0, instruction.word);
    for (const std::string& warning : instruction.warnings) {
      diagnostics.Warn(statement.line->place, warning);
    }
    placed_.push_back({statement.line->place, static_cast<u32>(statement.address), instruction,
                       statement.bAllowMissing});
  }

  void EmitValues(CTokens& tokens, const SStatement& statement) {
    const bool bWhole = tokens.Next().upper == ".DW24";
    i64 offset = 0;
    do {
      const i64 value = Evaluate(tokens, symbols_, statement.address);
      const u32 field = FitField(value, bWhole ? 24 : 16, ESign::Either, "a word");
      Put(statement, offset++, bWhole ? field : field << 8);
    } while (tokens.AcceptSymbol(","));
    tokens.ExpectEnd();
  }

  void EmitExpectation(CTokens& tokens, const SStatement& statement) {
    tokens.Next();
    const i64 here = std::max<i64>(statement.address, 0);
    const i64 address = Evaluate(tokens, symbols_, here);
    SExpectation expectation{statement.line->place, 0, {}};
    expectation.address = FitField(address, kAddressBits, ESign::Unsigned, "an address");
    while (tokens.AcceptSymbol(",")) {
      const i64 word = Evaluate(tokens, symbols_, here);
      expectation.words.push_back(FitField(word, 24, ESign::Unsigned, "a word"));
    }
    tokens.ExpectEnd();
    if (expectation.words.empty()) throw CSourceError(".EXPECT takes an address and words.");
    expectations_.push_back(std::move(expectation));
  }

  // --- The whole -------------------------------------------------------------------------------

  void Finish(const std::string& path) {
    if (!diagnostics.HasErrors()) {
      for (const SExpectation& expectation : expectations_) {
        Guard(expectation.place, [&] { Compare(expectation); });
      }
      CheckProgram(placed_, program_.image, diagnostics);
      if (program_.image.IsEmpty()) diagnostics.Error({path, 0}, "the source makes no words.");
    }
    for (const auto& [name, symbol] : symbols_.All()) {
      program_.symbols.push_back({name, symbol.kind, symbol.value});
    }
    std::sort(program_.symbols.begin(), program_.symbols.end(),
              [](const SNamedValue& a, const SNamedValue& b) {
                return std::tie(a.value, a.name) < std::tie(b.value, b.name);
              });
  }

  void Compare(const SExpectation& expectation) {
    for (size_t i = 0; i < expectation.words.size(); ++i) {
      const u32 address = expectation.address + static_cast<u32>(i);
      const std::optional<u32> word = program_.image.WordAt(address);
      if (word == expectation.words[i]) continue;
      throw CSourceError("address " + Hex(address, 4) + " is to hold " +
                         Hex(expectation.words[i], 6) + ", but holds " +
                         (word ? Hex(*word, 6) : std::string("nothing")) + ".");
    }
  }

  SProgram& program_;
  CSymbols symbols_;
  std::vector<SStatement> statements_;
  std::vector<SExpectation> expectations_;
  std::vector<SPlacedInstruction> placed_;
  const SSourceLine* firstLine_ = nullptr;
  EBus bus_ = EBus::Program;
  i64 codeAt_ = kNowhere;
  i64 dataAt_ = kNowhere;
  bool bAllowMissing_;
};

// The passes meet a line more than once; a reader goes from its top to its end.
std::vector<SDiagnostic> InSourceOrder(std::vector<SDiagnostic> all,
                                       const std::vector<std::string>& files) {
  const auto rank = [&files](const SDiagnostic& diagnostic) {
    const auto file = std::find(files.begin(), files.end(), diagnostic.place.file);
    return std::make_pair(file - files.begin(), diagnostic.place.line);
  };
  std::stable_sort(all.begin(), all.end(), [&rank](const SDiagnostic& a, const SDiagnostic& b) {
    return rank(a) < rank(b);
  });
  return all;
}

}  // namespace

SProgram Assemble(const std::string& path, const SAssembleOptions& options,
                  const SourceReader& read) {
  SProgram program;
  CAssembler assembler(options, program);
  try {
    assembler.Run(path, options, read);
  } catch (const CDiagnostics::STooMany&) {
  }
  program.files = assembler.sources.files;
  program.bGood = !assembler.diagnostics.HasErrors();
  program.diagnostics = InSourceOrder(assembler.diagnostics.All(), program.files);
  return program;
}

}  // namespace vx::adsp
