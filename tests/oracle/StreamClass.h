// The kinds of streams, what each may contain, and how many of each a default run compares.
#pragma once

#include "base/Types.h"

namespace vx::oracle {

enum class EStreamClass : u8 { Integer, FpFull, FpConditions, FpPaired, Likely, PlainRules };

struct SStreamClass {
  EStreamClass id;
  const char* name;
  const char* cpuModel;  // of the oracle; null where the plain rules judge
  bool bFp;
  bool bEightConditions;  // else condition 0 alone, all that the first models have
  bool bPaired;           // FR clear
  bool bLikely;
  bool bUnguarded;  // operands and addresses that the architecture leaves undefined
  u32 defaultStreams;
};

// clang-format off
inline constexpr SStreamClass kStreamClasses[] = {
    //                                                        eight
    // id                        name           cpuModel  fp     cond.  paired likely unguarded streams
    {EStreamClass::Integer,      "Integer",     "R4000",  false, false, false, false, false,     90000},
    {EStreamClass::FpFull,       "FpFull",      "R4000",  true,  false, false, false, false,     40000},
    {EStreamClass::FpConditions, "FpConditions","5Kf",    true,  true,  false, false, false,     20000},
    {EStreamClass::FpPaired,     "FpPaired",    "R4000",  true,  false, true,  false, false,     30000},
    {EStreamClass::Likely,       "Likely",      "R4000",  false, false, false, true,  false,     30000},
    {EStreamClass::PlainRules,   "PlainRules",  nullptr,  true,  true,  false, false, true,      60000},
};
// clang-format on

constexpr const SStreamClass& StreamClass(EStreamClass id) {
  return kStreamClasses[static_cast<u32>(id)];
}

}  // namespace vx::oracle
