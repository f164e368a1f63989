// When the overlay is written, and what stands in it.
#include "devices/DiskOverlay.h"
#include "devices/DiskStore.h"
#include "tests/disk/DiskTest.h"

namespace vx::test {
namespace {

struct DiskFlushTest : CDiskTest {
  DiskFlushTest() {
    EXPECT_TRUE(Load(40));  // 320 sectors: five words of the bitmap
    AwaitWholeDisk();
  }
  void FrameAt(f64 clockMs) {
    host.clockMs = clockMs;
    m->FrameStep();
  }
  u32 FlushMessages() const {
    u32 count = 0;
    for (const SHostLogLine& line : host.LogLines()) {
      count += line.text.starts_with("Flushed qilhardchunk: ");
    }
    return count;
  }
  // The tests that fail make folders of this name, so that no file can take their place.
  void BlockOverlay() { std::filesystem::create_directory(OverlayFile()); }
};

TEST_F(DiskFlushTest, AFlushComesWhenTwoHundredUnitsAreOverAndNotBefore) {
  host.clockMs = 1000.0;
  Write(3, 1);
  EXPECT_EQ(m->flushDeadline, 1200.0);
  FrameAt(1199.9);
  EXPECT_FALSE(HasOverlay());
  FrameAt(1200.0);
  EXPECT_FALSE(HasOverlay()) << "the deadline has to be passed";
  FrameAt(1200.1);
  EXPECT_TRUE(HasOverlay());
  EXPECT_EQ(m->flushDeadline, 0.0);
}

TEST_F(DiskFlushTest, ASecondWriteWithinTheDelayMovesTheDeadlineAndOneFlushResults) {
  host.clockMs = 1000.0;
  Write(3, 1);
  host.clockMs = 1150.0;
  Write(4, 2);
  EXPECT_EQ(m->flushDeadline, 1350.0);
  FrameAt(1300.0);
  EXPECT_FALSE(HasOverlay());
  FrameAt(1351.0);
  FrameAt(9000.0);
  EXPECT_EQ(FlushMessages(), 1u);
  EXPECT_EQ(Overlay().sectors.size(), 2u);
}

TEST_F(DiskFlushTest, ARefusedWriteStartsNoFlush) {
  EXPECT_FALSE(Write(320, 1));
  EXPECT_EQ(m->flushDeadline, 0.0);
}

TEST_F(DiskFlushTest, TheFileHoldsHeaderBitmapAndSectorsInRisingOrder) {
  Write(70, 0xB0);
  Write(255, 0xC0);
  Write(3, 0xA0);
  Write(70, 0xB1);
  PassFlushDelay();
  SOverlay expected;
  expected.bitmapWords = 5;
  expected.firstWord = 0;
  expected.lastWord = 3;
  expected.sectors = {{3, std::vector<u8>(512, 0xA0)},
                      {70, std::vector<u8>(512, 0xB1)},
                      {255, std::vector<u8>(512, 0xC0)}};
  EXPECT_EQ(ReadWhole(OverlayFile()), OverlayBytes(expected));
}

TEST_F(DiskFlushTest, TheDeltaBeginsAtTheFirstWordOfTheBitmapWhateverIsDirty) {
  Write(319, 1);
  PassFlushDelay();
  EXPECT_EQ(Overlay().firstWord, 0u);
  EXPECT_EQ(Overlay().lastWord, 4u);
}

TEST_F(DiskFlushTest, EachFlushHoldsAllThatWasWrittenSinceTheStart) {
  Write(3, 1);
  PassFlushDelay();
  Write(200, 2);
  PassFlushDelay();
  EXPECT_EQ(Overlay().sectors.size(), 2u);
  EXPECT_EQ(FlushMessages(), 2u);
}

TEST_F(DiskFlushTest, TwoFlushesInARowGiveTheSameFile) {
  Write(3, 1);
  Write(300, 2);
  FlushPendingOverlay(*m);
  const std::vector<u8> first = ReadWhole(OverlayFile());
  std::filesystem::remove(OverlayFile());
  FlushPendingOverlay(*m);
  EXPECT_EQ(ReadWhole(OverlayFile()), first);
}

TEST_F(DiskFlushTest, AFlushTellsFileAndSizeAsInformation) {
  Write(3, 1);
  PassFlushDelay();
  const SHostLogLine line = host.LogLines().back();
  EXPECT_EQ(line.level, 0);
  EXPECT_EQ(line.text, "Flushed qilhardchunk: " + OverlayFile().string() + " (delta size: 544)\n");
}

TEST_F(DiskFlushTest, NothingButTheOverlayIsLeftInTheFolder) {
  Write(3, 1);
  PassFlushDelay();
  Write(4, 1);
  PassFlushDelay();
  EXPECT_EQ(folder.Names(), std::vector<std::string>{OverlayFile().filename().string()});
}

TEST_F(DiskFlushTest, ADeltaBeyondTwoMebibytesIsWrittenWhole) {
  ASSERT_TRUE(Load(600));
  SOverlay expected;
  expected.bitmapWords = expected.lastWord = 75;
  --expected.lastWord;
  for (u32 sector = 0; sector < 4800; ++sector) {
    std::vector<u8> contents(512, static_cast<u8>(sector));
    contents[7] = static_cast<u8>(sector >> 8);
    Write(sector, contents);
    expected.sectors[sector] = contents;
  }
  PassFlushDelay();
  EXPECT_EQ(Overlay(), expected);
}

TEST_F(DiskFlushTest, WithFlushingOffTheDeadlineIsClearedAndNoFileIsWritten) {
  m->bDiskFlush = 0;
  Write(3, 1);
  PassFlushDelay();
  EXPECT_EQ(m->flushDeadline, 0.0);
  EXPECT_TRUE(folder.Names().empty());
  EXPECT_EQ(Read(3), std::vector<u8>(512, 1)) << "the image keeps it";
  m->bDiskFlush = 1;
  PassFlushDelay();
  EXPECT_FALSE(HasOverlay()) << "the next write brings the next flush";
  Write(4, 2);
  PassFlushDelay();
  EXPECT_EQ(Overlay().sectors.size(), 2u);
}

TEST_F(DiskFlushTest, AFlushThatFailsIsSilentAndTheNextOneHoldsEverything) {
  BlockOverlay();
  Write(3, 1);
  const size_t lines = host.LogLines().size();
  PassFlushDelay();
  EXPECT_EQ(m->flushDeadline, 0.0);
  EXPECT_EQ(host.LogLines().size(), lines);
  EXPECT_EQ(folder.Names().size(), 1u) << "no temporary stays";
  std::filesystem::remove(OverlayFile());
  PassFlushDelay();
  EXPECT_FALSE(HasOverlay());
  Write(4, 2);
  PassFlushDelay();
  EXPECT_EQ(Overlay().sectors.size(), 2u);
}

TEST_F(DiskFlushTest, AFolderThatDoesNotExistCostsNothingButTheFlush) {
  host.cachePath = folder.Path().wstring() + L"/missing/";
  Write(3, 1);
  PassFlushDelay();
  EXPECT_TRUE(folder.Names().empty());
  host.cachePath = folder.Path().wstring() + L"/";
  Write(4, 1);
  PassFlushDelay();
  EXPECT_EQ(Overlay().sectors.size(), 2u);
}

TEST_F(DiskFlushTest, UnloadingWritesWhatIsPendingAndOnlyThat) {
  Write(3, 1);
  m->LoadPack(nullptr);
  EXPECT_EQ(Overlay().sectors.size(), 1u);
  EXPECT_EQ(m->flushDeadline, 0.0);
  std::filesystem::remove(OverlayFile());
  Load(40);
  m->LoadPack(nullptr);
  EXPECT_FALSE(HasOverlay());
}

TEST_F(DiskFlushTest, DestructionWritesWhatIsPending) {
  Write(3, 1);
  m.reset();
  EXPECT_EQ(Overlay().sectors.size(), 1u);
}

TEST_F(DiskFlushTest, WithFlushingOffDestructionWritesNothing) {
  m->bDiskFlush = 0;
  Write(3, 1);
  m.reset();
  EXPECT_TRUE(folder.Names().empty());
}

TEST_F(DiskFlushTest, AnUnloadWhileTheReaderIsAtWorkWritesTheOverlayFirst) {
  Gate();
  ASSERT_TRUE(Load(40));
  gate->Pass(1);
  gate->AwaitArrivals(2);
  Write(3, 9);  // in the one chunk that is in
  const SReaderThread* const reader = m->readerThread.get();
  std::thread opener([&] {
    while (!reader->bStop) std::this_thread::yield();
    EXPECT_TRUE(HasOverlay());
    gate->Open();
  });
  m->LoadPack(nullptr);
  opener.join();
  EXPECT_EQ(Overlay().sectors.size(), 1u);
}

TEST_F(DiskFlushTest, AClonesWriteMarksItsBitmapButStartsNoFlush) {
  const MachinePtr clone(new CVXMachine);
  clone->parent = m.get();
  clone->diskImage = m->diskImage;
  clone->diskBytes = m->diskBytes;
  clone->diskSectors = m->diskSectors;
  clone->chunkBytes = m->chunkBytes;
  clone->chunkCount = m->chunkCount;
  clone->sectorsPerChunk = m->sectorsPerChunk;
  clone->diskId = m->diskId;
  clone->bAllChunksLoaded = 1;
  clone->Reset();
  const std::vector<u8> contents(512, 0x77);
  EXPECT_EQ(WriteSector(contents.data(), 9, clone.get()), 512u);
  EXPECT_EQ(clone->flushDeadline, 0.0);
  EXPECT_EQ(clone->dirtyBitmap[0], u64{1} << 9);
  EXPECT_EQ(m->dirtyBitmap[0], 0u);
  EXPECT_EQ(Read(9), contents) << "the image is shared";
  clone->parent = nullptr;
}

// --- The file's place --------------------------------------------------------------------------

TEST_F(DiskFlushTest, TheFolderMayEndInASlashABackslashOrNeither) {
  const std::wstring plain = folder.Path().wstring();
  for (const wchar_t* end : {L"/", L"\\", L""}) {
    host.cachePath = plain + end;
    Write(3, 1);
    PassFlushDelay();
    EXPECT_TRUE(HasOverlay());
    EXPECT_EQ(folder.Names().size(), 1u);
    std::filesystem::remove(OverlayFile());
  }
  EXPECT_NE(host.LogLines().back().text.find(folder.Path().string() + "\\vxhdd"), std::string::npos)
      << "the message shows the path as it was built";
}

TEST_F(DiskFlushTest, TheFolderMayHaveANameOfAnyLanguage) {
  const std::filesystem::path place = folder.Path() / std::filesystem::path(u8"spiel\u00E4\u4E16");
  std::filesystem::create_directory(place);
  host.cachePath = folder.Path().wstring() + L"/spiel\u00E4\u4E16";
  Write(3, 1);
  PassFlushDelay();
  EXPECT_TRUE(std::filesystem::exists(place / OverlayFile().filename()));
}

TEST_F(DiskFlushTest, TheNameHoldsTheDisksIdentityInSixteenCapitals) {
  CTestPack pack(DiskContent(40));
  pack.Disk().hash = 0xABCDEF0123;
  ASSERT_TRUE(Load(pack));
  Write(0, 1);
  PassFlushDelay();
  EXPECT_EQ(folder.Names(), std::vector<std::string>{"vxhdd000000ABCDEF0123.qilhardchunk"});
}

}  // namespace
}  // namespace vx::test
