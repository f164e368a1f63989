// How the pack tool fails: with one sentence for a person and the exit code that belongs to it.
#pragma once

#include <stdexcept>
#include <string>

namespace vx {

enum class EExitCode : int {
  Done = 0,
  BadPack = 1,   // no pack, or a damaged one
  BadInput = 2,  // command line or manifest
  BadFile = 3,   // a file cannot be read or written
};

class CToolError : public std::runtime_error {
 public:
  CToolError(EExitCode exitCode, const std::string& sentence)
      : std::runtime_error(sentence), exitCode_(exitCode) {}

  EExitCode ExitCode() const { return exitCode_; }

 private:
  EExitCode exitCode_;
};

}  // namespace vx
