#include "host/ControlsFile.h"

#include <algorithm>

#include "host/HostError.h"
#include "host/InputFile.h"
#include "host/Text.h"
#include "host/TextLines.h"

namespace vx {

namespace {

constexpr u64 kMaxFileBytes = 1 << 20;
constexpr std::string_view kKeyPrefix = "key:";
constexpr std::string_view kPadPrefix = "pad";

std::string WordOf(const SSource& source) {
  std::string name = source.name;
  std::ranges::replace(name, ' ', '_');
  if (source.pad == 0) return std::string(kKeyPrefix) + name;
  return Format("pad%u:%s", source.pad, name.c_str());
}

std::optional<SSource> ParseSource(std::string_view word) {
  if (word.starts_with(kKeyPrefix)) {
    SSource source{0, std::string(word.substr(kKeyPrefix.size()))};
    std::ranges::replace(source.name, '_', ' ');
    return source;
  }
  if (!word.starts_with(kPadPrefix) || word.size() < 5 || word[4] != ':') return std::nullopt;
  const u32 pad = static_cast<u32>(word[3] - '0');
  if (pad < 1 || pad > kHostPlayers) return std::nullopt;
  return SSource{pad, std::string(word.substr(5))};
}

class CControlsReader {
 public:
  CControlsReader(const std::string& path, const std::vector<SControl>& controls,
                  const FSourceIsKnown& isKnown)
      : path_(path), controls_(controls), isKnown_(isKnown) {}

  void Take(const STextLine& line, std::vector<SBinding>& bindings) {
    const std::optional<STextAssignment> assignment = SplitAssignment(line);
    if (!assignment) FailLine(path_, line.number, "a line reads CONTROL = INPUT INPUT ...");
    const std::optional<SControl> control = FindControl(assignment->name, controls_);
    if (!control) {
      FailLine(path_, line.number,
               "there is no control " + assignment->name + "; --list-controls shows them all");
    }
    if (std::ranges::find(seen_, *control) != seen_.end()) {
      FailLine(path_, line.number, assignment->name + " has a line of its own above");
    }
    seen_.push_back(*control);
    std::erase_if(bindings, [&](const SBinding& binding) { return binding.control == *control; });
    for (const std::string& word : assignment->words) {
      bindings.push_back({*control, TakeSource(line.number, word)});
    }
  }

 private:
  SSource TakeSource(u32 line, const std::string& word) const {
    const std::optional<SSource> source = ParseSource(word);
    if (!source) FailLine(path_, line, word + " is neither key:NAME nor pad1:PART nor pad2:PART");
    if (!isKnown_(*source)) {
      FailLine(path_, line,
               word + (source->pad == 0 ? " names no key" : " names no part of a controller"));
    }
    return *source;
  }

  const std::string& path_;
  const std::vector<SControl>& controls_;
  const FSourceIsKnown& isKnown_;
  std::vector<SControl> seen_;
};

}  // namespace

void ReadControlsFile(std::vector<SBinding>& bindings, const std::string& path,
                      const std::vector<SControl>& controls, const FSourceIsKnown& isKnown) {
  std::vector<SBinding> changed = bindings;
  CControlsReader reader(path, controls, isKnown);
  for (const STextLine& line : SplitLines(ReadInputFile(path, kMaxFileBytes), path)) {
    reader.Take(line, changed);
  }
  bindings = std::move(changed);
}

std::string DescribeControls(const std::vector<SBinding>& bindings,
                             const std::vector<SControl>& controls) {
  std::string text =
      "# Controls of vxrun: CONTROL = INPUT INPUT ...\n"
      "# An input is key:NAME, pad1:PART or pad2:PART. A control without an input has none; one\n"
      "# without a line keeps its default. A blank in a key's name is written \"_\".\n";
  std::string group;
  for (const SControl& control : controls) {
    const std::string name = ControlName(control);
    const std::string prefix = name.substr(0, name.find(':'));
    if (prefix != group) text += "\n";
    group = prefix;
    text += Format("%-15s =", name.c_str());
    for (const SBinding& binding : bindings) {
      if (binding.control == control) text += " " + WordOf(binding.source);
    }
    text += "\n";
  }
  return text;
}

}  // namespace vx
