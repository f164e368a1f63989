// The frame of the stepped mode: it ends when the guest has finished a picture, and gives up after
// four frame ends.
#include <cstring>
#include <functional>

#include "tests/machine/BoardTest.h"

namespace vx::test {
namespace {

struct BoundedFrameTest : CBoardTest {
  // Runs a step at a time of the next frame.
  struct SStep {
    std::function<void(CVXMachine&)> run;
    CVXMachine* machine = nullptr;
  };
  std::vector<std::unique_ptr<SStep>> steps;

  void At(f64 timeUs, std::function<void(CVXMachine&)> run) {
    steps.push_back(std::make_unique<SStep>(SStep{std::move(run), m.get()}));
    const u32 id = m->queue.Register(
        [](void* context, u64, f64) {
          auto* const step = static_cast<SStep*>(context);
          step->run(*step->machine);
        },
        steps.back().get());
    m->queue.Schedule(timeUs, id, 0);
  }
  static void Flip(CVXMachine& machine) { machine.state.frameFlags ^= kRunFlagPageFlipped; }
  static void MarkFlip(CVXMachine& machine) {
    Flip(machine);
    machine.state.frameFlags |= kFrameFlipWhileArmed;
  }
  void SetUp() override {
    Boot();
    m->state.frameFlags = kFrameLookAhead;
    host.picture.assign(kPicturePixels, 0x12345678);
  }
  bool IsConverted() const { return host.picture[0] == 0; }
};

TEST_F(BoundedFrameTest, WithoutFlipsItGivesUpAfterFourFrameEnds) {
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 4u);
  EXPECT_EQ(m->state.frameFlags, u32{kFrameLookAhead | kFrameTimedOut});
  EXPECT_TRUE(IsConverted()) << "the page as it stands";
  EXPECT_EQ(m->state.frameNumber, 1u);
}

TEST_F(BoundedFrameTest, TheBlanksInsideDoNotConvert) {
  m->onVideoFilter = [](CQuillonMachineBase*) { return 1; };
  At(15300.0, [this](CVXMachine&) { EXPECT_FALSE(IsConverted()); });
  m->FrameStep();
  EXPECT_TRUE(IsConverted());
}

TEST_F(BoundedFrameTest, TwoFlipsOfAnArmedFrameFinishIt) {
  At(100.0, MarkFlip);
  At(200.0, Flip);
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 0u);
  EXPECT_EQ(m->state.frameFlags, u32{kFrameLookAhead | kFrameFlipWhileArmed})
      << "not timed out; the flip mark stays";
  EXPECT_TRUE(IsConverted());
}

TEST_F(BoundedFrameTest, OneFlipIsNotEnough) {
  At(100.0, MarkFlip);
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 4u);
  EXPECT_NE(m->state.frameFlags & kFrameTimedOut, 0u);
}

TEST_F(BoundedFrameTest, FlipsWithoutTheArmedMarkDoNotFinishIt) {
  At(100.0, Flip);
  At(200.0, Flip);
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 4u);
}

TEST_F(BoundedFrameTest, TwoFlipsBetweenTwoStepsOfTheTimelineCountAsNone) {
  At(100.0, [](CVXMachine& machine) {
    MarkFlip(machine);
    Flip(machine);
  });
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 4u);
}

TEST_F(BoundedFrameTest, RequestsOfTheLastFrameAreForgottenAtItsStart) {
  m->state.frameFlags = kFrameLookAhead | kFrameArmed | kFrameRequest2 | kFrameRequest4 |
                        kFrameStopLookAhead | kRunFlagPageFlipped;
  At(50.0, [](CVXMachine& machine) {
    EXPECT_EQ(machine.state.frameFlags, u32{kFrameLookAhead | kFrameNoCapture});
  });
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 4u);
}

TEST_F(BoundedFrameTest, RequestsMadeInsideAreClearedWhenItFinishes) {
  At(100.0, [](CVXMachine& machine) {
    MarkFlip(machine);
    machine.state.frameFlags |= kFrameArmed | kFrameRequest2 | kFrameRequest4;
  });
  At(200.0, Flip);
  m->FrameStep();
  EXPECT_EQ(m->state.frameFlags, u32{kFrameLookAhead | kFrameFlipWhileArmed});
}

TEST_F(BoundedFrameTest, ARequestToStopEndsItAtTheNextFrameEnd) {
  At(100.0, [](CVXMachine& machine) { machine.state.frameFlags |= kFrameStopLookAhead; });
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 1u);
  EXPECT_NE(m->state.frameFlags & kFrameTimedOut, 0u);
  EXPECT_EQ(m->state.frameFlags & kFrameNoCapture, 0u);
  EXPECT_TRUE(IsConverted());
}

TEST_F(BoundedFrameTest, FourFramesBehindTheMarkItEndsAtTheFirstFrameEnd) {
  m->scriptState.markFrame = 10;
  m->state.frameNumber = 13;
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 4u) << "three frames are within the limit";
  m->scriptState.markFrame = 10;
  m->state.frameNumber = 14;
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 1u);
}

TEST_F(BoundedFrameTest, AMarkAheadOfTheFrameCounterIsNoDelay) {
  m->scriptState.markFrame = 1000;
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 4u);
}

TEST_F(BoundedFrameTest, WithoutPixelsItEndsAllTheSame) {
  host.bGivesPictures = false;
  At(100.0, MarkFlip);
  At(200.0, Flip);
  m->FrameStep();
  m->FrameStep();
  EXPECT_EQ(m->state.frameNumber, 2u);
}

TEST_F(BoundedFrameTest, AnEmptyTimelineDoesNotHangIt) {
  m->queue.Cancel(0);
  m->FrameStep();
  EXPECT_EQ(m->state.frameNumber, 1u);
}

TEST_F(BoundedFrameTest, WithoutAPackTheFrameIsBlackAndNoEventFires) {
  m->LoadPack(nullptr);
  m->FrameStep();
  EXPECT_EQ(m->vBlankCount, 0u);
  EXPECT_TRUE(IsConverted());
  EXPECT_EQ(m->state.frameFlags, u32{kFrameLookAhead});
}

}  // namespace
}  // namespace vx::test
