// Which blocks of discovered code become native functions, and why others do not.
//
// A block runs from the word at which control enters to the end that the run loop would give it:
// the delay op of a branch, or an op behind which no record follows. Lengths of records are not
// looked at, since breakpoints and overlapping blocks distort them.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/Types.h"
#include "blockgen/GuestCode.h"

namespace vx::blockgen {

// Why an entry gets no function: its code replays, as all code without one.
enum class EDrop : u8 {
  InRom,
  DelayOp,
  SingleOp,
  TooLong,
  WordsMissing,
  EndOfMemory,
  DoubtfulDelayOp,
  BranchInDelaySlot,
  NoHandler,
  UnknownCop0,
  TellsHost,
  LinksInZero,
  FloatRefused,
  FloatModel,
  Count,
};
const char* Describe(EDrop reason);

// More ops than any block that a compiler or a person writes.
inline constexpr u32 kMaxBlockWords = 2000;

struct SOptions {
  bool bRefuseFloat = false;  // for guests that run with floating point registers in pairs
  bool bAllTails = false;     // an entry at every word of a block but delay ops
};

struct SDropped {
  EDrop reason;
  u32 flatOffset;  // of the entry
  u32 word;        // the op to blame, or the first
  auto operator<=>(const SDropped&) const = default;
};

using Words = std::vector<u32>;

// Blocks by content, and dropped entries: sets, so that neither order nor repetition of inputs
// shows.
struct SBlockSet {
  std::set<Words> blocks;
  std::set<SDropped> dropped;
};

// Adds what one run has discovered.
void CollectBlocks(const CGuestCode& code, const SOptions& options, SBlockSet& set);

// What was dropped and why: a count of each reason, then each entry.
std::string Report(const SBlockSet& set);

}  // namespace vx::blockgen
