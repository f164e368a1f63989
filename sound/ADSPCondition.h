// The sixteen condition codes.
#pragma once

#include "sound/ADSP.h"

namespace vx {

struct SConditionTable {
  u8 bTrue[16][256];  // by code and ASTAT
};

inline constexpr SConditionTable kConditions = [] {
  SConditionTable table{};
  for (u32 astat = 0; astat < 256; ++astat) {
    const auto has = [astat](u32 bit) { return (astat & bit) != 0; };
    const bool bLess = has(kAstatNegative) != has(kAstatOverflow);
    // clang-format off
    const bool byPair[8] = {
        has(kAstatZero),                //  0 EQ      1 NE
        !has(kAstatZero) && !bLess,     //  2 GT      3 LE
        bLess,                          //  4 LT      5 GE
        has(kAstatOverflow),            //  6 AV      7 NOT AV
        has(kAstatCarry),               //  8 AC      9 NOT AC
        has(kAstatXSign),               // 10 NEG    11 POS
        has(kAstatMacOverflow),         // 12 MV     13 NOT MV
        false,                          // 14 NOT CE, by code    15 TRUE
    };
    // clang-format on
    for (u32 pair = 0; pair < 8; ++pair) {
      table.bTrue[pair * 2][astat] = byPair[pair];
      table.bTrue[pair * 2 + 1][astat] = !byPair[pair];
    }
  }
  return table;
}();

inline bool CADSP::EvalCondition(u32 code, u32 astat) {
  if (code != kCounterCondition) return kConditions.bTrue[code][astat & 0xFF] != 0;
  if (state.cntr == 0) return false;
  if (--state.cntr != 0) return true;
  PopCounter();
  return false;
}

}  // namespace vx
