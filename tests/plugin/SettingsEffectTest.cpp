// What settings do to a running machine, as its guest sees it.
#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

using namespace mips;

constexpr u32 kDipPort = 0x100000A0;

// Reads the switches over and over.
CGuestCode DipReader() {
  CGuestCode code;
  const u32 loop = code.Here();
  return code.Keep64(kDipPort, 0).BranchBack(loop);
}

// Counts for ever and keeps the count, four cycles a pass: the guest's measure of how fast it runs.
CGuestCode Counter() {
  CGuestCode code;
  code.Set(kT2, 0).Point(kGuestResults);
  const u32 loop = code.Here();
  return code.Op(Addiu(kT2, kT2, 1)).Op(Sd(kT2, 0, CGuestCode::kAddress)).BranchBack(loop);
}

using SettingsEffectTest = CBoundaryTest;

TEST_F(SettingsEffectTest, TheGuestReadsNoSwitchSetByDefault) {
  Boot(DipReader());
  RunFrames(2);
  EXPECT_EQ(Result(0), ~u64{0});
}

TEST_F(SettingsEffectTest, ASwitchReachesTheGuestOnlyThroughApplySettings) {
  Boot(DipReader());
  RunFrames(1);
  SetSetting("VX_DIPTest", 1);
  RunFrames(2);
  EXPECT_EQ(Result(0), ~u64{0});
  machine->ApplySettings();
  RunFrames(1);
  EXPECT_EQ(Result(0), ~u64{0x8000});
}

TEST_F(SettingsEffectTest, ResettingTheSettingsWaitsForApplySettingsToo) {
  Boot(DipReader());
  SetSetting("VX_DIPTest", 1);
  machine->ApplySettings();
  RunFrames(1);
  table.ResetSettings();
  RunFrames(1);
  EXPECT_EQ(Result(0), ~u64{0x8000});
  machine->ApplySettings();
  RunFrames(1);
  EXPECT_EQ(Result(0), ~u64{0});
}

TEST_F(SettingsEffectTest, AResetPutsTheSwitchesBackUntilSettingsAreApplied) {
  SetSetting("VX_DIPTest", 1);
  Boot(DipReader());
  machine->Reset();
  RunFrames(1);
  EXPECT_EQ(Result(0), ~u64{0});
  machine->ApplySettings();
  RunFrames(1);
  EXPECT_EQ(Result(0), ~u64{0x8000});
}

TEST_F(SettingsEffectTest, AForeignBlobGivesTheSwitchesWhileTheHostLocks) {
  Boot(DipReader());
  const SConfigBlob blob = {3, 0, 60.0, 0x123456789ABCDEF0, 100, 0};
  ASSERT_TRUE(table.LoadConfigBlob(&blob, 32));
  host.bConfigLocked = true;
  machine->ApplySettings();
  RunFrames(1);
  EXPECT_EQ(Result(0), 0x123456789ABCDEF0u);
}

struct SettingsSpeedTest : CBoundaryTest {
  // Loop passes of the guest in the next frame.
  f64 PassesInAFrame() {
    const u64 before = Result(0);
    RunFrames(1);
    return static_cast<f64>(Result(0) - before);
  }
  void Apply(const char* key, u32 value) {
    SetSetting(key, value);
    machine->ApplySettings();
  }
};

TEST_F(SettingsSpeedTest, TheClockSettingScalesTheGuestsWork) {
  Boot(Counter());
  RunFrames(1);
  const f64 normal = PassesInAFrame();
  EXPECT_NEAR(normal, 1666666.0 / 4, 50.0);
  constexpr f64 kFactors[] = {0.5, 1.0, 2.0, 3.0};
  for (u32 value = 0; value < 4; ++value) {
    Apply("VX_MIPSClock", value);
    EXPECT_NEAR(PassesInAFrame(), normal * kFactors[value], 50.0) << "setting " << value;
  }
}

TEST_F(SettingsSpeedTest, AResetRunsAt100CyclesUntilSettingsAreApplied) {
  SetSetting("VX_MIPSClock", 3);
  Boot(Counter());
  machine->Reset();
  RunFrames(1);
  EXPECT_NEAR(PassesInAFrame(), 1666666.0 / 4, 50.0);
}

TEST_F(SettingsSpeedTest, TheTimingSettingStretchesTheNextFrame) {
  Boot(Counter());
  RunFrames(1);
  constexpr f64 kRates[] = {60.0, 58.9622645, 30.0, 15.0};
  for (const u32 value : {2u, 3u, 1u, 0u}) {
    Apply("VX_MachTiming", value);
    EXPECT_NEAR(PassesInAFrame(), 100.0e6 / kRates[value] / 4, 50.0) << "setting " << value;
  }
}

TEST_F(SettingsSpeedTest, AResetKeepsTheRequestedFrameRate) {
  Boot(Counter());
  Apply("VX_MachTiming", 2);
  machine->Reset();
  RunFrames(1);
  EXPECT_NEAR(PassesInAFrame(), 100.0e6 / 30.0 / 4, 50.0);
}

}  // namespace
}  // namespace vx::test
