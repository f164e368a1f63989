// Runs a program and gathers what it says.
#pragma once

#include <string>
#include <vector>

namespace vx::test {

struct SToolRun {
  int exitCode = -1;  // -1 if it ended by a signal
  std::string output;
  std::string errors;
};

enum class EErrorsTo { File, Terminal };

SToolRun RunTool(const std::string& program, const std::vector<std::string>& arguments,
                 EErrorsTo errorsTo = EErrorsTo::File);

}  // namespace vx::test
