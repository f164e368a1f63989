// Starts vxrun as a person would and tells how it ended.
#pragma once

#include <csignal>
#include <string>
#include <vector>

namespace vx::test {

struct SProgramResult {
  int exitCode = -1;  // of a normal end
  int signal = 0;     // that ended it otherwise
  std::string out;
  std::string err;
};

// Runs vxrun with the fake component (unless an argument names another) under a dummy display and
// sound device, all that it keeps in the test's folder. `environment`: further "NAME=value".
SProgramResult RunProgram(std::vector<std::string> arguments,
                          const std::vector<std::string>& environment = {});

// Runs it with a terminal as its stderr until `words` show up there, then sends it the signal;
// `err` is what the terminal showed up to the end.
SProgramResult RunOnTerminal(std::vector<std::string> arguments, const std::string& words,
                             int signal = SIGINT);

}  // namespace vx::test
