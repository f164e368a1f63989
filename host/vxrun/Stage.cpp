#include "host/vxrun/Stage.h"

#include <cstdio>
#include <filesystem>

#include "host/Folders.h"
#include "host/HostError.h"
#include "host/PngFile.h"
#include "host/vxrun/StartClock.h"

namespace vx {

namespace {
constexpr u64 kFastShowEveryNs = 16'000'000;  // fast forward shows no more than a screen can
constexpr i32 kIdleMs = 20;
constexpr u64 kTellNs = 2'500'000'000;
}  // namespace

CStage::CStage(const SOptions& options, const std::vector<SBinding>& bindings, CSession& session)
    : options_(options),
      packName_(std::filesystem::path(options.packPath).filename().string()),
      machine_(session.Machine()),
      window_(packName_ + " - vxrun", machine_.GetWidth(), machine_.GetHeight(), options.scale),
      controls_(bindings) {}

bool CStage::HandleEvents() {
  if (!window_.HandleEvents(controls_, audio_)) return false;
  controls_.Poll();
  play_.Take(controls_.HostPressed(), controls_.HostHeld());
  audio_.SetMuted(play_.IsMuted());
  return !play_.IsLeft();
}

void CStage::ReadControls(std::array<SInputRecord, kHostPlayers>& records) {
  controls_.Read(records);
  constexpr i8 kDropOpposites = 0;
  for (SInputRecord& record : records) {
    machine_.FilterDirections(&record.padBits, kDropOpposites);
  }
}

bool CStage::WantsPicture() const {
  return !play_.IsFast() || MonotonicNs() - shownNs_ >= kFastShowEveryNs;
}

void CStage::TakePicture(u64 frame, const u32* pixels, u32 width, u32 height) {
  picture_.assign(pixels, pixels + std::size_t{width} * height);
  pictureWidth_ = width;
  pictureFrame_ = frame;
  window_.TakePicture(pixels, width, height);
}

void CStage::TakeSound(const i16* samples, u32 count, u32 rateHz) {
  const bool bFree = play_.IsFast() || options_.bUnthrottled;
  audio_.Play(samples, count, rateHz, bFree ? ESoundPace::Free : ESoundPace::RealTime);
}

void CStage::Tell(const std::string& text) {
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
  told_ = text.substr(0, text.find('\n'));
  toldUntilNs_ = MonotonicNs() + kTellNs;
}

void CStage::Present(const SDiskProgress& disk) {
  if (play_.TakeScreenshot()) SaveScreenshot();
  const bool bTells = MonotonicNs() < toldUntilNs_;
  window_.SetTitle(WindowTitle(packName_, play_, disk) + (bTells ? " - " + told_ : ""));
  if (!WantsPicture()) return;
  shownNs_ = MonotonicNs();
  window_.Present();
}

void CStage::Idle() { window_.WaitForEvent(kIdleMs); }

void CStage::SaveScreenshot() {
  if (picture_.empty()) return;
  const std::string& folder = options_.screenshotFolder;
  const std::string stem = std::filesystem::path(packName_).stem().string();
  const u32 height = static_cast<u32>(picture_.size()) / pictureWidth_;
  // A picture that cannot be kept is no reason to end a game.
  try {
    if (!folder.empty() && !EnsureFolder(folder)) {
      throw CHostError(EExitCode::OutputFailed, folder + ": cannot be made a folder");
    }
    const std::string path = FreePicturePath(folder, stem, pictureFrame_);
    WritePng(path, picture_.data(), pictureWidth_, height);
    std::printf("screenshot: %s\n", path.c_str());
    std::fflush(stdout);
  } catch (const CHostError& error) {
    std::fprintf(stderr, "vxrun: %s\n", error.what());
  }
}

}  // namespace vx
