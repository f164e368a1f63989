// Sources in memory for tests of the sound processor's assembler.
#pragma once

#include <cctype>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tools/adspasm/Assembler.h"
#include "tools/adspasm/Statement.h"

namespace vx::test {

inline constexpr const char* kSourceName = "test.dsp";

inline adsp::SProgram AssembleFiles(const std::map<std::string, std::string>& files,
                                    adsp::SAssembleOptions options = {}) {
  return adsp::Assemble(
      kSourceName, options, [&files](const std::string& path) -> std::optional<std::string> {
        const auto found = files.find(std::filesystem::path(path).lexically_normal().string());
        if (found == files.end()) return std::nullopt;
        return found->second;
      });
}

inline adsp::SProgram AssembleText(const std::string& text, bool bAllowMissing = false) {
  adsp::SAssembleOptions options;
  options.bAllowMissing = bAllowMissing;
  return AssembleFiles({{kSourceName, text}}, options);
}

// All that was said, a line each, without the source's name.
inline std::vector<std::string> SaidOf(const adsp::SProgram& program) {
  const std::string prefix = std::string(kSourceName) + ":";
  std::vector<std::string> said;
  for (const adsp::SDiagnostic& diagnostic : program.diagnostics) {
    std::string text = ToText(diagnostic);
    said.push_back(text.starts_with(prefix) && std::isdigit(text[prefix.size()])
                       ? text.substr(prefix.size())
                       : text);
  }
  return said;
}

// The word of an instruction, or a number that no word has if it does not assemble.
inline constexpr u32 kNoWord = 0xFFFFFFFF;
inline u32 WordOf(const std::string& instruction, bool bAllowMissing = false) {
  try {
    const std::vector<adsp::SToken> line = adsp::SplitLine(instruction);
    adsp::CTokens tokens(line);
    adsp::CSymbols symbols;
    return adsp::AssembleInstruction(tokens, {symbols, 0, bAllowMissing}).word;
  } catch (const adsp::CSourceError&) {
    return kNoWord;
  }
}

}  // namespace vx::test
