// Runs guest programs under a user-mode emulator of the published processors.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "tests/oracle/Stream.h"

namespace vx::oracle {

struct SOracleRun {
  bool bStarted = false;
  i32 exitCode = -1;  // of a program that ended by itself
  i32 signal = 0;     // that ended the program
  std::vector<u8> output;
};

// Runs a program to its end on a processor model of the emulator.
SOracleRun RunProgram(std::span<const u8> program, const char* cpuModel);

// Runs streams and answers both records of each; empty, with a reason, if that did not work.
// Condition bits are gathered from the control word.
std::vector<SStreamRecord> RunStreams(std::span<const SStream> streams, const char* cpuModel,
                                      std::string& error);

}  // namespace vx::oracle
