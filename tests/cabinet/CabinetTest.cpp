// The open cabinet boots on both boards, passes its own tests and draws a steady picture.
#include <xxhash.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "guest/selftest_block.h"
#include "tests/cabinet/AllocationCount.h"
#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

constexpr u32 kSteadyFrames = 600;
constexpr u32 kMostBootFrames = 1200;

struct CabinetTest : CBoundaryTest {
  void BootCabinet(char letter) {
    std::wstring path = std::wstring(L"" VX_GUEST_FOLDER) + L"opencabinet_";
    path += static_cast<wchar_t>(letter);
    path += L".qilhard";
    ASSERT_TRUE(machine->LoadPack(path.c_str()));
    machine->Reset();
    machine->ApplySettings();
  }
  SSelfTestBlock Block() const {
    SSelfTestBlock block;
    std::memcpy(&block, Memory() + kSelfTestBlockPhysical, sizeof(block));
    return block;
  }
  // Runs until the power-on tests are over.
  void RunToAttract() {
    for (u32 frame = 0; frame < kMostBootFrames && Block().state != kSelfTestAttract; ++frame) {
      machine->RunFrame();
    }
    ASSERT_EQ(Block().state, u32{kSelfTestAttract});
  }
  u64 PictureHash() const { return XXH3_64bits(host.picture.data(), kPicturePixels * sizeof(u32)); }
};

struct CabinetBoardTest : CabinetTest, testing::WithParamInterface<char> {};

TEST_P(CabinetBoardTest, PassesEveryCheckOfItsPowerOnTest) {
  BootCabinet(GetParam());
  RunToAttract();
  const SSelfTestBlock block = Block();
  EXPECT_EQ(block.magic, u32{kSelfTestMagic});
  EXPECT_EQ(block.version, u32{kSelfTestVersion});
  EXPECT_EQ(block.boardLayout, static_cast<u32>(GetParam() - 'a' + 'A'));
  EXPECT_GT(block.testsRun, 0u);
  EXPECT_EQ(block.testsPassed, block.testsRun);
  EXPECT_EQ(block.firstFailedTest, 0u)
      << std::hex << "got " << block.firstFailedGot << ", wanted " << block.firstFailedWanted;
  EXPECT_EQ(block.romChecksum, block.romChecksumStored);
  EXPECT_EQ(block.faultCause, 0u) << std::hex << "at " << block.faultEpc;
  for (u32 group = 1; group < kGroupCount; ++group) {
    EXPECT_GT(block.groups[group].run, 0u) << "group " << group;
    EXPECT_EQ(block.groups[group].passed, block.groups[group].run) << "group " << group;
  }
}

TEST_P(CabinetBoardTest, LogsNothing) {
  BootCabinet(GetParam());
  RunToAttract();
  RunFrames(60);
  for (const SHostLogLine& line : host.LogLines()) ADD_FAILURE() << line.level << ": " << line.text;
}

TEST_P(CabinetBoardTest, ShowsANewPictureEveryFrameForTenSeconds) {
  BootCabinet(GetParam());
  RunToAttract();
  RunFrames(2);
  const SSelfTestBlock before = Block();
  RunFrames(kSteadyFrames);
  const SSelfTestBlock after = Block();
  EXPECT_EQ(after.missedFrames, before.missedFrames);
  EXPECT_EQ(after.frameCount - before.frameCount, kSteadyFrames);
  EXPECT_EQ(after.blankCount - before.blankCount, kSteadyFrames);
  EXPECT_GT(after.timerTicks, before.timerTicks);
  EXPECT_GT(after.pageRemaps, before.pageRemaps);
  EXPECT_EQ(after.faultCause, 0u);
}

TEST_P(CabinetBoardTest, ItsPictureMoves) {
  BootCabinet(GetParam());
  RunToAttract();
  RunFrames(10);
  const u64 first = PictureHash();
  RunFrames(30);
  EXPECT_NE(PictureHash(), first);
}

TEST_P(CabinetBoardTest, NoFrameTakesMemoryFromTheHeap) {
  BootCabinet(GetParam());
  RunToAttract();
  RunFrames(60);
  calls.order.clear();
  const u64 before = HeapAllocations();
  RunFrames(kSteadyFrames);
  EXPECT_EQ(HeapAllocations(), before);
}

INSTANTIATE_TEST_SUITE_P(Boards, CabinetBoardTest, testing::Values('a', 'b'),
                         [](const auto& info) { return std::string(1, info.param); });

TEST_F(CabinetTest, TheCountOfAllocationsSeesAllOfThem) {
  const u64 before = HeapAllocations();
  u8* volatile bytes = new u8[100];
  delete[] bytes;
  void* volatile block = std::malloc(100);
  std::free(block);
  EXPECT_EQ(HeapAllocations(), before + 2);
  const u64 between = HeapAllocations();
  CQuillonMachineBase* const other = table.CreateMachine();
  EXPECT_GT(HeapAllocations(), between) << "inside the component too";
  table.DestroyMachine(other);
}

TEST_F(CabinetTest, BothBoardsShowTheSamePicturesFrameByFrame) {
  std::vector<u64> pictures[2];
  for (u32 board = 0; board < 2; ++board) {
    BootCabinet(static_cast<char>('a' + board));
    for (u32 frame = 0; frame < kSteadyFrames; ++frame) {
      machine->RunFrame();
      pictures[board].push_back(PictureHash());
    }
  }
  for (u32 frame = 0; frame < kSteadyFrames; ++frame) {
    ASSERT_EQ(pictures[0][frame], pictures[1][frame]) << "frame " << frame;
  }
}

TEST_F(CabinetTest, TwoRunsGiveTheSameStateAndPictureInEveryFrame) {
  struct SFrame {
    u64 state, picture;
    bool operator==(const SFrame&) const = default;
  };
  std::vector<SFrame> runs[2];
  for (std::vector<SFrame>& run : runs) {
    BootCabinet('a');
    for (u32 frame = 0; frame < kSteadyFrames; ++frame) {
      machine->RunFrame();
      run.push_back({machine->HashState(), PictureHash()});
    }
  }
  for (u32 frame = 0; frame < kSteadyFrames; ++frame) {
    ASSERT_EQ(runs[0][frame], runs[1][frame]) << "frame " << frame;
  }
}

TEST_F(CabinetTest, AResetInTheMiddleBeginsTheSameRunAnew) {
  BootCabinet('a');
  std::vector<u64> first;
  for (u32 frame = 0; frame < 200; ++frame) {
    machine->RunFrame();
    first.push_back(machine->HashState());
  }
  machine->Reset();
  machine->ApplySettings();
  for (u32 frame = 0; frame < 200; ++frame) {
    machine->RunFrame();
    ASSERT_EQ(machine->HashState(), first[frame]) << "frame " << frame;
  }
}

TEST_F(CabinetTest, PassesAtEveryClockAndRate) {
  for (u32 value = 0; value < 4; ++value) {
    SetSetting("VX_MIPSClock", value);
    SetSetting("VX_MachTiming", 3 - value);
    BootCabinet('a');
    RunToAttract();
    EXPECT_EQ(Block().testsPassed, Block().testsRun) << "setting " << value;
    EXPECT_EQ(Block().faultCause, 0u);
  }
}

}  // namespace
}  // namespace vx::test
