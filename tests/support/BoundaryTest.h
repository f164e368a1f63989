// A fixture for tests through the boundary: a host, the component started, and one machine whose
// callbacks record what they were given.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/GuestCode.h"
#include "tests/support/LoadedComponent.h"
#include "tests/support/TestHost.h"
#include "tests/support/TestPack.h"

namespace vx::test {

struct SVideoCall {
  CQuillonMachineBase* machine = nullptr;
  const u32* pixels = nullptr;
  u32 width = 0, height = 0;
  u64 further[4] = {1, 1, 1, 1};
};

// What the callbacks of the one recorded machine were given.
struct SCallbackRecord {
  u32 videoCalls = 0;
  u32 audioCalls = 0;
  u32 filterCalls = 0;
  u32 dualCalls = 0;
  i32 filterAnswer = 1;
  SVideoCall lastVideo;
  std::string order;  // 'f' filter, 'v' video, 'a' audio
};

// Calls slot `slot` of a machine's table as a host in any language would.
template <typename TResult, typename... TArguments>
TResult CallSlot(CQuillonMachineBase* machine, u32 slot, TArguments... arguments) {
  using Function = TResult (*)(CQuillonMachineBase*, TArguments...);
  void** const table = *reinterpret_cast<void***>(machine);
  return reinterpret_cast<Function>(table[slot])(machine, arguments...);
}

class CBoundaryTest : public testing::Test {
 protected:
  CBoundaryTest();
  ~CBoundaryTest() override;

  // Loads, resets and applies the settings, in the order that a host keeps.
  void Boot(const SPackContent& content);
  void Boot(const CGuestCode& code, u64 identity = kPackIdentityA) {
    Boot(PackOfCode(code.Words(), identity));
  }
  void RunFrames(u32 count);
  // A 64-bit cell that guest code kept.
  u64 Result(u32 cell) const;
  u8* Memory() const { return machine->GetMemoryImage(); }
  // Changes a current value as a host's settings screen does; ApplySettings is left to the test.
  void SetSetting(const std::string& key, u32 value);

  CTestHost host;
  CLoadedComponent component;
  const SMachineTable& table;
  CQuillonMachineBase* machine;
  SCallbackRecord& calls;
};

// Sets the five callbacks to functions that record into the answer, which starts anew.
SCallbackRecord& RecordCallbacks(CQuillonMachineBase* machine);

}  // namespace vx::test
