#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/game/GameMachine.h"

namespace vx::test {

namespace {

constexpr const char* kPack = VX_GUEST_FOLDER "opencabinet_a.qilhard";

// The recorded game in the repository carries a hash of the machine and its memory every 60 frames;
// vxrun ends with another code where a run leaves them.
TEST(Movie, TheRecordedGameRunsAsItDidAndItsScoreIsThereAfterARestart) {
  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) / ("movie_" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::string command = std::string(VX_PROGRAM) + " " + kPack + " --headless --input " +
                              VX_MOVIE + " --cache-dir " + folder.string();
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
  {
    CGameMachine machine(folder.string());
    ASSERT_TRUE(machine.Boot(kPack));
    ASSERT_TRUE(machine.RunTo(kStateTitle, 2000));
    const SGameTableRow last = machine.Game().table[kGameTableRows - 1];
    EXPECT_STREQ(last.initials, "ACE");
    EXPECT_EQ(last.score, 6650u);
  }
  std::filesystem::remove_all(folder);
}

}  // namespace

}  // namespace vx::test
