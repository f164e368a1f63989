// Video output: the frame clock's two events, the page bit and the conversion of the selected page
// of guest RAM into the host's picture. There is no video processor, no line timing and no raster
// effect: a frame is taken whole at one instant.
#include <cmath>

#include "machine/HostAccess.h"
#include "machine/VXMachine.h"

namespace vx {

namespace {

constexpr u32 kPageStart[] = {0x30000, 0x58000};  // in low RAM
constexpr u32 kPitchPixels = 320;
constexpr u32 kControlPage = 1u << 2;
constexpr f64 kBlankStart = 240.0 / 262.0;  // of the frame period
constexpr f64 kDefaultFrameRate = 60.0;
constexpr f64 kSlowestFrameRate = 1.0, kFastestFrameRate = 1000.0;

static_assert(kBlankStart == 0.916030534351145);

// A 5-bit channel widened to 8 bits, so that full stays full and black stays black.
constexpr u32 Widen(u32 channel) { return channel << 3 | channel >> 2; }

constexpr u32 ConvertPixel(u32 source) {
  return Widen(source >> 10 & 31) << 16 | Widen(source >> 5 & 31) << 8 | Widen(source & 31);
}

void ConvertLine(const u16* __restrict source, u32* __restrict target, u32 pixels) {
  for (u32 x = 0; x < pixels; ++x) target[x] = ConvertPixel(source[x]);
}

}  // namespace

void CVXMachine::ArmVideoEvents() {
  const f64 requested = frameRateRequested.load(std::memory_order_relaxed);
  if (requested == state.frameRateInForce) return;
  state.frameRateInForce = requested;
  queue.Cancel(videoEventStartId);
  queue.Cancel(videoEventEndId);
  // A rate that no board runs at, as another host may dictate one, must not stop time.
  const bool bUsable = requested >= kSlowestFrameRate && requested <= kFastestFrameRate;
  state.framePeriodUs = 1.0 / (bUsable ? requested : kDefaultFrameRate) * 1000.0 * 1000.0;
  queue.Schedule(state.framePeriodUs * kBlankStart, videoEventStartId, 0);
  queue.Schedule(state.framePeriodUs, videoEventEndId, 0);
}

void CVXMachine::OnVideoEventStart(void* context, u64, f64 time) {
  auto* m = static_cast<CVXMachine*>(context);
  if (m->frameTarget != nullptr && m->onVideoFilter != nullptr && m->onVideoFilter(m) == 1) {
    m->CaptureFrame();
  }
  m->SetCauseLine(kCauseVerticalBlank, true);
  m->queue.SchedulePeriodic(time, m->state.framePeriodUs, m->videoEventStartId, 0);
}

void CVXMachine::OnVideoEventEnd(void* context, u64, f64 time) {
  auto* m = static_cast<CVXMachine*>(context);
  ++m->vBlankCount;
  m->SetCauseLine(kCauseVerticalBlank, false);
  m->queue.SchedulePeriodic(time, m->state.framePeriodUs, m->videoEventEndId, 0);
}

void CVXMachine::CaptureFrame() {
  if ((state.frameFlags & kFrameNoCapture) != 0 || frameTarget == nullptr) return;
  const u32 page = (state.boardControl & kControlPage) != 0 ? 1 : 0;
  const auto* source = reinterpret_cast<const u16*>(flatMem + kPageStart[page]);
  for (u32 y = 0; y < videoHeight; ++y) {
    ConvertLine(source + y * kPitchPixels, frameTarget + y * videoWidth, videoWidth);
  }
  RunFrameHooks(page);
}

}  // namespace vx
