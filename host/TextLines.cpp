#include "host/TextLines.h"

#include <algorithm>

#include "host/HostError.h"
#include "host/Text.h"

namespace vx {

namespace {

constexpr std::string_view kBlanks = " \t\r";

bool IsReadable(std::string_view line) {
  const bool bNoControls = std::ranges::none_of(line, [](char character) {
    const u8 byte = static_cast<u8>(character);
    return byte == 0x7F || (byte < 0x20 && character != '\t' && character != '\r');
  });
  return bNoControls && IsUtf8(line);
}

std::vector<std::string> SplitWords(std::string_view line) {
  std::vector<std::string> words;
  for (;;) {
    const std::size_t start = line.find_first_not_of(kBlanks);
    if (start == std::string_view::npos || line[start] == '#') return words;
    line.remove_prefix(start);
    const std::size_t end = std::min(line.find_first_of(kBlanks), line.size());
    words.emplace_back(line.substr(0, end));
    line.remove_prefix(end);
  }
}

}  // namespace

std::vector<STextLine> SplitLines(std::string_view text, const std::string& path) {
  std::vector<STextLine> lines;
  for (u32 number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    if (!IsReadable(line)) FailLine(path, number, "is not plain text");
    std::vector<std::string> words = SplitWords(line);
    if (!words.empty()) lines.push_back({number, std::move(words)});
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

std::optional<STextAssignment> SplitAssignment(const STextLine& line) {
  STextAssignment assignment;
  std::size_t next = 0;
  std::string first = line.words[next++];
  if (first.find('=') == std::string::npos && next < line.words.size()) {
    if (!line.words[next].starts_with('=')) return std::nullopt;
    first += line.words[next++];
  }
  const std::size_t equals = first.find('=');
  if (equals == std::string::npos || equals == 0) return std::nullopt;
  assignment.name = first.substr(0, equals);
  if (equals + 1 < first.size()) assignment.words.push_back(first.substr(equals + 1));
  assignment.words.insert(assignment.words.end(),
                          line.words.begin() + static_cast<std::ptrdiff_t>(next), line.words.end());
  return assignment;
}

std::string LinePlace(const std::string& path, u32 line) { return path + Format(":%u: ", line); }

void FailLine(const std::string& path, u32 line, const std::string& sentence) {
  throw CHostError(EExitCode::Usage, LinePlace(path, line) + sentence);
}

}  // namespace vx
