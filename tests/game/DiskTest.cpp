// What the cabinet makes of its disk: tables of which one copy is torn, and disks that it cannot
// use.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>

#include "guest/game/scores.h"
#include "guest/kernel_calls.h"
#include "tests/game/GameDisk.h"
#include "tests/game/GameMachine.h"

namespace vx::test {
namespace {

constexpr u32 kTableMagic = 0x45524353;
constexpr u32 kBootFrames = 300;

STable MakeTable(u32 turn, u32 bestScore) {
  STable table{};
  table.magic = kTableMagic;
  table.turn = turn;
  table.rows[0].score = bestScore;
  std::memcpy(table.rows[0].initials, "ABC", kInitials);
  table.crc = static_cast<u32>(
      crc32(0, reinterpret_cast<const Bytef*>(&table), sizeof(table) - sizeof(table.crc)));
  return table;
}

void Put(std::vector<u8>& disk, const char* name, const STable& table) {
  std::memcpy(disk.data() + FilePlace(disk, name), &table, sizeof(table));
}

struct DiskTest : testing::Test {
  void BootDisk(const std::vector<u8>& disk) {
    const CDiskPack pack(disk);
    ASSERT_TRUE(machine.Boot(pack.Path()));
    machine.Run(kBootFrames);
  }
  std::vector<u8> disk = ReadGameDisk();
  CGameMachine machine;
};

TEST_F(DiskTest, TheNewerTableCounts) {
  Put(disk, "SCORES.A", MakeTable(5, 70000));
  Put(disk, "SCORES.B", MakeTable(6, 80000));
  BootDisk(disk);
  EXPECT_EQ(machine.Game().tableSource, u32{kTableFromB});
  EXPECT_EQ(machine.Game().table[0].score, 80000u);
}

TEST_F(DiskTest, ATornTableGivesWayToTheOneBefore) {
  STable torn = MakeTable(6, 80000);
  std::memset(reinterpret_cast<u8*>(&torn) + 256, 0, 200);  // its second half never came
  torn.rows[9].score = 1;
  Put(disk, "SCORES.A", MakeTable(5, 70000));
  Put(disk, "SCORES.B", torn);
  BootDisk(disk);
  EXPECT_EQ(machine.Game().tableSource, u32{kTableFromA});
  EXPECT_EQ(machine.Game().table[0].score, 70000u);
  EXPECT_STREQ(machine.Game().table[0].initials, "ABC");
}

TEST_F(DiskTest, WithoutAGoodTableANewOneIsMade) {
  STable torn = MakeTable(6, 80000);
  torn.crc ^= 1;
  Put(disk, "SCORES.A", torn);
  Put(disk, "SCORES.B", torn);
  BootDisk(disk);
  EXPECT_EQ(machine.Game().tableSource, u32{kTableMadeNew});
  EXPECT_EQ(machine.Game().table[0].score, 50000u);
}

TEST_F(DiskTest, ADiskWithoutItsLabelIsRefusedOnTheScreen) {
  disk.assign(disk.size(), 0);
  BootDisk(disk);
  EXPECT_EQ(machine.Board().state, u32{kSelfTestDiskTrouble});
  EXPECT_EQ(machine.Board().diskResult, u32{kDiskNoLabel});
  EXPECT_EQ(machine.Board().testsPassed, machine.Board().testsRun);
}

TEST_F(DiskTest, ADamagedProgramIsNotStarted) {
  disk[FilePlace(disk, "GAME.PRG") + 20000] ^= 0x10;
  BootDisk(disk);
  EXPECT_EQ(machine.Board().state, u32{kSelfTestDiskTrouble});
  EXPECT_EQ(machine.Board().diskResult, u32{kDiskDamaged});
  EXPECT_EQ(machine.Game().magic, 0u);
}

TEST_F(DiskTest, ADamagedModelStopsTheGameWithAWord) {
  disk[FilePlace(disk, "HERON.MDL") + 100] ^= 0x10;
  BootDisk(disk);
  EXPECT_EQ(machine.Board().state, u32{kSelfTestDiskTrouble});
  EXPECT_EQ(machine.Board().diskResult, u32{kDiskDamaged});
}

TEST_F(DiskTest, AFileBehindTheDisksEndIsRefused) {
  // The directory's first record names the program; its first sector moves out of reach.
  const u32 far = 100000;
  std::memcpy(disk.data() + 512 + offsetof(SDiskFile, firstSector), &far, sizeof(far));
  BootDisk(disk);
  EXPECT_EQ(machine.Board().diskResult, u32{kDiskRange});
}

TEST_F(DiskTest, TheTestButtonTriesTheDiskAgain) {
  disk.assign(disk.size(), 0);
  BootDisk(disk);
  const u32 blanks = machine.Board().blankCount;
  machine.PressSystem(kTestButton);
  machine.Run(20);
  EXPECT_EQ(machine.Board().state, u32{kSelfTestDiskTrouble});
  EXPECT_GT(machine.Board().blankCount, blanks);
}

}  // namespace
}  // namespace vx::test
