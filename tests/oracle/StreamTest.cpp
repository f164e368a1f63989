// Streams on the board against the oracle that judges their class, in large batches.
#include <gtest/gtest.h>

#include <algorithm>
#include <span>

#include "tests/oracle/BoardRunner.h"
#include "tests/oracle/Options.h"
#include "tests/oracle/OutsideOracle.h"
#include "tests/oracle/PlainRules.h"
#include "tests/oracle/Report.h"
#include "tests/oracle/StreamBuilder.h"

namespace vx::oracle {
namespace {

constexpr const char* kTotalVariable = "VX_ORACLE_STREAMS";  // streams of all classes together
constexpr const char* kSingleVariable = "VX_ORACLE_STREAM";  // one stream's number
constexpr u32 kMaxReports = 3;

u64 StreamsOf(const SStreamClass& kind) {
  const std::optional<u64> total = NumberFrom(kTotalVariable);
  if (!total) return kind.defaultStreams;
  u64 sum = 0;
  for (const SStreamClass& each : kStreamClasses) {
    if (each.cpuModel != nullptr) sum += each.defaultStreams;
  }
  return (*total * kind.defaultStreams + sum - 1) / sum;
}

std::vector<SStream> GenerateStreams(EStreamClass id, u64 first, u64 count) {
  std::vector<SStream> streams;
  streams.reserve(count);
  for (u64 i = 0; i < count; ++i) streams.push_back(GenerateStream(id, first + i));
  return streams;
}

class CClassComparison {
 public:
  explicit CClassComparison(EStreamClass id) : kind_(StreamClass(id)) {}

  void CompareAll() {
    if (const std::optional<u64> single = NumberFrom(kSingleVariable)) return Compare(*single, 1);
    const u64 count = StreamsOf(kind_);
    for (u64 first = 0; first < count && !IsDone(); first += kSlotCount) {
      Compare(first, std::min<u64>(kSlotCount, count - first));
    }
    ::testing::Test::RecordProperty("streams", std::to_string(compared_));
    std::printf("%llu streams compared\n", static_cast<unsigned long long>(compared_));
  }

 private:
  bool IsDone() const { return reports_ >= kMaxReports || ::testing::Test::HasFatalFailure(); }

  void Compare(u64 first, u64 count) {
    const std::vector<SStream> streams = GenerateStreams(kind_.id, first, count);
    std::vector<SStreamRecord> expected;
    if (kind_.cpuModel != nullptr) {
      std::string error;
      expected = RunStreams(streams, kind_.cpuModel, error);
      ASSERT_EQ(expected.size(), streams.size() * kRecordsOfStream)
          << error << Again(streams.front());
    }
    for (size_t i = 0; i < streams.size() && !IsDone(); ++i) {
      if (expected.empty()) {
        CompareWithRules(streams[i]);
      } else {
        CompareWithOracle(streams[i], &expected[i * kRecordsOfStream]);
      }
      ++compared_;
    }
  }

  struct SPass {
    EBoardPass pass;
    u32 which;
  };

  // Runs each pass that the stream's class compares, as long as they agree. The second record takes
  // other ways through blocks that the first has formed.
  template <typename TCheck>
  void ForEachPass(const SStream& stream, TCheck check) {
    static constexpr SPass kPasses[] = {{EBoardPass::Forming, 0},
                                        {EBoardPass::Plain, 0},
                                        {EBoardPass::Plain, 1},
                                        {EBoardPass::Careful, 1},
                                        {EBoardPass::Careful, 0}};
    static constexpr SPass kFormOnly[] = {{EBoardPass::Forming, 0}, {EBoardPass::Forming, 1}};
    for (const SPass& step : stream.bFormOnly ? std::span<const SPass>(kFormOnly) : kPasses) {
      if (step.pass == EBoardPass::Forming) runner_.Place(stream);
      if (check(runner_.Run(stream, step.which, step.pass), step)) continue;
      ++reports_;
      return;
    }
  }

  void CompareWithOracle(const SStream& stream, const SStreamRecord* expected) {
    SBoardResult firsts[kRecordsOfStream] = {};
    ForEachPass(stream, [&](SBoardResult board, const SPass& step) {
      const SStreamRecord& oracle = expected[step.which];
      board.after.fpr[kFpTemp] = oracle.fpr[kFpTemp];
      SBoardResult& first = firsts[step.which];
      if (first.blocks == 0) first = board;
      const bool bSameTime = board.cycles == first.cycles && board.blocks == first.blocks;
      const bool bSame = AreEqual(board.after, oracle) && board.bFinished;
      EXPECT_TRUE(bSame) << NameOf(step) << "\n" << Report(stream, board.after, "oracle", oracle);
      EXPECT_TRUE(bSameTime) << NameOf(step) << ": " << board.cycles << " cycles in "
                             << board.blocks << " blocks, at first " << first.cycles << " in "
                             << first.blocks << "\n"
                             << Listing(stream) << Again(stream);
      return bSameTime && bSame;
    });
  }

  void CompareWithRules(const SStream& stream) {
    const SBoardResult byRules[] = {RunPlainRules(stream, 0), RunPlainRules(stream, 1)};
    ForEachPass(stream, [&](const SBoardResult& board, const SPass& step) {
      const SBoardResult& rules = byRules[step.which];
      const bool bSameTime = board.cycles == rules.cycles && board.mulBusy == rules.mulBusy &&
                             board.fpBusy == rules.fpBusy && board.fpMulBusy == rules.fpMulBusy;
      const bool bSame = AreEqual(board.after, rules.after) && board.bFinished && rules.bFinished;
      EXPECT_TRUE(bSame) << NameOf(step) << "\n"
                         << Report(stream, board.after, "rules", rules.after);
      EXPECT_TRUE(bSameTime) << NameOf(step) << ": " << board.cycles
                             << " cycles and units busy for " << board.mulBusy << ", "
                             << board.fpMulBusy << ", " << board.fpBusy << ", by the rules "
                             << rules.cycles << " and " << rules.mulBusy << ", " << rules.fpMulBusy
                             << ", " << rules.fpBusy << "\n"
                             << Listing(stream) << Again(stream);
      return bSame && bSameTime;
    });
  }

  static std::string NameOf(const SPass& step) {
    static constexpr const char* kNames[] = {"forming", "plain replay", "careful replay"};
    return Format("%s on record %u", kNames[static_cast<u32>(step.pass)], step.which);
  }
  std::string Report(const SStream& stream, const SStreamRecord& board, const char* judge,
                     const SStreamRecord& expected) const {
    return Listing(stream) + SideBySide("board", board, judge, expected) + Again(stream);
  }
  std::string Again(const SStream& stream) const {
    return Format("\nto run it again: %s=%llu oracle_streams --gtest_filter='%s.%s'\n",
                  kSingleVariable, static_cast<unsigned long long>(stream.number),
                  ::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name(),
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
  }

  const SStreamClass& kind_;
  CBoardRunner runner_;
  u64 compared_ = 0;
  u32 reports_ = 0;
};

void CompareClass(EStreamClass id) { CClassComparison(id).CompareAll(); }

TEST(Streams, OfIntegerOpsEndAsInTheOracle) { CompareClass(EStreamClass::Integer); }
TEST(Streams, OfFloatingPointOpsEndAsInTheOracle) { CompareClass(EStreamClass::FpFull); }
TEST(Streams, WithEightConditionsEndAsInTheOracle) { CompareClass(EStreamClass::FpConditions); }
TEST(Streams, OnPairedFloatingPointRegistersEndAsInTheOracle) {
  CompareClass(EStreamClass::FpPaired);
}
TEST(Streams, OfLikelyBranchesEndAsInTheOracleWhileTheyAreFormed) {
  CompareClass(EStreamClass::Likely);
}
TEST(Streams, OfUndefinedOperandsFollowThePlainRules) { CompareClass(EStreamClass::PlainRules); }

// If models disagreed about what they run, the oracle itself would be in doubt.
void CompareModels(EStreamClass id, u64 first, u64 count) {
  const std::vector<SStream> streams = GenerateStreams(id, first, count);
  std::string error;
  const std::vector<SStreamRecord> one = RunStreams(streams, "R4000", error);
  ASSERT_EQ(one.size(), streams.size() * kRecordsOfStream) << error;
  for (const char* model : {"VR5432", "5Kf"}) {
    const std::vector<SStreamRecord> other = RunStreams(streams, model, error);
    ASSERT_EQ(other.size(), one.size()) << model << ": " << error;
    for (size_t i = 0; i < one.size(); ++i) {
      ASSERT_TRUE(AreEqual(one[i], other[i]))
          << Listing(streams[i / kRecordsOfStream]) << SideBySide("R4000", one[i], model, other[i]);
    }
  }
}

TEST(Oracle, GivesTheSameIntegerResultsOnThreeProcessorModels) {
  CompareModels(EStreamClass::Integer, 1000000, 4000);
}
TEST(Oracle, GivesTheSameFloatingPointResultsOnThreeProcessorModels) {
  CompareModels(EStreamClass::FpFull, 2000000, 2000);
}
TEST(Oracle, TakesTheSameLikelyBranchesOnThreeProcessorModels) {
  CompareModels(EStreamClass::Likely, 3000000, 2000);
}

}  // namespace
}  // namespace vx::oracle
