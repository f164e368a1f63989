// Compares, the eight condition bits, and the branches on them.
#include <cstring>

#include "tests/mips3/FpFixture.h"
#include "tests/mips3/OpCoverage.h"

namespace vx {

namespace {

using namespace mips;

struct SRelation {
  const char* name;
  u32 funct;
  bool bLess, bEqual;
};
// Neither a greater first operand nor a NaN makes any of them true.
constexpr SRelation kRelations[] = {
    {"CF", 48, false, false},    {"CUn", 49, false, false}, {"CEq", 50, false, true},
    {"CUeq", 51, false, true},   {"COlt", 52, true, false}, {"CUlt", 53, true, false},
    {"COle", 54, true, true},    {"CUle", 55, true, true},  {"CSf", 56, false, false},
    {"CNgle", 57, false, false}, {"CSeq", 58, false, true}, {"CNgl", 59, false, true},
    {"CLt", 60, true, false},    {"CNge", 61, true, false}, {"CLe", 62, true, true},
    {"CNgt", 63, true, true},
};

enum class EOutcome { Less, Equal, Greater, Unordered };
struct SOperands {
  u64 single[2], whole[2];
  EOutcome outcome;
};
constexpr SOperands kOperands[] = {
    {{0x3F800000, 0x40000000}, {0x3FF0000000000000, 0x4000000000000000}, EOutcome::Less},
    {{0xC0000000, 0xBF800000}, {0xC000000000000000, 0xBFF0000000000000}, EOutcome::Less},
    {{0xFF800000, 0x00000001}, {0xFFF0000000000000, 0x0000000000000001}, EOutcome::Less},
    {{0x3F800000, 0x3F800000}, {0x3FF0000000000000, 0x3FF0000000000000}, EOutcome::Equal},
    {{0x80000000, 0x00000000}, {0x8000000000000000, 0x0000000000000000}, EOutcome::Equal},
    {{0x7F800000, 0x7F800000}, {0x7FF0000000000000, 0x7FF0000000000000}, EOutcome::Equal},
    {{0x40000000, 0x3F800000}, {0x4000000000000000, 0x3FF0000000000000}, EOutcome::Greater},
    {{0x00000001, 0x00000000}, {0x0000000000000001, 0x0000000000000000}, EOutcome::Greater},
    {{0x7FC00000, 0x3F800000}, {0x7FF8000000000000, 0x3FF0000000000000}, EOutcome::Unordered},
    {{0x3F800000, 0x7F800001}, {0x3FF0000000000000, 0x7FF0000000000001}, EOutcome::Unordered},
    {{0xFFC00000, 0xFFC00000}, {0xFFF8000000000000, 0xFFF8000000000000}, EOutcome::Unordered},
};

class FpCompares : public FpTest, public ::testing::WithParamInterface<SRelation> {
 protected:
  // Puts the operands into f5 and f10 and says whether the relation holds.
  bool Prepare(EModel model, u32 format, const SOperands& row) {
    const bool bSingle = format == kSingle;
    const EPlace place = bSingle ? EPlace::Word : EPlace::Whole;
    FpRegisters registers = MarkedFpRegisters();
    PutFp(registers, model, place, 5, bSingle ? row.single[0] : row.whole[0]);
    PutFp(registers, model, place, 10, bSingle ? row.single[1] : row.whole[1]);
    BeginOp(model, registers);
    const SRelation& relation = GetParam();
    return row.outcome == EOutcome::Less    ? relation.bLess
           : row.outcome == EOutcome::Equal ? relation.bEqual
                                            : false;
  }
};

TEST_P(FpCompares, SetOrClearTheirConditionBitAlone) {
  for (const EModel model : kEveryModel) {
    for (const u32 format : {kSingle, kDouble}) {
      for (const SOperands& row : kOperands) {
        const bool bHolds = Prepare(model, format, row);
        for (u32 condition = 0; condition < 8; ++condition) {
          for (const u32 before : {0x00u, 0xFFu}) {
            SCOPED_TRACE(::testing::Message() << NameOf(model) << ", format " << format << ", row "
                                              << &row - kOperands << ", condition " << condition);
            cpu.fpCond = before;
            Execute(FpCompareOp(format, GetParam().funct, condition, 5, 10));
            const u32 bit = 1u << condition;
            EXPECT_EQ(cpu.fpCond, bHolds ? before | bit : before & ~bit);
          }
        }
      }
    }
  }
}

TEST_P(FpCompares, ChangeNothingElseInEveryWay) {
  for (const u32 format : {kSingle, kDouble}) {
    for (const SOperands& row : kOperands) {
      bool bHolds = false;
      FpRegisters registers{};
      InEveryWay(
          FpCompareOp(format, GetParam().funct, 3, 5, 10),
          [&] {
            bHolds = Prepare(EModel::Paired, format, row);
            std::memcpy(registers.data(), cpu.fpr, sizeof(cpu.fpr));
            cpu.fpCond = 0xA0;
            cpu.fcr[31] = 0x55;
          },
          [&] {
            EXPECT_EQ(cpu.fpCond, bHolds ? 0xA8u : 0xA0u);
            EXPECT_EQ(cpu.fcr[31], 0x55u);
            ExpectRegisters(registers);
          });
    }
  }
  EXPECT_TRUE(log.empty());
}

INSTANTIATE_TEST_SUITE_P(Rows, FpCompares, ::testing::ValuesIn(kRelations),
                         [](const auto& info) { return std::string(info.param.name); });

// --- Branches ------------------------------------------------------------------------------------

constexpr u32 kAfter = kCode + 4;
constexpr u32 kFar = 0x80002000;

struct SForm {
  const char* name;
  u32 form;
  bool bTakenWhenSet, bLikely;
};
constexpr SForm kForms[] = {{"Bc1f", 0, false, false},
                            {"Bc1t", 1, true, false},
                            {"Bc1fl", 2, false, true},
                            {"Bc1tl", 3, true, true}};

class FpBranches : public FpTest, public ::testing::WithParamInterface<SForm> {
 protected:
  // Condition bits that make a branch on one of them be taken or not, the others the other way.
  u32 ConditionsFor(u32 condition, bool bTaken) const {
    const u32 bit = 1u << condition;
    return GetParam().bTakenWhenSet == bTaken ? bit : 0xFF & ~bit;
  }
};

TEST_P(FpBranches, GoByOneConditionBit) {
  for (u32 condition = 0; condition < 8; ++condition) {
    for (const bool bTaken : {false, true}) {
      SCOPED_TRACE(::testing::Message() << "condition " << condition << (bTaken ? " taken" : ""));
      for (const i32 offset : {-8, 0x100, -0x8000, 0x7FFF}) {
        cpu.fpCond = ConditionsFor(condition, bTaken);
        const u32 before = cpu.fpCond;
        Execute(Bc1(GetParam().form, condition, offset));
        EXPECT_EQ(cpu.branchTarget, bTaken ? kAfter + static_cast<u32>(offset * 4) : kNoBranch);
        EXPECT_EQ(cpu.pc, !bTaken && GetParam().bLikely ? kAfter + 4 : kAfter);
        EXPECT_EQ(cpu.fpCond, before);
        EXPECT_EQ(gpr[kRa], 0u) << "no link";
      }
    }
  }
}

TEST_P(FpBranches, TakenRunTheirDelayOpInFormingAndReplay) {
  PlaceWithRest(kFar, {kNop});
  PlaceWithRest(kCode, {kNop, Bc1(GetParam().form, 5, (kFar - kCode - 8) / 4), Addiu(kT0, kT0, 1),
                        Addiu(kT1, kT1, 1)});
  for (const char* pass : {"forming", "replay", "careful replay"}) {
    SCOPED_TRACE(pass);
    RecordAt(kCode).flags |= pass[0] == 'c' ? kOpCareful : 0u;
    cpu.fpCond = ConditionsFor(5, true);
    gpr[kT0] = gpr[kT1] = 0;
    SetPc(kCode);
    EXPECT_EQ(RunBlock(), 3u);
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(gpr[kT1], 0u);
    EXPECT_EQ(cpu.pc, kFar);
  }
  EXPECT_EQ(RecordAt(kCode + 4).flags, 0x011u);
  EXPECT_EQ(RecordAt(kCode + 8).flags, 0x101u);
}

TEST_P(FpBranches, MarkTheirBlockAndTheLikelyFormsMarkItFurther) {
  PlaceWithRest(kFar, {kNop});
  PlaceWithRest(kCode, {kNop, Bc1(GetParam().form, 5, (kFar - kCode - 8) / 4), kNop});
  cpu.fpCond = ConditionsFor(5, true);
  RunBlock();
  EXPECT_EQ(RecordAt(kCode).flags, GetParam().bLikely ? 0x04Fu : 0x047u);
}

// The likely forms in blocks are tested with the other likely branches.
TEST_P(FpBranches, NotTakenRunTheirDelayOpUnlessLikely) {
  PlaceWithRest(kCode, {kNop, Bc1(GetParam().form, 5, 8), Addiu(kT0, kT0, 1), kNop});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    cpu.fpCond = ConditionsFor(5, false);
    gpr[kT0] = 0;
    SetPc(kCode);
    EXPECT_EQ(RunBlock(), 3u);
    EXPECT_EQ(gpr[kT0], GetParam().bLikely ? 0u : 1u);
    EXPECT_EQ(cpu.pc, GetParam().bLikely ? kCode + 16 : kCode + 12);
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, FpBranches, ::testing::ValuesIn(kForms),
                         [](const auto& info) { return std::string(info.param.name); });

using FpConditions = FpTest;

TEST_F(FpConditions, CompareDecidesTheBranchBehindIt) {
  PlaceWithRest(kFar, {Addiu(kT1, kT1, 1)});
  for (u32 condition = 0; condition < 8; ++condition) {
    SCOPED_TRACE(condition);
    nextCode += 0x40;
    PlaceWithRest(nextCode, {FpCompareOp(kSingle, 60, condition, 4, 6),
                             Bc1t(condition, static_cast<i32>(kFar - nextCode - 8) / 4), kNop});
    for (const bool bLess : {true, false, true}) {
      SetModel(EModel::Full);
      cpu.fpr[4] = bLess ? 0x3F800000 : 0x40400000;
      cpu.fpr[6] = 0x40000000;
      gpr[kT1] = 0;
      SetPc(nextCode);
      Run(6);
      EXPECT_EQ(gpr[kT1], bLess ? 1u : 0u);
    }
  }
}

}  // namespace

std::vector<u32> FpCompareOpWords() {
  std::vector<u32> words;
  for (const SRelation& row : kRelations)
    words.push_back(FpCompareOp(kSingle, row.funct, 0, 5, 10));
  for (const SForm& row : kForms) words.push_back(Bc1(row.form, 0, 0));
  return words;
}

}  // namespace vx
