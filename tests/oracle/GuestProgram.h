// The guest program for the outside oracle: a little-endian n64 ELF file with a small harness, the
// oracle's words of each stream at the stream's own address, and the streams' records as data. The
// harness runs each stream on its record and writes all records to its standard output.
#pragma once

#include <span>
#include <vector>

#include "tests/oracle/Stream.h"

namespace vx::oracle {

// Where a stream jumps when it is done.
inline constexpr u32 kHarnessExit = kHarnessBase + 0x400;

// The streams must have consecutive numbers in consecutive slots. All have the same register model.
std::vector<u8> BuildGuestProgram(std::span<const SStream> streams, bool bFullRegisters);

}  // namespace vx::oracle
