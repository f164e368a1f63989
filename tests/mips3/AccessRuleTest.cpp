// Where loads and stores go: the hole, the open bus, the boot ROM with its charge, the register
// window and page permissions.
#include <algorithm>

#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u32 kHole = 0x84000000;     // physical 0x4000000
constexpr u32 kNowhere = 0xB8000000;  // physical 0x18000000
constexpr u32 kRomData = 0xBFC00200;
constexpr u32 kRegisters = 0xB0002000;  // a row of the window without a device
constexpr u32 kRegisterRow = 0x200;
constexpr u64 kSource = 0x1122334455667788;
constexpr u32 kReadCharge = 154;

// What a load of each kind gives for a 64-bit memory or latch content.
struct SWidth {
  u32 load, store;  // base a0, register a1
  u64 mask;
};
constexpr SWidth kWidths[] = {
    {Lbu(kA1, 0, kA0), Sb(kA1, 0, kA0), 0xFF},
    {Lhu(kA1, 0, kA0), Sh(kA1, 0, kA0), 0xFFFF},
    {Lwu(kA1, 0, kA0), Sw(kA1, 0, kA0), 0xFFFFFFFF},
    {Ld(kA1, 0, kA0), Sd(kA1, 0, kA0), ~u64{0}},
};

struct SAccess {
  u32 width;
  bool bWrite;
  u32 address;
  u64 value;
  u32 cycles;
  bool operator==(const SAccess&) const = default;
};
std::vector<SAccess> g_accesses;
bool g_bCutInWrite = false;
constexpr u64 kRegisterValue = 0x8887868584838281;

template <u32 Width>
u64 ReadRegister(CVXMachine* machine, u32 address) {
  g_accesses.push_back({Width, false, address, 0, machine->cpu.cycles});
  return kRegisterValue;
}
template <u32 Width>
void WriteRegister(CVXMachine* machine, u32 address, u64 value) {
  g_accesses.push_back({Width, true, address, value, machine->cpu.cycles});
  if (g_bCutInWrite) machine->CutSlice();
}

class AccessRule : public ProcessorTest {
 protected:
  AccessRule() {
    g_accesses.clear();
    g_bCutInWrite = false;
    m->ioRead[kRegisterRow] = {ReadRegister<8>, ReadRegister<4>, ReadRegister<2>, ReadRegister<1>};
    m->ioWrite[kRegisterRow] = {WriteRegister<8>, WriteRegister<4>, WriteRegister<2>,
                                WriteRegister<1>};
  }
  // One op outside a block, with its base in a0 and its register a1.
  void Op(u32 word, u32 base, u64 value = 0) {
    gpr[kA0] = Extended(base);
    gpr[kA1] = value;
    cpu.pc = kCode + 4;
    ExecuteWord(m.get(), word);
  }
};

TEST_F(AccessRule, HoleReadsZeroAndDropsWrites) {
  m->state.openBus = kSource;
  for (const SWidth& width : kWidths) {
    Op(width.store, kHole, 0x99);
    Op(width.load, kHole, 0x99);
    EXPECT_EQ(gpr[kA1], 0u);
  }
  for (const u32 word : {Swl(kA1, 1, kA0), Swr(kA1, 1, kA0), Sdl(kA1, 1, kA0), Sdr(kA1, 1, kA0)}) {
    Op(word, kHole, 0x99);
  }
  EXPECT_EQ(m->state.openBus, kSource);
  EXPECT_EQ(cpu.cycles, 0u);
}

TEST_F(AccessRule, NowhereHoldsTheLastWriteZeroExtended) {
  for (const SWidth& width : kWidths) {
    m->state.openBus = ~u64{0};
    Op(width.store, kNowhere, kSource);
    EXPECT_EQ(m->state.openBus, kSource & width.mask);
  }
}

TEST_F(AccessRule, NowhereReadsTheLatchsLowBytes) {
  m->state.openBus = kSource;
  for (const SWidth& width : kWidths) {
    Op(width.load, kNowhere + 0x123400);
    EXPECT_EQ(gpr[kA1], kSource & width.mask);
    EXPECT_EQ(m->state.openBus, kSource);
  }
}

TEST_F(AccessRule, UnalignedStoreToNowhereLatchesTheWholeRegister) {
  for (u32 offset = 0; offset < 8; ++offset) {
    Op(Swl(kA1, 0, kA0) | offset, kNowhere, kSource);
    EXPECT_EQ(m->state.openBus, kSource & 0xFFFFFFFF);
    Op(Sdl(kA1, 0, kA0) | offset, kNowhere, kSource);
    EXPECT_EQ(m->state.openBus, kSource);
    Op(Swr(kA1, 0, kA0) | offset, kNowhere, kSource);
    EXPECT_EQ(m->state.openBus, kSource & 0xFFFFFFFF);
    Op(Sdr(kA1, 0, kA0) | offset, kNowhere, kSource);
    EXPECT_EQ(m->state.openBus, kSource);
  }
}

TEST_F(AccessRule, StoreToRomLatchesAndLeavesTheRom) {
  Poke64(kRomData, kSource);
  for (const u32 word : {Sb(kA1, 0, kA0), Sd(kA1, 0, kA0), Swl(kA1, 1, kA0), Sdr(kA1, 1, kA0)}) {
    m->state.openBus = 0;
    Op(word, kRomData, 0x9A);
    EXPECT_EQ(m->state.openBus, 0x9Au);
    EXPECT_EQ(Peek64(kRomData), kSource);
    EXPECT_EQ(cpu.cycles, 0u);
  }
}

TEST_F(AccessRule, LoadFromRomCostsItsTimeInEveryWay) {
  Poke64(kRomData, kSource);
  for (const u32 word :
       {Lb(kA1, 0, kA0), Lbu(kA1, 0, kA0), Lh(kA1, 0, kA0), Lhu(kA1, 0, kA0), Lw(kA1, 0, kA0),
        Lwu(kA1, 0, kA0), Ld(kA1, 0, kA0), Lwl(kA1, 0, kA0), Lwr(kA1, 0, kA0), Ldl(kA1, 0, kA0),
        Ldr(kA1, 0, kA0), Lw(kZero, 0, kA0), Lwc1(0, 0, kA0)}) {
    SCOPED_TRACE(::testing::Message() << std::hex << word);
    nextCode += 0x20;
    PlaceWithRest(nextCode, {kNop, word});
    gpr[kA0] = Extended(kRomData);
    EXPECT_EQ(RunBlock(), 4 + kReadCharge);
    SetPc(nextCode);
    EXPECT_EQ(RunBlock(), 4 + kReadCharge);
    SetPc(nextCode);
    RecordAt(nextCode).flags |= kOpCareful;
    EXPECT_EQ(RunBlock(), 4 + kReadCharge);
  }
}

TEST_F(AccessRule, RunningFromRomCostsNothingExtra) {
  PlaceWithRest(kRomCode, {kNop, Addiu(kT0, kT0, 1)});
  m->state.frameFlags |= kFrameRandomStart;
  m->state.randState = 5;
  EXPECT_EQ(RunBlock(), 4u);
  EXPECT_EQ(m->state.randState, 5u);
  EXPECT_EQ(gpr[kT0], 1u);
}

TEST_F(AccessRule, RandomStartChargesEachRomReadByTheGenerator) {
  m->state.frameFlags |= kFrameRandomStart;
  m->state.randState = 0x1234567;
  u64 state = 0x1234567;
  i32 lowest = 0, highest = 0;
  for (u32 i = 0; i < 400; ++i) {
    state = (state * 1103515245 + 12345) % 0x80000000;
    i32 jitter = static_cast<i32>(state >> 24 & 15);
    if (jitter > 7) jitter -= 16;
    if (jitter < -5) jitter = -5;
    lowest = std::min(lowest, jitter);
    highest = std::max(highest, jitter);
    const u32 before = cpu.cycles;
    Op(Lw(kA1, 0, kA0), kRomData);
    ASSERT_EQ(cpu.cycles - before, kReadCharge + static_cast<u32>(jitter)) << "read " << i;
    ASSERT_EQ(m->state.randState, state);
  }
  EXPECT_EQ(lowest, -5);
  EXPECT_EQ(highest, 7);
}

TEST_F(AccessRule, RandomStateRestsWithoutRandomStart) {
  m->state.randState = 77;
  Op(Lw(kA1, 0, kA0), kRomData);
  EXPECT_EQ(m->state.randState, 77u);
}

TEST_F(AccessRule, RegionsEndWhereTheyShould) {
  m->state.openBus = 0x77777777;
  Poke32(0x8007FFFC, 0x11);
  Poke32(0x88000000, 0x22);
  Poke32(0x887FFFFC, 0x33);
  Poke32(0xBFC7FFFC, 0x44);
  m->ioRead[kIoRowCount - 1].read32 = ReadRegister<4>;
  constexpr struct {
    u32 address;
    u64 expected;
  } kEdges[] = {
      {0x8007FFFC, 0x11},       {0x80080000, 0},          {0x87FFFFFC, 0},
      {0x88000000, 0x22},       {0x887FFFFC, 0x33},       {0x88800000, 0x77777777},
      {0xB0003FFC, 0x84838281}, {0xB0004000, 0x77777777}, {0xAFFFFFFC, 0x77777777},
      {0xBFBFFFFC, 0x77777777}, {0xBFC7FFFC, 0x44},       {0xBFC80000, 0x77777777},
  };
  for (const auto& edge : kEdges) {
    Op(Lwu(kA1, 0, kA0), edge.address);
    EXPECT_EQ(gpr[kA1], edge.expected) << std::hex << edge.address;
  }
}

TEST_F(AccessRule, FrameAtTheTopOfPhysicalSpaceIsNowhere) {
  constexpr u32 kPage = 0x00400000;
  MapPage(kPage, 0xFFFFF000, kPageMappedMask);
  const u64 lowRam = Peek64(0x80000000);
  for (const SWidth& width : kWidths) {
    m->state.openBus = kSource;
    Op(width.load | 0xFF8, kPage);
    EXPECT_EQ(gpr[kA1], kSource & width.mask);
    Op(width.store | 0xFFF, kPage, kSource);
    EXPECT_EQ(Peek64(0x80000000), lowRam);
  }
  Op(Sdl(kA1, 0xFFF, kA0), kPage, 1);
  EXPECT_EQ(m->state.openBus, 1u);
}

// --- Register window ---------------------------------------------------------------------------

TEST_F(AccessRule, LoadsReachTheReaderOfTheirWidthWithAnAlignedAddress) {
  constexpr struct {
    u32 word, width, offset;
    u64 expected;
  } kLoads[] = {
      {Lb(kA1, 7, kA0), 1, 7, 0xFFFFFFFFFFFFFF81}, {Lbu(kA1, 5, kA0), 1, 5, 0x81},
      {Lh(kA1, 3, kA0), 2, 2, 0xFFFFFFFFFFFF8281}, {Lhu(kA1, 6, kA0), 2, 6, 0x8281},
      {Lw(kA1, 7, kA0), 4, 4, 0xFFFFFFFF84838281}, {Lwu(kA1, 8, kA0), 4, 8, 0x84838281},
      {Ld(kA1, 15, kA0), 8, 8, kRegisterValue},
  };
  for (const auto& load : kLoads) {
    g_accesses.clear();
    Op(load.word, kRegisters);
    const std::vector<SAccess> expected = {{load.width, false, 0x10002000 + load.offset, 0, 0}};
    EXPECT_EQ(g_accesses, expected) << std::hex << load.word;
    EXPECT_EQ(gpr[kA1], load.expected);
  }
  EXPECT_EQ(cpu.cycles, 0u);
}

TEST_F(AccessRule, LoadToRegisterZeroStillReadsTheDevice) {
  Op(Lw(kZero, 0, kA0), kRegisters);
  EXPECT_EQ(g_accesses.size(), 1u);
  EXPECT_EQ(gpr[kZero], 0u);
}

TEST_F(AccessRule, StoresReachTheWriterOfTheirWidthWithAnAlignedAddress) {
  constexpr struct {
    u32 word, width, offset;
    u64 value;
  } kStores[] = {
      {Sb(kA1, 7, kA0), 1, 7, 0x88},
      {Sh(kA1, 3, kA0), 2, 2, 0x7788},
      {Sw(kA1, 5, kA0), 4, 4, 0x55667788},
      {Sd(kA1, 13, kA0), 8, 8, kSource},
  };
  for (const auto& store : kStores) {
    g_accesses.clear();
    Op(store.word, kRegisters, kSource);
    const std::vector<SAccess> expected = {
        {store.width, true, 0x10002000 + store.offset, store.value, 0}};
    EXPECT_EQ(g_accesses, expected) << std::hex << store.word;
  }
  EXPECT_EQ(m->state.openBus, 0u);
}

TEST_F(AccessRule, UnalignedStoresReadTheFullWidthThenWriteItMerged) {
  constexpr struct {
    u32 word, width, offset;
    u64 merged;
  } kMerges[] = {
      {Swl(kA1, 5, kA0), 4, 4, 0x84835566},
      {Swr(kA1, 6, kA0), 4, 4, 0x77888281},
      {Sdl(kA1, 9, kA0), 8, 8, 0x8887868584831122},
      {Sdr(kA1, 14, kA0), 8, 8, 0x7788868584838281},
  };
  for (const auto& merge : kMerges) {
    g_accesses.clear();
    Op(merge.word, kRegisters, kSource);
    const u32 address = 0x10002000 + merge.offset;
    const std::vector<SAccess> expected = {{merge.width, false, address, 0, 0},
                                           {merge.width, true, address, merge.merged, 0}};
    EXPECT_EQ(g_accesses, expected) << std::hex << merge.word;
  }
}

TEST_F(AccessRule, DevicesSeeTheExactCycleInTheMiddleOfABlock) {
  gpr[kA0] = Extended(kRegisters);
  for (const u32 word : {Lw(kA1, 0, kA0), Sw(kA1, 0, kA0), Swl(kA1, 1, kA0)}) {
    g_accesses.clear();
    nextCode += 0x40;
    PlaceWithRest(nextCode, {kNop, kNop, Addiu(kT0, kT0, 1), word, kNop, word});
    EXPECT_EQ(RunBlock(), 8u);
    const std::vector<SAccess> formed = g_accesses;
    g_accesses.clear();
    SetPc(nextCode);
    EXPECT_EQ(RunBlock(), 8u);
    EXPECT_EQ(formed.front().cycles, 3u);
    EXPECT_EQ(formed.back().cycles, 5u);
    EXPECT_EQ(g_accesses, formed);
  }
}

TEST_F(AccessRule, DeviceThatCutsTheSliceEndsItAfterItsBlock) {
  gpr[kA0] = Extended(kRegisters);
  g_bCutInWrite = true;
  PlaceWithRest(kCode, {kNop, kNop, Sw(kA1, 0, kA0), Addiu(kT0, kT0, 1)});
  for (const char* pass : {"forming", "replay"}) {
    SCOPED_TRACE(pass);
    SetPc(kCode);
    gpr[kT0] = 0;
    const u64 retired = cpu.retired;
    // Two ops had passed; the answer tells one more, and what followed in the block is not counted.
    EXPECT_EQ(Run(1000), 3u);
    EXPECT_EQ(gpr[kT0], 1u);
    EXPECT_EQ(cpu.pc, kCode + 16);
    EXPECT_EQ(cpu.retired - retired, 3u);
  }
}

// --- Page permissions --------------------------------------------------------------------------

TEST_F(AccessRule, PageWithoutReadPermissionReadsZeroAndCallsNoDevice) {
  constexpr u32 kPage = 0x00400000;
  MapPage(kPage, 0x10002000, kPageWrite);
  for (const SWidth& width : kWidths) {
    Op(width.load, kPage, 5);
    EXPECT_EQ(gpr[kA1], 0u);
  }
  EXPECT_TRUE(g_accesses.empty());
  MapPage(kPage, 0x1FC00000, kPageWrite);
  Op(Lw(kA1, 0, kA0), kPage, 5);
  EXPECT_EQ(cpu.cycles, 0u);
}

TEST_F(AccessRule, PageWithoutWritePermissionDropsStoresAndCallsNoDevice) {
  constexpr u32 kPage = 0x00400000;
  MapPage(kPage, 0x10002000, kPageRead);
  for (const SWidth& width : kWidths) Op(width.store, kPage, 5);
  Op(Swl(kA1, 1, kA0), kPage, 5);
  Op(Sdr(kA1, 1, kA0), kPage, 5);
  EXPECT_TRUE(g_accesses.empty());
  MapPage(kPage, 0x18000000, kPageRead);
  for (const SWidth& width : kWidths) Op(width.store, kPage, 5);
  Op(Swr(kA1, 1, kA0), kPage, 5);
  EXPECT_EQ(m->state.openBus, 0u);
}

TEST_F(AccessRule, UnalignedLoadWithoutPermissionStillMergesZeros) {
  constexpr u32 kPage = 0x00400000;
  MapPage(kPage, kData & 0x1FFFFFFF, kPageWrite);
  Poke64(kPage, ~u64{0});
  Op(Lwl(kA1, 1, kA0), kPage, 0x11223344);
  EXPECT_EQ(gpr[kA1], 0x3344u);
  Op(Ldr(kA1, 6, kA0), kPage, kSource);
  EXPECT_EQ(gpr[kA1], 0x1122334455660000u);
}

TEST_F(AccessRule, UnalignedStoreNeedsNoReadPermission) {
  constexpr u32 kPage = 0x00400000;
  MapPage(kPage, kData & 0x1FFFFFFF, kPageWrite);
  Poke64(kData, 0x8887868584838281);
  Op(Swl(kA1, 1, kA0), kPage, kSource);
  EXPECT_EQ(Peek64(kData), 0x8887868584835566u);
}

TEST_F(AccessRule, BothUnmappedSegmentsReachTheSameMemory) {
  Op(Sw(kA1, 0, kA0), kData, 0x55);
  Op(Lwu(kA1, 0, kA0), kData + 0x20000000);
  EXPECT_EQ(gpr[kA1], 0x55u);
}

}  // namespace

}  // namespace vx
