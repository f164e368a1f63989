// The life of the workers: when they come, what they are made of, and when they go.
#include <thread>

#include "tests/disk/InflateGate.h"
#include "tests/lookahead/LookAheadTest.h"

namespace vx::test {
namespace {

struct LookAheadLife : CLookAheadTest {};

TEST_F(LookAheadLife, TheFirstShownFrameMakesBothWorkers) {
  BootFlipper();
  EXPECT_EQ(m->workers[0], nullptr);
  Frames(1);
  ASSERT_NE(m->workers[0], nullptr);
  ASSERT_NE(m->workers[1], nullptr);
  const CVXMachine* const first = &Clone(0);
  Frames(1);
  EXPECT_EQ(&Clone(0), first) << "and they stay";
}

TEST_F(LookAheadLife, ACloneIsABoardOfItsOwnOverTheSharedDisk) {
  const SPackContent content = PackOfCode(Flipper().Words());
  Boot(content);
  m->packHash = 0x1122334455667788;
  LookAhead();
  Frames(1);
  const CVXMachine& clone = Clone(1);
  EXPECT_EQ(clone.parent, m.get());
  EXPECT_EQ(clone.bLoaded, 1);
  EXPECT_EQ(clone.diskImage, m->diskImage);
  EXPECT_EQ(clone.diskBytes, m->diskBytes);
  EXPECT_EQ(clone.diskSectors, m->diskSectors);
  EXPECT_EQ(clone.diskId, m->diskId);
  EXPECT_EQ(clone.packCylinders, m->packCylinders);
  EXPECT_EQ(clone.packHeads, m->packHeads);
  EXPECT_EQ(clone.packSectorsPerTrack, m->packSectorsPerTrack);
  EXPECT_EQ(clone.chunkCount, m->chunkCount);
  EXPECT_EQ(clone.chunkBytes, m->chunkBytes);
  EXPECT_EQ(clone.sectorBytes, m->sectorBytes);
  EXPECT_EQ(clone.sectorsPerChunk, m->sectorsPerChunk);
  EXPECT_EQ(clone.bAllChunksLoaded, 1);
  EXPECT_EQ(clone.wantedChunk, kNoWantedChunk);
  EXPECT_EQ(clone.packHash, m->packHash);
  EXPECT_EQ(clone.soundRomHash, m->soundRomHash);
  EXPECT_EQ(clone.readerThread, nullptr);
  EXPECT_EQ(std::memcmp(clone.flatMem + kFlatBootRom, m->flatMem + kFlatBootRom,
                        kFlatCatchAll - kFlatBootRom),
            0);
  EXPECT_EQ(clone.onVideoFrame, nullptr);
  EXPECT_EQ(clone.onAudioBlock, nullptr);
  EXPECT_EQ(clone.onDualFrame, nullptr);
  ASSERT_NE(clone.onVideoFilter, nullptr);
  EXPECT_EQ(clone.onVideoFilter(nullptr), 1);
}

TEST_F(LookAheadLife, ACloneHasTheRegisterLayoutOfItsPack) {
  SPackContent content = PackOfCode(CGuestCode().Rest().Words());
  content.identity = kPackIdentityB;
  Boot(content);
  LookAhead();
  Frames(1);
  EXPECT_EQ(Clone(0).bIoLayoutB, 1);
  for (u32 i = 0; i < kIoRowCount; ++i) {
    EXPECT_EQ(std::memcmp(&Clone(0).ioRead[i], &m->ioRead[i], sizeof(SIoReadRow)), 0) << i;
  }
}

TEST_F(LookAheadLife, ACloneTakesTheRandomStartSettingOfItsMaster) {
  Boot();
  m->bRandomStart = 1;
  LookAhead();
  Frames(1);
  EXPECT_EQ(Clone(0).bRandomStart, 1);
}

TEST_F(LookAheadLife, LoadingAPackEndsTheWorkersAndTheNextFrameMakesOthers) {
  BootFlipper();
  Frames(1);
  EXPECT_FALSE(m->LoadPack(L"/nowhere/to be found"));
  EXPECT_EQ(m->workers[0], nullptr);
  EXPECT_EQ(m->workers[1], nullptr);
  BootFlipper();
  Frames(1);
  EXPECT_NE(m->workers[0], nullptr);
  EXPECT_FALSE(m->LoadPack(nullptr));
  EXPECT_EQ(m->workers[0], nullptr);
}

TEST_F(LookAheadLife, AResetEndsLookAheadAndLeavesTheWorkersStanding) {
  BootFlipper();
  Frames(1);
  const CVXMachine* const clone = &Clone(0);
  m->Reset();
  EXPECT_EQ(m->state.frameFlags & kFrameLookAhead, 0u);
  Frames(1);
  EXPECT_EQ(&Clone(0), clone);
  LookAhead();
  Frames(2);
  EXPECT_EQ(&Clone(0), clone);
}

TEST_F(LookAheadLife, MachinesComeAndGoWithTheirWorkersInAnyOrder) {
  BootFlipper();
  Frames(1);
  BoardPtr second(new CVXMachine);
  RecordCallbacks(*second);
  {
    const CPackFile file{CTestPack(PackOfCode(Flipper().Words()))};
    ASSERT_TRUE(second->LoadPack(file.Path()));
  }
  second->Reset();
  second->state.frameFlags |= kFrameLookAhead;
  second->RunFrame();
  m->LoadPack(nullptr);
  second->RunFrame();
  second.reset();
  BootFlipper();
  Frames(1);
  m.reset();
}

TEST_F(LookAheadLife, AStateLoadedBetweenLookAheadFramesTakesTheBranchesWithIt) {
  BootFlipper();
  SStateStream stream;
  m->SaveState(&stream, 0);
  std::vector<u8> bytes(stream.position);
  stream = {bytes.data(), stream.position, 0, 0};
  m->SaveState(&stream, 0);
  Frames(20);
  stream.position = 0;
  ASSERT_TRUE(m->LoadState(&stream));
  Frames(1);
  EXPECT_EQ(m->state.frameNumber, 1u);
  EXPECT_EQ(Clone(0).state.frameNumber, 1u);
}

TEST_F(LookAheadLife, TheFirstFrameWaitsUntilTheWholeDiskIsInMemory) {
  SPackContent content = PackOfCode(Flipper().Words());
  content.chunkCount = 20;
  content.disk.assign(content.chunkCount * content.chunkBytes, 0x42);
  CInflateGate gate(host, false);
  Boot(content);
  LookAhead();
  gate.AwaitArrivals(1);
  EXPECT_EQ(m->bAllChunksLoaded, 0);
  std::thread opener([&] {
    for (u32 i = 1; i <= content.chunkCount; ++i) {
      gate.Pass(1);
      gate.AwaitEnds(i);
    }
  });
  Frames(1);
  opener.join();
  EXPECT_EQ(Clone(0).diskImage[20 * 4096 - 1], 0x42);
  EXPECT_EQ(m->bAllChunksLoaded, 1);
  m->LoadPack(nullptr);
}

}  // namespace
}  // namespace vx::test
