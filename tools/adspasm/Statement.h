// One instruction, from its text to its word.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/adspasm/Symbols.h"

namespace vx::adsp {

// What the checks over the whole program want to know of an instruction.
enum class EFlow : u32 { None, Do, Jump, Call, Return };

struct SInstruction {
  u32 word = 0;
  EFlow flow = EFlow::None;
  u32 target = 0;  // of DO, JUMP and CALL with an address
  bool bHasTarget = false;
  std::optional<u32> storeAddress;  // of DM(address) = register
  std::vector<std::string> warnings;
};

struct SStatementContext {
  CSymbols& symbols;
  i64 here;            // address of the instruction
  bool bAllowMissing;  // words that the processor does not execute are let through
};

// Assembles the instruction that the tokens hold from the cursor to their end. Throws CSourceError.
SInstruction AssembleInstruction(CTokens& tokens, const SStatementContext& context);

}  // namespace vx::adsp
