// The kernels compute the same wherever they run, so that the speed report compares like with like.
#include <gtest/gtest.h>

#include "bench/kernels/BoardEngine.h"
#include "bench/kernels/EmulatorEngine.h"
#include "bench/kernels/HostEngine.h"
#include "bench/kernels/KernelTable.h"

namespace vx::bench {
namespace {

constexpr u32 kPasses = 2;

void ExpectEveryChecksum(CEngine& engine) {
  for (u32 kernel = 0; kernel < kKernelCount; ++kernel) {
    EXPECT_EQ(engine.Run(kernel, kPasses).checksum, kKernelRows[kernel].checksum)
        << kKernelRows[kernel].name;
  }
}

TEST(Kernels, GiveTheirChecksumOnTheHost) {
  CHostEngine host;
  ExpectEveryChecksum(host);
}

TEST(Kernels, GiveTheirChecksumInReplay) {
  CBoardEngine board(EBoardWay::Replay);
  ExpectEveryChecksum(board);
}

TEST(Kernels, GiveTheirChecksumInNativeBlocks) {
  CBoardEngine board(EBoardWay::Native);
  ExpectEveryChecksum(board);
}

TEST(Kernels, RunNearlyAllOpsInNativeBlocks) {
  CBoardEngine board(EBoardWay::Native);
  for (u32 kernel = 0; kernel < kKernelCount; ++kernel) {
    const CBoardEngine::SOpCount count = board.CountOps(kernel);
    EXPECT_GT(count.nativeOps, count.ops - count.ops / 100) << kKernelRows[kernel].name;
  }
}

TEST(Kernels, GiveTheirChecksumInUserModeEmulation) {
  if (!CEmulatorEngine::IsThere()) GTEST_SKIP() << "there is no qemu-mipsn32el";
  CEmulatorEngine emulator;
  ExpectEveryChecksum(emulator);
}

TEST(Kernels, TakeTheSameOpsInEveryPass) {
  CBoardEngine board(EBoardWay::Replay);
  for (u32 kernel = 0; kernel < kKernelCount; ++kernel) {
    const CBoardEngine::SOpCount first = board.CountOps(kernel);
    EXPECT_GT(first.ops, 10'000u) << kKernelRows[kernel].name;
    EXPECT_EQ(first.ops, board.CountOps(kernel).ops) << kKernelRows[kernel].name;
    EXPECT_EQ(first.nativeOps, 0u) << kKernelRows[kernel].name;
  }
}

}  // namespace
}  // namespace vx::bench
