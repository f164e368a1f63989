// What the ROMs tell about commands, as hosts ask for it.
#include <gtest/gtest.h>

#include "guest/sound_commands.h"
#include "sound/SoundRom.h"
#include "tests/soundprogram/SoundCabinet.h"

namespace vx::test {
namespace {

struct SoundRom : testing::Test {
  i32 Channel(u32 command) const { return ChannelOfCommand(rom.data(), static_cast<u16>(command)); }
  bool IsSimple(u32 command) const {
    return CommandIsSimple(rom.data(), static_cast<u16>(command));
  }

  const std::vector<u8> rom = ReadSoundRoms();
};

TEST_F(SoundRom, EffectsAreSimpleAndHaveAChannelOfTheirOwn) {
  for (u32 command = kSoundCoin; command <= kSoundEngine; ++command) {
    EXPECT_TRUE(IsSimple(command)) << command;
    EXPECT_GE(Channel(command), 1) << command;
    EXPECT_LE(Channel(command), 7) << command;
  }
  EXPECT_EQ(Channel(kSoundEngine), kSoundEngineOff & 0xFF);
}

TEST_F(SoundRom, TunesAreNotSimpleAndPlayOnChannelNought) {
  for (const u32 command : {0x40, 0x41, 0x42, 0x43, 0x44, 0x48, 0x49, 0x4A, 0x4B}) {
    EXPECT_FALSE(IsSimple(command)) << command;
    EXPECT_EQ(Channel(command), 0) << command;
  }
}

TEST_F(SoundRom, OtherCommandsHaveNoRecord) {
  for (const u32 command :
       {0x0000u, 0x00FFu, 0x0155u, 0x0200u, 0x02FFu, 0x0300u, 0x5500u, 0x5503u, 0xFFFFu}) {
    EXPECT_EQ(Channel(command), -1) << command;
    EXPECT_FALSE(IsSimple(command)) << command;
  }
}

TEST_F(SoundRom, TestRecordsTakeEveryWayThroughTheWalk) {
  enum { kNoChannel = 0x1C0, kTune, kEmpty, kEnded, kFirstKind = 0x1C4, kAtEnd = 0x1D3 };
  EXPECT_FALSE(IsSimple(kNoChannel));
  EXPECT_FALSE(IsSimple(kTune));
  EXPECT_TRUE(IsSimple(kEmpty));
  EXPECT_TRUE(IsSimple(kEnded));
  for (u32 kind = 1; kind < 16; ++kind) {
    EXPECT_EQ(IsSimple(kFirstKind + kind - 1), kind >= 6 && kind <= 13) << kind;
    EXPECT_EQ(Channel(kFirstKind + kind - 1), 7) << kind;
  }
  EXPECT_EQ(Channel(kAtEnd), 7);
  EXPECT_FALSE(IsSimple(kAtEnd + 1));
  EXPECT_EQ(Channel(kAtEnd + 2), -1);
  EXPECT_TRUE(IsSimple(kAtEnd + 3));
  EXPECT_EQ(Channel(kAtEnd + 3), 6);
}

}  // namespace
}  // namespace vx::test
