// The disk reader: in which order chunks come, who waits for what, and how reading ends.
#include <numeric>

#include "devices/DiskStore.h"
#include "tests/disk/DiskTest.h"

namespace vx::test {
namespace {

using Order = std::vector<u32>;
using namespace std::chrono_literals;

struct DiskReaderTest : CDiskTest {
  u64 SectorOf(u32 chunk) const { return u64{chunk} * kSectorsPerTestChunk; }
  void Touch(u32 chunk) { OnSectorTouched(SectorOf(chunk), m.get()); }
  // Loads a pack whose reader stands in the inflate of chunk 0.
  void LoadHeld(u32 chunks) {
    Gate();
    ASSERT_TRUE(Load(chunks));
    gate->AwaitArrivals(1);
  }
  void Finish() {
    gate->Open();
    AwaitWholeDisk();
  }
};

TEST_F(DiskReaderTest, ChunksComeFrontToBack) {
  LoadHeld(6);
  Finish();
  EXPECT_EQ(InflateOrder(), (Order{0, 1, 2, 3, 4, 5}));
}

TEST_F(DiskReaderTest, AWantedChunkGoesFirstAndTheReadingGoesOnFromIt) {
  LoadHeld(8);
  Touch(5);
  Finish();
  EXPECT_EQ(InflateOrder(), (Order{0, 5, 6, 7, 1, 2, 3, 4}));
}

TEST_F(DiskReaderTest, AReadInTheLastChunkRightAfterTheStartIsServedBeforeTheRest) {
  LoadHeld(8);
  Touch(7);
  Finish();
  EXPECT_EQ(InflateOrder(), (Order{0, 7, 1, 2, 3, 4, 5, 6})) << "then the cursor wraps";
}

TEST_F(DiskReaderTest, AWantBeforeTheFirstChunkMovesTheCursorAndWrapsToChunkZero) {
  LoadHeld(4);
  gate->Open();
  AwaitWholeDisk();
  StopDiskReader(*m);
  for (u32 i = 0; i < 4; ++i) m->chunkTable[i].bReady = 0;
  m->bAllChunksLoaded = 0;
  Touch(3);
  StartDiskReader(*m);
  AwaitWholeDisk();
  EXPECT_EQ(InflateOrder(), (Order{0, 1, 2, 3, 3, 0, 1, 2}));
}

TEST_F(DiskReaderTest, OnlyTheLastWantIsKept) {
  LoadHeld(8);
  Touch(3);
  Touch(6);
  Finish();
  EXPECT_EQ(InflateOrder(), (Order{0, 6, 7, 1, 2, 3, 4, 5}));
}

TEST_F(DiskReaderTest, ASecondWantIsServedAfterTheFirst) {
  LoadHeld(8);
  Touch(6);
  gate->Pass(1);
  gate->AwaitArrivals(2);
  Touch(2);
  Finish();
  EXPECT_EQ(InflateOrder(), (Order{0, 6, 2, 3, 4, 5, 7, 1}));
}

TEST_F(DiskReaderTest, ATouchOfAChunkThatIsInWantsNothing) {
  LoadHeld(4);
  gate->Pass(1);
  gate->AwaitArrivals(2);
  Touch(0);
  EXPECT_EQ(m->wantedChunk.load(), kNoWantedChunk);
  Touch(3);
  EXPECT_EQ(m->wantedChunk.load(), 3u);
  Touch(0);
  EXPECT_EQ(m->wantedChunk.load(), 3u) << "an earlier want stays";
}

TEST_F(DiskReaderTest, ATouchOutsideTheDiskWantsNothing) {
  CTestPack pack(DiskContent(4));
  pack.Disk().sectorCount = 25;  // one sector of the last chunk
  Gate();
  ASSERT_TRUE(Load(pack));
  gate->AwaitArrivals(1);
  for (const u64 sector : {u64{25}, u64{31}, u64{32}, u64{0xFFFFFFFF}, ~u64{0}}) {
    OnSectorTouched(sector, m.get());
    EXPECT_EQ(m->wantedChunk.load(), kNoWantedChunk);
  }
  OnSectorTouched(24, m.get());
  EXPECT_EQ(m->wantedChunk.load(), 3u);
}

TEST_F(DiskReaderTest, NothingIsReadTwiceHoweverOftenItIsWanted) {
  Gate(true);
  ASSERT_TRUE(Load(64));
  for (u32 i = 0; m->bAllChunksLoaded == 0; i += 29) Touch(i % 64);
  Order order = InflateOrder();
  std::sort(order.begin(), order.end());
  Order all(64);
  std::iota(all.begin(), all.end(), 0);
  EXPECT_EQ(order, all);
}

TEST_F(DiskReaderTest, AWantOfAChunkThatDoesNotExistIsIgnored) {
  LoadHeld(4);
  m->wantedChunk = 4;
  gate->Pass(1);
  gate->AwaitArrivals(2);
  m->wantedChunk = 0x80000000;
  Finish();
  EXPECT_EQ(InflateOrder(), (Order{0, 1, 2, 3}));
  EXPECT_FALSE(m->chunkReadyEvent.WaitFor(0ms));
}

TEST_F(DiskReaderTest, TheEventIsSignalledAfterAWantAlsoWhenTheChunkWasIn) {
  LoadHeld(4);
  gate->Pass(1);
  gate->AwaitArrivals(2);
  EXPECT_FALSE(m->chunkReadyEvent.WaitFor(0ms)) << "nobody wanted chunk 0";
  m->wantedChunk = 0;
  gate->Pass(1);
  gate->AwaitArrivals(3);
  EXPECT_TRUE(m->chunkReadyEvent.WaitFor(0ms));
}

TEST_F(DiskReaderTest, AReadWaitsForItsChunkAndNoOther) {
  LoadHeld(8);
  std::vector<u8> contents;
  std::atomic<bool> bRead{false};
  std::thread guest([&] {
    contents = Read(SectorOf(5) + 3);
    bRead = true;
  });
  while (m->wantedChunk != 5) std::this_thread::yield();
  gate->Pass(1);
  gate->AwaitArrivals(2);
  EXPECT_FALSE(bRead) << "chunk 0 is not what it waits for";
  gate->Pass(1);
  guest.join();
  EXPECT_EQ(contents, PackSector(SectorOf(5) + 3));
  EXPECT_EQ(InflateOrder(), (Order{0, 5}));
}

TEST_F(DiskReaderTest, AWaitPublishesItsWantOnce) {
  LoadHeld(8);
  std::thread guest([&] { Read(SectorOf(5)); });
  while (m->wantedChunk != 5) std::this_thread::yield();
  m->wantedChunk = kNoWantedChunk;  // as a reader does that takes it
  for (u32 pass = 0; pass < 500; ++pass) {
    m->chunkReadyEvent.Signal();  // the waiter looks again
    std::this_thread::yield();
    EXPECT_EQ(m->wantedChunk.load(), kNoWantedChunk);
  }
  gate->Open();
  guest.join();
  AwaitWholeDisk();
  EXPECT_EQ(InflateOrder(), (Order{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(DiskReaderTest, AWriteDuringTheLoadWaitsForItsChunkAndWinsOverThePack) {
  LoadHeld(8);
  std::thread guest([&] { EXPECT_TRUE(Write(SectorOf(6) + 1, 0x5A)); });
  while (m->wantedChunk != 6) std::this_thread::yield();
  gate->Pass(1);
  gate->AwaitArrivals(2);
  EXPECT_EQ(m->flushDeadline, 0.0) << "nothing is written yet";
  gate->Open();
  guest.join();
  AwaitWholeDisk();
  EXPECT_EQ(Read(SectorOf(6)), PackSector(SectorOf(6)));
  EXPECT_EQ(Read(SectorOf(6) + 1), std::vector<u8>(512, 0x5A));
  EXPECT_EQ(Read(SectorOf(6) + 2), PackSector(SectorOf(6) + 2));
}

TEST_F(DiskReaderTest, GuestTimeStandsStillWhileAReadWaits) {
  LoadHeld(8);
  m->Reset();
  SATARecord& drive = m->ata.block.record;
  m->queue.Clear();
  drive.status = kAtaIdle;
  drive.busyUntil = 0.0;
  m->ata.WriteRegister(2, 1);
  m->ata.WriteRegister(3, 48);  // sector 47, in chunk 5
  const f64 before = m->queue.Now();
  std::thread opener([&] {
    while (m->wantedChunk != 5) std::this_thread::yield();
    gate->Open();
  });
  drive.currentSector = 47;  // the head is there, so that the read runs in the command write
  m->ata.WriteRegister(7, 0x20);
  opener.join();
  EXPECT_EQ(m->queue.Now(), before);
  EXPECT_EQ(drive.status, kAtaIdle | kAtaDataRequest);
  EXPECT_EQ(std::vector<u8>(drive.sectorBuffer, drive.sectorBuffer + 512), PackSector(47));
}

TEST_F(DiskReaderTest, RawAndPackedChunksArriveInAnyOrder) {
  SPackContent content = DiskContent(16);
  content.bEvenChunksRaw = true;
  Gate();
  ASSERT_TRUE(Load(CTestPack(content)));
  gate->AwaitArrivals(1);
  Touch(10);
  gate->Open();
  for (const u32 chunk : {15u, 0u, 8u, 9u, 3u, 2u}) {
    EXPECT_EQ(Read(SectorOf(chunk) + 7), PackSector(SectorOf(chunk) + 7)) << chunk;
  }
  AwaitWholeDisk();
  for (u32 sector = 0; sector < 128; ++sector) EXPECT_EQ(Read(sector), PackSector(sector));
  EXPECT_EQ(gate->Arrivals(), 8u) << "raw chunks are not inflated";
}

TEST_F(DiskReaderTest, TheImageEndsWithItsLastChunkAndTheDiskWithItsLastSector) {
  CTestPack pack(DiskContent(4));
  pack.Disk().sectorCount = 26;
  ASSERT_TRUE(Load(pack));
  AwaitWholeDisk();
  EXPECT_EQ(Read(25), PackSector(25));
  for (const u32 sector : {26u, 31u, 32u}) {
    EXPECT_TRUE(Read(sector).empty());
    EXPECT_FALSE(Write(sector, 1));
  }
  const u8* const behind = m->diskImage.get() + 31 * 512;
  EXPECT_EQ(std::vector<u8>(behind, behind + 512), PackSector(31)) << "the chunk is whole";
}

TEST_F(DiskReaderTest, ChunksThatTheFileDoesNotHoldStayEmpty) {
  for (const u64 place : {u64{1} << 40, (u64{1} << 63) + 1}) {
    CTestPack pack(DiskContent(4));
    pack.Disk().firstChunkOffset = place;
    pack.chunkSizes[1] = 0;
    Gate(true);
    ASSERT_TRUE(Load(pack));
    AwaitWholeDisk();
    EXPECT_EQ(gate->Arrivals(), 0u) << "there is nothing to inflate";
    for (u32 sector = 0; sector < 32; ++sector) EXPECT_EQ(Read(sector), std::vector<u8>(512, 0));
  }
}

TEST_F(DiskReaderTest, AChunkThatIsCutOffStaysEmptyAndTheOthersArrive) {
  CTestPack pack(DiskContent(4));
  pack.chunkSizes[3] = 0xFFFF;  // beyond the file's end
  ASSERT_TRUE(Load(pack));
  AwaitWholeDisk();
  EXPECT_EQ(Read(23), PackSector(23));
  EXPECT_EQ(Read(24), std::vector<u8>(512, 0));
}

// --- The end of reading ------------------------------------------------------------------------

TEST_F(DiskReaderTest, WhatOnlyLoadingNeedsIsReleasedAtTheNextFrameStart) {
  LoadHeld(4);
  m->Reset();
  FinishDiskLoad(*m);
  EXPECT_NE(m->readerThread, nullptr) << "the disk is not in yet";
  Finish();
  EXPECT_NE(m->readerThread, nullptr);
  m->FrameStep();
  EXPECT_EQ(m->readerThread, nullptr);
  EXPECT_EQ(m->packFile, nullptr);
  EXPECT_EQ(m->chunkTable, nullptr);
  EXPECT_EQ(Read(31), PackSector(31));
  EXPECT_TRUE(Write(31, 1));
  Touch(2);
  EXPECT_EQ(m->wantedChunk.load(), kNoWantedChunk);
  FinishDiskLoad(*m);
}

TEST_F(DiskReaderTest, AStoppedReaderEndsBehindItsPresentChunk) {
  LoadHeld(16);
  gate->Pass(2);
  gate->AwaitArrivals(3);
  const SReaderThread* const reader = m->readerThread.get();
  std::thread stopper([&] { StopDiskReader(*m); });
  while (!reader->bStop) std::this_thread::yield();
  gate->Open();
  stopper.join();
  EXPECT_EQ(InflateOrder(), (Order{0, 1, 2}));
  EXPECT_EQ(m->bAllChunksLoaded, 0u) << "the disk is not whole";
  StopDiskReader(*m);
}

TEST_F(DiskReaderTest, UnloadingInTheMiddleOfTheLoadPutsEverythingBack) {
  LoadHeld(16);
  const SReaderThread* const reader = m->readerThread.get();
  std::thread opener([&] {
    while (!reader->bStop) std::this_thread::yield();
    gate->Open();
  });
  EXPECT_FALSE(m->LoadPack(nullptr));
  opener.join();
  EXPECT_EQ(gate->Arrivals(), 1u);
  EXPECT_EQ(m->readerThread, nullptr);
  EXPECT_EQ(m->packFile, nullptr);
  EXPECT_EQ(m->chunkTable, nullptr);
  EXPECT_EQ(m->dirtyBitmap, nullptr);
  EXPECT_EQ(m->diskImage, nullptr);
  EXPECT_EQ(m->bAllChunksLoaded, 0u);
  EXPECT_EQ(m->wantedChunk.load(), kNoWantedChunk);
  EXPECT_EQ(m->diskBytes + m->diskSectors + m->diskId, 0u);
  EXPECT_EQ(m->chunkBytes + m->chunkCount + m->sectorsPerChunk, 0u);
  EXPECT_EQ(m->packCylinders, 100u);
  EXPECT_EQ(m->packHeads, 10u);
  EXPECT_EQ(m->packSectorsPerTrack, 10u);
  EXPECT_TRUE(Read(0).empty());
}

TEST_F(DiskReaderTest, AMachineIsDestroyedWhileItsDiskIsBeingRead) {
  for (u32 round = 0; round < 20; ++round) {
    ASSERT_TRUE(Load(200));
    Touch(round * 9);
    Restart();
  }
}

}  // namespace
}  // namespace vx::test
