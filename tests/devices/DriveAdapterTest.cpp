// The adapters between the register window and the drive: which address reaches which register, and
// how wide values are.
#include <cstring>

#include "tests/devices/IoTest.h"

namespace vx::test {
namespace {

struct DriveAdapterTest : CIoTest {
  SATARecord& drive = m->ata.block.record;

  // A drive at rest with a sector of known words in its buffer.
  DriveAdapterTest() {
    m->queue.Clear();
    drive = SATARecord{};
    drive.status = kAtaIdle;
    for (u32 i = 0; i < 256; ++i) {
      const u16 word = static_cast<u16>(0xF000 + i);
      std::memcpy(drive.sectorBuffer + 2 * i, &word, 2);
    }
  }
};

TEST_F(DriveAdapterTest, EachWideReadOfTheDataPortGivesOneWordAndMovesByOne) {
  u32 position = 0;
  for (const u32 bytes : {4u, 8u, 2u, 4u}) {
    EXPECT_EQ(Read(0x10000100, bytes), 0xF000u + position / 2) << "high part zero";
    position += 2;
    EXPECT_EQ(drive.dataPosition, position);
  }
}

TEST_F(DriveAdapterTest, AByteReadGivesTheLowByteAndMovesByAWord) {
  EXPECT_EQ(Read(0x10000100, 1), 0x00u);
  EXPECT_EQ(Read(0x10000100, 1), 0x01u);
  EXPECT_EQ(drive.dataPosition, 4u);
}

TEST_F(DriveAdapterTest, AllEightBytesOfARegisterReachIt) {
  for (u32 i = 0; i < 8; ++i) {
    EXPECT_EQ(Read(0x10000100 + i, 2), 0xF000u + i) << "data port, byte " << i;
  }
  EXPECT_EQ(Read(0x10000138 + 7, 1), u64{kAtaIdle} | (Read(0x10000138, 1) & 2));
}

TEST_F(DriveAdapterTest, WritesReachTheRegistersEightBytesApart) {
  Write(0x10000110, 0x21, 1);
  Write(0x10000118, 0x22, 1);
  Write(0x10000120, 0x23, 1);
  Write(0x10000128, 0x24, 1);
  Write(0x10000130, 0x05, 1);
  EXPECT_EQ(drive.sectorCount, 0x21u);
  EXPECT_EQ(drive.sectorNumber, 0x22u);
  EXPECT_EQ(drive.cylinderLow, 0x23u);
  EXPECT_EQ(drive.cylinderHigh, 0x24u);
  EXPECT_EQ(drive.driveHead, 0x05u);
}

TEST_F(DriveAdapterTest, WideWritesPassTheLow16BitsAndByteWritesAByte) {
  for (const u32 bytes : {8u, 4u, 2u}) {
    Write(0x10000110, 0xFFFFFFFFFFFF1234, bytes);
    EXPECT_EQ(drive.sectorCount, 0x1234u) << bytes;
  }
  Write(0x10000110, 0xFFFFFFFFFFFF1234, 1);
  EXPECT_EQ(drive.sectorCount, 0x34u);
}

TEST_F(DriveAdapterTest, DataWritesMoveByOneWordAtEveryWidth) {
  u32 position = 0;
  for (const u32 bytes : kWidths) {
    Write(0x10000100, 0x0123456789ABCDEF, bytes);
    position += 2;
    EXPECT_EQ(drive.dataPosition, position);
    EXPECT_EQ(drive.dataLatch, bytes == 1 ? 0x00EFu : 0xCDEFu);
  }
}

TEST_F(DriveAdapterTest, StatusAndAlternateStatusReadTheSame) {
  for (const u32 address : {0x10000170u, 0x10000171u, 0x10000172u, 0x10000173u, 0x10000138u}) {
    for (const u32 bytes : kWidths) {
      EXPECT_EQ(Read(address, bytes) & ~u64{2}, u64{kAtaIdle}) << std::hex << address;
    }
  }
}

TEST_F(DriveAdapterTest, TheFourBytesAt170WriteDeviceControl) {
  u8 value = 0x10;
  for (u32 i = 0; i < 4; ++i) {
    Write(0x10000170 + i, ++value, 1);
    EXPECT_EQ(drive.deviceControl, value) << i;
  }
}

TEST_F(DriveAdapterTest, BetweenAndBehindItsRegistersTheDriveIsNotReached) {
  const SATARecord before = drive;
  for (u32 address = 0x10000140; address < 0x10000200; ++address) {
    if ((address & ~3u) == 0x10000170) continue;
    for (const u32 bytes : kWidths) {
      EXPECT_EQ(Read(address, bytes), 0u) << std::hex << address;
      Write(address, ~u64{0}, bytes);
    }
  }
  EXPECT_EQ(std::memcmp(&before, &drive, sizeof(before)), 0);
  EXPECT_TRUE(host.LogLines().empty());
}

TEST_F(DriveAdapterTest, UnimplementedReadsAnswerOnesAtTheirWidthAndSaySo) {
  for (const u32 address : {0x10000108u, 0x10000110u, 0x10000118u, 0x10000130u}) {
    EXPECT_EQ(Read(address, 8), 0xFFFFu);
    EXPECT_EQ(Read(address, 4), 0xFFFFu);
    EXPECT_EQ(Read(address, 2), 0xFFFFu);
    EXPECT_EQ(Read(address, 1), 0xFFu);
  }
  EXPECT_EQ(host.LogLines().size(), 16u);
  EXPECT_EQ(host.LogLines().front().level, 2);
  EXPECT_EQ(host.LogLines().front().text.back(), '\n');
}

TEST_F(DriveAdapterTest, BothLayoutsHaveTheDriveAtTheSamePlace) {
  UseLayout(true);
  Write(0x10000110, 0x21, 1);
  EXPECT_EQ(drive.sectorCount, 0x21u);
  EXPECT_EQ(Read(0x10000170, 1) & ~u64{2}, u64{kAtaIdle});
}

}  // namespace
}  // namespace vx::test
