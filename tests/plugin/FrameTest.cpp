// One frame as the host sees it: what is asked, what is called, and in which order.
#include <algorithm>

#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

using namespace mips;
using FrameTest = CBoundaryTest;

TEST_F(FrameTest, WithoutAPackTheFrameIsBlackAndCounts) {
  host.picture.assign(kPicturePixels, 0x12345678);
  machine->RunFrame();
  EXPECT_EQ(std::count(host.picture.begin(), host.picture.end(), 0u), kPicturePixels);
  EXPECT_EQ(machine->GetFrameCount(), 1u);
}

TEST_F(FrameTest, WithoutAPackNoEventFires) {
  RunFrames(3);
  EXPECT_EQ(calls.filterCalls, 0u);
}

TEST_F(FrameTest, WithoutAPackAndWithoutPixelsAFrameStillCounts) {
  host.bGivesPictures = false;
  RunFrames(2);
  EXPECT_EQ(machine->GetFrameCount(), 2u);
  EXPECT_EQ(calls.videoCalls, 2u);
  EXPECT_EQ(calls.lastVideo.pixels, nullptr);
}

TEST_F(FrameTest, TheFrameBufferIsAskedForOncePerFrameWithTheFramesNumber) {
  Boot(CGuestCode().Rest());
  for (u64 frame = 0; frame < 5; ++frame) {
    machine->RunFrame();
    EXPECT_EQ(host.frameRequests, frame + 1);
    EXPECT_EQ(host.lastFrame.sequence, frame);
    EXPECT_EQ(host.lastFrame.width, 320u);
    EXPECT_EQ(host.lastFrame.height, 240u);
    EXPECT_EQ(host.lastFrame.bytesPerPixel, 4u);
    EXPECT_FALSE(host.lastFrame.bSpeculative);
  }
}

TEST_F(FrameTest, WithoutAPackTheFrameBufferIsAskedForToo) {
  machine->RunFrame();
  machine->RunFrame();
  EXPECT_EQ(host.frameRequests, 2u);
  EXPECT_EQ(host.lastFrame.sequence, 1u);
}

TEST_F(FrameTest, TheFinishedFrameIsShownWithItsMachineAndFourZeros) {
  Boot(CGuestCode().Rest());
  machine->RunFrame();
  EXPECT_EQ(calls.videoCalls, 1u);
  EXPECT_EQ(calls.lastVideo.machine, machine);
  EXPECT_EQ(calls.lastVideo.pixels, host.picture.data());
  EXPECT_EQ(calls.lastVideo.width, 320u);
  EXPECT_EQ(calls.lastVideo.height, 240u);
  for (const u64 further : calls.lastVideo.further) EXPECT_EQ(further, 0u);
}

TEST_F(FrameTest, TheFilterIsAskedBeforeThePictureIsShown) {
  Boot(CGuestCode().Rest());
  RunFrames(3);
  std::string order = calls.order;
  std::erase(order, 'a');
  EXPECT_EQ(order, "fvfvfv");
}

TEST_F(FrameTest, SamplesComeAfterThePicture) {
  Boot(CGuestCode().Rest());
  RunFrames(1);
  EXPECT_NE(calls.order.front(), 'a');
}

TEST_F(FrameTest, OnlyAFilterAnswerOfOneConverts) {
  Boot(CGuestCode().Rest());
  for (const i32 answer : {0, 2, -1, 0x101}) {
    calls.filterAnswer = answer;
    host.picture.assign(kPicturePixels, 0x12345678);
    machine->RunFrame();
    EXPECT_EQ(host.picture[0], 0x12345678u) << "answer " << answer;
    EXPECT_EQ(calls.lastVideo.pixels, host.picture.data()) << "shown all the same";
  }
  calls.filterAnswer = 1;
  machine->RunFrame();
  EXPECT_EQ(host.picture[0], 0u);
}

TEST_F(FrameTest, WithoutPixelsTheFilterIsNotAsked) {
  Boot(CGuestCode().Rest());
  host.bGivesPictures = false;
  RunFrames(3);
  EXPECT_EQ(calls.filterCalls, 0u);
  EXPECT_EQ(calls.videoCalls, 3u);
  EXPECT_EQ(machine->GetFrameCount(), 3u);
}

TEST_F(FrameTest, WithoutAFilterNothingIsConverted) {
  Boot(CGuestCode().Rest());
  machine->onVideoFilter = nullptr;
  host.picture.assign(kPicturePixels, 0x12345678);
  machine->RunFrame();
  EXPECT_EQ(host.picture[0], 0x12345678u);
}

TEST_F(FrameTest, NullCallbacksAreSkipped) {
  Boot(CGuestCode().Rest());
  machine->onReserved = nullptr;
  machine->onVideoFrame = nullptr;
  machine->onAudioBlock = nullptr;
  machine->onVideoFilter = nullptr;
  machine->onDualFrame = nullptr;
  RunFrames(3);
  EXPECT_EQ(machine->GetFrameCount(), 3u);
}

TEST_F(FrameTest, TheDualCallbackIsNotForPlainFrames) {
  Boot(CGuestCode().Rest());
  RunFrames(3);
  EXPECT_EQ(calls.dualCalls, 0u);
}

TEST_F(FrameTest, ResetStartsTheCountAnew) {
  Boot(CGuestCode().Rest());
  RunFrames(4);
  machine->Reset();
  EXPECT_EQ(machine->GetFrameCount(), 0u);
  machine->RunFrame();
  EXPECT_EQ(host.lastFrame.sequence, 0u);
  EXPECT_EQ(machine->GetFrameCount(), 1u);
}

// --- The guest's side of a frame -----------------------------------------------------------------

constexpr u32 kVectorWord = 0x380 / 4;

// Enables the vertical blank interrupt and counts its entries in result cell 0; the handler waits
// until the line is low again.
CGuestCode BlankCounter() {
  CGuestCode code;
  code.Set(kT2, 0x400401).Op(Mtc0(kT2, 12)).Rest();
  while (code.Here() < kVectorWord) code.Op(kNop);
  code.Point(kGuestResults).Op(Ld(kT2, 0, CGuestCode::kAddress)).Op(Addiu(kT2, kT2, 1));
  code.Op(Sd(kT2, 0, CGuestCode::kAddress));
  code.Op(Mfc0(kT3, 13)).Op(Andi(kT3, kT3, 0x400)).Op(Bne(kT3, kZero, -3)).Op(kNop);
  return code.Op(kEret).Op(kNop);
}

TEST_F(FrameTest, TheGuestGetsOneVerticalBlankInterruptAFrame) {
  Boot(BlankCounter());
  for (u64 frame = 1; frame <= 10; ++frame) {
    machine->RunFrame();
    EXPECT_EQ(Result(0), frame);
  }
}

TEST_F(FrameTest, OneInterruptAFrameHoldsAtEveryRateAndClock) {
  Boot(BlankCounter());
  u64 expected = 0;
  for (u32 value = 0; value < 4; ++value) {
    SetSetting("VX_MachTiming", value);
    SetSetting("VX_MIPSClock", value);
    machine->ApplySettings();
    RunFrames(5);
    expected += 5;
    EXPECT_EQ(Result(0), expected) << "setting " << value;
  }
}

// Counts loop passes while the line is low in cell 0 and while it is high in cell 1.
CGuestCode LineTimer() {
  CGuestCode code;
  code.Point(kGuestResults).Set(kS0, 0).Set(kS1, 0);
  const u32 loop = code.Here();
  code.Op(Mfc0(kT3, 13)).Op(Srl(kT3, kT3, 10)).Op(Andi(kT3, kT3, 1)).Op(Xori(kT4, kT3, 1));
  code.Op(Addu(kS1, kS1, kT3)).Op(Addu(kS0, kS0, kT4));
  code.Op(Sd(kS0, 0, CGuestCode::kAddress)).Op(Sd(kS1, 8, CGuestCode::kAddress));
  return code.BranchBack(loop);
}

TEST_F(FrameTest, TheBlankLineIsHighFor22Of262PartsOfAFrame) {
  Boot(LineTimer());
  RunFrames(1);
  const u64 low = Result(0), high = Result(1);
  RunFrames(10);
  const f64 lowPasses = static_cast<f64>(Result(0) - low);
  const f64 highPasses = static_cast<f64>(Result(1) - high);
  ASSERT_GT(highPasses, 100.0);
  EXPECT_NEAR(highPasses / (lowPasses + highPasses), 22.0 / 262.0, 0.002);
}

TEST_F(FrameTest, TwoRunsOfAProgramGiveTheSameHashes) {
  std::vector<u64> hashes[2];
  for (std::vector<u64>& run : hashes) {
    Boot(LineTimer());
    for (u32 frame = 0; frame < 20; ++frame) {
      machine->RunFrame();
      run.push_back(machine->HashState());
    }
  }
  EXPECT_EQ(hashes[0], hashes[1]);
  EXPECT_NE(hashes[0].front(), hashes[0].back());
}

TEST_F(FrameTest, APollingLoopAndASleepingGuestEndTheFrameAlike) {
  Boot(CGuestCode().Rest());
  RunFrames(100);
  EXPECT_EQ(machine->GetFrameCount(), 100u);
  EXPECT_EQ(calls.filterCalls, 100u);
}

// --- Random start --------------------------------------------------------------------------------

// Reads the boot ROM over and over and counts the reads in cell 0.
CGuestCode RomReader() {
  CGuestCode code;
  code.Set(kT2, 0).Point(kGuestResults).Set(kT3, 0xBFC00000);
  const u32 loop = code.Here();
  code.Op(Lw(kT4, 0, kT3)).Op(Addiu(kT2, kT2, 1)).Op(Sd(kT2, 0, CGuestCode::kAddress));
  return code.BranchBack(loop);
}

TEST_F(FrameTest, RandomStartMakesRomReadsDependOnTheHostsClock) {
  SetSetting("VX_RandCycles", 1);
  std::vector<u64> hashes;
  for (const f64 clockMs : {123456.789, 123456.789, 654321.123}) {
    host.clockMs = clockMs;
    Boot(RomReader());
    machine->Reset();
    machine->ApplySettings();
    RunFrames(3);
    hashes.push_back(machine->HashState());
  }
  EXPECT_EQ(hashes[0], hashes[1]) << "the same clock gives the same run";
  EXPECT_NE(hashes[0], hashes[2]);
}

TEST_F(FrameTest, RandomStartWaitsForTheNextReset) {
  Boot(RomReader());
  RunFrames(1);
  const u64 plain = machine->HashState();
  Boot(RomReader());
  SetSetting("VX_RandCycles", 1);
  machine->ApplySettings();
  RunFrames(1);
  EXPECT_EQ(machine->HashState(), plain);
}

TEST_F(FrameTest, AnyHostClockSeedsARandomStart) {
  SetSetting("VX_RandCycles", 1);
  for (const f64 clockMs : {-5.5, 1e300, -1e300, std::numeric_limits<f64>::infinity(),
                            std::numeric_limits<f64>::quiet_NaN()}) {
    host.clockMs = clockMs;
    Boot(RomReader());
    machine->Reset();
    RunFrames(1);
    EXPECT_GT(Result(0), 0u);
  }
}

}  // namespace
}  // namespace vx::test
