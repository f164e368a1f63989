// What floating point costs: two busy marks, what waits on them, and what does not.
#include "tests/mips3/FpFixture.h"

namespace vx {

namespace {

using namespace mips;

enum class EUnit { Common, Multiplier };

struct STiming {
  const char* name;
  u32 format, funct;
  u32 busyCycles;  // 0: waits, and leaves its unit's mark alone
  EUnit unit = EUnit::Common;
};
// clang-format off
constexpr STiming kTimings[] = {
    {"AddS",  kSingle, kFpAdd,  4},   {"AddD",  kDouble, kFpAdd,  4},
    {"SubS",  kSingle, kFpSub,  4},   {"SubD",  kDouble, kFpSub,  4},
    {"MulS",  kSingle, kFpMul,  8, EUnit::Multiplier},
    {"MulD",  kDouble, kFpMul,  8, EUnit::Multiplier},
    {"DivS",  kSingle, kFpDiv,  32},  {"DivD",  kDouble, kFpDiv,  61},
    {"SqrtS", kSingle, kFpSqrt, 31},  {"SqrtD", kDouble, kFpSqrt, 60},
    {"AbsS",  kSingle, kFpAbs,  1},   {"AbsD",  kDouble, kFpAbs,  1},
    {"MovS",  kSingle, kFpMov,  1},   {"MovD",  kDouble, kFpMov,  1},
    {"NegS",  kSingle, kFpNeg,  1},   {"NegD",  kDouble, kFpNeg,  1},
    {"DivByTableOfAnotherFormat", 22, kFpDiv, 32},
    {"SqrtByTableOfAnotherFormat", 9, kFpSqrt, 60},
    {"CvtSD", kDouble, kCvtS, 0}, {"CvtSW", kWord,   kCvtS, 0}, {"CvtSL", kLong, kCvtS, 0},
    {"CvtDS", kSingle, kCvtD, 0}, {"CvtDW", kWord,   kCvtD, 0}, {"CvtDL", kLong, kCvtD, 0},
    {"CvtWS", kSingle, kCvtW, 0}, {"CvtWD", kDouble, kCvtW, 0},
    {"CvtLS", kSingle, kCvtL, 0}, {"CvtLD", kDouble, kCvtL, 0},
    {"CFS",   kSingle, 48, 0}, {"CUnS",   kSingle, 49, 0}, {"CEqS",  kSingle, 50, 0},
    {"CUeqS", kSingle, 51, 0}, {"COltS",  kSingle, 52, 0}, {"CUltS", kSingle, 53, 0},
    {"COleS", kSingle, 54, 0}, {"CUleS",  kSingle, 55, 0}, {"CSfS",  kSingle, 56, 0},
    {"CNgleS", kSingle, 57, 0}, {"CSeqS", kSingle, 58, 0}, {"CNglS", kSingle, 59, 0},
    {"CLtS",  kSingle, 60, 0}, {"CNgeS",  kSingle, 61, 0}, {"CLeS",  kSingle, 62, 0},
    {"CNgtS", kSingle, 63, 0}, {"CEqD",   kDouble, 50, 0}, {"CNgtD", kDouble, 63, 0},
};
// clang-format on

class FpTime : public FpTest, public ::testing::WithParamInterface<STiming> {
 protected:
  u32 Word() const { return FpOp(GetParam().format, GetParam().funct, 0, 4, 6); }
  u32& Own() { return GetParam().unit == EUnit::Multiplier ? cpu.fpMulBusy : cpu.fpBusy; }
  u32& Other() { return GetParam().unit == EUnit::Multiplier ? cpu.fpBusy : cpu.fpMulBusy; }
  // Executes the op at cycle 100 with these marks.
  void ExecuteWith(u32 own, u32 other) {
    cpu.cycles = 100;
    Own() = own;
    Other() = other;
    cpu.mulBusy = 900;
    Execute(Word());
    EXPECT_EQ(Other(), other);
    EXPECT_EQ(cpu.mulBusy, 900u);
  }
  u32 n() const { return GetParam().busyCycles; }
};

TEST_P(FpTime, DoesNotHoldUpAnOpWhoseUnitIsIdle) {
  for (const EModel model : kEveryModel) {
    SetModel(model);
    for (const u32 mark : {0u, 99u, 100u}) {
      ExecuteWith(mark, 0);
      EXPECT_EQ(cpu.cycles, 100u);
      EXPECT_EQ(Own(), n() != 0 ? 100 + n() : mark);
    }
  }
}

TEST_P(FpTime, HoldsUpAnOpUntilItsUnitIsIdle) {
  for (const EModel model : kEveryModel) {
    SetModel(model);
    ExecuteWith(150, 0);
    EXPECT_EQ(cpu.cycles, 150u);
    EXPECT_EQ(Own(), 150 + n());
  }
}

TEST_P(FpTime, LooksAtNoOtherUnit) {
  ExecuteWith(0, 500);
  EXPECT_EQ(cpu.cycles, 100u);
}

TEST_P(FpTime, IsTheSameInFormingAndInBothKindsOfReplay) {
  constexpr u32 kRestCycles = 2;
  PlaceWithRest(kCode, {Word(), kNop, Word()});
  for (const EModel model : kEveryModel) {
    SetModel(model);
    for (const char* pass : {"forming", "replay", "careful replay"}) {
      SCOPED_TRACE(pass);
      RecordAt(kCode).flags |= pass[0] == 'c' ? kOpCareful : 0u;
      Own() = 20;
      Other() = 0;
      SetPc(kCode);
      // The first op waits to cycle 20, the second to the first one's end.
      const u32 second = std::max(22u, 20 + n());
      EXPECT_EQ(RunBlock(), second + 1 + kRestCycles);
      const u32 left = second + n();
      EXPECT_EQ(Own(), n() != 0 && left > second + 3 ? n() - 3 : 0);
    }
    RecordAt(kCode).flags &= ~u32{kOpCareful};
  }
}

INSTANTIATE_TEST_SUITE_P(Ops, FpTime, ::testing::ValuesIn(kTimings),
                         [](const auto& info) { return std::string(info.param.name); });

using FpTimeOfOthers = FpTest;

TEST_F(FpTimeOfOthers, MovesAndBranchesDoNotWait) {
  for (const EModel model : kEveryModel) {
    SetModel(model);
    for (const u32 word : {Mfc1(kT0, 4), Dmfc1(kT0, 4), Cfc1(kT0, 31), Mtc1(kT0, 4), Dmtc1(kT0, 4),
                           Ctc1(kT0, 31), Bc1f(0, 4), Bc1t(0, 4), Bc1fl(0, 4), Bc1tl(0, 4)}) {
      SCOPED_TRACE(::testing::Message() << std::hex << word);
      cpu.cycles = 100;
      cpu.fpBusy = 200;
      cpu.fpMulBusy = 300;
      Execute(word);
      EXPECT_EQ(cpu.cycles, 100u);
      EXPECT_EQ(cpu.fpBusy, 200u);
      EXPECT_EQ(cpu.fpMulBusy, 300u);
    }
  }
}

TEST_F(FpTimeOfOthers, MultiplierWorksBesideTheRest) {
  PlaceWithRest(kCode, {FpOp(kSingle, kFpMul, 2, 4, 6), FpOp(kSingle, kFpAdd, 8, 4, 6),
                        FpOp(kSingle, kFpMul, 2, 4, 6), FpOp(kSingle, kFpAdd, 8, 4, 6)});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    cpu.fpBusy = cpu.fpMulBusy = 0;
    // The sum starts at 1, the second product at 8 and the second sum at 9.
    EXPECT_EQ(RunBlock(), 10u + 2);
    EXPECT_EQ(cpu.fpMulBusy, 16u - 12);
    EXPECT_EQ(cpu.fpBusy, 13u - 12);
  }
}

TEST_F(FpTimeOfOthers, BusyTimeGoesOnIntoTheNextSlice) {
  PlaceWithRest(kCode, {FpOp(kDouble, kFpDiv, 2, 4, 6)});
  EXPECT_EQ(RunBlock(), 3u);
  EXPECT_EQ(cpu.fpBusy, 58u);
  PlaceWithRest(kCode + 0x100, {FpOp(kSingle, kFpMov, 8, 4), FpOp(kSingle, kFpMul, 8, 4, 4)});
  EXPECT_EQ(RunBlock(), 58u + 2 + 2);
  EXPECT_EQ(cpu.fpBusy, 0u);
  EXPECT_EQ(cpu.fpMulBusy, 5u);
}

TEST_F(FpTimeOfOthers, LoadsAndStoresWaitAndTakeTheUnitForACycle) {
  for (const u32 word : {Lwc1(4, 0, kA0), Swc1(4, 0, kA0)}) {
    gpr[kA0] = Extended(kData);
    cpu.cycles = 100;
    cpu.fpBusy = 130;
    cpu.fpMulBusy = 500;
    Execute(word);
    EXPECT_EQ(cpu.cycles, 130u);
    EXPECT_EQ(cpu.fpBusy, 131u);
    EXPECT_EQ(cpu.fpMulBusy, 500u);
  }
}

// A read of the boot ROM takes 154 cycles more, and they pass before the wait.
TEST_F(FpTimeOfOthers, LoadFromRomWaitsAfterTheAccess) {
  gpr[kA0] = Extended(kRomCode);
  cpu.cycles = 100;
  cpu.fpBusy = 130;
  Execute(Lwc1(4, 0, kA0));
  EXPECT_EQ(cpu.cycles, 254u);
  EXPECT_EQ(cpu.fpBusy, 255u);
}

}  // namespace

}  // namespace vx
