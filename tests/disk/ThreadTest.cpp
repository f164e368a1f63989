// What other threads do to a machine while its disk is being read: input, settings and the reader
// itself. Meant to be run under a thread sanitizer; it holds without one too.
#include <atomic>
#include <thread>

#include "tests/drive/DriveProgram.h"
#include "tests/support/BoundaryTest.h"
#include "tests/tools/TestFolder.h"

namespace vx::test {
namespace {

// The guest reads and writes sectors all over the disk without end.
struct DiskThreadTest : CBoundaryTest {
  CTestFolder folder;
  SPackContent content;

  DiskThreadTest() {
    host.cachePath = folder.Path().wstring() + L"/";
    content = PackOfCode(DriveProgram().Words());
    content.chunkCount = 200;
    content.disk.resize(content.chunkCount * content.chunkBytes);
    for (size_t i = 0; i < content.disk.size(); i += 512) {
      content.disk[i] = static_cast<u8>(i >> 9);
      content.disk[i + 1] = static_cast<u8>(i >> 17);
    }
  }

  // For ever: write one sector and read another, in tracks far from each other.
  static CDriveProgram DriveProgram() {
    constexpr u32 kRound = 16, kTrack = 17;  // s0, s1
    constexpr u32 kBlock = 0x4000;
    CDriveProgram code;
    code.AwaitDrive();
    code.Set(kRound, 0);
    const u32 again = code.Here();
    for (const bool bWrite : {true, false}) {
      code.Op(mips::Addiu(kRound, kRound, 7));
      code.Select(0, 0, 5, 1);
      code.Op(mips::Andi(kTrack, kRound, 1));
      code.Point(CDriveProgram::kCylinderLow).Op(mips::Sb(kTrack, 0, CGuestCode::kAddress));
      code.Op(mips::Andi(kTrack, kRound, 7));
      code.Point(CDriveProgram::kDriveHead).Op(mips::Sb(kTrack, 0, CGuestCode::kAddress));
      if (bWrite) {
        code.Command(0x30).GiveBlock(kBlock).AwaitDrive();
      } else {
        code.Command(0x20).AwaitDrive().TakeBlock(kBlock);
      }
    }
    code.KeepRegister(kRound, 0);
    code.BranchBack(again);
    return code;
  }
};

TEST_F(DiskThreadTest, InputAndSettingsFromASecondThreadDisturbNeitherGuestNorReader) {
  const CPackFile pack{CTestPack(content)};
  std::atomic<bool> bDone{false};
  std::atomic<u32> rounds{0};
  std::thread other([&] {
    const SSettingList* const list = table.GetSettings();
    SConfigBlob blob;
    for (u32 i = 0; !bDone; ++i) {
      SInputRecord input;
      input.padBits = i;
      input.systemBits = i >> 3 & 0x1F8;
      machine->SetInput(&input, 1);
      for (SSettingRecord* record = list->begin; record != list->end; ++record) {
        if (record->kind == ESettingKind::Integer) {
          std::atomic_ref<u32>(*static_cast<u32*>(record->current)) = i >> 2 & 1;
        } else {
          std::atomic_ref<u8>(*static_cast<u8*>(record->current)) = static_cast<u8>(i >> 4 & 1);
        }
      }
      machine->ApplySettings();
      table.SaveConfigBlob(&blob);
      table.LoadConfigBlob(&blob, sizeof(blob));
      ++rounds;
      std::this_thread::yield();
    }
  });
  for (u32 load = 0; load < 6; ++load) {
    EXPECT_TRUE(machine->LoadPack(pack.Path()));
    machine->Reset();
    for (u32 frame = 0; frame < 4; ++frame) {
      host.clockMs = host.clockMs + 150.0;
      machine->RunFrame();
    }
    EXPECT_GT(Result(0), 0u) << "the guest has moved sectors";
    if (load % 2 == 0) machine->LoadPack(nullptr);
  }
  while (rounds == 0) std::this_thread::yield();
  bDone = true;
  other.join();
}

TEST_F(DiskThreadTest, PacksCanBeLoadedAndDroppedWhileTheirDisksAreStillBeingRead) {
  const CPackFile pack{CTestPack(content)};
  for (u32 load = 0; load < 60; ++load) {
    EXPECT_TRUE(machine->LoadPack(pack.Path()));
    if (load % 3 == 0) machine->Reset();
    if (load % 4 == 0) machine->LoadPack(nullptr);
  }
}

TEST_F(DiskThreadTest, TwoMachinesReadAndSaveSideBySide) {
  const CPackFile pack{CTestPack(content)};
  CTestPack otherContent(content);
  otherContent.Disk().hash += 1;
  const CPackFile otherPack{otherContent};
  CQuillonMachineBase* const second = table.CreateMachine();
  const auto run = [](CQuillonMachineBase* board, const CPackFile& file) {
    for (u32 load = 0; load < 2; ++load) {
      board->LoadPack(file.Path());
      board->Reset();
      for (u32 frame = 0; frame < 3; ++frame) board->RunFrame();
    }
    board->LoadPack(nullptr);
  };
  host.Api().AcquireFrameBuffer = nullptr;  // the test host has one frame buffer
  std::thread beside([&] { run(second, otherPack); });
  run(machine, pack);
  beside.join();
  table.DestroyMachine(second);
  EXPECT_EQ(folder.Names().size(), 2u) << "an overlay each";
}

}  // namespace
}  // namespace vx::test
