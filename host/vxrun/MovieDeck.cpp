#include "host/vxrun/MovieDeck.h"

#include <filesystem>
#include <system_error>

#include "host/HostError.h"
#include "host/HostServices.h"
#include "host/Settings.h"
#include "host/Text.h"
#include "host/vxrun/Setup.h"

namespace vx {

namespace {

constexpr f64 kPowerOnClockMs = 1000.0;

unsigned long long Wide(u64 value) { return value; }

}  // namespace

bool CMovieDeck::IsNeeded(const SOptions& options) {
  return !options.inputPath.empty() || !options.recordPath.empty();
}

CMovieDeck::CMovieDeck(const SOptions& options, const CComponent& component, const SPackMark& pack)
    : component_(component), clockMs_(kPowerOnClockMs) {
  if (!options.inputPath.empty()) {
    movie_ = ReadMovie(options.inputPath, ListControls(component));
    CheckMoviePack(*movie_, options.packPath, pack);
    player_.emplace(*movie_);
    TakeMovieSettings(options, component);
  } else {
    component.Table().SaveConfigBlob(&config_);
  }
  if (!options.recordPath.empty()) StartRecording(options, component, pack);
  CHostServices::Get().SetBoardClock(clockMs_);
}

CMovieDeck::~CMovieDeck() {
  CHostServices::Get().LockConfig(false);
  CHostServices::Get().UseRealClock();
}

void CMovieDeck::TakeMovieSettings(const SOptions& options, const CComponent& component) {
  const SMachineTable& table = component.Table();
  table.ResetSettings();
  CSettings settings(table.GetSettings());
  for (const SMovieSetting& setting : movie_->settings) {
    settings.Set(setting.assignment, setting.origin);
  }
  TakeSettingOptions(options, component);
  table.SaveConfigBlob(&config_);
  if (movie_->config) config_ = *movie_->config;
  if (!table.LoadConfigBlob(&config_, sizeof(config_))) {
    throw CHostError(EExitCode::MovieUnusable,
                     movie_->path + ": holds settings that the component does not take");
  }
  CHostServices::Get().LockConfig(true);
}

void CMovieDeck::StartRecording(const SOptions& options, const CComponent& component,
                                const SPackMark& pack) {
  for (const std::string& other : {options.inputPath, options.packPath}) {
    std::error_code error;
    if (other.empty() || !std::filesystem::equivalent(options.recordPath, other, error)) continue;
    throw CHostError(EExitCode::Usage,
                     "--record-input " + options.recordPath + ": would write over " + other);
  }
  const CSettings settings(component.Table().GetSettings());
  writer_.emplace(options.recordPath, pack, config_, settings.Assignments());
}

std::optional<SMovieInput> CMovieDeck::NextInput() {
  // The clock stands while the frame runs.
  clockMs_ += 1000.0 / component_.FrameRate();
  CHostServices::Get().SetBoardClock(clockMs_);
  if (!player_ || player_->HasEnded()) return std::nullopt;
  return player_->TakeFrame();
}

bool CMovieDeck::EndFrame(const SMovieInput& input, CSession& session) {
  ++framesDone_;
  if (writer_) writer_->Add(input, [&] { return session.HashMachine(); });
  if (!player_ || framesDone_ > movie_->frames) return true;
  const std::optional<u64> expected = player_->ExpectedHash();
  if (!expected || *expected == session.HashMachine()) return true;
  desync_ =
      Format("the machine is not in the recorded state after frame %llu; ", Wide(framesDone_));
  desync_ += player_->LastCheckedFrame() == 0
                 ? "no state matched before"
                 : Format("it last was after frame %llu", Wide(player_->LastCheckedFrame()));
  return false;
}

std::string CMovieDeck::Finish(CSession& session) {
  std::string text;
  if (player_) {
    text += Format("; input from %s, %llu of %llu frames", movie_->path.c_str(),
                   Wide(std::min(framesDone_, movie_->frames)), Wide(movie_->frames));
    if (!movie_->bWhole) text += " (its recording was interrupted)";
    if (!movie_->checks.empty() && desync_.empty()) {
      text += Format(", %llu states as recorded", Wide(player_->CheckCount()));
    }
  }
  if (writer_) {
    writer_->Finish([&] { return session.HashMachine(); });
    text +=
        Format("; input of %llu frames in %s", Wide(writer_->Frames()), writer_->Path().c_str());
  }
  return text;
}

void CMovieDeck::ThrowIfDesynced() const {
  if (desync_.empty()) return;
  throw CHostError(EExitCode::Desync, movie_->path + ": " + desync_);
}

SPackMark IdentifyPack(const CComponent& component, const std::string& path) {
  CSession::CheckPackName(path);
  SPackMark pack;
  if (component.Table().IdentifyPack(&pack.hash, &pack.bytes, ToWide(path).c_str()) == 0) {
    throw CHostError(EExitCode::NotAPack, path + ": is no pack to the component");
  }
  return pack;
}

}  // namespace vx
