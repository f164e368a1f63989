// Loads and stores of RAM, by plain and unaligned forms. The unaligned forms are checked against a
// description byte by byte.
#include <array>
#include <cstring>

#include "tests/mips3/OpCoverage.h"
#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u64 kMemory = 0x8887868584838281;  // bytes 81 to 88 in address order
constexpr u64 kStale = 0xA1A2A3A4A5A6A7A8;

struct SLoad {
  const char* name;
  u32 word;  // base a0, target a2
  u64 expected;
};
// clang-format off
constexpr SLoad kLoads[] = {
    {"Lb",            Lb(kA2, 0, kA0),  0xFFFFFFFFFFFFFF81},
    {"LbAtOddByte",   Lb(kA2, 7, kA0),  0xFFFFFFFFFFFFFF88},
    {"Lbu",           Lbu(kA2, 3, kA0), 0x84},
    {"Lh",            Lh(kA2, 2, kA0),  0xFFFFFFFFFFFF8483},
    {"LhMisaligned",  Lh(kA2, 3, kA0),  0xFFFFFFFFFFFF8483},
    {"Lhu",           Lhu(kA2, 6, kA0), 0x8887},
    {"LhuMisaligned", Lhu(kA2, 7, kA0), 0x8887},
    {"Lw",            Lw(kA2, 0, kA0),  0xFFFFFFFF84838281},
    {"LwMisaligned",  Lw(kA2, 7, kA0),  0xFFFFFFFF88878685},
    {"Lwu",           Lwu(kA2, 4, kA0), 0x88878685},
    {"LwuMisaligned", Lwu(kA2, 2, kA0), 0x84838281},
    {"Ld",            Ld(kA2, 0, kA0),  kMemory},
    {"LdMisaligned",  Ld(kA2, 5, kA0),  kMemory},
};
// clang-format on

class Loads : public ProcessorTest, public ::testing::WithParamInterface<SLoad> {};

TEST_P(Loads, ReadBothRams) {
  for (const u32 base : {kData, kMainData}) {
    Poke64(base, kMemory);
    InEveryWay(
        GetParam().word,
        [&] {
          gpr[kA0] = Extended(base);
          gpr[kA2] = kStale;
        },
        [&] { EXPECT_EQ(gpr[kA2], GetParam().expected) << std::hex << gpr[kA2]; });
  }
}

TEST_P(Loads, IgnoreTheBasesUpperHalf) {
  Poke64(kData, kMemory);
  InEveryWay(
      GetParam().word, [&] { gpr[kA0] = 0x1234567800000000 | kData; },
      [&] { EXPECT_EQ(gpr[kA2], GetParam().expected); });
}

TEST_P(Loads, OffsetIsSigned) {
  Poke64(kData, kMemory);
  const u32 offset = GetParam().word & 7;
  InEveryWay((GetParam().word & 0xFFFF0000) | (0x8000 + offset), [&] { gpr[kA0] = kData + 0x8000; },
             [&] { EXPECT_EQ(gpr[kA2], GetParam().expected); });
}

TEST_P(Loads, DropTheResultForRegisterZero) {
  Poke64(kData, kMemory);
  InEveryWay(
      GetParam().word & ~(31u << 16), [&] { gpr[kA0] = kData; },
      [&] { EXPECT_EQ(gpr[kZero], 0u); });
}

INSTANTIATE_TEST_SUITE_P(Rows, Loads, ::testing::ValuesIn(kLoads),
                         [](const auto& info) { return std::string(info.param.name); });

struct SStore {
  const char* name;
  u32 word;  // base a0, source a1
  u64 expected;
};
constexpr u64 kSource = 0x1122334455667788;
// clang-format off
constexpr SStore kStores[] = {
    {"Sb",           Sb(kA1, 3, kA0), 0x8887868588838281},
    {"Sh",           Sh(kA1, 2, kA0), 0x8887868577888281},
    {"ShMisaligned", Sh(kA1, 5, kA0), 0x8887778884838281},
    {"Sw",           Sw(kA1, 4, kA0), 0x5566778884838281},
    {"SwMisaligned", Sw(kA1, 3, kA0), 0x8887868555667788},
    {"Sd",           Sd(kA1, 0, kA0), kSource},
    {"SdMisaligned", Sd(kA1, 7, kA0), kSource},
};
// clang-format on

class Stores : public ProcessorTest, public ::testing::WithParamInterface<SStore> {};

TEST_P(Stores, WriteBothRamsAndNothingBeside) {
  for (const u32 base : {kData, kMainData}) {
    InEveryWay(
        GetParam().word,
        [&] {
          Poke64(base - 8, 0);
          Poke64(base, kMemory);
          Poke64(base + 8, 0);
          gpr[kA0] = Extended(base);
          gpr[kA1] = kSource;
        },
        [&] {
          EXPECT_EQ(Peek64(base), GetParam().expected) << std::hex << Peek64(base);
          EXPECT_EQ(Peek64(base - 8), 0u);
          EXPECT_EQ(Peek64(base + 8), 0u);
          EXPECT_EQ(gpr[kA1], kSource);
          EXPECT_EQ(m->state.openBus, 0u);
        });
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, Stores, ::testing::ValuesIn(kStores),
                         [](const auto& info) { return std::string(info.param.name); });

// --- Unaligned forms ---------------------------------------------------------------------------

using Bytes = std::array<u8, 8>;
Bytes BytesOf(u64 value) {
  Bytes bytes;
  std::memcpy(bytes.data(), &value, 8);
  return bytes;
}
u64 ValueOf(const Bytes& bytes) {
  u64 value;
  std::memcpy(&value, bytes.data(), 8);
  return value;
}

struct SUnaligned {
  const char* name;
  u32 word;  // base a0, register a2, offset 0
  u32 width;
  bool bLeft;  // moves the register's upper end
  bool bStore;
};
constexpr SUnaligned kUnaligned[] = {
    {"Lwl", Lwl(kA2, 0, kA0), 4, true, false}, {"Lwr", Lwr(kA2, 0, kA0), 4, false, false},
    {"Ldl", Ldl(kA2, 0, kA0), 8, true, false}, {"Ldr", Ldr(kA2, 0, kA0), 8, false, false},
    {"Swl", Swl(kA2, 0, kA0), 4, true, true},  {"Swr", Swr(kA2, 0, kA0), 4, false, true},
    {"Sdl", Sdl(kA2, 0, kA0), 8, true, true},  {"Sdr", Sdr(kA2, 0, kA0), 8, false, true},
};

// The register after a load at an offset into kMemory.
u64 LoadedByBytes(const SUnaligned& op, u32 offset, u64 old) {
  const Bytes memory = BytesOf(kMemory);
  Bytes target = BytesOf(op.width == 4 ? static_cast<u32>(old) : old);
  const u32 aligned = offset / op.width * op.width;
  const u32 at = offset - aligned;
  for (u32 i = 0; i < op.width; ++i) {
    if (op.bLeft && i <= at) target[op.width - 1 - at + i] = memory[aligned + i];
    if (!op.bLeft && i >= at) target[i - at] = memory[aligned + i];
  }
  const u64 value = ValueOf(target);
  const bool bExtends = op.width == 4 && op.bLeft;
  return bExtends ? Extended(static_cast<u32>(value)) : value;
}

// The aligned doubleword of memory after a store at an offset into it.
u64 StoredByBytes(const SUnaligned& op, u32 offset, u64 source) {
  Bytes memory = BytesOf(kMemory);
  const Bytes bytes = BytesOf(source);
  const u32 aligned = offset / op.width * op.width;
  const u32 at = offset - aligned;
  for (u32 i = 0; i < op.width; ++i) {
    if (op.bLeft && i <= at) memory[aligned + i] = bytes[op.width - 1 - at + i];
    if (!op.bLeft && i >= at) memory[aligned + i] = bytes[i - at];
  }
  return ValueOf(memory);
}

class UnalignedForms : public ProcessorTest, public ::testing::WithParamInterface<SUnaligned> {};

TEST_P(UnalignedForms, MoveTheRightBytesAtEachOffset) {
  const SUnaligned& op = GetParam();
  for (const u32 base : {kData, kMainData}) {
    for (u32 offset = 0; offset < 8; ++offset) {
      for (const u64 value : {kStale, ~kStale, u64{0}, kSource}) {
        SCOPED_TRACE(::testing::Message() << std::hex << "base " << base << " offset " << offset);
        InEveryWay(
            op.word | offset,
            [&] {
              Poke64(base - 8, 0);
              Poke64(base, kMemory);
              Poke64(base + 8, 0);
              gpr[kA0] = Extended(base);
              gpr[kA2] = value;
            },
            [&] {
              const u64 reg = op.bStore ? value : LoadedByBytes(op, offset, value);
              const u64 memory = op.bStore ? StoredByBytes(op, offset, value) : kMemory;
              EXPECT_EQ(gpr[kA2], reg) << std::hex << gpr[kA2] << " for " << reg;
              EXPECT_EQ(Peek64(base), memory) << std::hex << Peek64(base) << " for " << memory;
              EXPECT_EQ(Peek64(base - 8), 0u);
              EXPECT_EQ(Peek64(base + 8), 0u);
            });
      }
    }
    nextCode = kCode;  // the same records again for the other RAM
    m->Reset();
    cop0[kCop0Status] = 0;
    m->queue.Clear();
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, UnalignedForms, ::testing::ValuesIn(kUnaligned),
                         [](const auto& info) { return std::string(info.param.name); });

using LoadStore = ProcessorTest;

TEST_F(LoadStore, LwlOfANegativeWordGivesANegativeRegisterAndLwrNever) {
  Poke32(kData, 0x80000000);
  gpr[kA0] = kData;
  cpu.pc = kCode + 4;
  ExecuteWord(m.get(), Lwl(kA1, 3, kA0));
  ExecuteWord(m.get(), Lwr(kA2, 0, kA0));
  EXPECT_EQ(gpr[kA1], 0xFFFFFFFF80000000);
  EXPECT_EQ(gpr[kA2], 0x80000000u);
}

TEST_F(LoadStore, LoadMayReplaceItsOwnBase) {
  Poke32(kData, 0x12345678);
  InEveryWay(
      Lw(kA0, 0, kA0), [&] { gpr[kA0] = kData; }, [&] { EXPECT_EQ(gpr[kA0], 0x12345678u); });
}

TEST_F(LoadStore, FpLoadTakesTheWholeRegisterWithAllRegistersOn) {
  Poke32(kData, 0x87654321);
  InEveryWay(
      Lwc1(5, 0, kA0),
      [&] {
        cop0[kCop0Status] = kStatusFr;
        gpr[kA0] = kData;
        cpu.fpr[5] = ~u64{0};
        cpu.fpr[4] = 7;
      },
      [&] {
        EXPECT_EQ(cpu.fpr[5], 0x87654321u);
        EXPECT_EQ(cpu.fpr[4], 7u);
      });
}

TEST_F(LoadStore, FpLoadTakesTheEvenRegistersLowHalfOtherwise) {
  Poke32(kData, 0x87654321);
  InEveryWay(
      Lwc1(5, 0, kA0),
      [&] {
        gpr[kA0] = kData;
        cpu.fpr[4] = 0xAAAAAAAABBBBBBBB;
        cpu.fpr[5] = 7;
      },
      [&] {
        EXPECT_EQ(cpu.fpr[4], 0xAAAAAAAA87654321u);
        EXPECT_EQ(cpu.fpr[5], 7u);
      });
}

TEST_F(LoadStore, FpStoreFollowsTheRegisterModeToo) {
  for (const u64 status : {u64{0}, u64{kStatusFr}}) {
    InEveryWay(
        Swc1(5, 4, kA0),
        [&] {
          cop0[kCop0Status] = status;
          gpr[kA0] = kData;
          cpu.fpr[4] = 0x4444444400000004;
          cpu.fpr[5] = 0x5555555500000005;
        },
        [&] { EXPECT_EQ(Peek32(kData + 4), status != 0 ? 5u : 4u); });
  }
}

TEST_F(LoadStore, FpMovesWaitForTheUnitAndKeepItBusyForACycle) {
  for (const u32 word : {Lwc1(4, 0, kA0), Swc1(4, 0, kA0)}) {
    nextCode += 0x100;
    PlaceWithRest(nextCode, {word, word});
    gpr[kA0] = kData;
    for (const char* pass : {"forming", "replay"}) {
      SetPc(nextCode);
      cpu.fpBusy = 20;
      // The first waits to 20 and is done at 21, when the unit is free again.
      EXPECT_EQ(RunBlock(), 22u + 2) << pass;
      EXPECT_EQ(cpu.fpBusy, 0u);
    }
  }
}

}  // namespace

std::vector<u32> LoadStoreOpWords() {
  std::vector<u32> words = {Lwc1(0, 0, 0), Swc1(0, 0, 0)};
  for (const SLoad& row : kLoads) words.push_back(row.word);
  for (const SStore& row : kStores) words.push_back(row.word);
  for (const SUnaligned& row : kUnaligned) words.push_back(row.word);
  return words;
}

}  // namespace vx
