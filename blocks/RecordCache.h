// The file that keeps discovered guest code between runs of a pack: the op records as they were
// formed, with their code words. A machine that keeps its code starts with its blocks formed and
// matched; the block generator reads the same file.
//
// Header; then runs of consecutive records: u16 count, u32 first index, and word, flags and link of
// each; a count of 0 ends the file. All little-endian.
#pragma once

#include "base/Types.h"

namespace vx {

class CVXMachine;

inline constexpr u64 kRecordCacheMagic = 0xFA57A55BC6969696;
inline constexpr u32 kRecordCacheVersion = 3;
inline constexpr u32 kRecordCacheMaxRun = 65535;

struct SRecordCacheHeader {
  u64 magic;
  u32 version;
  u32 recordCount;
};
struct SCachedRecord {
  u32 word;
  u32 flags;  // without breakpoint bits
  u32 link;
};
static_assert(sizeof(SRecordCacheHeader) == 16 && sizeof(SCachedRecord) == 12);

// Brings back words and records of the present pack, if the machine keeps them and is no clone.
// Called by a reset, after the records have been cleared. A missing or foreign file does nothing.
void LoadRecordCache(CVXMachine& machine);
// Writes the machine's records for the next run of its pack. Called before the pack goes.
void StoreRecordCache(CVXMachine& machine);

}  // namespace vx
