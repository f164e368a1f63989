#include "host/StateSlots.h"

#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "host/Folders.h"
#include "host/HostError.h"
#include "host/InputFile.h"
#include "host/OutputFile.h"
#include "host/Text.h"

namespace vx {

namespace {

[[noreturn]] void FailWrite(const std::string& path) {
  throw CHostError(EExitCode::OutputFailed, path + ": cannot be written: " + std::strerror(errno));
}

void Rename(const std::string& from, const std::string& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0) FailWrite(to);
}

// The file gets a second name, so that its own is never without one. A folder that knows no second
// names gets a moment without the file instead.
void KeepBefore(const std::string& path) {
  const std::string step = PathBefore(path) + ".new";
  unlink(step.c_str());
  if (link(path.c_str(), step.c_str()) == 0) {
    Rename(step, PathBefore(path));
  } else {
    Rename(path, PathBefore(path));
  }
}

// Whatever else is there is somebody's, and stays.
void CheckReplaceable(const std::string& path) {
  try {
    if (IsStateFile(ReadInputFile(path, kMaxStateFileBytes))) return;
  } catch (const CHostError&) {
  }
  throw CHostError(EExitCode::OutputFailed, path + ": is no saved state, and is not written over");
}

std::string TimeText(i64 seconds) {
  const std::time_t time = seconds;
  std::tm parts{};
  char text[32] = "";
  if (localtime_r(&time, &parts) != nullptr) {
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &parts);
  }
  return text;
}

std::string Describe(const std::string& path, const SStateOwner& run) {
  if (!PathExists(path)) return "empty";
  try {
    const std::string bytes = ReadInputFile(path, kMaxStateFileBytes);
    const SSavedState state = ParseStateHead(bytes, path);
    const std::string why = WhyStateDoesNotFit(state.owner, run);
    return TimeText(state.savedAtSeconds) +
           Format(", frame %llu", static_cast<unsigned long long>(state.frame)) +
           (why.empty() ? "" : "; " + why);
  } catch (const CHostError& error) {
    const std::string sentence = error.what();
    return sentence.starts_with(path + ": ") ? sentence.substr(path.size() + 2) : sentence;
  }
}

}  // namespace

std::string PathBefore(const std::string& path) { return path + ".before"; }

CStateSlots::CStateSlots(std::string folder, const std::string& packPath)
    : folder_(std::move(folder)), stem_(std::filesystem::path(packPath).stem().string()) {}

std::string CStateSlots::PathOf(u32 slot) const {
  return folder_ + stem_ + Format(".%u.vxstate", slot);
}

std::string CStateSlots::PathOf(const std::string& slotOrFile) const {
  const bool bSlot = slotOrFile.size() == 1 && slotOrFile[0] >= '0' && slotOrFile[0] <= '9';
  return bSlot ? PathOf(static_cast<u32>(slotOrFile[0] - '0')) : slotOrFile;
}

void CStateSlots::Save(const std::string& path, const SSavedState& state) {
  if (path.starts_with(folder_) && !EnsureFolder(folder_)) {
    throw CHostError(EExitCode::OutputFailed, folder_ + ": cannot be made a folder");
  }
  const bool bReplaces = PathExists(path);
  if (bReplaces) CheckReplaceable(path);
  const std::string bytes = PackState(state);
  const std::string fresh = path + ".new";
  try {
    COutputFile file(fresh);
    file.Write(bytes.data(), bytes.size());
    file.Sync();
    file.Close();
    if (bReplaces) KeepBefore(path);
    Rename(fresh, path);
  } catch (const CHostError&) {
    unlink(fresh.c_str());
    throw;
  }
  lastSaved_ = path;
  bReplaced_ = bReplaces;
}

SSavedState CStateSlots::Load(const std::string& path) {
  return ParseState(ReadInputFile(path, kMaxStateFileBytes), path);
}

bool CStateSlots::UndoSave() {
  if (lastSaved_.empty()) return false;
  if (bReplaced_) {
    Rename(PathBefore(lastSaved_), lastSaved_);
  } else if (unlink(lastSaved_.c_str()) != 0) {
    FailWrite(lastSaved_);
  }
  lastSaved_.clear();
  return true;
}

std::string CStateSlots::List(const SStateOwner& run) const {
  std::string text;
  for (u32 slot = 0; slot < kStateSlots; ++slot) {
    text += Format("%u  %s\n", slot, Describe(PathOf(slot), run).c_str());
  }
  return text;
}

}  // namespace vx
