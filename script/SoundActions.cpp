// Positional sound: clones of the sound processor, what the sound ROMs tell about a sound, the
// listener, and sounds with a place.
#include <algorithm>

#include "machine/VXMachine.h"
#include "script/ScriptActions.h"
#include "sound/SoundRom.h"

namespace vx::script {

namespace {

// A sound identifier is the 16-bit command that plays it.
u16 Sound(u32 word) { return static_cast<u16>(word); }

struct SVector {
  f32 xyz[3];
};

}  // namespace

void SetSoundInstances(const SScriptCall& call) {
  const u32 count = std::min(call.Scalar(), call.bound);
  const CDspInstances& instances = call.m->instances;
  const bool bSame = instances.IsActive() ? count == instances.slots.size() : count == 0;
  if (!bSame) call.m->SetInstanceCount(count);
}

void IsSoundPositional(const SScriptCall& call) {
  const u8* const rom = call.m->soundBoard.Rom().base;
  call.Out(0, u32{CommandIsSimple(rom, Sound(call.words[1]))});
}

void GetSoundChannel(const SScriptCall& call) {
  const u8* const rom = call.m->soundBoard.Rom().base;
  call.Out(0, ChannelOfCommand(rom, Sound(call.words[1])));
}

// Lasts until a pack is loaded: no state holds ROMs.
void SetSoundChannel(const SScriptCall& call) {
  SetChannelOfCommand(call.m->flatMem + kFlatSoundRoms, Sound(call.words[0]),
                      static_cast<u8>(call.words[1]));
}

void SetListener(const SScriptCall& call) {
  SMachineState& state = call.m->state;
  if (std::find(call.words, call.words + 4, 0u) == call.words + 4) {
    for (u32 i = 0; i < 4; ++i) {
      const SVector vector = call.In<SVector>(i);
      std::copy_n(vector.xyz, 3, state.listenerVectors[i]);
    }
    state.frameFlags |= kFrameScriptListener;
  }
  state.bInvertRight = call.words[4];
}

void PlayPositional(const SScriptCall& call) {
  const SVector position = call.In<SVector>(1);
  const f32 range = call.In<f32>(2);
  const bool bPlayed =
      call.m->instances.Play(Sound(call.words[0]), position.xyz, range, call.m->soundBoard.Rom());
  call.Out(3, u32{bPlayed});
}

}  // namespace vx::script
