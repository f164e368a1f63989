// The hook lists: who is called, when, with what, and what a callback may do.
#include "mips3/Breakpoints.h"
#include "script/ScriptHooks.h"
#include "tests/script/ScriptTest.h"

namespace vx::test {
namespace {

constexpr u32 kOnFirstReset = 2, kOnReset = 3, kOnFrame = 4;

class CScriptHooks : public CScriptTest {
 protected:
  void Register(u32 list, u32 first, u32 second) { Call(list, {first, second}); }
  void Frame() {
    m->onVideoFilter = [](CQuillonMachineBase*) { return 1; };
    m->FrameStep();
  }
  std::vector<std::vector<u32>> Words(char processor) const {
    std::vector<std::vector<u32>> words;
    for (const SHookCall& call : Hooks().calls) {
      if (call.processor == processor) words.push_back(call.words);
    }
    return words;
  }
};
using WordLists = std::vector<std::vector<u32>>;

TEST_F(CScriptHooks, ResetCallbacksComeOnceAtTheFirstFrame) {
  Register(kOnReset, 3, 4);
  Register(kOnFirstReset, 1, 2);
  Boot();
  EXPECT_TRUE(Hooks().calls.empty());
  Steps(2);
  EXPECT_EQ(Words('d'), (WordLists{{1, 2}, {3, 4}}));
  EXPECT_EQ(Hooks().calls[0].machine, m.get());
  EXPECT_TRUE(Hooks().calls[0].bFlag);
}

TEST_F(CScriptHooks, ALaterResetCallsOnlyTheListOfAllResets) {
  Register(kOnFirstReset, 1, 2);
  Register(kOnReset, 3, 4);
  Steps(1);
  m->Reset();
  m->LoadPack(nullptr);
  m->Reset();
  Steps(1);
  EXPECT_EQ(Words('d'), (WordLists{{1, 2}, {3, 4}, {3, 4}}));
}

TEST_F(CScriptHooks, EachMachineHasAFirstResetOfItsOwn) {
  Register(kOnFirstReset, 1, 2);
  Steps(1);
  const BoardPtr other(new CVXMachine);
  other->FrameStep();
  ASSERT_EQ(Hooks().calls.size(), 2u);
  EXPECT_EQ(Hooks().calls[1].machine, other.get());
}

TEST_F(CScriptHooks, AMachineWithoutTheMarkIsFirstAgain) {
  Register(kOnFirstReset, 1, 2);
  Steps(1);
  EXPECT_EQ(m->bScriptStartSent, 1);
  m->bScriptStartSent = 0;  // as loading a state does
  Steps(1);
  EXPECT_EQ(Hooks().calls.size(), 1u);  // only with a notification
  m->bResetPending = 1;
  Steps(1);
  EXPECT_EQ(Hooks().calls.size(), 2u);
}

TEST_F(CScriptHooks, WithoutEntriesNothingIsMarkedOrUndone) {
  SetBreakpoint(m.get(), 0x1000, 1);
  m->dspPatchList.push_back({0x10006, 0x123456, 5, 0});
  Steps(1);
  EXPECT_EQ(m->bScriptStartSent, 0);
  EXPECT_EQ(m->breakpointMap.size(), 1u);
  EXPECT_EQ(m->dspPatchList.size(), 1u);
}

TEST_F(CScriptHooks, TheFirstResetWalkClearsAllBreakpoints) {
  Boot(PackOfCode(CGuestCode().Op(mips::kNop).Op(mips::kNop).Rest().Words()));
  Register(kOnFirstReset, 1, 2);
  SetBreakpoint(m.get(), kFlatBootRom + 4, 1);
  SetBreakpoint(m.get(), kFlatBootRom + 4, 2);
  m->bPredecodeChanged = 0;
  Hooks().onCall = [this](const SHookCall& call) {
    EXPECT_TRUE(call.processor == 'm' || m->breakpointMap.empty());
  };
  Steps(1);
  EXPECT_TRUE(Words('m').empty());
  EXPECT_EQ(m->records[(kFlatBootRom + 4) / 4].flags & kOpBreakRequested, 0u);
  EXPECT_TRUE(NewMessages().empty());
}

TEST_F(CScriptHooks, AFirstResetCallbackSetsBreakpointsThatStay) {
  Boot(PackOfCode(CGuestCode().Op(mips::kNop).Op(mips::kNop).Rest().Words()));
  Register(kOnFirstReset, 1, 2);
  Hooks().onCall = [this](const SHookCall& call) {
    if (call.processor == 'd') Call(7, {kFlatBootRom + 4, 9});
  };
  Steps(1);
  EXPECT_EQ(Words('m'), (WordLists{{9, kFlatBootRom + 4, mips::kNop}}));
}

TEST_F(CScriptHooks, TheResetWalkTakesHooksOutOfTheSoundProgram) {
  Register(kOnReset, 1, 2);
  u32* const ram = m->sound.state.internalRam;
  ram[5] = 0x123456;
  Call(39, {5, 0, 1, kOut});
  Call(39, {5, 0, 2, kOut});
  Call(39, {6, 0, 3, kOut});
  ram[6] = 0x777777;  // no longer the hook's
  m->bResetPending = 1;
  Steps(1);
  EXPECT_EQ(ram[5], 0x123456u);
  EXPECT_EQ(ram[6], 0x777777u);
  EXPECT_TRUE(m->dspPatchList.empty());
}

TEST_F(CScriptHooks, AFrameCallbackComesAtEachPictureWithItsPage) {
  Boot();
  Register(kOnFrame, 5, 6);
  Frame();
  EXPECT_EQ(Words('m'), (WordLists{{5, 0, 6}}));
  m->state.boardControl |= 4;
  Frame();
  EXPECT_EQ(Words('m'), (WordLists{{5, 0, 6}, {5, 1, 6}}));
  m->onVideoFilter = [](CQuillonMachineBase*) { return 0; };
  m->FrameStep();
  EXPECT_EQ(Hooks().calls.size(), 2u);
}

TEST_F(CScriptHooks, AFrameCallbackFindsThePictureTaken) {
  Boot();
  m->flatMem[0x30000] = 0xFF;
  m->flatMem[0x30001] = 0x7F;
  Register(kOnFrame, 5, 6);
  host.picture[0] = 1;
  u32 seen = 0;
  Hooks().onCall = [&](const SHookCall&) { seen = host.picture[0]; };
  Frame();
  EXPECT_EQ(seen, 0xFFFFFFu);
}

TEST_F(CScriptHooks, WhatACallbackRegistersWaitsForTheNextWalk) {
  Boot();
  Register(kOnFrame, 1, 0);
  Hooks().onCall = [this](const SHookCall& call) {
    if (call.words[0] == 1 && Hooks().calls.size() == 1) {
      for (u32 i = 0; i < 100; ++i) Register(kOnFrame, 2 + i, 0);
    }
  };
  Frame();
  EXPECT_EQ(Hooks().calls.size(), 1u);
  Frame();
  EXPECT_EQ(Hooks().calls.size(), 1u + 101u);
}

TEST_F(CScriptHooks, ACallbackMayEmptyTheLists) {
  Boot();
  for (u32 i = 0; i < 4; ++i) Register(kOnFrame, i, 0);
  Hooks().onCall = [](const SHookCall&) { ResetScriptHooks(); };
  Frame();
  EXPECT_EQ(Hooks().calls.size(), 1u);
}

TEST_F(CScriptHooks, ResettingTheScriptsForgetsCallbacksAndLeavesMachinesAlone) {
  Register(kOnFirstReset, 1, 2);
  Register(kOnReset, 3, 4);
  Register(kOnFrame, 5, 6);
  SetBreakpoint(m.get(), 0x1000, 1);
  Call(39, {5, 0, 1, kOut});
  m->scriptBlobStore[1].bytes = {1, 2};
  ResetScriptHooks();
  Boot();
  Frame();
  EXPECT_TRUE(Hooks().calls.empty());
  EXPECT_EQ(m->dspPatchList.size(), 1u);
  EXPECT_EQ(m->scriptBlobStore.size(), 1u);
}

TEST_F(CScriptHooks, AMachineOfAHostWithoutScriptsRunsOn) {
  Boot();
  for (const u32 list : {kOnFirstReset, kOnReset, kOnFrame}) Register(list, 1, 2);
  host.Api().InvokeDspHook = nullptr;
  host.Api().InvokeMipsHook = nullptr;
  Frame();
  EXPECT_EQ(m->state.frameNumber, 1u);
  EXPECT_EQ(m->bScriptStartSent, 1);
}

}  // namespace
}  // namespace vx::test
