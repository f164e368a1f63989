// The register file: what each register answers and takes, drive selection and device control.
#include <cstring>

#include "tests/drive/DriveTest.h"

namespace vx::test {
namespace {

using Lines = std::vector<std::string>;

struct DriveRegisterTest : CDriveTest {
  DriveRegisterTest() { SpinUp(); }
};

TEST_F(DriveRegisterTest, EachTaskFileRegisterTakesItsLowByte) {
  Write(kSectorNumber, 0x1A2);
  Write(kCylinderLow, 0x1B3);
  Write(kCylinderHigh, 0x1C4);
  Write(kDriveHead, 0x1A5);
  EXPECT_EQ(record.sectorNumber, 0xA2u);
  EXPECT_EQ(record.cylinderLow, 0xB3u);
  EXPECT_EQ(record.cylinderHigh, 0xC4u);
  EXPECT_EQ(record.driveHead, 0xA5u);
  EXPECT_TRUE(log.empty());
}

TEST_F(DriveRegisterTest, TheSectorCountIsSixteenBitsWide) {
  Write(kSectorCount, 0x51234);
  EXPECT_EQ(record.sectorCount, 0x1234u);
  Write(kSectorCount, 0xFFFF);
  EXPECT_EQ(record.sectorCount, 0xFFFFu);
}

TEST_F(DriveRegisterTest, ASectorCountOfZeroMeans256) {
  Write(kSectorCount, 0);
  EXPECT_EQ(record.sectorCount, 256u);
  Write(kSectorCount, 0x10000);
  EXPECT_EQ(record.sectorCount, 256u) << "zero in the low 16 bits";
}

TEST_F(DriveRegisterTest, TheTaskFileCannotBeReadBack) {
  Select({0x1234, 5, 9}, 7);
  for (u32 index = kFeatures; index <= kDriveHead; ++index) {
    EXPECT_EQ(Read(index), 0xFFFFu) << index;
    EXPECT_EQ(log, Lines{"ATA cs0 unimplemented: " + std::to_string(index) + "\n"});
    log.clear();
  }
}

TEST_F(DriveRegisterTest, EveryRegisterAnswersTheStatusWhileTheDriveIsBusy) {
  Command(0xEC);
  for (u32 index = kData; index <= kDriveHead; ++index) {
    EXPECT_EQ(Read(index), kAtaIdle | kAtaBusy) << index;
  }
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(record.dataPosition, 0u) << "a read of the data port did not count";
}

TEST_F(DriveRegisterTest, AnyRegisterThatIsReadWhileBusyBringsTheStatusUpToDate) {
  Command(0xEC);
  nowUs += kSetupUs;  // the time is over, though its event has not been fired
  EXPECT_EQ(Read(kFeatures), u32{kAtaIdle});
  EXPECT_EQ(Read(kFeatures), 0xFFFFu);
  EXPECT_EQ(log.size(), 1u);
}

TEST_F(DriveRegisterTest, ARegisterThatIsReadWhileBusyDoesNotAcknowledgeTheInterrupt) {
  Command(0xF9);
  record.busyUntil = nowUs + 50.0;
  record.status |= kAtaBusy;
  for (u32 index = kData; index <= kDriveHead; ++index) Read(index);
  EXPECT_EQ(levels, std::vector<u32>{1});
  Status();
  EXPECT_EQ(levels, (std::vector<u32>{1, 0}));
}

TEST_F(DriveRegisterTest, WritesToTheFeatureRegisterAndBeyondTheFileLeaveAMessage) {
  const SATARecord before = record;
  for (const u32 index : {1u, 8u, 31u}) {
    Write(index, 0xFFFF);
    EXPECT_EQ(log, Lines{"ATA cs0 write unimplemented: " + std::to_string(index) + "\n"});
    log.clear();
  }
  EXPECT_EQ(std::memcmp(&before, &record, sizeof(record)), 0);
}

TEST_F(DriveRegisterTest, SelectingTheOtherDriveLeavesOneMessageAndEmptyReads) {
  Write(kDriveHead, 0x13);
  EXPECT_EQ(log, Lines{"ATA drv unimplemented\n"});
  EXPECT_EQ(record.driveHead, 0x13u);
  for (u32 index = kData; index <= kStatusOrCommand; ++index) EXPECT_EQ(Read(index), 0xFFFFu);
  EXPECT_EQ(drive.ReadAlternateStatus(), 0xFFFFu);
  EXPECT_EQ(log.size(), 1u) << "nothing was said of the reads";

  Write(kDriveHead, 0x1C);
  EXPECT_EQ(log.size(), 1u) << "the bit did not change";
  Write(kDriveHead, 0x0C);
  EXPECT_EQ(log.size(), 2u);
  EXPECT_EQ(Status(), u32{kAtaIdle});
}

TEST_F(DriveRegisterTest, WritesWorkWhileTheOtherDriveIsSelected) {
  Write(kDriveHead, 0x10);
  Write(kSectorCount, 3);
  Write(kSectorNumber, 4);
  Write(kData, 0xBEEF);
  EXPECT_EQ(record.sectorCount, 3u);
  EXPECT_EQ(record.sectorNumber, 4u);
  EXPECT_EQ(record.dataLatch, 0xBEEFu);
  EXPECT_EQ(record.dataPosition, 2u);
  Command(0xF9);
  EXPECT_EQ(levels, std::vector<u32>{1});
  EXPECT_EQ(Status(), 0xFFFFu);
  EXPECT_EQ(drive.block.interruptLine, 1u) << "a read of the other drive acknowledges nothing";
}

TEST_F(DriveRegisterTest, ADriveOfNumberOneAnswersWhenItIsSelected) {
  record.deviceFlags = 0x02;
  EXPECT_EQ(Status(), 0xFFFFu);
  EXPECT_EQ(drive.ReadAlternateStatus(), 0xFFFFu);
  Write(kDriveHead, 0x10);
  EXPECT_EQ(Status(), u32{kAtaIdle});
}

TEST_F(DriveRegisterTest, AnAbsentDriveNeitherAnswersNorTakesAnything) {
  record.deviceFlags = 0x04;
  const SATARecord before = record;
  for (u32 index = 0; index < 9; ++index) {
    EXPECT_EQ(Read(index), 0xFFFFu);
    Write(index, 0x20);
  }
  EXPECT_EQ(drive.ReadAlternateStatus(), 0xFFFFu);
  drive.WriteDeviceControl(0xFF);
  EXPECT_EQ(std::memcmp(&before, &record, sizeof(record)), 0);
  EXPECT_TRUE(log.empty());
  EXPECT_TRUE(levels.empty());
  EXPECT_TRUE(queue.IsEmpty());
}

TEST_F(DriveRegisterTest, DeviceControlIsStoredAndItsTwoBitsOnlyLeaveMessagesWhenTheyChange) {
  drive.WriteDeviceControl(0xF9);
  EXPECT_EQ(record.deviceControl, 0xF9u);
  EXPECT_TRUE(log.empty());
  drive.WriteDeviceControl(0xFB);
  EXPECT_EQ(log, Lines{"ATA devcontrol NIEn unimplemented\n"});
  drive.WriteDeviceControl(0xFB);
  EXPECT_EQ(log.size(), 1u);
  drive.WriteDeviceControl(0x106);
  EXPECT_EQ(log.size(), 2u);
  EXPECT_EQ(log[1], "ATA devcontrol SRst unimplemented\n");
  EXPECT_EQ(record.deviceControl, 0x06u);
  drive.WriteDeviceControl(0);
  EXPECT_EQ(log,
            (Lines{"ATA devcontrol NIEn unimplemented\n", "ATA devcontrol SRst unimplemented\n",
                   "ATA devcontrol NIEn unimplemented\n", "ATA devcontrol SRst unimplemented\n"}));
}

TEST_F(DriveRegisterTest, ASoftwareResetAndTheInterruptMaskHaveNoEffect) {
  drive.WriteDeviceControl(0x06);
  EXPECT_TRUE(queue.IsEmpty());
  EXPECT_EQ(Status(), u32{kAtaIdle});
  Command(0xF9);
  EXPECT_EQ(levels, std::vector<u32>{1});
}

TEST_F(DriveRegisterTest, TheDataPortMovesThroughTheBufferWithNothingPending) {
  for (u32 i = 0; i < 512; ++i) record.sectorBuffer[i] = static_cast<u8>(i ^ i >> 8);
  EXPECT_EQ(Status() & kAtaDataRequest, 0u);
  EXPECT_EQ(Read(kData), 0x0100u);
  EXPECT_EQ(Read(kData), 0x0302u);
  EXPECT_EQ(record.dataPosition, 4u);
  EXPECT_EQ(record.dataLatch, 0x0302u);
  Write(kData, 0x51234);
  EXPECT_EQ(record.dataPosition, 6u);
  EXPECT_EQ(record.dataLatch, 0x1234u);
  EXPECT_EQ(record.sectorBuffer[4], 0x34u);
  EXPECT_EQ(record.sectorBuffer[5], 0x12u);
}

TEST_F(DriveRegisterTest, TheLastWordOfTheBufferIsReadBeforeThePositionReturns) {
  record.sectorBuffer[510] = 0xCD;
  record.sectorBuffer[511] = 0xAB;
  for (u32 i = 0; i < 255; ++i) Read(kData);
  EXPECT_EQ(record.dataPosition, 510u);
  EXPECT_EQ(Read(kData), 0xABCDu);
  EXPECT_EQ(record.dataPosition, 0u);
}

TEST_F(DriveRegisterTest, WritesToTheDataPortAreTakenWhileBusy) {
  Command(0xEC);
  Write(kData, 0x1234);
  EXPECT_EQ(record.dataPosition, 2u);
  EXPECT_EQ(record.dataLatch, 0x1234u);
}

TEST_F(DriveRegisterTest, APositionBeyondTheBufferStaysInsideTheRecord) {
  for (const u32 position : {511u, 512u, 513u, 0x7FFFFFFFu}) {
    const u32 marker = record.currentSector = 0x5A5A5A5A;
    record.dataPosition = position;
    Read(kData);
    EXPECT_EQ(record.dataPosition, 0u);
    record.dataPosition = position;
    Write(kData, 0xFFFF);
    EXPECT_EQ(record.dataPosition, 0u);
    EXPECT_EQ(record.currentSector, marker);
  }
}

}  // namespace
}  // namespace vx::test
