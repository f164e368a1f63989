// The instruction forms: what surrounds a unit's operation, and all instructions without one.
//
// Order within an instruction is what programs see: forms that read memory compute first and load
// last; forms that write memory store first. After a write that reboots the processor the rest of
// the instruction does nothing.
#pragma once

#include <iterator>

#include "sound/ADSPCondition.h"
#include "sound/ADSPMemory.h"
#include "sound/ADSPUnits.h"

namespace vx {

// --- Fields ------------------------------------------------------------------------------------

inline u16& LowDataRegister(CADSP& p, u32 word) {
  return p.DataRegister(kDataRegisters[Bits(word, 0, 4)]);
}
inline u16& HighDataRegister(CADSP& p, u32 word) {
  return p.DataRegister(kDataRegisters[Bits(word, 4, 4)]);
}
constexpr u32 AddressField(u32 word) { return Bits(word, 4, 14); }
constexpr u32 ConditionField(u32 word) { return Bits(word, 0, 4); }

template <EGenerator generator>
constexpr u32 IndexField(u32 word) {
  return Bits(word, 2, 2) + static_cast<u32>(generator);
}
template <EGenerator generator>
constexpr u32 ModifierField(u32 word) {
  return Bits(word, 0, 2) + static_cast<u32>(generator);
}

// --- ASTAT in its register ---------------------------------------------------------------------

using PlainOp = void (*)(CADSP& p, u32 word);

// A word that neither reads nor writes ASTAT.
template <PlainOp op>
u32 Apart(CADSP& p, u32 word, u32 astat) {
  op(p, word);
  return astat;
}

// A word that may reach ASTAT in the state, by a register access, a device or a script.
template <PlainOp op>
u32 Synced(CADSP& p, u32 word, u32 astat) {
  p.state.astat = astat;
  op(p, word);
  return p.state.astat;
}

// --- Memory accesses through an address register -----------------------------------------------

template <EGenerator generator>
[[gnu::always_inline]] inline void StepIndex(SADSPState& s, u32 word) {
  PostModify(s, IndexField<generator>(word), ModifierField<generator>(word));
}

template <EGenerator generator>
[[gnu::always_inline]] inline u32 AddressOf(const SADSPState& s, u32 word) {
  return DataAddress<generator>(s, IndexField<generator>(word));
}

// The rest of an instruction whose access leads to a device. Each stands apart from the near case,
// which thus calls nothing and saves no register.
template <EGenerator generator>
[[gnu::noinline, gnu::cold]] u32 LoadFar(CADSP& p, u32 word, u32 astat) {
  p.state.astat = astat;
  const u16 value = p.ReadData(AddressOf<generator>(p.state, word));
  StepIndex<generator>(p.state, word);
  HighDataRegister(p, word) = value;
  return p.state.astat;
}

template <UnitOp op, EGenerator generator>
[[gnu::noinline, gnu::cold]] u32 StoreFar(CADSP& p, u32 word, u32 astat, u16 value) {
  p.state.astat = astat;
  if (!p.WriteData(AddressOf<generator>(p.state, word), value)) return p.state.astat;
  StepIndex<generator>(p.state, word);
  return op(p, word, p.state.astat);
}

template <EGenerator generator>
[[gnu::always_inline]] inline u32 LoadAndStep(CADSP& p, u32 word, u32 astat) {
  const u32 address = AddressOf<generator>(p.state, word);
  if (!IsNearToRead(address)) [[unlikely]]
    return LoadFar<generator>(p, word, astat);
  const u16 value = p.ReadNear(address);
  StepIndex<generator>(p.state, word);
  HighDataRegister(p, word) = value;
  return astat;
}

template <UnitOp op, EGenerator generator>
[[gnu::always_inline]] inline u32 StoreAndStep(CADSP& p, u32 word, u32 astat, u16 value) {
  const u32 address = AddressOf<generator>(p.state, word);
  if (!IsNearToWrite(address)) [[unlikely]]
    return StoreFar<op, generator>(p, word, astat, value);
  p.WriteNear(address, value);
  StepIndex<generator>(p.state, word);
  return op(p, word, astat);
}

inline u32 DoNothing(CADSP&, u32, u32 astat) { return astat; }

// --- Forms around a unit's operation -----------------------------------------------------------

template <UnitOp op>
u32 Conditional(CADSP& p, u32 word, u32 astat) {
  return p.EvalCondition(ConditionField(word), astat) ? op(p, word, astat) : astat;
}

// The source is read before the operation and lands after it.
template <UnitOp op>
u32 WithMove(CADSP& p, u32 word, u32 astat) {
  const u16 value = LowDataRegister(p, word);
  astat = op(p, word, astat);
  HighDataRegister(p, word) = value;
  return astat;
}

template <UnitOp op, EGenerator generator>
u32 WithDataRead(CADSP& p, u32 word, u32 astat) {
  return LoadAndStep<generator>(p, word, op(p, word, astat));
}

template <UnitOp op, EGenerator generator>
u32 WithDataWrite(CADSP& p, u32 word, u32 astat) {
  return StoreAndStep<op, generator>(p, word, astat, HighDataRegister(p, word));
}

template <UnitOp op>
u32 WithProgramRead(CADSP& p, u32 word, u32 astat) {
  astat = op(p, word, astat);
  SADSPState& s = p.state;
  const u32 index = IndexField<EGenerator::Second>(word);
  const u32 read = p.ReadProgram(s.dag[index].i & kAddressMask);
  PostModify(s, index, ModifierField<EGenerator::Second>(word));
  s.px = read & 0xFF;
  HighDataRegister(p, word) = static_cast<u16>(read >> 8);
  return astat;
}

template <UnitOp op>
u32 WithProgramWrite(CADSP& p, u32 word, u32 astat) {
  SADSPState& s = p.state;
  const u32 index = IndexField<EGenerator::Second>(word);
  p.WriteProgram(s.dag[index].i & kAddressMask,
                 u32{HighDataRegister(p, word)} << 8 | (s.px & 0xFF));
  PostModify(s, index, ModifierField<EGenerator::Second>(word));
  return op(p, word, astat);
}

// --- Moves and immediates ----------------------------------------------------------------------

inline void MoveRegister(CADSP& p, u32 word) {
  const u32 value = p.ReadGroup(Bits(word, 8, 2), Bits(word, 0, 4));
  p.WriteGroup(Bits(word, 10, 2), Bits(word, 4, 4), value);
}

inline void LoadDataImmediate(CADSP& p, u32 word) {
  LowDataRegister(p, word) = static_cast<u16>(Bits(word, 4, 16));
}

template <u32 group>
void LoadGroupImmediate(CADSP& p, u32 word) {
  u32 value = AddressField(word);
  if constexpr (group == 3) value = static_cast<u32>(static_cast<i32>(value << 18) >> 18);
  p.WriteGroup(group, Bits(word, 0, 4), value);
}

template <u32 group>
void LoadGroupFromData(CADSP& p, u32 word) {
  const u32 value = p.ReadData(AddressField(word));
  p.WriteGroup(group, Bits(word, 0, 4), value);
}

template <u32 group>
void StoreGroupToData(CADSP& p, u32 word) {
  p.WriteData(AddressField(word), static_cast<u16>(p.ReadGroup(group, Bits(word, 0, 4))));
}

template <EGenerator generator>
u32 StoreImmediate(CADSP& p, u32 word, u32 astat) {
  return StoreAndStep<DoNothing, generator>(p, word, astat, static_cast<u16>(Bits(word, 4, 16)));
}

inline void ModifyAddress(CADSP& p, u32 word) {
  PostModify(p.state, Bits(word, 2, 3), Bits(word, 0, 2) + 4 * Bits(word, 4, 1));
}

// --- Program flow ------------------------------------------------------------------------------

inline void ReportMissing(CADSP& p, u32 word) {
  p.port->Log(ESoundLog::Error, "ADSP unimplemented op at PC %08X: %08X (%i)\n", p.state.pc, word,
              word >> 16 & 0xFF);
}

inline void Planted(CADSP& p, u32 word) { p.ExecutePlanted(word & 0xFFFF); }

inline void DoUntil(CADSP& p, u32 word) {
  p.PushPc(p.state.pc);
  p.PushLoop(Bits(word, 0, 18));
}

// The sound program's two wait loops. The processor of the machine gives the rest of its slice up
// in them; a clone has none of that.
struct SWaitLoop {
  u32 jump, pc;  // the jump back, and the PC behind it
  u32 address, first, second;
};
// clang-format off
inline constexpr SWaitLoop kWaitLoops[] = {
  // jump      pc   address  words there
  { 0x181305, 307, 304,     0x0D02A3, 0x26E20F },
  { 0x181364, 313, 310,     0x0D02A3, 0x26E20F },
};
// clang-format on
inline constexpr u32 kWaitLoopCycles = 5;  // after which a slice in a wait loop is given up

inline void SkipIfWaiting(CADSP& p, const SWaitLoop& loop) {
  SADSPState& s = p.state;
  const bool bWaits = p.variant->bIdleSkip && s.pc == loop.pc &&
                      s.internalRam[loop.address] == loop.first &&
                      s.internalRam[loop.address + 1] == loop.second;
  if (bWaits && s.cycles > kWaitLoopCycles) s.cycles = s.cycleTarget;
}

inline u32 Jump(CADSP& p, u32 word, u32 astat) {
  if (!p.EvalCondition(ConditionField(word), astat)) return astat;
  for (const SWaitLoop& loop : kWaitLoops) {
    if (word == loop.jump) SkipIfWaiting(p, loop);
  }
  p.state.pc = AddressField(word);
  return astat;
}

inline u32 Call(CADSP& p, u32 word, u32 astat) {
  if (!p.EvalCondition(ConditionField(word), astat)) return astat;
  p.PushPc(p.state.pc);
  p.state.pc = AddressField(word);
  return astat;
}

inline u32 JumpIndirect(CADSP& p, u32 word, u32 astat) {
  if (!p.EvalCondition(ConditionField(word), astat)) return astat;
  const bool bCall = Bits(word, 4, 1) != 0;
  if (bCall) p.PushPc(p.state.pc);
  p.state.pc = p.state.dag[4 + Bits(word, 6, 2)].i & kAddressMask;
  return astat;
}

inline u32 Return(CADSP& p, u32 word, u32 astat) {
  if (!p.EvalCondition(ConditionField(word), astat)) return astat;
  p.state.pc = p.PopPc();
  const bool bFromInterrupt = Bits(word, 4, 1) != 0;
  if (!bFromInterrupt) return astat;
  p.PopStatus();
  p.CheckInterrupts();
  return p.state.astat;
}

// Pairs of bits from bit 2 up: touch the mode, and its value.
inline void ControlModes(CADSP& p, u32 word) {
  static constexpr u32 kModes[] = {
      kMstatGo,       kMstatAlternateBank, kMstatBitReverse, kMstatOverflowLatch,
      kMstatSaturate, kMstatIntegerMac,    kMstatTimer};
  u32 mstat = p.state.mstat;
  for (u32 i = 0; i < std::size(kModes); ++i) {
    const u32 pair = Bits(word, 2 + 2 * i, 2);
    if ((pair & 2) == 0) continue;
    mstat = (pair & 1) != 0 ? mstat | kModes[i] : mstat & ~kModes[i];
  }
  p.WriteMstat(mstat);
}

}  // namespace vx
