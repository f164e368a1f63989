// The two images that the component holds for its host.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/LoadedComponent.h"
#include "tests/support/TestHost.h"

namespace vx::test {
namespace {

struct HeldImagesTest : testing::Test {
  CTestHost host;
  CLoadedComponent component{&host.Api()};
  const SMachineTable& table = *component.table;

  HeldImagesTest() { table.Startup(); }
  ~HeldImagesTest() override { table.Shutdown(); }

  std::vector<u8> Image() const {
    u32 size = 0;
    const u8* const image = table.GetScriptImage(&size);
    return {image, image + size};
  }
};

TEST_F(HeldImagesTest, StartupInflatesBothThroughTheHost) { EXPECT_EQ(host.inflateCalls, 2u); }

TEST_F(HeldImagesTest, TheLayoutIs2273CharactersBehindWhichAZeroStands) {
  u32 length = 0;
  const char* const layout = table.GetSettingsLayout(&length);
  EXPECT_EQ(length, 2273u);
  EXPECT_EQ(std::strlen(layout), 2273u);
}

TEST_F(HeldImagesTest, TheLayoutNamesEverySetting) {
  u32 length = 0;
  const std::string layout = table.GetSettingsLayout(&length);
  const SSettingList* const list = table.GetSettings();
  for (const SSettingRecord* record = list->begin; record != list->end; ++record) {
    EXPECT_NE(layout.find("\"PrefName\": \"" + std::string(record->key) + "\""), std::string::npos)
        << record->key;
  }
}

TEST_F(HeldImagesTest, TheLayoutEndsEveryLineWithCarriageReturnAndLineFeed) {
  u32 length = 0;
  const std::string layout = table.GetSettingsLayout(&length);
  const auto lineFeeds = std::count(layout.begin(), layout.end(), '\n');
  EXPECT_GT(lineFeeds, 50);
  EXPECT_EQ(std::count(layout.begin(), layout.end(), '\r'), lineFeeds);
  EXPECT_EQ(layout.substr(layout.size() - 3), ",\r\n");
}

TEST_F(HeldImagesTest, TheScriptImageBeginsWithItsMark) {
  const std::vector<u8> image = Image();
  ASSERT_EQ(image.size(), 33792u);
  constexpr u8 kMark[] = {0x93, 0x81, 0xD3, 0xC0};
  EXPECT_TRUE(std::equal(std::begin(kMark), std::end(kMark), image.begin()));
}

TEST_F(HeldImagesTest, SettingAScriptImageKeepsACopy) {
  std::vector<u8> mine = {1, 2, 3, 4, 5};
  table.SetScriptImage(mine.data(), 5);
  mine.assign(5, 0);
  EXPECT_EQ(Image(), (std::vector<u8>{1, 2, 3, 4, 5}));
}

TEST_F(HeldImagesTest, ANullScriptImageFreesItAndKeepsTheSizeAsGiven) {
  table.SetScriptImage(nullptr, 5);
  u32 size = 0;
  EXPECT_EQ(table.GetScriptImage(&size), nullptr);
  EXPECT_EQ(size, 5u);
}

TEST_F(HeldImagesTest, AnEmptyScriptImageIsNotNull) {
  const u8 byte = 1;
  table.SetScriptImage(&byte, 0);
  u32 size = 7;
  EXPECT_NE(table.GetScriptImage(&size), nullptr);
  EXPECT_EQ(size, 0u);
}

TEST_F(HeldImagesTest, APartOfTheHeldImageCanReplaceIt) {
  u32 size = 0;
  const u8* const held = table.GetScriptImage(&size);
  table.SetScriptImage(held + 1, 3);
  EXPECT_EQ(Image(), (std::vector<u8>{0x81, 0xD3, 0xC0}));
}

TEST_F(HeldImagesTest, StartupBringsTheBuiltInImageBack) {
  table.SetScriptImage(nullptr, 5);
  table.Startup();
  EXPECT_EQ(Image().size(), 33792u);
}

}  // namespace
}  // namespace vx::test
