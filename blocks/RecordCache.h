// The file that keeps discovered guest code between runs.
#pragma once

namespace vx {

class CVXMachine;

// Brings back the records of the present pack, if the machine keeps them. Called by a reset.
inline void LoadRecordCache(CVXMachine&) {}
// Keeps the machine's records for its pack's next run. Called before the pack goes.
inline void StoreRecordCache(CVXMachine&) {}

}  // namespace vx
