// Scripts that mean no good: any number, any words, between frames and from hooks inside them.
#include <sys/mman.h>

#include <random>

#include "script/ScriptTable.h"
#include "tests/script/ScriptTest.h"

namespace vx::test {
namespace {

constexpr u64 kReach = u64{1} << 32;
constexpr u32 kSmall = 0x100000;  // where a test keeps what it asks for, so that memory stays small

class CHostileScript : public CScriptTest {
 protected:
  CHostileScript() {
    all_ = static_cast<u8*>(mmap(nullptr, kReach, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    EXPECT_NE(all_, MAP_FAILED);
  }
  ~CHostileScript() override { munmap(all_, kReach); }

  u32 Below(u32 end) { return static_cast<u32>(random_() % end); }

  // A number that is on some edge, or any.
  u32 Extreme() {
    static constexpr u32 kEdges[] = {
        0,          1,          2,          3,          4,          5,          7,
        8,          15,         16,         31,         32,         63,         255,
        256,        0x1FF,      0x200,      0x3FF,      0x400,      0x7FF,      0x800,
        0x1FFF,     0x2000,     0x2FFF,     0x3000,     0x33FF,     0x3400,     0x37FF,
        0x3800,     0x39FF,     0x3FEF,     0x3FF1,     0x3FF2,     0x3FFF,     0x4000,
        0x5501,     0xFFFF,     0x10000,    0x8FFFFC,   0x900000,   0xDFFFFC,   0xDFFFFF,
        0xE00000,   0xE00001,   0x240000,   0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, 0xFFFFFFFE,
        0xFFFFFFFF, 0xBFC00000, 0x80001000,
    };
    switch (Below(4)) {
      case 0:
        return static_cast<u32>(random_());
      case 1:
        return Below(256);
      default:
        return kEdges[Below(std::size(kEdges))];
    }
  }

  u32 Offset() { return Below(6) == 0 ? Extreme() : Below(kSmall); }

  // One call of any function. Sizes that would only fill the test's own memory are kept small.
  void CallAnything(CQuillonMachineBase* machine) {
    const u32 function = Below(80);
    const u32 at = Below(kSmall);
    u32 words[kMostScriptWords];
    for (u32 i = 0; i < kMostScriptWords; ++i) {
      const bool bValue = function >= kScriptFunctionCount ||
                          ScriptFunctions()[function].words[i] == EScriptWord::Value;
      words[i] = bValue ? Extreme() : Offset();
    }
    if (function == 13 || function == 18) words[2] = Below(4) == 0 ? Extreme() : Below(4096);
    if (function == 13 && words[2] > kSmall && words[2] <= kFlatBytes) words[1] = kSmall;
    if (function == 71 || function == 72) words[1] = Below(4096);
    if (function == 73) {
      words[1] = Below(64);
      words[5] = Below(8) == 0 ? Extreme() & 0xFFFF : Below(64);
    }
    if (function == 66 && Below(4) != 0) words[0] = 0;
    if (function == 59) words[0] = Below(4);
    std::memcpy(all_ + at, words, sizeof(words));
    if (Below(4) == 0) {
      for (u32 i = 0; i < 64; ++i) all_[Below(kSmall)] = static_cast<u8>(random_());
    }
    const bool bScalar =
        function < kScriptFunctionCount && ScriptFunctions()[function].form == EScriptForm::Scalar;
    u64 argument = at;
    if (bScalar) argument = function == 59 ? Below(4) : Extreme();
    if (Below(64) == 0) argument = random_();
    if (function == 59 && argument > 256) argument = 1;
    // A script that turns time back for ever keeps only itself.
    if (function == 37 && static_cast<u32>(argument) > 0x7FFFFFFF) argument = 0xFFFFFFFF;
    CallScriptFunction(static_cast<CVXMachine*>(machine), reinterpret_cast<u64>(all_), function,
                       argument);
    if (function == 21 || function == 22) ++jumps_;
  }

  // Guest code and sound words of any kind, so that what scripts reach is reached while it runs.
  void BootNoise() {
    Boot();
    for (u32 i = 0; i < 0x2000; ++i) {
      const u32 word = static_cast<u32>(random_());
      std::memcpy(m->flatMem + 0x1000 + 4 * i, &word, 4);
    }
    for (u32& word : m->sound.state.internalRam) word = static_cast<u32>(random_()) & 0xFFFFFF;
  }

  u8* all_ = nullptr;
  std::mt19937_64 random_{20};
  u32 jumps_ = 0;
};

TEST_F(CHostileScript, CallsBetweenFramesNeverHarmTheMachine) {
  for (u32 round = 0; round < 12; ++round) {
    random_.seed(1000 + round);
    BootNoise();
    for (u32 frame = 0; frame < 6; ++frame) {
      for (u32 i = 0; i < 400; ++i) CallAnything(m.get());
      m->state.frameFlags &= ~u32{kFrameLookAhead};
      m->RunFrame();
    }
  }
  EXPECT_GT(m->state.frameNumber, 0u);
}

TEST_F(CHostileScript, CallsFromHooksInsideFramesNeverHarmTheMachine) {
  m->onVideoFilter = [](CQuillonMachineBase*) { return 1; };
  for (u32 round = 0; round < 12; ++round) {
    random_.seed(2000 + round);
    BootNoise();
    u32 budget = 0;
    Hooks().onCall = [&](const SHookCall& call) {
      Hooks().calls.clear();
      Hooks().answer = static_cast<i32>(Below(2));
      if (budget == 0) return;
      const u32 calls = Below(6);
      for (u32 i = 0; i < calls && budget != 0; ++i, --budget) CallAnything(call.machine);
    };
    for (u32 frame = 0; frame < 6; ++frame) {
      budget = 300;
      m->bResetPending = 1;
      for (const u32 list : {2u, 3u, 4u}) Call(list, {Below(10), Below(10)});
      for (u32 i = 0; i < 4; ++i) Call(7, {kFlatBootRom + 4 * Below(4), Below(4)});
      for (u32 i = 0; i < 4; ++i) Call(39, {Below(0x40), 0, Below(4), kOut});
      m->state.frameFlags &= ~u32{kFrameLookAhead};
      m->RunFrame();
    }
    ResetScriptHooks();
  }
  EXPECT_GT(m->state.frameNumber, 0u);
}

TEST_F(CHostileScript, ProjectingMoreThanThereIsEndsWhereOffsetsEnd) {
  const u32 words[] = {0xFFFFFFF0, 0xFFFFFFFF, 0, 0, 0, 0xFFFFFFFF};
  std::memcpy(all_ + 0x100, words, sizeof(words));
  CallScriptFunction(m.get(), reinterpret_cast<u64>(all_), 73, 0x100);
  const u32 late[] = {0, 3, 0xFFFFFFF4, 0, 0, 0xFFFFFFFF};
  std::memcpy(all_ + 0x100, late, sizeof(late));
  CallScriptFunction(m.get(), reinterpret_cast<u64>(all_), 73, 0x100);
}

TEST_F(CHostileScript, TextWithoutAnEndIsHashedUpToTheLastOffset) {
  std::memset(all_ + kReach - 0x1000, 'x', 0x1000);
  const u32 words[] = {0xFFFFFFF0, 0x200};
  std::memcpy(all_ + 0x100, words, sizeof(words));
  CallScriptFunction(m.get(), reinterpret_cast<u64>(all_), 70, 0x100);
  u64 hash = 0;
  std::memcpy(&hash, all_ + 0x200, sizeof(hash));
  EXPECT_NE(hash, 0u);
}

}  // namespace
}  // namespace vx::test
