// The allow-list: every way in which the board departs, by design, from the architecture that the
// outside oracle follows. Streams name an entry for each word that the oracle gets in place of the
// board's; each entry has a demonstration that fails when the departure disappears.
#pragma once

#include <span>

#include "base/Types.h"

namespace vx::oracle {

enum class EDeparture : u8 {
  None,
  OverflowIgnored,
  DivideByZeroKeeps,
  LwrZeroExtends,
  CacheIgnored,
  OpsMissing,
  WordOperands,
  AlignsDown,
  AddressWidth,
  JalrWritesZero,
  LikelyReplay,
  MovesClearHighWord,
  ControlMoves,
  UnorderedCompares,
  RoundsByHalf,
  CvtDCopies,
  CvtSReadsDouble,
  FormatByParity,
  NanResults,
  PairedMoves,
  PairedDoubles,
  PairedLongs,
  Count,
};

// How streams live with a departure.
enum class EAdaptation : u8 {
  StandIn,   // the oracle runs other words that have the board's effect
  Guard,     // further ops, run by both sides, remove the difference
  LeftOut,   // streams for the oracle do not contain it; the plain rules judge it
  FormOnly,  // the forming pass is compared, replay is not
};

struct SDeparture {
  EDeparture id;
  const char* name;
  const char* ops;
  EAdaptation adaptation;
};

std::span<const SDeparture> Departures();
const SDeparture& DepartureOf(EDeparture id);

}  // namespace vx::oracle
