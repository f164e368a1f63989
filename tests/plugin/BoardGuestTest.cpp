// The register window as guest code sees it, in both register layouts.
#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

// Where a layout has its registers.
struct SLayout {
  const char* name;
  u64 identity;
  u32 inputPort0, inputPort1, boardStatus, dipPort;       // read
  u32 boardControl, soundReset, soundStrobe, soundLatch;  // write
  u32 ignoredWrite, readsZero;
};

constexpr SLayout kLayouts[] = {
    {"A", kPackIdentityA, 0x10000080, 0x10000088, 0x10000090, 0x100000A0, 0x10000080, 0x10000088,
     0x10000090, 0x10000098, 0x100000A0, 0x10000098},
    {"B", kPackIdentityB, 0x10000098, 0x10000090, 0x10000080, 0x10000088, 0x10000098, 0x10000090,
     0x10000080, 0x100000A0, 0x10000088, 0x100000A0},
};

void PrintTo(const SLayout& layout, std::ostream* out) { *out << "layout " << layout.name; }

struct BoardGuestTest : CBoundaryTest, testing::WithParamInterface<SLayout> {
  const SLayout& at = GetParam();

  void Run(const CGuestCode& code) {
    CGuestCode whole = code;
    Boot(whole.Rest(), at.identity);
    RunFrames(1);
  }
  static constexpr u64 kTaken = 2;  // bit of the board's status word
};

TEST_P(BoardGuestTest, TheSwitchWordReadsItsLowBitsAtEveryWidthAndLane) {
  SConfigBlob blob = {3, 0, 60.0, 0x1122334455667788, 100, 0};
  ASSERT_TRUE(table.LoadConfigBlob(&blob, 32));
  host.bConfigLocked = true;
  CGuestCode code;
  code.Keep64(at.dipPort, 0).Keep32(at.dipPort, 1).Keep16(at.dipPort, 2).Keep8(at.dipPort, 3);
  code.Keep8(at.dipPort + 1, 4).Keep8(at.dipPort + 3, 5).Keep16(at.dipPort + 2, 6);
  code.Keep32(at.dipPort + 4, 7).Keep8(at.dipPort + 4, 8);
  Run(code);
  EXPECT_EQ(Result(0), 0x1122334455667788u);
  EXPECT_EQ(Result(1), 0x55667788u);
  EXPECT_EQ(Result(2), 0x7788u);
  EXPECT_EQ(Result(3), 0x88u);
  EXPECT_EQ(Result(4), 0x88u) << "byte lanes play no part";
  EXPECT_EQ(Result(5), 0x88u);
  EXPECT_EQ(Result(6), 0x7788u);
  EXPECT_EQ(Result(7), 0u) << "the word between two registers";
  EXPECT_EQ(Result(8), 0u);
}

TEST_P(BoardGuestTest, AWriteOnlyAddressReadsZero) {
  Run(CGuestCode()
          .Write32(at.soundLatch, 0xFFFFFFFF)
          .Keep32(at.readsZero, 0)
          .Keep64(at.readsZero, 1));
  EXPECT_EQ(Result(0), 0u);
  EXPECT_EQ(Result(1), 0u);
}

TEST_P(BoardGuestTest, AReadOnlyAddressIgnoresWrites) {
  Run(CGuestCode().Write32(at.ignoredWrite, 0).Keep64(at.dipPort, 0));
  EXPECT_EQ(Result(0), ~u64{0});
}

TEST_P(BoardGuestTest, PlacesWithoutRegisterReadZeroAndIgnoreWrites) {
  constexpr u32 kPlaces[] = {0x10000000, 0x10000070, 0x100000A8, 0x100000B0, 0x100000B8,
                             0x100000C0, 0x100000F8, 0x10000140, 0x10000168, 0x10000178,
                             0x100001F8, 0x10000200, 0x10003FF8};
  CGuestCode code;
  u32 cell = 0;
  for (const u32 place : kPlaces) code.Write32(place, 0xFFFFFFFF).Keep64(place, cell++);
  Run(code);
  for (u32 i = 0; i < cell; ++i) EXPECT_EQ(Result(i), 0u) << std::hex << kPlaces[i];
}

TEST_P(BoardGuestTest, ARisingStrobeClearsTheTakenBit) {
  CGuestCode code;
  code.Keep8(at.boardStatus, 0).Write32(at.soundStrobe, 1).Keep8(at.boardStatus, 1);
  code.Write32(at.soundStrobe, 2).Keep8(at.boardStatus, 2).Keep64(at.boardStatus, 3);
  Run(code);
  EXPECT_EQ(Result(0), 0xFFu);
  EXPECT_EQ(Result(1), 0xFFu) << "another bit is no strobe";
  EXPECT_EQ(Result(2), 0xFFu & ~kTaken);
  EXPECT_EQ(Result(3), ~kTaken) << "all other bits read one";
}

// The sound processor's reset gives the latch back, which the status word shows.
CGuestCode Strobe(const SLayout& at) {
  return CGuestCode().Write32(at.soundStrobe, 0).Write32(at.soundStrobe, 2);
}

CGuestCode& Again(CGuestCode& code, const SLayout& at) {
  return code.Write32(at.soundStrobe, 0).Write32(at.soundStrobe, 2);
}

TEST_P(BoardGuestTest, TwoZerosInTheResetRegisterResetOnce) {
  CGuestCode code = Strobe(at);
  code.Write32(at.soundReset, 0).Keep8(at.boardStatus, 0);
  Again(code, at).Write32(at.soundReset, 0).Keep8(at.boardStatus, 1);
  Run(code);
  EXPECT_EQ(Result(0), 0xFFu);
  EXPECT_EQ(Result(1), 0xFFu & ~kTaken);
}

TEST_P(BoardGuestTest, AOneInTheResetRegisterLetsTheNextZeroResetAgain) {
  CGuestCode code = Strobe(at);
  code.Write32(at.soundReset, 0);
  Again(code, at).Write32(at.soundReset, 1).Keep8(at.boardStatus, 0);
  code.Write32(at.soundReset, 0).Keep8(at.boardStatus, 1);
  Run(code);
  EXPECT_EQ(Result(0), 0xFFu & ~kTaken) << "releasing resets nothing";
  EXPECT_EQ(Result(1), 0xFFu);
}

TEST_P(BoardGuestTest, TheResetRegisterIgnoresOddAddresses) {
  CGuestCode code = Strobe(at);
  code.Write8(at.soundReset + 1, 0).Keep8(at.boardStatus, 0);
  code.Write8(at.soundReset + 3, 0).Keep8(at.boardStatus, 1);
  code.Write8(at.soundReset + 2, 0).Keep8(at.boardStatus, 2);
  Run(code);
  EXPECT_EQ(Result(0), 0xFFu & ~kTaken);
  EXPECT_EQ(Result(1), 0xFFu & ~kTaken);
  EXPECT_EQ(Result(2), 0xFFu);
}

TEST_P(BoardGuestTest, TheResetRegisterLooksAtBitZeroAlone) {
  CGuestCode code = Strobe(at);
  code.Write32(at.soundReset, 0xFFFFFFFF).Keep8(at.boardStatus, 0);
  code.Write32(at.soundReset, 0xFFFFFFFE).Keep8(at.boardStatus, 1);
  Run(code);
  EXPECT_EQ(Result(0), 0xFFu & ~kTaken);
  EXPECT_EQ(Result(1), 0xFFu);
}

TEST_P(BoardGuestTest, TheDrivesStatusAnswersAtTwoPlaces) {
  CGuestCode code;
  code.Keep8(0x10000170, 0).Keep8(0x10000171, 1).Keep8(0x10000173, 2).Keep32(0x10000170, 3);
  code.Keep32(0x10000174, 4).Keep8(0x10000138, 5).Keep64(0x10000170, 6).Keep8(0x1000013C, 7);
  Run(code);
  constexpr u64 kBusy = 0x80;
  for (const u32 cell : {0u, 1u, 2u, 3u, 5u, 6u, 7u}) EXPECT_EQ(Result(cell), kBusy) << cell;
  EXPECT_EQ(Result(4), 0u);
}

TEST_P(BoardGuestTest, BehindTheWindowStandsTheOpenBus) {
  Run(CGuestCode().Write32(0x10004000, 0x12345678).Keep32(0x10004000, 0).Keep32(0x10003FFC, 1));
  EXPECT_EQ(Result(0), 0x12345678u);
  EXPECT_EQ(Result(1), 0u);
}

INSTANTIATE_TEST_SUITE_P(Layouts, BoardGuestTest, testing::ValuesIn(kLayouts),
                         [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace vx::test
