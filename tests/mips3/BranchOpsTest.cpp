// Jumps and branches as single ops: what they test, where they go and what they link. How blocks
// treat them is tested with the run loop.
#include "tests/mips3/OpCoverage.h"
#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u64 kOnes = ~u64{0};
constexpr u64 kBigPositive = 0x80000000;  // negative as a word, positive as a register
constexpr u64 kUpperOnly = 0x100000000;   // zero as a word
constexpr i32 kOffset = -8;
constexpr u32 kAfter = kCode + 4;  // pc while the branch at kCode executes
constexpr u32 kTarget = kAfter - 8 * 4;

enum ELinks { kLinks, kDoesNotLink };
enum EKind { kOrdinary, kLikelyForm };

struct SCase {
  const char* name;
  u32 word;
  u64 s, t;
  bool bTaken;
  ELinks links = kDoesNotLink;
  EKind kind = kOrdinary;
};

// clang-format off
constexpr SCase kCases[] = {
    {"BeqEqual",           Beq(kA0, kA1, kOffset),  5,            5,            true},
    {"BeqDifferentUpper",  Beq(kA0, kA1, kOffset),  5,            kUpperOnly|5, false},
    {"BneDifferentUpper",  Bne(kA0, kA1, kOffset),  5,            kUpperOnly|5, true},
    {"BneEqual",           Bne(kA0, kA1, kOffset),  5,            5,            false},
    {"BlezZero",           Blez(kA0, kOffset),      0,            0,            true},
    {"BlezNegative",       Blez(kA0, kOffset),      kOnes,        0,            true},
    {"BlezBigPositive",    Blez(kA0, kOffset),      kBigPositive, 0,            false},
    {"BgtzZero",           Bgtz(kA0, kOffset),      0,            0,            false},
    {"BgtzUpperOnly",      Bgtz(kA0, kOffset),      kUpperOnly,   0,            true},
    {"BgtzNegative",       Bgtz(kA0, kOffset),      kOnes,        0,            false},
    {"BltzNegative",       Bltz(kA0, kOffset),      kOnes,        0,            true},
    {"BltzBigPositive",    Bltz(kA0, kOffset),      kBigPositive, 0,            false},
    {"BltzZero",           Bltz(kA0, kOffset),      0,            0,            false},
    {"BgezZero",           Bgez(kA0, kOffset),      0,            0,            true},
    {"BgezBigPositive",    Bgez(kA0, kOffset),      kBigPositive, 0,            true},
    {"BgezNegative",       Bgez(kA0, kOffset),      kOnes,        0,            false},
    {"BltzalNegative",     Bltzal(kA0, kOffset),    kOnes,        0,            true,  kLinks},
    {"BltzalZero",         Bltzal(kA0, kOffset),    0,            0,            false, kLinks},
    {"BgezalZero",         Bgezal(kA0, kOffset),    0,            0,            true,  kLinks},
    {"BgezalNegative",     Bgezal(kA0, kOffset),    kOnes,        0,            false, kLinks},

    {"BeqlEqual",          Beql(kA0, kA1, kOffset), 5,            5,            true,  kDoesNotLink, kLikelyForm},
    {"BeqlDifferentUpper", Beql(kA0, kA1, kOffset), 5,            kUpperOnly|5, false, kDoesNotLink, kLikelyForm},
    {"BnelDifferentUpper", Bnel(kA0, kA1, kOffset), 5,            kUpperOnly|5, true,  kDoesNotLink, kLikelyForm},
    {"BnelEqual",          Bnel(kA0, kA1, kOffset), 5,            5,            false, kDoesNotLink, kLikelyForm},
    {"BlezlZero",          Blezl(kA0, kOffset),     0,            0,            true,  kDoesNotLink, kLikelyForm},
    {"BlezlBigPositive",   Blezl(kA0, kOffset),     kBigPositive, 0,            false, kDoesNotLink, kLikelyForm},
    {"BgtzlUpperOnly",     Bgtzl(kA0, kOffset),     kUpperOnly,   0,            true,  kDoesNotLink, kLikelyForm},
    {"BgtzlZero",          Bgtzl(kA0, kOffset),     0,            0,            false, kDoesNotLink, kLikelyForm},
    {"BltzlNegative",      Bltzl(kA0, kOffset),     kOnes,        0,            true,  kDoesNotLink, kLikelyForm},
    {"BltzlBigPositive",   Bltzl(kA0, kOffset),     kBigPositive, 0,            false, kDoesNotLink, kLikelyForm},
    {"BgezlZero",          Bgezl(kA0, kOffset),     0,            0,            true,  kDoesNotLink, kLikelyForm},
    {"BgezlNegative",      Bgezl(kA0, kOffset),     kOnes,        0,            false, kDoesNotLink, kLikelyForm},
    {"BltzallNegative",    Bltzall(kA0, kOffset),   kOnes,        0,            true,  kLinks,       kLikelyForm},
    {"BltzallZero",        Bltzall(kA0, kOffset),   0,            0,            false, kLinks,       kLikelyForm},
    {"BgezallZero",        Bgezall(kA0, kOffset),   0,            0,            true,  kLinks,       kLikelyForm},
    {"BgezallNegative",    Bgezall(kA0, kOffset),   kOnes,        0,            false, kLinks,       kLikelyForm},
};
// clang-format on

class BranchOps : public ProcessorTest, public ::testing::WithParamInterface<SCase> {};

TEST_P(BranchOps, GoWhereTheyShouldAndLink) {
  const SCase& row = GetParam();
  gpr[kA0] = row.s;
  gpr[kA1] = row.t;
  gpr[kRa] = 99;
  cpu.pc = kAfter;
  ExecuteWord(m.get(), row.word);
  EXPECT_EQ(cpu.branchTarget, row.bTaken ? kTarget : kNoBranch);
  const bool bAnnuls = !row.bTaken && row.kind == kLikelyForm;
  EXPECT_EQ(cpu.pc, bAnnuls ? kAfter + 4 : kAfter);
  EXPECT_EQ(gpr[kRa], row.links == kLinks ? Extended(kAfter + 4) : 99);
}

TEST_P(BranchOps, TestTheRegisterBeforeItBecomesTheLink) {
  const SCase& row = GetParam();
  if (row.links != kLinks) return;
  gpr[kRa] = row.s;
  cpu.pc = kAfter;
  ExecuteWord(m.get(), (row.word & ~(31u << 21)) | kRa << 21);
  EXPECT_EQ(cpu.branchTarget, row.bTaken ? kTarget : kNoBranch);
  EXPECT_EQ(gpr[kRa], Extended(kAfter + 4));
}

// The delay slot counts t0 up; the op at the target stores 1 in t1.
TEST_P(BranchOps, RunTheirDelayOpBeforeTheTargetInFormingAndReplay) {
  const SCase& row = GetParam();
  if (row.kind == kLikelyForm && !row.bTaken) return;
  PlaceWithRest(kTarget, {Addiu(kT1, kZero, 1)});
  PlaceWithRest(kCode, {row.word, Addiu(kT0, kT0, 1)});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    gpr[kT0] = gpr[kT1] = 0;
    gpr[kA0] = row.s;
    gpr[kA1] = row.t;
    EXPECT_EQ(RunBlock(), 2u);
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(gpr[kT1], 0u);
    EXPECT_EQ(cpu.pc, row.bTaken ? kTarget : kCode + 8);
    Run(3);
    EXPECT_EQ(gpr[kT1], row.bTaken ? 1u : 0u);
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, BranchOps, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

using Jumps = ProcessorTest;

TEST_F(Jumps, JumpStaysInThe256MiBOfTheOpBehindIt) {
  cpu.pc = 0x90000000;  // the jump stood at the end of the segment before
  ExecuteWord(m.get(), J(0x0ABCDEF0));
  EXPECT_EQ(cpu.branchTarget, 0x9ABCDEF0u);
  EXPECT_EQ(cpu.pc, 0x90000000u);
}

TEST_F(Jumps, JalLinksBehindItsDelaySlotSignExtended) {
  cpu.pc = kAfter;
  ExecuteWord(m.get(), Jal(0x80004000));
  EXPECT_EQ(cpu.branchTarget, 0x80004000u);
  EXPECT_EQ(gpr[kRa], Extended(kAfter + 4));
}

TEST_F(Jumps, LinksAreExactInTheMiddleOfABlock) {
  PlaceWithRest(kTarget, {kNop});
  for (const u32 word : {Jal(kTarget), Jalr(kRa, kA0), Bgezal(kZero, 0x100), Bltzal(kZero, 4)}) {
    nextCode += 0x40;
    PlaceWithRest(nextCode, {kNop, kNop, Lw(kA1, 0, kA0), word, kNop});
    for (const char* pass : {"forming", "replay"}) {
      SCOPED_TRACE(pass);
      SetPc(nextCode);
      gpr[kRa] = 0;
      gpr[kA0] = Extended(kTarget);
      EXPECT_EQ(RunBlock(), 5u);
      EXPECT_EQ(gpr[kRa], Extended(nextCode + 20));
    }
  }
}

TEST_F(Jumps, JrTakesTheLowWord) {
  gpr[kA0] = 0x7777777780004321;
  cpu.pc = kAfter;
  ExecuteWord(m.get(), Jr(kA0));
  EXPECT_EQ(cpu.branchTarget, 0x80004321u);
}

TEST_F(Jumps, JalrReadsItsTargetBeforeItLinks) {
  gpr[kA0] = Extended(0x80004000);
  cpu.pc = kAfter;
  ExecuteWord(m.get(), Jalr(kA0, kA0));
  EXPECT_EQ(cpu.branchTarget, 0x80004000u);
  EXPECT_EQ(gpr[kA0], Extended(kAfter + 4));
}

TEST_F(Jumps, JalrAlsoLinksInRegisterZero) {
  PlaceWithRest(kCode, {Jalr(kZero, kA0), kNop});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    gpr[kA0] = Extended(kCode + 8);
    gpr[kZero] = 0;
    RunBlock();
    EXPECT_EQ(gpr[kZero], Extended(kCode + 8));
  }
}

TEST_F(Jumps, JumpToTheAllOnesAddressFallsThrough) {
  PlaceWithRest(kCode, {Jr(kA0), Addiu(kT0, kT0, 1)});
  gpr[kA0] = kOnes;
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    gpr[kT0] = 0;
    EXPECT_EQ(RunBlock(), 2u);
    EXPECT_EQ(cpu.pc, kCode + 8);
    EXPECT_EQ(gpr[kT0], 1u);
  }
}

// While a delay op runs pc is the branch's target, which shows in what it links.
TEST_F(Jumps, LinkInADelaySlotIsRelativeToTheTarget) {
  PlaceWithRest(0x80002000, {kNop});
  PlaceWithRest(0x80003000, {kNop, kNop});
  Place(kCode, {J(0x80002000), Jal(0x80003000)});
  RunBlock();
  EXPECT_EQ(gpr[kRa], Extended(0x80002004));
}

}  // namespace

std::vector<u32> BranchOpWords() {
  std::vector<u32> words;
  for (const SCase& row : kCases) words.push_back(row.word);
  return words;
}

}  // namespace vx
