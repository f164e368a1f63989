// What the assembler has to say about a source: errors and warnings with file and line.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "base/Types.h"

namespace vx::adsp {

// A place in the sources. Line 0 speaks of the file as a whole.
struct SPlace {
  std::string file;
  u32 line = 0;
};

// "file, line 3", for the middle of a sentence.
std::string InWords(const SPlace& place);

enum class ESeverity : u32 { Error, Warning };

struct SDiagnostic {
  SPlace place;
  ESeverity severity;
  std::string sentence;
};

// "file:line: error: sentence"
std::string ToText(const SDiagnostic& diagnostic);

// Ends the statement under way with a sentence; the assembler adds the place and goes on with the
// next line.
class CSourceError : public std::runtime_error {
 public:
  explicit CSourceError(const std::string& sentence) : std::runtime_error(sentence) {}
};

// Gathers up to kMostErrors errors, then refuses more by an exception of its own.
class CDiagnostics {
 public:
  static constexpr u32 kMostErrors = 100;
  static constexpr u32 kMostWarnings = 100;
  struct STooMany {};

  void Error(const SPlace& place, const std::string& sentence);  // throws STooMany
  void Warn(const SPlace& place, const std::string& sentence);
  bool HasErrors() const { return errors_ != 0; }
  // In the order in which they were met.
  const std::vector<SDiagnostic>& All() const { return all_; }

 private:
  std::vector<SDiagnostic> all_;
  u32 errors_ = 0;
  u32 warnings_ = 0;
};

// "0x" and at least this many hexadecimal digits.
std::string Hex(u64 value, u32 digits);

}  // namespace vx::adsp
