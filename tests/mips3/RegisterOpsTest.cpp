// Ops on registers alone, row by row: operands and the result that the guest sees.
#include "tests/mips3/OpCoverage.h"
#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u64 kOnes = ~u64{0};
constexpr u64 kTop = u64{1} << 63;
constexpr u64 kStale = 0xDEADBEEF0BADF00D;  // what the destination holds before the op

// Operands in a0 and a1, result in a2.
struct SCase {
  const char* name;
  u32 word;
  u64 s, t, expected;
};

// clang-format off
constexpr SCase kCases[] = {
    // name                     word                   s                   t                   a2
    {"AddOverflows",            Add(kA2, kA0, kA1),    0x7FFFFFFF,         1,                  0xFFFFFFFF80000000},
    {"AdduOverflows",           Addu(kA2, kA0, kA1),   0x7FFFFFFF,         1,                  0xFFFFFFFF80000000},
    {"AdduWrapsToZero",         Addu(kA2, kA0, kA1),   kOnes,              1,                  0},
    {"AdduIgnoresUpperHalves",  Addu(kA2, kA0, kA1),   0x100000001,        0x700000002,        3},
    {"SubBelowZero",            Sub(kA2, kA0, kA1),    0,                  1,                  kOnes},
    {"SubuOverflows",           Subu(kA2, kA0, kA1),   0xFFFFFFFF80000000, 1,                  0x7FFFFFFF},
    {"SubuIgnoresUpperHalves",  Subu(kA2, kA0, kA1),   0x900000005,        2,                  3},
    {"AddiNegative",            Addi(kA2, kA0, -1),    0,                  0,                  kOnes},
    {"AddiOverflows",           Addi(kA2, kA0, 1),     0x7FFFFFFF,         0,                  0xFFFFFFFF80000000},
    {"AddiuOverflows",          Addiu(kA2, kA0, 1),    0x7FFFFFFF,         0,                  0xFFFFFFFF80000000},
    {"AddiuIgnoresUpperHalf",   Addiu(kA2, kA0, -2),   0x500000003,        0,                  1},
    {"DaddWraps",               Dadd(kA2, kA0, kA1),   kTop - 1,           1,                  kTop},
    {"DadduCarries",            Daddu(kA2, kA0, kA1),  0xFFFFFFFF,         1,                  0x100000000},
    {"DsubWraps",               Dsub(kA2, kA0, kA1),   kTop,               1,                  kTop - 1},
    {"DsubuBorrows",            Dsubu(kA2, kA0, kA1),  0x100000000,        1,                  0xFFFFFFFF},
    {"DaddiBorrows",            Daddi(kA2, kA0, -1),   0x100000000,        0,                  0xFFFFFFFF},
    {"DaddiuWraps",             Daddiu(kA2, kA0, 1),   kTop - 1,           0,                  kTop},

    {"And",   And(kA2, kA0, kA1), 0xF0F0F0F00F0F0F0F, 0xFF00FF00FF00FF00, 0xF000F0000F000F00},
    {"Or",    Or(kA2, kA0, kA1),  0xF0F0F0F00F0F0F0F, 0xFF00FF00FF00FF00, 0xFFF0FFF0FF0FFF0F},
    {"Xor",   Xor(kA2, kA0, kA1), 0xF0F0F0F00F0F0F0F, 0xFF00FF00FF00FF00, 0x0FF00FF0F00FF00F},
    {"Nor",   Nor(kA2, kA0, kA1), 0xF0F0F0F00F0F0F0F, 0xFF00FF00FF00FF00, 0x000F000F00F000F0},
    {"AndiZeroExtends",         Andi(kA2, kA0, 0xFF0F), kOnes,             0,                  0xFF0F},
    {"OriZeroExtends",          Ori(kA2, kA0, 0x8000),  kTop,              0,                  kTop | 0x8000},
    {"XoriZeroExtends",         Xori(kA2, kA0, 0xFFFF), kOnes,             0,                  0xFFFFFFFFFFFF0000},
    {"LuiSignExtends",          Lui(kA2, 0x8000),       0,                 0,                  0xFFFFFFFF80000000},
    {"LuiPositive",             Lui(kA2, 0x7FFF),       kOnes,             0,                  0x7FFF0000},

    {"SltIsSigned",             Slt(kA2, kA0, kA1),    kOnes,              0,                  1},
    {"SltLooksAt64Bits",        Slt(kA2, kA0, kA1),    0xFFFFFFFF,         0,                  0},
    {"SltEqual",                Slt(kA2, kA0, kA1),    5,                  5,                  0},
    {"SltuIsUnsigned",          Sltu(kA2, kA0, kA1),   0,                  kOnes,              1},
    {"SltuLooksAt64Bits",       Sltu(kA2, kA0, kA1),   0x100000000,        1,                  0},
    {"SltiBelow",               Slti(kA2, kA0, -1),    kOnes - 1,          0,                  1},
    {"SltiEqual",               Slti(kA2, kA0, -1),    kOnes,              0,                  0},
    {"SltiLooksAt64Bits",       Slti(kA2, kA0, -1),    0xFFFFFFFE,         0,                  0},
    {"SltiuSignExtendsThenComparesUnsigned", Sltiu(kA2, kA0, -1), 5,       0,                  1},
    {"SltiuAboveThe16BitRange", Sltiu(kA2, kA0, -1),   0x10000,            0,                  1},
    {"SltiuOfTheLargest",       Sltiu(kA2, kA0, -1),   kOnes,              0,                  0},
    {"SltiuOfZero",             Sltiu(kA2, kA0, 1),    0,                  0,                  1},

    {"SllOfTheLowWord",         Sll(kA2, kA1, 4),      0,                  0x108000001,        0x80000010 | 0xFFFFFFFF00000000},
    {"SllByZeroSignExtends",    Sll(kA2, kA1, 0),      0,                  0x1234567880000000, 0xFFFFFFFF80000000},
    {"SrlByZeroSignExtends",    Srl(kA2, kA1, 0),      0,                  0x80000000,         0xFFFFFFFF80000000},
    {"SrlIsLogical",            Srl(kA2, kA1, 4),      0,                  0xFFFFFFFF80000000, 0x08000000},
    {"SraOfTheLowWord",         Sra(kA2, kA1, 4),      0,                  0x0000000180000000, 0xFFFFFFFFF8000000},
    {"SllvByLowFiveBits",       Sllv(kA2, kA1, kA0),   36,                 1,                  0x10},
    {"SrlvByLowFiveBits",       Srlv(kA2, kA1, kA0),   0x24,               0xF0,               0xF},
    {"SrlvBy32IsByZero",        Srlv(kA2, kA1, kA0),   32,                 0x80000000,         0xFFFFFFFF80000000},
    {"SravByLowFiveBits",       Srav(kA2, kA1, kA0),   33,                 0x80000000,         0xFFFFFFFFC0000000},
    {"Dsll",                    Dsll(kA2, kA1, 31),    0,                  3,                  0x180000000},
    {"Dsrl",                    Dsrl(kA2, kA1, 4),     0,                  0xF000000000000000, 0x0F00000000000000},
    {"Dsra",                    Dsra(kA2, kA1, 4),     0,                  0xF000000000000000, 0xFF00000000000000},
    {"Dsll32ByZero",            Dsll32(kA2, kA1, 0),   0,                  0x500000001,        0x100000000},
    {"Dsll32By31",              Dsll32(kA2, kA1, 31),  0,                  1,                  kTop},
    {"Dsrl32",                  Dsrl32(kA2, kA1, 4),   0,                  0xF000000000000000, 0x0F000000},
    {"Dsra32",                  Dsra32(kA2, kA1, 4),   0,                  0xF000000000000000, 0xFFFFFFFFFF000000},
    {"DsllvByLowSixBits",       Dsllv(kA2, kA1, kA0),  65,                 u64{1} << 62,       kTop},
    {"Dsrlv",                   Dsrlv(kA2, kA1, kA0),  63,                 kTop,               1},
    {"Dsrav",                   Dsrav(kA2, kA1, kA0),  63,                 kTop,               kOnes},
    {"DsravBy64IsByZero",       Dsrav(kA2, kA1, kA0),  64,                 kTop,               kTop},
};
// clang-format on

class RegisterOps : public ProcessorTest, public ::testing::WithParamInterface<SCase> {};

TEST_P(RegisterOps, GivesTheResultInEveryWay) {
  const SCase& row = GetParam();
  InEveryWay(
      row.word,
      [&] {
        gpr[kA0] = row.s;
        gpr[kA1] = row.t;
        gpr[kA2] = kStale;
      },
      [&] {
        EXPECT_EQ(gpr[kA2], row.expected) << std::hex << gpr[kA2];
        EXPECT_EQ(gpr[kA0], row.s);
        EXPECT_EQ(gpr[kA1], row.t);
        EXPECT_EQ(cpu.branchTarget, kNoBranch);
      });
}

TEST_P(RegisterOps, DropsAResultForRegisterZero) {
  const SCase& row = GetParam();
  const bool bHasD = row.word >> 26 == 0;
  const u32 destination = bHasD ? kA2 << 11 : kA2 << 16;
  InEveryWay(
      row.word & ~destination,
      [&] {
        gpr[kA0] = row.s;
        gpr[kA1] = row.t;
        gpr[kA2] = kStale;
      },
      [&] {
        EXPECT_EQ(gpr[kZero], 0u);
        EXPECT_EQ(gpr[kA2], kStale);
      });
}

TEST_P(RegisterOps, TakesOneCycle) {
  PlaceWithRest(kCode, {GetParam().word});
  gpr[kA0] = GetParam().s;
  gpr[kA1] = GetParam().t;
  EXPECT_EQ(RunBlock(), 3u) << "forming";
  SetPc(kCode);
  EXPECT_EQ(RunBlock(), 3u) << "replay";
}

INSTANTIATE_TEST_SUITE_P(Rows, RegisterOps, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

using RegisterOp = ProcessorTest;

TEST_F(RegisterOp, MayReadItsOwnDestination) {
  InEveryWay(
      Daddu(kA2, kA2, kA2), [&] { gpr[kA2] = 21; }, [&] { EXPECT_EQ(gpr[kA2], 42u); });
}

TEST_F(RegisterOp, ReadsRegisterZeroAsItStandsInMemory) {
  gpr[kZero] = 7;
  cpu.pc = kCode + 4;
  ExecuteWord(m.get(), Daddiu(kA2, kZero, 1));
  EXPECT_EQ(gpr[kA2], 8u);
}

TEST_F(RegisterOp, CacheDoesNothingButTakeItsCycle) {
  PlaceWithRest(kCode, {Cache(21, 0x10, kA0)});
  gpr[kA0] = Extended(kRomCode);
  const u64 ramBefore = Peek64(kData);
  for (const char* pass : {"forming", "replay"}) {
    SetPc(kCode);
    EXPECT_EQ(RunBlock(), 3u) << pass;
    EXPECT_EQ(gpr[21], 0u);
    EXPECT_EQ(Peek64(kData), ramBefore);
    EXPECT_EQ(m->state.openBus, 0u);
    EXPECT_TRUE(log.empty());
  }
}

}  // namespace

std::vector<u32> RegisterOpWords() {
  std::vector<u32> words;
  for (const SCase& row : kCases) words.push_back(row.word);
  return words;
}

}  // namespace vx
