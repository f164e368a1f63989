// Reading a save state. An item that the stream does not hold leaves its field as it is, and the
// position with it, so that a short stream loads as far as it goes. A state comes from a file that
// anybody can have changed: whatever it says, memory stays whole and frames keep ending.
#include <algorithm>
#include <cstring>

#include "base/StateStream.h"
#include "devices/DiskOverlay.h"
#include "machine/StateFormat.h"
#include "machine/VXMachine.h"

namespace vx {

namespace {

constexpr f64 kFastestSoundClockMHz = 100.0;
constexpr f64 kFastestMainClockMHz = 10000.0;  // that another host may dictate
constexpr f64 kShortestFrameUs = 999.0, kLongestFrameUs = 1000001.0;
constexpr f64 kDefaultFrameUs = 1000000.0 / 60.0;
constexpr f64 kBlankShare = 240.0 / 262.0;

u32 BytesLeft(const SStateStream& stream) {
  return stream.position < stream.capacity ? stream.capacity - stream.position : 0;
}

void Skip(SStateStream& stream, u64 bytes) {
  if (bytes <= BytesLeft(stream)) stream.position += static_cast<u32>(bytes);
}

// A list of at most `most` values; what the stream has beyond them is skipped.
template <typename T>
void ReadList(SStateStream& stream, T* target, u32 count, u32 most) {
  const u64 bytes = u64{count} * sizeof(T);
  if (bytes > BytesLeft(stream)) return;
  const u32 kept = std::min(count, most) * static_cast<u32>(sizeof(T));
  ReadBytes(stream, target, kept);
  Skip(stream, bytes - kept);
}

void LoadSoundProcessor(SStateStream& stream, CADSP& processor) {
  ReadValue(stream, processor.state);
  f64& clockMHz = processor.state.clockMHz;
  if (!(clockMHz > 0.0 && clockMHz <= kFastestSoundClockMHz)) clockMHz = kSoundClockMHz;
}

}  // namespace

// --- Parts of the stream -----------------------------------------------------------------------

void CVXMachine::LoadScriptBlobs(SStateStream& stream) {
  u32 count = 0;
  ReadValue(stream, count);
  for (u32 i = 0; i < count; ++i) {
    u64 key = 0;
    u32 size = 0;
    if (!ReadValue(stream, key)) return;
    ReadValue(stream, size);
    SScriptBlob& blob = scriptBlobStore[key];
    blob = SScriptBlob{};
    if (size > BytesLeft(stream)) continue;
    blob.bytes.resize(size);
    ReadBytes(stream, blob.bytes.data(), size);
  }
}

// The tracked pages that the old context told of are emptied if the new one tracks others.
void CVXMachine::LoadPageMap(SStateStream& stream) {
  const SPageRange old = TrackedPages(cpu);
  const u32 oldLow = cpu.mapLow;
  const u32 oldHigh = cpu.mapHigh;
  ReadValue(stream, cpu);
  if (cpu.mapLow != oldLow || cpu.mapHigh != oldHigh) {
    std::memset(pages + old.first, 0, old.Bytes());
  }
  if (cpu.mapLow <= cpu.mapHigh && cpu.mapHigh >= kPageCount) {
    cpu.mapLow = 0xFFFFFFFF;
    cpu.mapHigh = 0;
  }
  if (!(cpu.clockMHz >= 1.0 && cpu.clockMHz <= kFastestMainClockMHz)) {
    cpu.clockMHz = kDefaultClockMHz;
  }
  ReadBytes(stream, pages, kLowPages * sizeof(SPageEntry));
  const SPageRange tracked = TrackedPages(cpu);
  ReadBytes(stream, pages + tracked.first, tracked.Bytes());
}

void CVXMachine::LoadMixer(SStateStream& stream, u32 version) {
  if (ReadValue(stream, mixer.outputCount)) {
    ReadList(stream, mixer.output, mixer.outputCount, CMixer::kOutputValues);
    // Both channels always have as many.
    mixer.outputCount = std::min(mixer.outputCount, CMixer::kOutputValues) & ~1u;
  }
  if (version < kStateWithTail) return;
  u32 count = 0;
  if (!ReadValue(stream, count)) return;
  mixer.ClearTail();
  if (count == 0) return;
  mixer.PrepareTail(soundPort);
  ReadList(stream, mixer.tail.get(), count, mixer.tailCapacity);
  mixer.tailCount = std::min(count, mixer.tailCapacity);
}

// Clones are made anew if there are others now. Making them schedules events of their own, while
// the loaded timeline has theirs already.
void CVXMachine::LoadInstances(SStateStream& stream) {
  u32 count = static_cast<u32>(instances.slots.size());
  ReadValue(stream, count);
  count = std::min(count, CDspInstances::kMost);
  if (count != instances.slots.size()) {
    const std::vector<SEvent> loaded = queue.Entries();
    SetInstanceCount(count);
    queue.Restore(loaded);
  }
  for (SDspInstanceSlot& slot : instances.slots) {
    ReadValue(stream, slot.time);
    ReadValue(stream, slot.reserved8);
    ReadBytes(stream, reinterpret_cast<u8*>(&slot) + kSlotPlaceOffset, kSlotPlaceBytes);
    LoadSoundProcessor(stream, slot.instance->processor);
    ReadValue(stream, slot.instance->board.link);
  }
}

bool CVXMachine::LoadSections(SStateStream& stream, u32 version) {
  {
    const std::lock_guard lock(inputLock);
    ReadValue(stream, state);
    if (version >= kStateWithScriptBlock) ReadValue(stream, scriptState);
  }
  scriptBlobStore.clear();
  if (version >= kStateWithBlobs) LoadScriptBlobs(stream);

  queue.Load(stream);
  LoadPageMap(stream);
  LoadSoundProcessor(stream, sound);
  LoadMixer(stream, version);

  ReadValue(stream, ata.block);
  if (version >= kStateWithTail) ReadValue(stream, ata.timing);
  ReadValue(stream, ata.identifyData);
  ReadValue(stream, soundBoard.link);
  u8 transient = 0;
  ReadValue(stream, transient);
  if (!ApplyDelta(*this, stream)) return false;
  LoadInstances(stream);
  if (transient == 0) {
    bScriptStartSent = 0;
    bResetPending = 1;
  }
  return true;
}

// --- The whole ---------------------------------------------------------------------------------

// Whatever was loaded, the processors are near the present, and a frame end comes within a frame
// or two. What repeats by itself is pending once.
void CVXMachine::MendTimeline() {
  queue.MendLoaded();
  queue.MendTime(state.mainTime);
  queue.MendTime(state.soundTime);
  queue.KeepSoonest(videoEventStartId);
  queue.KeepSoonest(videoEventEndId);
  queue.KeepSoonest(soundBoard.TickId());
  for (SDspInstanceSlot& slot : instances.slots) {
    queue.MendTime(slot.time);
    queue.KeepSoonest(slot.instance->board.TickId());
  }
  f64& period = state.framePeriodUs;
  if (!(period >= kShortestFrameUs && period <= kLongestFrameUs)) period = kDefaultFrameUs;
  const f64 now = queue.LastFired();
  if (queue.TimeOf(videoEventEndId) <= now + 2 * period) return;
  queue.Cancel(videoEventStartId);
  queue.Cancel(videoEventEndId);
  queue.Schedule(now + period * kBlankShare, videoEventStartId, 0);
  queue.Schedule(now + period, videoEventEndId, 0);
}

bool CVXMachine::LoadBehindMemory(SStateStream& stream, u32 version) {
  const bool bWhole = LoadSections(stream, version);
  // Samples of the frame and commands under way are no part of a state.
  soundBoard.sampleCount = 0;
  soundBoard.bHasSamples = 0;
  for (SDspInstanceSlot& slot : instances.slots) {
    slot.instance->board.sampleCount = 0;
    slot.instance->board.bHasSamples = 0;
    slot.instance->ClearCommands();
  }
  MendTimeline();
  return bWhole;
}

bool CVXMachine::LoadState(SStateStream* stream) noexcept {
  u32 version = 0;
  if (stream == nullptr || !ReadValue(*stream, version) || version > kStateVersion) return false;
  ReadBytes(*stream, flatMem, kLowRamBytes);
  ReadBytes(*stream, flatMem + kFlatMainRam, kMainRamBytes);
  return LoadBehindMemory(*stream, version);
}

}  // namespace vx
