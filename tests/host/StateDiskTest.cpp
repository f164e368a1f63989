// A guest that counts on its disk: whoever goes back in time takes back what it has written.
#include "host/StateDisk.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "host/Component.h"
#include "host/HostServices.h"
#include "host/PackCheck.h"
#include "host/Session.h"
#include "host/vxrun/RewindDeck.h"
#include "host/vxrun/RunAhead.h"
#include "tests/drive/DriveProgram.h"
#include "tests/support/TestPack.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {

namespace {

constexpr u32 kBlock = 0x4000;  // where the program keeps a sector, in low RAM
constexpr u32 kChunkBytes = 4096;
constexpr u32 kChunks = 40;

std::vector<u8> DiskContents() {
  std::vector<u8> disk(std::size_t{kChunks} * kChunkBytes);
  for (std::size_t i = 0; i < disk.size(); ++i) disk[i] = static_cast<u8>(i / 512 + i * 3);
  return disk;
}

// Again and again: takes a sector of the disk, adds 1 to its first word, gives it back. Two sectors
// take turns; the whole is kept in memory.
SPackContent CountingPack() {
  CDriveProgram code;
  code.AwaitDrive();
  const u32 loop = code.Here();
  for (const u32 sector : {3u, 40u}) {
    code.Select(0, 0, sector, 1).Command(0x20).AwaitDrive().TakeBlock(kBlock + 512 * sector);
    code.Point(kBlock + 512 * sector);
    code.Op(mips::Lhu(CGuestCode::kValue, 0, CGuestCode::kAddress));
    code.Op(mips::Addiu(CGuestCode::kValue, CGuestCode::kValue, 1));
    code.Op(mips::Sh(CGuestCode::kValue, 0, CGuestCode::kAddress));
    code.Select(0, 0, sector, 1).Command(0x30).AwaitDrive().GiveBlock(kBlock + 512 * sector);
    code.AwaitDrive();
  }
  code.BranchBack(loop);
  SPackContent content = PackOfCode(code.Words());
  content.chunkBytes = kChunkBytes;
  content.chunkCount = kChunks;
  content.bEvenChunksRaw = true;
  content.cylinders = 2;
  content.heads = 3;
  content.sectorsPerTrack = 50;
  content.disk = DiskContents();
  return content;
}

class StateDisk : public testing::Test {
 protected:
  StateDisk() {
    packPath = folder.Write("counting.qilhard", CTestPack(CountingPack()).Bytes()).string();
    CHostServices::Get().SetCacheFolder((folder / "cache").string());
    component.emplace(HOST_COMPONENT);
  }

  // A machine with a disk of its own; nothing is left of what others wrote.
  std::unique_ptr<CSession> Start() {
    std::filesystem::remove_all(folder / "cache");
    auto session = std::make_unique<CSession>(*component, SSessionHooks{});
    session->Start(packPath, CheckPack(packPath, PhysicalMemoryBytes()));
    return session;
  }
  static void Run(CSession& session, u32 frames = 1) {
    const SInputRecord records[2];
    for (u32 i = 0; i < frames; ++i) session.RunFrame(records, 2);
  }
  static u32 Count(CSession& session, u32 sector = 3) {
    const u8* const at = session.Machine().GetMemoryImage() + kBlock + 512 * sector;
    return static_cast<u32>(at[0] | at[1] << 8);
  }
  // The hash of each of so many frames of the game as it goes by itself.
  std::vector<u64> PlainHashes(u32 frames) {
    const auto session = Start();
    std::vector<u64> hashes;
    for (u32 i = 0; i < frames; ++i) {
      Run(*session);
      hashes.push_back(session->HashMachine());
    }
    EXPECT_GT(Count(*session), 5u);
    return hashes;
  }

  CTestFolder folder;
  std::string packPath;
  std::optional<CComponent> component;
};

TEST_F(StateDisk, RunAheadTakesBackWhatTheGuestWroteInFramesThatNeverWere) {
  constexpr u32 kFrames = 40;
  const std::vector<u64> plain = PlainHashes(kFrames);
  for (const u32 ahead : {1u, 4u}) {
    const auto session = Start();
    CRunAhead runAhead(*session, ahead);
    EFrameUse use = EFrameUse::Game;
    const SInputRecord records[2];
    for (u32 i = 0; i < kFrames; ++i) {
      Run(*session);
      ASSERT_EQ(session->HashMachine(), plain[i]) << "frame " << i + 1 << " ahead " << ahead;
      runAhead.Run(records, 2, use);
    }
  }
}

TEST_F(StateDisk, AfterARewindTheGuestFindsItsDiskAsItWas) {
  const auto session = Start();
  CRewindDeck rewind(*session, 60, 60.0);
  std::vector<u64> hashes = {0};
  for (u32 i = 0; i < 60; ++i) {
    Run(*session);
    hashes.push_back(session->HashMachine());
    rewind.EndFrame();
  }
  for (u32 round = 0; round < 14; ++round) {
    while (!rewind.StepBack()) {
    }
  }
  u64 frame = session->FrameCount();
  ASSERT_LT(frame, 20u);
  while (frame < 60) {
    Run(*session);
    ASSERT_EQ(session->HashMachine(), hashes[++frame]) << frame;
  }
}

TEST_F(StateDisk, AStateFromBeforeTheFirstWriteHasThePacksSectors) {
  const auto session = Start();
  CStateBuffer fresh;
  session->SaveState(fresh, true);
  Run(*session, 30);
  const u32 counted = Count(*session);
  CStateBuffer now;
  session->SaveState(now, true);
  ASSERT_TRUE(session->LoadState(fresh.Stream(), now.Stream()));
  Run(*session, 30);
  EXPECT_EQ(Count(*session), counted);
}

TEST_F(StateDisk, WithoutThePacksFileTheStateIsLoadedAllTheSame) {
  const auto session = Start();
  CStateBuffer fresh;
  session->SaveState(fresh, true);
  Run(*session, 30);
  CStateBuffer now;
  session->SaveState(now, true);
  std::filesystem::remove(packPath);
  EXPECT_TRUE(session->LoadState(fresh.Stream(), now.Stream()));
  EXPECT_EQ(session->FrameCount(), 0u);
}

TEST_F(StateDisk, NothingIsAddedWhereNothingWasWritten) {
  const auto session = Start();
  CStateBuffer fresh;
  session->SaveState(fresh, true);
  Run(*session, 30);
  CStateBuffer now;
  session->SaveState(now, true);
  CPackDisk disk(packPath);
  EXPECT_FALSE(AddLostSectors(now.Stream(), now.Stream(), disk));
  EXPECT_FALSE(AddLostSectors(now.Stream(), fresh.Stream(), disk));
  const auto made = AddLostSectors(fresh.Stream(), now.Stream(), disk);
  ASSERT_TRUE(made);
  EXPECT_EQ(made->size(), fresh.Stream().size() + 2 * kSectorBytes);
  EXPECT_FALSE(AddLostSectors({}, now.Stream(), disk));
}

TEST_F(StateDisk, ThePacksDiskIsReadSectorBySector) {
  CPackDisk disk(packPath);
  const std::vector<u8> contents = DiskContents();
  u8 sector[kSectorBytes];
  for (u64 i = 0; i < contents.size() / kSectorBytes; i += 3) {
    ASSERT_TRUE(disk.ReadSector(i, sector));
    EXPECT_EQ(std::memcmp(sector, contents.data() + i * kSectorBytes, kSectorBytes), 0) << i;
  }
  EXPECT_FALSE(disk.ReadSector(contents.size() / kSectorBytes, sector));
  EXPECT_FALSE(disk.ReadSector(~u64{0}, sector));
}

TEST_F(StateDisk, APackThatIsGoneOrShortGivesNoSector) {
  u8 sector[kSectorBytes];
  CPackDisk gone((folder / "none").string());
  EXPECT_FALSE(gone.ReadSector(0, sector));
  CPackDisk cut(packPath);
  ASSERT_TRUE(cut.ReadSector(0, sector));
  std::filesystem::resize_file(packPath, 700);
  EXPECT_FALSE(cut.ReadSector(300, sector));
}

}  // namespace
}  // namespace vx::test
