#include "tools/adspasm/Diagnostics.h"

#include <cstdio>

namespace vx::adsp {

namespace {

constexpr u32 kLastLine = 0xFFFFFFFF;  // sorts behind all others, and is not told

}  // namespace

std::string InWords(const SPlace& place) {
  return place.line != 0 ? place.file + ", line " + std::to_string(place.line) : place.file;
}

std::string ToText(const SDiagnostic& diagnostic) {
  const char* kind = diagnostic.severity == ESeverity::Error ? "error" : "warning";
  std::string place = diagnostic.place.file;
  if (diagnostic.place.line != 0 && diagnostic.place.line != kLastLine)
    place += ":" + std::to_string(diagnostic.place.line);
  return place + ": " + kind + ": " + diagnostic.sentence;
}

void CDiagnostics::Error(const SPlace& place, const std::string& sentence) {
  if (errors_ == kMostErrors) {
    const SPlace behindAll{place.file, kLastLine};
    all_.push_back({behindAll, ESeverity::Error, "there are more errors."});
    throw STooMany();
  }
  ++errors_;
  all_.push_back({place, ESeverity::Error, sentence});
}

void CDiagnostics::Warn(const SPlace& place, const std::string& sentence) {
  if (warnings_++ < kMostWarnings) all_.push_back({place, ESeverity::Warning, sentence});
}

std::string Hex(u64 value, u32 digits) {
  char text[32];
  std::snprintf(text, sizeof(text), "0x%0*llX", static_cast<int>(digits),
                static_cast<unsigned long long>(value));
  return text;
}

}  // namespace vx::adsp
