// The component's functions and the drawing of the host, as a script calls them.
#include <random>

#include "tests/lua/LuaTest.h"

namespace vx::test {
namespace {

using CLuaFunctions = CLuaTest;
using Lines = std::vector<std::string>;

TEST_F(CLuaFunctions, EveryFunctionOfTheTableIsThere) {
  for (const SFunction& function : ComponentFunctions()) {
    if (function.form == EFunctionForm::Reserved) continue;
    EXPECT_EQ(Say(std::string("print(type(") + function.name + "))"), Lines{"function"});
  }
}

TEST_F(CLuaFunctions, MemoryIsReadAndWritten) {
  BootAtRest();
  EXPECT_EQ(Say(R"(
    Emu_Write64(0x2000, 0x1122334455667788)
    print(string.format("%X %X %X %X", Emu_Read8(0x2000), Emu_Read16(0x2000), Emu_Read32(0x2000), Emu_Read64(0x2000)))
    Emu_Write8(0x2000, -1) Emu_Write16(0x2002, 0xABCD) Emu_Write32(0x2004, -2)
    print(string.format("%X", Emu_Read64(0x2000)))
    Emu_WriteBlock(0x2010, "hello\0world")
    print(#Emu_ReadBlock(0x2010, 11), Emu_ReadBlock(0x2016, 5), Emu_Read32(0xE00000))
    print(#Emu_ReadBlock(0, 0xE00000), #Emu_ReadBlock(0xDFFFFF, 2))
    print(string.format("%X %X", Emu_VirtualToFlat(0xBFC00000), Emu_VirtualToPhysical(0x88000000)))
  )"),
            (Lines{"88 7788 55667788 1122334455667788", "FFFFFFFEABCD77FF", "11\tworld\t0",
                   "14680064\t2", "880000 8000000"}));
  EXPECT_TRUE(errors.empty());
}

TEST_F(CLuaFunctions, RegistersAreReadAndSet) {
  BootAtRest();
  EXPECT_EQ(Say(R"(
    Emu_SetGPR(5, -1) Emu_SetGPR(0, 7) Emu_SetLO(1 << 40) Emu_SetHI(-3) Emu_SetLLFlag(1)
    print(Emu_GetGPR(5), Emu_GetGPR(0), Emu_GetLO(), Emu_GetHI(), Emu_GetLLFlag())
    Emu_SetFPR(3, 0x0102030405060708) Emu_SetFPR32(3, 9, 1)
    print(string.format("%X %X %X", Emu_GetFPR(3), Emu_GetFPR32(3, 0), Emu_GetFPR32(3, 1)))
    Emu_SetPC(0xBFC00010) print(string.format("%X", Emu_GetPC()))
    Emu_SetCop0(14, 0x1234) print(Emu_GetCop0(14), Emu_GetCop0(15))
    Emu_SetDspReg(9, 5) Emu_SetDspReg(9, 6, 1) Emu_SetDspReg(26, 0xFFFF)
    print(Emu_GetDspReg(9), Emu_GetDspReg(9, 1), Emu_GetDspReg(26))
    Emu_SetDspDag(1, 2, -5) print(Emu_GetDspDag(1, 2))
    Emu_WriteDspBank0(3, 0x123456) Emu_WriteDspData(0x3800, 77) Emu_SetDspStack(3, 1, -1)
    print(Emu_ReadDspProgram(3), Emu_ReadDspInternal(0), Emu_GetDspStack(3, 1), Emu_GetDspStack(0, 99))
  )"),
            (Lines{"-1\t0\t1099511627776\t-3\t1", "905060708 5060708 9", "BFC00010", "4660\t8192",
                   "5\t6\t4294967295", "-5", "1193046\t77\t-1\t0"}));
  EXPECT_TRUE(errors.empty());
}

TEST_F(CLuaFunctions, ServicesAnswerAsAPersonWouldExpect) {
  BootAtRest();
  EXPECT_EQ(Say(R"(
    print(Emu_IsSoundPositional(0x5501), Emu_GetSoundChannel(0x5501))
    Emu_SetSoundInstances(2)
    print(Emu_PlayPositional(0x5501, {1, 2.5, 3}, 10))
    Emu_SetSoundInstances(0)
    Emu_SetListener({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}, 1)
    Emu_SetListener(nil, nil, nil, nil, 0)
    Emu_StoreBlob("abc", 99)
    print(Emu_LoadBlob(2, 99), Emu_LoadBlob(4, 99), Emu_LoadBlob(0, 98), #Emu_LoadBlob(0, 99))
    print(Emu_HashString("x") == Emu_HashString("x\0y"), Emu_HashString("x") ~= Emu_HashString("y"))
    local one = 65536
    local rows = Emu_Project({{0, 2 * one, 0}, {0, -one, 0}}, {0,0,0,0,0,0,0,one,one,0,0,0}, 0)
    print(#rows, rows[1][1], rows[1][2], rows[2][1], rows[2][3])
    print(#Emu_Project({}, {0,0,0,0,0,0,0,one,one,0,0,0}, 0))
    print(Emu_GetTime(), Emu_GetStepInstance(), Emu_GetStepRequests(), Emu_GetPlayerExtra(0))
    Emu_SetStepMode(false) Emu_SetStepMode(0, 2) print(Emu_GetStepRequests())
    print(Emu_DspPatch(5, 0, function() end), Emu_DspUnpatch(5), Emu_DspUnpatch(5))
    Emu_BreakSlice() Emu_AddCycles() Emu_AddCycles(0)
  )"),
            (Lines{"false\t-1", "false", "ab\tnil\tnil\t0", "true\ttrue",
                   "2\t160.0\t128.0\t0.0\t0.0", "0", "0.0\t0\t0\t0", "2", "1\ttrue\tfalse"}));
  EXPECT_TRUE(errors.empty()) << errors[0];
}

TEST_F(CLuaFunctions, AnArgumentThatIsNoneIsNamed) {
  struct SCase {
    const char* text;
    const char* words;
  };
  for (const SCase& c :
       {SCase{"Emu_Read32()", "number expected, got no value"},
        SCase{"Emu_Read32(1.5)", "no integer representation"},
        SCase{"Emu_Read32(1 << 32)", "offset does not fit 32 bits"},
        SCase{"Emu_Write8(0, 256)", "value does not fit 8 bits"},
        SCase{"Emu_GetGPR(32)", "register is to be 0 to 31"},
        SCase{"Emu_AddCycles(-1)", "cycles is to be 0 to 2147483647"},
        SCase{"Emu_SetMIPSBreakpoint(0, 7)", "function expected"},
        SCase{"Emu_WriteBlock(0, {})", "string expected"},
        SCase{"Emu_PlayPositional(0, {1, 2}, 0)", "a table of numbers is expected"},
        SCase{"Emu_Project({{1}}, {}, 0)", "a table of numbers is expected"},
        SCase{"Emu_Project({7}, {}, 0)", "a list of {x, y, z} is expected"},
        SCase{"Emu_SetSoundInstances(257)", "count is to be 0 to 256"}}) {
    errors.clear();
    Run(c.text);
    ASSERT_EQ(errors.size(), 1u) << c.text;
    EXPECT_NE(errors[0].find(c.words), std::string::npos) << errors[0];
  }
}

// --- Drawing -----------------------------------------------------------------------------------

TEST_F(CLuaFunctions, DrawingShowsOnThePictureAlone) {
  BootAtRest();
  Run(R"(
    vx.on_frame(function()
      vx.pixel(3, 2, 0x112233)
      vx.fill(10, 10, 2, 2, 0xFFFFFF, 128)
      vx.box(20, 20, 3, 3, 0xFF0000)
      vx.line(30, 30, 33, 30, 0x00FF00)
      vx.text(40, 40, "I", 0x0000FF)
    end))");
  Frames(1);
  const auto shown = [this](u32 x, u32 y) { return engine->Shown()[y * 320 + x]; };
  ASSERT_EQ(engine->Shown().size(), 320u * 240);
  EXPECT_EQ(shown(3, 2), 0x112233u);
  EXPECT_EQ(shown(11, 11), 0x808080u);
  EXPECT_EQ(shown(12, 11), 0u);
  EXPECT_EQ(shown(20, 20), 0xFF0000u);
  EXPECT_EQ(shown(22, 22), 0xFF0000u);
  EXPECT_EQ(shown(21, 21), 0u);
  EXPECT_EQ(shown(33, 30), 0x00FF00u);
  EXPECT_EQ(shown(34, 30), 0u);
  u32 blue = 0;
  for (u32 y = 40; y < 48; ++y) {
    for (u32 x = 40; x < 48; ++x) blue += shown(x, y) == 0xFF ? 1 : 0;
  }
  EXPECT_GT(blue, 8u);
  for (const u32 pixel : engine->Taken()) EXPECT_EQ(pixel, 0u);
  for (u32 i = 0; i < 320 * 240 * 2; ++i) ASSERT_EQ(Memory()[0x30000 + i], 0u);
}

TEST_F(CLuaFunctions, AFramesDrawingIsGoneWithTheFrame) {
  BootAtRest();
  Run("vx.on_frame(function() if Emu_GetFrameNumber() == 1 then vx.fill(0, 0, 320, 240) end end)");
  Frames(1);
  EXPECT_EQ(engine->Shown()[77], 0xFFFFFFu);
  Frames(1);
  EXPECT_EQ(engine->Shown()[77], 0u);
}

TEST_F(CLuaFunctions, DrawingFarOffThePictureIsCutOff) {
  BootAtRest();
  Run(R"(
    local far = {-1e300, -1e9, -100000, -1, 0, 319, 320, 1e5, 2^31, 2^63, 1e300, 1/0, -1/0, 0/0}
    vx.on_frame(function()
      for _, a in ipairs(far) do for _, b in ipairs(far) do
        vx.pixel(a, b) vx.line(a, b, b, a) vx.line(0, 0, a, b) vx.box(a, a, b, b, 1, 999)
        vx.text(a, b, "far away") vx.branch(1, a, b, a, b)
        if a < 50 and b < 50 then vx.fill(a, b, a, b, -1, -1) end
      end end
    end))");
  Renew();
  Frames(1);
  EXPECT_TRUE(errors.empty());
}

TEST_F(CLuaFunctions, ALineReachesBothItsEnds) {
  BootAtRest();
  Run("vx.on_frame(function() vx.line(5, 9, 200, 101, 0xFF) vx.line(-1000, -1000, 1000, 1000, "
      "0xFF00) end)");
  Frames(1);
  EXPECT_EQ(engine->Shown()[9 * 320 + 5], 0xFFu);
  EXPECT_EQ(engine->Shown()[101 * 320 + 200], 0xFFu);
  EXPECT_EQ(engine->Shown()[0], 0xFF00u);
  EXPECT_EQ(engine->Shown()[239 * 320 + 239], 0xFF00u);
}

TEST_F(CLuaFunctions, ABranchsPictureIsDrawnWhenThereIsOne) {
  BootAtRest();
  Run(R"(
    vx.on_branches(function() print("branches") end)
    vx.on_frame(function() print(vx.branch(1, 0, 0, 160, 120), vx.branch(2, 160, 0, 160, 120)) end))");
  Frames(1);
  EXPECT_EQ(lines, (Lines{"false\tfalse"}));
  lines.clear();
  SMovieInput held;
  engine->BeforeFrame(held);
  const std::vector<u32> a(320 * 240, 0x111111), b(320 * 240, 0x222222);
  engine->TakeBranches(a.data(), b.data(), 320, 240);
  engine->TakePicture(a.data(), 320, 240);
  engine->AfterFrame();
  EXPECT_EQ(lines, (Lines{"branches", "true\ttrue"}));
  EXPECT_EQ(engine->Shown()[159], 0x111111u);
  EXPECT_EQ(engine->Shown()[160], 0x222222u);
}

// --- Anything ----------------------------------------------------------------------------------

TEST_F(CLuaFunctions, AnyFunctionTakesAnyArguments) {
  BootAtRest();
  SScriptLimits limits;
  limits.instructions = 20'000'000;
  Renew(limits);
  std::mt19937 random(7);
  static const char* const kValues[] = {
      "nil",
      "true",
      "false",
      "0",
      "1",
      "-1",
      "2",
      "31",
      "32",
      "0x7FF",
      "0x2000",
      "0x3400",
      "0x3FFF",
      "0x55",
      "0x5501",
      "0xFFFF",
      "0x8FFFFC",
      "0x900000",
      "0xDFFFFF",
      "0xE00000",
      "0xFFFFFFFF",
      "1 << 32",
      "math.maxinteger",
      "math.mininteger",
      "1.5",
      "0/0",
      "1/0",
      "''",
      "'text'",
      "'12'",
      "('x'):rep(5000)",
      "{}",
      "{1, 2, 3}",
      "{{1, 2, 3}, {4, 5, 6}}",
      "{0,0,0,0,0,0,0,65536,65536,0,0,0}",
      "print",
      "function() return false end",
      "vx",
      "setmetatable({}, {__index = function() return 1 end})",
      "coroutine.create(print)",
  };
  std::vector<std::string> names;
  for (const SFunction& function : ComponentFunctions()) {
    if (function.form != EFunctionForm::Reserved) names.push_back(function.name);
  }
  for (const char* name : {"vx.on_input", "vx.on_frame", "vx.on_branches", "vx.size", "vx.pixel",
                           "vx.line", "vx.box", "vx.fill", "vx.text", "vx.branch", "vx.get_input",
                           "vx.set_input", "vx.load_state", "vx.pause", "vx.read_text"}) {
    names.push_back(name);
  }
  for (u32 round = 0; round < 40; ++round) {
    std::string text;
    for (u32 i = 0; i < 100; ++i) {
      const std::string& name = names[random() % names.size()];
      // Look-ahead waits for both of its threads; a reset would take the test's own code away.
      if (name == "Emu_SetStepMode") continue;
      text += "pcall(function() return " + name + "(";
      const u32 count = random() % 6;
      for (u32 k = 0; k < count; ++k) {
        text += (k > 0 ? ", " : "") + std::string(kValues[random() % std::size(kValues)]);
      }
      text += ") end)\n";
    }
    Run(text);
    Frames(1);
  }
  EXPECT_EQ(Say("print('alive')").back(), "alive");
}

}  // namespace
}  // namespace vx::test
