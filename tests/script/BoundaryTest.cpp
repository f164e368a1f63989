// Script functions through the component's own table.
#include <cstring>

#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

u32 g_dspCalls = 0;
u32 g_mipsCalls = 0;

class CScriptBoundary : public CBoundaryTest {
 protected:
  CScriptBoundary() {
    g_dspCalls = g_mipsCalls = 0;
    host.Api().InvokeDspHook = [](CQuillonMachineBase*, bool, u32, u32) -> i32 {
      ++g_dspCalls;
      return 1;
    };
    host.Api().InvokeMipsHook = [](CQuillonMachineBase*, bool, u32, u32, u32) -> i32 {
      ++g_mipsCalls;
      return 1;
    };
  }
  u64 Base() const { return reinterpret_cast<u64>(memory_); }
  void Register(u32 list) { table.ScriptCallStatic(Base(), list, 0); }

  u32 memory_[64] = {};
};

TEST_F(CScriptBoundary, AScriptRegistersBeforeItsMachineRuns) {
  for (const u32 list : {2u, 3u, 4u}) Register(list);
  Boot(CGuestCode().Rest());
  RunFrames(2);
  EXPECT_EQ(g_dspCalls, 2u);
  EXPECT_EQ(g_mipsCalls, 2u);
}

TEST_F(CScriptBoundary, ScriptResetForgetsAllCallbacks) {
  for (const u32 list : {2u, 3u, 4u}) Register(list);
  table.ScriptReset();
  Boot(CGuestCode().Rest());
  RunFrames(2);
  EXPECT_EQ(g_dspCalls + g_mipsCalls, 0u);
}

TEST_F(CScriptBoundary, ShuttingDownForgetsAllCallbacks) {
  for (const u32 list : {2u, 3u, 4u}) Register(list);
  table.Shutdown();
  table.Startup();
  Boot(CGuestCode().Rest());
  RunFrames(2);
  EXPECT_EQ(g_dspCalls + g_mipsCalls, 0u);
}

TEST_F(CScriptBoundary, GuestMemoryIsReadAndWritten) {
  Boot(CGuestCode().Rest());
  memory_[0] = 0x1000;
  memory_[1] = 128;
  memory_[32] = 0xCAFE1234;
  table.ScriptCall(machine, Base(), 16, 0);
  memory_[1] = 132;
  table.ScriptCall(machine, Base(), 11, 0);
  EXPECT_EQ(memory_[33], 0xCAFE1234u);
  EXPECT_EQ(std::memcmp(Memory() + 0x1000, &memory_[32], 4), 0);
}

TEST_F(CScriptBoundary, AStaticCallOfAnotherFunctionDoesNothing) {
  memory_[0] = 7;
  for (u32 function = 0; function < 80; ++function) {
    if (function < 2 || function > 4) table.ScriptCallStatic(Base(), function, 0);
  }
  EXPECT_EQ(memory_[0], 7u);
}

}  // namespace
}  // namespace vx::test
