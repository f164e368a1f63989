// Conversion of the frame store and the frame clock's two events.
#include <cstring>

#include "tests/machine/BoardTest.h"

namespace vx::test {
namespace {

struct VideoTest : CBoardTest {
  VideoTest() {
    m->frameTarget = host.picture.data();
    m->onVideoFilter = [](CQuillonMachineBase*) { return 1; };
  }
  void SetPixel(u32 pageStart, u32 index, u16 value) {
    std::memcpy(m->flatMem + pageStart + 2 * index, &value, sizeof(value));
  }
};

TEST_F(VideoTest, AllSourceValuesConvertByTheFormula) {
  u32 value = 0;
  while (value < 0x10000) {
    const u32 first = value;
    for (u32 i = 0; i < kPicturePixels && value < 0x10000; ++i, ++value) {
      SetPixel(0x30000, i, static_cast<u16>(value));
    }
    m->CaptureFrame();
    for (u32 i = 0; i < value - first; ++i) {
      const u32 source = first + i;
      const u32 red = source >> 10 & 31, green = source >> 5 & 31, blue = source & 31;
      const auto widen = [](u32 c) { return c << 3 | c >> 2; };
      ASSERT_EQ(host.picture[i], widen(red) << 16 | widen(green) << 8 | widen(blue))
          << std::hex << source;
    }
  }
}

TEST_F(VideoTest, EveryPlaceOfThePictureComesFromItsPlaceInThePage) {
  for (u32 i = 0; i < kPicturePixels; ++i) {
    SetPixel(0x30000, i, static_cast<u16>(i * 2654435761u >> 16 & 0x7FFF));
  }
  m->CaptureFrame();
  for (u32 i = 0; i < kPicturePixels; ++i) {
    const u32 source = i * 2654435761u >> 16 & 0x7FFF;
    ASSERT_EQ(host.picture[i] >> 3 & 31, source & 31) << i;
    ASSERT_EQ(host.picture[i] >> 19 & 31, source >> 10) << i;
  }
}

TEST_F(VideoTest, TheSecondPageStandsBehind256Lines) {
  SetPixel(0x58000, 5, 0x7FFF);
  m->state.boardControl = 4;
  m->CaptureFrame();
  EXPECT_EQ(host.picture[5], 0xFFFFFFu);
  m->state.boardControl = ~4u;
  m->CaptureFrame();
  EXPECT_EQ(host.picture[5], 0u);
}

TEST_F(VideoTest, TheSuppressingFlagHoldsTheConversionBack) {
  host.picture.assign(kPicturePixels, 0x12345678);
  m->state.frameFlags = kFrameNoCapture;
  m->CaptureFrame();
  EXPECT_EQ(host.picture[0], 0x12345678u);
  m->state.frameFlags = ~u32{kFrameNoCapture};
  m->CaptureFrame();
  EXPECT_EQ(host.picture[0], 0u);
}

TEST_F(VideoTest, WithoutATargetTheConversionIsSkipped) {
  m->frameTarget = nullptr;
  m->CaptureFrame();
  EXPECT_EQ(host.picture[0], 0u);
}

struct FrameClockTest : VideoTest {
  // Advances to the event of this id and lets it fire.
  void AdvanceTo(u32 id) {
    while (m->queue.Entries().back().id != id) m->queue.Advance();
    m->queue.Advance();
  }
  f64 TimeOf(u32 id) const {
    for (const SEvent& event : m->queue.Entries()) {
      if (event.id == id) return event.time;
    }
    return -1.0;
  }
  u64 BlankLine() const { return m->cpu.cop0[kCop0Cause] & kCauseVerticalBlank; }
};

TEST_F(FrameClockTest, TheBlankRaisesItsLineAndComesAgainOnePeriodLater) {
  Boot();
  AdvanceTo(m->videoEventStartId);
  EXPECT_EQ(BlankLine(), 0x400u);
  EXPECT_EQ(TimeOf(m->videoEventStartId), 15267.175572519085 + 16666.666666666668);
  EXPECT_EQ(m->vBlankCount, 0u);
}

TEST_F(FrameClockTest, TheFramesEndCountsAndLowersTheLine) {
  Boot();
  AdvanceTo(m->videoEventEndId);
  EXPECT_EQ(BlankLine(), 0u);
  EXPECT_EQ(m->vBlankCount, 1u);
  EXPECT_EQ(TimeOf(m->videoEventEndId), 2 * 16666.666666666668);
}

TEST_F(FrameClockTest, TheFilterIsAskedOnlyIfThereIsATarget) {
  static u32 asked;
  asked = 0;
  Boot();
  m->onVideoFilter = [](CQuillonMachineBase*) {
    ++asked;
    return 0;
  };
  m->frameTarget = nullptr;
  AdvanceTo(m->videoEventStartId);
  EXPECT_EQ(asked, 0u);
  m->frameTarget = host.picture.data();
  AdvanceTo(m->videoEventStartId);
  EXPECT_EQ(asked, 1u);
}

TEST_F(FrameClockTest, APeriodThatLetsNoTimePassEndsTheClock) {
  Boot();
  m->state.framePeriodUs = 0.0;
  AdvanceTo(m->videoEventStartId);
  EXPECT_EQ(TimeOf(m->videoEventStartId), -1.0);
  EXPECT_EQ(BlankLine(), 0x400u);
}

}  // namespace
}  // namespace vx::test
