// Source files with their includes, as one sequence of lines.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/adspasm/Tokens.h"

namespace vx::adsp {

// Answers a file's text, or nothing if it cannot be read.
using SourceReader = std::function<std::optional<std::string>(const std::string& path)>;

// Reads from the disk: regular files of up to kLargestSource bytes.
inline constexpr size_t kLargestSource = 4 << 20;
std::optional<std::string> ReadSourceFile(const std::string& path);

struct SSourceLine {
  SPlace place;
  std::string text;
  std::vector<SToken> tokens;  // empty where the line could not be taken apart
};

struct SSources {
  std::vector<SSourceLine> lines;
  std::vector<std::string> files;  // each once, in the order of their first use
};

// Follows ".INCLUDE"; names are relative to the file that includes, then to the folders in order.
// What is wrong goes to `diagnostics`, which can end the work by an exception; `sources` then holds
// what was read so far.
void ReadSources(const std::string& path, const std::vector<std::string>& folders,
                 const SourceReader& read, CDiagnostics& diagnostics, SSources& sources);

}  // namespace vx::adsp
