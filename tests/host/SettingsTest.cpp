#include "host/Settings.h"

#include <gtest/gtest.h>

#include "host/Component.h"
#include "host/HostError.h"

namespace vx {

namespace {

class CSettingsOfFake : public testing::Test {
 protected:
  std::string Refusal(const std::string& assignment) {
    try {
      settings.Set(assignment);
      return "";
    } catch (const CHostError& error) {
      EXPECT_EQ(error.Code(), EExitCode::Usage);
      return error.what();
    }
  }
  u32 Clock() const { return component.ClockMHz(); }
  u32 Value(u32 index) const {
    return *static_cast<u8*>(component.Table().GetSettings()->begin[index].current);
  }

  CComponent component{HOST_FAKE_FOLDER "host_fake.so"};
  CSettings settings{component.Table().GetSettings()};
};

}  // namespace

TEST_F(CSettingsOfFake, ANumberIsTaken) {
  settings.Set("FAKE_Clock=3");
  EXPECT_EQ(Clock(), 300u);
}

TEST_F(CSettingsOfFake, TheNameOfAValueIsTaken) {
  settings.Set("FAKE_Clock=2.0");
  EXPECT_EQ(Clock(), 200u);
}

TEST_F(CSettingsOfFake, ASwitchTakesWords) {
  settings.Set("FAKE_Chatty=on");
  EXPECT_EQ(Value(4), 1u);
  settings.Set("FAKE_Chatty=false");
  EXPECT_EQ(Value(4), 0u);
}

TEST_F(CSettingsOfFake, AValueOutOfRangeIsToldWithTheRangeAndChangesNothing) {
  const u32 before = Clock();
  EXPECT_EQ(Refusal("FAKE_Clock=4"),
            "--set FAKE_Clock=4: FAKE_Clock takes 0 to 3 (0 is \"0.5\", 1 is \"1.0\", 2 is "
            "\"2.0\", 3 is \"3.0\")");
  EXPECT_EQ(Clock(), before);
}

TEST_F(CSettingsOfFake, AValueBetweenStepsIsRefused) {
  EXPECT_NE(Refusal("FAKE_Step=4").find("2 to 10 in steps of 4"), std::string::npos);
  settings.Set("FAKE_Step=6");
  EXPECT_EQ(Value(1), 6u);
}

TEST_F(CSettingsOfFake, TextThatIsNoValueIsRefused) {
  for (const char* text : {"", "-1", "1x", "99999999999", "1.5", "on"}) {
    EXPECT_NE(Refusal(std::string("FAKE_Clock=") + text).find("takes 0 to 3"), std::string::npos)
        << text;
  }
}

TEST_F(CSettingsOfFake, AnUnknownKeyIsTold) {
  EXPECT_NE(Refusal("FAKE_None=1").find("there is no setting FAKE_None"), std::string::npos);
}

TEST_F(CSettingsOfFake, AnAssignmentWithoutItsPartsIsTold) {
  EXPECT_NE(Refusal("FAKE_Clock").find("KEY=VALUE"), std::string::npos);
  EXPECT_NE(Refusal("=3").find("KEY=VALUE"), std::string::npos);
}

TEST_F(CSettingsOfFake, TheListShowsCurrentDefaultAndRange) {
  settings.Set("FAKE_Step=10");
  const std::string text = settings.Describe();
  EXPECT_NE(text.find("FAKE_Step            = 10   (default 2; 2 to 10 in steps of 4)\n"),
            std::string::npos)
      << text;
}

TEST(Settings, AMissingListHasNoSettings) {
  EXPECT_EQ(CSettings(nullptr).Describe(), "");
  EXPECT_THROW(CSettings(nullptr).Set("A=1"), CHostError);
}

}  // namespace vx
