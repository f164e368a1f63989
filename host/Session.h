// One machine and its life as the component wants it: create, set callbacks, load a pack, reset,
// apply the settings, then frame after frame.
#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "host/Component.h"
#include "host/PackCheck.h"
#include "host/PackDisk.h"
#include "host/PlayControl.h"
#include "host/StateBuffer.h"
#include "plugin/Quillon.h"

namespace vx {

// Where a frame's results go. An empty function declines. All are called inside RunFrame, on its
// thread, and what they are given is valid during the call only. What they throw is kept back while
// the machine is at work and leaves RunFrame at its end.
struct SSessionHooks {
  std::function<bool()> wantsPicture;  // asked at most once a frame, before the picture is made
  // Pixels as 0x00RRGGBB, `width` to a line; called for wanted pictures only.
  std::function<void(const u32* pixels, u32 width, u32 height)> onPicture;
  // `count` 16-bit values, left and right in turn, at SampleRate.
  std::function<void(const i16* samples, u32 count)> onSound;
  // Both pictures of a frame with look-ahead, before onPicture gets the first one.
  std::function<void(const u32* pixelsA, const u32* pixelsB, u32 width, u32 height)> onBranches =
      {};
};

// One host thread. The component outlives the session.
class CSession {
 public:
  CSession(const CComponent& component, SSessionHooks hooks);
  ~CSession();
  CSession(const CSession&) = delete;
  CSession& operator=(const CSession&) = delete;

  // Throws CHostError (FileUnreadable) if the component cannot open a file of this name.
  static void CheckPackName(const std::string& packPath);

  // Loads a pack that CheckPack has passed, resets the machine and applies the settings. Throws
  // CHostError (PackDamaged) if the component refuses it or data of it does not unpack.
  void Start(const std::string& packPath, const SPackInfo& pack);

  // Runs one frame under these controls. Throws CHostError (PackDamaged) if data of the pack was
  // found not to unpack: the disk is unpacked while frames run.
  void RunFrame(const SInputRecord* records, u32 count);

  // Power-on state again, with the settings as they are now.
  void Reset();

  // The whole state of the machine, between two frames. A transient one is for going back within
  // this run: loading it does not make scripts start anew. Throws CHostError (StateUnusable) if the
  // machine needs more room than it asks a host for.
  void SaveState(CStateBuffer& state, bool bTransient);
  // Goes on from a state. `present` is the one that the machine is in, so that what the guest has
  // written to its disk since the other goes back too; empty if it has written nothing. False if
  // the component refuses it; then the machine may be half changed and wants another state.
  bool LoadState(std::span<const u8> stream, std::span<const u8> present = {});

  // How far the disk of this pack is unpacked. One session of the process at a time.
  SDiskProgress DiskProgress() const;

  // Hash of what the machine calls its state and of the whole guest memory.
  u64 HashMachine();

  u64 HashState() { return machine_->HashState(); }
  u64 FrameCount() { return machine_->GetFrameCount(); }
  i64 SampleRate() { return machine_->GetSampleRate(); }  // Hz; the guest may change it
  CQuillonMachineBase& Machine() { return *machine_; }

 private:
  static CSession* Find(CQuillonMachineBase* machine);
  static i32 OnVideoFilter(CQuillonMachineBase* machine);
  static void OnVideoFrame(CQuillonMachineBase* machine, const u32* pixels, u32 width, u32 height,
                           u64, u64, u64, u64);
  static void OnDualFrame(CQuillonMachineBase* machine, const u32* pixelsA, const u32* pixelsB,
                          u32 width, u32 height);
  static void OnAudioBlock(CQuillonMachineBase* machine, const i16* samples, u32 count);

  // Calls a hook without letting anything through to the component.
  template <typename TCall>
  void Shield(TCall&& call) noexcept;

  bool LoadStream(std::span<const u8> stream);
  void CheckForDamage() const;

  const CComponent& component_;
  SSessionHooks hooks_;
  std::string packPath_;
  std::optional<CPackDisk> packDisk_;
  SPackInfo pack_;
  CQuillonMachineBase* machine_ = nullptr;
  bool bPictureMade_ = false;  // in the frame that runs
  std::exception_ptr pendingError_;
};

}  // namespace vx
