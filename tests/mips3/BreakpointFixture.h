// A machine whose host keeps each call of a breakpoint's hook and answers as a test says.
#pragma once

#include <algorithm>
#include <ostream>

#include "mips3/Breakpoints.h"
#include "tests/mips3/ProcessorTest.h"

namespace vx {

struct SHookCall {
  bool bFlag;
  u32 id, offset, word;
  bool operator==(const SHookCall&) const = default;
};

// What the present test's hooks have seen and do.
struct SHookState {
  std::vector<SHookCall> calls;
  std::vector<CQuillonMachineBase*> machines;
  std::vector<u32> skippingIds;        // these do not want the op to run
  std::function<void(u32 id)> onCall;  // what a hook does to the machine
};
inline SHookState& Hooks() {
  static SHookState state;
  return state;
}

inline constexpr u32 kOffset = kCode & 0x1FFFFFFF;
inline constexpr u32 kCount = mips::Addiu(mips::kT0, mips::kT0, 1);

class BreakpointTest : public ProcessorTest {
 protected:
  BreakpointTest() {
    Hooks() = {};
    TestHost().InvokeMipsHook = [](CQuillonMachineBase* machine, bool bFlag, u32 id, u32 offset,
                                   u32 word) -> i32 {
      SHookState& hooks = Hooks();
      hooks.calls.push_back({bFlag, id, offset, word});
      hooks.machines.push_back(machine);
      if (hooks.onCall) hooks.onCall(id);
      const auto& skipping = hooks.skippingIds;
      return std::find(skipping.begin(), skipping.end(), id) == skipping.end() ? 1 : 0;
    };
    PlaceWithRest(kCode, {mips::kNop, kCount, mips::Addiu(mips::kT1, mips::kT1, 1)});
  }
  ~BreakpointTest() override { Hooks() = {}; }

  void SetAt(u32 address, u32 id) { SetBreakpoint(m.get(), OffsetOf(address), id); }
  void ClearAt(u32 address) { ClearBreakpoint(m.get(), OffsetOf(address)); }
  u32 OffsetOf(u32 address) const { return RecordIndexAt(address) << 2; }
  u32 FlagsAt(u32 address) { return RecordAt(address).flags; }

  // Runs from an address with all counts at 0, up to the budget.
  u32 RunFrom(u32 address, u32 budget) {
    SetPc(address);
    Hooks().calls.clear();
    log.clear();
    gpr[mips::kT0] = gpr[mips::kT1] = gpr[mips::kT2] = gpr[mips::kT3] = 0;
    return Run(budget);
  }
  // Runs the code of three ops at kCode once, up to its rest.
  u32 RunCode() { return RunFrom(kCode, 4); }

  void ExpectCalls(const std::vector<SHookCall>& expected) { EXPECT_EQ(Hooks().calls, expected); }
  void ExpectNoCall() { EXPECT_TRUE(Hooks().calls.empty()); }
  // The word at kCode + 4 was met once, with one hook.
  void ExpectHit(u32 runs) {
    ExpectCalls({{true, 7, kOffset + 4, kCount}});
    EXPECT_EQ(gpr[mips::kT0], runs);
    EXPECT_EQ(gpr[mips::kT1], 1u);
  }
};

inline constexpr u32 kTarget = 0x80002010;
inline constexpr u32 kCount1 = mips::Addiu(mips::kT1, mips::kT1, 1);
inline constexpr u32 kCount2 = mips::Addiu(mips::kT2, mips::kT2, 1);
inline constexpr u32 kCount3 = mips::Addiu(mips::kT3, mips::kT3, 1);
inline constexpr u32 kWord = kCode + 4;  // that counts t0
inline constexpr u32 kNativeCycles = 100;

inline u32 FakeNative(CVXMachine* machine, u32 pc) {
  machine->cpu.cycles += kNativeCycles;
  return pc;
}

// The same with fake native blocks, for the rules one by one.
class BreakpointRuleTest : public BreakpointTest {
 protected:
  void MakeNative(u32 address) {
    RecordAt(address).flags |= kOpNative;
    RecordAt(address).native = FakeNative;
  }
  void ExpectValid(u32 address, bool bValid) {
    EXPECT_EQ(FlagsAt(address) & kOpValid, bValid ? 1u : 0u) << std::hex << address;
  }
};

inline void PrintTo(const SHookCall& call, std::ostream* out) {
  *out << "hook " << call.id << " at " << std::hex << call.offset << " of " << call.word;
}

}  // namespace vx
