// The board's rules for each op written out once more, straight from the words: a plain interpreter
// without records, blocks or tables, for what the architecture leaves undefined. It shares no code
// with the processor that it judges.
#pragma once

#include "tests/oracle/BoardRunner.h"

namespace vx::oracle {

// Runs a stream's board words from its beginning to the way back, on one of its records.
SBoardResult RunPlainRules(const SStream& stream, u32 which);

}  // namespace vx::oracle
