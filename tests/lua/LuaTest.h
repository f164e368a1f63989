// A script engine beside a machine of the component, with what the script says and does wrong.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/lua/Engine.h"
#include "tests/support/BoundaryTest.h"

namespace vx::test {

class CLuaTest : public CBoundaryTest {
 protected:
  CLuaTest();
  ~CLuaTest() override;

  // A new engine; what the one before it has registered is gone.
  void Renew(const SScriptLimits& limits = Few());
  void Run(const std::string& text) { engine->Run("test.lua", text); }
  // Runs a text that stores its results with print, and answers the lines.
  std::vector<std::string> Say(const std::string& text);
  void Frames(u32 count);
  // The board with guest code that rests, and one frame run.
  void BootAtRest() { Boot(CGuestCode().Op(mips::kNop).Op(mips::kNop).Rest()); }
  // Bounds that tests of endless loops reach soon.
  static SScriptLimits Few() {
    SScriptLimits limits;
    limits.instructions = 2'000'000;
    limits.memoryBytes = u64{64} << 20;
    return limits;
  }

  std::vector<std::string> lines;   // printed
  std::vector<std::string> errors;  // told
  SMovieInput input;                // of the frames that Frames runs
  std::unique_ptr<CScriptEngine> engine;
};

}  // namespace vx::test
