#include "host/PlayControl.h"

#include <gtest/gtest.h>

namespace vx {

namespace {
constexpr SDiskProgress kDiskDone{4, 4};
}

TEST(PlayControl, AMachineRunsUntilItIsPausedAndAfterItIsPausedAgain) {
  CPlayControl play;
  EXPECT_TRUE(play.TakeFrame());
  play.Take(kHostPause, kHostPause);
  EXPECT_FALSE(play.TakeFrame());
  play.Take(0, kHostPause);
  EXPECT_FALSE(play.TakeFrame());
  play.Take(kHostPause, kHostPause);
  EXPECT_TRUE(play.TakeFrame());
}

TEST(PlayControl, AStepOfARunningMachinePausesIt) {
  CPlayControl play;
  play.Take(kHostStep, kHostStep);
  EXPECT_TRUE(play.IsPaused());
  EXPECT_FALSE(play.TakeFrame());
}

TEST(PlayControl, AStepOfAPausedMachineRunsOneFrame) {
  CPlayControl play;
  play.Take(kHostPause, 0);
  play.Take(kHostStep, kHostStep);
  EXPECT_TRUE(play.TakeFrame());
  EXPECT_FALSE(play.TakeFrame());
  EXPECT_TRUE(play.IsPaused());
}

TEST(PlayControl, FastForwardLastsAsLongAsItsKeyIsHeld) {
  CPlayControl play;
  play.Take(kHostFastForward, kHostFastForward);
  EXPECT_TRUE(play.IsFast());
  play.Take(0, kHostFastForward);
  EXPECT_TRUE(play.IsFast());
  play.Take(0, 0);
  EXPECT_FALSE(play.IsFast());
}

TEST(PlayControl, APausedMachineDoesNotRunFast) {
  CPlayControl play;
  play.Take(kHostPause | kHostFastForward, kHostFastForward);
  EXPECT_FALSE(play.IsFast());
}

TEST(PlayControl, AResetAndAScreenshotHappenOncePerPress) {
  CPlayControl play;
  play.Take(kHostReset | kHostScreenshot, kHostReset | kHostScreenshot);
  play.Take(0, kHostReset | kHostScreenshot);
  EXPECT_TRUE(play.TakeReset());
  EXPECT_FALSE(play.TakeReset());
  EXPECT_TRUE(play.TakeScreenshot());
  EXPECT_FALSE(play.TakeScreenshot());
}

TEST(PlayControl, QuittingIsForGood) {
  CPlayControl play;
  play.Take(kHostQuit, kHostQuit);
  play.Take(0, 0);
  EXPECT_TRUE(play.IsLeft());
}

TEST(PlayControl, TheTitleTellsWhatIsOutOfTheOrdinary) {
  CPlayControl play;
  EXPECT_EQ(WindowTitle("pack", play, kDiskDone), "pack - vxrun");
  EXPECT_EQ(WindowTitle("pack", play, {1, 3}), "pack - vxrun [disk 33%]");
  play.Take(kHostMute, 0);
  play.Take(kHostFastForward, kHostFastForward);
  EXPECT_EQ(WindowTitle("pack", play, kDiskDone), "pack - vxrun [fast forward, muted]");
  play.Take(kHostPause, 0);
  EXPECT_EQ(WindowTitle("pack", play, {0, 3}), "pack - vxrun [paused, muted, disk 0%]");
}

TEST(PlayControl, TheProgressLineTellsFramesAndTheDiskWhileItIsUnpacked) {
  EXPECT_EQ(ProgressLine(7, 0, kDiskDone), "frame 7");
  EXPECT_EQ(ProgressLine(50, 200, kDiskDone), "frame 50 of 200 (25%)");
  EXPECT_EQ(ProgressLine(7, 0, {1, 4}), "frame 7; disk 25% (chunk 1 of 4)");
}

TEST(PlayControl, ADiskWithoutPackedChunksIsComplete) {
  EXPECT_TRUE(SDiskProgress().IsComplete());
  EXPECT_EQ(SDiskProgress().Percent(), 100u);
}

}  // namespace vx
