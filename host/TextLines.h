// Files that people write by hand, line by line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

// A line with something on it: words apart by blanks, without the comment, which is a word that
// begins with "#" and all behind it.
struct STextLine {
  u32 number;  // from 1
  std::vector<std::string> words;
};

// Takes line ends of one or two characters. Throws CHostError (Usage) if the text holds bytes that
// no person writes: it names the file and the line.
std::vector<STextLine> SplitLines(std::string_view text, const std::string& path);

// "NAME = WORD WORD ...", with or without blanks around the "=".
struct STextAssignment {
  std::string name;
  std::vector<std::string> words;
};
std::optional<STextAssignment> SplitAssignment(const STextLine& line);

// "FILE:LINE: ", what a complaint about a line begins with, and the complaint itself.
std::string LinePlace(const std::string& path, u32 line);
[[noreturn]] void FailLine(const std::string& path, u32 line, const std::string& sentence);

}  // namespace vx
