#include "sound/InstancedADSP.h"

namespace vx {

namespace {

constexpr f64 kBootDoneUs = 100.0;
constexpr f64 kNextCommandUs = 0.5;
constexpr f64 kLatchFullUs = 1.0;
constexpr u32 kDeviceLines = 7;        // interrupt lines 0 to 2
constexpr u32 kQueuedCommands = 4096;  // room from the start: feeding is not to allocate

}  // namespace

// Registration order gives event ids: tick, interrupt drop, feed, boot, quiet stop.
CInstancedADSP::CInstancedADSP(const SDspSnapshot& snapshot, CEventQueue* queue, CSoundPort* port)
    : queue_(queue) {
  board.Construct(&processor, snapshot.rom, queue);
  commands_.reserve(kQueuedCommands);
  feedId_ = queue->Register(OnFeed, this);
  processor.board = &board;
  processor.Construct(kSoundClockMHz, queue, port, kInstancedProcessor);
  board.FollowTick(snapshot.mainTickId);
  board.PlaceHandlers();
  processor.DropLine(kDeviceLines);

  processor.state = snapshot.state;
  // The snapshot may have been taken from within a slice of the main processor.
  processor.state.cycles = processor.state.cutCycles = processor.state.cycleTarget = 0;
  processor.state.clockMHz = UsableClock(snapshot.state.clockMHz, kSoundClockMHz);
  board.link = snapshot.link;
  queue->Cancel(processor.bootDoneEventId);
  queue->Schedule(queue->Now() + kBootDoneUs, processor.bootDoneEventId, 0);
  board.ResumeTransfer();
}

CInstancedADSP::~CInstancedADSP() {
  processor.Unregister();
  queue_->Unregister(feedId_);
  board.Unregister();
}

void CInstancedADSP::FeedNow() { queue_->Schedule(queue_->Now(), feedId_, 0); }

void CInstancedADSP::OnFeed(void* context, u64, f64 time) {
  static_cast<CInstancedADSP*>(context)->Feed(time);
}

// Hands over one command if the last has been taken, and looks again after a while as long as there
// are more.
void CInstancedADSP::Feed(f64 time) {
  if (commands_.empty()) return;
  if ((processor.state.runFlags & kRunHalted) != 0) {
    processor.WakeUp();
    processor.ArmQuiet();
  }
  f64 delay = kLatchFullUs;
  if (board.IsCommandTaken()) {
    const u16 command = commands_.front() & 0xFF;
    commands_.erase(commands_.begin());
    board.WriteCommand(command);
    if (commands_.empty()) return;
    delay = kNextCommandUs;
  }
  queue_->Schedule(time + delay, feedId_, 0);
}

}  // namespace vx
