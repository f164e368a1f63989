#include "host/Session.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "host/HashLog.h"
#include "host/HostError.h"
#include "host/HostServices.h"
#include "host/StateDisk.h"
#include "host/Text.h"

namespace vx {

namespace {

// Callbacks name their machine only, so the sessions of the process are listed here.
struct SSessionEntry {
  CQuillonMachineBase* machine;
  CSession* session;
};
std::mutex sessionsMutex;
std::vector<SSessionEntry> sessions;

// Which stored block it was, as far as its sizes tell.
std::string NameBlock(const SPackInfo& pack, const SInflateFailure& failure) {
  if (failure.expectedBytes == pack.chunkBytes) return "a disk chunk";
  u32 matches = 0;
  u32 match = 0;
  for (u32 i = 0; i < kPackRomCount; ++i) {
    const SPackRom& rom = pack.roms[i];
    if (rom.inflatedBytes != failure.expectedBytes || rom.storedBytes != failure.storedBytes) {
      continue;
    }
    ++matches;
    match = i;
  }
  return matches == 1 ? Format("ROM entry %u", match) : "a stored block";
}

}  // namespace

CSession::CSession(const CComponent& component, SSessionHooks hooks)
    : component_(component), hooks_(std::move(hooks)) {
  machine_ = component_.Table().CreateMachine();
  if (machine_ == nullptr) {
    throw CHostError(EExitCode::ComponentUnusable, component_.Path() + ": creates no machine");
  }
  {
    const std::lock_guard lock(sessionsMutex);
    sessions.push_back({machine_, this});
  }
  machine_->onVideoFilter = OnVideoFilter;
  machine_->onVideoFrame = OnVideoFrame;
  machine_->onDualFrame = OnDualFrame;
  machine_->onAudioBlock = OnAudioBlock;
}

CSession::~CSession() {
  component_.Table().DestroyMachine(machine_);
  const std::lock_guard lock(sessionsMutex);
  std::erase_if(sessions, [this](const SSessionEntry& entry) { return entry.session == this; });
}

void CSession::CheckPackName(const std::string& packPath) {
  if (IsUtf8(packPath)) return;
  throw CHostError(EExitCode::FileUnreadable,
                   packPath + ": the component opens only names in UTF-8; rename the file");
}

void CSession::Start(const std::string& packPath, const SPackInfo& pack) {
  packPath_ = packPath;
  pack_ = pack;
  packDisk_.emplace(packPath);
  CheckPackName(packPath);
  CHostServices::Get().ClearInflateFailures();
  CHostServices::Get().CountInflates(pack.chunkBytes);
  if (!machine_->LoadPack(ToWide(packPath).c_str())) {
    throw CHostError(EExitCode::PackDamaged,
                     packPath_ + ": is refused by the component, though its tables look sound");
  }
  CheckForDamage();
  Reset();
}

void CSession::Reset() {
  // A reset puts the pending settings to fixed values, so they are applied behind it.
  machine_->Reset();
  machine_->ApplySettings();
}

void CSession::SaveState(CStateBuffer& state, bool bTransient) {
  SStateStream target{state.Data(), static_cast<u32>(kStateBufferSize), 0, 0};
  machine_->SaveState(&target, bTransient ? 1 : 0);
  if (target.position > kStateBufferSize) {
    throw CHostError(EExitCode::StateUnusable,
                     packPath_ + Format(": the machine's state takes %u bytes, and there is room "
                                        "for %u",
                                        target.position, static_cast<u32>(kStateBufferSize)));
  }
  state.SetBytes(target.position);
}

bool CSession::LoadState(std::span<const u8> stream, std::span<const u8> present) {
  CHostServices::Get().Panner().ForgetGains();
  if (!present.empty() && packDisk_) {
    const auto restoring = AddLostSectors(stream, present, *packDisk_);
    if (restoring && !LoadStream(*restoring)) return false;
  }
  return LoadStream(stream);
}

bool CSession::LoadStream(std::span<const u8> stream) {
  if (stream.size() < sizeof(u32)) return false;  // the component asks for the version at least
  // A stream serves both ways; loading reads it.
  SStateStream source{const_cast<u8*>(stream.data()), static_cast<u32>(stream.size()), 0, 0};
  return machine_->LoadState(&source);
}

SDiskProgress CSession::DiskProgress() const {
  // Blocks are told apart by their size alone, so ROMs of a chunk's size have been counted too.
  const u32 counted = CHostServices::Get().CountedInflates();
  const auto romCount =
      static_cast<u32>(std::ranges::count(pack_.roms, pack_.chunkBytes, &SPackRom::inflatedBytes));
  const u32 chunks = counted - std::min(counted, romCount);
  return {std::min(chunks, pack_.deflatedChunkCount), pack_.deflatedChunkCount};
}

u64 CSession::HashMachine() {
  u64 base = 0;
  u64 bytes = 0;
  component_.Table().GetMemoryRegion(&base, &bytes, 0);
  const u8* memory = machine_->GetMemoryImage();
  const u64 state = machine_->HashState();
  return memory == nullptr ? state : HashBytes(memory + base, bytes, state);
}

void CSession::RunFrame(const SInputRecord* records, u32 count) {
  bPictureMade_ = false;
  machine_->SetInput(records, count);
  machine_->RunFrame();
  if (pendingError_) std::rethrow_exception(std::exchange(pendingError_, nullptr));
  CheckForDamage();
}

void CSession::CheckForDamage() const {
  CHostServices& services = CHostServices::Get();
  if (services.InflateFailureCount() == 0) return;
  const std::optional<SInflateFailure> failure = services.FirstInflateFailure();
  if (!failure) return;
  throw CHostError(EExitCode::PackDamaged,
                   packPath_ + Format(": is damaged: %s of %u stored bytes does not unpack to its "
                                      "%u bytes",
                                      NameBlock(pack_, *failure).c_str(), failure->storedBytes,
                                      failure->expectedBytes));
}

CSession* CSession::Find(CQuillonMachineBase* machine) {
  const std::lock_guard lock(sessionsMutex);
  const auto entry = std::ranges::find(sessions, machine, &SSessionEntry::machine);
  return entry == sessions.end() ? nullptr : entry->session;
}

template <typename TCall>
void CSession::Shield(TCall&& call) noexcept {
  if (pendingError_) return;
  try {
    call();
  } catch (...) {
    pendingError_ = std::current_exception();
  }
}

i32 CSession::OnVideoFilter(CQuillonMachineBase* machine) {
  CSession* session = Find(machine);
  if (session == nullptr || !session->hooks_.wantsPicture) return 0;
  session->Shield([&] { session->bPictureMade_ = session->hooks_.wantsPicture(); });
  return session->bPictureMade_ ? 1 : 0;
}

void CSession::OnVideoFrame(CQuillonMachineBase* machine, const u32* pixels, u32 width, u32 height,
                            u64, u64, u64, u64) {
  CSession* session = Find(machine);
  // The call comes for every frame, the pixels are this frame's only if they were asked for.
  if (session == nullptr || pixels == nullptr || !session->bPictureMade_) return;
  if (!session->hooks_.onPicture) return;
  session->Shield([&] { session->hooks_.onPicture(pixels, width, height); });
}

void CSession::OnDualFrame(CQuillonMachineBase* machine, const u32* pixelsA, const u32* pixelsB,
                           u32 width, u32 height) {
  CSession* session = Find(machine);
  if (session == nullptr || pixelsA == nullptr || !session->hooks_.onPicture) return;
  session->Shield([&] {
    if (session->hooks_.onBranches) session->hooks_.onBranches(pixelsA, pixelsB, width, height);
    // Look-ahead makes its pictures unasked.
    if (session->hooks_.wantsPicture && session->hooks_.wantsPicture()) {
      session->hooks_.onPicture(pixelsA, width, height);
    }
  });
}

void CSession::OnAudioBlock(CQuillonMachineBase* machine, const i16* samples, u32 count) {
  CSession* session = Find(machine);
  if (session == nullptr || samples == nullptr || count == 0) return;
  if (!session->hooks_.onSound) return;
  session->Shield([&] { session->hooks_.onSound(samples, count); });
}

}  // namespace vx
