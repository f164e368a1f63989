// Moves between the register files and memory, and the encodings that the unit does not have.
#include <cstdio>
#include <cstring>

#include "tests/mips3/FpFixture.h"
#include "tests/mips3/OpCoverage.h"

namespace vx {

namespace {

using namespace mips;

constexpr u64 kWholeValue = 0x1234567887654321;
constexpr u64 kOld = 0xAAAAAAAABBBBBBBB;

using FpMoves = FpTest;

// The number of the register that a move of this model sees.
constexpr u32 Seen(EModel model, u32 index) { return model == EModel::Full ? index : index & ~1u; }

TEST_F(FpMoves, Mfc1SignExtendsTheLowWordOfTheWholeRegister) {
  for (const EModel model : kEveryModel) {
    for (const u32 fs : {0u, 4u, 5u, 31u}) {
      SCOPED_TRACE(::testing::Message() << NameOf(model) << ", f" << fs);
      InEveryWay(
          Mfc1(kT0, fs),
          [&] {
            FpRegisters registers = MarkedFpRegisters();
            registers[Seen(model, fs)] = kWholeValue;
            BeginOp(model, registers);
            gpr[kT0] = 0;
          },
          [&] { EXPECT_EQ(gpr[kT0], 0xFFFFFFFF87654321); });
    }
  }
}

TEST_F(FpMoves, Dmfc1TakesTheWholeRegister) {
  for (const EModel model : kEveryModel) {
    for (const u32 fs : {0u, 4u, 5u, 31u}) {
      SCOPED_TRACE(::testing::Message() << NameOf(model) << ", f" << fs);
      InEveryWay(
          Dmfc1(kT0, fs),
          [&] {
            FpRegisters registers = MarkedFpRegisters();
            registers[Seen(model, fs)] = kWholeValue;
            BeginOp(model, registers);
          },
          [&] { EXPECT_EQ(gpr[kT0], kWholeValue); });
    }
  }
}

TEST_F(FpMoves, ToRegisterZeroAreDropped) {
  for (const u32 word : {Mfc1(kZero, 4), Dmfc1(kZero, 4), Cfc1(kZero, 4)}) {
    InEveryWay(
        word, [&] { cpu.fpr[4] = kWholeValue; }, [&] { EXPECT_EQ(gpr[kZero], 0u); });
  }
}

TEST_F(FpMoves, Mtc1ZeroExtendsOverARegisterOfItsOwnAndLeavesAPairsHighWord) {
  for (const EModel model : kEveryModel) {
    for (const u32 fs : {4u, 5u, 30u, 31u}) {
      SCOPED_TRACE(::testing::Message() << NameOf(model) << ", f" << fs);
      FpRegisters before = MarkedFpRegisters();
      before[Seen(model, fs)] = kOld;
      FpRegisters after = before;
      after[Seen(model, fs)] = model == EModel::Full ? 0x87654321 : 0xAAAAAAAA87654321;
      InEveryWay(
          Mtc1(kT0, fs),
          [&] {
            BeginOp(model, before);
            gpr[kT0] = kWholeValue;
          },
          [&] { ExpectRegisters(after); });
    }
  }
}

TEST_F(FpMoves, Dmtc1FillsTheWholeRegister) {
  for (const EModel model : kEveryModel) {
    for (const u32 fs : {4u, 5u, 30u, 31u}) {
      SCOPED_TRACE(::testing::Message() << NameOf(model) << ", f" << fs);
      FpRegisters after = MarkedFpRegisters();
      after[Seen(model, fs)] = kWholeValue;
      InEveryWay(
          Dmtc1(kT0, fs),
          [&] {
            BeginOp(model, MarkedFpRegisters());
            gpr[kT0] = kWholeValue;
          },
          [&] { ExpectRegisters(after); });
    }
  }
}

TEST_F(FpMoves, ToAnOddRegisterOfAPairAreNotWhatASumReadsThere) {
  SetModel(EModel::Paired);
  cpu.fpr[4] = 0x40400000'00000000;  // 3.0 in the high word
  cpu.fpr[5] = 0x3F8000003F800000;
  cpu.fpr[6] = 0x3F80000000000000;
  gpr[kT0] = 0x40000000;
  Execute(Mtc1(kT0, 5));
  EXPECT_EQ(cpu.fpr[4], 0x4040000040000000u);
  Execute(FpOp(kSingle, kFpAdd, 8, 5, 7));
  EXPECT_EQ(static_cast<u32>(cpu.fpr[8]), 0x40800000u) << "3 + 1";
  Execute(Mfc1(kT1, 5));
  EXPECT_EQ(gpr[kT1], 0x40000000u);
}

TEST_F(FpMoves, Ctc1KeepsALowWordAndTouchesNoCondition) {
  for (u32 fs = 0; fs < 32; ++fs) {
    InEveryWay(
        Ctc1(kT0, fs),
        [&] {
          gpr[kT0] = 0x12345678FFFFFFFF;
          cpu.fcr[fs] = kOld;
          cpu.fpCond = 0x24;
        },
        [&] {
          EXPECT_EQ(cpu.fcr[fs], 0xFFFFFFFFu);
          EXPECT_EQ(cpu.fpCond, 0x24u);
        });
  }
  EXPECT_TRUE(log.empty());
}

TEST_F(FpMoves, Cfc1OnlyLogs) {
  for (const u32 fs : {0u, 31u}) {
    InEveryWay(
        Cfc1(kT0, fs),
        [&] {
          cpu.fcr[fs] = 5;
          gpr[kT0] = kOld;
          log.clear();
        },
        [&] {
          EXPECT_EQ(gpr[kT0], kOld);
          EXPECT_EQ(log, (std::vector<SLogLine>{{2, "cfc1 unimplemented\n"}}));
        });
  }
}

TEST_F(FpMoves, LoadAndStoreSeeTheRegistersAsMovesDo) {
  Poke32(kData, 0x87654321);
  for (const EModel model : kEveryModel) {
    for (const u32 ft : {6u, 7u}) {
      SCOPED_TRACE(::testing::Message() << NameOf(model) << ", f" << ft);
      FpRegisters before = MarkedFpRegisters();
      before[Seen(model, ft)] = kOld;
      FpRegisters after = before;
      after[Seen(model, ft)] = model == EModel::Full ? 0x87654321 : 0xAAAAAAAA87654321;
      const auto prepare = [&] {
        BeginOp(model, before);
        gpr[kA0] = Extended(kData);
        Poke64(kData + 8, 0);
      };
      InEveryWay(Lwc1(ft, 0, kA0), prepare, [&] { ExpectRegisters(after); });
      InEveryWay(Swc1(ft, 8, kA0), prepare, [&] {
        EXPECT_EQ(Peek64(kData + 8), 0xBBBBBBBBu);
        ExpectRegisters(before);
      });
    }
  }
}

// --- Encodings that are missing ------------------------------------------------------------------

SLogLine MessageFor(u32 word, u32 pc) {
  char text[160];
  std::snprintf(text, sizeof(text),
                "MIPS3 unimplemented op at PC %08X: %08X (b:%i s/cp1:%i ri:%i)\n", pc, word, 17,
                word & 63, word >> 16 & 31);
  return {2, text};
}

constexpr bool IsMissing(u32 funct) {
  return (funct >= 8 && funct <= 31) || funct == 34 || funct == 35 || (funct >= 38 && funct <= 47);
}

using FpUnimplemented = FpTest;

// The forms that round to integers in a mode of their own are among them.
TEST_F(FpUnimplemented, OpsLogTheirFieldsAndLeaveAllStateAlone) {
  for (const EModel model : kEveryModel) {
    SetModel(model);
    for (const u32 format : {16u, 17u, 20u, 21u, 3u, 7u, 12u, 31u}) {
      for (u32 funct = 0; funct < 64; ++funct) {
        SCOPED_TRACE(::testing::Message() << "format " << format << ", function " << funct);
        cpu.cycles = 10;
        cpu.fpBusy = 50;
        cpu.fpMulBusy = 60;
        log.clear();
        cpu.pc = kCode + 4;
        const u32 word = FpOp(format, funct, 2, 4, 6);
        const SMIPS3Context before = cpu;
        ExecuteWord(m.get(), word);
        if (!IsMissing(funct)) {
          EXPECT_TRUE(log.empty());
          continue;
        }
        EXPECT_EQ(std::memcmp(&before, &cpu, sizeof(cpu)), 0);
        EXPECT_EQ(log, (std::vector<SLogLine>{MessageFor(word, kCode + 4)}));
      }
    }
  }
}

TEST_F(FpUnimplemented, OpsTakeOneCycleAndTheRunGoesOn) {
  for (const u32 funct : {8u, 12u, 13u, 14u, 15u, 31u, 34u, 47u}) {
    const u32 word = FpOp(kSingle, funct, 2, 4);
    nextCode += 0x20;
    PlaceWithRest(nextCode, {kNop, word, Addiu(kT0, kZero, 9)});
    for (const char* pass : {"forming", "replay"}) {
      SCOPED_TRACE(::testing::Message() << pass << " of function " << funct);
      SetPc(nextCode);
      log.clear();
      gpr[kT0] = 0;
      EXPECT_EQ(RunBlock(), 5u);
      EXPECT_EQ(log, (std::vector<SLogLine>{MessageFor(word, nextCode + 8)}));
      EXPECT_EQ(gpr[kT0], 9u);
    }
  }
}

TEST_F(FpUnimplemented, DoubleLoadsAndStoresAreMissingToo) {
  for (const u32 code : {53u, 61u}) {
    const u32 word = MainOp(code, kA0, 4, 0);
    gpr[kA0] = Extended(kData);
    Poke64(kData, kOld);
    const u64 before = cpu.fpr[4] = kWholeValue;
    log.clear();
    Execute(word);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0].text.find("MIPS3 unimplemented op at PC 80001004: "), 0u);
    EXPECT_EQ(cpu.fpr[4], before);
    EXPECT_EQ(Peek64(kData), kOld);
  }
}

}  // namespace

std::vector<u32> FpMoveOpWords() {
  return {Mfc1(1, 2), Dmfc1(1, 2), Cfc1(1, 2), Mtc1(1, 2), Dmtc1(1, 2), Ctc1(1, 2)};
}

}  // namespace vx
