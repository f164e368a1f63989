// What a call said when it failed.
#pragma once

#include <functional>
#include <string>

#include "tools/packfile/ToolError.h"

namespace vx::test {

struct SFailure {
  bool bFailed = false;
  EExitCode exitCode = EExitCode::Done;
  std::string sentence;
};

inline SFailure Failure(const std::function<void()>& call) {
  try {
    call();
  } catch (const CToolError& error) {
    return {true, error.ExitCode(), error.what()};
  }
  return {};
}

}  // namespace vx::test
