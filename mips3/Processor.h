// The main processor's interface to the rest of the board: reset, slices, exceptions and COP0.
#pragma once

#include "machine/VXMachine.h"

namespace vx {

// Registers the Compare event and wires the processor to its machine, at construction.
void InitialiseProcessor(CVXMachine* m);
// Power-on state of registers, TLB and page map; the clock stays.
void ResetProcessor(CVXMachine* m);

// Runs a slice of at least 1 cycle and answers the cycles spent. A block that is under way when the
// budget is reached runs to its end.
u32 RunProcessor(CVXMachine* m, u32 budget);

// --- Op execution ------------------------------------------------------------------------------

// Executes one op word through the main op table.
void ExecuteWord(CVXMachine* m, u32 word);
// Tells the host of an op that the board lacks, and goes on.
void ExecuteUnimplemented(CVXMachine* m, u32 word);
// The handler that a record of this word gets, and its private dispatch code for replay.
OpHandler ChooseHandler(u32 word);
u32 ChooseDispatch(u32 word);
// Runs the records from `first` up to `last`, the end of their block, in plain mode.
void ReplayPlain(CVXMachine* m, const SPredecodedOp* first, const SPredecodedOp* last);

// --- COP0 --------------------------------------------------------------------------------------

enum EExceptionCode : u32 {
  kExceptionSyscall = 0x20,
  kExceptionBreak = 0x24,
  kExceptionUnknownCop0 = 0x28,
};

// Enters the exception vector after the delay op of a pending branch has run. With EXL set already
// only pc moves.
void TakeException(CVXMachine* m, u32 code);
// Enters the vector for a device interrupt if one is pending and enabled.
bool TakePendingInterrupt(CVXMachine* m);
// Reads as mfc0 and mtc0 do, by register number; reading can move time on.
u64 ReadCop0(CVXMachine* m, u32 index, u32 target);
void WriteCop0(CVXMachine* m, u32 index, u64 value);
// Executes a COP0 function word: TLB ops, eret, or an exception for any other.
void ExecuteCop0Function(CVXMachine* m, u32 word);
// The functions that change the processor: tlbwi and eret.
void WriteTlbIndexed(CVXMachine* m);
void ReturnFromException(CVXMachine* m);
// Recognises the guest's loop that waits for an interrupt in Cause; pc is that of the op behind the
// mfc0, reg its target.
bool IsIdleLoop(const CVXMachine* m, u32 pc, u32 reg);
// Now in the numbering of the Count register.
u32 CurrentCount(const CVXMachine* m);

// --- Page map ----------------------------------------------------------------------------------

// Maps both halves of a TLB entry as far as its address space matches.
void MapTlbEntry(CVXMachine* m, u32 index);
// Maps all entries that are not global anew, after the address space id has changed.
void RemapAllTlb(CVXMachine* m);
// Empties all mappings and installs the two unmapped segments.
void ResetPageMap(CVXMachine* m);

}  // namespace vx
