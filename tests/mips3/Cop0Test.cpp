// COP0 registers by row, the function ops and their messages.
#include <algorithm>
#include <cstring>

#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u64 kWide = 0x8123456789ABCDEF;

class Cop0 : public ProcessorTest {
 protected:
  void Op(u32 word) {
    cpu.pc = kCode + 4;
    ExecuteWord(m.get(), word);
  }
  void Write(u32 index, u64 value) {
    gpr[kA0] = value;
    Op(Mtc0(kA0, index));
  }
  u64 ReadWide(u32 index) {
    Op(Dmfc0(kA1, index));
    return gpr[kA1];
  }
};

TEST_F(Cop0, ResetGivesThePowerOnValues) {
  m->Reset();
  for (u32 i = 0; i < 32; ++i) {
    u64 expected = 0;
    if (i == kCop0Status) expected = 0x400004;
    if (i == kCop0Compare) expected = 0xFFFFFFFF;
    if (i == kCop0PRId) expected = 0x2000;
    if (i == kCop0Config) expected = 0x264B0;
    EXPECT_EQ(cop0[i], expected) << i;
  }
  EXPECT_EQ(cpu.pc, 0xBFC00000u);
  EXPECT_EQ(cpu.branchTarget, 0xFFFFFFFFu);
}

TEST_F(Cop0, ResetClearsTheProcessorAndKeepsItsClock) {
  std::memset(&cpu, 0x5A, sizeof(cpu));
  cpu.clockMHz = 300.0;
  m->Reset();
  EXPECT_EQ(cpu.clockMHz, 300.0);
  const auto isZero = [](const auto& field) {
    const auto* bytes = reinterpret_cast<const u8*>(&field);
    return std::all_of(bytes, bytes + sizeof(field), [](u8 byte) { return byte == 0; });
  };
  EXPECT_TRUE(isZero(cpu.gpr));
  EXPECT_TRUE(isZero(cpu.fpr));
  EXPECT_TRUE(isZero(cpu.unusedBank));
  EXPECT_TRUE(isZero(cpu.fcr));
  EXPECT_TRUE(isZero(cpu.tlb));
  EXPECT_EQ(cpu.cycles + cpu.stopMark + cpu.budget + cpu.llFlag + cpu.fpCond, 0u);
  EXPECT_EQ(cpu.lo + cpu.hi + cpu.countBase + cpu.retired, 0u);
  EXPECT_EQ(cpu.mulBusy + cpu.fpMulBusy + cpu.fpBusy, 0u);
  EXPECT_EQ(cpu.padding276 + cpu.padding1356, 0u);
}

TEST_F(Cop0, PlainRegistersHold64Bits) {
  for (u32 i = 0; i < 32; ++i) {
    const bool bOwnRule = i == 1 || i == 9 || (i >= 11 && i <= 13) || i == 15 || i == 16;
    if (bOwnRule) continue;
    Write(i, kWide);
    EXPECT_EQ(cop0[i], kWide) << i;
    EXPECT_EQ(ReadWide(i), kWide) << i;
    Op(Mfc0(kA1, i));
    EXPECT_EQ(gpr[kA1], 0xFFFFFFFF89ABCDEF) << i;
    EXPECT_EQ(cpu.cycles, 0u) << i;
  }
}

TEST_F(Cop0, RandomIsStoredButReadsComputed) {
  Write(kCop0Random, kWide);
  EXPECT_EQ(cop0[kCop0Random], kWide);
  EXPECT_EQ(ReadWide(kCop0Random), 47u);
}

TEST_F(Cop0, RandomCountsFromWiredAndIsClampedTo47) {
  constexpr struct {
    u32 wired, cycles;
    u64 expected;
  } kRows[] = {
      {0, 0, 47},  {16, 0, 32}, {16, 15, 47}, {17, 31, 47}, {40, 0, 8},
      {40, 5, 13}, {40, 32, 8}, {47, 0, 1},   {48, 0, 0},   {48, 31, 31},
      {49, 0, 47}, {49, 1, 0},  {63, 0, 47},  {63, 20, 5},  {64, 0, 47},
  };
  for (const auto& row : kRows) {
    cop0[kCop0Wired] = row.wired;
    cpu.cycles = row.cycles;
    EXPECT_EQ(ReadWide(kCop0Random), row.expected) << row.wired << " at " << row.cycles;
    EXPECT_EQ(cpu.cycles, row.cycles);
  }
  cop0[kCop0Wired] = 40;
  cpu.cycles = 3;
  cpu.retired = 10;
  cpu.countBase = 7;
  EXPECT_EQ(ReadWide(kCop0Random), 8u + 6);
}

TEST_F(Cop0, ProcessorIdCannotBeWritten) {
  Write(kCop0PRId, kWide);
  EXPECT_EQ(ReadWide(kCop0PRId), 0x2000u);
}

TEST_F(Cop0, OnlyThreeBitsOfConfigCanBeWritten) {
  Write(kCop0Config, ~u64{0});
  EXPECT_EQ(ReadWide(kCop0Config), 0x264B7u);
  Write(kCop0Config, 2);
  EXPECT_EQ(ReadWide(kCop0Config), 0x264B2u);
}

TEST_F(Cop0, StatusHoldsAllBits) {
  Write(kCop0Status, kWide);
  EXPECT_EQ(ReadWide(kCop0Status), kWide);
}

TEST_F(Cop0, CauseKeepsItsHardwareLines) {
  cop0[kCop0Cause] = 0x8400;
  Write(kCop0Cause, ~u64{0x300});
  EXPECT_EQ(cop0[kCop0Cause], (~u64{0x300} & ~u64{0xFC00}) | 0x8400);
  Write(kCop0Cause, 0);
  EXPECT_EQ(cop0[kCop0Cause], 0x8400u);
  EXPECT_EQ(cpu.pc, kCode + 4) << "no exception";
}

TEST_F(Cop0, ReadToRegisterZeroDoesNothingNotEvenTheTimeStep) {
  cpu.budget = 1000;
  for (const u32 index : {kCop0Count, kCop0Cause}) {
    Op(Mfc0(kZero, index));
    Op(Dmfc0(kZero, index));
  }
  EXPECT_EQ(cpu.cycles, 0u);
  EXPECT_EQ(gpr[kZero], 0u);
}

TEST_F(Cop0, RegisterNumbersAbove16AreTheirOwn) {
  Write(29, 5);
  EXPECT_EQ(ReadWide(29), 5u);
  EXPECT_EQ(cop0[13], 0u);
}

// --- Function ops ------------------------------------------------------------------------------

TEST_F(Cop0, MissingTlbOpsLogAndChangeNothing) {
  constexpr struct {
    u32 word;
    const char* text;
  } kRows[] = {{kTlbr, "tlbr unimplemented\n"},
               {kTlbwr, "tlbwr unimplemented\n"},
               {kTlbp, "tlbp unimplemented\n"}};
  for (const auto& row : kRows) {
    log.clear();
    cop0[kCop0EntryHi] = 0x2000;
    cpu.pc = kCode + 4;
    const SMIPS3Context before = cpu;
    Op(row.word);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0], (SLogLine{2, row.text}));
    EXPECT_EQ(std::memcmp(&before, &cpu, sizeof(cpu)), 0);
  }
}

TEST_F(Cop0, MissingTlbOpsDoNotEndABlock) {
  PlaceWithRest(kCode, {kTlbr, kTlbwr, kTlbp});
  EXPECT_EQ(RunBlock(), 5u);
  EXPECT_EQ(log.size(), 3u);
}

TEST_F(Cop0, TlbwiTakesFourRegisters) {
  cop0[kCop0Index] = 5;
  cop0[kCop0PageMask] = 0x6000;
  cop0[kCop0EntryHi] = 0x2000000 | 9;
  cop0[kCop0EntryLo0] = 0x42;
  cop0[kCop0EntryLo1] = 0x86;
  Op(kTlbwi);
  EXPECT_EQ(cpu.tlb[5].pageMask, 0x6000u);
  EXPECT_EQ(cpu.tlb[5].entryHi, 0x2000009u);
  EXPECT_EQ(cpu.tlb[5].entryLo[0], 0x42u);
  EXPECT_EQ(cpu.tlb[5].entryLo[1], 0x86u);
  EXPECT_NE(m->pages[0x1000].value, 0u);
}

TEST_F(Cop0, UnknownFunctionTakesAnException) {
  for (const u32 code : {0u, 3u, 4u, 7u, 0x1Fu, 0x38u, 0x100002u, 0x1FFFFFFu}) {
    cop0[kCop0Status] = 0;
    cop0[kCop0Cause] = 0;
    Op(Cop0FunctionOp(code));
    EXPECT_EQ(cop0[kCop0Cause], 0x28u) << std::hex << code;
    EXPECT_EQ(cpu.pc, 0x80000180u);
    EXPECT_EQ(cop0[kCop0Epc], kCode + 4);
    EXPECT_TRUE(log.empty());
  }
}

TEST_F(Cop0, StrayBitsAboveTheFunctionMakeItUnknown) {
  Op(kEret | 1u << 21);
  EXPECT_EQ(cop0[kCop0Cause], 0x28u);
}

}  // namespace

}  // namespace vx
