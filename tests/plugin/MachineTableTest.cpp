// Constants, texts and tables of the machine-level functions, reached by slot number.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/LoadedComponent.h"
#include "tests/support/TestHost.h"

namespace vx::test {
namespace {

struct MachineTableTest : testing::Test {
  CTestHost host;
  CLoadedComponent component{&host.Api()};

  MachineTableTest() { Call<bool>(0); }
  ~MachineTableTest() override { Call<void>(1); }

  template <typename TResult, typename... TArguments>
  TResult Call(u32 slot, TArguments... arguments) const {
    using Function = TResult (*)(TArguments...);
    void* const* const slots = reinterpret_cast<void* const*>(component.table);
    return reinterpret_cast<Function>(slots[slot])(arguments...);
  }
};

TEST_F(MachineTableTest, StartupAnswersTrue) { EXPECT_TRUE(Call<bool>(0)); }

TEST_F(MachineTableTest, NamesAreFixed) {
  EXPECT_STREQ(Call<const char*>(4), "VX");
  EXPECT_STREQ(Call<const wchar_t*>(6), L"vx_");
  EXPECT_STREQ(Call<const wchar_t*>(7), L"machine_vx");
}

TEST_F(MachineTableTest, NumbersAreFixed) {
  EXPECT_EQ(Call<u64>(5), 0x92a5707b5bdbdf9u);
  EXPECT_EQ(Call<u64>(8), 20971520u);
  EXPECT_EQ(Call<u32>(9), 1u);
  EXPECT_EQ(Call<u32>(17), 2u);
  EXPECT_EQ(Call<u32>(19), 1u);
  EXPECT_EQ(Call<u32>(37), 32u);
}

TEST_F(MachineTableTest, IdentityMappingGivesTheArgumentBack) {
  for (const u32 value : {0u, 1u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ((Call<u32>(12, value)), value);
  }
}

TEST_F(MachineTableTest, OnlyPortZeroIsTheFirst) {
  EXPECT_TRUE((Call<bool>(18, i32{0})));
  EXPECT_FALSE((Call<bool>(18, i32{1})));
  EXPECT_FALSE((Call<bool>(18, i32{-1})));
}

TEST_F(MachineTableTest, TheIdleSlotReturns) { Call<void>(28); }

TEST_F(MachineTableTest, MemoryRegionZeroIsTheWholeImage) {
  u64 base = 5, size = 5;
  Call<void>(10, &base, &size, i32{0});
  EXPECT_EQ(base, 0u);
  EXPECT_EQ(size, 0xE00000u);
}

TEST_F(MachineTableTest, AnyOtherMemoryRegionLeavesTheOutputsUntouched) {
  for (const i32 index : {1, 2, -1, 0x7FFFFFFF}) {
    u64 base = 0x1234, size = 0x5678;
    Call<void>(10, &base, &size, index);
    EXPECT_EQ(base, 0x1234u);
    EXPECT_EQ(size, 0x5678u);
  }
}

TEST_F(MachineTableTest, TheButtonOrderHasTwelveEntriesAndAllElseMapsToItself) {
  constexpr u32 kOrder[] = {0, 10, 11, 1, 2, 9, 5, 6, 7, 8, 3, 4};
  for (u32 i = 0; i < 12; ++i) EXPECT_EQ((Call<u32>(15, i)), kOrder[i]) << "button " << i;
  for (const u32 i : {12u, 13u, 0x80000000u, 0xFFFFFFFFu}) EXPECT_EQ((Call<u32>(15, i)), i);
}

TEST_F(MachineTableTest, ButtonIndicesAreValidBelowTwelve) {
  EXPECT_TRUE((Call<bool>(16, 0u)));
  EXPECT_TRUE((Call<bool>(16, 11u)));
  EXPECT_FALSE((Call<bool>(16, 12u)));
  EXPECT_FALSE((Call<bool>(16, 0xFFFFFFFFu)));
}

TEST_F(MachineTableTest, InputBindingsAreThirtySevenRowsOfSixNumbers) {
  // clang-format off
  constexpr u32 kRows[37][6] = {
    // id   pad     system   A   B   zero
    {  0,   0x1,    0,       2,  3,  0 },
    {  1,   0x2,    0,      15,  1,  0 },
    {  2,   0x4,    0,      16,  2,  0 },
    {  3,   0x8,    0,       1, 11,  0 },
    {  4,   0x10,   0,      14, 12,  0 },
    {  5,   0x20,   0,      35,  9,  0 },
    {  6,   0x40,   0,      36, 10,  0 },
    {  7,   0x80,   0,      33,  7,  0 },
    {  8,   0x100,  0,      34,  8,  0 },
    { 11,   0x800,  0,      17,  5,  0 },
    {  9,   0x200,  0,       3,  4,  0 },
    { 10,   0x400,  0,       4,  6,  0 },
    { 12,   0,      0x1,     0,  0,  0 },
    { 13,   0,      0x2,     0,  0,  0 },
    { 14,   0,      0x4,     0,  0,  0 },
    { 15,   0,      0x8,     0,  0,  0 },
    { 16,   0,      0x10,    0,  0,  0 },
    { 17,   0,      0x20,    0,  0,  0 },
    { 18,   0,      0x40,    0,  0,  0 },
    { 19,   0,      0x80,    0,  0,  0 },
    { 20,   0,      0x100,   0,  0,  0 },
    { 21,   0,      0,       0, 18,  0 },
    { 22,   0,      0,       0, 17,  0 },
    { 23,   0,      0,       0, 20,  0 },
    { 24,   0,      0,       0, 19,  0 },
    { 25,   0,      0,       0, 22,  0 },
    { 26,   0,      0,       0, 21,  0 },
    { 27,   0,      0,       0, 24,  0 },
    { 28,   0,      0,       0, 23,  0 },
    { 29,   0,      0x200,   0,  0,  0 },
    { 30,   0,      0x400,   0,  0,  0 },
    { 31,   0,      0x800,   0,  0,  0 },
    { 32,   0,      0x1000,  0,  0,  0 },
    { 33,   0,      0x2000,  0,  0,  0 },
    { 34,   0,      0x4000,  0,  0,  0 },
    { 35,   0,      0x8000,  0,  0,  0 },
    { 36,   0,      0x10000, 0,  0,  0 },
  };
  // clang-format on
  u32 rows[37][6];
  std::memset(rows, 0xA5, sizeof(rows));
  Call<void>(14, &rows[0][0]);
  for (u32 row = 0; row < 37; ++row) {
    for (u32 field = 0; field < 6; ++field) {
      EXPECT_EQ(rows[row][field], kRows[row][field]) << "row " << row << ", field " << field;
    }
  }
}

TEST_F(MachineTableTest, InputBindingsWriteExactly888Bytes) {
  u8 bytes[889];
  bytes[888] = 0xA5;
  Call<void>(14, bytes);
  EXPECT_EQ(bytes[888], 0xA5);
}

TEST_F(MachineTableTest, TheScriptDefineIsOneWhateverTheIndex) {
  for (const u32 index : {0u, 1u, 0xFFFFFFFFu}) {
    char name[32] = {}, value[32] = {};
    Call<void>(20, index, name, value);
    EXPECT_STREQ(name, "_QUIL_MACH_VX_");
    EXPECT_STREQ(value, "1");
  }
}

TEST_F(MachineTableTest, NullOutputsAreLeftAlone) {
  Call<void>(10, static_cast<u64*>(nullptr), static_cast<u64*>(nullptr), i32{0});
  Call<void>(14, static_cast<u32*>(nullptr));
  Call<void>(20, 0u, static_cast<char*>(nullptr), static_cast<char*>(nullptr));
  EXPECT_NE(Call<const char*>(11, static_cast<u32*>(nullptr)), nullptr);
  EXPECT_NE(Call<const u8*>(23, static_cast<u32*>(nullptr)), nullptr);
  Call<void>(38, static_cast<void*>(nullptr));
  EXPECT_FALSE((Call<bool>(39, static_cast<const void*>(nullptr), i32{32})));
}

TEST_F(MachineTableTest, OneOfTwoOutputsMayBeNull) {
  u64 value = 1;
  Call<void>(10, static_cast<u64*>(nullptr), &value, i32{0});
  EXPECT_EQ(value, 0xE00000u);
  Call<void>(10, &value, static_cast<u64*>(nullptr), i32{0});
  EXPECT_EQ(value, 0u);
  char text[32] = {};
  Call<void>(20, 0u, static_cast<char*>(nullptr), text);
  EXPECT_STREQ(text, "1");
}

TEST_F(MachineTableTest, DestroyingNullDoesNothing) { Call<void>(3, static_cast<void*>(nullptr)); }

TEST_F(MachineTableTest, ScriptCallsWithUnknownNumbersReturn) {
  Call<void>(24, u64{0}, u64{0xFFFFFFFF}, u64{0});
  Call<void>(26);
}

}  // namespace
}  // namespace vx::test
