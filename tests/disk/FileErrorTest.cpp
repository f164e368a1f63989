// Errors of the file system at every operation on pack and overlay: the component answers, keeps
// what was saved, and recovers with the next chance.
#include "devices/DiskOverlay.h"
#include "devices/DiskStore.h"
#include "tests/disk/DiskTest.h"
#include "tests/disk/FaultyFiles.h"

namespace vx::test {
namespace {

const std::string kOverlayName = "vxhdd";
const std::string kPackName = "vxpack";

struct DiskErrorTest : CDiskTest {
  static constexpr EFileOp kAll[] = {
      EFileOp::Open,  EFileOp::Examine, EFileOp::Read,  EFileOp::Seek,   EFileOp::Write,
      EFileOp::Flush, EFileOp::Sync,    EFileOp::Close, EFileOp::Rename, EFileOp::Remove};
  // Runs something under each fault: every operation, the first call of it, each later one, and all
  // from each on. The operations of `needed` have to occur in it.
  template <typename TFunction>
  void UnderEveryFault(const std::string& name, std::initializer_list<EFileOp> needed,
                       TFunction function) {
    for (const EFileOp op : kAll) {
      for (const u32 count : {1u, 0xFFFFFFFFu}) {
        u32 first = 0;
        for (bool bHit = true; bHit; ++first) {
          SCOPED_TRACE(std::string(FileOpName(op)) + " " + std::to_string(first) +
                       (count == 1 ? " once" : " for ever"));
          bHit = function(SFault{op, first, count, name});
          if (HasFatalFailure()) return;
        }
        const bool bNeeded = std::find(needed.begin(), needed.end(), op) != needed.end();
        EXPECT_TRUE(!bNeeded || first > 1) << FileOpName(op) << " never occurred";
      }
    }
  }
};

TEST_F(DiskErrorTest, AFlushThatFailsAnywhereKeepsTheOldOverlayAndTheNextOneHoldsEverything) {
  ASSERT_TRUE(Load(40));
  AwaitWholeDisk();
  u8 generation = 0;
  UnderEveryFault(
      kOverlayName, {EFileOp::Open, EFileOp::Write, EFileOp::Flush, EFileOp::Sync, EFileOp::Rename},
      [&](const SFault& fault) {
        ++generation;
        Write(3, generation);
        PassFlushDelay();
        const std::vector<u8> before = ReadWhole(OverlayFile());
        const std::vector<u8> value(512, static_cast<u8>(generation + 1));
        Write(3, value);
        Write(generation % 320u, value);
        bool bHit = false;
        {
          const CFaultyFiles faulty(fault);
          PassFlushDelay();
          bHit = faulty.Failed() != 0;
        }
        EXPECT_EQ(m->flushDeadline, 0.0);
        const bool bWritten = ReadWhole(OverlayFile()) != before;
        EXPECT_TRUE(bWritten ? Overlay().sectors[3] == value : bHit);
        if (fault.op != EFileOp::Close) {
          EXPECT_NE(bWritten, bHit) << "what is not surely on the disk takes no overlay's place";
        }
        EXPECT_EQ(folder.Names().size(), 1u) << "a temporary stays";

        Write(319, 1);
        PassFlushDelay();
        EXPECT_EQ(Overlay().sectors[3], value);
        EXPECT_EQ(Overlay().sectors[generation % 320u],
                  generation % 320 == 319 ? Read(319) : value);
        EXPECT_EQ(folder.Names().size(), 1u);
        return bHit;
      });
}

TEST_F(DiskErrorTest, ATemporaryThatCannotBeRemovedIsTakenByTheNextFlush) {
  ASSERT_TRUE(Load(40));
  Write(3, 1);
  PassFlushDelay();
  const std::vector<u8> before = ReadWhole(OverlayFile());
  Write(3, 2);
  folder.Write(OverlayFile().filename().string() + ".new",
               "half of an overlay of a program killed");
  {
    const CFaultyFiles faulty({EFileOp::Rename, 0, 1, kOverlayName});
    PassFlushDelay();
  }
  EXPECT_EQ(ReadWhole(OverlayFile()), before);
  Write(4, 2);
  PassFlushDelay();
  EXPECT_EQ(Overlay().sectors.size(), 2u);
  EXPECT_EQ(folder.Names().size(), 1u);
}

TEST_F(DiskErrorTest, AnOverlayThatCannotBeReadIsNotAppliedByHalfAndStaysOnTheDisk) {
  ASSERT_TRUE(Load(40));
  Write(3, 0xEE);
  Write(300, 0xEE);
  m->LoadPack(nullptr);
  const std::vector<u8> file = ReadWhole(OverlayFile());
  const CPackFile pack{CTestPack(DiskContent(40))};
  UnderEveryFault(kOverlayName, {EFileOp::Open, EFileOp::Examine, EFileOp::Read},
                  [&](const SFault& fault) {
                    bool bHit = false;
                    {
                      const CFaultyFiles faulty(fault);
                      EXPECT_TRUE(m->LoadPack(pack.Path()));
                      bHit = faulty.Failed() != 0;
                    }
                    const bool bApplied = m->dirtyBitmap[0] != 0;
                    EXPECT_TRUE(bApplied || bHit);
                    const std::vector<u8> saved(512, 0xEE);
                    EXPECT_EQ(Read(3), bApplied ? saved : PackSector(3));
                    EXPECT_EQ(Read(300), bApplied ? saved : PackSector(300));
                    m->LoadPack(nullptr);
                    EXPECT_EQ(ReadWhole(OverlayFile()), file);
                    return bHit;
                  });
}

TEST_F(DiskErrorTest, APackThatCannotBeReadIsRefusedOrLoadedWithEmptyPlacesButNeverHolds) {
  SPackContent content = DiskContent(6);
  content.bEvenChunksRaw = true;
  const CPackFile pack{CTestPack(content)};
  UnderEveryFault(kPackName, {EFileOp::Open, EFileOp::Examine, EFileOp::Read, EFileOp::Seek},
                  [&](const SFault& fault) {
                    bool bHit = false;
                    bool bLoaded = false;
                    {
                      const CFaultyFiles faulty(fault);
                      bLoaded = m->LoadPack(pack.Path());
                      if (bLoaded) AwaitWholeDisk();
                      bHit = faulty.Failed() != 0;
                    }
                    EXPECT_EQ(m->IsLoaded(), bLoaded);
                    EXPECT_TRUE(bLoaded || bHit);
                    for (u32 sector = 0; sector < 48; ++sector) {
                      const std::vector<u8> contents = Read(sector);
                      EXPECT_EQ(contents.size(), bLoaded ? 512u : 0u);
                      EXPECT_TRUE(bHit || contents == PackSector(sector)) << sector;
                    }
                    m->LoadPack(nullptr);
                    return bHit;
                  });
  EXPECT_TRUE(m->LoadPack(pack.Path())) << "the errors have left nothing behind";
  EXPECT_EQ(Read(47), PackSector(47));
}

TEST_F(DiskErrorTest, AChunkThatCannotBeReadStaysEmptyAndTheOthersArriveAtTheirPlaces) {
  const CPackFile pack{CTestPack(DiskContent(6))};
  for (const EFileOp op : {EFileOp::Read, EFileOp::Seek}) {
    u32 before = 0;
    {
      Gate();
      const CFaultyFiles faulty({op, 0xFFFFFFFF, 1, kPackName});
      ASSERT_TRUE(m->LoadPack(pack.Path()));
      gate->AwaitArrivals(1);
      before = CFaultyFiles::Seen(op);
      // The next chunk wanted lies elsewhere, so that it takes a seek and a read.
      OnSectorTouched(3 * kSectorsPerTestChunk, m.get());
    }
    EXPECT_GT(before, 0u);
    const CFaultyFiles faulty({op, 0, 1, kPackName});
    gate->Open();
    AwaitWholeDisk();
    EXPECT_EQ(faulty.Failed(), 1u);
    for (u32 sector = 0; sector < 48; ++sector) {
      const bool bLost = sector / kSectorsPerTestChunk == 3;
      EXPECT_EQ(Read(sector), bLost ? std::vector<u8>(512) : PackSector(sector)) << sector;
    }
    m->LoadPack(nullptr);
    gate.reset();
  }
}

}  // namespace
}  // namespace vx::test
