#include "host/Bindings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace vx {

namespace {

struct STable {
  SInputBinding rows[kInputBindingCount] = {};
};

bool Has(const std::vector<SBinding>& bindings, const SControl& control, const SSource& source) {
  return std::ranges::find(bindings, SBinding{control, source}) != bindings.end();
}

SControl PadOf(u32 player, u32 bit) { return {EControlKind::Pad, player, bit}; }

}  // namespace

TEST(Bindings, ADirectionIsOnAKeyTheDigitalPadAndTheStick) {
  STable table;
  table.rows[0] = {7, 0x80, 0, 33, 7, 0};
  const auto bindings = MakeBindings(table.rows);
  EXPECT_TRUE(Has(bindings, PadOf(0, 0x80), {0, "Up"}));
  EXPECT_TRUE(Has(bindings, PadOf(0, 0x80), {1, "dpup"}));
  EXPECT_TRUE(Has(bindings, PadOf(0, 0x80), {1, "-lefty"}));
}

TEST(Bindings, TheSecondPlayerHasKeysAndAControllerOfTheirOwn) {
  STable table;
  table.rows[0] = {7, 0x80, 0, 33, 7, 0};
  const auto bindings = MakeBindings(table.rows);
  EXPECT_TRUE(Has(bindings, PadOf(1, 0x80), {0, "I"}));
  EXPECT_TRUE(Has(bindings, PadOf(1, 0x80), {2, "dpup"}));
}

TEST(Bindings, SystemControlsGoToTheFirstRecordWhoeverPressesThem) {
  STable table;
  table.rows[12] = {12, 0, 0x10, 0, 0, 0};
  const auto bindings = MakeBindings(table.rows);
  const SControl coin2{EControlKind::System, 0, 0x10};
  EXPECT_TRUE(Has(bindings, coin2, {0, "6"}));
  EXPECT_TRUE(Has(bindings, coin2, {2, "back"}));
}

TEST(Bindings, TheUpperRowOfButtonsIsOneRowOfKeysAndTheLowerRowTheNext) {
  STable table;
  const u32 keyCodes[] = {2, 3, 4, 15, 16, 17};
  for (u32 i = 0; i < 6; ++i) table.rows[i] = {i, 1u << i, 0, keyCodes[i], 0, 0};
  const auto bindings = MakeBindings(table.rows);
  const char* const first[] = {"A", "S", "D", "Z", "X", "C"};
  const char* const second[] = {"R", "T", "Y", "F", "G", "H"};
  for (u32 i = 0; i < 6; ++i) {
    EXPECT_TRUE(Has(bindings, PadOf(0, 1u << i), {0, first[i]})) << first[i];
    EXPECT_TRUE(Has(bindings, PadOf(1, 1u << i), {0, second[i]})) << second[i];
  }
}

TEST(Bindings, CodesThatMeanNothingGiveNoBinding) {
  STable table;
  table.rows[0] = {0, 0x1, 0, 37, 0xFFFFFFFF, 0};
  table.rows[1] = {21, 0, 0, 1, 18, 0};
  EXPECT_EQ(MakeBindings(table.rows), MakeBindings(STable().rows));
}

TEST(Bindings, TheHostsActionsHaveKeysWhateverTheTableHolds) {
  const auto bindings = MakeBindings(STable().rows);
  for (u32 action = kHostPause; action <= kHostQuit; action <<= 1) {
    EXPECT_TRUE(std::ranges::any_of(bindings, [&](const SBinding& binding) {
      return binding.control == SControl{EControlKind::Host, 0, action};
    })) << action;
  }
}

TEST(Bindings, NoKeyServesTwoCodes) {
  std::vector<std::string> keys;
  for (const SBindingCode& code : BindingCodes()) {
    if (std::strlen(code.key1) != 0) keys.emplace_back(code.key1);
    if (std::strlen(code.key2) != 0) keys.emplace_back(code.key2);
  }
  std::ranges::sort(keys);
  EXPECT_EQ(std::ranges::adjacent_find(keys), keys.end());
}

}  // namespace vx
