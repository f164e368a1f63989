// A disk of a gibibyte, most of it empty: the machine starts before more than a chunk of it has
// been inflated.
#include "devices/DiskStore.h"
#include "tests/disk/DiskTest.h"

namespace vx::test {
namespace {

constexpr u32 kChunkBytes = 65536;
constexpr u32 kChunks = 16384;
constexpr u32 kMarkedChunk = 16000;

// One packed empty chunk again and again, and one that holds something.
CTestPack LargePack() {
  SPackContent content;
  content.chunkBytes = kChunkBytes;
  content.chunkCount = 2;
  content.disk.resize(2 * kChunkBytes);
  content.disk[kChunkBytes + 512] = 0x42;
  CTestPack pack(content);
  SPackDiskEntry& disk = pack.Disk();
  const u32 emptyBytes = pack.chunkSizes[0];
  const u32 markedBytes = pack.chunkSizes[1];
  const auto marked = pack.data.end() - markedBytes;
  const std::vector<u8> markedChunk(marked, pack.data.end());
  const std::vector<u8> emptyChunk(marked - emptyBytes, marked);
  pack.data.resize(pack.data.size() - emptyBytes - markedBytes);
  pack.chunkSizes.clear();
  for (u32 i = 0; i < kChunks; ++i) {
    const std::vector<u8>& chunk = i == kMarkedChunk ? markedChunk : emptyChunk;
    pack.data.insert(pack.data.end(), chunk.begin(), chunk.end());
    pack.chunkSizes.push_back(static_cast<u16>(chunk.size()));
  }
  disk.chunkCount = kChunks;
  disk.sectorCount = kChunks * (kChunkBytes / 512);
  disk.sizeTableOffset = disk.firstChunkOffset;
  for (const u16 size : pack.chunkSizes) disk.sizeTableOffset += size;
  return pack;
}

struct DiskLargeTest : CDiskTest {
  DiskLargeTest() {
    Gate();
    EXPECT_TRUE(Load(LargePack()));
  }
};

TEST_F(DiskLargeTest, ThePackStartsWithoutWaitingForOneChunk) {
  m->Reset();
  m->FrameStep();
  gate->AwaitArrivals(1);
  EXPECT_EQ(gate->Arrivals(), 1u);
  EXPECT_TRUE(gate->Targets().empty()) << "not even the first chunk was let through";
  EXPECT_EQ(m->state.frameNumber, 1u);
  EXPECT_EQ(m->bAllChunksLoaded, 0u);
}

TEST_F(DiskLargeTest, ASectorAtTheFarEndCostsItsOwnChunkAlone) {
  gate->AwaitArrivals(1);
  std::vector<u8> contents;
  std::thread guest([&] { contents = Read(kMarkedChunk * 128 + 1); });
  while (m->wantedChunk != kMarkedChunk) std::this_thread::yield();
  gate->Pass(2);
  guest.join();
  EXPECT_EQ(contents[0], 0x42u);
  EXPECT_EQ(InflateOrder(), (std::vector<u32>{0, kMarkedChunk}));
}

TEST_F(DiskLargeTest, TheOverlayOfAWriteAtTheFarEndHoldsOneSector) {
  gate->Open();
  const u64 last = u64{kChunks} * 128 - 1;
  EXPECT_TRUE(Write(last, 0x99));
  PassFlushDelay();
  const SOverlay overlay = Overlay();
  EXPECT_EQ(overlay.bitmapWords, kChunks * 2u);
  ASSERT_EQ(overlay.sectors.size(), 1u);
  EXPECT_EQ(overlay.sectors.begin()->first, last);
}

}  // namespace
}  // namespace vx::test
