// A machine as a host in any language meets it: slots of its table by number, callbacks by place.
#include <cstring>

#include "tests/support/BoundaryTest.h"

namespace vx::test {
namespace {

using MachineSlotsTest = CBoundaryTest;

TEST_F(MachineSlotsTest, SizeAndImageAreThereBeforeAnyPack) {
  EXPECT_EQ(CallSlot<u32>(machine, 2), 320u);
  EXPECT_EQ(CallSlot<u32>(machine, 3), 240u);
  EXPECT_EQ(CallSlot<u8*>(machine, 5), machine->GetMemoryImage());
  EXPECT_FALSE(CallSlot<bool>(machine, 7));
  EXPECT_EQ(CallSlot<i64>(machine, 4), 31250);
}

TEST_F(MachineSlotsTest, SlotOneLoadsAndSlotSevenTells) {
  const CPackFile file{CTestPack()};
  EXPECT_TRUE((CallSlot<bool, const wchar_t*>(machine, 1, file.Path())));
  EXPECT_TRUE(CallSlot<bool>(machine, 7));
  EXPECT_FALSE((CallSlot<bool, const wchar_t*>(machine, 1, nullptr)));
  EXPECT_FALSE(CallSlot<bool>(machine, 7));
}

TEST_F(MachineSlotsTest, SlotElevenRunsAFrameSlotTenCountsAndSlotSixResets) {
  CallSlot<void>(machine, 11);
  CallSlot<void>(machine, 11);
  EXPECT_EQ(CallSlot<u64>(machine, 10), 2u);
  CallSlot<void>(machine, 6);
  EXPECT_EQ(CallSlot<u64>(machine, 10), 0u);
}

TEST_F(MachineSlotsTest, SlotsTwelveAndFifteenTakeInputAndSettings) {
  const SInputRecord records[2] = {};
  CallSlot<void, const SInputRecord*, u32>(machine, 12, records, 2);
  CallSlot<void>(machine, 15);
  EXPECT_EQ(CallSlot<u64>(machine, 10), 0u);
}

TEST_F(MachineSlotsTest, IdleSlotsReturn) {
  for (const u32 slot : {13u, 14u, 17u, 23u, 24u}) CallSlot<void>(machine, slot);
  EXPECT_EQ(CallSlot<u64>(machine, 10), 0u);
}

TEST_F(MachineSlotsTest, ConstantsStandAtTheirSlots) {
  EXPECT_EQ((CallSlot<u32, u32>(machine, 19, 0xFEDCBA98)), 0xFEDCBA98u);
  EXPECT_EQ(CallSlot<u32>(machine, 20), 2u);
  EXPECT_EQ(CallSlot<u32>(machine, 21), 4u);
  EXPECT_EQ(CallSlot<u32>(machine, 22), 6u);
  EXPECT_TRUE(CallSlot<bool>(machine, 25));
}

u32 Filtered(CQuillonMachineBase* machine, u32 buttons, i8 keepBoth) {
  CallSlot<void, u32*, i8>(machine, 16, &buttons, keepBoth);
  return buttons;
}

TEST_F(MachineSlotsTest, OppositeDirectionsLoseTheEarlierOfEachPair) {
  EXPECT_EQ(Filtered(machine, 0x1E0, 0), 0x140u);
  EXPECT_EQ(Filtered(machine, 0x60, 0), 0x40u);
  EXPECT_EQ(Filtered(machine, 0x180, 0), 0x100u);
  EXPECT_EQ(Filtered(machine, 0xFFFFFFFF, 0), 0xFFFFFF5Fu);
}

TEST_F(MachineSlotsTest, SingleDirectionsStay) {
  for (const u32 buttons : {0x20u, 0x40u, 0x80u, 0x100u, 0xA0u, 0x120u, 0x140u, 0xFFFFFE1Fu}) {
    EXPECT_EQ(Filtered(machine, buttons, 0), buttons);
  }
}

TEST_F(MachineSlotsTest, TheKeepBothFlagLeavesDirectionsAlone) {
  for (const i8 flag : {i8{1}, i8{-1}, i8{127}}) EXPECT_EQ(Filtered(machine, 0x1E0, flag), 0x1E0u);
}

TEST_F(MachineSlotsTest, FilteringNoWordIsHarmless) {
  CallSlot<void, u32*, i8>(machine, 16, nullptr, i8{0});
}

TEST_F(MachineSlotsTest, ButtonsAreTranslatedBitByBit) {
  constexpr u32 kMoves[][2] = {{0x1, 0x80}, {0x2, 0x10}, {0x4, 0x20}, {0x8, 0x100}, {0x10, 0},
                               {0x20, 0x1}, {0x40, 0x2}, {0x80, 0x4}, {0x100, 0x8}};
  for (const auto& [from, to] : kMoves) {
    EXPECT_EQ((CallSlot<u32, i32>(machine, 18, static_cast<i32>(from))), to) << "bit " << from;
  }
  EXPECT_EQ((CallSlot<u32, i32>(machine, 18, 0x1FF)), 0x1BFu);
}

TEST_F(MachineSlotsTest, ButtonsAboveTheDirectionsAreDropped) {
  for (u32 bit = 9; bit < 32; ++bit) {
    EXPECT_EQ((CallSlot<u32, i32>(machine, 18, static_cast<i32>(1u << bit))), 0u) << "bit " << bit;
  }
}

u64 Translated(CQuillonMachineBase* machine, u64 address) {
  EXPECT_TRUE((CallSlot<bool, u64*>(machine, 26, &address)));
  return address;
}

TEST_F(MachineSlotsTest, UnmappedAddressesTranslateByRegion) {
  EXPECT_EQ(Translated(machine, 0), 0u);
  EXPECT_EQ(Translated(machine, 0x7FFFF), 0x7FFFFu);
  EXPECT_EQ(Translated(machine, 0x8000000), 0x80000u);
  EXPECT_EQ(Translated(machine, 0x87FFFFF), 0x87FFFFu);
  EXPECT_EQ(Translated(machine, 0x8800000), 0xD00000u);
  EXPECT_EQ(Translated(machine, 0x1FBFFFFF), 0xDFFFFFu);
  EXPECT_EQ(Translated(machine, 0x10000123), 0xD00123u);
}

TEST_F(MachineSlotsTest, TheBootRomRegionTakesInItsEnd) {
  EXPECT_EQ(Translated(machine, 0x1FC00000), 0x880000u);
  EXPECT_EQ(Translated(machine, 0x1FC7FFFF), 0x8FFFFFu);
  EXPECT_EQ(Translated(machine, 0x1FC80000), 0x900000u);
  EXPECT_EQ(Translated(machine, 0x1FC80001), 0xD80001u);
}

TEST_F(MachineSlotsTest, TheHoleBetweenTheRamsWrapsIn32Bits) {
  EXPECT_EQ(Translated(machine, 0x80000), 0xF8100000u);
  EXPECT_EQ(Translated(machine, 0x7FFFFFF), 0x7FFFFu);
}

TEST_F(MachineSlotsTest, MappedSegmentsTranslateThroughThePageMap) {
  EXPECT_EQ(Translated(machine, 0xBFC00004), 0x880004u);
  EXPECT_EQ(Translated(machine, 0x80001234), 0x1234u);
  EXPECT_EQ(Translated(machine, 0xA8000010), 0x80010u);
  EXPECT_EQ(Translated(machine, 0xFFFFFFFFBFC00004), 0x880004u) << "sign-extended";
}

TEST_F(MachineSlotsTest, TranslatingNoAddressAnswersTrue) {
  EXPECT_TRUE((CallSlot<bool, u64*>(machine, 26, nullptr)));
}

TEST_F(MachineSlotsTest, HashStateTakesTheProcessorRecordAndAPartOfLowRam) {
  const u64 hash = CallSlot<u64>(machine, 27);
  EXPECT_EQ(host.firstHash.bytes, 3696u);
  EXPECT_EQ(host.firstHash.data, reinterpret_cast<const u8*>(machine) + 48);
  EXPECT_EQ(host.furtherHash.bytes, 5120u);
  EXPECT_EQ(host.furtherHash.data, machine->GetMemoryImage() + 0x3FA00);
  EXPECT_EQ(hash, host.Api().HashDataMore(host.furtherHash.data, 5120, host.furtherHash.previous));
  EXPECT_EQ(host.furtherHash.previous, host.Api().HashData(host.firstHash.data, 3696));
}

TEST_F(MachineSlotsTest, CallbacksStandAtBytesEightToFortyAndStartNull) {
  CQuillonMachineBase* const fresh = table.CreateMachine();
  const auto* const bytes = reinterpret_cast<const u8*>(fresh);
  for (u32 place = 8; place <= 40; place += 8) {
    u64 pointer = 1;
    std::memcpy(&pointer, bytes + place, sizeof(pointer));
    EXPECT_EQ(pointer, 0u) << "byte " << place;
  }
  table.DestroyMachine(fresh);
}

u32 g_callsByPlace = 0;

TEST_F(MachineSlotsTest, CallbacksWrittenByPlaceAreCalled) {
  using VideoFrame = CQuillonMachineBase::OnVideoFrame;
  const VideoFrame onVideoFrame = [](CQuillonMachineBase*, const u32*, u32, u32, u64, u64, u64,
                                     u64) { ++g_callsByPlace; };
  CQuillonMachineBase* const fresh = table.CreateMachine();
  std::memcpy(reinterpret_cast<u8*>(fresh) + 16, &onVideoFrame, sizeof(onVideoFrame));
  g_callsByPlace = 0;
  fresh->RunFrame();
  EXPECT_EQ(g_callsByPlace, 1u);
  table.DestroyMachine(fresh);
}

TEST_F(MachineSlotsTest, ResetLeavesTheCallbacksAlone) {
  machine->Reset();
  machine->RunFrame();
  EXPECT_EQ(calls.videoCalls, 1u);
}

TEST_F(MachineSlotsTest, SlotZeroTearsDownAndFrees) {
  CQuillonMachineBase* const fresh = table.CreateMachine();
  EXPECT_EQ((CallSlot<void*, u32>(fresh, 0, 1u)), fresh);
}

}  // namespace
}  // namespace vx::test
