// The delta stream as save states carry it: measured, written, applied, refused, damaged.
#include <random>

#include "devices/DiskOverlay.h"
#include "devices/DiskStore.h"
#include "tests/disk/DiskTest.h"

namespace vx::test {
namespace {

struct DiskDeltaTest : CDiskTest {
  DiskDeltaTest() {
    EXPECT_TRUE(Load(40));
    AwaitWholeDisk();
  }
  std::vector<u8> Delta() const {
    SStateStream stream;
    WriteDelta(*m, stream);
    std::vector<u8> bytes(stream.position);
    stream = {bytes.data(), static_cast<u32>(bytes.size()), 0, 0};
    WriteDelta(*m, stream);
    EXPECT_EQ(stream.position, bytes.size());
    return bytes;
  }
  bool Apply(std::vector<u8> bytes) {
    SStateStream stream{bytes.data(), static_cast<u32>(bytes.size()), 0, 0};
    const bool bApplied = ApplyDelta(*m, stream);
    EXPECT_LE(stream.position, stream.capacity);
    return bApplied;
  }
  static SOverlay Of(const std::vector<u64>& sectors, u8 value) {
    SOverlay overlay;
    overlay.bitmapWords = 5;
    overlay.lastWord = 4;
    for (const u64 sector : sectors) overlay.sectors[sector] = std::vector<u8>(512, value);
    return overlay;
  }
  // The bitmap is of the disk's size, and its range inside it, or there is none.
  void ExpectSound() {
    if (m->dirtyBitmap == nullptr) {
      EXPECT_EQ(m->deltaHeader.bitmapWords, 0u);
      return;
    }
    EXPECT_EQ(m->deltaHeader.bitmapWords, RequiredBitmapWords(*m));
    EXPECT_LE(m->deltaHeader.firstDirtyWord, m->deltaHeader.lastDirtyWord);
    EXPECT_LT(m->deltaHeader.lastDirtyWord, m->deltaHeader.bitmapWords);
  }
};

TEST_F(DiskDeltaTest, AStreamWithoutRoomMeasures) {
  Write(3, 1);
  Write(300, 2);
  SStateStream stream;
  WriteDelta(*m, stream);
  EXPECT_EQ(stream.position, 24 + 5 * 8 + 2 * 512u);
}

TEST_F(DiskDeltaTest, ItemsThatWouldCrossTheCapacityAreSkippedAndCountedAllTheSame) {
  Write(3, 1);
  Write(4, 2);
  const std::vector<u8> whole = Delta();
  for (u32 capacity = 0; capacity <= whole.size(); ++capacity) {
    std::vector<u8> bytes(whole.size() + 16, 0xEE);
    SStateStream stream{bytes.data(), capacity, 0, 0};
    WriteDelta(*m, stream);
    ASSERT_EQ(stream.position, whole.size());
    // Header, bitmap, sector, sector: each is there whole or not at all.
    u32 end = 0;
    for (const u32 next : {24u, 32u, 544u, 1056u}) end = next <= capacity ? next : end;
    ASSERT_TRUE(std::equal(whole.begin(), whole.begin() + end, bytes.begin())) << capacity;
    ASSERT_TRUE(std::all_of(bytes.begin() + end, bytes.end(), [](u8 b) { return b == 0xEE; }))
        << capacity;
  }
}

TEST_F(DiskDeltaTest, WithoutADiskTheDeltaIsAnEmptyHeader) {
  m->LoadPack(nullptr);
  EXPECT_EQ(Delta(), std::vector<u8>(24));
}

TEST_F(DiskDeltaTest, ADeltaBringsItsSectorsBack) {
  Write(3, 1);
  Write(300, 2);
  const std::vector<u8> saved = Delta();
  Write(3, 9);
  EXPECT_TRUE(Apply(saved));
  EXPECT_EQ(Read(3), std::vector<u8>(512, 1));
  EXPECT_EQ(Delta(), saved);
}

TEST_F(DiskDeltaTest, ASectorThatIsDirtyNowButNotInTheDeltaKeepsItsContents) {
  Write(3, 1);
  const std::vector<u8> saved = Delta();
  Write(5, 7);
  EXPECT_TRUE(Apply(saved));
  EXPECT_EQ(Read(5), std::vector<u8>(512, 7));
  EXPECT_EQ(m->dirtyBitmap[0], u64{1} << 3);
}

TEST_F(DiskDeltaTest, BitmapWordsOutsideTheRangeStay) {
  Write(3, 1);
  Write(300, 2);
  SOverlay overlay = Of({130}, 5);
  overlay.firstWord = overlay.lastWord = 2;
  EXPECT_TRUE(Apply(DeltaBytes(overlay)));
  EXPECT_EQ(m->dirtyBitmap[0], u64{1} << 3);
  EXPECT_EQ(m->dirtyBitmap[2], u64{1} << 2);
  EXPECT_EQ(m->dirtyBitmap[4], u64{1} << 44);
  EXPECT_EQ(m->deltaHeader.firstDirtyWord, 2u);
  EXPECT_EQ(m->deltaHeader.lastDirtyWord, 2u);
}

TEST_F(DiskDeltaTest, ADeltaOfNoDiskFreesTheBitmap) {
  Write(3, 1);
  EXPECT_TRUE(Apply(std::vector<u8>(24)));
  EXPECT_EQ(m->dirtyBitmap, nullptr);
  EXPECT_EQ(m->deltaHeader.bitmapWords, 0u);
  EXPECT_EQ(Read(3), std::vector<u8>(512, 1));
  EXPECT_EQ(Delta(), std::vector<u8>(24));
  EXPECT_TRUE(Apply(DeltaBytes(Of({9}, 6)))) << "and a later delta brings a bitmap again";
  EXPECT_EQ(m->dirtyBitmap[0], u64{1} << 9);
}

TEST_F(DiskDeltaTest, AWriteAfterADeltaOfNoDiskBringsABitmapAndReachesTheOverlay) {
  EXPECT_TRUE(Apply(std::vector<u8>(24)));
  EXPECT_TRUE(Write(4, 1));
  EXPECT_EQ(m->deltaHeader.bitmapWords, 5u);
  PassFlushDelay();
  EXPECT_TRUE(HasOverlay());
}

TEST_F(DiskDeltaTest, AStreamTooShortForAHeaderLeavesEverythingAsItIs) {
  Write(3, 1);
  const std::vector<u8> before = Delta();
  for (u32 bytes = 0; bytes < 24; ++bytes) {
    EXPECT_TRUE(Apply(std::vector<u8>(bytes, 0xFF)));
    EXPECT_EQ(Delta(), before);
  }
}

TEST_F(DiskDeltaTest, ADeltaOfAnotherDiskIsRefusedAndChangesNothing) {
  Write(3, 1);
  const std::vector<u8> before = Delta();
  for (const u32 words : {1u, 4u, 6u, 0xFFFFFFFFu}) {
    SOverlay overlay = Of({9}, 6);
    overlay.lastWord = 0;
    overlay.bitmapWords = words;
    EXPECT_FALSE(Apply(DeltaBytes(overlay)));
    EXPECT_EQ(Delta(), before);
    EXPECT_EQ(Read(9), PackSector(9));
  }
}

TEST_F(DiskDeltaTest, ADeltaIsReadFromTheStreamsPositionOn) {
  const std::vector<u8> delta = DeltaBytes(Of({9}, 6));
  std::vector<u8> bytes(10, 0xCC);
  bytes.insert(bytes.end(), delta.begin(), delta.end());
  bytes.resize(bytes.size() + 10, 0xCC);
  SStateStream stream{bytes.data(), static_cast<u32>(bytes.size()), 10, 0};
  EXPECT_TRUE(ApplyDelta(*m, stream));
  EXPECT_EQ(stream.position, 10 + delta.size());
  EXPECT_EQ(Read(9), std::vector<u8>(512, 6));
}

TEST_F(DiskDeltaTest, ADeltaThatIsCutOffIsAppliedAsFarAsItGoes) {
  const std::vector<u8> whole = DeltaBytes(Of({3, 300}, 6));
  for (u32 bytes = 24; bytes < whole.size(); bytes += bytes < 80 ? 1 : 37) {
    ASSERT_TRUE(Load(40));
    ASSERT_TRUE(Apply({whole.begin(), whole.begin() + bytes}));
    ExpectSound();
    const bool bFirst = bytes >= 24 + 40 + 512;
    ASSERT_EQ(Read(3), bFirst ? std::vector<u8>(512, 6) : PackSector(3)) << bytes;
    ASSERT_EQ(Read(300), PackSector(300)) << bytes;
  }
}

// --- Damage ------------------------------------------------------------------------------------

struct DiskDamageTest : DiskDeltaTest {
  std::mt19937 random{20};

  std::vector<u8> Damaged() {
    std::vector<u64> sectors;
    for (u32 i = random() % 12; i != 0; --i) sectors.push_back(random() % 320);
    std::vector<u8> bytes = DeltaBytes(Of(sectors, static_cast<u8>(random())));
    for (u32 i = random() % 4; i != 0; --i) {
      const u64 place = random() % (random() % 2 == 0 ? 64 : bytes.size());
      bytes[place] = random() % 3 == 0 ? 0xFF : static_cast<u8>(random());
    }
    if (random() % 4 == 0) bytes.resize(random() % (bytes.size() + 600));
    return bytes;
  }
};

TEST_F(DiskDamageTest, ADamagedDeltaIsRefusedOrLeavesASoundDisk) {
  for (u32 round = 0; round < 20000; ++round) {
    const std::vector<u8> before = Delta();
    if (!Apply(Damaged())) {
      ASSERT_EQ(Delta(), before) << round;
    }
    ExpectSound();
    const auto parsed = ParseDelta(Delta());
    // The reserved words of a header are kept as they came.
    ASSERT_TRUE(parsed || m->deltaHeader.reserved0 != 0 || m->deltaHeader.reserved20 != 0) << round;
    if (parsed) {
      for (const auto& [sector, contents] : parsed->sectors) ASSERT_EQ(Read(sector), contents);
    }
    if (m->dirtyBitmap == nullptr) Apply(DeltaBytes(Of({}, 0)));
  }
}

TEST_F(DiskDamageTest, ADamagedOverlayNeverKeepsAPackFromLoading) {
  const CPackFile pack{CTestPack(DiskContent(40))};
  for (u32 round = 0; round < 400; ++round) {
    std::vector<u8> file = OverlayBytes(Damaged());
    if (random() % 2 == 0) file[random() % 24] ^= static_cast<u8>(1 << random() % 8);
    PutOverlay(file);
    ASSERT_TRUE(m->LoadPack(pack.Path()));
    ExpectSound();
    ASSERT_NE(m->dirtyBitmap, nullptr);
    ASSERT_EQ(Read(random() % 320).size(), 512u);
  }
}

}  // namespace
}  // namespace vx::test
