// The file extensions that the component answers for.
#include <gtest/gtest.h>

#include "tests/support/LoadedComponent.h"
#include "tests/support/TestHost.h"

namespace vx::test {
namespace {

struct ExtensionsTest : testing::Test {
  CTestHost host;
  CLoadedComponent component{&host.Api()};
  const SMachineTable& table = *component.table;

  ExtensionsTest() { table.Startup(); }
  ~ExtensionsTest() override { table.Shutdown(); }
};

TEST_F(ExtensionsTest, OnlyTheThirdListHasAnEntry) {
  EXPECT_STREQ(table.GetExtensions1(), L"");
  EXPECT_STREQ(table.GetExtensions2(), L"");
  EXPECT_STREQ(table.GetExtensions3(), L".qilhard");
}

TEST_F(ExtensionsTest, TheJoinedStringHasNoTrailingSemicolon) {
  EXPECT_STREQ(table.GetAllExtensions(), L".qilhard");
}

TEST_F(ExtensionsTest, MatchingDisregardsCase) {
  EXPECT_TRUE(table.MatchExtension3(L".qilhard"));
  EXPECT_TRUE(table.MatchExtension3(L".QILHARD"));
  EXPECT_TRUE(table.MatchExtension3(L".QilHard"));
}

TEST_F(ExtensionsTest, MatchingTakesTheWholeExtension) {
  EXPECT_FALSE(table.MatchExtension3(L".qilhar"));
  EXPECT_FALSE(table.MatchExtension3(L".qilhardx"));
  EXPECT_FALSE(table.MatchExtension3(L"qilhard"));
  EXPECT_FALSE(table.MatchExtension3(L".zip"));
}

TEST_F(ExtensionsTest, NullAndEmptyMatchNoList) {
  for (const auto match : {table.MatchExtension1, table.MatchExtension2, table.MatchExtension3}) {
    EXPECT_FALSE(match(nullptr));
    EXPECT_FALSE(match(L""));
  }
}

TEST_F(ExtensionsTest, TheEmptyListsMatchNothing) {
  EXPECT_FALSE(table.MatchExtension1(L".qilhard"));
  EXPECT_FALSE(table.MatchExtension2(L".qilhard"));
}

TEST_F(ExtensionsTest, ASecondStartupDoesNotListTheExtensionTwice) {
  table.Startup();
  EXPECT_STREQ(table.GetExtensions3(), L".qilhard");
  EXPECT_STREQ(table.GetAllExtensions(), L".qilhard");
}

}  // namespace
}  // namespace vx::test
