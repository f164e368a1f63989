#include "host/vxrun/StateDeck.h"

#include <chrono>
#include <ctime>
#include <utility>

#include "host/Folders.h"
#include "host/HostError.h"
#include "host/PngFile.h"
#include "host/Text.h"

namespace vx {

namespace {

std::string FolderOf(const SOptions& options) {
  std::string folder = options.stateFolder.empty() ? DefaultStateFolder() : options.stateFolder;
  if (folder.back() != '/') folder.push_back('/');
  return folder;
}

// A sentence in any case.
template <typename TCall>
std::string Tell(TCall&& call) {
  try {
    return call();
  } catch (const CHostError& error) {
    return error.what();
  }
}

}  // namespace

CStateDeck::CStateDeck(const SOptions& options, const SStateOwner& owner, CSession& session,
                       EMovieRuns movieRuns)
    : packPath_(options.packPath),
      owner_(owner),
      session_(session),
      movieRuns_(movieRuns),
      slots_(FolderOf(options), options.packPath) {}

void CStateDeck::TakePicture(const u32* pixels, u32 width, u32 height) {
  picture_.assign(pixels, pixels + std::size_t{width} * height);
  pictureWidth_ = width;
}

void CStateDeck::CheckMayLoad() const {
  if (movieRuns_ == EMovieRuns::No) return;
  throw CHostError(EExitCode::Usage,
                   packPath_ + ": no state is loaded while a movie is played or recorded");
}

// A component that refuses a state may have taken half of it, so that the state before is put back.
void CStateDeck::Go(std::span<const u8> stream, const std::string& path) {
  CStateBuffer before;
  session_.SaveState(before, true);
  if (!session_.LoadState(stream, before.Stream())) {
    session_.LoadState(before.Stream());
    throw CHostError(EExitCode::StateUnusable, path + ": is refused by the component");
  }
  beforeLoad_ = std::move(before);
}

void CStateDeck::LoadFrom(const std::string& slotOrFile) {
  CheckMayLoad();
  const std::string path = slots_.PathOf(slotOrFile);
  const SSavedState state = CStateSlots::Load(path);
  const std::string why = WhyStateDoesNotFit(state.owner, owner_);
  if (!why.empty()) throw CHostError(EExitCode::StateUnusable, path + ": " + why);
  Go(state.stream, path);
}

SSavedState CStateDeck::Take() {
  CStateBuffer buffer;
  session_.SaveState(buffer, false);
  SSavedState state;
  state.owner = owner_;
  state.frame = session_.FrameCount();
  state.savedAtSeconds = std::time(nullptr);
  state.stream.assign(buffer.Stream().begin(), buffer.Stream().end());
  if (!picture_.empty()) {
    const u32 height = static_cast<u32>(picture_.size()) / pictureWidth_;
    const SStatePicture small = MakeThumbnail(picture_.data(), pictureWidth_, height);
    state.picture = EncodePng(small.pixels.data(), small.width, small.height);
  }
  return state;
}

std::string CStateDeck::SaveTo(const std::string& slotOrFile) {
  FinishSave();
  const std::string path = slots_.PathOf(slotOrFile);
  slots_.Save(path, Take());
  return path;
}

void CStateDeck::Save() {
  FinishSave();
  told_ = Tell([&]() -> std::string {
    pending_ = std::async(std::launch::async, [this, state = Take(), slot = slot_] {
      return Tell([&] {
        slots_.Save(slots_.PathOf(slot), state);
        return Format("state saved in slot %u", slot);
      });
    });
    return "";
  });
  if (told_->empty()) told_.reset();
}

void CStateDeck::FinishSave() {
  if (pending_.valid()) told_ = pending_.get();
}

std::optional<std::string> CStateDeck::Poll() {
  const bool bEnded =
      pending_.valid() && pending_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  if (bEnded) FinishSave();
  return std::exchange(told_, std::nullopt);
}

std::optional<std::string> CStateDeck::Finish() {
  FinishSave();
  return Poll();
}

std::string CStateDeck::List() {
  FinishSave();
  return slots_.List(owner_);
}

std::string CStateDeck::Load() {
  FinishSave();
  return Tell([&] {
    const std::string slot = Format("%u", slot_);
    LoadFrom(slot);
    return "state loaded from slot " + slot;
  });
}

std::string CStateDeck::UndoSave() {
  FinishSave();
  return Tell([&]() -> std::string {
    const std::string path = slots_.LastSaved();
    return slots_.UndoSave() ? "save undone: " + path : "there is no save to undo";
  });
}

std::string CStateDeck::UndoLoad() {
  return Tell([&]() -> std::string {
    if (!beforeLoad_) return "there is no load to undo";
    CheckMayLoad();
    const CStateBuffer before = std::move(*beforeLoad_);
    beforeLoad_.reset();
    Go(before.Stream(), packPath_);
    return "load undone";
  });
}

std::string ListStates(const SOptions& options, const SStateOwner& owner) {
  return CStateSlots(FolderOf(options), options.packPath).List(owner);
}

std::string CStateDeck::MoveSlot(i32 by) {
  constexpr i32 kSlots = static_cast<i32>(kStateSlots);
  slot_ = static_cast<u32>(((static_cast<i32>(slot_) + by) % kSlots + kSlots) % kSlots);
  return Format("slot %u", slot_);
}

}  // namespace vx
