// The register map: every address of the window, both layouts, all four widths.
#include <cstring>

#include "tests/devices/IoTest.h"

namespace vx::test {
namespace {

struct IoMapTest : CLayoutTest {
  static constexpr u64 kPort0 = 0xA1A2A3A4A5A6A7A8, kPort1 = 0xB1B2B3B4B5B6B7B8,
                       kDip = 0xC1C2C3C4C5C6C7C8;
  // All bits but the two that the status word's test below looks at.
  static constexpr u64 kStatus = 0xD1D2D3D4D5D6D7DA;

  IoMapTest() {
    m->state.inputPort0 = kPort0;
    m->state.inputPort1 = kPort1;
    m->state.boardStatus = kStatus;
    m->state.dipPort = kDip;
  }
  // What a read of the board's registers gives.
  u64 Expected(u32 address) const {
    const u32 word = address & ~3u;
    if (word == at.inputPort0) return kPort0;
    if (word == at.inputPort1) return kPort1;
    if (word == at.boardStatus) return kStatus;
    if (word == at.dipPort) return kDip;
    return 0;
  }
};

TEST_P(IoMapTest, EveryBoardAddressReadsTheLowBitsOfItsRegisterAtEveryWidth) {
  for (u32 address = 0x10000080; address < 0x100000C0; ++address) {
    for (const u32 bytes : kWidths) {
      EXPECT_EQ(Read(address, bytes), Expected(address) & WidthMask(bytes))
          << std::hex << address << " by " << bytes;
    }
  }
}

TEST_P(IoMapTest, AllOtherRowsButTheDrivesReadZero) {
  for (u32 address = 0x10000000; address < 0x10004000; address += 4) {
    const bool bBoard = address >= 0x10000080 && address < 0x100000C0;
    const bool bDrive = address >= 0x10000100 && address < 0x10000200;
    if (bBoard || bDrive) continue;
    for (const u32 bytes : kWidths) {
      EXPECT_EQ(Read(address, bytes), 0u) << std::hex << address << " by " << bytes;
    }
  }
}

TEST_P(IoMapTest, EveryWriteReachesItsRegisterAndNoOther) {
  for (u32 address = 0x10000000; address < 0x10000100; address += 4) {
    if (address == at.soundReset) continue;
    for (const u32 bytes : kWidths) {
      SCOPED_TRACE(testing::Message() << std::hex << address << " by " << bytes);
      m->state.boardControl = m->state.soundStrobe = m->state.soundLatch = 0;
      Write(address, ~u64{0}, bytes);
      const u32 written = static_cast<u32>(WidthMask(bytes));
      EXPECT_EQ(m->state.boardControl, address == at.boardControl ? written : 0u);
      EXPECT_EQ(m->state.soundStrobe, address == at.soundStrobe ? written : 0u);
      EXPECT_EQ(m->state.soundLatch, address == at.soundLatch ? written : 0u);
    }
  }
  EXPECT_EQ(m->state.inputPort0, kPort0);
  EXPECT_EQ(m->state.inputPort1, kPort1);
  EXPECT_EQ(m->state.dipPort, kDip);
}

TEST_P(IoMapTest, WritesBehindTheDriveAreIgnored) {
  const SMachineState before = m->state;
  for (u32 address = 0x10000200; address < 0x10004000; address += 8) {
    for (const u32 bytes : kWidths) Write(address, ~u64{0}, bytes);
  }
  EXPECT_EQ(std::memcmp(&before, &m->state, sizeof(before)), 0);
}

TEST_P(IoMapTest, EveryRowHasAllHandlers) {
  for (u32 row = 0; row < 1024; ++row) {
    const SIoReadRow& read = m->ioRead[row];
    const SIoWriteRow& write = m->ioWrite[row];
    EXPECT_TRUE(read.read64 != nullptr && read.read32 != nullptr && read.read16 != nullptr &&
                read.read8 != nullptr);
    EXPECT_TRUE(write.write64 != nullptr && write.write32 != nullptr && write.write16 != nullptr &&
                write.write8 != nullptr);
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, IoMapTest, testing::Values(kPlacesA, kPlacesB), LayoutName);

TEST_F(CIoTest, RebuildingForTheOtherLayoutReplacesEveryBoardHandler) {
  m->state.inputPort0 = 0x11;
  m->state.inputPort1 = 0x22;
  UseLayout(true);
  EXPECT_EQ(Read(0x10000098, 4), 0x11u);
  EXPECT_EQ(Read(0x10000090, 4), 0x22u);
  UseLayout(false);
  EXPECT_EQ(Read(0x10000098, 4), 0u);
  EXPECT_EQ(Read(0x10000080, 4), 0x11u);
}

TEST_F(CIoTest, AFreshMachineHasTheFirstLayout) {
  m->state.inputPort0 = 0x11;
  EXPECT_EQ(Read(0x10000080, 4), 0x11u);
}

}  // namespace
}  // namespace vx::test
