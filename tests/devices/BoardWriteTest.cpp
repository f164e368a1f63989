// How writes merge into the 32-bit registers, and what the control register and the status word do
// besides.
#include "tests/devices/IoTest.h"

namespace vx::test {
namespace {

using BoardWriteTest = CLayoutTest;

struct SMergeCase {
  u32 lane, bytes;
  u64 value;
  u32 expected;
};

TEST_P(BoardWriteTest, BytesGoToTheLaneOfTheAddressHighestByteFirst) {
  constexpr u32 kOld = 0xAABBCCDD;
  // clang-format off
  constexpr SMergeCase kCases[] = {
    // lane bytes  value                 register
    { 0, 1, 0x11,               0xAABBCC11 },
    { 1, 1, 0x11,               0xAABB11DD },
    { 2, 1, 0x11,               0xAA11CCDD },
    { 3, 1, 0x11,               0x11BBCCDD },
    { 0, 2, 0x2211,             0xAABB2211 },
    { 1, 2, 0x2211,             0xAA2211DD },
    { 2, 2, 0x2211,             0x2211CCDD },
    { 3, 2, 0x2211,             0x11BBCC22 },
    { 0, 4, 0x44332211,         0x44332211 },
    { 1, 4, 0x44332211,         0x33221144 },
    { 2, 4, 0x44332211,         0x22114433 },
    { 3, 4, 0x44332211,         0x11443322 },
    { 0, 8, 0x8877665544332211, 0x44332211 },
    { 1, 8, 0x8877665544332211, 0x33221144 },
    { 2, 8, 0x8877665544332211, 0x22114433 },
    { 3, 8, 0x8877665544332211, 0x11443322 },
  };
  // clang-format on
  for (const SMergeCase& row : kCases) {
    SCOPED_TRACE(testing::Message() << "lane " << row.lane << ", bytes " << row.bytes);
    m->state.soundLatch = m->state.boardControl = m->state.soundStrobe = kOld;
    Write(at.soundLatch + row.lane, row.value, row.bytes);
    EXPECT_EQ(m->state.soundLatch, row.expected);
    Write(at.boardControl + row.lane, row.value, row.bytes);
    EXPECT_EQ(m->state.boardControl, row.expected);
    Write(at.soundStrobe + row.lane, row.value, row.bytes);
    EXPECT_EQ(m->state.soundStrobe, row.expected);
  }
}

TEST_P(BoardWriteTest, ValueBitsAboveTheWidthTakeNoPartInTheMerge) {
  m->state.soundLatch = 0;
  Write(at.soundLatch, ~u64{0}, 1);
  EXPECT_EQ(m->state.soundLatch, 0xFFu);
  Write(at.soundLatch + 2, ~u64{0}, 1);
  EXPECT_EQ(m->state.soundLatch, 0xFF00FFu);
}

// --- Control register ----------------------------------------------------------------------------

TEST_P(BoardWriteTest, APageFlipTogglesItsFlagAndAnUnchangedPageDoesNot) {
  Write(at.boardControl, 4, 4);
  EXPECT_EQ(m->state.frameFlags, u32{kRunFlagPageFlipped});
  Write(at.boardControl, 5, 4);
  Write(at.boardControl, 4, 1);
  EXPECT_EQ(m->state.frameFlags, u32{kRunFlagPageFlipped});
  Write(at.boardControl, 0, 4);
  EXPECT_EQ(m->state.frameFlags, 0u);
}

TEST_P(BoardWriteTest, TheValueIsComparedBeforeItIsShiftedToItsLane) {
  Write(at.boardControl + 1, 4, 1);
  EXPECT_EQ(m->state.boardControl, 0x400u);
  EXPECT_EQ(m->state.frameFlags, u32{kRunFlagPageFlipped}) << "as though it were lane 0";
  m->state.boardControl = 4;
  m->state.frameFlags = 0;
  Write(at.boardControl + 2, 4, 1);
  EXPECT_EQ(m->state.frameFlags, 0u);
}

struct FlipListeners : CLayoutTest {
  u32 told = 0;
  FlipListeners() {
    m->queue.AddListener([](void* context) { ++*static_cast<u32*>(context); }, &told);
  }
};

TEST_P(FlipListeners, AFlipWhileArmedIsMarkedAndTellsTheListeners) {
  m->state.frameFlags = kFrameArmed;
  m->cpu.cycles = 10;
  m->cpu.budget = 100;
  Write(at.boardControl, 4, 4);
  EXPECT_EQ(m->state.frameFlags, u32{kFrameArmed | kRunFlagPageFlipped | kFrameFlipWhileArmed});
  EXPECT_EQ(told, 1u);
  EXPECT_EQ(m->cpu.stopMark, 11u) << "the running slice ends";
  EXPECT_EQ(m->state.boardControl, 4u) << "the merge takes place all the same";
}

TEST_P(FlipListeners, AFlipWithoutArmingTellsNobody) {
  Write(at.boardControl, 4, 4);
  EXPECT_EQ(told, 0u);
  EXPECT_EQ(m->state.frameFlags & kFrameFlipWhileArmed, 0u);
}

TEST_P(FlipListeners, AnUnchangedPageWhileArmedTellsNobody) {
  m->state.frameFlags = kFrameArmed;
  Write(at.boardControl, 0xFFFFFFFB, 4);
  EXPECT_EQ(told, 0u);
  EXPECT_EQ(m->state.frameFlags, u32{kFrameArmed});
}

// --- Status word ---------------------------------------------------------------------------------

struct StatusWordTest : CLayoutTest {
  void HoldCommand() { m->soundBoard.link.boardFlags &= ~u32{kCommandTaken}; }
  void EnterSlice() {
    m->cpu.cycles = 10;
    m->cpu.budget = 100;
  }
};

TEST_P(StatusWordTest, ReadingAtAnyWidthUpdatesTheSoundBit) {
  for (const u32 bytes : kWidths) {
    m->soundBoard.link.boardFlags |= kCommandTaken;
    m->state.boardStatus = ~u64{2};
    EXPECT_EQ(Read(at.boardStatus, bytes), WidthMask(bytes));
    EXPECT_EQ(m->state.boardStatus, ~u64{0});
    HoldCommand();
    EXPECT_EQ(Read(at.boardStatus, bytes), WidthMask(bytes) & ~u64{2});
    EXPECT_EQ(m->state.boardStatus, ~u64{2});
  }
}

TEST_P(StatusWordTest, ReadingTheNextAddressesUpdatesItToo) {
  HoldCommand();
  EXPECT_EQ(Read(at.boardStatus + 3, 1), 0xFDu);
  EXPECT_EQ(Read(at.boardStatus + 4, 1), 0u);
}

TEST_P(StatusWordTest, PollingForTheSoundProcessorInSteppedModeSpendsTheSlice) {
  for (const u32 flag : {u32{kFrameLookAhead}, u32{kFrameTimedOut}}) {
    HoldCommand();
    m->state.frameFlags = flag;
    EnterSlice();
    Read(at.boardStatus, 4);
    EXPECT_EQ(m->cpu.cycles, 100u);
    EXPECT_EQ(m->cpu.stopMark, 0u) << "the skipped time counts as spent";
  }
}

TEST_P(StatusWordTest, PollingInAPlainFrameOrAfterTheTakingSpendsNothing) {
  HoldCommand();
  m->state.frameFlags = ~u32{kFrameLookAhead | kFrameTimedOut};
  EnterSlice();
  Read(at.boardStatus, 4);
  EXPECT_EQ(m->cpu.cycles, 10u);
  m->soundBoard.link.boardFlags |= kCommandTaken;
  m->state.frameFlags = kFrameLookAhead | kFrameTimedOut;
  Read(at.boardStatus, 4);
  EXPECT_EQ(m->cpu.cycles, 10u);
}

TEST_P(StatusWordTest, ALookAheadInstanceAlwaysSeesTheLatchFree) {
  const BoardPtr parent(new CVXMachine);
  m->parent = parent.get();
  HoldCommand();
  m->state.frameFlags = kFrameLookAhead;
  EnterSlice();
  EXPECT_EQ(Read(at.boardStatus, 1), 0xFFu);
  EXPECT_EQ(m->cpu.cycles, 10u);
  m->parent = nullptr;
}

INSTANTIATE_TEST_SUITE_P(Layouts, BoardWriteTest, testing::Values(kPlacesA, kPlacesB), LayoutName);
INSTANTIATE_TEST_SUITE_P(Layouts, FlipListeners, testing::Values(kPlacesA, kPlacesB), LayoutName);
INSTANTIATE_TEST_SUITE_P(Layouts, StatusWordTest, testing::Values(kPlacesA, kPlacesB), LayoutName);

}  // namespace
}  // namespace vx::test
