// The serial port: control registers, and the transfer of samples out of data memory.
#include <algorithm>

#include "sound/ADSPMemory.h"

namespace vx {

namespace {

constexpr f64 kShortestTickUs = 0.1;

}  // namespace

// --- Control registers -------------------------------------------------------------------------

void CSoundBoard::OnControlWrite(CSoundBoard* board, u32 address, u16 value) {
  const u32 index = address - kControlRegs;
  board->link.controlRegs[index] = value;
  if (index == kAutobufferControl) {
    if ((value & kTransmitEnable) == 0) board->queue_->Cancel(board->autobufferTickId_);
  } else if (index == kSystemControl) {
    if ((value & kBootForce) != 0) {
      board->queue_->NotifyEarliest();
      board->processor_->ProcessorReset();
      board->BootLoad();
      board->processor_->bRebooted = true;
    }
    if ((value & kSerialPortEnable) == 0) board->queue_->Cancel(board->autobufferTickId_);
  }
}

bool CSoundBoard::IsTransferEnabled() const {
  return (link.controlRegs[kSystemControl] & kSerialPortEnable) != 0 &&
         (link.controlRegs[kAutobufferControl] & kTransmitEnable) != 0;
}

void CSoundBoard::ConfigureAutobuffer() {
  queue_->Cancel(autobufferTickId_);
  if (!IsTransferEnabled()) return;
  const u32 control = link.controlRegs[kAutobufferControl];
  const u32 index = control >> 9 & 7;
  const u32 modifier = (control >> 7 & 3) + (index & 4);  // of the same generator
  SADSPState& s = processor_->state;
  s.dag[index].i &= ~15u;
  link.autobufferIndex = index;
  link.autobufferBase = s.dag[index].i;
  link.autobufferLength = s.dag[index].l;
  link.autobufferStep = s.dag[modifier].m;
  const bool bInternalClock = (link.controlRegs[kSerialControl] & kInternalSerialClock) != 0;
  const u32 divider = link.controlRegs[kSerialClockDivide] * 2u + 2u;
  link.samplePeriod =
      bInternalClock ? divider * s.clockMHz * 16.0 / 100.0 : kExternalSamplePeriodUs;
  link.tickPeriod =
      link.autobufferLength * link.samplePeriod / (2.0 * static_cast<i32>(link.autobufferStep));
  const SEvent* const mainTick = PendingMainTick();
  ScheduleTick(mainTick != nullptr ? mainTick->time : queue_->Now() + link.tickPeriod);
}

// --- Ticks -------------------------------------------------------------------------------------

// The main board's next tick, for an instance's board; null without one.
const SEvent* CSoundBoard::PendingMainTick() const {
  if (!IsInstance()) return nullptr;
  const auto& entries = queue_->Entries();
  const auto found = std::find_if(entries.rbegin(), entries.rend(),
                                  [this](const SEvent& event) { return event.id == mainTickId_; });
  return found != entries.rend() ? &*found : nullptr;
}

// A period that is not above 0 would never let time pass, and one shorter than a cycle of the
// processor hardly: such a transfer stops.
void CSoundBoard::ScheduleTick(f64 time) {
  if (link.tickPeriod >= kShortestTickUs) queue_->Schedule(time, autobufferTickId_, 0);
}

void CSoundBoard::ResumeTransfer() {
  if (!(link.tickPeriod > 0.0) || !IsTransferEnabled()) return;
  const SEvent* const mainTick = PendingMainTick();
  ScheduleTick(mainTick != nullptr ? mainTick->time : queue_->Now() + link.tickPeriod);
}

void CSoundBoard::OnAutobufferTick(void* context, u64, f64 time) {
  static_cast<CSoundBoard*>(context)->Tick(time);
}

// Half of a buffer's words leave with each tick, so that two pass through it at step 1. A halted
// instance gives silence without looking at its memory.
void CSoundBoard::Tick(f64 time) {
  const u32 divisor = 2 * std::max(link.autobufferStep, 1u);
  const u32 count = divisor != 0 ? link.autobufferLength / divisor : 0;
  const bool bFits = u64{sampleCount} + count < kSampleBufferWords;
  if (IsInstance() && bFits && (processor_->state.runFlags & kRunHalted) != 0) {
    std::fill_n(sampleBuffer + sampleCount, count, u16{0});
    sampleCount += count;
  } else {
    if (IsInstance()) bHasSamples = 1;
    TransmitHalf(count);
  }
  const SEvent* const mainTick = PendingMainTick();
  const bool bFollow = mainTick != nullptr && mainTick->time != time;
  ScheduleTick(bFollow ? mainTick->time : time + link.tickPeriod);
}

// The address register moves as the guest can see it, without circular addressing or reversal. A
// full sample buffer loses the words and nothing else.
void CSoundBoard::TransmitHalf(u32 count) {
  SADSPState& s = processor_->state;
  const u32 index = link.autobufferIndex & 7;
  u32 address = s.dag[index].i;
  if (u64{sampleCount} + count < kSampleBufferWords) {
    for (u32 i = 0; i < count; ++i) {
      sampleBuffer[sampleCount++] = processor_->ReadData(address);
      address += link.autobufferStep;
    }
  } else {
    address += count * link.autobufferStep;
  }
  link.autobufferBase = s.dag[index].base;
  if (address >= link.autobufferBase + link.autobufferLength) {
    address = link.autobufferBase;
    processor_->RaiseLine(kPendingTransmit);
    processor_->CheckInterrupts();
    processor_->DropLine(kPendingTransmit);
  }
  s.dag[index].i = address;
}

// --- Rates -------------------------------------------------------------------------------------

f64 CSoundBoard::ExactSampleRate() const {
  if (!(link.samplePeriod > 0.0)) return kDefaultSampleRateHz;
  return 1.0 / (link.samplePeriod / 1000.0 / 1000.0);
}

// Divides the other way round, so that periods which are whole rates give them exactly.
i64 CSoundBoard::SampleRate() const {
  if (!(link.samplePeriod > 0.0)) return static_cast<i64>(kDefaultSampleRateHz);
  constexpr i64 kMostHz = 0x7FFFFFFF;
  const f64 rate = 1000000.0 / link.samplePeriod;
  return rate < static_cast<f64>(kMostHz) ? static_cast<i64>(rate) : kMostHz;
}

}  // namespace vx
