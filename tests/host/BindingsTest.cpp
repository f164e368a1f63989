#include "host/Bindings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace vx {

namespace {

struct STable {
  SInputBinding rows[kInputBindingCount] = {};
};

bool Has(const std::vector<SBinding>& bindings, u32 player, std::string_view source, u32 padBit,
         u32 systemBit) {
  return std::ranges::any_of(bindings, [&](const SBinding& binding) {
    const char* name = binding.key != nullptr ? binding.key : binding.pad;
    return binding.player == player && source == name && binding.padBit == padBit &&
           binding.systemBit == systemBit;
  });
}

}  // namespace

TEST(Bindings, ADirectionIsOnAKeyTheDigitalPadAndTheStick) {
  STable table;
  table.rows[0] = {7, 0x80, 0, 33, 7, 0};
  const auto bindings = MakeBindings(table.rows);
  EXPECT_TRUE(Has(bindings, 0, "Up", 0x80, 0));
  EXPECT_TRUE(Has(bindings, 0, "dpup", 0x80, 0));
  EXPECT_TRUE(Has(bindings, 0, "-lefty", 0x80, 0));
}

TEST(Bindings, TheSecondPlayerHasKeysAndAControllerOfTheirOwn) {
  STable table;
  table.rows[0] = {7, 0x80, 0, 33, 7, 0};
  const auto bindings = MakeBindings(table.rows);
  EXPECT_TRUE(Has(bindings, 1, "I", 0x80, 0));
  const bool bOwnPad = std::ranges::any_of(bindings, [](const SBinding& binding) {
    return binding.player == 1 && binding.pad != nullptr && binding.padIndex == 1;
  });
  EXPECT_TRUE(bOwnPad);
}

TEST(Bindings, SystemControlsGoToTheFirstRecordWhoeverPressesThem) {
  STable table;
  table.rows[12] = {12, 0, 0x10, 0, 0, 0};
  const auto bindings = MakeBindings(table.rows);
  EXPECT_TRUE(Has(bindings, 0, "6", 0, 0x10));
  EXPECT_TRUE(Has(bindings, 0, "back", 0, 0x10));
}

TEST(Bindings, TheUpperRowOfButtonsIsOneRowOfKeysAndTheLowerRowTheNext) {
  STable table;
  const u32 keyCodes[] = {2, 3, 4, 15, 16, 17};
  for (u32 i = 0; i < 6; ++i) table.rows[i] = {i, 1u << i, 0, keyCodes[i], 0, 0};
  const auto bindings = MakeBindings(table.rows);
  const char* const first[] = {"A", "S", "D", "Z", "X", "C"};
  const char* const second[] = {"R", "T", "Y", "F", "G", "H"};
  for (u32 i = 0; i < 6; ++i) {
    EXPECT_TRUE(Has(bindings, 0, first[i], 1u << i, 0)) << first[i];
    EXPECT_TRUE(Has(bindings, 1, second[i], 1u << i, 0)) << second[i];
  }
}

TEST(Bindings, CodesThatMeanNothingGiveNoBinding) {
  STable table;
  table.rows[0] = {0, 0x1, 0, 37, 0xFFFFFFFF, 0};
  table.rows[1] = {21, 0, 0, 1, 18, 0};
  EXPECT_TRUE(MakeBindings(table.rows).empty());
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
