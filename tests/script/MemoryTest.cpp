// Guest memory by flat offset, and what virtual addresses lead to.
#include "tests/script/ScriptTest.h"

namespace vx::test {
namespace {

using CScriptMemoryCalls = CScriptTest;

constexpr u32 kVirtualToFlat = 5, kVirtualToPhysical = 6;
constexpr u32 kRead8 = 9, kRead16 = 10, kRead32 = 11, kRead64 = 12, kReadBlock = 13;
constexpr u32 kWrite8 = 14, kWriteBlock = 18;

TEST_F(CScriptMemoryCalls, AddressesTranslateThroughThePageMap) {
  Boot();
  struct SCase {
    u32 address, flat, physical;
  };
  for (const SCase& c :
       {SCase{0x80000000, 0, 0}, SCase{0x8007FFFF, 0x7FFFF, 0x7FFFF},
        SCase{0xA8000000, 0x80000, 0x8000000}, SCase{0x887FFFFF, 0x87FFFF, 0x87FFFFF},
        SCase{0xBFC00000, 0x880000, 0x1FC00000}, SCase{0xBFC80000, 0x900000, 0x1FC80000},
        SCase{0xBFC80001, 0xD80001, 0x1FC80001}, SCase{0x80080000, 0x80000 - 0x7F80000u, 0x80000},
        SCase{0x00001234, 0x1234, 0x1234}}) {
    EXPECT_EQ(Ask<u32>(kVirtualToFlat, {kOut, c.address}), c.flat) << std::hex << c.address;
    EXPECT_EQ(Ask<u32>(kVirtualToPhysical, {kOut, c.address}), c.physical) << std::hex << c.address;
  }
}

TEST_F(CScriptMemoryCalls, AWordReadsAtItsWidthUpToTheLastByteOfTheImage) {
  for (u32 i = 0; i < 8; ++i) m->flatMem[kFlatBytes - 8 + i] = static_cast<u8>(0x81 + i);
  EXPECT_EQ(Ask<u8>(kRead8, {0xDFFFFF, kOut}), 0x88u);
  EXPECT_EQ(Ask<u16>(kRead16, {0xDFFFFE, kOut}), 0x8887u);
  EXPECT_EQ(Ask<u32>(kRead32, {0xDFFFFC, kOut}), 0x88878685u);
  EXPECT_EQ(Ask<u64>(kRead64, {0xDFFFF8, kOut}), 0x8887868584838281u);
}

TEST_F(CScriptMemoryCalls, AWordThatLeavesTheImageReadsZero) {
  std::memset(m->flatMem + kFlatBytes - 8, 0xFF, 8);
  for (const u32 offset : {0xE00000u, 0xFFFFFFFFu, 0x80000000u}) {
    EXPECT_EQ(Ask<u8>(kRead8, {offset, kOut}), 0u);
    EXPECT_EQ(Ask<u16>(kRead16, {offset, kOut}), 0u);
    EXPECT_EQ(Ask<u32>(kRead32, {offset, kOut}), 0u);
    EXPECT_EQ(Ask<u64>(kRead64, {offset, kOut}), 0u);
  }
  EXPECT_EQ(Ask<u16>(kRead16, {0xDFFFFF, kOut}), 0u);
  EXPECT_EQ(Ask<u32>(kRead32, {0xDFFFFD, kOut}), 0u);
  EXPECT_EQ(Ask<u64>(kRead64, {0xDFFFF9, kOut}), 0u);
  EXPECT_EQ(Ask<u32>(kRead32, {0xFFFFFFFD, kOut}), 0u);
}

TEST_F(CScriptMemoryCalls, AReadStoresOnlyItsOwnWidth) {
  Put(kOut, u64{0x1111111111111111});
  Call(kRead8, {0, kOut});
  EXPECT_EQ(At<u64>(kOut), 0x1111111111111100u);
}

TEST_F(CScriptMemoryCalls, AWriteReachesTheImageUpToItsLastByte) {
  Put(kIn, u64{0x8877665544332211});
  for (u32 width = 0; width < 4; ++width) {
    const u32 bytes = 1u << width;
    std::memset(m->flatMem + kFlatBytes - 8, 0, 8);
    Call(kWrite8 + width, {kFlatBytes - bytes, kIn});
    EXPECT_EQ(std::memcmp(m->flatMem + kFlatBytes - bytes, memory.data() + kIn, bytes), 0);
    std::memset(m->flatMem + kFlatBytes - 8, 0, 8);
    Call(kWrite8 + width, {kFlatBytes - bytes + 1, kIn});
    Call(kWrite8 + width, {0xFFFFFFFF - bytes + 2, kIn});
    for (u32 i = 1; i <= 8; ++i) EXPECT_EQ(m->flatMem[kFlatBytes - i], 0u);
  }
}

TEST_F(CScriptMemoryCalls, AWriteLeavesFormedCodeAsItWas) {
  m->records[0x400].flags = kOpValid | kOpHead;
  Put(kIn, 0x12345678u);
  Call(16, {0x1000, kIn});
  EXPECT_EQ(m->records[0x400].flags, u32{kOpValid | kOpHead});
  EXPECT_EQ(Ask<u32>(kRead32, {0x1000, kOut}), 0x12345678u);
}

TEST_F(CScriptMemoryCalls, ABlockCopiesWholeOrNotAtAll) {
  for (u32 i = 0; i < 16; ++i) m->flatMem[kFlatBytes - 16 + i] = static_cast<u8>(i + 1);
  Call(kReadBlock, {kFlatBytes - 16, kData, 16});
  EXPECT_EQ(std::memcmp(memory.data() + kData, m->flatMem + kFlatBytes - 16, 16), 0);
  memory.assign(kMemoryBytes, 0);
  Call(kReadBlock, {kFlatBytes - 16, kData, 17});
  Call(kReadBlock, {kFlatBytes, kData, 1});
  EXPECT_EQ(At<u64>(kData), 0u);
  Put(kData, u64{0x0101010101010101});
  Call(kWriteBlock, {kFlatBytes - 7, kData, 8});
  EXPECT_EQ(m->flatMem[kFlatBytes - 7], 10u);
  Call(kWriteBlock, {kFlatBytes - 8, kData, 8});
  EXPECT_EQ(m->flatMem[kFlatBytes - 8], 1u);
  EXPECT_EQ(m->flatMem[kFlatBytes - 1], 1u);
}

TEST_F(CScriptMemoryCalls, ABlocksEndThatWrapsAroundIsOutOfRange) {
  Put(kData, u64{0x0101010101010101});
  Call(kWriteBlock, {0xFFFFFFF8, kData, 0x10});
  Call(kReadBlock, {0xFFFFFFF8, kData, 0x10});
  EXPECT_EQ(At<u64>(kData), 0x0101010101010101u);
  EXPECT_EQ(m->flatMem[0], 0u);
}

TEST_F(CScriptMemoryCalls, AnEmptyBlockCopiesNothing) {
  Put(kData, u64{7});
  Call(kReadBlock, {kFlatBytes, kData, 0});
  Call(kReadBlock, {0, 0xFFFFFFFF, 0});
  Call(kWriteBlock, {kFlatBytes, 0xFFFFFFFF, 0});
  EXPECT_EQ(At<u64>(kData), 7u);
}

TEST_F(CScriptMemoryCalls, ABlockMayLieInTheGuestMemoryItself) {
  for (u32 i = 0; i < 64; ++i) m->flatMem[i] = static_cast<u8>(i);
  const u32 words[] = {0, 16, 48};
  std::memcpy(m->flatMem + 0x100, words, sizeof(words));
  CallScriptFunction(m.get(), reinterpret_cast<u64>(m->flatMem), kReadBlock, 0x100);
  for (u32 i = 0; i < 48; ++i) EXPECT_EQ(m->flatMem[16 + i], i);
}

}  // namespace
}  // namespace vx::test
