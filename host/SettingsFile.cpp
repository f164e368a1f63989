#include "host/SettingsFile.h"

#include <filesystem>
#include <set>
#include <system_error>

#include "host/Folders.h"
#include "host/HostError.h"
#include "host/InputFile.h"
#include "host/OutputFile.h"
#include "host/TextLines.h"

namespace vx {

namespace fs = std::filesystem;

namespace {

constexpr u64 kMaxFileBytes = 1 << 20;

// The file itself where the name is a link to it, so that replacing keeps the link.
fs::path ResolveLinks(const std::string& path) {
  std::error_code error;
  const fs::path resolved = fs::canonical(path, error);
  return error ? fs::path(path) : resolved;
}

}  // namespace

void ReadSettingsFile(CSettings& settings, const std::string& path) {
  std::set<std::string> seen;
  for (const STextLine& line : SplitLines(ReadInputFile(path, kMaxFileBytes), path)) {
    const auto assignment = SplitAssignment(line);
    if (!assignment) FailLine(path, line.number, "a line reads KEY = VALUE");
    if (!seen.insert(assignment->name).second) {
      FailLine(path, line.number, assignment->name + " has a line of its own above");
    }
    std::string value;
    for (const std::string& word : assignment->words) value += (value.empty() ? "" : " ") + word;
    settings.Set(assignment->name + "=" + value, LinePlace(path, line.number));
  }
}

void WriteSettingsFile(const CSettings& settings, const std::string& path) {
  const fs::path target = ResolveLinks(path);
  const std::string folder = target.parent_path().string();
  if (!folder.empty() && !EnsureFolder(folder)) {
    throw CHostError(EExitCode::OutputFailed, folder + ": cannot be made a folder");
  }
  const std::string pending = target.string() + ".new";
  const std::string text = settings.FileText();
  std::error_code error;
  try {
    COutputFile file(pending);
    file.Write(text.data(), text.size());
    file.Sync();
    file.Close();
  } catch (...) {
    fs::remove(pending, error);
    throw;
  }
  fs::rename(pending, target, error);
  if (!error) return;
  const std::string reason = error.message();
  fs::remove(pending, error);
  throw CHostError(EExitCode::OutputFailed, path + ": cannot be replaced: " + reason);
}

}  // namespace vx
