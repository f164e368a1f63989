// A likely branch that is not taken, in every way that it can be executed. By itself it annuls its
// delay op; blocks treat it differently, and the guest's native library makes up for it.
//
// Each test places  nop, B, D, X, Y  where B is the branch, D counts t0, X counts t1 and Y t2.
#include "tests/mips3/FpEncode.h"
#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u32 kBranch = kCode + 4;
constexpr u32 kDelay = kBranch + 4;
constexpr u32 kBehind = kBranch + 8;
constexpr u32 kTarget = kBranch + 4 + 0x400;
constexpr u32 kOpD = Addiu(kT0, kT0, 1);
constexpr u32 kOpX = Addiu(kT1, kT1, 1);
constexpr u32 kOpY = Addiu(kT2, kT2, 1);

struct SForm {
  const char* name;
  u32 word;
  u64 taken, notTaken;  // values of a0 and of the condition bits
  bool bMarked;
};
constexpr SForm kForms[] = {
    {"Beql", Beql(kA0, kZero, 0x100), 0, 1, false},
    {"Bnel", Bnel(kA0, kZero, 0x100), 1, 0, false},
    {"Blezl", Blezl(kA0, 0x100), 0, 1, false},
    {"Bgtzl", Bgtzl(kA0, 0x100), 1, 0, false},
    {"Bltzl", Bltzl(kA0, 0x100), ~u64{0}, 0, true},
    {"Bgezl", Bgezl(kA0, 0x100), 0, ~u64{0}, true},
    {"Bltzall", Bltzall(kA0, 0x100), ~u64{0}, 0, true},
    {"Bgezall", Bgezall(kA0, 0x100), 0, ~u64{0}, true},
    {"Bc1fl", Bc1fl(6, 0x100), 0x3F, 0x40, true},
    {"Bc1tl", Bc1tl(6, 0x100), 0x40, 0x3F, true},
};

class LikelyBranch : public ProcessorTest, public ::testing::WithParamInterface<SForm> {
 protected:
  LikelyBranch() {
    PlaceWithRest(kTarget, {kNop});
    PlaceWithRest(kCode, {kNop, GetParam().word, kOpD, kOpX, kOpY});
  }
  enum ETaken { kNotTaken, kTaken };
  // Runs the block from its head and answers its cycles.
  u32 RunFrom(u32 address, ETaken taken) {
    SetPc(address);
    gpr[kT0] = gpr[kT1] = gpr[kT2] = 0;
    gpr[kA0] = taken == kTaken ? GetParam().taken : GetParam().notTaken;
    cpu.fpCond = static_cast<u32>(gpr[kA0]) & 0xFF;
    return RunBlock();
  }
  void ExpectRan(u32 d, u32 x, u32 y) {
    EXPECT_EQ(gpr[kT0], d) << "the delay op";
    EXPECT_EQ(gpr[kT1], x) << "the op behind it";
    EXPECT_EQ(gpr[kT2], y);
  }
};

TEST_P(LikelyBranch, TakenRunsItsDelayOpInFormingAndReplay) {
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    EXPECT_EQ(RunFrom(kCode, kTaken), 3u);
    ExpectRan(1, 0, 0);
    EXPECT_EQ(cpu.pc, kTarget);
    EXPECT_EQ(RecordAt(kDelay).word, kOpD);
  }
}

TEST_P(LikelyBranch, NotTakenWhileFormingPutsTheOpBehindIntoTheDelaySlotsRecord) {
  EXPECT_EQ(RunFrom(kCode, kNotTaken), 3u);
  ExpectRan(0, 1, 0);
  EXPECT_EQ(cpu.pc, kBehind + 4);
  EXPECT_EQ(RecordAt(kDelay).word, kOpX);
  EXPECT_EQ(RecordAt(kDelay).flags, 0x101u);
  EXPECT_EQ(RecordAt(kCode).link, 3u);
  EXPECT_EQ(RecordAt(kCode).flags, GetParam().bMarked ? 0x04Fu : 0x047u);
  EXPECT_EQ(RecordAt(kBehind).flags, 0u);
}

TEST_P(LikelyBranch, FormedNotTakenReplaysTheOpBehindInPlaceOfTheDelayOp) {
  RunFrom(kCode, kNotTaken);
  EXPECT_EQ(RunFrom(kCode, kNotTaken), 3u);
  ExpectRan(0, 1, 0);
  EXPECT_EQ(cpu.pc, kBehind + 4);
  EXPECT_EQ(RunFrom(kCode, kTaken), 3u);
  ExpectRan(0, 1, 0);
  EXPECT_EQ(cpu.pc, kTarget);
}

TEST_P(LikelyBranch, FormedTakenReplaysTheDelayOpAndSkipsTheOneBehind) {
  RunFrom(kCode, kTaken);
  EXPECT_EQ(RunFrom(kCode, kNotTaken), 3u);
  ExpectRan(1, 0, 0);
  EXPECT_EQ(cpu.pc, kBehind + 4);
}

TEST_P(LikelyBranch, CarefulReplayAnnulsOnlyInAMarkedBlock) {
  RunFrom(kCode, kTaken);
  RecordAt(kCode).flags |= kOpCareful;
  const bool bMarked = GetParam().bMarked;
  EXPECT_EQ(RunFrom(kCode, kNotTaken), bMarked ? 2u : 3u);
  ExpectRan(bMarked ? 0 : 1, 0, 0);
  EXPECT_EQ(cpu.pc, kBehind + 4) << "the op behind is skipped in both";
  EXPECT_EQ(RunFrom(kCode, kTaken), 3u);
  ExpectRan(1, 0, 0);
  EXPECT_EQ(cpu.pc, kTarget);
}

TEST_P(LikelyBranch, CarefulReplayEnteredAtTheDelayOpOfAMarkedBlockSkipsIt) {
  RunFrom(kCode, kTaken);
  RecordAt(kCode).flags |= kOpCareful;
  // The skipped op takes no cycle, so that the slice goes on behind it.
  RunFrom(kDelay, kTaken);
  ExpectRan(GetParam().bMarked ? 0 : 1, GetParam().bMarked ? 1 : 0, GetParam().bMarked ? 1 : 0);
}

TEST_P(LikelyBranch, AsTheLastRecordOfItsBlockItAnnulsProperly) {
  constexpr u32 kNextPage = 0x01001000;
  MapPage(kNextPage - 0x1000, 0x5000, kPageMappedMask);
  MapPage(kNextPage, 0x9000, kPageMappedMask);
  PlaceWithRest(kNextPage, {kOpD, kOpX, kOpY});
  Place(kNextPage - 8, {kNop, GetParam().word});
  for (const u32 entry : {kNextPage - 8, kNextPage - 4}) {
    for (const char* pass : {"forming", "replay"}) {
      SCOPED_TRACE(pass);
      EXPECT_EQ(RunFrom(entry, kNotTaken), (kNextPage - entry) / 4);
      EXPECT_EQ(cpu.pc, kNextPage + 4);
      RunBlock();
      ExpectRan(0, 1, 1);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, LikelyBranch, ::testing::ValuesIn(kForms),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace

}  // namespace vx
