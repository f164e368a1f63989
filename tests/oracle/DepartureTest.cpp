// Each departure of the allow-list shown once: the same words end differently on the board and in
// the oracle, and both ends are known. When a departure disappears, its row here fails.
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <map>
#include <set>

#include "tests/oracle/BoardRunner.h"
#include "tests/oracle/GuestProgram.h"
#include "tests/oracle/OutsideOracle.h"
#include "tests/oracle/Report.h"
#include "tests/oracle/StreamBuilder.h"

namespace vx::oracle {
namespace {

enum class EPlace : u8 { Gpr, Fpr, Lo, Hi, Condition };

// Presets: registers 1 and 2, floating point registers 0 to 3, the first doubleword at the base.
struct SPresets {
  u64 gpr[2];
  u64 fpr[4];
  u64 data;
};
constexpr u64 kHiPreset = 0x1111, kLoPreset = 0x2222, kGprPreset = 0x3333;

struct SDemonstration {
  EDeparture departure;
  const char* name;
  u32 word;
  SPresets before;
  EPlace place;
  u32 index;
  u64 board;
  u64 oracle;  // meaningless if a signal ends the oracle's program
  i32 signal = 0;
  bool bPaired = false;
};

constexpr u32 kEnd = kSlotBase + 8;  // behind the word and one op
constexpr u64 kNanSingle = 0x7FFFFFFF;
constexpr u64 kOneSingle = 0x3F800000, kTwoAndHalfSingle = 0x40200000, kHugeSingle = 0x50000000;
constexpr u64 kOneDouble = 0x3FF0000000000000, kTwoAndHalfDouble = 0x4004000000000000;
constexpr u64 kTwoDouble = 0x4000000000000000;
constexpr u64 kUpper = 0xFFFFFFFF00000000;
constexpr u64 kBaseAddress = DataAddress(0) + 224;

constexpr u32 Fp(EOp op, u32 format, u32 t, u32 s, u32 d) { return FpWord(op, format, t, s, d); }
constexpr u32 Compare(EOp op) { return FpCompareWord(op, kFormatSingle, 2, 1, 0); }
constexpr SPresets kNanOperand = {{}, {0, kNanSingle, kNanSingle}, 0};

// clang-format off
const SDemonstration kDemonstrations[] = {
    {EDeparture::OverflowIgnored, "Add", Word(EOp::Add, 1, 2, 3), {{0x7FFFFFFF, 1}, {}, 0}, EPlace::Gpr, 3, 0xFFFFFFFF80000000, 0, SIGFPE},
    {EDeparture::OverflowIgnored, "Addi", ImmediateWord(EOp::Addi, 1, 3, 1), {{0x7FFFFFFF, 1}, {}, 0}, EPlace::Gpr, 3, 0xFFFFFFFF80000000, 0, SIGFPE},
    {EDeparture::OverflowIgnored, "Sub", Word(EOp::Sub, 1, 2, 3), {{0xFFFFFFFF80000000, 1}, {}, 0}, EPlace::Gpr, 3, 0x7FFFFFFF, 0, SIGFPE},
    {EDeparture::OverflowIgnored, "Dadd", Word(EOp::Dadd, 1, 2, 3), {{0x7FFFFFFFFFFFFFFF, 1}, {}, 0}, EPlace::Gpr, 3, 0x8000000000000000, 0, SIGFPE},
    {EDeparture::OverflowIgnored, "Daddi", ImmediateWord(EOp::Daddi, 1, 3, 1), {{0x7FFFFFFFFFFFFFFF, 1}, {}, 0}, EPlace::Gpr, 3, 0x8000000000000000, 0, SIGFPE},
    {EDeparture::OverflowIgnored, "Dsub", Word(EOp::Dsub, 1, 2, 3), {{0x8000000000000000, 1}, {}, 0}, EPlace::Gpr, 3, 0x7FFFFFFFFFFFFFFF, 0, SIGFPE},
    {EDeparture::DivideByZeroKeeps, "Div", Word(EOp::Div, 1, 0, 0), {{77, 0}, {}, 0}, EPlace::Lo, 0, kLoPreset, 77},
    {EDeparture::DivideByZeroKeeps, "Divu", Word(EOp::Divu, 1, 0, 0), {{77, 0}, {}, 0}, EPlace::Hi, 0, kHiPreset, 0},
    {EDeparture::DivideByZeroKeeps, "Ddiv", Word(EOp::Ddiv, 1, 0, 0), {{77, 0}, {}, 0}, EPlace::Lo, 0, kLoPreset, 77},
    {EDeparture::DivideByZeroKeeps, "Ddivu", Word(EOp::Ddivu, 1, 0, 0), {{77, 0}, {}, 0}, EPlace::Hi, 0, kHiPreset, 0},
    {EDeparture::LwrZeroExtends, "Lwr", ImmediateWord(EOp::Lwr, kEvenBase, 3, 0), {{}, {}, 0x80000001}, EPlace::Gpr, 3, 0x80000001, 0xFFFFFFFF80000001},
    {EDeparture::CacheIgnored, "Cache", ImmediateWord(EOp::Cache, kEvenBase, 1, 0), {}, EPlace::Gpr, 3, kGprPreset, 0, SIGILL},
    {EDeparture::OpsMissing, "Ldc1", 53u << 26 | kEvenBase << 21, {{}, {1}, 0x1234}, EPlace::Fpr, 0, 1, 0x1234},
    {EDeparture::OpsMissing, "Ll", 48u << 26 | kEvenBase << 21 | 3 << 16, {{}, {}, 0x1234}, EPlace::Gpr, 3, kGprPreset, 0x1234},
    {EDeparture::OpsMissing, "Teq", 0x00000034, {}, EPlace::Gpr, 3, kGprPreset, 0, SIGTRAP},
    {EDeparture::OpsMissing, "TruncWS", Fp(EOp::FpAdd, kFormatSingle, 0, 1, 0) | 13, {{}, {9, kTwoAndHalfSingle}, 0}, EPlace::Fpr, 0, 9, 2},
    {EDeparture::WordOperands, "Sra", Word(EOp::Sra, 0, 1, 3, 4), {{0x180000000}, {}, 0}, EPlace::Gpr, 3, 0xFFFFFFFFF8000000, 0x18000000},
    {EDeparture::WordOperands, "Srav", Word(EOp::Srav, 2, 1, 3), {{0x180000000, 4}, {}, 0}, EPlace::Gpr, 3, 0xFFFFFFFFF8000000, 0x18000000},
    {EDeparture::AlignsDown, "Lw", ImmediateWord(EOp::Lw, kEvenBase, 3, 1), {{}, {}, 0x12345678}, EPlace::Gpr, 3, 0x12345678, 0, SIGBUS},
    {EDeparture::AlignsDown, "Sh", ImmediateWord(EOp::Sh, kEvenBase, 3, 1), {}, EPlace::Gpr, 3, kGprPreset, 0, SIGBUS},
    {EDeparture::AddressWidth, "Lw", ImmediateWord(EOp::Lw, 1, 3, 0), {{kBaseAddress | u64{1} << 40}, {}, 0x1234}, EPlace::Gpr, 3, 0x1234, 0, SIGSEGV},
    {EDeparture::JalrWritesZero, "Jalr", Word(EOp::Jalr, 1, 0, 0), {{kEnd}, {}, 0}, EPlace::Gpr, 0, kEnd, 0},
    {EDeparture::MovesClearHighWord, "Mtc1", MoveWord(EOp::Mtc1, 1, 0), {{5}, {kUpper}, 0}, EPlace::Fpr, 0, 5, kUpper | 5},
    {EDeparture::MovesClearHighWord, "Lwc1", ImmediateWord(EOp::Lwc1, kEvenBase, 0, 0), {{}, {kUpper}, 5}, EPlace::Fpr, 0, 5, kUpper | 5},
    {EDeparture::ControlMoves, "Ctc1", MoveWord(EOp::Ctc1, 1, 31), {{1u << 23}, {}, 0}, EPlace::Condition, 0, 0, 1},
    {EDeparture::ControlMoves, "Cfc1", MoveWord(EOp::Cfc1, 3, 31), {}, EPlace::Gpr, 3, kGprPreset, 0},
    {EDeparture::UnorderedCompares, "CUn", Compare(EOp::CUn), kNanOperand, EPlace::Condition, 0, 0, 1},
    {EDeparture::UnorderedCompares, "CUeq", Compare(EOp::CUeq), kNanOperand, EPlace::Condition, 0, 0, 1},
    {EDeparture::UnorderedCompares, "CUlt", Compare(EOp::CUlt), kNanOperand, EPlace::Condition, 0, 0, 1},
    {EDeparture::UnorderedCompares, "CUle", Compare(EOp::CUle), kNanOperand, EPlace::Condition, 0, 0, 1},
    {EDeparture::UnorderedCompares, "CNgle", Compare(EOp::CNgle), kNanOperand, EPlace::Condition, 0, 0, 1},
    {EDeparture::UnorderedCompares, "CNgl", Compare(EOp::CNgl), kNanOperand, EPlace::Condition, 0, 0, 1},
    {EDeparture::UnorderedCompares, "CNge", Compare(EOp::CNge), kNanOperand, EPlace::Condition, 0, 0, 1},
    {EDeparture::UnorderedCompares, "CNgt", Compare(EOp::CNgt), kNanOperand, EPlace::Condition, 0, 0, 1},
    {EDeparture::RoundsByHalf, "CvtWS", Fp(EOp::CvtW, kFormatSingle, 0, 1, 0), {{}, {0, kTwoAndHalfSingle}, 0}, EPlace::Fpr, 0, 3, 2},
    {EDeparture::RoundsByHalf, "CvtWD", Fp(EOp::CvtW, kFormatDouble, 0, 1, 0), {{}, {0, kTwoAndHalfDouble}, 0}, EPlace::Fpr, 0, 3, 2},
    {EDeparture::RoundsByHalf, "CvtLS", Fp(EOp::CvtL, kFormatSingle, 0, 1, 0), {{}, {0, kTwoAndHalfSingle}, 0}, EPlace::Fpr, 0, 3, 2},
    {EDeparture::RoundsByHalf, "CvtLD", Fp(EOp::CvtL, kFormatDouble, 0, 1, 0), {{}, {0, kTwoAndHalfDouble}, 0}, EPlace::Fpr, 0, 3, 2},
    {EDeparture::RoundsByHalf, "CvtWSTooLarge", Fp(EOp::CvtW, kFormatSingle, 0, 1, 0), {{}, {0, kHugeSingle}, 0}, EPlace::Fpr, 0, 0x80000000, 0x7FFFFFFF},
    {EDeparture::CvtDCopies, "CvtDS", Fp(EOp::CvtD, kFormatSingle, 0, 1, 0), {{}, {0, kOneSingle}, 0}, EPlace::Fpr, 0, kOneSingle, kOneDouble},
    {EDeparture::CvtDCopies, "CvtDD", Fp(EOp::CvtD, kFormatDouble, 0, 1, 0), {{}, {0, kOneDouble}, 0}, EPlace::Fpr, 0, kOneDouble, 0, SIGILL},
    {EDeparture::CvtSReadsDouble, "CvtSS", Fp(EOp::CvtS, kFormatSingle, 0, 1, 0), {{}, {0, kOneDouble}, 0}, EPlace::Fpr, 0, kOneSingle, 0, SIGILL},
    {EDeparture::FormatByParity, "OddAddsDoubles", Fp(EOp::FpAdd, 19, 1, 1, 0), {{}, {0, kOneDouble}, 0}, EPlace::Fpr, 0, kTwoDouble, 0, SIGILL},
    {EDeparture::FormatByParity, "WordAddsSingles", Fp(EOp::FpAdd, kFormatWord, 1, 1, 0), {{}, {0, kOneSingle}, 0}, EPlace::Fpr, 0, 0x40000000, 0, SIGILL},
    {EDeparture::NanResults, "ZeroByZero", Fp(EOp::FpDiv, kFormatSingle, 1, 1, 0), {}, EPlace::Fpr, 0, 0xFFC00000, 0x7FBFFFFF},
    {EDeparture::NanResults, "RootOfMinusOne", Fp(EOp::FpSqrt, kFormatDouble, 0, 1, 0), {{}, {0, 0xBFF0000000000000}, 0}, EPlace::Fpr, 0, 0xFFF8000000000000, 0x7FF7FFFFFFFFFFFF},
    {EDeparture::PairedMoves, "Mtc1", MoveWord(EOp::Mtc1, 1, 1), {{5}, {}, 0}, EPlace::Fpr, 0, 5, u64{5} << 32, 0, true},
    {EDeparture::PairedMoves, "Mfc1", MoveWord(EOp::Mfc1, 3, 1), {{}, {0x0000000500000006}, 0}, EPlace::Gpr, 3, 6, 5, 0, true},
    {EDeparture::PairedMoves, "Lwc1", ImmediateWord(EOp::Lwc1, kEvenBase, 1, 0), {{}, {}, 5}, EPlace::Fpr, 0, 5, u64{5} << 32, 0, true},
    {EDeparture::PairedDoubles, "AddD", Fp(EOp::FpAdd, kFormatDouble, 3, 3, 1), {{}, {0, 0, kOneDouble}, 0}, EPlace::Fpr, 0, kTwoDouble, 0, SIGILL, true},
    {EDeparture::PairedLongs, "CvtDL", Fp(EOp::CvtD, kFormatLong, 0, 2, 0), {{}, {0, 0, 1}, 0}, EPlace::Fpr, 0, kOneDouble, 0, SIGILL, true},
};
// clang-format on

SStream MakeStream(std::initializer_list<u32> words, const SPresets& presets, bool bPaired) {
  SStream stream;
  stream.address = kSlotBase;
  stream.bFullRegisters = !bPaired;
  for (const u32 word : words) stream.ops.push_back({word, word});
  for (const u32 word : {JumpWord(EOp::J, kHarnessExit), kNopWord}) {
    stream.ops.push_back({word, word});
  }
  SStreamRecord& before = stream.before[0];
  before.entry = kSlotBase;
  before.gpr[1] = presets.gpr[0];
  before.gpr[2] = presets.gpr[1];
  before.gpr[3] = kGprPreset;
  before.gpr[kTempB] = kSlotBase;
  before.gpr[kRecordRegister] = RecordAddress(0);
  before.gpr[kEvenBase] = kBaseAddress;
  before.hi = kHiPreset;
  before.lo = kLoPreset;
  std::memcpy(before.fpr, presets.fpr, sizeof(presets.fpr));
  std::memcpy(before.data + 224, &presets.data, sizeof(presets.data));
  stream.before[1] = before;
  return stream;
}

u64 ValueAt(const SStreamRecord& record, EPlace place, u32 index) {
  switch (place) {
    case EPlace::Gpr:
      return record.gpr[index];
    case EPlace::Fpr:
      return record.fpr[index];
    case EPlace::Lo:
      return record.lo;
    case EPlace::Hi:
      return record.hi;
    default:
      return record.conditions;
  }
}

void PrintTo(const SDemonstration& demo, std::ostream* out) {
  *out << DepartureOf(demo.departure).name << ": " << Describe(demo.word);
}

class Departure : public ::testing::TestWithParam<SDemonstration> {};

TEST_P(Departure, EndsAsKnownOnBothSides) {
  const SDemonstration& demo = GetParam();
  const SStream stream = MakeStream({demo.word, kNopWord}, demo.before, demo.bPaired);
  CBoardRunner runner;
  runner.Place(stream);
  for (const EBoardPass pass : {EBoardPass::Forming, EBoardPass::Plain, EBoardPass::Careful}) {
    const SBoardResult board = runner.Run(stream, 0, pass);
    ASSERT_TRUE(board.bFinished);
    EXPECT_EQ(ValueAt(board.after, demo.place, demo.index), demo.board) << Listing(stream);
  }
  if (demo.signal != 0) {
    const SOracleRun run = RunProgram(BuildGuestProgram({&stream, 1}, !demo.bPaired), "R4000");
    EXPECT_EQ(run.signal, demo.signal) << Listing(stream);
    return;
  }
  std::string error;
  const std::vector<SStreamRecord> oracle = RunStreams({&stream, 1}, "R4000", error);
  ASSERT_EQ(oracle.size(), kRecordsOfStream) << error;
  EXPECT_EQ(ValueAt(oracle[0], demo.place, demo.index), demo.oracle) << Listing(stream);
  EXPECT_NE(demo.board, demo.oracle);
}

std::string NameOf(const ::testing::TestParamInfo<SDemonstration>& info) {
  return "Row" + std::to_string(info.index) + info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Known, Departure, ::testing::ValuesIn(kDemonstrations), NameOf);

// --- Likely branches ---------------------------------------------------------------------------

// Registers 4, 5 and 6 count what has run: the delay op, the op behind it, the branch's target.
struct SRun {
  u64 delayOp, next, target;
  bool operator==(const SRun&) const = default;
};

class LikelyBranch : public ::testing::Test {
 protected:
  // The stream with the branch's register 1 at a value.
  static SStream With(u32 branch, u64 value) {
    const auto count = [](u32 r) { return ImmediateWord(EOp::Addiu, r, r, 1); };
    return MakeStream({branch, count(4), count(5), kNopWord, count(6)}, {{value, 0}, {}, 0}, false);
  }
  static SRun RunOf(const SStreamRecord& r) { return {r.gpr[4], r.gpr[5], r.gpr[6]}; }

  static SRun InOracle(const SStream& stream) {
    std::string error;
    const std::vector<SStreamRecord> records = RunStreams({&stream, 1}, "R4000", error);
    EXPECT_EQ(records.size(), kRecordsOfStream) << error;
    return records.empty() ? SRun{} : RunOf(records[0]);
  }
  // Forms the stream with one value of the register and replays it with another.
  SRun Replayed(u32 branch, u64 formedWith, u64 value, EBoardPass pass) {
    runner_.Place(With(branch, formedWith));
    runner_.Run(With(branch, formedWith), 0, EBoardPass::Forming);
    return RunOf(runner_.Run(With(branch, value), 0, pass).after);
  }

  CBoardRunner runner_;
};

constexpr u32 kBeql = ImmediateWord(EOp::Beql, 1, 0, 3);    // taken at 0
constexpr u32 kBltzl = ImmediateWord(EOp::Bltzl, 1, 0, 3);  // taken below 0
constexpr u64 kMinusOne = ~u64{0};

TEST_F(LikelyBranch, NotTakenInPlainReplayRunsItsDelayOpAndSkipsTheNext) {
  EXPECT_EQ(InOracle(With(kBeql, 1)), (SRun{0, 1, 1}));
  EXPECT_EQ(Replayed(kBeql, 0, 1, EBoardPass::Plain), (SRun{1, 0, 1}));
  EXPECT_EQ(Replayed(kBltzl, kMinusOne, 1, EBoardPass::Plain), (SRun{1, 0, 1}));
}

TEST_F(LikelyBranch, TakenInReplayOfABlockFormedWithoutRunsTheNextOpInItsDelaySlot) {
  EXPECT_EQ(InOracle(With(kBeql, 0)), (SRun{1, 0, 1}));
  EXPECT_EQ(Replayed(kBeql, 1, 0, EBoardPass::Plain), (SRun{0, 1, 1}));
}

TEST_F(LikelyBranch, OfTheMarkedFormsNotTakenInCarefulReplaySkipsTheNextOpToo) {
  EXPECT_EQ(InOracle(With(kBltzl, 1)), (SRun{0, 1, 1}));
  EXPECT_EQ(Replayed(kBltzl, kMinusOne, 1, EBoardPass::Careful), (SRun{0, 0, 1}));
  EXPECT_EQ(Replayed(kBeql, 0, 1, EBoardPass::Careful), (SRun{1, 0, 1}));
}

// --- The allow-list as a whole -----------------------------------------------------------------

TEST(AllowList, ShowsEachDeparture) {
  std::set<EDeparture> shown = {EDeparture::None, EDeparture::LikelyReplay};
  for (const SDemonstration& demo : kDemonstrations) shown.insert(demo.departure);
  for (const SDeparture& departure : Departures()) {
    EXPECT_TRUE(shown.contains(departure.id)) << departure.name;
  }
}

TEST(AllowList, StandsInTheOrderOfItsNames) {
  for (size_t i = 0; i < Departures().size(); ++i) {
    EXPECT_EQ(Departures()[i].id, static_cast<EDeparture>(i));
  }
}

// Walks over streams of every class.
template <typename TVisit>
void VisitOps(TVisit visit) {
  constexpr u64 kStreamsOfEach = 600;
  for (const SStreamClass& kind : kStreamClasses) {
    for (u64 i = 0; i < kStreamsOfEach; ++i) {
      for (const SStreamOp& op : GenerateStream(kind.id, i).ops) visit(kind, op);
    }
  }
}

TEST(AllowList, NamesTheReasonOfEveryStandInAndEachHasItsUse) {
  std::set<EDeparture> used;
  VisitOps([&](const SStreamClass& kind, const SStreamOp& op) {
    if (op.board == op.oracle) return;
    ASSERT_NE(op.departure, EDeparture::None) << kind.name << " " << Describe(op.board);
    used.insert(op.departure);
  });
  for (const SDeparture& departure : Departures()) {
    if (departure.id == EDeparture::None) continue;
    const bool bStandsIn = departure.adaptation == EAdaptation::StandIn;
    EXPECT_EQ(used.contains(departure.id), bStandsIn) << departure.name;
  }
}

// The privileged ops are left to tests of long programs.
TEST(Streams, ContainEveryOpOfTheTableThatIsNotPrivileged) {
  std::set<EOp> seen;
  VisitOps([&](const SStreamClass&, const SStreamOp& op) {
    EOp decoded = DecodeOp(op.board);
    if (decoded == EOp::Unimplemented && MainCode(op.board) == kMainCop1) {
      decoded = kCop1FunctionOps[Funct(op.board)];
    }
    seen.insert(decoded);
  });
  const std::set<EOp> privileged = {EOp::Syscall, EOp::Break, EOp::Mfc0,  EOp::Dmfc0, EOp::Mtc0,
                                    EOp::Tlbr,    EOp::Tlbwi, EOp::Tlbwr, EOp::Tlbp,  EOp::Eret};
  for (u32 i = kFirstRow; i < kOpCount; ++i) {
    const auto op = static_cast<EOp>(i);
    EXPECT_NE(seen.contains(op), privileged.contains(op)) << OpInfo(op).name;
  }
}

}  // namespace
}  // namespace vx::oracle
