// The file that keeps discovered guest code between runs of a pack: the op records as they were
// formed, with their code words. A machine that keeps its code starts with its blocks formed and
// matched; the block generator reads the same file.
#pragma once

#include <vector>

#include "blocks/Formats.h"

namespace vx {

class CVXMachine;

// The machine's records as such a file holds them.
std::vector<u8> PackRecordCache(const CVXMachine& machine);
// Brings back words and records of the present pack, if the machine keeps them and is no clone.
// Called by a reset, after the records have been cleared. A missing or foreign file does nothing.
void LoadRecordCache(CVXMachine& machine);
// Writes the machine's records for the next run of its pack. Called before the pack goes.
void StoreRecordCache(CVXMachine& machine);

}  // namespace vx
