// What a script of the language may do, and what ends it: errors, endless work, memory.
#include "tests/lua/LuaTest.h"

namespace vx::test {
namespace {

using CLuaLanguage = CLuaTest;

TEST_F(CLuaLanguage, PrintSaysOneLineWithTabsBetween) {
  EXPECT_EQ(Say("print(1, 'two', nil, {} ~= nil)"), std::vector<std::string>{"1\ttwo\tnil\ttrue"});
  EXPECT_TRUE(errors.empty());
}

TEST_F(CLuaLanguage, AMistakeInTheTextIsToldWithItsLine) {
  Run("local a = 1\nlocal b = = 2\n");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].rfind("test.lua:2:", 0), 0u) << errors[0];
}

TEST_F(CLuaLanguage, AnErrorIsToldWithItsLine) {
  Run("\n\nlocal a = nil + 1\n");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].rfind("test.lua:3:", 0), 0u) << errors[0];
}

TEST_F(CLuaLanguage, AnErrorOfALibraryIsToldWithTheCallersLine) {
  Run("\nstring.rep(1, {})");
  Run("\n\nEmu_Read32('x')");
  Run("\nerror({})");
  Run("\nerror()");
  Run("\nerror('plain', 0)");
  ASSERT_EQ(errors.size(), 5u);
  EXPECT_EQ(errors[0].rfind("test.lua:2:", 0), 0u) << errors[0];
  EXPECT_EQ(errors[1].rfind("test.lua:3:", 0), 0u) << errors[1];
  EXPECT_EQ(errors[2].rfind("test.lua:2: table", 0), 0u) << errors[2];
  EXPECT_EQ(errors[3], "test.lua:2: nil");
  EXPECT_EQ(errors[4], "test.lua:2: plain");
}

TEST_F(CLuaLanguage, LibrariesThatReachOutAreNotThere) {
  EXPECT_EQ(Say("print(io, os, package, debug, require, dofile, loadfile, string.dump)"),
            std::vector<std::string>{"nil\tnil\tnil\tnil\tnil\tnil\tnil\tnil"});
  SScriptLimits limits = Few();
  limits.bAllLibraries = true;
  Renew(limits);
  EXPECT_EQ(Say("print(io ~= nil, os ~= nil, require ~= nil)"),
            std::vector<std::string>{"true\ttrue\ttrue"});
}

TEST_F(CLuaLanguage, OnlyTextIsLoaded) {
  EXPECT_EQ(Say("print(load('return 7')(), load('x =') == nil, load('\\27Lua') == nil)"),
            std::vector<std::string>{"7\ttrue\ttrue"});
  EXPECT_EQ(Say("print(load('return a', 'n', 'b', {a = 3})())"), std::vector<std::string>{"3"});
  Run("load(function() return 'x' end)");
  EXPECT_EQ(errors.size(), 1u);
  Run("\x1BLua");
  EXPECT_EQ(errors.size(), 2u);
}

TEST_F(CLuaLanguage, RandomNumbersAreTheSameInEachRun) {
  const auto first = Say("print(math.random(1 << 40))");
  Renew();
  EXPECT_EQ(Say("print(math.random(1 << 40))"), first);
}

TEST_F(CLuaLanguage, FinalizersAreRefused) {
  Run("setmetatable({}, {__gc = function() while true do end end})");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].find("__gc"), std::string::npos);
  EXPECT_EQ(Say("print(getmetatable(setmetatable({}, {__index = math})).__index == math)"),
            std::vector<std::string>{"true"});
}

// --- What does not end ------------------------------------------------------------------------

class CEndlessScript : public CLuaTest, public testing::WithParamInterface<const char*> {};

TEST_P(CEndlessScript, IsEndedAndTheNextTextRuns) {
  Run(GetParam());
  EXPECT_EQ(errors.size(), 1u) << GetParam();
  EXPECT_EQ(Say("print('alive')"), std::vector<std::string>{"alive"});
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Texts, CEndlessScript, testing::Values(
    "while true do end",
    "repeat until false",
    "goto a ::a:: goto a",
    "local function f() return f() end f()",
    "while true do pcall(function() while true do end end) end",
    "while true do xpcall(function() while true do end end, function() while true do end end) end",
    "while true do pcall(error) end",
    "local c = coroutine.wrap(function() local x <close> = setmetatable({}, {__close = function() while true do end end}) while true do end end) c()",
    "coroutine.wrap(function() while true do pcall(coroutine.yield, 1) end end)() while true do end",
    "local function f() pcall(f) f() end f()",
    "local c = coroutine.wrap(function() while true do end end) c()",
    "while true do coroutine.resume(coroutine.create(function() while true do end end)) end",
    "while true do coroutine.wrap(function() for i = 1, 900 do end end)() end",
    "local c = coroutine.wrap(function() while true do coroutine.yield() end end) while true do c() end",
    "local t = setmetatable({}, {__index = function() while true do end end}) print(t.a)",
    "local t = setmetatable({}, {__close = function() while true do end end}) do local x <close> = t end",
    "string.gsub(('a'):rep(1000), 'a', function() while true do end end)",
    "table.sort({1, 2, 3, 4}, function() while true do end end)",
    "while true do load('while true do end')() end",
    "while true do Emu_ReadBlock(0, 0xE00000) end",
    "while true do vx.fill(0, 0, 320, 240) end",
    "while true do vx.text(0, 0, ('x'):rep(4000)) end",
    "while true do Emu_SetSoundInstances(1) Emu_SetSoundInstances(2) end",
    "local function f() return f() + 1 end f()",
    "local t = {} for i = 1, 1e9 do t[i] = ('x'):rep(100) .. i end",
    "local s = 'x' while true do s = s .. s end",
    "local t = {} while true do t = {t} end"));
// clang-format on

class CRefusedScript : public CLuaTest, public testing::WithParamInterface<const char*> {};

TEST_P(CRefusedScript, IsRefusedAtOnce) {
  Run(GetParam());
  EXPECT_EQ(errors.size(), 1u) << GetParam();
  EXPECT_EQ(Say("print('alive')"), std::vector<std::string>{"alive"});
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Texts, CRefusedScript, testing::Values(
    "string.rep('x', 1 << 40)",
    "string.rep('x', 1 << 60, 'y')",
    "('x'):rep(math.maxinteger)",
    "local s = ('a'):rep(40) s:find(('a?'):rep(40) .. s)",
    "local s = ('a'):rep(20000) s:find('.-.-.-b')",
    "local s = ('a'):rep(60000) for x in s:gmatch('.*.*.*b') do end",
    "table.move({}, 1, 1 << 60, 2)",
    "local c c = coroutine.wrap(function() c() end) c()",
    "table.insert(setmetatable({}, {__len = function() return 1 << 60 end}), 1, 1)",
    "table.concat(setmetatable({}, {__len = function() return 1 << 60 end}))",
    "table.unpack({}, 1, 1 << 30)",
    "Emu_ReadBlock(0, 1 << 31)",
    "Emu_LoadBlob(1 << 31, 0)",
    "error(setmetatable({}, {__tostring = function() error('again') end}))",
    "error(setmetatable({}, {__tostring = function() return {} end}))"));
// clang-format on

TEST_F(CLuaLanguage, ErrorsAreCaughtAndHandledAsEver) {
  EXPECT_EQ(Say(R"(
    print(pcall(error, "a"), pcall(function(...) return ... end, 1, 2))
    print(xpcall(function(a, b) return a + b end, print, 1, 2))
    print(xpcall(function() error("x", 0) end, function(m) return m .. "!" end))
    print(select('#', xpcall(function() end, print)))
    local c = coroutine.wrap(function(a) local b = coroutine.yield(a + 1) error(b, 0) end)
    print(c(1), pcall(c, "end"))
    local k = coroutine.create(function() print(pcall(coroutine.yield, 5)) return 6 end)
    print(coroutine.resume(k)) print(coroutine.resume(k, 7)) print(coroutine.resume(k)) )"),
            (std::vector<std::string>{"false\ttrue\t1\t2", "true\t3", "false\tx!", "1",
                                      "2\tfalse\tend", "true\t5", "true\t7", "true\t6",
                                      "false\tcannot resume dead coroutine"}));
}

TEST_F(CLuaLanguage, UsefulPatternsArePassed) {
  EXPECT_EQ(Say("print(('a = 1; bcd=22'):gsub('(%w+)%s*=%s*(%w+)', '%2:%1'))"),
            std::vector<std::string>{"1:a; 22:bcd\t2"});
  EXPECT_EQ(
      Say("local n = 0 for l in ('line of text\\n'):rep(10000):gmatch('[^\\n]*') do n = n + 1 "
          "end print(n > 9999)"),
      std::vector<std::string>{"true"});
  EXPECT_EQ(Say("print(('x'):rep(3, '-'), (''):rep(1 << 60), ('x'):rep(0))"),
            std::vector<std::string>{"x-x-x\t\t"});
}

TEST_F(CLuaLanguage, MemoryComesBackWhenAScriptLetsGo) {
  Run("local t = {} for i = 1, 1e9 do t[i] = ('x'):rep(1000) .. i end");
  EXPECT_EQ(errors.size(), 1u);
  EXPECT_EQ(Say("collectgarbage() print(collectgarbage('count') < 10000)"),
            std::vector<std::string>{"true"});
}

}  // namespace
}  // namespace vx::test
