#include "sound/DspInstances.h"

#include <algorithm>

#include "sound/SoundRom.h"

namespace vx {

namespace {

// The word that a script hook stands for, through hooks on hooks. A clone has no hooks.
u32 WithoutHooks(u32 word, const std::vector<SDspPatch>& hooks) {
  for (size_t tries = 0; tries <= hooks.size(); ++tries) {
    const u32 number = word & 0xFFFF;
    if ((word & ~0xFFFFu) != kPlantedWord || number < kFirstHookNumber) return word;
    if (number - kFirstHookNumber >= hooks.size()) return word;
    word = hooks[number - kFirstHookNumber].savedWord;
  }
  return word;
}

}  // namespace

void CDspInstances::Clear(CEventQueue& queue) {
  bActive_ = false;
  for (SDspInstanceSlot& slot : slots) queue.RemoveRebased(&slot.time);
  while (!slots.empty()) slots.pop_back();
}

void CDspInstances::Create(u32 count, const CADSP& processor, const CSoundBoard& board, f64 time) {
  const auto snapshot = std::make_unique<SDspSnapshot>(
      SDspSnapshot{processor.state, board.link, board.Rom(), board.TickId()});
  if (processor.hooks != nullptr && !processor.hooks->empty()) {
    SADSPState& state = snapshot->state;
    for (u32& word : state.internalRam) word = WithoutHooks(word, *processor.hooks);
    for (u32& word : state.externalRam) word = WithoutHooks(word, *processor.hooks);
  }
  count = std::min(count, kMost);
  slots.reserve(count);
  for (u32 i = 0; i < count; ++i) {
    SDspInstanceSlot& slot = slots.emplace_back();
    slot.instance = std::make_shared<CInstancedADSP>(*snapshot, processor.queue, processor.port);
    slot.time = time;
  }
  for (SDspInstanceSlot& slot : slots) processor.queue->AddRebased(&slot.time);
  bActive_ = true;
}

void CDspInstances::Forward(u8 command) {
  if (!bActive_) return;
  for (SDspInstanceSlot& slot : slots) {
    slot.instance->Append(command);
    slot.instance->FeedNow();
  }
}

bool CDspInstances::Play(u16 command, const f32 (&position)[3], f32 range,
                         const CSoundBoard::SRom& rom) {
  if (!bActive_) return false;
  const i32 channel = ChannelOfCommand(rom.base, command);
  if (channel < 0 || static_cast<u32>(channel) >= slots.size()) return false;
  SDspInstanceSlot& slot = slots[static_cast<u32>(channel)];
  slot.range = range;
  std::copy(std::begin(position), std::end(position), slot.position);
  CInstancedADSP& instance = *slot.instance;
  instance.processor.WakeUp();
  instance.Append(command >> 8);
  instance.Append(command & 0xFF);
  instance.FeedNow();
  return true;
}

SDspInstanceSlot* CDspInstances::FindRunning() {
  if (!bActive_) return nullptr;
  for (SDspInstanceSlot& slot : slots) {
    if (slot.instance->processor.IsInSlice()) return &slot;
  }
  return nullptr;
}

}  // namespace vx
