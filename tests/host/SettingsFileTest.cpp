#include "host/SettingsFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "host/Component.h"
#include "host/HostError.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

namespace fs = std::filesystem;

class CSettingsFile : public testing::Test {
 protected:
  CSettingsFile() { component.Table().ResetSettings(); }

  static std::string Write(const std::string& text) {
    return test::WriteFile("settings.conf", {text.begin(), text.end()});
  }
  std::string RefusalOf(const std::string& text) {
    const std::string path = Write(text);
    try {
      ReadSettingsFile(settings, path);
      return "";
    } catch (const CHostError& error) {
      EXPECT_EQ(error.Code(), EExitCode::Usage);
      const std::string sentence = error.what();
      EXPECT_TRUE(sentence.starts_with(path + ":")) << sentence;
      return sentence.substr(path.size() + 1);
    }
  }

  std::string folder = test::TestFolder();
  CComponent component{HOST_FAKE_FOLDER "host_fake.so"};
  CSettings settings{component.Table().GetSettings()};
};

}  // namespace

TEST_F(CSettingsFile, ALineSetsItsSettingByNumberNameOrWord) {
  ReadSettingsFile(settings, Write("FAKE_Clock = 3.0\nFAKE_Step=6 # even\nFAKE_Chatty = on\n"));
  const auto values = settings.Assignments();
  for (const char* value : {"FAKE_Clock=3", "FAKE_Step=6", "FAKE_Chatty=1"}) {
    EXPECT_NE(std::ranges::find(values, value), values.end()) << value;
  }
}

TEST_F(CSettingsFile, MistakesAreToldWithTheirLine) {
  EXPECT_EQ(RefusalOf("\nFAKE_Clock 3\n"), "2: a line reads KEY = VALUE");
  EXPECT_EQ(RefusalOf("FAKE_None = 3\n"),
            "1: there is no setting FAKE_None; --list-settings shows them all");
  EXPECT_EQ(RefusalOf("FAKE_Step = 3\n"), "1: FAKE_Step takes 2 to 10 in steps of 4");
  EXPECT_EQ(RefusalOf("FAKE_Step =\n"), "1: FAKE_Step takes 2 to 10 in steps of 4");
  EXPECT_EQ(RefusalOf("FAKE_Step = 6\nFAKE_Step = 2\n"),
            "2: FAKE_Step has a line of its own above");
}

TEST_F(CSettingsFile, WhatIsWrittenReadsBackAsTheSame) {
  settings.Set("FAKE_Clock=2");
  settings.Set("FAKE_Refuse=yes");
  const auto before = settings.Assignments();
  WriteSettingsFile(settings, folder + "new/folder/settings.conf");
  component.Table().ResetSettings();
  ASSERT_NE(settings.Assignments(), before);
  ReadSettingsFile(settings, folder + "new/folder/settings.conf");
  EXPECT_EQ(settings.Assignments(), before);
}

TEST_F(CSettingsFile, WritingReplacesTheFileAndLeavesNothingBesideIt) {
  const std::string path = Write("FAKE_Step = 6\n");
  WriteSettingsFile(settings, path);
  EXPECT_NE(test::ReadWholeFile(path).find("# 2 to 10 in steps of 4; default 2\nFAKE_Step = 2\n"),
            std::string::npos);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(CSettingsFile, AFileThatIsALinkStaysOne) {
  const std::string target = Write("");
  fs::create_symlink(target, folder + "link");
  WriteSettingsFile(settings, folder + "link");
  EXPECT_TRUE(fs::is_symlink(folder + "link"));
  EXPECT_NE(test::ReadWholeFile(target), "");
}

TEST_F(CSettingsFile, AFileThatCannotBeWrittenIsToldAndLeavesTheOldOne) {
  const std::string path = Write("old");
  fs::create_directory(path + ".new");
  try {
    WriteSettingsFile(settings, path);
    FAIL();
  } catch (const CHostError& error) {
    EXPECT_EQ(error.Code(), EExitCode::OutputFailed);
  }
  EXPECT_EQ(test::ReadWholeFile(path), "old");
}

}  // namespace vx
