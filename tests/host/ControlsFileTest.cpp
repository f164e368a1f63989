#include "host/ControlsFile.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "host/HostError.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

class CControlsFile : public testing::Test {
 protected:
  CControlsFile() {
    table_[0] = {7, 0x80, 0, 33, 7, 0};
    table_[1] = {3, 0x8, 0, 1, 11, 0};
    table_[2] = {0, 0x1, 0, 2, 3, 0};
    table_[3] = {40, 0x2000, 0, 0, 0, 0};
    table_[12] = {12, 0, 0x1, 0, 0, 0};
    table_[13] = {15, 0, 0x8, 0, 0, 0};
    table_[29] = {29, 0, 0x200, 0, 0, 0};
    controls = ListControls(table_);
    bindings = MakeBindings(table_);
  }

  static bool IsKnown(const SSource& source) { return source.name.find("No") != 0; }
  static std::string Write(const std::string& text) {
    return test::WriteFile("controls.conf", {text.begin(), text.end()});
  }
  void Read(const std::string& text) { ReadControlsFile(bindings, Write(text), controls, IsKnown); }
  std::string RefusalOf(const std::string& text) {
    const std::vector<SBinding> before = bindings;
    const std::string path = Write(text);
    try {
      ReadControlsFile(bindings, path, controls, IsKnown);
      return "";
    } catch (const CHostError& error) {
      EXPECT_EQ(error.Code(), EExitCode::Usage);
      EXPECT_EQ(bindings, before);
      const std::string sentence = error.what();
      EXPECT_TRUE(sentence.starts_with(path + ":")) << sentence;
      return sentence.substr(path.size() + 1);
    }
  }
  std::vector<SSource> SourcesOf(const std::string& name) const {
    std::vector<SSource> sources;
    for (const SBinding& binding : bindings) {
      if (ControlName(binding.control) == name) sources.push_back(binding.source);
    }
    return sources;
  }

  std::vector<SControl> controls;
  std::vector<SBinding> bindings;

 private:
  SInputBinding table_[kInputBindingCount] = {};
};

}  // namespace

TEST_F(CControlsFile, EveryControlHasANameOfItsOwn) {
  std::vector<std::string> names;
  for (const SControl& control : controls) {
    names.push_back(ControlName(control));
    EXPECT_EQ(FindControl(names.back(), controls), control);
  }
  for (const char* name : {"P1:UP", "P2:UP", "P1:START", "P2:B1", "P1:PAD13", "P2:EXTRA9",
                           "SYS:COIN1", "SYS:TILT", "HOST:PAUSE", "HOST:QUIT"}) {
    EXPECT_NE(std::ranges::find(names, name), names.end()) << name;
  }
  std::ranges::sort(names);
  EXPECT_EQ(std::ranges::adjacent_find(names), names.end());
}

TEST_F(CControlsFile, ANameThatTheTableLacksIsNotFound) {
  EXPECT_FALSE(FindControl("P1:DOWN", controls));
  EXPECT_FALSE(FindControl("P3:UP", controls));
  EXPECT_FALSE(FindControl("SYS:TEST", controls));
}

TEST_F(CControlsFile, ALineReplacesAllThatWorkedItsControl) {
  Read("P1:UP = key:W pad2:dpup\n");
  EXPECT_EQ(SourcesOf("P1:UP"), (std::vector<SSource>{{0, "W"}, {2, "dpup"}}));
}

TEST_F(CControlsFile, AControlWithoutALineKeepsWhatItHad) {
  const auto before = SourcesOf("P2:UP");
  ASSERT_FALSE(before.empty());
  Read("P1:UP = key:W\n");
  EXPECT_EQ(SourcesOf("P2:UP"), before);
}

TEST_F(CControlsFile, AnEmptyLineOfAControlLeavesItUnworked) {
  Read("HOST:RESET =\n");
  EXPECT_TRUE(SourcesOf("HOST:RESET").empty());
}

TEST_F(CControlsFile, ABlankInAKeysNameIsWrittenAsALowLine) {
  Read("P1:START = key:Left_Shift\n");
  EXPECT_EQ(SourcesOf("P1:START"), (std::vector<SSource>{{0, "Left Shift"}}));
  EXPECT_NE(DescribeControls(bindings, controls).find("P1:START        = key:Left_Shift\n"),
            std::string::npos);
}

TEST_F(CControlsFile, WhatIsListedReadsBackAsTheSame) {
  Read("P1:UP = key:Keypad_8 pad1:-righty\nSYS:TILT =\nP2:EXTRA9 = key:#\n");
  const std::string text = DescribeControls(bindings, controls);
  const std::vector<SBinding> before = bindings;
  bindings.clear();
  Read(text);
  for (const SControl& control : controls) {
    const auto of = [&](const std::vector<SBinding>& all) {
      std::vector<SSource> sources;
      for (const SBinding& binding : all) {
        if (binding.control == control) sources.push_back(binding.source);
      }
      return sources;
    };
    EXPECT_EQ(of(bindings), of(before)) << ControlName(control);
  }
}

TEST_F(CControlsFile, MistakesAreToldWithTheirLineAndChangeNothing) {
  EXPECT_EQ(RefusalOf("# mine\nP1:UP key:W\n"), "2: a line reads CONTROL = INPUT INPUT ...");
  EXPECT_EQ(RefusalOf("P1:UP = key:W\n\nP9:UP = key:W\n"),
            "3: there is no control P9:UP; --list-controls shows them all");
  EXPECT_EQ(RefusalOf("P1:UP = key:W\nP1:UP = key:S\n"), "2: P1:UP has a line of its own above");
  EXPECT_EQ(RefusalOf("P1:UP = W\n"), "1: W is neither key:NAME nor pad1:PART nor pad2:PART");
  EXPECT_EQ(RefusalOf("P1:UP = pad3:a\n"),
            "1: pad3:a is neither key:NAME nor pad1:PART nor pad2:PART");
  EXPECT_EQ(RefusalOf("P1:UP = key:Nokey\n"), "1: key:Nokey names no key");
  EXPECT_EQ(RefusalOf("P1:UP = pad1:Nopart\n"), "1: pad1:Nopart names no part of a controller");
}

}  // namespace vx
