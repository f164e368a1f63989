#include "host/FramePacer.h"

#include <gtest/gtest.h>

#include "host/PictureFit.h"

namespace vx {

namespace {
constexpr u64 kStartNs = 1'000'000'000;
}

TEST(FramePacer, AFastHostWaitsForTheRestOfTheFrame) {
  CFramePacer pacer(50.0, kStartNs);
  EXPECT_EQ(pacer.FinishFrame(kStartNs + 5'000'000), 15'000'000u);
}

TEST(FramePacer, AnHourOfFramesEndsAfterAnHour) {
  CFramePacer pacer(60.0, kStartNs);
  u64 nowNs = kStartNs;
  for (u32 i = 0; i < 60 * 3600; ++i) nowNs += pacer.FinishFrame(nowNs);
  EXPECT_EQ(nowNs, kStartNs + u64{3600} * 1'000'000'000);
}

TEST(FramePacer, ALateFrameIsCaughtUpWithoutWaiting) {
  CFramePacer pacer(50.0, kStartNs);
  EXPECT_EQ(pacer.FinishFrame(kStartNs + 50'000'000), 0u);  // due at 20 ms
  EXPECT_EQ(pacer.FinishFrame(kStartNs + 51'000'000), 0u);  // due at 40 ms
  EXPECT_EQ(pacer.FinishFrame(kStartNs + 52'000'000), 8'000'000u);
}

TEST(FramePacer, ALongPauseIsNotCaughtUp) {
  CFramePacer pacer(50.0, kStartNs);
  const u64 nowNs = kStartNs + 60'000'000'000;
  EXPECT_EQ(pacer.FinishFrame(nowNs), 0u);
  EXPECT_EQ(pacer.FinishFrame(nowNs), 20'000'000u);
}

TEST(FramePacer, ANewRateCountsFromTheLastDueTime) {
  CFramePacer pacer(50.0, kStartNs);
  pacer.FinishFrame(kStartNs);
  pacer.SetRate(25.0);
  EXPECT_EQ(pacer.FinishFrame(kStartNs + 20'000'000), 40'000'000u);
}

TEST(FramePacer, ARateThatIsNoRateCountsAsSixty) {
  CFramePacer pacer(0.0, kStartNs);
  EXPECT_EQ(pacer.FinishFrame(kStartNs), 16'666'667u);
}

TEST(PictureFit, TheLargestWholeMultipleIsCentred) {
  const SPictureRect rect = FitPicture(1000, 800, 320, 240);
  EXPECT_EQ(rect.width, 960);
  EXPECT_EQ(rect.height, 720);
  EXPECT_EQ(rect.x, 20);
  EXPECT_EQ(rect.y, 40);
}

TEST(PictureFit, AWideWindowKeepsTheShapeOfThePicture) {
  const SPictureRect rect = FitPicture(3000, 500, 320, 240);
  EXPECT_EQ(rect.width, 640);
  EXPECT_EQ(rect.height, 480);
}

TEST(PictureFit, AWindowSmallerThanThePictureShowsItShrunk) {
  const SPictureRect rect = FitPicture(160, 200, 320, 240);
  EXPECT_EQ(rect.width, 160);
  EXPECT_EQ(rect.height, 120);
  EXPECT_EQ(rect.y, 40);
}

TEST(PictureFit, AWindowWithoutAreaShowsNothing) {
  EXPECT_EQ(FitPicture(0, 100, 320, 240).width, 0);
}

}  // namespace vx
