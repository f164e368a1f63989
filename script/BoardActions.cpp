// The board as a whole: identities, time, stepped frames, input, and the services for scripts.
#include <atomic>
#include <cstring>
#include <new>

#include "machine/HostAccess.h"
#include "machine/VXMachine.h"
#include "script/ScriptActions.h"

namespace vx::script {

// --- Identities and time -----------------------------------------------------------------------

void GetCodeHash(const SScriptCall& call) { call.Result(call.m->soundRomHash); }
void GetDiskId(const SScriptCall& call) { call.Result(call.m->diskId); }
void GetFrameNumber(const SScriptCall& call) { call.Result(call.m->state.frameNumber); }
// Since the frame's start, where the timeline begins anew.
void GetTime(const SScriptCall& call) { call.Result(call.m->queue.Now()); }

// --- Stepped frames ----------------------------------------------------------------------------

namespace {

enum EStepMask : u32 {
  kStepArm = 1u << 0,  // bits 0 to 2 ask for a frame, and end running slices
  kStepRequest2 = 1u << 1,
  kStepRequest4 = 1u << 2,
  kStepStop = 1u << 3,
  kStepAnyRequest = kStepArm | kStepRequest2 | kStepRequest4,
};

}  // namespace

void SetStepMode(const SScriptCall& call) {
  CVXMachine* const m = call.m;
  u32& flags = m->state.frameFlags;
  const u32 mask = call.words[1];
  if ((mask & kStepAnyRequest) != 0) {
    if ((mask & kStepArm) != 0) {
      m->scriptState.markFrame = m->state.frameNumber;
      // Only an earlier call's request counts here.
      if ((flags & (kFrameRequest2 | kFrameRequest4)) != 0) flags |= kFrameArmed;
    }
    if ((mask & kStepRequest2) != 0) flags |= kFrameRequest2;
    if ((mask & kStepRequest4) != 0) flags |= kFrameRequest4;
    m->queue.NotifyEarliest();
  }
  if ((mask & kStepStop) != 0) flags |= kFrameStopLookAhead;
  flags = call.words[0] != 0 ? flags | kFrameLookAhead : flags & ~u32{kFrameLookAhead};
}

void GetStepInstance(const SScriptCall& call) {
  const u32 flags = call.m->state.frameFlags;
  const bool bInstance = (flags & (kFrameLookAhead | kFrameBesideWorkers)) == kFrameLookAhead;
  if (!bInstance) return call.Result(0u);
  call.Result((flags & kFrameBranchOne) != 0 ? 2u : 1u);
}

void GetStepRequests(const SScriptCall& call) {
  const u32 flags = call.m->state.frameFlags;
  call.Result(((flags & kFrameStopLookAhead) != 0 ? u32{kStepStop} : 0u) |
              ((flags & kFrameRequest2) != 0 ? u32{kStepRequest2} : 0u) |
              ((flags & kFrameRequest4) != 0 ? u32{kStepRequest4} : 0u));
}

// --- Input -------------------------------------------------------------------------------------

// Input may come from another thread.
void GetInputPort(const SScriptCall& call) {
  SMachineState& state = call.m->state;
  u64& port = call.words[1] == 0 ? state.inputPort0 : state.inputPort1;
  call.Out(0, std::atomic_ref<u64>(port).load(std::memory_order_relaxed));
}

void GetPlayerExtra(const SScriptCall& call) {
  u32& extra = call.m->scriptState.playerExtra[call.words[1] == 0 ? 0 : 1];
  call.Out(0, std::atomic_ref<u32>(extra).load(std::memory_order_relaxed));
}

// --- Services ----------------------------------------------------------------------------------

void HashString(const SScriptCall& call) {
  const u64 room = call.memory.Room(call.words[0]);
  const auto* const text = reinterpret_cast<const char*>(call.memory.Span(call.words[0], room));
  if (Host().HashData == nullptr || text == nullptr) return call.Out(1, u64{0});
  call.Out(1, Host().HashData(text, strnlen(text, room)));
}

void LoadBlob(const SScriptCall& call) {
  const u32 bytes = call.words[1];
  const auto found = call.m->scriptBlobStore.find(call.In<u64>(2));
  u8* const target = call.memory.Span(call.words[0], bytes);
  const bool bFits = found != call.m->scriptBlobStore.end() && target != nullptr &&
                     bytes <= found->second.bytes.size();
  if (bFits && bytes != 0) std::memcpy(target, found->second.bytes.data(), bytes);
  call.Out(3, u32{bFits});
}

// A buffer never shrinks: what was longer keeps its end. One that the system cannot give changes
// nothing.
void StoreBlob(const SScriptCall& call) {
  const u32 bytes = call.words[1];
  const u8* const source = call.memory.Span(call.words[0], bytes);
  if (source == nullptr) return;
  try {
    const u64 key = call.In<u64>(2);
    const auto found = call.m->scriptBlobStore.find(key);
    if (found != call.m->scriptBlobStore.end() && bytes <= found->second.bytes.size()) {
      if (bytes != 0) std::memcpy(found->second.bytes.data(), source, bytes);
      return;
    }
    std::vector<u8> fresh(source, source + bytes);
    call.m->scriptBlobStore[key].bytes = std::move(fresh);
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace vx::script
