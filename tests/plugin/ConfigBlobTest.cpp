// The blob by which two hosts that run in step force their timing settings on each other.
#include <cstring>

#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

constexpr u64 kAllOnes = ~u64{0};

struct ConfigBlobTest : CBoundaryTest {
  SConfigBlob Saved() const {
    SConfigBlob blob;
    std::memset(&blob, 0xA5, sizeof(blob));
    table.SaveConfigBlob(&blob);
    return blob;
  }
  static SConfigBlob Foreign() { return {3, 0x77, 30.0, 0x1234, 200, 10000}; }
};

TEST_F(ConfigBlobTest, HoldsTheDefaultsInAFreshProcess) {
  const SConfigBlob blob = Saved();
  EXPECT_EQ(blob.version, 3u);
  EXPECT_EQ(blob.spare, 0u);
  EXPECT_EQ(blob.frameRate, 60.0);
  EXPECT_EQ(blob.dipWord, kAllOnes);
  EXPECT_EQ(blob.clockMHz, 100u);
  EXPECT_EQ(blob.extraReadTimeUs, 0u);
}

TEST_F(ConfigBlobTest, SavingFollowsTheValueTables) {
  constexpr f64 kRates[] = {60.0, 58.9622645, 30.0, 15.0};
  constexpr u32 kClocks[] = {50, 100, 200, 300};
  constexpr u32 kReadTimes[] = {0, 5000, 10000, 20000};
  for (u32 value = 0; value < 4; ++value) {
    SetSetting("VX_MachTiming", value);
    SetSetting("VX_MIPSClock", value);
    SetSetting("VX_ExtraReadTime", value);
    const SConfigBlob blob = Saved();
    EXPECT_EQ(blob.frameRate, kRates[value]);
    EXPECT_EQ(blob.clockMHz, kClocks[value]);
    EXPECT_EQ(blob.extraReadTimeUs, kReadTimes[value]);
  }
}

struct SDipCase {
  const char* key;
  u32 value;
  u64 cleared;  // bits of the word that the value clears
};

TEST_F(ConfigBlobTest, EachDipSettingOwnsItsField) {
  // clang-format off
  constexpr SDipCase kCases[] = {
    { "VX_DIPBlood",     0, 0x0003 }, { "VX_DIPBlood",     1, 0x0002 }, { "VX_DIPBlood",   2, 0x0001 },
    { "VX_DIPAttrAudio", 0, 0x0004 }, { "VX_DIPEndMoves",  0, 0x0008 }, { "VX_DIPVioWarn", 0, 0x0010 },
    { "VX_DIPRedBlood",  0, 0x0020 }, { "VX_DIPCoinage",   1, 0x0100 },
    { "VX_DIPCoinSet",   1, 0x0200 }, { "VX_DIPCoinSet",   5, 0x0A00 }, { "VX_DIPCoinSet", 7, 0x0E00 },
    { "VX_DIPCountry",   1, 0x1000 }, { "VX_DIPCountry",   3, 0x3000 },
    { "VX_DIPCoinCount", 1, 0x4000 }, { "VX_DIPTest",      1, 0x8000 },
  };
  // clang-format on
  for (const SDipCase& row : kCases) {
    table.ResetSettings();
    SetSetting(row.key, row.value);
    EXPECT_EQ(Saved().dipWord, kAllOnes & ~row.cleared) << row.key << " = " << row.value;
  }
}

TEST_F(ConfigBlobTest, AllDipSettingsAtTheOtherEndLeaveOnlyTheBitsWithoutSwitch) {
  for (const char* key :
       {"VX_DIPBlood", "VX_DIPAttrAudio", "VX_DIPEndMoves", "VX_DIPVioWarn", "VX_DIPRedBlood"}) {
    SetSetting(key, 0);
  }
  SetSetting("VX_DIPCoinage", 1);
  SetSetting("VX_DIPCoinSet", 7);
  SetSetting("VX_DIPCountry", 3);
  SetSetting("VX_DIPCoinCount", 1);
  SetSetting("VX_DIPTest", 1);
  EXPECT_EQ(Saved().dipWord, kAllOnes & ~u64{0xFF3F});
}

TEST_F(ConfigBlobTest, LoadingTakesOnlyItsOwnSizeAndVersion) {
  SConfigBlob blob = Foreign();
  EXPECT_FALSE(table.LoadConfigBlob(&blob, 31));
  EXPECT_FALSE(table.LoadConfigBlob(&blob, 33));
  EXPECT_FALSE(table.LoadConfigBlob(&blob, 0));
  EXPECT_FALSE(table.LoadConfigBlob(&blob, -32));
  blob.version = 2;
  EXPECT_FALSE(table.LoadConfigBlob(&blob, 32));
  blob.version = 3;
  EXPECT_TRUE(table.LoadConfigBlob(&blob, 32));
}

TEST_F(ConfigBlobTest, ARefusedBlobIsNotInForce) {
  SConfigBlob blob = Foreign();
  host.bConfigLocked = true;
  table.LoadConfigBlob(&blob, 31);
  blob.version = 2;
  table.LoadConfigBlob(&blob, 32);
  EXPECT_EQ(table.GetFrameRate(), 60.0);
}

TEST_F(ConfigBlobTest, ARefusedBlobLeavesTheHeldOneAlone) {
  SConfigBlob blob = Foreign();
  host.bConfigLocked = true;
  ASSERT_TRUE(table.LoadConfigBlob(&blob, 32));
  blob.frameRate = 15.0;
  EXPECT_FALSE(table.LoadConfigBlob(&blob, 31));
  EXPECT_EQ(table.GetFrameRate(), 30.0);
}

TEST_F(ConfigBlobTest, IsInForceOnlyWhileTheHostLocksTheSettings) {
  const SConfigBlob blob = Foreign();
  ASSERT_TRUE(table.LoadConfigBlob(&blob, 32));
  EXPECT_EQ(table.GetFrameRate(), 60.0);
  host.bConfigLocked = true;
  EXPECT_EQ(table.GetFrameRate(), 30.0);
  host.bConfigLocked = false;
  EXPECT_EQ(table.GetFrameRate(), 60.0);
}

TEST_F(ConfigBlobTest, ALockWithoutABlobLeavesTheSettingsInForce) {
  host.bConfigLocked = true;
  SetSetting("VX_MachTiming", 3);
  EXPECT_EQ(table.GetFrameRate(), 15.0);
}

TEST_F(ConfigBlobTest, SavingIgnoresTheLock) {
  const SConfigBlob foreign = Foreign();
  ASSERT_TRUE(table.LoadConfigBlob(&foreign, 32));
  host.bConfigLocked = true;
  const SConfigBlob blob = Saved();
  EXPECT_EQ(blob.frameRate, 60.0);
  EXPECT_EQ(blob.dipWord, kAllOnes);
  EXPECT_EQ(blob.clockMHz, 100u);
  EXPECT_EQ(blob.extraReadTimeUs, 0u);
}

TEST_F(ConfigBlobTest, SavingMakesTheHeldBlobValid) {
  Saved();
  host.bConfigLocked = true;
  SetSetting("VX_MachTiming", 3);
  EXPECT_EQ(table.GetFrameRate(), 60.0);
}

TEST_F(ConfigBlobTest, TheSpareWordIsKeptAsReceived) {
  const SConfigBlob foreign = Foreign();
  ASSERT_TRUE(table.LoadConfigBlob(&foreign, 32));
  EXPECT_EQ(Saved().spare, 0x77u);
}

TEST_F(ConfigBlobTest, StaysValidThroughAShutdown) {
  const SConfigBlob foreign = Foreign();
  ASSERT_TRUE(table.LoadConfigBlob(&foreign, 32));
  table.Shutdown();
  table.Startup();
  host.bConfigLocked = true;
  EXPECT_EQ(table.GetFrameRate(), 30.0);
}

TEST_F(ConfigBlobTest, ABadRateAndClockFromTheOtherSideDoNotStopAFrame) {
  Boot(CGuestCode().Rest());
  host.bConfigLocked = true;
  for (const f64 rate : {0.0, -60.0, 1e-300, 1e300, std::numeric_limits<f64>::quiet_NaN(),
                         std::numeric_limits<f64>::infinity()}) {
    for (const u32 clock : {0u, 10001u, 0xFFFFFFFFu}) {
      const SConfigBlob blob = {3, 0, rate, kAllOnes, clock, 0xFFFFFFFF};
      ASSERT_TRUE(table.LoadConfigBlob(&blob, 32));
      machine->ApplySettings();
      const u64 before = machine->GetFrameCount();
      RunFrames(2);
      EXPECT_EQ(machine->GetFrameCount(), before + 2);
    }
  }
}

}  // namespace
}  // namespace vx::test
