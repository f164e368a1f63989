// Look-ahead under everything that other threads and scripts do to a machine. Meant to be run under
// a thread sanitizer; it holds without one too.
#include <atomic>
#include <thread>

#include "machine/Settings.h"
#include "mips3/Breakpoints.h"
#include "tests/lookahead/LookAheadTest.h"

namespace vx::test {
namespace {

struct LookAheadThreads : CLookAheadTest {};

// The sanitizer's run is the long one.
#ifdef __SANITIZE_THREAD__
constexpr u32 kFrames = 600;
#else
constexpr u32 kFrames = 120;
#endif

TEST_F(LookAheadThreads, FramesGoOnWithBreakpointsInputSettingsAndTheReaderStillAtWork) {
  SPackContent content = PackOfCode(Flipper().Words());
  content.chunkCount = 400;
  content.disk.assign(content.chunkCount * content.chunkBytes, 0x42);
  const CPackFile file{CTestPack(content)};
  ASSERT_TRUE(m->LoadPack(file.Path()));
  m->Reset();
  LookAhead();
  ArmBranches();

  std::atomic<bool> bDone{false};
  std::thread other([&] {
    for (u32 i = 0; !bDone; ++i) {
      SInputRecord records[2];
      records[0].padBits = i;
      records[0].systemBits = i << 3;
      m->SetInput(records, 2);
      if (i % 16 == 0) m->ApplySettings();
    }
  });
  for (u32 frame = 0; frame < kFrames; ++frame) {
    const u32 offset = kFlatBootRom + 4 * (frame % 7);
    if (frame % 3 == 0) SetBreakpoint(m.get(), offset, frame);
    if (frame % 5 == 0) ClearBreakpoint(m.get(), offset);
    Frames(1);
  }
  bDone = true;
  other.join();
  EXPECT_EQ(m->state.frameNumber, kFrames);
  EXPECT_GT(Log().dualCalls, 0u);
  EXPECT_EQ(Log().dualCalls + Log().videoCalls, kFrames);
}

}  // namespace
}  // namespace vx::test
