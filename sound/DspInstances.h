// CDspInstances: the clones of the sound processor that a script has asked for, each with a place
// in space. The sound of a command's channel plays on the clone of that number.
#pragma once

#include <memory>
#include <vector>

#include "base/Types.h"
#include "machine/EventQueue.h"
#include "sound/InstancedADSP.h"

namespace vx {

// One instance as the machine lists it. Bytes 0 to 43 are saved.
struct SDspInstanceSlot {
  f64 time = 0.0;  // the instance's position on the timeline
  u64 reserved8 = 0;
  f32 position[3] = {};
  f32 range = 0.0f;
  u8 bHasGains = 0;
  u8 reserved33[3] = {};
  f32 gainLeft = 0.0f;
  f32 gainRight = 0.0f;
  u32 reserved44 = 0;
  std::shared_ptr<CInstancedADSP> instance;
};
static_assert(sizeof(SDspInstanceSlot) == 64);
static_assert(offsetof(SDspInstanceSlot, position) == 16 &&
              offsetof(SDspInstanceSlot, range) == 28);
static_assert(offsetof(SDspInstanceSlot, bHasGains) == 32);
static_assert(offsetof(SDspInstanceSlot, gainLeft) == 36);
static_assert(offsetof(SDspInstanceSlot, gainRight) == 40);
static_assert(offsetof(SDspInstanceSlot, instance) == 48);

class CDspInstances {
 public:
  // A channel is one byte, so that no more can be reached.
  static constexpr u32 kMost = 256;

  bool IsActive() const { return bActive_; }
  // Destroys all clones, the last first.
  void Clear(CEventQueue& queue);
  // Clones the processor `count` times, at most kMost; their times start at `time`.
  void Create(u32 count, const CADSP& processor, const CSoundBoard& board, f64 time);
  // Appends one byte to every clone's commands.
  void Forward(u8 command);
  // Puts a command on the clone of its channel, which plays at that place. False if the command
  // has no channel or the channel no clone.
  bool Play(u16 command, const f32 (&position)[3], f32 range, const CSoundBoard::SRom& rom);
  // The first clone inside a slice; null if there is none.
  SDspInstanceSlot* FindRunning();

  std::vector<SDspInstanceSlot> slots;

 private:
  bool bActive_ = false;
};

}  // namespace vx
