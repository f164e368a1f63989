// The two exports and what they fill.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/LoadedComponent.h"
#include "tests/support/TestHost.h"

namespace vx::test {
namespace {

struct DescriptorTest : testing::Test {
  CTestHost host;
  CLoadedComponent component{&host.Api()};

  u64 Cell(u32 byte) const {
    u64 cell = 0;
    std::memcpy(&cell, reinterpret_cast<const u8*>(&component.desc) + byte, sizeof(cell));
    return cell;
  }
};

TEST_F(DescriptorTest, TheVersionIsTheOneThatHostsCompare) {
  EXPECT_EQ(component.apiVersion, 66671u);
}

TEST_F(DescriptorTest, InitAnswersTrueAndCallsNoHostFunction) {
  EXPECT_TRUE(component.bInitialised);
  EXPECT_EQ(host.inflateCalls, 0u);
  EXPECT_EQ(host.tableCalls, 0u);
  EXPECT_EQ(host.frameRequests, 0u);
  EXPECT_TRUE(host.LogLines().empty());
}

TEST_F(DescriptorTest, TheFirstFourCellsAreKindAuthorDescriptionAndIdle) {
  EXPECT_EQ(reinterpret_cast<u32 (*)()>(Cell(0))(), 64u);
  EXPECT_STRNE(reinterpret_cast<const char* (*)()>(Cell(8))(), "");
  EXPECT_STREQ(reinterpret_cast<const char* (*)()>(Cell(16))(), "VX machine component.");
  reinterpret_cast<void (*)()>(Cell(24))();
}

TEST_F(DescriptorTest, AllCellsFromByte32To887AreZero) {
  for (u32 byte = 32; byte < 888; byte += 8) EXPECT_EQ(Cell(byte), 0u) << "byte " << byte;
}

TEST_F(DescriptorTest, TheLastCellLeadsToTheMachineTable) {
  const auto getTable = reinterpret_cast<const SMachineTable* (*)()>(Cell(888));
  ASSERT_NE(getTable(), nullptr);
  EXPECT_EQ(getTable(), component.table);
}

TEST_F(DescriptorTest, EverySlotOfTheMachineTableHoldsAFunction) {
  const auto* const slots = reinterpret_cast<void* const*>(component.table);
  for (u32 slot = 0; slot < 40; ++slot) EXPECT_NE(slots[slot], nullptr) << "slot " << slot;
}

TEST_F(DescriptorTest, SlotsThatShareAFunctionHoldTheSameOne) {
  const auto* const slots = reinterpret_cast<void* const*>(component.table);
  EXPECT_EQ(slots[9], slots[19]);
}

}  // namespace
}  // namespace vx::test
