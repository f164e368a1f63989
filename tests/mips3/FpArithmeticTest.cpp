// Floating point arithmetic and conversions row by row: results bit for bit, in both register
// models, and what they leave alone.
#include "tests/mips3/FpFixture.h"
#include "tests/mips3/OpCoverage.h"

namespace vx {

namespace {

using namespace mips;
using enum EPlace;

struct SRow {
  const char* name;
  u32 format, funct;
  EPlace source;
  u64 s, t;
  EPlace target;
  u64 d;
};

constexpr u64 kNaNs = 0x7F800123;  // signalling, and below the same made quiet
constexpr u64 kNaNq = 0x7FC00123;
constexpr u64 kNaN2s = 0xFF8ABCDE;
constexpr u64 kNaN2q = 0xFFCABCDE;
constexpr u64 kNoNumber = 0xFFC00000;
constexpr u64 kDNaNs = 0x7FF0000000000123;
constexpr u64 kDNaNq = 0x7FF8000000000123;
constexpr u64 kDNaN2s = 0xFFF00000ABCDEF01;
constexpr u64 kDNaN2q = 0xFFF80000ABCDEF01;
constexpr u64 kDNoNumber = 0xFFF8000000000000;
constexpr u64 kLeastWord = 0x80000000;
constexpr u64 kLeastLong = 0x8000000000000000;
constexpr u64 k1S = 0x3F800000, k2S = 0x40000000, k3S = 0x40400000, kInfS = 0x7F800000;
constexpr u64 kNegInfS = 0xFF800000, kNeg0S = 0x80000000;
constexpr u64 k1D = 0x3FF0000000000000, k2D = 0x4000000000000000, k3D = 0x4008000000000000;
constexpr u64 kInfD = 0x7FF0000000000000, kNegInfD = 0xFFF0000000000000;
constexpr u64 kNeg0D = 0x8000000000000000;

// clang-format off
constexpr SRow kSingles[] = {
    // name                     format   funct    source s           t           target d
    {"Add",                     kSingle, kFpAdd,  Word,  k1S,        k2S,        Word,  k3S},
    {"AddTieGoesToEven",        kSingle, kFpAdd,  Word,  k1S,        0x33800000, Word,  k1S},
    {"AddAboveTheTieGoesUp",    kSingle, kFpAdd,  Word,  k1S,        0x33800001, Word,  0x3F800001},
    {"AddOverflows",            kSingle, kFpAdd,  Word,  0x7F7FFFFF, 0x7F7FFFFF, Word,  kInfS},
    {"AddOfOppositeZeroes",     kSingle, kFpAdd,  Word,  kNeg0S,     0,          Word,  0},
    {"AddOfNegativeZeroes",     kSingle, kFpAdd,  Word,  kNeg0S,     kNeg0S,     Word,  kNeg0S},
    {"AddKeepsDenormals",       kSingle, kFpAdd,  Word,  1,          2,          Word,  3},
    {"AddOfFirstNan",           kSingle, kFpAdd,  Word,  kNaNs,      k1S,        Word,  kNaNq},
    {"AddOfSecondNan",          kSingle, kFpAdd,  Word,  k1S,        kNaN2s,     Word,  kNaN2q},
    {"AddOfTwoNans",            kSingle, kFpAdd,  Word,  kNaNs,      kNaN2s,     Word,  kNaNq},
    {"AddOfTwoNansSwapped",     kSingle, kFpAdd,  Word,  kNaN2s,     kNaNs,      Word,  kNaN2q},
    {"AddOfQuietAndSignalling", kSingle, kFpAdd,  Word,  kNaNq,      kNaN2s,     Word,  kNaNq},
    {"AddOfOppositeInfinities", kSingle, kFpAdd,  Word,  kInfS,      kNegInfS,   Word,  kNoNumber},
    {"Sub",                     kSingle, kFpSub,  Word,  k1S,        k3S,        Word,  0xC0000000},
    {"SubOfEqualsIsPositive0",  kSingle, kFpSub,  Word,  k3S,        k3S,        Word,  0},
    {"SubFromNegativeZero",     kSingle, kFpSub,  Word,  kNeg0S,     0,          Word,  kNeg0S},
    {"SubKeepsASecondNansSign", kSingle, kFpSub,  Word,  k1S,        kNaNs,      Word,  kNaNq},
    {"SubOfTwoNans",            kSingle, kFpSub,  Word,  kNaN2s,     kNaNs,      Word,  kNaN2q},
    {"SubOfEqualInfinities",    kSingle, kFpSub,  Word,  kInfS,      kInfS,      Word,  kNoNumber},
    {"Mul",                     kSingle, kFpMul,  Word,  k3S,        0xC0400000, Word,  0xC1100000},
    {"MulGivesADenormal",       kSingle, kFpMul,  Word,  0x00800000, 0x3F000000, Word,  0x00400000},
    {"MulOfSignedZero",         kSingle, kFpMul,  Word,  kNeg0S,     k3S,        Word,  kNeg0S},
    {"MulOfZeroAndInfinity",    kSingle, kFpMul,  Word,  0,          kInfS,      Word,  kNoNumber},
    {"MulOfTwoNans",            kSingle, kFpMul,  Word,  kNaN2s,     kNaNs,      Word,  kNaN2q},
    {"MulOfSecondNan",          kSingle, kFpMul,  Word,  0,          kNaNs,      Word,  kNaNq},
    {"Div",                     kSingle, kFpDiv,  Word,  k1S,        k3S,        Word,  0x3EAAAAAB},
    {"DivByZero",               kSingle, kFpDiv,  Word,  k1S,        kNeg0S,     Word,  kNegInfS},
    {"DivOfZeroes",             kSingle, kFpDiv,  Word,  0,          0,          Word,  kNoNumber},
    {"DivOfInfinities",         kSingle, kFpDiv,  Word,  kInfS,      kInfS,      Word,  kNoNumber},
    {"DivOfTwoNans",            kSingle, kFpDiv,  Word,  kNaNs,      kNaN2s,     Word,  kNaNq},
    {"DivOfSecondNan",          kSingle, kFpDiv,  Word,  kInfS,      kNaN2s,     Word,  kNaN2q},
    {"Sqrt",                    kSingle, kFpSqrt, Word,  k2S,        0,          Word,  0x3FB504F3},
    {"SqrtOfADenormal",         kSingle, kFpSqrt, Word,  1,          0,          Word,  0x1A3504F3},
    {"SqrtOfNegativeZero",      kSingle, kFpSqrt, Word,  kNeg0S,     0,          Word,  kNeg0S},
    {"SqrtOfANegative",         kSingle, kFpSqrt, Word,  0xBF800000, 0,          Word,  kNoNumber},
    {"SqrtOfANan",              kSingle, kFpSqrt, Word,  kNaN2s,     0,          Word,  kNaN2q},
    {"Abs",                     kSingle, kFpAbs,  Word,  0xC0400000, 0,          Word,  k3S},
    {"AbsOfNegativeZero",       kSingle, kFpAbs,  Word,  kNeg0S,     0,          Word,  0},
    {"AbsOfANan",               kSingle, kFpAbs,  Word,  kNaN2q,     0,          Word,  0x7FCABCDE},
    {"Mov",                     kSingle, kFpMov,  Word,  k3S,        0,          Word,  k3S},
    {"MovKeepsNansSignalling",  kSingle, kFpMov,  Word,  kNaNs,      0,          Word,  kNaNs},
    {"Neg",                     kSingle, kFpNeg,  Word,  k3S,        0,          Word,  0xC0400000},
    {"NegOfZero",               kSingle, kFpNeg,  Word,  0,          0,          Word,  kNeg0S},
    {"NegOfANan",               kSingle, kFpNeg,  Word,  kNaNq,      0,          Word,  0xFFC00123},
};

constexpr SRow kDoubles[] = {
    {"Add",                     kDouble, kFpAdd,  Whole, k1D,    k2D,                Whole, k3D},
    {"AddTieGoesToEven",        kDouble, kFpAdd,  Whole, k1D,    0x3CA0000000000000, Whole, k1D},
    {"AddAboveTheTieGoesUp",    kDouble, kFpAdd,  Whole, k1D,    0x3CA0000000000001, Whole, k1D + 1},
    {"AddOfOppositeZeroes",     kDouble, kFpAdd,  Whole, kNeg0D, 0,                  Whole, 0},
    {"AddKeepsDenormals",       kDouble, kFpAdd,  Whole, 1,      2,                  Whole, 3},
    {"AddOfFirstNan",           kDouble, kFpAdd,  Whole, kDNaNs, k1D,                Whole, kDNaNq},
    {"AddOfSecondNan",          kDouble, kFpAdd,  Whole, k1D,    kDNaN2s,            Whole, kDNaN2q},
    {"AddOfTwoNans",            kDouble, kFpAdd,  Whole, kDNaNs, kDNaN2s,            Whole, kDNaNq},
    {"AddOfTwoNansSwapped",     kDouble, kFpAdd,  Whole, kDNaN2s, kDNaNs,            Whole, kDNaN2q},
    {"AddOfOppositeInfinities", kDouble, kFpAdd,  Whole, kInfD,  kNegInfD,           Whole, kDNoNumber},
    {"Sub",                     kDouble, kFpSub,  Whole, k1D,    k3D,                Whole, 0xC000000000000000},
    {"SubOfEqualsIsPositive0",  kDouble, kFpSub,  Whole, k3D,    k3D,                Whole, 0},
    {"SubKeepsASecondNansSign", kDouble, kFpSub,  Whole, k1D,    kDNaNs,             Whole, kDNaNq},
    {"SubOfEqualInfinities",    kDouble, kFpSub,  Whole, kInfD,  kInfD,              Whole, kDNoNumber},
    {"Mul",                     kDouble, kFpMul,  Whole, k3D,    0xC008000000000000, Whole, 0xC022000000000000},
    {"MulGivesADenormal",       kDouble, kFpMul,  Whole, 0x0010000000000000, 0x3FE0000000000000, Whole, 0x0008000000000000},
    {"MulOfZeroAndInfinity",    kDouble, kFpMul,  Whole, 0,      kInfD,              Whole, kDNoNumber},
    {"MulOfTwoNans",            kDouble, kFpMul,  Whole, kDNaN2s, kDNaNs,            Whole, kDNaN2q},
    {"Div",                     kDouble, kFpDiv,  Whole, k1D,    k3D,                Whole, 0x3FD5555555555555},
    {"DivByZero",               kDouble, kFpDiv,  Whole, k1D,    kNeg0D,             Whole, kNegInfD},
    {"DivOfZeroes",             kDouble, kFpDiv,  Whole, 0,      0,                  Whole, kDNoNumber},
    {"DivOfTwoNans",            kDouble, kFpDiv,  Whole, kDNaNs, kDNaN2s,            Whole, kDNaNq},
    {"Sqrt",                    kDouble, kFpSqrt, Whole, k2D,    0,                  Whole, 0x3FF6A09E667F3BCD},
    {"SqrtOfNegativeZero",      kDouble, kFpSqrt, Whole, kNeg0D, 0,                  Whole, kNeg0D},
    {"SqrtOfANegative",         kDouble, kFpSqrt, Whole, 0xBFF0000000000000, 0,      Whole, kDNoNumber},
    {"SqrtOfANan",              kDouble, kFpSqrt, Whole, kDNaN2s, 0,                 Whole, kDNaN2q},
    {"Abs",                     kDouble, kFpAbs,  Whole, 0xC008000000000000, 0,      Whole, k3D},
    {"AbsOfANan",               kDouble, kFpAbs,  Whole, kDNaN2s, 0,                 Whole, 0x7FF00000ABCDEF01},
    {"Mov",                     kDouble, kFpMov,  Whole, k3D,    0,                  Whole, k3D},
    {"MovKeepsNansSignalling",  kDouble, kFpMov,  Whole, kDNaNs, 0,                  Whole, kDNaNs},
    {"Neg",                     kDouble, kFpNeg,  Whole, k3D,    0,                  Whole, 0xC008000000000000},
    {"NegOfZero",               kDouble, kFpNeg,  Whole, 0,      0,                  Whole, kNeg0D},
    {"NegOfANan",               kDouble, kFpNeg,  Whole, kDNaNs, 0,                  Whole, 0xFFF0000000000123},
};

// An integer source has the width of its format's table; without one cvt.s and cvt.d read all 64
// bits whatever the format claims, and cvt.w and cvt.l always read a float of their table.
constexpr SRow kConversions[] = {
    // name                   format   funct  source s                   t  target d
    {"CvtSW",                 kWord,   kCvtS, Word,  7,                  0, Word,  0x40E00000},
    {"CvtSWNegative",         kWord,   kCvtS, Word,  0xFFFFFFFF,         0, Word,  0xBF800000},
    {"CvtSWTieGoesToEven",    kWord,   kCvtS, Word,  16777217,           0, Word,  0x4B800000},
    {"CvtSWLargest",          kWord,   kCvtS, Word,  0x7FFFFFFF,         0, Word,  0x4F000000},
    {"CvtSWLeast",            kWord,   kCvtS, Word,  0x80000000,         0, Word,  0xCF000000},
    {"CvtSL",                 kLong,   kCvtS, Whole, u64{1} << 40,       0, Word,  0x53800000},
    {"CvtSLRoundsOnce",       kLong,   kCvtS, Whole, 0x4000004000000001, 0, Word,  0x5E800001},
    {"CvtSLLeast",            kLong,   kCvtS, Whole, kLeastLong,         0, Word,  0xDF000000},
    {"CvtSD",                 kDouble, kCvtS, Whole, 0x3FF8000000000000, 0, Word,  0x3FC00000},
    {"CvtSDTieGoesToEven",    kDouble, kCvtS, Whole, 0x3FF0000010000000, 0, Word,  0x3F800000},
    {"CvtSDTieGoesUpToEven",  kDouble, kCvtS, Whole, 0x3FF0000030000000, 0, Word,  0x3F800002},
    {"CvtSDOverflows",        kDouble, kCvtS, Whole, 0x7FE0000000000000, 0, Word,  kInfS},
    {"CvtSDNegativeZero",     kDouble, kCvtS, Whole, kNeg0D,             0, Word,  kNeg0S},
    {"CvtSDOfANan",           kDouble, kCvtS, Whole, 0x7FF4000020000000, 0, Word,  0x7FE00001},
    {"CvtSSReadsADouble",     kSingle, kCvtS, Whole, 0xBFF8000000000000, 0, Word,  0xBFC00000},
    {"CvtDW",                 kWord,   kCvtD, Word,  0xFFFFFFFE,         0, Whole, 0xC000000000000000},
    {"CvtDWLeast",            kWord,   kCvtD, Word,  0x80000000,         0, Whole, 0xC1E0000000000000},
    {"CvtDL",                 kLong,   kCvtD, Whole, ~u64{0},            0, Whole, 0xBFF0000000000000},
    {"CvtDLTieGoesToEven",    kLong,   kCvtD, Whole, (u64{1} << 53) + 1, 0, Whole, 0x4340000000000000},
    {"CvtDSCopiesAllBits",    kSingle, kCvtD, Whole, 0x123456783F800000, 0, Whole, 0x123456783F800000},
    {"CvtDSCopiesNans",       kSingle, kCvtD, Whole, kDNaNs,             0, Whole, kDNaNs},
    {"CvtDDCopiesNans",       kDouble, kCvtD, Whole, kDNaN2s,            0, Whole, kDNaN2s},
    {"CvtWSOf2AndAHalf",      kSingle, kCvtW, Word,  0x40200000,         0, Word,  3},
    {"CvtWSOfMinus2AndAHalf", kSingle, kCvtW, Word,  0xC0200000,         0, Word,  0xFFFFFFFE},
    {"CvtWSOfMinus1",         kSingle, kCvtW, Word,  0xBF800000,         0, Word,  0},
    {"CvtWSOfMinus1AndAHalf", kSingle, kCvtW, Word,  0xBFC00000,         0, Word,  0xFFFFFFFF},
    {"CvtWSOfMinus3",         kSingle, kCvtW, Word,  0xC0400000,         0, Word,  0xFFFFFFFE},
    {"CvtWSOfAHalf",          kSingle, kCvtW, Word,  0x3F000000,         0, Word,  1},
    {"CvtWSBelowAHalf",       kSingle, kCvtW, Word,  0x3EFFFFFF,         0, Word,  1},
    {"CvtWSAddsAsASingle",    kSingle, kCvtW, Word,  0x4B000001,         0, Word,  8388610},
    {"CvtWSTooLarge",         kSingle, kCvtW, Word,  0x4F000000,         0, Word,  kLeastWord},
    {"CvtWSLeast",            kSingle, kCvtW, Word,  0xCF000000,         0, Word,  kLeastWord},
    {"CvtWSOfInfinity",       kSingle, kCvtW, Word,  kInfS,              0, Word,  kLeastWord},
    {"CvtWSOfANan",           kSingle, kCvtW, Word,  kNaNq,              0, Word,  kLeastWord},
    {"CvtWD",                 kDouble, kCvtW, Whole, 0x4004000000000000, 0, Word,  3},
    {"CvtWDNegative",         kDouble, kCvtW, Whole, 0xC004000000000000, 0, Word,  0xFFFFFFFE},
    {"CvtWDBelowAHalf",       kDouble, kCvtW, Whole, 0x3FDFFFFFFFFFFFFF, 0, Word,  1},
    {"CvtWDLargest",          kDouble, kCvtW, Whole, 0x41DFFFFFFFC00000, 0, Word,  0x7FFFFFFF},
    {"CvtWDTooLarge",         kDouble, kCvtW, Whole, 0x41DFFFFFFFE00000, 0, Word,  kLeastWord},
    {"CvtWDOfANan",           kDouble, kCvtW, Whole, kDNaNs,             0, Word,  kLeastWord},
    {"CvtWWReadsASingle",     kWord,   kCvtW, Word,  0x40200000,         0, Word,  3},
    {"CvtWLReadsADouble",     kLong,   kCvtW, Whole, 0x4004000000000000, 0, Word,  3},
    {"CvtLS",                 kSingle, kCvtL, Word,  0x40200000,         0, Whole, 3},
    {"CvtLSNegative",         kSingle, kCvtL, Word,  0xC0200000,         0, Whole, ~u64{1}},
    {"CvtLSBeyondAWord",      kSingle, kCvtL, Word,  0x53800000,         0, Whole, u64{1} << 40},
    {"CvtLSAddsAsASingle",    kSingle, kCvtL, Word,  0x4B000001,         0, Whole, 8388610},
    {"CvtLSTooLarge",         kSingle, kCvtL, Word,  0x5F000000,         0, Whole, kLeastLong},
    {"CvtLSOfANan",           kSingle, kCvtL, Word,  kNaNs,              0, Whole, kLeastLong},
    {"CvtLD",                 kDouble, kCvtL, Whole, 0xC004000000000000, 0, Whole, ~u64{1}},
    {"CvtLDAddsAsADouble",    kDouble, kCvtL, Whole, 0x433FFFFFFFFFFFFF, 0, Whole, u64{1} << 53},
    {"CvtLDTooLarge",         kDouble, kCvtL, Whole, 0x43E0000000000000, 0, Whole, kLeastLong},
    {"CvtLDOfInfinity",       kDouble, kCvtL, Whole, kNegInfD,           0, Whole, kLeastLong},
    {"CvtLDOfANan",           kDouble, kCvtL, Whole, kDNaNq,             0, Whole, kLeastLong},
    {"CvtLWReadsASingle",     kWord,   kCvtL, Word,  0x40200000,         0, Whole, 3},
    {"CvtLLReadsADouble",     kLong,   kCvtL, Whole, 0x4004000000000000, 0, Whole, 3},
};
// clang-format on

class FpRows : public FpTest, public ::testing::WithParamInterface<SRow> {};

// Register numbers: apart from each other, of both parities, and partly or wholly the same.
struct SPlaces {
  u32 d, s, t;
};
constexpr SPlaces kPlaces[] = {{2, 4, 6},   {3, 5, 7},   {9, 10, 13}, {10, 9, 12},
                               {0, 31, 30}, {5, 5, 14},  {7, 12, 7},  {31, 2, 16},
                               {6, 7, 4},   {21, 20, 8}, {17, 18, 19}};

TEST_P(FpRows, GiveTheirBitsInBothRegisterModelsAndEveryWay) {
  const SRow& row = GetParam();
  const bool bReadsTwo = row.funct <= kFpDiv;
  for (const EModel model : kEveryModel) {
    SCOPED_TRACE(NameOf(model));
    for (const SPlaces& at : kPlaces) {
      SCOPED_TRACE(::testing::Message() << "f" << at.d << ", f" << at.s << ", f" << at.t);
      FpRegisters before = MarkedFpRegisters();
      if (bReadsTwo) PutFp(before, model, row.source, at.t, row.t);
      PutFp(before, model, row.source, at.s, row.s);
      FpRegisters after = before;
      PutFp(after, model, row.target, at.d, row.d);
      // Doubles of a pair share one register, whose operand was just overwritten.
      const bool bSamePair = model == EModel::Paired && bReadsTwo && at.s / 2 == at.t / 2;
      if (bSamePair && row.source == Whole) continue;
      InEveryWay(
          FpOp(row.format, row.funct, at.d, at.s, bReadsTwo ? at.t : 0),
          [&] {
            BeginOp(model, before);
            cpu.fpCond = 0x5A;
          },
          [&] {
            ExpectRegisters(after);
            EXPECT_EQ(cpu.fpCond, 0x5Au);
          });
    }
  }
  EXPECT_TRUE(log.empty());
}

const auto NameOfRow = [](const auto& info) { return std::string(info.param.name); };
INSTANTIATE_TEST_SUITE_P(Singles, FpRows, ::testing::ValuesIn(kSingles), NameOfRow);
INSTANTIATE_TEST_SUITE_P(Doubles, FpRows, ::testing::ValuesIn(kDoubles), NameOfRow);
INSTANTIATE_TEST_SUITE_P(Conversions, FpRows, ::testing::ValuesIn(kConversions), NameOfRow);

using FpArithmetic = FpTest;

TEST_F(FpArithmetic, TakesAnyOtherFormatAsSingleOrDoubleByItsLowestBit) {
  for (const u32 format : {3u,  7u,  9u,  10u, 11u, 12u, 13u, 14u, 15u, 16u, 17u, 18u, 19u,
                           20u, 21u, 22u, 23u, 24u, 25u, 26u, 27u, 28u, 29u, 30u, 31u}) {
    SCOPED_TRACE(format);
    const bool bDouble = (format & 1) != 0;
    const EPlace place = bDouble ? Whole : Word;
    FpRegisters before = MarkedFpRegisters();
    PutFp(before, EModel::Full, place, 4, bDouble ? k1D : k1S);
    PutFp(before, EModel::Full, place, 6, bDouble ? k2D : k2S);
    FpRegisters after = before;
    PutFp(after, EModel::Full, place, 2, bDouble ? k3D : k3S);
    InEveryWay(
        FpOp(format, kFpAdd, 2, 4, 6), [&] { BeginOp(EModel::Full, before); },
        [&] { ExpectRegisters(after); });
  }
}

TEST_F(FpArithmetic, TakesAnIntegerSourceByBit23OfAnyFormat) {
  SetModel(EModel::Full);
  for (const u32 format :
       {3u, 7u, 9u, 10u, 11u, 12u, 13u, 14u, 15u, 18u, 19u, 22u, 23u, 24u, 28u, 29u, 30u, 31u}) {
    SCOPED_TRACE(format);
    const u64 source = 0x00000001FFFFFFFF;  // -1 as a word
    cpu.fpr[4] = source;
    Execute(FpOp(format, kCvtD, 2, 4));
    if ((format & 4) == 0) {
      EXPECT_EQ(cpu.fpr[2], source);
    } else {
      EXPECT_EQ(cpu.fpr[2], (format & 1) != 0 ? 0x41FFFFFFFFF00000u : 0xBFF0000000000000u);
    }
  }
}

TEST_F(FpArithmetic, TakesTheRegisterModelAnewEachTimeABlockRuns) {
  PlaceWithRest(kCode, {FpOp(kSingle, kFpAdd, 3, 5, 7)});
  for (const EModel model : {EModel::Full, EModel::Paired, EModel::Full}) {
    SCOPED_TRACE(NameOf(model));
    FpRegisters before = MarkedFpRegisters();
    PutFp(before, model, Word, 5, k1S);
    PutFp(before, model, Word, 7, k2S);
    FpRegisters after = before;
    PutFp(after, model, Word, 3, k3S);
    BeginOp(model, before);
    SetPc(kCode);
    RunBlock();
    ExpectRegisters(after);
  }
}

TEST_F(FpArithmetic, IgnoresTheGuestsRoundingModeTrapsAndFlushing) {
  SetModel(EModel::Full);
  for (u64 control = 0; control < 4; ++control) {
    cpu.fcr[31] = control | 0x01000F80;
    cpu.fpr[4] = k1S;
    cpu.fpr[6] = 0x33800001;
    Execute(FpOp(kSingle, kFpAdd, 2, 4, 6));
    EXPECT_EQ(static_cast<u32>(cpu.fpr[2]), 0x3F800001u);
    cpu.fpr[6] = 0x33800000;
    Execute(FpOp(kSingle, kFpAdd, 2, 4, 6));
    EXPECT_EQ(static_cast<u32>(cpu.fpr[2]), k1S);
    cpu.fpr[4] = 0xC0200000;
    Execute(FpOp(kSingle, kCvtW, 2, 4));
    EXPECT_EQ(static_cast<u32>(cpu.fpr[2]), 0xFFFFFFFEu);
    cpu.fpr[4] = 1;
    Execute(FpOp(kSingle, kFpMov, 2, 4));
    Execute(FpOp(kSingle, kFpAdd, 2, 2, 4));
    EXPECT_EQ(static_cast<u32>(cpu.fpr[2]), 2u);
    cpu.fpr[4] = 0;
    Execute(FpOp(kSingle, kFpDiv, 2, 4, 4));
    EXPECT_EQ(static_cast<u32>(cpu.fpr[2]), kNoNumber);
    EXPECT_EQ(cpu.fcr[31], control | 0x01000F80) << "no flag is raised";
    EXPECT_EQ(cpu.pc, kCode + 4) << "nothing traps";
  }
}

// The product is rounded before it is added.
TEST_F(FpArithmetic, RoundsBetweenAProductAndItsSum) {
  PlaceWithRest(kCode, {FpOp(kSingle, kFpMul, 2, 4, 4), FpOp(kSingle, kFpSub, 2, 2, 6)});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetModel(EModel::Full);
    cpu.fpr[4] = 0x3F800001;
    cpu.fpr[6] = 0x3F800002;
    SetPc(kCode);
    RunBlock();
    EXPECT_EQ(static_cast<u32>(cpu.fpr[2]), 0u);
  }
}

}  // namespace

std::vector<u32> FpArithmeticOpWords() {
  std::vector<u32> words;
  for (const SRow& row : kSingles) words.push_back(FpOp(row.format, row.funct, 2, 4, 6));
  for (const SRow& row : kDoubles) words.push_back(FpOp(row.format, row.funct, 2, 4, 6));
  for (const SRow& row : kConversions) words.push_back(FpOp(row.format, row.funct, 2, 4));
  return words;
}

}  // namespace vx
