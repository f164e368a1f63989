#include "tests/lookahead/LookAheadTest.h"

#include "mips3/Breakpoints.h"

namespace vx::test {

namespace {

constexpr u32 kBoardControl = 0x10000080;
constexpr u32 kPage = 0x30000;
constexpr u32 kHookWord = 6;  // of the program
SLookAheadLog* g_log = nullptr;

void* AcquirePicture(u64 sequence, u32 width, u32 height, u32, bool bSpeculative) {
  const std::lock_guard lock(g_log->lock);
  u32* pixels = nullptr;
  if (g_log->bGivesPictures) {
    if (g_log->buffers.size() > 6) g_log->buffers.erase(g_log->buffers.begin());
    pixels = g_log->buffers.emplace_back(new u32[size_t{width} * height]()).get();
  }
  g_log->requests.push_back({sequence, bSpeculative, pixels});
  return pixels;
}

i32 InvokeHook(CQuillonMachineBase* machine, bool, u32, u32, u32) {
  auto& board = *static_cast<CVXMachine*>(machine);
  const std::lock_guard lock(g_log->lock);
  ++g_log->hooks[&board];
  if (g_log->onHook) g_log->onHook(board);
  return 1;
}

}  // namespace

CLookAheadTest::CLookAheadTest() {
  g_log = new SLookAheadLog;
  host.Api().AcquireFrameBuffer = AcquirePicture;
  host.Api().InvokeMipsHook = InvokeHook;
  RecordCallbacks(*m);
}

CLookAheadTest::~CLookAheadTest() {
  m.reset();
  delete g_log;
  g_log = nullptr;
}

SLookAheadLog& CLookAheadTest::Log() { return *g_log; }

void CLookAheadTest::RecordCallbacks(CVXMachine& machine) {
  machine.onVideoFilter = [](CQuillonMachineBase*) {
    ++g_log->filterCalls;
    return g_log->filterAnswer;
  };
  machine.onVideoFrame = [](CQuillonMachineBase*, const u32* pixels, u32, u32, u64, u64, u64, u64) {
    ++g_log->videoCalls;
    g_log->videoPixels = pixels;
  };
  machine.onAudioBlock = [](CQuillonMachineBase*, const i16*, u32) { ++g_log->audioCalls; };
  machine.onDualFrame = [](CQuillonMachineBase*, const u32* a, const u32* b, u32 width,
                           u32 height) {
    ++g_log->dualCalls;
    g_log->dualPixels[0] = a;
    g_log->dualPixels[1] = b;
    g_log->dualWidth = width;
    g_log->dualHeight = height;
  };
}

CGuestCode CLookAheadTest::Flipper() {
  constexpr u32 kCount = 16, kDelay = 17, kFlip = 18;  // s0 to s2
  constexpr u32 kDelayRounds = 0x2F00;  // of some 68 cycles, for reading Count skips time
  CGuestCode code;
  code.Set(kCount, 0).Set(kFlip, 0).Op(mips::kNop).Op(mips::kNop);
  const u32 again = code.Here();
  code.Op(mips::Addiu(kCount, kCount, 1));
  code.KeepRegister(kCount, 0);
  code.Point(kPage).Op(mips::Sh(kCount, 0, CGuestCode::kAddress));
  code.Point(kPage + 0x28000).Op(mips::Sh(kCount, 0, CGuestCode::kAddress));
  code.Op(mips::Xori(kFlip, kFlip, 4));
  code.Point(kBoardControl).Op(mips::Sw(kFlip, 0, CGuestCode::kAddress));
  code.Set(kDelay, kDelayRounds);
  const u32 delay = code.Here();
  code.Op(mips::Mfc0(mips::kT2, kCop0Count));
  code.Op(mips::Addiu(kDelay, kDelay, -1));
  code.Op(
      mips::Bne(kDelay, mips::kZero, static_cast<i32>(delay) - static_cast<i32>(code.Here()) - 1));
  code.Op(mips::kNop);
  code.BranchBack(again);
  return code;
}

void CLookAheadTest::BootFlipper() {
  Boot(PackOfCode(Flipper().Words()));
  SetBreakpoint(m.get(), kFlatBootRom + 4 * kHookWord, 1);
  LookAhead();
}

void CLookAheadTest::ArmBranches() {
  Log().onHook = [](CVXMachine& machine) {
    machine.scriptState.markFrame = machine.state.frameNumber;
    if (IsClone(machine)) machine.state.frameFlags |= kFrameArmed;
  };
}

void CLookAheadTest::Frames(u32 count) {
  for (u32 i = 0; i < count; ++i) m->RunFrame();
}

}  // namespace vx::test
