// Multiply, divide and the HI and LO moves: results at once, time by the unit's busy mark.
#include "tests/mips3/OpCoverage.h"
#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u64 kOnes = ~u64{0};
constexpr u64 kTop = u64{1} << 63;
constexpr u64 kOldHi = 0x1111111111111111;
constexpr u64 kOldLo = 0x2222222222222222;

struct SCase {
  const char* name;
  u32 word;
  u64 s, t, hi, lo;
};

// clang-format off
constexpr SCase kCases[] = {
    // name                      word               s                   t                   hi                  lo
    {"MultSigned",               Mult(kA0, kA1),    kOnes - 1,          3,                  kOnes,              kOnes - 5},
    {"MultSmallestSquared",      Mult(kA0, kA1),    0xFFFFFFFF80000000, 0xFFFFFFFF80000000, 0x40000000,         0},
    {"MultIgnoresUpperHalves",   Mult(kA0, kA1),    0x100000002,        0x500000003,        0,                  6},
    {"MultExtendsTheLowWord",    Mult(kA0, kA1),    0x10000,            0x8000,             0,                  0xFFFFFFFF80000000},
    {"MultuLargest",             Multu(kA0, kA1),   0xFFFFFFFF,         0xFFFFFFFF,         0xFFFFFFFFFFFFFFFE, 1},
    {"MultuExtendsBothWords",    Multu(kA0, kA1),   kOnes,              0x80000000,         0x7FFFFFFF,         0xFFFFFFFF80000000},
    {"DmultOnes",                Dmult(kA0, kA1),   kOnes,              kOnes,              0,                  1},
    {"DmultSigned",              Dmult(kA0, kA1),   kOnes,              2,                  kOnes,              kOnes - 1},
    {"DmultSmallestTwice",       Dmult(kA0, kA1),   kTop,               2,                  kOnes,              0},
    {"DmultuLargest",            Dmultu(kA0, kA1),  kOnes,              kOnes,              kOnes - 1,          1},
    {"DivByNegative",            Div(kA0, kA1),     7,                  kOnes - 1,          1,                  kOnes - 2},
    {"DivOfNegative",            Div(kA0, kA1),     kOnes - 6,          2,                  kOnes,              kOnes - 2},
    {"DivByZeroKeeps",           Div(kA0, kA1),     7,                  0,                  kOldHi,             kOldLo},
    {"DivByZeroLowWordKeeps",    Div(kA0, kA1),     7,                  0x100000000,        kOldHi,             kOldLo},
    {"DivSmallestByMinusOne",    Div(kA0, kA1),     0xFFFFFFFF80000000, kOnes,              0,                  0xFFFFFFFF80000000},
    {"DivByMinusOne",            Div(kA0, kA1),     5,                  kOnes,              0,                  kOnes - 4},
    {"DivIgnoresUpperHalves",    Div(kA0, kA1),     0x300000009,        0x700000002,        1,                  4},
    {"DivuByOne",                Divu(kA0, kA1),    0xFFFFFFFF,         1,                  0,                  kOnes},
    {"DivuIsUnsigned",           Divu(kA0, kA1),    kOnes,              0x10,               0xF,                0x0FFFFFFF},
    {"DivuExtendsTheRemainder",  Divu(kA0, kA1),    0xFFFFFFFE,         0xFFFFFFFF,         0xFFFFFFFFFFFFFFFE, 0},
    {"DivuByZeroKeeps",          Divu(kA0, kA1),    1,                  0x100000000,        kOldHi,             kOldLo},
    {"DdivSigned",               Ddiv(kA0, kA1),    kOnes - 6,          2,                  kOnes,              kOnes - 2},
    {"DdivTestsTheWholeDivisor", Ddiv(kA0, kA1),    0x500000003,        0x100000000,        3,                  5},
    {"DdivByZeroKeeps",          Ddiv(kA0, kA1),    5,                  0,                  kOldHi,             kOldLo},
    {"DdivSmallestByMinusOne",   Ddiv(kA0, kA1),    kTop,               kOnes,              0,                  kTop},
    {"DdivuIsUnsigned",          Ddivu(kA0, kA1),   kOnes,              2,                  1,                  kTop - 1},
    {"DdivuByZeroKeeps",         Ddivu(kA0, kA1),   kOnes,              0,                  kOldHi,             kOldLo},
    {"MthiTakesAll64Bits",       Mthi(kA0),         kTop | 5,           0,                  kTop | 5,           kOldLo},
    {"MtloTakesAll64Bits",       Mtlo(kA0),         kTop | 5,           0,                  kOldHi,             kTop | 5},
};
// clang-format on

class HiLoOps : public ProcessorTest, public ::testing::WithParamInterface<SCase> {};

TEST_P(HiLoOps, GiveTheResultInEveryWay) {
  const SCase& row = GetParam();
  InEveryWay(
      row.word,
      [&] {
        gpr[kA0] = row.s;
        gpr[kA1] = row.t;
        cpu.hi = kOldHi;
        cpu.lo = kOldLo;
      },
      [&] {
        EXPECT_EQ(cpu.hi, row.hi) << std::hex << cpu.hi;
        EXPECT_EQ(cpu.lo, row.lo) << std::hex << cpu.lo;
      });
}

INSTANTIATE_TEST_SUITE_P(Rows, HiLoOps, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

using Multiplier = ProcessorTest;

TEST_F(Multiplier, MovesGiveAll64Bits) {
  for (const u32 word : {Mfhi(kA2), Mflo(kA2)}) {
    const u64 expected = word == Mfhi(kA2) ? kTop | 1 : kTop | 2;
    InEveryWay(
        word,
        [&] {
          cpu.hi = kTop | 1;
          cpu.lo = kTop | 2;
          gpr[kA2] = 0;
        },
        [&] { EXPECT_EQ(gpr[kA2], expected); });
  }
}

TEST_F(Multiplier, DropsAMoveToRegisterZero) {
  for (const u32 word : {Mfhi(kZero), Mflo(kZero)}) {
    InEveryWay(
        word, [&] { cpu.hi = cpu.lo = kOnes; }, [&] { EXPECT_EQ(gpr[kZero], 0u); });
  }
}

struct STiming {
  const char* name;
  u32 word;
  u32 busyCycles;
};
constexpr STiming kTimings[] = {
    {"Mult", Mult(kA0, kA1), 10},       {"Multu", Multu(kA0, kA1), 10},
    {"Dmult", Dmult(kA0, kA1), 12},     {"Dmultu", Dmultu(kA0, kA1), 12},
    {"Div", Div(kA0, kA1), 42},         {"Divu", Divu(kA0, kA1), 42},
    {"Ddiv", Ddiv(kA0, kA1), 74},       {"Ddivu", Ddivu(kA0, kA1), 74},
    {"DivByZero", Div(kA0, kZero), 42}, {"DdivuByZero", Ddivu(kA0, kZero), 74},
};

class MultiplierTime : public ProcessorTest, public ::testing::WithParamInterface<STiming> {
 protected:
  // Cycles of a block of the words and its rest loop, formed and then replayed; both must agree.
  u32 BlockCycles(std::initializer_list<u32> words) {
    gpr[kA0] = 100;
    gpr[kA1] = 7;
    const u32 address = nextCode;
    nextCode += 0x80;
    PlaceWithRest(address, words);
    cpu.mulBusy = 0;
    const u32 formed = RunBlock();
    formedBusy = cpu.mulBusy;
    cpu.mulBusy = 0;
    SetPc(address);
    EXPECT_EQ(RunBlock(), formed) << "replay differs from forming";
    EXPECT_EQ(cpu.mulBusy, formedBusy) << "replay differs from forming";
    return formed - kRestCycles;
  }
  static constexpr u32 kRestCycles = 2;
  u32 formedBusy = 0;
};

TEST_P(MultiplierTime, DoesNotHoldUpTheOpItself) {
  EXPECT_EQ(BlockCycles({GetParam().word}), 1u);
  // Three cycles have passed at the slice's end; the mark counts on from there.
  EXPECT_EQ(formedBusy, GetParam().busyCycles - 3);
}

TEST_P(MultiplierTime, StallsTheNextOneByWhatRemains) {
  const u32 n = GetParam().busyCycles;
  EXPECT_EQ(BlockCycles({GetParam().word, GetParam().word}), n + 1);
  EXPECT_EQ(formedBusy, 2 * n - (n + 3));
}

TEST_P(MultiplierTime, StallsEachMoveOfHiAndLo) {
  const u32 n = GetParam().busyCycles;
  for (const u32 move : {Mfhi(kA2), Mflo(kA2), Mthi(kA2), Mtlo(kA2), Mfhi(kZero), Mflo(kZero)}) {
    EXPECT_EQ(BlockCycles({GetParam().word, move}), n + 1) << std::hex << move;
  }
}

TEST_P(MultiplierTime, PassesBesideOtherOps) {
  const u32 n = GetParam().busyCycles;
  EXPECT_EQ(BlockCycles({GetParam().word, kNop, kNop, kNop, Mflo(kA2)}), n + 1);
}

TEST_P(MultiplierTime, IsOverWhenTheUnitIsIdle) {
  // One ROM read takes longer than any of them.
  gpr[kT0] = Extended(kRomCode);
  EXPECT_EQ(BlockCycles({GetParam().word, Lw(kT1, 0, kT0), Mflo(kA2)}), 1 + 155 + 1u);
}

INSTANTIATE_TEST_SUITE_P(Ops, MultiplierTime, ::testing::ValuesIn(kTimings),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(Multiplier, BusyTimeGoesOnIntoTheNextSlice) {
  Place(kCode, {Ddiv(kA0, kA1), kBranchToSelf, kNop});
  gpr[kA1] = 1;
  EXPECT_EQ(RunBlock(), 3u);
  EXPECT_EQ(cpu.mulBusy, 71u);
  PlaceWithRest(kCode + 0x100, {Mflo(kA2)});
  EXPECT_EQ(RunBlock(), 71u + 1 + 2);
  EXPECT_EQ(cpu.mulBusy, 0u);
}

}  // namespace

std::vector<u32> MultiplierOpWords() {
  std::vector<u32> words = {Mfhi(kA2), Mflo(kA2)};
  for (const SCase& row : kCases) words.push_back(row.word);
  return words;
}

}  // namespace vx
