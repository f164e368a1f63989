// The list of user settings that the host edits.
#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>

#include "tests/support/LoadedComponent.h"
#include "tests/support/TestHost.h"

namespace vx::test {
namespace {

struct SRow {
  const char* key;
  u32 kind, bytes, defaultValue, maximum;
  std::vector<const wchar_t*> names;
};

// clang-format off
const SRow kRows[16] = {
  // key                kind bytes default maximum
  { "VX_DIPBlood",        3, 4, 3, 3, {} },
  { "VX_DIPAttrAudio",    3, 4, 1, 1, {} },
  { "VX_DIPEndMoves",     3, 4, 1, 1, {} },
  { "VX_DIPVioWarn",      3, 4, 1, 1, {} },
  { "VX_DIPRedBlood",     3, 4, 1, 1, {} },
  { "VX_DIPCoinage",      3, 4, 0, 1, {} },
  { "VX_DIPCoinSet",      3, 4, 0, 7, {} },
  { "VX_DIPCountry",      3, 4, 0, 3, {} },
  { "VX_DIPCoinCount",    3, 4, 0, 1, {} },
  { "VX_DIPTest",         3, 4, 0, 1, {} },
  { "VX_MachTiming",      3, 4, 0, 3,
    { L"STR_VX_TIMING_0", L"STR_VX_TIMING_1", L"STR_VX_TIMING_2", L"STR_VX_TIMING_3" } },
  { "VX_MIPSClock",       3, 4, 1, 3, { L"0.5", L"1.0", L"2.0", L"3.0" } },
  { "VX_ExtraReadTime",   3, 4, 0, 3,
    { L"STR_NONE", L"STR_LEVEL_LOW", L"STR_LEVEL_MED", L"STR_LEVEL_HIGH" } },
  { "VX_HDFlush",         5, 1, 1, 1, {} },
  { "VX_PreserveCache",   5, 1, 0, 1, {} },
  { "VX_RandCycles",      5, 1, 0, 1, {} },
};
// clang-format on

struct SettingsListTest : testing::Test {
  CTestHost host;
  CLoadedComponent component{&host.Api()};
  const SMachineTable& table = *component.table;

  SettingsListTest() { table.Startup(); }
  ~SettingsListTest() override { table.Shutdown(); }

  // A field of record `row` at its byte place.
  template <typename T>
  T Field(u32 row, u32 byte) const {
    T value;
    std::memcpy(&value, reinterpret_cast<const u8*>(table.GetSettings()->begin) + row * 80 + byte,
                sizeof(T));
    return value;
  }
  u32 Value(u32 row, u32 pointerByte) const {
    u32 value = 0;
    std::memcpy(&value, Field<const void*>(row, pointerByte), kRows[row].bytes);
    return value;
  }
};

TEST_F(SettingsListTest, HasSixteenRecordsOf80Bytes) {
  const auto* const pointers = reinterpret_cast<u8* const*>(table.GetSettings());
  EXPECT_EQ(pointers[1] - pointers[0], 16 * 80);
  EXPECT_GE(pointers[2], pointers[1]);
}

TEST_F(SettingsListTest, EachRecordHoldsItsRow) {
  for (u32 row = 0; row < 16; ++row) {
    SCOPED_TRACE(kRows[row].key);
    EXPECT_STREQ(Field<const char*>(row, 0), kRows[row].key);
    EXPECT_EQ(Field<u32>(row, 8), kRows[row].kind);
    EXPECT_EQ(Field<u32>(row, 56), kRows[row].bytes);
    EXPECT_EQ(Value(row, 16), kRows[row].defaultValue) << "current";
    EXPECT_EQ(Value(row, 24), kRows[row].defaultValue) << "default";
    EXPECT_EQ(Value(row, 32), 0u) << "minimum";
    EXPECT_EQ(Value(row, 40), kRows[row].maximum) << "maximum";
    EXPECT_EQ(Value(row, 48), 1u) << "step";
  }
}

TEST_F(SettingsListTest, TheFiveValuesOfASettingStandInARow) {
  for (u32 row = 0; row < 16; ++row) {
    const u8* const first = Field<const u8*>(row, 16);
    for (u32 i = 1; i < 5; ++i) {
      EXPECT_EQ(Field<const u8*>(row, 16 + 8 * i), first + i * kRows[row].bytes) << kRows[row].key;
    }
  }
}

TEST_F(SettingsListTest, NamesBelongToTheThreeSettingsThatHaveThem) {
  for (u32 row = 0; row < 16; ++row) {
    SCOPED_TRACE(kRows[row].key);
    const auto names = Field<const wchar_t* const*>(row, 64);
    ASSERT_EQ(Field<u32>(row, 72), kRows[row].names.size());
    EXPECT_EQ(names == nullptr, kRows[row].names.empty());
    for (u32 i = 0; i < kRows[row].names.size(); ++i) EXPECT_STREQ(names[i], kRows[row].names[i]);
  }
}

TEST_F(SettingsListTest, ResetSettingsRestoresEveryDefault) {
  for (u32 row = 0; row < 16; ++row) {
    const u32 other = kRows[row].maximum - kRows[row].defaultValue;
    std::memcpy(Field<void*>(row, 16), &other, kRows[row].bytes);
  }
  table.ResetSettings();
  for (u32 row = 0; row < 16; ++row) {
    EXPECT_EQ(Value(row, 16), kRows[row].defaultValue) << kRows[row].key;
  }
}

TEST_F(SettingsListTest, TheFrameRateFollowsTheTimingSetting) {
  constexpr f64 kRates[] = {60.0, 58.9622645, 30.0, 15.0};
  for (u32 value = 0; value < 4; ++value) {
    std::memcpy(Field<void*>(10, 16), &value, 4);
    EXPECT_EQ(table.GetFrameRate(), kRates[value]);
  }
}

TEST_F(SettingsListTest, ATimingBeyondItsRangeCountsAsTheLast) {
  for (const u32 value : {4u, 0xFFFFFFFFu}) {
    std::memcpy(Field<void*>(10, 16), &value, 4);
    EXPECT_EQ(table.GetFrameRate(), 15.0);
  }
}

}  // namespace
}  // namespace vx::test
