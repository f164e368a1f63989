// CADSP: the board's sound processor, an ADSP-2100 family core (24-bit instructions, 16-bit data,
// two address generators), executed word by word at one cycle a word. The subset that the board's
// sound programs use is implemented; any other word tells the host and does nothing.
//
// What differs from the family's published manual, and is what sound programs hear:
// - interrupts are looked at when a slice starts, when IMASK or ICNTL is written and at RTI; a
//   masked one holds back all of lower priority;
// - x operand 5 of ALU and multiplier reads MR1; a right shift is always logical; a product is 32
//   bits wide; several ALU operations set their flags in their own way (see ADSPAlu.h);
// - a loop goes round while its condition is true, and a counter of 0 makes one round.
//
// The core serves two hosts: the machine's own processor and its clones (InstancedADSP.h). What
// differs between them stands in SADSPVariant. One thread.
#pragma once

#include <vector>

#include "base/Types.h"
#include "machine/EventQueue.h"
#include "sound/ADSPState.h"
#include "sound/SoundPort.h"

namespace vx {

class CSoundBoard;

// What sets the machine's own processor and a clone apart.
struct SADSPVariant {
  bool bIdleSkip;    // the program's wait loops end the slice at once
  bool bQuietTimer;  // stops when its program has had nothing to do for a while
  u32 patchCount;    // native routines that take the place of the program's hot loops
};
inline constexpr SADSPVariant kMainProcessor{true, false, 4};
inline constexpr SADSPVariant kInstancedProcessor{false, true, 6};

// A script hook planted in the sound program: its word, the word that it stands for, where, and
// what the script knows it by.
struct SDspPatch {
  u32 handle, savedWord, address, tag;
};
static_assert(sizeof(SDspPatch) == 16);

// A word that the system plants in program memory: patches have the numbers below 6, script hooks
// those from 6 on.
inline constexpr u32 kPlantedWord = 0x010000;
inline constexpr u32 kFirstHookNumber = 6;

class CADSP {
 public:
  using ReadHandler = u16 (*)(CSoundBoard* board, u32 address);
  using WriteHandler = void (*)(CSoundBoard* board, u32 address, u16 value);

  // Zero state, the clock, registration of events, then a full reset. `board` is wired before.
  void Construct(f64 clockMHz, CEventQueue* queue, CSoundPort* port, const SADSPVariant& variant);
  // Cancels and frees the events, the last registered first.
  void Unregister();
  // Machine reset: memories, banks, address registers, then ProcessorReset.
  void FullReset();
  // The reset that the guest can cause; memories and data registers stay. MSTAT and latched
  // interrupts survive both resets.
  void ProcessorReset();

  // --- Execution (ADSPSequencer.cpp) -----------------------------------------------------------
  // Runs a slice of at least 1 cycle and answers the cycles done, which a patch can take past the
  // target.
  u32 Run(u32 targetCycles);
  bool IsInSlice() const { return state.cycleTarget != 0; }
  // Makes a running slice end with the present instruction.
  void CutSlice();
  // Executes one word as if it had been fetched; the PC stands behind it.
  void Execute(u32 word);
  // Takes the first pending interrupt if it is enabled.
  void CheckInterrupts() {
    if ((state.irqLevel | state.irqLatched) != 0) TakeInterrupt();
  }
  // Raises an interrupt line; a rising edge latches.
  void RaiseLine(u32 pending) {
    if ((state.irqLevel & pending) == 0) state.irqLatched |= pending;
    state.irqLevel |= pending;
  }
  void DropLine(u32 pending) { state.irqLevel &= ~pending; }

  // What an instruction's condition field says; the counter's condition counts down.
  bool EvalCondition(u32 code, u32 astat);
  void StepLoopEnd(u32 pc, u32 astat);
  void PushPc(u32 value);
  u32 PopPc();
  void PushLoop(u32 entry);
  void PopLoop();
  void PushCounter(u32 value);
  void PopCounter();
  void PushStatus();
  void PopStatus();
  // Exchanges the register banks if bit 0 changes.
  void WriteMstat(u32 value);

  // --- Buses (ADSPMemory.h) --------------------------------------------------------------------
  u32 Fetch(u32 address) const;
  u16 ReadData(u32 address);
  // False if the write has rebooted the processor: the rest of its instruction does nothing.
  bool WriteData(u32 address, u16 value);
  // The same for an address that is known to lead to RAM or, when reading, to the ROM window.
  u16 ReadNear(u32 address) const;
  void WriteNear(u32 address, u16 value);
  // The whole 24-bit word; the caller takes it apart.
  u32 ReadProgram(u32 address) const;
  void WriteProgram(u32 address, u32 value);

  // --- Registers (ADSPRegisters.cpp) -----------------------------------------------------------
  u16& DataRegister(u32 byteOffset) {
    return *reinterpret_cast<u16*>(reinterpret_cast<u8*>(this) + byteOffset);
  }
  u32 ReadGroup(u32 group, u32 index);
  void WriteGroup(u32 group, u32 index, u32 value);
  void WriteIndex(u32 dag, u32 value);
  void WriteLength(u32 dag, u32 value);
  void WriteModify(u32 dag, u32 value);

  // --- End of the boot, patches and hooks (ADSPPatches.cpp) ------------------------------------
  // Plants a patch over every hot loop that stands in program memory as it is known, or the
  // scripts' hooks anew if there are any.
  void FinishBoot();
  // Executes the planted word of this number.
  void ExecutePlanted(u32 number);

  // --- Quiet timer of an instance --------------------------------------------------------------
  void ArmQuiet();
  // Clears both flags; true if one was set.
  bool WakeUp();

  // saved
  SADSPState state;
  // read as the y operand of ALU and multiplier that is always 0; never written
  u32 zeroOperand = 0;

  // wiring
  const SADSPVariant* variant = &kMainProcessor;
  CSoundBoard* board = nullptr;
  std::vector<SDspPatch>* hooks = nullptr;  // the machine's; null in an instance
  u32 hookDepth = 0;
  bool bRebooted = false;  // by the data write under way
  ReadHandler readTable[kAdspDataAddresses] = {};
  WriteHandler writeTable[kAdspDataAddresses] = {};
  CEventQueue* queue = nullptr;
  CSoundPort* port = nullptr;
  u32 bootDoneEventId = CEventQueue::kNoId;
  u32 quietStopEventId = CEventQueue::kNoId;  // instances only

 private:
  static void OnBootDone(void* context, u64 userData, f64 time);
  static void OnQuietStop(void* context, u64 userData, f64 time);

  void TakeInterrupt();
  u16 ReadDataFar(u32 address);
  bool WriteDataFar(u32 address, u16 value);
  void PlantPatches();
  void PlantHooks();
  void ExecuteHook(u32 index);
};

}  // namespace vx
