// Writing a save state. LoadState.cpp reads in the same order.
#include "base/StateStream.h"
#include "devices/DiskOverlay.h"
#include "machine/StateFormat.h"
#include "machine/VXMachine.h"

namespace vx {

namespace {

void SaveInstance(const SDspInstanceSlot& slot, SStateStream& stream) {
  WriteValue(stream, slot.time);
  WriteValue(stream, slot.reserved8);
  WriteBytes(stream, reinterpret_cast<const u8*>(&slot) + kSlotPlaceOffset, kSlotPlaceBytes);
  WriteValue(stream, slot.instance->processor.state);
  WriteValue(stream, slot.instance->board.link);
}

}  // namespace

void CVXMachine::SaveState(SStateStream* caller, u8 transient) noexcept {
  if (caller == nullptr) return;
  SStateStream& stream = *caller;
  WriteValue(stream, kStateVersion);
  WriteBytes(stream, flatMem, kLowRamBytes);
  WriteBytes(stream, flatMem + kFlatMainRam, kMainRamBytes);
  {
    const std::lock_guard lock(inputLock);
    WriteValue(stream, state);
    WriteValue(stream, scriptState);
  }

  WriteValue(stream, static_cast<u32>(scriptBlobStore.size()));
  for (const auto& [key, blob] : scriptBlobStore) {
    const u32 size = static_cast<u32>(blob.bytes.size());
    WriteValue(stream, key);
    WriteValue(stream, size);
    WriteBytes(stream, blob.bytes.data(), size);
  }

  queue.Save(stream);
  WriteValue(stream, cpu);
  WriteBytes(stream, pages, kLowPages * sizeof(SPageEntry));
  const SPageRange tracked = TrackedPages(cpu);
  WriteBytes(stream, pages + tracked.first, tracked.Bytes());

  WriteValue(stream, sound.state);
  WriteValue(stream, mixer.outputCount);
  WriteBytes(stream, mixer.output, mixer.outputCount * sizeof(i16));
  WriteValue(stream, mixer.tailCount);
  WriteBytes(stream, mixer.tail.get(), mixer.tailCount * sizeof(i32));

  WriteValue(stream, ata.block);
  WriteValue(stream, ata.timing);
  WriteValue(stream, ata.identifyData);
  WriteValue(stream, soundBoard.link);
  WriteValue(stream, transient);
  WriteDelta(*this, stream);

  WriteValue(stream, static_cast<u32>(instances.slots.size()));
  for (const SDspInstanceSlot& slot : instances.slots) SaveInstance(slot, stream);
}

}  // namespace vx
