#include "tests/sound/DspRig.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace vx::test {

// --- Port --------------------------------------------------------------------------------------

void CRecordingPort::Log(ESoundLog level, const char* format, u32 a, u32 b, u32 c) {
  char text[160];
  std::snprintf(text, sizeof(text), format, a, b, c);
  lines.push_back({static_cast<i32>(level), text});
}

bool CRecordingPort::InvokeHook(u32 tag, u32 plantedWord) {
  hookCalls.push_back({tag, plantedWord});
  if (onHook != nullptr) onHook(hookContext);
  return bHookAnswer;
}

void CRecordingPort::EmitBlock(const i16* samples, u32 count) {
  if (bKeepBlocks) blocks.emplace_back(samples, samples + count);
}

void CRecordingPort::GetListener(f32 (&vectors)[4][3]) {
  std::memcpy(vectors, listener, sizeof(vectors));
}

void* CRecordingPort::CreateSource() {
  ++sourcesMade;
  return &sourcesMade;
}

void CRecordingPort::DestroySource(void*) { ++sourcesGone; }

void CRecordingPort::PlaceSource(void*, const f32 (&)[3], f32 range, f32) {
  placedRanges.push_back(range);
}

// Left is the sample, right its double, and the tail counts up.
u32 CRecordingPort::RenderSource(void*, i16* output, const u16* samples, u32 count) {
  for (u32 i = 0; i < count; ++i) {
    output[2 * i] = static_cast<i16>(samples[i]);
    output[2 * i + 1] = static_cast<i16>(2 * samples[i]);
  }
  const u32 room = std::min(tailAnswer, blockSize);
  for (u32 i = 0; i < room; ++i) output[2 * count + i] = static_cast<i16>(i + 1);
  return tailAnswer;
}

// --- Rig ---------------------------------------------------------------------------------------

CDspRig::CDspRig(const SADSPVariant& variant) : rom(kRomImageBytes) {
  queue.Initialise([](void* context) { return static_cast<CDspRig*>(context)->now; }, this);
  queue.AddListener(
      [](void* context) {
        auto* rig = static_cast<CDspRig*>(context);
        ++rig->cuts;
        if (rig->processor.IsInSlice()) rig->processor.CutSlice();
      },
      this);
  board.Construct(&processor, {rom.data(), 8, 0x80000, 0x800}, &queue);
  processor.board = &board;
  processor.Construct(kSoundClockMHz, &queue, &port, variant);
  board.PlaceHandlers();
}

void CDspRig::Program(u32 address, const std::vector<u32>& words) {
  for (u32 i = 0; i < words.size(); ++i) processor.WriteProgram(address + i, words[i]);
  processor.state.pc = address;
}

const SEvent* CDspRig::Pending(u32 eventId) const {
  for (const SEvent& event : queue.Entries()) {
    if (event.id == eventId) return &event;
  }
  return nullptr;
}

u32 CDspRig::Count(u32 eventId) const {
  return static_cast<u32>(
      std::count_if(queue.Entries().begin(), queue.Entries().end(),
                    [eventId](const SEvent& event) { return event.id == eventId; }));
}

void CDspRig::StartTransfer(u32 index, u32 address, u32 length, u32 step, u32 divider) {
  const u32 modifier = index & 4;
  processor.WriteLength(index, length);
  processor.WriteIndex(index, address);
  processor.WriteGroup(modifier != 0 ? 2 : 1, 4, step);
  processor.WriteData(0x3FF1, static_cast<u16>(divider));
  processor.WriteData(0x3FF2, 0x4000);
  processor.WriteData(0x3FEF, static_cast<u16>(index << 9 | 2));
  processor.WriteData(0x3FFF, 0x0800);
  processor.WriteGroup(3, 11, 0);
}

}  // namespace vx::test
