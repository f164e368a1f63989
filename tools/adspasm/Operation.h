// What a computation unit does in an instruction, from its text to its fields.
#pragma once

#include "tools/adspasm/Symbols.h"

namespace vx::adsp {

enum class EUnit : u32 { Multiplier, Alu, Shifter };

struct SOperation {
  EUnit unit = EUnit::Alu;
  u32 pair = 0;  // 0 to MR, 2 to AR, 4 to MF, 6 to AF: added to the top byte of a form
  u32 code = 0;
  u32 x = 0;
  u32 y = 0;
  bool bByCount = false;  // a shift by an immediate count
  i64 count = 0;
  const char* result = "";  // the register that it goes to

  u32 Bits() const {
    return unit == EUnit::Shifter ? code << 11 | x << 8 : code << 13 | y << 11 | x << 8;
  }
};

// Whether the cursor stands on an operation of a unit and not on a move or load.
bool BeginsOperation(const CTokens& tokens);

// Throws CSourceError.
SOperation ParseOperation(CTokens& tokens, CSymbols& symbols, i64 here);

// Reads the ALU's operands alone, for the division steps.
u32 ParseAluX(CTokens& tokens);
u32 ParseAluY(CTokens& tokens);

}  // namespace vx::adsp
