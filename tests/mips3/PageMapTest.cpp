// The page map: what reset leaves, how TLB entries fill it, and how mappings let go.
#include <cstring>

#include "tests/mips3/ProcessorTest.h"

namespace vx {

namespace {

using namespace mips;

constexpr u32 kUserFlags = 0x80 | 13 << 4 | 15;       // valid, not dirty
constexpr u32 kUserDirtyFlags = 0x80 | 15 << 4 | 15;  // valid and dirty
constexpr u64 kGlobal = 1, kValid = 2, kDirty = 4;

class PageMap : public ProcessorTest {
 protected:
  // Entry for the pair that starts at a virtual page, with a number of pages in each half.
  void WriteTlb(u32 index, u64 firstPage, u32 pages, u64 lo0, u64 lo1, u64 asid = 0) {
    cop0[kCop0Index] = index;
    cop0[kCop0PageMask] = u64{pages - 1} << 13;
    cop0[kCop0EntryHi] = firstPage << 13 | asid;
    cop0[kCop0EntryLo0] = lo0;
    cop0[kCop0EntryLo1] = lo1;
    cpu.pc = kCode + 4;
    ExecuteWord(m.get(), kTlbwi);
  }
  void SetAsid(u64 asid) {
    gpr[kA0] = (cop0[kCop0EntryHi] & ~u64{0xFF}) | asid;
    cpu.pc = kCode + 4;
    ExecuteWord(m.get(), Mtc0(kA0, kCop0EntryHi));
  }
  static u64 Lo(u32 physical, u64 bits) { return u64{physical >> 12} << 6 | bits; }
  u32 ValueOf(u32 page) const { return m->pages[page].value; }
  u32 ReferencesOf(u32 page) const { return m->pages[page].references; }
};

TEST_F(PageMap, ResetLeaves96ReferencesOnPageZeroAndTwoSegments) {
  EXPECT_EQ(ReferencesOf(0), 96u);
  EXPECT_EQ(ValueOf(0), 0u);
  for (u32 slot = 0; slot < 96; ++slot) {
    EXPECT_EQ(cpu.mapSlots[slot].firstPagePlusOne, 1u);
    EXPECT_EQ(cpu.mapSlots[slot].pageCount, 0u);
  }
  EXPECT_EQ(cpu.mapSlots[96].firstPagePlusOne, 0x80001u);
  EXPECT_EQ(cpu.mapSlots[96].pageCount, 0x20000u);
  EXPECT_EQ(cpu.mapSlots[97].firstPagePlusOne, 0xA0001u);
  EXPECT_EQ(cpu.mapSlots[97].pageCount, 0x20000u);
  EXPECT_EQ(ReferencesOf(0x80000), 1u);
  EXPECT_EQ(ReferencesOf(0xA0000), 1u);
  EXPECT_EQ(ReferencesOf(0x80001), 0u);
  for (const u32 i : {0u, 1u, 0x7Fu, 0x8000u, 0x1FC00u, 0x1FFFFu}) {
    EXPECT_EQ(ValueOf(0x80000 + i), i << 12 | 0x8F);
    EXPECT_EQ(ValueOf(0xA0000 + i), i << 12 | 0x8F);
  }
  for (const u32 page : {1u, 0x400u, 0x7FFFFu, 0xC0000u, 0xFFFFFu}) EXPECT_EQ(ValueOf(page), 0u);
  EXPECT_EQ(cpu.mapLow, 0x80000u);
  EXPECT_EQ(cpu.mapHigh, 0xBFFFFu);
}

TEST_F(PageMap, SecondResetRestoresTheMap) {
  WriteTlb(3, 0x400, 1, Lo(0x5000, kValid), Lo(0x6000, kValid));
  m->Reset();
  EXPECT_EQ(ReferencesOf(0), 96u);
  EXPECT_EQ(ValueOf(0x400), 0u);
  EXPECT_EQ(ReferencesOf(0x400), 0u);
  EXPECT_EQ(cpu.mapLow, 0x80000u);
}

TEST_F(PageMap, EntryMapsItsPairNumberAsThePageWithoutDoubling) {
  WriteTlb(0, 0x1000, 1, Lo(0x5000, kValid), Lo(0x9000, kValid | kDirty));
  EXPECT_EQ(ValueOf(0x1000), 0x5000 | kUserFlags);
  EXPECT_EQ(ValueOf(0x1001), 0x9000 | kUserDirtyFlags);
  EXPECT_EQ(ValueOf(0x2000), 0u);
  EXPECT_EQ(ReferencesOf(0x1000), 1u);
  EXPECT_EQ(ReferencesOf(0x1001), 1u);
  EXPECT_EQ(ReferencesOf(0), 94u);
  EXPECT_EQ(cpu.mapLow, 0x1000u);
  EXPECT_EQ(cpu.mapHigh, 0xBFFFFu);
}

TEST_F(PageMap, PageMaskGivesTheLengthOfEachHalf) {
  WriteTlb(0, 0x1000, 4, Lo(0x10000, kValid), Lo(0x20000, kValid));
  for (u32 i = 0; i < 4; ++i) {
    EXPECT_EQ(ValueOf(0x1000 + i), (0x10000 + (i << 12)) | kUserFlags);
    EXPECT_EQ(ValueOf(0x1004 + i), (0x20000 + (i << 12)) | kUserFlags);
  }
  EXPECT_EQ(ValueOf(0x1008), 0u);
  EXPECT_EQ(ReferencesOf(0x1001), 0u) << "a slot counts on its first page alone";
  EXPECT_EQ(cpu.mapSlots[0].pageCount, 4u);
}

TEST_F(PageMap, UserPageIsWritableWhateverTheEntrySays) {
  WriteTlb(0, 0x1000, 1, Lo(kData & 0x1FFFFFFF, kValid), 0);
  gpr[kA0] = 0x01000000;
  gpr[kA1] = 0x5A;
  cpu.pc = kCode + 4;
  ExecuteWord(m.get(), Sw(kA1, 0, kA0));
  EXPECT_EQ(Peek32(kData), 0x5Au);
}

TEST_F(PageMap, UpperPageIsWritableOnlyWhenDirty) {
  WriteTlb(0, 0xD0000, 1, Lo(0x5000, kValid), Lo(0x6000, kValid | kDirty));
  EXPECT_EQ(ValueOf(0xD0000), 0x5000u | 0x80 | 13);
  EXPECT_EQ(ValueOf(0xD0001), 0x6000u | 0x80 | 15);
  EXPECT_EQ(cpu.mapHigh, 0xD0001u);
}

TEST_F(PageMap, InvalidHalfIsInstalledWithoutPermissions) {
  WriteTlb(0, 0x1000, 1, Lo(0x5000, kDirty), Lo(0x6000, kValid));
  EXPECT_EQ(ValueOf(0x1000), 0x5080u);
  EXPECT_EQ(ReferencesOf(0x1000), 1u);
}

TEST_F(PageMap, FrameNumberIsCutTo32Bits) {
  WriteTlb(0, 0x1000, 1, (u64{0xFFF12345} << 6) | kValid, 0);
  EXPECT_EQ(ValueOf(0x1000), 0x12345000u | kUserFlags);
}

TEST_F(PageMap, SegmentsThatTheTlbDoesNotReachStayAsTheyAre) {
  WriteTlb(0, 0x90000, 1, Lo(0x5000, kValid), Lo(0x6000, kValid));
  EXPECT_EQ(ValueOf(0x90000), 0x1000008Fu);
  EXPECT_EQ(cpu.mapSlots[0].firstPagePlusOne, 1u);
  EXPECT_EQ(ReferencesOf(0), 96u);
  // A half that runs into them is dropped, the one before it stays.
  WriteTlb(0, 0x7FFF0, 0x10, Lo(0x5000, kValid), Lo(0x6000, kValid));
  EXPECT_EQ(ValueOf(0x7FFFF), (0x5000u + 0xF000) | kUserFlags);
  EXPECT_EQ(ValueOf(0x80000), 0x8Fu);
  EXPECT_EQ(cpu.mapSlots[1].firstPagePlusOne, 1u);
  WriteTlb(0, 0x7FFFF, 2, Lo(0x5000, kValid), 0);
  EXPECT_EQ(ValueOf(0x7FFFF), 0u);
}

TEST_F(PageMap, HalfBehindTheSegmentsIsMappedThoughTheFirstIsNot) {
  WriteTlb(0, 0xBFFFF, 1, Lo(0x5000, kValid), Lo(0x6000, kValid));
  EXPECT_EQ(ValueOf(0xBFFFF), 0x1FFFF08Fu);
  EXPECT_EQ(ValueOf(0xC0000), 0x6000u | 0x80 | 13);
}

TEST_F(PageMap, EntryBeyondThe32BitSpaceIsEmptied) {
  WriteTlb(0, 0x1000, 1, Lo(0x5000, kValid), Lo(0x6000, kValid));
  WriteTlb(0, 0x100000, 1, Lo(0x5000, kValid), Lo(0x6000, kValid));
  EXPECT_EQ(ValueOf(0x1000), 0u);
  EXPECT_EQ(ReferencesOf(0), 96u);
  // A sign-extended address of the upper segment lies beyond it too.
  WriteTlb(0, 0xFFFFFFFFC0000000 >> 13, 1, Lo(0x5000, kValid), Lo(0x6000, kValid));
  EXPECT_EQ(ReferencesOf(0), 96u);
}

TEST_F(PageMap, RangePastTheLastPageIsClipped) {
  const SPageEntry* const behind = m->pages + kPageCount;
  const u64 wiring = *reinterpret_cast<const u64*>(behind);
  WriteTlb(0, 0xFFFFE, 0x1000, Lo(0x5000, kValid), Lo(0x6000, kValid));
  EXPECT_EQ(ValueOf(0xFFFFE), 0x5000u | 0x80 | 13);
  EXPECT_EQ(ValueOf(0xFFFFF), 0x6000u | 0x80 | 13);
  EXPECT_EQ(*reinterpret_cast<const u64*>(behind), wiring);
  EXPECT_EQ(cpu.mapHigh, 0xFFFFFu);
  // The second half starts behind the space: its page number is cut to 20 bits.
  EXPECT_EQ(cpu.mapSlots[1].firstPagePlusOne, 0xFFEu + 1);
  WriteTlb(0, 0x100000, 1, 0, 0);
  EXPECT_EQ(ValueOf(0xFFFFF), 0u);
  EXPECT_EQ(*reinterpret_cast<const u64*>(behind), wiring);
}

TEST_F(PageMap, IndexBeyondTheLastEntryDoesNothing) {
  for (const u32 index : {48u, 63u}) {
    const SMIPS3Context before = cpu;
    WriteTlb(index, 0x1000, 1, Lo(0x5000, kValid), Lo(0x6000, kValid));
    EXPECT_EQ(std::memcmp(before.tlb, cpu.tlb, sizeof(cpu.tlb)), 0);
    EXPECT_EQ(ValueOf(0x1000), 0u);
  }
  WriteTlb(64 + 47, 0x1000, 1, Lo(0x5000, kValid), Lo(0x6000, kValid));
  EXPECT_EQ(ValueOf(0x1000), 0x5000u | kUserFlags) << "only six bits of the index count";
  EXPECT_EQ(cpu.mapSlots[94].firstPagePlusOne, 0x1001u);
}

TEST_F(PageMap, EntryOfAnotherAddressSpaceIsEmptied) {
  WriteTlb(2, 0x1000, 1, Lo(0x5000, kValid), Lo(0x6000, kValid), 7);
  EXPECT_EQ(ValueOf(0x1000), 0x5000u | kUserFlags);
  SetAsid(8);
  EXPECT_EQ(ValueOf(0x1000), 0u);
  SetAsid(7);
  EXPECT_EQ(ValueOf(0x1000), 0x5000u | kUserFlags);
}

TEST_F(PageMap, EntryIsGlobalOnlyWithBothBits) {
  WriteTlb(2, 0x1000, 1, Lo(0x5000, kValid | kGlobal), Lo(0x6000, kValid | kGlobal), 7);
  WriteTlb(3, 0x2000, 1, Lo(0x5000, kValid | kGlobal), Lo(0x6000, kValid), 7);
  SetAsid(8);
  EXPECT_EQ(ValueOf(0x1000), 0x5000u | kUserFlags);
  EXPECT_EQ(ValueOf(0x2000), 0u);
}

TEST_F(PageMap, RewritingTheSameAddressSpaceRemapsNothing) {
  WriteTlb(2, 0x1000, 1, Lo(0x5000, kValid), Lo(0x6000, kValid), 7);
  m->pages[0x1000].value = 0x1234;
  gpr[kA0] = 0x4000007;  // other upper bits, same low byte
  cpu.pc = kCode + 4;
  ExecuteWord(m.get(), Mtc0(kA0, kCop0EntryHi));
  EXPECT_EQ(ValueOf(0x1000), 0x1234u);
}

// The entries that the guest never wrote belong to address space 0 and map pages 0 and 1 without
// permissions, in entry order.
TEST_F(PageMap, ReturnToAddressSpaceZeroMapsTheUntouchedEntries) {
  SetAsid(5);
  EXPECT_EQ(ReferencesOf(0), 96u);
  SetAsid(0);
  EXPECT_EQ(ValueOf(0), 0x80u);
  EXPECT_EQ(ValueOf(1), 0x80u);
  EXPECT_EQ(ReferencesOf(0), 48u);
  EXPECT_EQ(ReferencesOf(1), 48u);
  EXPECT_EQ(cpu.mapLow, 0x80000u) << "pages this low are not tracked";
}

TEST_F(PageMap, SharedFirstPageStaysMappedUntilTheLastSlotLetsGo) {
  WriteTlb(0, 0x1000, 1, Lo(0x5000, kValid), 0);
  WriteTlb(1, 0x1000, 1, Lo(0x7000, kValid), 0);
  EXPECT_EQ(ReferencesOf(0x1000), 2u);
  EXPECT_EQ(ValueOf(0x1000), 0x7000u | kUserFlags);
  WriteTlb(1, 0x3000, 1, Lo(0x7000, kValid), 0);
  EXPECT_EQ(ValueOf(0x1000), 0x7000u | kUserFlags) << "one reference is left";
  WriteTlb(0, 0x4000, 1, Lo(0x5000, kValid), 0);
  EXPECT_EQ(ValueOf(0x1000), 0u);
  EXPECT_EQ(ReferencesOf(0x1000), 0u);
}

TEST_F(PageMap, ReleasedSlotClearsItsWholeRange) {
  WriteTlb(0, 0x1000, 4, Lo(0x10000, kValid), Lo(0x20000, kValid));
  WriteTlb(0, 0x100000, 1, 0, 0);
  for (u32 page = 0x1000; page < 0x1008; ++page) EXPECT_EQ(ValueOf(page), 0u);
}

TEST_F(PageMap, RangeThatStartsBelowTheTrackedPagesDoesNotWidenTheTrack) {
  WriteTlb(0, 0x7FF, 4, Lo(0x10000, kValid), 0);
  EXPECT_EQ(ValueOf(0x802), (0x10000u + 0x3000) | kUserFlags);
  EXPECT_EQ(cpu.mapLow, 0x803u) << "the second half alone counts";
}

TEST_F(PageMap, CodeRunsThroughAMappedPage) {
  WriteTlb(0, 0x1000, 1, Lo(0x3000, kValid), 0);
  PlaceWithRest(0x01000100, {Addiu(kT0, kZero, 3)});
  EXPECT_EQ(Peek32(0x80003100), Addiu(kT0, kZero, 3));
  EXPECT_EQ(RunBlock(), 3u);
  EXPECT_EQ(gpr[kT0], 3u);
  EXPECT_EQ(cpu.pc, 0x01000104u);
}

TEST_F(PageMap, AddressesTranslateByTheMap) {
  WriteTlb(0, 0x1000, 1, Lo(0x08003000, kValid), 0);
  constexpr struct {
    u64 address, expected;
  } kRows[] = {
      {0x01000123, 0x83123},  {0x80001234, 0x1234},   {0x88000000, 0x80000},
      {0xBFC00010, 0x880010}, {0x00001000, 0x1000},   {0x1FC80000, 0x900000},
      {0x1FC80004, 0xD80004}, {0x10000020, 0xD00020}, {0x00080000, 0xF8100000},
  };
  for (const auto& row : kRows) {
    u64 address = row.address;
    EXPECT_TRUE(m->TranslateAddress(&address));
    EXPECT_EQ(address, row.expected) << std::hex << row.address;
  }
}

}  // namespace

}  // namespace vx
