// A fixture for look-ahead: a machine whose host gives a picture buffer of its own to each request,
// keeps what it was asked from three threads, and plays the script that steers the branches.
#pragma once

#include <functional>
#include <map>
#include <mutex>

#include "machine/LookAhead.h"
#include "tests/machine/BoardTest.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {

struct SPictureRequest {
  u64 sequence;
  bool bSpeculative;
  const u32* pixels;
};

// What the host and the callbacks have seen. All of it under `lock` while frames run.
struct SLookAheadLog {
  std::recursive_mutex lock;
  bool bGivesPictures = true;
  std::vector<std::unique_ptr<u32[]>> buffers;
  std::vector<SPictureRequest> requests;
  // Called for each breakpoint, with the machine that hit it.
  std::function<void(CVXMachine&)> onHook;
  std::map<const CVXMachine*, u32> hooks;

  u32 videoCalls = 0, dualCalls = 0, audioCalls = 0, filterCalls = 0;
  i32 filterAnswer = 1;
  const u32* videoPixels = nullptr;
  const u32* dualPixels[2] = {};
  u32 dualWidth = 0, dualHeight = 0;
};

class CLookAheadTest : public CBoardTest {
 protected:
  CLookAheadTest();
  ~CLookAheadTest() override;

  // A guest that counts in result cell 0 and draws its count, flips the page every few
  // milliseconds, and passes kHookOffset each time before it does.
  static CGuestCode Flipper();
  // Boots it, sets a breakpoint there and arms look-ahead.
  void BootFlipper();
  // A script that arms each branch, so that it ends with the picture that the guest completes.
  void ArmBranches();
  void LookAhead() { m->state.frameFlags |= kFrameLookAhead; }
  void Frames(u32 count);
  CVXMachine& Clone(u32 branch) { return m->workers[branch]->Clone(); }
  // Which machine a hook's machine is: 0 the master, 1 and 2 the branches.
  static bool IsClone(const CVXMachine& machine) { return machine.parent != nullptr; }

  static SLookAheadLog& Log();
  static void RecordCallbacks(CVXMachine& machine);
};

}  // namespace vx::test
