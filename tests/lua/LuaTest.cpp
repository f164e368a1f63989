#include "tests/lua/LuaTest.h"

namespace vx::test {

namespace {

CScriptEngine* g_engine = nullptr;

}  // namespace

CLuaTest::CLuaTest() {
  host.Api().InvokeDspHook = [](CQuillonMachineBase* machine, bool, u32 hook, u32 argument) -> i32 {
    return g_engine != nullptr ? g_engine->OnDspHook(machine, hook, argument) : 1;
  };
  host.Api().InvokeMipsHook = [](CQuillonMachineBase* machine, bool, u32 hook, u32 a,
                                 u32 b) -> i32 {
    return g_engine != nullptr ? g_engine->OnMipsHook(machine, hook, a, b) : 1;
  };
  machine->onVideoFrame = [](CQuillonMachineBase*, const u32* pixels, u32 width, u32 height, u64,
                             u64, u64, u64) {
    if (g_engine != nullptr && pixels != nullptr) g_engine->TakePicture(pixels, width, height);
  };
  Renew();
}

CLuaTest::~CLuaTest() {
  g_engine = nullptr;
  engine.reset();
}

void CLuaTest::Renew(const SScriptLimits& limits) {
  g_engine = nullptr;
  engine.reset();
  engine = std::make_unique<CScriptEngine>(
      SScriptPort{table,
                  *machine,
                  [this] {
                    machine->Reset();
                    machine->ApplySettings();
                  },
                  [this](const std::string& line) { lines.push_back(line); },
                  [this](const std::string& line) { errors.push_back(line); },
                  {VX_SOURCE_ROOT "/tests/lua/"}},
      limits);
  g_engine = engine.get();
}

std::vector<std::string> CLuaTest::Say(const std::string& text) {
  lines.clear();
  Run(text);
  return lines;
}

void CLuaTest::Frames(u32 count) {
  for (u32 i = 0; i < count; ++i) {
    SMovieInput held = input;
    engine->BeforeFrame(held);
    SInputRecord records[kHostPlayers];
    for (u32 player = 0; player < kHostPlayers; ++player) {
      records[player].padBits = held.padBits[player];
      records[player].systemBits = held.systemBits[player];
    }
    machine->SetInput(records, kHostPlayers);
    machine->RunFrame();
    engine->AfterFrame();
  }
}

}  // namespace vx::test
