// A program's listing and symbol map as texts.
#include <cstdio>

#include "tools/adspasm/Assembler.h"

namespace vx::adsp {

namespace {

std::string Row(const SListedLine& line, size_t word) {
  char text[32];
  std::snprintf(text, sizeof(text), "%c %04X  %06X", line.bus == EBus::Program ? 'P' : 'D',
                line.address + static_cast<u32>(word), line.words[word]);
  return text;
}

}  // namespace

std::string ListingOf(const SProgram& program) {
  constexpr const char* kNoWord = "              ";
  std::string listing;
  const std::string* file = nullptr;
  for (const SListedLine& line : program.lines) {
    if (file == nullptr || *file != line.place.file) {
      file = &line.place.file;
      listing += "; " + *file + "\n";
    }
    char number[24];
    std::snprintf(number, sizeof(number), "%6u  ", line.place.line);
    listing += (line.words.empty() ? kNoWord : Row(line, 0)) + number + line.text + "\n";
    for (size_t i = 1; i < line.words.size(); ++i) listing += Row(line, i) + "\n";
  }
  return listing;
}

std::string SymbolMapOf(const SProgram& program) {
  static constexpr const char* kKinds[] = {"CODE", "DATA", "EQU"};
  std::string map;
  for (const SNamedValue& symbol : program.symbols) {
    char value[40];
    std::snprintf(value, sizeof(value), "%s%04llX", symbol.value < 0 ? "-" : "",
                  static_cast<unsigned long long>(symbol.value < 0 ? -symbol.value : symbol.value));
    map +=
        std::string(value) + " " + kKinds[static_cast<u32>(symbol.kind)] + " " + symbol.name + "\n";
  }
  return map;
}

}  // namespace vx::adsp
