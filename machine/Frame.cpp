// The road of one frame: the timeline is brought back to zero, pending values are taken over, the
// queue advances to the frame's end with both processors as its client, and picture and samples go
// to the host.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "devices/DiskOverlay.h"
#include "machine/HostAccess.h"
#include "machine/Settings.h"
#include "machine/VXMachine.h"
#include "mips3/Processor.h"

namespace vx {

namespace {

constexpr u32 kLookAheadClockMHz = 200;
constexpr u32 kFastestClockMHz = 10000;
constexpr u32 kMaxFrameEnds = 4;  // after which a picture that never completes is given up
constexpr u64 kMaxFramesSinceMark = 3;
constexpr u32 kFlipsOfAFrame = 2;

// Cycles that bring a processor from one time to another: at least one.
u32 CyclesBetween(f64 from, f64 to, f64 clockMHz) {
  constexpr f64 kMostCycles = 0x7FFFFFFF;
  const f64 cycles = (to - from) * clockMHz + 0.5;
  return cycles < kMostCycles ? std::max(static_cast<u32>(cycles), 1u) : 0x7FFFFFFFu;
}

f64 MainClock(const CVXMachine* m) { return UsableClock(m->cpu.clockMHz, kDefaultClockMHz); }
f64 SoundClock(const CVXMachine* m) { return UsableClock(m->sound.state.clockMHz, kSoundClockMHz); }

f64 Elapsed(u32 cycles, f64 clockMHz) { return static_cast<f64>(cycles) * (1.0 / clockMHz); }

}  // namespace

// --- Queue client, listener and clock ----------------------------------------------------------

f64 CVXMachine::RunTo(void* context, f64 target) {
  auto* m = static_cast<CVXMachine*>(context);
  if (target > m->state.soundTime) {
    const f64 clock = SoundClock(m);
    const u32 done = m->sound.Run(CyclesBetween(m->state.soundTime, target, clock));
    m->state.soundTime += Elapsed(done, clock);
  }
  return RunMainTo(context, target);
}

f64 CVXMachine::RunMainTo(void* context, f64 target) {
  auto* m = static_cast<CVXMachine*>(context);
  if (target > m->state.mainTime) {
    const f64 clock = MainClock(m);
    const u32 done = RunProcessor(m, CyclesBetween(m->state.mainTime, target, clock));
    m->state.mainTime += Elapsed(done, clock);
  }
  return m->state.mainTime;
}

// The clones come last and always run up to the target; the answer is the main processor's. A
// script hook inside a slice may replace them, so none is held over one.
f64 CVXMachine::RunToWithInstances(void* context, f64 target) {
  auto* m = static_cast<CVXMachine*>(context);
  const f64 reached = RunTo(context, target);
  const f64 clock = SoundClock(m);
  for (size_t i = 0; i < m->instances.slots.size(); ++i) {
    const f64 time = m->instances.slots[i].time;
    if (!(target > time)) continue;
    const std::shared_ptr<CInstancedADSP> instance = m->instances.slots[i].instance;
    const u32 done = instance->processor.Run(CyclesBetween(time, target, clock));
    if (i < m->instances.slots.size()) m->instances.slots[i].time += Elapsed(done, clock);
  }
  return reached;
}

void CVXMachine::SetInstanceCount(u32 count) {
  if (instances.IsActive()) {
    queue.ReplaceClient(clientIndex, RunTo, this);
    instances.Clear(queue);
  }
  if (count == 0 || parent != nullptr) return;
  instances.Create(count, sound, soundBoard, state.soundTime);
  queue.ReplaceClient(clientIndex, RunToWithInstances, this);
}

void CVXMachine::OnEarliestEvent(void* context) {
  auto* m = static_cast<CVXMachine*>(context);
  if (m->cpu.budget != 0) {
    m->CutSlice();
  } else if (m->sound.IsInSlice()) {
    m->sound.CutSlice();
  } else if (SDspInstanceSlot* const slot = m->instances.FindRunning()) {
    slot->instance->processor.CutSlice();
  }
}

f64 CVXMachine::PreciseTime(void* context) {
  auto* m = static_cast<CVXMachine*>(context);
  if (m->cpu.budget != 0) return m->state.mainTime + Elapsed(m->cpu.cycles, MainClock(m));
  if (m->sound.IsInSlice()) {
    return m->state.soundTime + Elapsed(m->sound.state.cycles, SoundClock(m));
  }
  if (const SDspInstanceSlot* const slot = m->instances.FindRunning()) {
    return slot->time + Elapsed(slot->instance->processor.state.cycles, SoundClock(m));
  }
  return m->queue.LastFired();
}

// --- The frame ---------------------------------------------------------------------------------

void CVXMachine::FrameStep() {
  queue.Rebase();
  vBlankCount = 0;
  FinishDiskLoad(*this);
  if (parent == nullptr) {
    if (flushDeadline != 0.0 && HostClockMs() > flushDeadline) FlushPendingOverlay(*this);
    if (bResetPending != 0) {
      bResetPending = 0;
      RunResetHooks();
    }
    ArmVideoEvents();
    state.dipPort = pendingDipWord.load(std::memory_order_relaxed);
    ata.timing.extraReadTime = pendingExtraReadTimeUs.load(std::memory_order_relaxed);
  }

  const bool bStepped = (state.frameFlags & kFrameLookAhead) != 0;
  u32 clockMHz = bStepped ? kLookAheadClockMHz : pendingClockMHz.load(std::memory_order_relaxed);
  // A clock that no board runs at, as another host may dictate one, must not stop time.
  if (clockMHz == 0 || clockMHz > kFastestClockMHz) clockMHz = kDefaultClockSetting;
  if (!(std::floor(cpu.clockMHz + 0.5) == clockMHz)) cpu.clockMHz = clockMHz;

  const bool bSpeculative = (state.frameFlags & (kFrameLookAhead | kFrameTimedOut)) != 0;
  CVXMachine& master = parent != nullptr ? *parent : *this;
  const u64 sequence = bSpeculative ? master.lookAheadFrameNumber.fetch_add(1) : state.frameNumber;
  frameTarget = Host().AcquireFrameBuffer != nullptr
                    ? static_cast<u32*>(Host().AcquireFrameBuffer(sequence, videoWidth, videoHeight,
                                                                  sizeof(u32), bSpeculative))
                    : nullptr;

  if (bLoaded == 0) {
    const size_t bytes = size_t{videoWidth} * videoHeight * sizeof(u32);
    if (frameTarget != nullptr) std::memset(frameTarget, 0, bytes);
  } else if (bStepped) {
    RunBoundedFrame();
  } else {
    while (vBlankCount == 0) {
      if (queue.IsEmpty()) {  // as a loaded state can leave it
        state.frameRateInForce = 0.0;
        ArmVideoEvents();
      }
      queue.Advance();
    }
  }
  ++state.frameNumber;
}

// Runs until the guest has finished a picture, which two page flips tell, or for so long that it
// seems never to come; only then is the picture taken.
void CVXMachine::RunBoundedFrame() {
  constexpr u32 kRequests =
      kFrameArmed | kFrameRequest2 | kFrameRequest4 | kFrameStopLookAhead | kRunFlagPageFlipped;
  u32& flags = state.frameFlags;
  flags = (flags & ~kRequests) | kFrameNoCapture;
  u32 flips = 0;
  u32 seen = 0;
  while (vBlankCount < kMaxFrameEnds && !queue.IsEmpty()) {
    queue.Advance();
    const u64 mark = scriptState.markFrame;
    const bool bTooLate =
        state.frameNumber > mark && state.frameNumber - mark > kMaxFramesSinceMark;
    if (vBlankCount != 0 && ((flags & kFrameStopLookAhead) != 0 || bTooLate)) break;
    if ((flags & kRunFlagPageFlipped) != seen) {
      seen = flags & kRunFlagPageFlipped;
      ++flips;
    }
    if ((flags & kFrameFlipWhileArmed) != 0 && flips >= kFlipsOfAFrame) {
      flags &= ~u32{kFrameArmed | kFrameNoCapture};
      CaptureFrame();
      flags &= ~u32{kFrameNoCapture | kFrameRequest2 | kFrameRequest4};
      return;
    }
  }
  flags = (flags & ~u32{kFrameNoCapture}) | kFrameTimedOut;
  CaptureFrame();
}

void CVXMachine::RunFrame() noexcept {
  // Without a pack there is nothing to look ahead at, and no disk to wait for.
  if ((state.frameFlags & kFrameLookAhead) != 0 && bLoaded != 0 && parent == nullptr) {
    RunLookAheadFrame();
    return;
  }
  FrameStep();
  if (onVideoFrame != nullptr) onVideoFrame(this, frameTarget, videoWidth, videoHeight, 0, 0, 0, 0);
  MixFrame();
}

void CVXMachine::MixFrame() {
  mixer.MixFrame({soundBoard, instances, state.listenerVectors, (state.bInvertRight & 1) != 0,
                  state.frameRateInForce},
                 soundPort);
}

}  // namespace vx
