// Callbacks: when they come, with what, and what happens to one that fails.
#include "tests/lua/LuaTest.h"

namespace vx::test {
namespace {

using CLuaCallbacks = CLuaTest;
using Lines = std::vector<std::string>;

TEST_F(CLuaCallbacks, AFramesCallbacksComeInTheirOrder) {
  BootAtRest();
  Run(R"(
    vx.on_frame(function() print("frame", Emu_GetFrameNumber()) end)
    vx.on_input(function() print("input", Emu_GetFrameNumber()) end)
    Emu_AddFrameCallback(function(page) print("picture", page) end)
    Emu_AddResetCallback(function() print("reset") end)
    Emu_AddFirstResetCallback(function() print("first") end))");
  Frames(2);
  EXPECT_TRUE(errors.empty());
  EXPECT_EQ(lines, (Lines{"input\t0", "first", "reset", "picture\t0", "frame\t1", "input\t1",
                          "picture\t0", "frame\t2"}));
}

TEST_F(CLuaCallbacks, AFunctionStandsOnceInAList) {
  BootAtRest();
  Run("local f = function() print('x') end vx.on_frame(f) vx.on_frame(f)");
  Frames(1);
  EXPECT_EQ(lines.size(), 1u);
}

TEST_F(CLuaCallbacks, ABreakpointTellsItsPlaceAndWord) {
  BootAtRest();
  Run("Emu_SetMIPSBreakpoint(0x880004, function(offset, word) "
      "print(string.format('%X %X %X', offset, word, Emu_GetPC())) end)");
  Frames(1);
  EXPECT_EQ(lines, (Lines{"880004 0 BFC00008"}));
}

TEST_F(CLuaCallbacks, ABreakpointThatAnswersFalseLeavesTheOpOut) {
  for (const char* answer : {"false", "true", "nil", "0"}) {
    Boot(CGuestCode()
             .Set(mips::kT2, 1)
             .Op(mips::Addiu(mips::kT2, mips::kT2, 5))
             .KeepRegister(mips::kT2, 0)
             .Rest());
    Renew();
    Run(std::string("Emu_SetMIPSBreakpoint(0x880008, function() return ") + answer + " end)");
    Frames(1);
    EXPECT_EQ(Result(0), answer == std::string("false") ? 1u : 6u) << answer;
  }
}

TEST_F(CLuaCallbacks, ACallbackWithAnErrorIsToldOnceAndNotCalledAgain) {
  BootAtRest();
  Run("vx.on_frame(function() error('broken') end)\n"
      "vx.on_frame(function() print('other') end)");
  Frames(3);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0], "test.lua:1: broken (the function at test.lua:1 is not called any more)");
  EXPECT_EQ(lines.size(), 3u);
}

TEST_F(CLuaCallbacks, AnEndlessCallbackCostsTheOthersNothing) {
  BootAtRest();
  Run("vx.on_frame(function() while true do pcall(function() while true do end end) end end)\n"
      "vx.on_frame(function() for i = 1, 100000 do end print('other') end)");
  Frames(2);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find("2000000 instructions"), std::string::npos) << errors[0];
  EXPECT_EQ(lines.size(), 2u);
}

TEST_F(CLuaCallbacks, ABrokenBreakpointLetsTheGuestRunOn) {
  Boot(CGuestCode().Op(mips::kNop).Op(mips::kNop).Write32(0x2000, 77).Rest());
  Run("Emu_SetMIPSBreakpoint(0x880004, function() local a = nil; a() end)");
  Frames(2);
  EXPECT_EQ(errors.size(), 1u);
  EXPECT_EQ(Say("print(Emu_Read32(0x2000))"), Lines{"77"});
}

TEST_F(CLuaCallbacks, WhatACallbackRegistersComesFromTheNextFrameOn) {
  BootAtRest();
  Run(R"(
    local n = 0
    vx.on_frame(function()
      n = n + 1
      if n == 1 then for i = 1, 10 do vx.on_frame(function() print("new") end) end end
    end)
    Emu_AddFrameCallback(function()
      if n == 0 then Emu_AddFrameCallback(function() print("picture") end) end
    end))");
  Frames(1);
  EXPECT_TRUE(lines.empty());
  Frames(1);
  EXPECT_EQ(lines.size(), 11u);
  EXPECT_EQ(lines[0], "picture");
  EXPECT_TRUE(errors.empty());
}

TEST_F(CLuaCallbacks, ACallbackThatRegistersForEverRunsIntoABound) {
  BootAtRest();
  Run("vx.on_frame(function() while true do vx.on_frame(function() end) end end)");
  Frames(3);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find("too many callbacks"), std::string::npos) << errors[0];
}

TEST_F(CLuaCallbacks, ABreakpointMaySetAndClearBreakpoints) {
  BootAtRest();
  Run(R"(
    Emu_SetMIPSBreakpoint(0x880000, function()
      print("one")
      Emu_ClearMIPSBreakpoint(0x880000)
      Emu_SetMIPSBreakpoint(0x880004, function() print("two") end)
    end))");
  Frames(2);
  EXPECT_EQ(lines, (Lines{"one", "two"}));
}

TEST_F(CLuaCallbacks, WithTheEngineItsCallbacksGo) {
  BootAtRest();
  Run("Emu_AddFrameCallback(function() print('x') end)");
  Renew();
  Frames(2);
  EXPECT_TRUE(lines.empty());
}

TEST_F(CLuaCallbacks, AScriptStopsAndPausesARun) {
  BootAtRest();
  Run("vx.on_frame(function() if Emu_GetFrameNumber() == 2 then vx.stop() vx.pause() end end)");
  Frames(1);
  EXPECT_FALSE(engine->IsStopped());
  EXPECT_FALSE(engine->TakePause());
  Frames(1);
  EXPECT_TRUE(engine->IsStopped());
  EXPECT_TRUE(engine->TakePause());
  EXPECT_FALSE(engine->TakePause());
}

// --- Input and states --------------------------------------------------------------------------

TEST_F(CLuaCallbacks, InputIsSeenAndReplacedBeforeAFrame) {
  BootAtRest();
  input.padBits[0] = 0x21;
  Run(R"(
    vx.on_input(function()
      local pad, system = vx.get_input(1)
      print(pad, system)
      vx.set_input(1, pad & ~vx.pad.LEFT | vx.pad.RIGHT, vx.system.COIN1)
      vx.set_input(2, vx.pad.UP)
    end)
    vx.on_frame(function() print(string.format("%X %X", ~Emu_GetInputPort(0), ~Emu_GetInputPort(1))) end))");
  Frames(1);
  EXPECT_TRUE(errors.empty());
  EXPECT_EQ(lines, (Lines{"33\t0", "2081 100"}));
}

TEST_F(CLuaCallbacks, InputIsNotSetWhileTheBoardRuns) {
  BootAtRest();
  Run("Emu_AddFrameCallback(function() vx.set_input(1, 1) end)");
  Run("Emu_AddFrameCallback(function() vx.save_state() end)");
  Run("Emu_AddFrameCallback(function() vx.reset() end)");
  Run("vx.get_input(3)");
  Frames(1);
  EXPECT_EQ(errors.size(), 4u);
}

TEST_F(CLuaCallbacks, AStateBringsTheBoardBack) {
  BootAtRest();
  Run(R"(
    local state
    vx.on_input(function()
      if Emu_GetFrameNumber() == 3 and not state then state = vx.save_state() Emu_Write32(0x3000, 5) end
      if Emu_GetFrameNumber() == 6 then
        vx.load_state(state)
        print(Emu_GetFrameNumber(), Emu_Read32(0x3000))
      end
    end)
    local bp = 0
    Emu_AddFrameCallback(function() bp = bp + 1 end)
    vx.on_frame(function() if bp == 10 then print("hooks") end end))");
  Frames(10);
  EXPECT_TRUE(errors.empty()) << errors[0];
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[0], "3\t0");
  EXPECT_EQ(lines.back(), "hooks");
}

TEST_F(CLuaCallbacks, AScriptHoldsOnlySoManyStates) {
  BootAtRest();
  SScriptLimits limits = Few();
  limits.instructions = 1'000'000'000;
  limits.stateBytes = 100 << 20;
  Renew(limits);
  Run("local kept = {} for i = 1, 100 do kept[i] = vx.save_state() end");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find("too many states"), std::string::npos) << errors[0];
  Run("for i = 1, 20 do vx.save_state() end");  // none of them kept
  EXPECT_EQ(errors.size(), 1u);
}

TEST_F(CLuaCallbacks, WhatIsNoStateIsNotLoaded) {
  Run("vx.load_state({})");
  Run("vx.load_state(io)");
  EXPECT_EQ(errors.size(), 2u);
  Run("getmetatable(vx.save_state()).__gc(7)");
  EXPECT_EQ(errors.size(), 3u);
}

TEST_F(CLuaCallbacks, OnlyTextsBesideTheScriptAreRead) {
  EXPECT_EQ(Say("print(vx.read_text('CMakeLists.txt'):sub(1, 1), vx.read_text('no such file'))"),
            (Lines{"#\tnil"}));
  for (const char* name : {"../lua/CMakeLists.txt", "/etc/hostname", "", "."}) {
    errors.clear();
    Run(std::string("vx.read_text('") + name + "')");
    EXPECT_EQ(errors.size(), 1u) << name;
  }
}

}  // namespace
}  // namespace vx::test
