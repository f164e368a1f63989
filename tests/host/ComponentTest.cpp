#include "host/Component.h"

#include <gtest/gtest.h>

#include "host/HostError.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

// The sentence with which loading ends, or nothing.
std::string Refusal(const std::string& path) {
  try {
    const CComponent component(path);
    return "";
  } catch (const CHostError& error) {
    EXPECT_EQ(error.Code(), EExitCode::ComponentUnusable);
    const std::string sentence = error.what();
    EXPECT_TRUE(sentence.starts_with(path + ": ")) << sentence;
    EXPECT_EQ(sentence.find('\n'), std::string::npos) << sentence;
    return sentence.substr(path.size() + 2);
  }
}

std::string RefusalOfFake(const std::string& name) {
  return Refusal(HOST_FAKE_FOLDER + name + ".so");
}

}  // namespace

TEST(Component, AGoodOneIsStartedAndAnswers) {
  const CComponent component(HOST_FAKE_FOLDER "host_fake.so");
  EXPECT_STREQ(component.Description(), "Fake machine.");
  EXPECT_EQ(component.FrameRate(), 60.0);
  EXPECT_EQ(component.ClockMHz(), 100u);
}

TEST(Component, CanBeLoadedAgainAfterItWasUnloaded) {
  for (u32 i = 0; i < 3; ++i) {
    const CComponent component(HOST_FAKE_FOLDER "host_fake.so");
    EXPECT_EQ(component.FrameRate(), 60.0);
  }
}

TEST(Component, AMissingFileIsTold) {
  EXPECT_NE(Refusal(test::TestFolder() + "none.so").find("no such component"), std::string::npos);
}

TEST(Component, AFileThatIsNoLibraryIsTold) {
  const std::string path = test::WriteFile("text.so", std::vector<u8>(500, 'x'));
  EXPECT_NE(Refusal(path).find("cannot be loaded: "), std::string::npos);
}

TEST(Component, AFolderIsTold) {
  EXPECT_EQ(Refusal(test::TestFolder()), "is not a component file");
}

TEST(Component, ALibraryWithoutTheExportsIsTold) {
  EXPECT_EQ(RefusalOfFake("host_fake_no_init"),
            "is not a machine component: it does not export QuillonPlugin_Init");
}

TEST(Component, AnotherVersionIsTold) {
  EXPECT_EQ(RefusalOfFake("host_fake_wrong_version"),
            "is a component of version 66672; this program needs version 66671");
}

TEST(Component, AnotherKindIsTold) {
  EXPECT_EQ(RefusalOfFake("host_fake_wrong_kind"),
            "is a component of kind 63; this program needs kind 64");
}

TEST(Component, OneWithoutMachinesIsTold) {
  EXPECT_EQ(RefusalOfFake("host_fake_no_table"), "offers no machine");
}

TEST(Component, OneThatDoesNotStartIsTold) {
  EXPECT_EQ(RefusalOfFake("host_fake_no_start"), "cannot be started");
}

TEST(Component, OneWhoseOwnDataDoesNotUnpackIsTold) {
  EXPECT_NE(RefusalOfFake("host_fake_garbage").find("is damaged"), std::string::npos);
}

}  // namespace vx
