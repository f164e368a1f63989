// What the sound ROM's records tell about a command.
#include "sound/SoundRom.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "sound/SoundBoard.h"

namespace vx::test {
namespace {

class SoundRom : public testing::Test {
 protected:
  SoundRom() : rom_(kRomImageBytes, 0xFF) { Put(0x4040, {0x01, 0x00, 0x00}); }

  void Put(u32 offset, std::initializer_list<u32> bytes) {
    for (const u32 byte : bytes) rom_[offset++] = static_cast<u8>(byte);
  }
  // A command's entry in the table at 0x10000.
  void Point(u32 command, u32 address) {
    Put(0x10000 + 3 * command, {address >> 16, address >> 8 & 0xFF, address & 0xFF});
  }
  // Lays a record at its command's place.
  void Record(u32 command, std::initializer_list<u32> bytes) {
    Point(command, 0x40000);
    Put(0x40000, bytes);
  }

  std::vector<u8> rom_;
};

TEST_F(SoundRom, ACommandsChannelIsItsRecordsSecondByte) {
  Record(0x0012, {1, 5});
  EXPECT_EQ(ChannelOfCommand(rom_.data(), 0x0012), 5);
}

TEST_F(SoundRom, AGlobalCommandAndOneWithoutARecordHaveNoChannel) {
  Point(0x5500, 0x40000);
  EXPECT_EQ(ChannelOfCommand(rom_.data(), 0x5500), -1);
  EXPECT_EQ(ChannelOfCommand(rom_.data(), 0x0013), -1);
  Point(0x0014, 0x800000);
  EXPECT_EQ(ChannelOfCommand(rom_.data(), 0x0014), -1);
  EXPECT_FALSE(CommandIsSimple(rom_.data(), 0x5500));
  EXPECT_FALSE(CommandIsSimple(rom_.data(), 0x0014));
}

TEST_F(SoundRom, LogicalAddressesDropBit19) {
  Point(1, 0x280123);  // ROM 2, place 0x123
  rom_[2 * 0x80000 + 0x124] = 9;
  EXPECT_EQ(ChannelOfCommand(rom_.data(), 1), 9);
  Point(2, 0x080123);
  rom_[0x124] = 8;
  EXPECT_EQ(ChannelOfCommand(rom_.data(), 2), 8);
}

TEST_F(SoundRom, ATableBeyondTheImageHoldsNoRecords) {
  Put(0x4040, {0xFF, 0xFF, 0xFF});
  EXPECT_EQ(ChannelOfCommand(rom_.data(), 0x00FF), -1);
}

TEST_F(SoundRom, ASimpleCommandIsAnEffectOnAChannel) {
  Record(1, {1, 3, 0, 0, 0});
  EXPECT_TRUE(CommandIsSimple(rom_.data(), 1));
  Record(1, {1, 0, 0, 0, 0});
  EXPECT_FALSE(CommandIsSimple(rom_.data(), 1)) << "channel 0 is the music's";
  Record(1, {2, 3, 0, 0, 0});
  EXPECT_FALSE(CommandIsSimple(rom_.data(), 1)) << "type 2 is no effect";
}

TEST_F(SoundRom, TheWalkKnowsTheLengthOfEachStep) {
  struct SStep {
    u32 kind, bytes;
  };
  for (const SStep& step :
       {SStep{6, 3}, {13, 3}, {7, 4}, {8, 4}, {9, 4}, {10, 6}, {11, 6}, {12, 6}}) {
    Record(1, {1, 3, 0, 1, step.kind, 1, 1, 1, 1, 1, 1, 1, 1});
    Put(0x40002 + step.bytes, {0, 0, 0});
    EXPECT_TRUE(CommandIsSimple(rom_.data(), 1)) << step.kind;
    Put(0x40002 + step.bytes, {0, 0, 1});
    EXPECT_FALSE(CommandIsSimple(rom_.data(), 1)) << step.kind;
    Put(0x40002 + step.bytes, {0xFF, 0xFF});
    EXPECT_TRUE(CommandIsSimple(rom_.data(), 1)) << step.kind;
  }
  for (const u32 kind : {1u, 2u, 3u, 4u, 5u, 14u, 0xFFu}) {
    Record(1, {1, 3, 0, 1, kind});
    EXPECT_FALSE(CommandIsSimple(rom_.data(), 1)) << kind;
  }
}

TEST_F(SoundRom, ARecordAtTheEndOfTheRangeIsNotSimple) {
  Point(1, 0x7FFFFE);
  EXPECT_FALSE(CommandIsSimple(rom_.data(), 1));
  // Two stop steps lead over the end of the range.
  Put(7 * 0x80000 + 0x7FFFA, {1, 3, 0, 0, 6, 0, 0, 6});
  Point(2, 0x7FFFFA);
  EXPECT_FALSE(CommandIsSimple(rom_.data(), 2)) << "the walk ends with the range";
}

}  // namespace
}  // namespace vx::test
