// Guest breakpoints: host callbacks on a guest code word, by its flat offset, so that they hit
// whatever maps there. A block that holds one runs neither natively nor in plain replay.
#pragma once

#include "machine/VXMachine.h"

namespace vx {

// Adds a callback to a word with a record. The blocks over it are formed anew when next reached; a
// callback that is there already changes nothing.
void SetBreakpoint(CVXMachine* m, u32 flatOffset, u32 callbackId);
// Drops the word's callbacks altogether, with a warning if there are several.
void ClearBreakpoint(CVXMachine* m, u32 flatOffset);
void ClearAllBreakpoints(CVXMachine* m);

// Puts the wrapper in place of the handler of a record that is being written, whose block spans
// the records from `head` to `index`.
void InstallBreakpoint(CVXMachine* m, u32 head, u32 index);
// Marks a block's records for careful replay without native code.
void MarkBlockCareful(CVXMachine* m, u32 head, u32 index);
// Asks the callbacks of the word before pc and runs the op if they say so. A word without an entry
// is not run.
void RunBreakpoint(CVXMachine* m, u32 word);

}  // namespace vx
