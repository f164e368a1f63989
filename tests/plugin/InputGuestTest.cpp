// The host's input records as the guest reads them.
#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

constexpr u64 kAllOnes = ~u64{0};

struct InputGuestTest : CBoundaryTest {
  static constexpr u32 kPort0 = 0, kPort1 = 1, kStatus = 2;

  void SetUp() override {
    CGuestCode code;
    const u32 loop = code.Here();
    code.Keep64(0x10000080, kPort0).Keep64(0x10000088, kPort1).Keep64(0x10000090, kStatus);
    Boot(code.BranchBack(loop));
  }
  void Show(const std::vector<SInputRecord>& records) {
    Show(records.data(), static_cast<u32>(records.size()));
  }
  void Show(const SInputRecord* records, u32 count) {
    machine->SetInput(records, count);
    RunFrames(1);
  }
  static SInputRecord Pad(u32 bits) {
    SInputRecord record;
    record.padBits = bits;
    return record;
  }
  static SInputRecord System(u32 bits) {
    SInputRecord record;
    record.systemBits = bits;
    return record;
  }
  void ExpectWords(u64 port0, u64 port1, u64 status) {
    EXPECT_EQ(Result(kPort0), port0);
    EXPECT_EQ(Result(kPort1), port1);
    EXPECT_EQ(Result(kStatus), status);
  }
};

TEST_F(InputGuestTest, NothingIsPressedUntilTheHostSaysSo) {
  RunFrames(1);
  ExpectWords(kAllOnes, kAllOnes, kAllOnes);
}

TEST_F(InputGuestTest, EachPadBitClearsItsBitOfItsPlayersPort) {
  constexpr u32 kMasks[] = {0x0001, 0x0008, 0x0010, 0x0800, 0x0400, 0x0040,
                            0x0080, 0x0100, 0x0200, 0x0002, 0x0004, 0x0020};
  for (u32 bit = 0; bit < 12; ++bit) {
    SCOPED_TRACE(bit);
    Show({Pad(1u << bit), Pad(0)});
    ExpectWords(kAllOnes & ~u64{kMasks[bit]}, kAllOnes, kAllOnes);
    Show({Pad(0), Pad(1u << bit)});
    ExpectWords(kAllOnes, kAllOnes & ~u64{kMasks[bit]}, kAllOnes);
  }
}

TEST_F(InputGuestTest, PadBitsFromTwelveOnHaveNoEffect) {
  Show({Pad(0xFFFFF000), Pad(0xFFFFF000)});
  ExpectWords(kAllOnes, kAllOnes, kAllOnes);
}

TEST_F(InputGuestTest, AllPadBitsTogetherClearTwelveBits) {
  Show({Pad(0xFFF), Pad(0xFFF)});
  ExpectWords(kAllOnes & ~u64{0xFFF}, kAllOnes & ~u64{0xFFF}, kAllOnes);
}

struct SSystemRow {
  u64 port0, port1, status;  // bits that the system bit clears
};

TEST_F(InputGuestTest, EachSystemBitOfTheFirstRecordClearsItsBits) {
  constexpr SSystemRow kRows[] = {{0x2000, 0, 0},      {0x4000, 0, 0}, {0, 0x4000, 0},
                                  {0x8000, 0x8000, 0}, {0, 0x2000, 0}, {0, 0x1000, 0},
                                  {0, 0, 0x0008},      {0, 0, 0x0004}, {0x1000, 0, 0}};
  for (u32 bit = 0; bit < 9; ++bit) {
    SCOPED_TRACE(bit);
    Show({System(1u << bit), Pad(0)});
    ExpectWords(kAllOnes & ~kRows[bit].port0, kAllOnes & ~kRows[bit].port1,
                kAllOnes & ~kRows[bit].status);
  }
}

TEST_F(InputGuestTest, SystemBitsFromNineOnDoNotReachTheGuest) {
  Show({System(0xFFFFFE00)});
  ExpectWords(kAllOnes, kAllOnes, kAllOnes);
}

TEST_F(InputGuestTest, SystemBitsOfTheSecondRecordHaveNoEffect) {
  Show({Pad(0), System(0x1FF)});
  ExpectWords(kAllOnes, kAllOnes, kAllOnes);
}

TEST_F(InputGuestTest, WithOneRecordItsSystemBitsStillReachTheSecondPort) {
  SInputRecord record = Pad(0xFFF);
  record.systemBits = 0x1FF;
  Show({record});
  ExpectWords(kAllOnes & ~u64{0xFFFF}, kAllOnes & ~u64{0xF000}, kAllOnes & ~u64{0xC});
}

TEST_F(InputGuestTest, NoRecordsReleaseEverything) {
  Show({Pad(0xFFF), Pad(0xFFF)});
  Show(nullptr, 0);
  ExpectWords(kAllOnes, kAllOnes, kAllOnes);
}

TEST_F(InputGuestTest, RecordsAfterTheSecondHaveNoEffect) {
  Show({Pad(0), Pad(0), Pad(0xFFF), System(0x1FF)});
  ExpectWords(kAllOnes, kAllOnes, kAllOnes);
}

TEST_F(InputGuestTest, MoreRecordsThanTheMachineKeepsAreCutOff) {
  std::vector<SInputRecord> records(100, Pad(0xFFF));
  Show(records);
  ExpectWords(kAllOnes & ~u64{0xFFF}, kAllOnes & ~u64{0xFFF}, kAllOnes);
}

TEST_F(InputGuestTest, ACountWithoutRecordsCountsAsNone) {
  Show({Pad(0xFFF), Pad(0xFFF)});
  Show(nullptr, 2);
  ExpectWords(kAllOnes, kAllOnes, kAllOnes);
}

TEST_F(InputGuestTest, InputStaysUntilItIsChanged) {
  Show({Pad(1), Pad(0)});
  RunFrames(3);
  ExpectWords(kAllOnes & ~u64{1}, kAllOnes, kAllOnes);
}

TEST_F(InputGuestTest, AResetReleasesEverything) {
  Show({Pad(0xFFF), Pad(0xFFF)});
  machine->Reset();
  machine->ApplySettings();
  RunFrames(1);
  ExpectWords(kAllOnes, kAllOnes, kAllOnes);
}

TEST(InputBeforeStartup, PadBitsReachNoPort) {
  CTestHost host;
  const CLoadedComponent component(&host.Api());
  CQuillonMachineBase* const machine = component.table->CreateMachine();
  SInputRecord record;
  record.padBits = 0xFFF;
  machine->SetInput(&record, 1);
  machine->RunFrame();
  EXPECT_EQ(machine->GetFrameCount(), 1u);
  component.table->DestroyMachine(machine);
}

}  // namespace
}  // namespace vx::test
