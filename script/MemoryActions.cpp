// The guest memory image by flat offset. Writing reaches ROMs too, and leaves op records alone:
// code that has been formed runs on as it was.
#include <cstring>

#include "machine/VXMachine.h"
#include "mips3/Memory.h"
#include "script/ScriptActions.h"

namespace vx::script {

namespace {

bool Fits(const SScriptCall& call, u32 offset, u64 bytes) { return offset + bytes <= call.bound; }

template <typename T>
void Read(const SScriptCall& call) {
  const u32 offset = call.words[0];
  call.Out<T>(1, Fits(call, offset, sizeof(T)) ? LoadFlat<T>(call.m, offset) : T{0});
}

template <typename T>
void Write(const SScriptCall& call) {
  const u32 offset = call.words[0];
  if (Fits(call, offset, sizeof(T))) StoreFlat<T>(call.m, offset, call.In<T>(1));
}

// The script's side of a block; null if either side does not have it whole. An empty one is never
// looked at.
u8* ScriptBlock(const SScriptCall& call) {
  const u32 bytes = call.words[2];
  return Fits(call, call.words[0], bytes) ? call.memory.Span(call.words[1], bytes) : nullptr;
}

}  // namespace

void VirtualToFlat(const SScriptCall& call) {
  call.Out(0, FlatIndexOfVirtual(call.m, call.words[1]));
}
void VirtualToPhysical(const SScriptCall& call) {
  call.Out(0, PhysicalOfVirtual(call.m, call.words[1]));
}

void Read8(const SScriptCall& call) { Read<u8>(call); }
void Read16(const SScriptCall& call) { Read<u16>(call); }
void Read32(const SScriptCall& call) { Read<u32>(call); }
void Read64(const SScriptCall& call) { Read<u64>(call); }
void Write8(const SScriptCall& call) { Write<u8>(call); }
void Write16(const SScriptCall& call) { Write<u16>(call); }
void Write32(const SScriptCall& call) { Write<u32>(call); }
void Write64(const SScriptCall& call) { Write<u64>(call); }

// A host may give scripts the guest memory itself, so that the two can overlap.
void ReadBlock(const SScriptCall& call) {
  if (u8* const block = ScriptBlock(call)) {
    std::memmove(block, call.m->flatMem + call.words[0], call.words[2]);
  }
}
void WriteBlock(const SScriptCall& call) {
  if (const u8* const block = ScriptBlock(call)) {
    std::memmove(call.m->flatMem + call.words[0], block, call.words[2]);
  }
}

}  // namespace vx::script
