#include "tests/house/IncludeRules.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>

namespace vx::test {
namespace {

const std::vector<std::string> kComponent = {"base/",   "plugin/", "machine/", "mips3/",
                                             "blocks/", "sound/",  "devices/", "script/"};

// clang-format off
const SIncludeRule kRules[] = {
    // files                 may include
    {"base/",                {"base/"}},
    {"plugin/Quillon.h",     {"base/Types.h", "base/StateStream.h", "base/PackFormat.h"}},
    {"plugin/HeldImages.h",  {"base/Types.h"}},
    {"plugin/",              kComponent},
    {"machine/",             {"base/", "plugin/Quillon.h", "machine/", "mips3/", "blocks/", "sound/",
                              "devices/", "script/"}},
    {"mips3/",               {"base/", "plugin/Quillon.h", "machine/", "mips3/", "blocks/"}},
    {"blocks/",              {"base/", "plugin/Quillon.h", "machine/", "mips3/", "blocks/"}},
    {"blocks/Formats.h",     {"base/"}},
    {"blockgen/",            {"base/", "mips3/OpTable", "mips3/Context.h", "mips3/AddressMap.h",
                              "blocks/Formats.h", "blockgen/"}},
    {"sound/",               {"base/", "machine/EventQueue.h", "sound/"}},
    {"devices/",             {"base/", "plugin/Quillon.h", "machine/", "devices/"}},
    {"script/",              {"base/", "plugin/Quillon.h", "machine/", "mips3/", "blocks/", "sound/",
                              "devices/", "script/"}},
    {"host/",                {"plugin/Quillon.h", "host/"}},
    {"tools/",               {"base/", "plugin/Quillon.h", "mips3/OpTable", "mips3/Disassembler",
                              "tools/"}},
    {"tools/embed/",         {"base/", "plugin/HeldImages.h", "tools/"}},
    {"guest/",               {"guest/"}, false, true},
    {"tests/",               {}, true},
    {"bench/",               {}, true},
    {"fuzz/",                {}, true},
};
// clang-format on

bool IsSource(const std::filesystem::path& path) {
  static const std::set<std::string> kExtensions = {".h", ".hpp", ".inc", ".c", ".cpp", ".S"};
  return kExtensions.contains(path.extension().string());
}

bool IsSkippedFolder(const std::string& name) {
  return name.starts_with('.') || name.starts_with("build") || name == "out";
}

std::vector<std::string> SourcesBelow(const std::filesystem::path& root) {
  std::vector<std::string> files;
  for (const auto& top : std::filesystem::directory_iterator(root)) {
    if (top.is_regular_file() && IsSource(top.path())) {
      files.push_back(top.path().filename().string());
    }
    if (!top.is_directory() || IsSkippedFolder(top.path().filename().string())) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(top.path())) {
      if (!entry.is_regular_file() || !IsSource(entry.path())) continue;
      files.push_back(std::filesystem::relative(entry.path(), root).generic_string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

const SIncludeRule* RuleFor(const std::string& file, std::span<const SIncludeRule> rules) {
  const SIncludeRule* best = nullptr;
  for (const SIncludeRule& rule : rules) {
    const bool bFits = file.starts_with(rule.files);
    if (bFits && (!best || rule.files.size() > best->files.size())) best = &rule;
  }
  return best;
}

// Whether an included name leads into one of the folders that the rules speak of.
bool IsOurs(const std::string& name, std::span<const SIncludeRule> rules) {
  return std::any_of(rules.begin(), rules.end(), [&name](const SIncludeRule& rule) {
    return name.starts_with(rule.files.substr(0, rule.files.find('/') + 1));
  });
}

struct SInclude {
  char opening;  // " or <
  std::string name;
};

// The include that a line holds, if any.
std::optional<SInclude> ReadInclude(const std::string& line) {
  constexpr const char* kBlanks = " \t";
  std::size_t at = line.find_first_not_of(kBlanks);
  if (at == std::string::npos || line[at] != '#') return std::nullopt;
  at = line.find_first_not_of(kBlanks, at + 1);
  const std::string kWord = "include";
  if (at == std::string::npos || line.compare(at, kWord.size(), kWord) != 0) return std::nullopt;
  at = line.find_first_not_of(kBlanks, at + kWord.size());
  if (at == std::string::npos || (line[at] != '"' && line[at] != '<')) return std::nullopt;
  const std::size_t end = line.find_first_of("\">", at + 1);
  if (end == std::string::npos) return std::nullopt;
  return SInclude{line[at], line.substr(at + 1, end - at - 1)};
}

// What is wrong with one include of a file, or an empty text.
std::string Judge(const SIncludeRule& rule, const SInclude& include,
                  std::span<const SIncludeRule> rules) {
  const std::string& name = include.name;
  if (rule.bMayIncludeAnything) return {};
  if (name.find("..") != std::string::npos) return name + " leaves its folder by \"..\"";
  if (!IsOurs(name, rules)) {
    if (include.opening == '<' || rule.bLocalNames) return {};
    return name + " is not written from the root of the repository";
  }
  const bool bAllowed =
      std::any_of(rule.mayInclude.begin(), rule.mayInclude.end(),
                  [&name](const std::string& allowed) { return name.starts_with(allowed); });
  return bAllowed ? std::string() : rule.files + " may not include " + name;
}

}  // namespace

std::span<const SIncludeRule> HouseIncludeRules() { return kRules; }

std::vector<SIncludeFault> FindIncludeFaults(const std::filesystem::path& root,
                                             std::span<const SIncludeRule> rules) {
  std::vector<SIncludeFault> faults;
  for (const std::string& file : SourcesBelow(root)) {
    const SIncludeRule* rule = RuleFor(file, rules);
    if (!rule) {
      faults.push_back({file, 0, "no rule says what this file may include"});
      continue;
    }
    std::ifstream stream(root / file);
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
      const std::optional<SInclude> include = ReadInclude(line);
      if (!include) continue;
      const std::string what = Judge(*rule, *include, rules);
      if (!what.empty()) faults.push_back({file, number, what});
    }
  }
  return faults;
}

}  // namespace vx::test
