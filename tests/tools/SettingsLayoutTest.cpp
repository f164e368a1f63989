#include "tools/embed/SettingsLayout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "plugin/HeldImages.h"

namespace vx::test {
namespace {

// All values of a field, in order, as they stand in the text.
std::vector<std::string> FieldValues(const std::string& field) {
  const std::string text = MakeSettingsLayout();
  const std::string mark = "\"" + field + "\": ";
  std::vector<std::string> values;
  for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
    at += mark.size();
    std::string value = text.substr(at, text.find("\r\n", at) - at);
    if (value.ends_with(',')) value.pop_back();
    values.push_back(value);
  }
  return values;
}

TEST(SettingsLayout, HasTheSizeThatTheComponentReports) {
  EXPECT_EQ(MakeSettingsLayout().size(), kSettingsLayoutBytes);
}

TEST(SettingsLayout, EndsEachLineWithCarriageReturnAndLineFeed) {
  const std::string text = MakeSettingsLayout();
  std::size_t lineEnds = 0;
  for (std::size_t at = text.find("\r\n"); at != std::string::npos;
       at = text.find("\r\n", at + 2)) {
    ++lineEnds;
  }
  EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), static_cast<std::ptrdiff_t>(lineEnds));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), static_cast<std::ptrdiff_t>(lineEnds));
}

TEST(SettingsLayout, IsARunOfObjectsWithATrailingComma) {
  const std::string text = MakeSettingsLayout();
  EXPECT_TRUE(text.starts_with(" {\r\n"));
  EXPECT_TRUE(text.ends_with(" },\r\n"));
  EXPECT_EQ(std::count(text.begin(), text.end(), '{'), std::count(text.begin(), text.end(), '}'));
}

TEST(SettingsLayout, HasTheItemsOfTheScreenInOrder) {
  const char* const kSpacer = "\"Spacer\"";
  const char* const kPreference = "\"UserPref\"";
  std::vector<std::string> expected = {kSpacer, "\"Directory\""};
  expected.insert(expected.end(), 10, kPreference);
  expected.insert(expected.end(), {kPreference, kSpacer});
  expected.insert(expected.end(), 4, kPreference);
  expected.insert(expected.end(), {kSpacer, kPreference});
  EXPECT_EQ(FieldValues("ItemType"), expected);
}

TEST(SettingsLayout, NamesEverySettingOnce) {
  const std::vector<std::string> expected = {
      "\"VX_DIPBlood\"",     "\"VX_DIPAttrAudio\"", "\"VX_DIPEndMoves\"",   "\"VX_DIPVioWarn\"",
      "\"VX_DIPRedBlood\"",  "\"VX_DIPCoinage\"",   "\"VX_DIPCoinSet\"",    "\"VX_DIPCountry\"",
      "\"VX_DIPCoinCount\"", "\"VX_DIPTest\"",      "\"VX_HDFlush\"",       "\"VX_MachTiming\"",
      "\"VX_MIPSClock\"",    "\"VX_RandCycles\"",   "\"VX_ExtraReadTime\"", "\"VX_PreserveCache\""};
  EXPECT_EQ(FieldValues("PrefName"), expected);
}

TEST(SettingsLayout, PlacesTheDipSwitchesBesideTheirLabels) {
  EXPECT_EQ(FieldValues("AdditionalHeight"), (std::vector<std::string>{"4.0", "4.0", "4.0"}));
  EXPECT_EQ(FieldValues("ValueSpacing"), std::vector<std::string>{"220.0"});
  EXPECT_EQ(FieldValues("OffsetChildren"), std::vector<std::string>{"[260.0, 0.0]"});
  EXPECT_EQ(FieldValues("Text")[0], "\"STR_VX_DIPSWITCHES\"");
  EXPECT_EQ(FieldValues("Text")[7], "\"STR_VX_DIP_COINSET\"");
}

TEST(SettingsLayout, DescribesEachSettingOutsideTheDirectory) {
  const std::vector<std::string> expected = {
      "\"STR_VX_HDFLUSH_D\"",   "\"STR_VX_TIMING_D\"",        "\"STR_VX_MIPSCLOCK_D\"",
      "\"STR_VX_RANDSTART_D\"", "\"STR_VX_EXTRAREADTIME_D\"", "\"STR_VX_PRESERVECACHE_D\""};
  EXPECT_EQ(FieldValues("Description"), expected);
}

}  // namespace
}  // namespace vx::test
