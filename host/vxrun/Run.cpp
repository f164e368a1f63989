#include "host/vxrun/Run.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <optional>
#include <thread>

#include "host/Bindings.h"
#include "host/Component.h"
#include "host/ControlsFile.h"
#include "host/Folders.h"
#include "host/FramePacer.h"
#include "host/HostServices.h"
#include "host/lua/Manual.h"
#include "host/PackCheck.h"
#include "host/Session.h"
#include "host/Settings.h"
#include "host/Text.h"
#include "host/vxrun/MovieDeck.h"
#include "host/vxrun/Outputs.h"
#include "host/vxrun/Progress.h"
#include "host/vxrun/RewindDeck.h"
#include "host/vxrun/RunAhead.h"
#include "host/vxrun/ScriptDeck.h"
#include "host/vxrun/Setup.h"
#include "host/vxrun/Stage.h"
#include "host/vxrun/StateDeck.h"
#include "host/vxrun/StopSignal.h"

namespace vx {

namespace {

// `ownFolder` is made where the run is not to meet what other runs have saved.
void PrepareServices(const SOptions& options, std::optional<CTemporaryFolder>& ownFolder) {
  CHostServices& services = CHostServices::Get();
  services.Log().SetVerbose(options.bVerbose);
  services.Panner().Enable(options.bSpatial);
  if (options.cacheFolder.empty()) {
    if (!CMovieDeck::IsNeeded(options)) return;
    ownFolder.emplace();
    services.SetCacheFolder(ownFolder->Path());
    return;
  }
  if (!EnsureFolder(options.cacheFolder)) {
    throw CHostError(EExitCode::OutputFailed, options.cacheFolder + ": cannot be made a folder");
  }
  services.SetCacheFolder(options.cacheFolder);
}

class CRun {
 public:
  CRun(const SOptions& options, const CStartClock& startClock, const CComponent& component,
       const std::vector<SBinding>& bindings, CMovieDeck* movies, const SStateOwner& owner)
      : options_(options),
        startClock_(startClock),
        component_(component),
        movies_(movies),
        outputs_(options),
        session_(component, Hooks()),
        states_(options, owner, session_, movies != nullptr ? EMovieRuns::Yes : EMovieRuns::No) {
    if (CScriptDeck::IsNeeded(options)) script_.emplace(options, component, session_);
    if (options.runAhead != 0) ahead_.emplace(session_, options.runAhead);
    if (options.bHeadless) return;
    video_.emplace();
    stage_.emplace(options, bindings, session_);
    if (options.rewindSeconds != 0 && movies == nullptr) {
      rewind_.emplace(session_, options.rewindSeconds, component.FrameRate());
    }
  }

  EExitCode Play(const SPackInfo& pack) {
    session_.Start(options_.packPath, pack);
    if (!options_.loadState.empty()) states_.LoadFrom(options_.loadState);
    if (script_) script_->Start();
    limit_ = FrameLimit();
    const u64 startNs = MonotonicNs();
    PlayFrames(startNs);
    if (const auto told = states_.Finish()) stage_->Tell(*told);
    const f64 seconds = static_cast<f64>(MonotonicNs() - startNs) / 1e9;
    Report(seconds);
    if (movies_ != nullptr) movies_->ThrowIfDesynced();
    const bool bCutShort = StopRequested() && limit_ != 0 && framesDone_ < limit_;
    return bCutShort ? EExitCode::Interrupted : EExitCode::Ok;
  }

 private:
  u64 FrameLimit() const {
    if (options_.seconds <= 0) {
      const bool bByMovie = options_.frames == 0 && movies_ != nullptr;
      return bByMovie ? movies_->MovieFrames() : options_.frames;
    }
    return static_cast<u64>(std::ceil(options_.seconds * component_.FrameRate()));
  }

  SSessionHooks Hooks() {
    return {
        .wantsPicture = [this] { return IsScripted() || IsShown() || IsKept(); },
        .onPicture =
            [this](const u32* pixels, u32 width, u32 height) {
              if (!IsScripted()) return TakePicture(pixels, pixels, width, height);
              script_->Engine().TakePicture(pixels, width, height);
            },
        .onSound = [this](const i16* samples, u32 count) { TakeSound(samples, count); },
        .onBranches =
            [this](const u32* pixelsA, const u32* pixelsB, u32 width, u32 height) {
              if (IsScripted()) script_->Engine().TakeBranches(pixelsA, pixelsB, width, height);
            },
    };
  }

  bool CountsFrame() const { return use_ == EFrameUse::Game || use_ == EFrameUse::GameUnseen; }
  // Whether the picture of the frame that runs goes to the window.
  bool IsShown() const {
    const bool bSeen = use_ != EFrameUse::GameUnseen && use_ != EFrameUse::Ahead;
    return bSeen && stage_ && stage_->WantsPicture();
  }
  // Whether it goes into a file.
  bool IsKept() const {
    const u64 frame = framesDone_ + 1;
    const bool bForState = !stage_ && !options_.saveState.empty() && frame == limit_;
    return CountsFrame() && (outputs_.WantsPicture(frame) || bForState);
  }

  // Whether the frame that runs is one of the script's.
  bool IsScripted() const { return script_ && use_ == EFrameUse::Game; }

  // `shown` is the board's picture with what a script has drawn over it.
  void TakePicture(const u32* pixels, const u32* shown, u32 width, u32 height) {
    const u64 frame = framesDone_ + 1;
    states_.TakePicture(pixels, width, height);
    if (IsShown()) stage_->TakePicture(frame, shown, width, height);
    if (CountsFrame() && outputs_.WantsPicture(frame)) {
      outputs_.TakePicture(frame, pixels, shown, width, height);
    }
  }

  // The script's part of a frame that has run.
  void EndScriptFrame() {
    CScriptEngine& engine = script_->Engine();
    engine.AfterFrame();
    if (!engine.Shown().empty()) {
      CQuillonMachineBase& machine = session_.Machine();
      TakePicture(engine.Taken().data(), engine.Shown().data(), machine.GetWidth(),
                  machine.GetHeight());
    }
    if (engine.TakePause() && stage_) stage_->Play().Pause();
  }

  void TakeSound(const i16* samples, u32 count) {
    if (!CountsFrame()) return;
    outputs_.TakeSound(samples, count, RateHz());
    if (stage_) stage_->TakeSound(samples, count, RateHz());
  }

  u32 RateHz() {
    const i64 rate = session_.SampleRate();
    return rate > 0 && rate <= 1'000'000 ? static_cast<u32>(rate) : 0;
  }

  void PlayFrames(u64 startNs) {
    CProgress progress;
    CFramePacer pacer(component_.FrameRate(), startNs);
    while (!StopRequested() && (limit_ == 0 || framesDone_ < limit_)) {
      if (stage_ && !stage_->HandleEvents()) break;
      if (stage_) TakeStateActions();
      const bool bBack = stage_ && rewind_ && stage_->Play().IsRewinding();
      const bool bRuns = bBack || !stage_ || stage_->Play().TakeFrame();
      if (bBack) {
        GoBack();
      } else if (bRuns && !PlayFrame()) {
        break;
      }
      if (stage_) stage_->Present(session_.DiskProgress());
      ShowProgress(progress);
      if (!bRuns) {
        stage_->Idle();
      } else if (stage_ && !options_.bUnthrottled && !stage_->Play().IsFast()) {
        pacer.SetRate(component_.FrameRate());
        const u64 waitNs = pacer.FinishFrame(MonotonicNs());
        if (waitNs != 0) std::this_thread::sleep_for(std::chrono::nanoseconds(waitNs));
      }
    }
  }

  // False if the run is to end with this frame.
  bool PlayFrame() {
    SMovieInput input = ReadInput();
    if (movies_ != nullptr) input = movies_->NextInput().value_or(input);
    if (script_) script_->Engine().BeforeFrame(input);
    std::array<SInputRecord, kHostPlayers> records{};
    for (u32 player = 0; player < kHostPlayers; ++player) {
      records[player].padBits = input.padBits[player];
      records[player].systemBits = input.systemBits[player];
    }
    if (input.bReset) session_.Reset();
    // Fast forward shows few pictures, and none of them is waited for.
    const bool bAhead = ahead_ && !(stage_ && stage_->Play().IsFast());
    use_ = bAhead ? EFrameUse::GameUnseen : EFrameUse::Game;
    session_.RunFrame(records.data(), kHostPlayers);
    if (script_) EndScriptFrame();
    ++framesDone_;
    outputs_.EndFrame(framesDone_, session_);
    if (rewind_) rewind_->EndFrame();
    if (bAhead) ahead_->Run(records.data(), kHostPlayers, use_);
    if (framesDone_ == 1 && options_.bTimeToFirstFrame) {
      std::printf("first frame after %.1f ms\n", startClock_.ElapsedMs());
    }
    const bool bStopped = script_ && script_->Engine().IsStopped();
    return (movies_ == nullptr || movies_->EndFrame(input, session_)) && !bStopped;
  }

  // A step of the rewind key.
  void GoBack() {
    if (!rewind_->StepBack()) return;
    use_ = EFrameUse::Back;
    const SInputRecord nothingHeld[kHostPlayers];
    session_.RunFrame(nothingHeld, kHostPlayers);
    use_ = EFrameUse::Game;
  }

  void TakeStateActions() {
    const auto tellEnd = [&] {
      if (const auto told = states_.Poll()) stage_->Tell(*told);
    };
    tellEnd();
    const u32 actions = stage_->Play().TakeStateActions();
    if (actions == 0) return;
    const auto on = [&](u32 action, auto&& call) {
      if ((actions & action) != 0) stage_->Tell(call());
    };
    on(kHostPreviousSlot, [&] { return states_.MoveSlot(-1); });
    on(kHostNextSlot, [&] { return states_.MoveSlot(1); });
    if ((actions & kHostSaveState) != 0) states_.Save();
    on(kHostLoadState, [&] { return states_.Load(); });
    on(kHostUndoLoad, [&] { return states_.UndoLoad(); });
    on(kHostUndoSave, [&] { return states_.UndoSave(); });
    on(kHostListStates, [&] { return states_.List(); });
    tellEnd();
    if ((actions & (kHostLoadState | kHostUndoLoad)) != 0) stage_->Play().ShowFrame();
  }

  // What the player holds now; nothing without a window.
  SMovieInput ReadInput() {
    SMovieInput input;
    if (!stage_) return input;
    std::array<SInputRecord, kHostPlayers> records{};
    stage_->ReadControls(records);
    for (u32 player = 0; player < kHostPlayers; ++player) {
      input.padBits[player] = records[player].padBits;
      input.systemBits[player] = records[player].systemBits;
    }
    input.bReset = stage_->Play().TakeReset();
    return input;
  }

  // A window tells the number of frames to nobody, but its disk too may take a while.
  void ShowProgress(CProgress& progress) {
    if (!progress.IsDue()) return;
    const SDiskProgress disk = session_.DiskProgress();
    const bool bShown = !stage_ || !disk.IsComplete();
    progress.Draw(bShown ? ProgressLine(framesDone_, limit_, disk) : "");
  }

  void Report(f64 seconds) {
    std::string written = outputs_.Finish(framesDone_, RateHz());
    if (movies_ != nullptr) written += movies_->Finish(session_);
    if (!options_.saveState.empty()) {
      written += "; state in " + states_.SaveTo(options_.saveState);
    }
    if (!stage_) std::printf("%s\n", written.c_str());
    if (!options_.bUnthrottled || framesDone_ == 0 || seconds <= 0) return;
    // The board spends one cycle on an instruction and more where it has to wait.
    const f64 framesPerSecond = static_cast<f64>(framesDone_) / seconds;
    const f64 realTimeFactor = framesPerSecond / component_.FrameRate();
    const f64 guestCyclesMillions = realTimeFactor * component_.ClockMHz();
    std::printf("%.1f frames/s, %.2f times real time, %.1f million guest cycles/s\n",
                framesPerSecond, realTimeFactor, guestCyclesMillions);
  }

  const SOptions& options_;
  const CStartClock& startClock_;
  const CComponent& component_;
  CMovieDeck* movies_;  // null without movies
  std::optional<CSdlVideo> video_;
  std::optional<CStage> stage_;
  COutputs outputs_;
  u64 framesDone_ = 0;
  u64 limit_ = 0;  // of frames; 0: none
  EFrameUse use_ = EFrameUse::Game;
  CSession session_;  // its hooks use the above
  CStateDeck states_;
  std::optional<CRewindDeck> rewind_;
  std::optional<CRunAhead> ahead_;
  std::optional<CScriptDeck> script_;
};

SStateOwner MakeOwner(const SOptions& options, const CComponent& component,
                      const CMovieDeck* movies) {
  SStateOwner owner;
  owner.pack = IdentifyPack(component, options.packPath);
  owner.machineHash = component.Table().GetMachineHash();
  owner.settings = CSettings(component.Table().GetSettings()).Assignments();
  if (movies != nullptr) {
    owner.config = movies->Config();
  } else {
    component.Table().SaveConfigBlob(&owner.config);
  }
  return owner;
}

}  // namespace

EExitCode Run(const SOptions& options, const CStartClock& startClock) {
  if (options.bScriptManual) {
    std::fputs(ScriptManual().c_str(), stdout);
    return EExitCode::Ok;
  }
  std::optional<CTemporaryFolder> ownFolder;
  PrepareServices(options, ownFolder);
  std::optional<SPackInfo> pack;
  if (!options.packPath.empty()) pack = CheckPack(options.packPath, PhysicalMemoryBytes());
  const CComponent component(options.componentPath);
  if (options.inputPath.empty()) TakeSettingsFile(options, component);
  TakeSettingOptions(options, component);
  std::vector<SBinding> bindings;
  const bool bWindow = pack && !options.bHeadless;
  if (bWindow || !options.controlsPath.empty() || options.bListControls) {
    bindings = LoadControls(options, component);
  }
  if (options.bSaveSettings) SaveSettings(options, component);
  if (options.bListSettings) {
    std::fputs(CSettings(component.Table().GetSettings()).Describe().c_str(), stdout);
  }
  if (options.bListControls) {
    std::fputs(DescribeControls(bindings, ListControls(component)).c_str(), stdout);
  }
  if (options.bListSettings || options.bListControls || !pack) return EExitCode::Ok;
  InstallStopSignals();
  std::optional<CMovieDeck> movies;
  if (CMovieDeck::IsNeeded(options)) {
    movies.emplace(options, component, IdentifyPack(component, options.packPath));
  }
  CMovieDeck* const deck = movies ? &*movies : nullptr;
  const SStateOwner owner = MakeOwner(options, component, deck);
  if (options.bListStates) {
    std::fputs(ListStates(options, owner).c_str(), stdout);
    return EExitCode::Ok;
  }
  CRun run(options, startClock, component, bindings, deck, owner);
  return run.Play(*pack);
}

}  // namespace vx
