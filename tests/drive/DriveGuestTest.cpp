// The drive as a guest program finds it on the board: through its registers, its interrupt line and
// the time that it takes.
#include <cstring>

#include "tests/drive/DriveProgram.h"
#include "tests/support/BoundaryTest.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {
namespace {

constexpr u32 kBlock = 0x4000;  // where programs keep blocks, in low RAM
constexpr u32 kDone = 9;        // result cell that is set at the end
constexpr u32 kAtaCause = 0x800;

struct DriveGuestTest : CBoundaryTest {
  CTestFolder folder;
  CDriveProgram code;

  DriveGuestTest() {
    host.cachePath = folder.Path().wstring() + L"/";
    code.AwaitDrive();
  }
  static std::vector<u8> PackSector(u32 sector) {
    std::vector<u8> contents(512, static_cast<u8>(sector + 1));
    contents[511] = static_cast<u8>(sector >> 8);
    return contents;
  }
  void BootDisk() {
    code.Set(CGuestCode::kValue, 1).KeepRegister(CGuestCode::kValue, kDone);
    code.Rest();
    SPackContent content = PackOfCode(code.Words());
    content.chunkCount = 160;
    content.cylinders = 2;
    content.heads = 13;
    content.sectorsPerTrack = 47;
    for (u32 sector = 0; sector < content.chunkCount * 8; ++sector) {
      const std::vector<u8> contents = PackSector(sector);
      content.disk.insert(content.disk.end(), contents.begin(), contents.end());
    }
    Boot(content);
  }
  bool IsDone() const { return Result(kDone) == 1; }
  std::vector<u8> Block(u32 index = 0) const {
    const u8* const first = Memory() + kBlock + 512 * index;
    return {first, first + 512};
  }
};

TEST_F(DriveGuestTest, ABlockOfManySectorsComesOverTrackAndCylinderEnds) {
  code.Select(0, 12, 46, 4).Command(0x20);
  for (u32 i = 0; i < 4; ++i) code.AwaitDrive().TakeBlock(kBlock + 512 * i);
  BootDisk();
  RunFrames(2);
  ASSERT_TRUE(IsDone());
  for (u32 i = 0; i < 4; ++i) EXPECT_EQ(Block(i), PackSector(12 * 47 + 45 + i));
}

TEST_F(DriveGuestTest, WhatTheGuestWritesIsReadBackAndStandsInTheOverlay) {
  code.Select(1, 0, 3, 1).Command(0x20).AwaitDrive().TakeBlock(kBlock);
  code.Write32(kBlock, 0xC0FFEE01);
  code.Select(1, 2, 3, 1).Command(0x30).GiveBlock(kBlock).AwaitDrive();
  code.Select(0, 0, 1, 1).Command(0x20).AwaitDrive().TakeBlock(kBlock + 512);
  code.Select(1, 2, 3, 1).Command(0x20).AwaitDrive().TakeBlock(kBlock + 1024);
  BootDisk();
  RunFrames(3);
  ASSERT_TRUE(IsDone());
  std::vector<u8> expected = PackSector(13 * 47 + 2);
  for (const u32 i : {0u, 1u, 2u, 3u}) expected[i] = static_cast<u8>(0xC0FFEE01 >> 8 * i);
  EXPECT_EQ(Block(1), PackSector(0));
  EXPECT_EQ(Block(2), expected);

  EXPECT_TRUE(folder.Names().empty());
  host.clockMs = host.clockMs + 201.0;
  RunFrames(1);
  ASSERT_EQ(folder.Names(), std::vector<std::string>{"vxhdd2222222200000009.qilhardchunk"});
  const std::vector<u8> overlay = ReadWhole(folder / folder.Names()[0]);
  EXPECT_EQ(std::vector<u8>(overlay.end() - 512, overlay.end()), expected);
}

TEST_F(DriveGuestTest, TheIdentifyBlockShowsTextInOrderAndNumbersSwapped) {
  code.Command(0xEC).AwaitDrive().TakeBlock(kBlock);
  BootDisk();
  RunFrames(1);
  ASSERT_TRUE(IsDone());
  const std::vector<u8> block = Block();
  const auto text = [&](u32 word, u32 bytes) {
    std::string plain;  // the drive gives the first character in a word's upper half
    for (u32 i = 0; i < bytes; ++i) plain += static_cast<char>(block[2 * word + (i ^ 1)]);
    return plain;
  };
  EXPECT_EQ(text(10, 20), "00ST9150AG0000000000");
  EXPECT_EQ(text(23, 5), "6.666");
  EXPECT_EQ(text(27, 12), "ST9150AG    ");
  EXPECT_EQ(block[6], 0u);
  EXPECT_EQ(block[7], 13u) << "heads, in the opposite order of a number in memory";
  EXPECT_EQ(block[120] << 8 | block[121], 160 * 8);
}

TEST_F(DriveGuestTest, TheLineReachesTheProcessorAndBothStatusRegistersTakeItDown) {
  for (const u32 status : {CDriveProgram::kStatus, CDriveProgram::kAlternateStatus}) {
    const u32 cell = status == CDriveProgram::kStatus ? 0 : 2;
    code.KeepCause(cell + 4);
    code.Command(0xEC).AwaitLine().KeepCause(cell);
    code.Keep8(status, 8);
    code.KeepCause(cell + 1).TakeBlock(kBlock);
  }
  BootDisk();
  RunFrames(1);
  ASSERT_TRUE(IsDone());
  for (const u32 cell : {0u, 2u}) {
    EXPECT_EQ(Result(cell + 4) & kAtaCause, 0u);
    EXPECT_EQ(Result(cell) & kAtaCause, kAtaCause);
    EXPECT_EQ(Result(cell + 1) & kAtaCause, 0u);
  }
  EXPECT_EQ(Result(8), 0x58u | (Result(8) & 2));
}

TEST_F(DriveGuestTest, ExtraReadTimeHoldsAReadUpByTheSettingsTime) {
  code.Select(0, 0, 2, 1).Command(0x20).AwaitDrive().TakeBlock(kBlock);
  SetSetting("VX_ExtraReadTime", 3);  // 20 ms, more than a frame
  BootDisk();
  RunFrames(1);
  EXPECT_FALSE(IsDone());
  RunFrames(1);
  EXPECT_TRUE(IsDone());
  SetSetting("VX_ExtraReadTime", 0);
  machine->Reset();
  machine->ApplySettings();
  RunFrames(1);
  EXPECT_TRUE(IsDone());
}

TEST_F(DriveGuestTest, MessagesOfTheDriveReachTheHostAsErrors) {
  code.Command(0xC4);
  BootDisk();
  RunFrames(1);
  ASSERT_FALSE(host.LogLines().empty());
  EXPECT_EQ(host.LogLines().back().level, 2);
  EXPECT_EQ(host.LogLines().back().text, "ATA command unimplemented: 196\n");
}

TEST_F(DriveGuestTest, ASectorBeyondTheDiskEndsInAnErrorThatTheGuestSees) {
  code.Select(300, 0, 1, 1).Command(0x20).AwaitDrive().Keep8(CDriveProgram::kStatus, 0);
  BootDisk();
  RunFrames(2);
  ASSERT_TRUE(IsDone());
  EXPECT_EQ(Result(0) & ~u64{2}, 0x51u);
}

TEST_F(DriveGuestTest, TheDriveIsBusyForFourMillisecondsBehindEveryReset) {
  // A program that counts its polls until the drive is ready.
  CDriveProgram polls;
  constexpr u32 kCount = 15;
  polls.Set(kCount, 0).Point(CDriveProgram::kStatus);
  const u32 again = polls.Here();
  polls.Op(mips::Addiu(kCount, kCount, 1));
  polls.Op(mips::Lbu(CGuestCode::kValue, 0, CGuestCode::kAddress));
  polls.Op(mips::Andi(CGuestCode::kValue, CGuestCode::kValue, 0x80));
  polls.BranchUnlessZero(CGuestCode::kValue, again);
  polls.KeepRegister(kCount, 0);
  code = polls;
  BootDisk();
  RunFrames(1);
  ASSERT_TRUE(IsDone());
  const u64 first = Result(0);
  EXPECT_GT(first, 100u);
  machine->Reset();
  RunFrames(1);
  EXPECT_EQ(Result(0), first);
}

}  // namespace
}  // namespace vx::test
