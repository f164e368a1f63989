// The open cabinet's game, played through the boundary with scripted hands.
#include <gtest/gtest.h>

#include <set>

#include "tests/game/GameMachine.h"

namespace vx::test {
namespace {

constexpr u32 kMostBootFrames = 600;
constexpr const char* kPackA = VX_GUEST_FOLDER "opencabinet_a.qilhard";
constexpr const char* kPackB = VX_GUEST_FOLDER "opencabinet_b.qilhard";

struct GameTest : testing::Test {
  void BootGame() {
    ASSERT_TRUE(machine.Boot(kPackA));
    for (u32 i = 0; i < kMostBootFrames && machine.Game().frames < 5; ++i) machine.Run(1);
    ASSERT_EQ(machine.Game().magic, u32{kGameMagic});
  }
  // By doing nothing.
  void LoseGame() {
    ASSERT_TRUE(machine.RunTo(kStateContinue, 6000));
    ASSERT_TRUE(machine.RunTo(kStateGameOver, 1000));
  }
  // Plays until the score would stand in the table, then stops and loses.
  void PlayForTheTable() {
    const u32 wanted = machine.Game().table[kGameTableRows - 1].score;
    for (u32 i = 0; i < 6000 && machine.Game().state == kStatePlay; ++i) {
      machine.PlayFrame(0);
      if (machine.Game().score[0] > wanted) break;
    }
    ASSERT_GT(machine.Game().score[0], wanted);
    machine.Hold(0, 0);
  }

  CGameMachine machine;
};

TEST_F(GameTest, ACoinGivesACreditAndStartTakesIt) {
  BootGame();
  machine.PressSystem(kCoin1);
  EXPECT_EQ(machine.Game().coins, 1u);
  EXPECT_EQ(machine.Game().credits[0], 1u);
  EXPECT_EQ(machine.Game().state, u32{kStateTitle});
  machine.Press(0, kPadStart);
  EXPECT_EQ(machine.Game().credits[0], 0u);
  EXPECT_EQ(machine.Game().state, u32{kStatePlay});
  EXPECT_EQ(machine.Game().joined[0], 1u);
  EXPECT_EQ(machine.Game().lives[0], 3u);
}

TEST_F(GameTest, StartDoesNothingWithoutACredit) {
  BootGame();
  machine.Press(0, kPadStart);
  machine.Run(10);
  EXPECT_NE(machine.Game().state, u32{kStatePlay});
}

TEST_F(GameTest, AHeldCoinLineCountsOnce) {
  BootGame();
  machine.Hold(0, 0x10);  // the player's own coin button, wired to the same slot
  machine.Run(30);
  machine.Hold(0, 0);
  machine.Run(4);
  EXPECT_EQ(machine.Game().coins, 1u);
}

TEST_F(GameTest, ThePriceSwitchAsksForTwoCoins) {
  machine.Set("VX_DIPCoinSet", 3);
  BootGame();
  machine.PressSystem(kCoin1);
  EXPECT_EQ(machine.Game().credits[0], 0u);
  machine.PressSystem(kCoin2);
  EXPECT_EQ(machine.Game().credits[0], 1u);
}

TEST_F(GameTest, FreePlayStartsWithoutACoin) {
  machine.Set("VX_DIPCoinage", 1);
  BootGame();
  machine.Press(1, kPadStart);
  EXPECT_EQ(machine.Game().state, u32{kStatePlay});
  EXPECT_EQ(machine.Game().joined[1], 1u);
}

TEST_F(GameTest, SplitPoolsKeepEachPlayersCredits) {
  machine.Set("VX_DIPCoinCount", 1);
  BootGame();
  machine.PressSystem(kCoin2);
  EXPECT_EQ(machine.Game().credits[0], 0u);
  EXPECT_EQ(machine.Game().credits[1], 1u);
  machine.Press(0, kPadStart);
  EXPECT_NE(machine.Game().state, u32{kStatePlay});
  machine.Press(1, kPadStart);
  EXPECT_EQ(machine.Game().state, u32{kStatePlay});
}

TEST_F(GameTest, TheServiceButtonGivesACreditWithoutACoin) {
  BootGame();
  machine.PressSystem(kServiceButton);
  EXPECT_EQ(machine.Game().credits[0], 1u);
  EXPECT_EQ(machine.Game().coins, 0u);
}

TEST_F(GameTest, ASecondPlayerJoinsARunningGame) {
  BootGame();
  machine.StartGame();
  machine.Run(100);
  machine.PressSystem(kCoin2);
  machine.Press(1, kPadStart);
  EXPECT_EQ(machine.Game().joined[0], 1u);
  EXPECT_EQ(machine.Game().joined[1], 1u);
}

TEST_F(GameTest, ACreditContinuesALostGame) {
  BootGame();
  machine.StartGame();
  ASSERT_TRUE(machine.RunTo(kStateContinue, 6000));
  EXPECT_EQ(machine.Game().lives[0], 0u);
  machine.StartGame();
  EXPECT_EQ(machine.Game().state, u32{kStatePlay});
  EXPECT_EQ(machine.Game().lives[0], 3u);
}

TEST_F(GameTest, TheCountDownEndsAGameThatNobodyContinues) {
  BootGame();
  machine.StartGame();
  LoseGame();
  EXPECT_EQ(machine.Game().joined[0], 0u);
}

TEST_F(GameTest, LettersGoToTheTableAndTheDiskKeepsItOverAReset) {
  BootGame();
  machine.StartGame();
  PlayForTheTable();
  LoseGame();
  ASSERT_TRUE(machine.RunTo(kStateInitials, 600));
  machine.Run(5);
  machine.Press(0, kPadRight);
  machine.Press(0, kPadFire);
  machine.Press(0, kPadFire);
  EXPECT_EQ(machine.Game().letters, 2u);
  machine.Press(0, kPadLeft);
  machine.Press(0, kPadFire);
  ASSERT_TRUE(machine.RunTo(kStateScores, 60));
  machine.Run(2);
  const SGameBlock before = machine.Game();
  EXPECT_EQ(before.tableWrites, 1u);
  EXPECT_EQ(before.diskError, 0u);
  u32 found = kGameTableRows;
  for (u32 i = 0; i < kGameTableRows; ++i) {
    if (before.table[i].score == before.score[0]) found = i;
  }
  ASSERT_LT(found, u32{kGameTableRows});
  EXPECT_STREQ(before.table[found].initials, "BBA");

  machine.Reset();
  machine.Run(kMostBootFrames / 2);
  const SGameBlock after = machine.Game();
  EXPECT_NE(after.tableSource, u32{kTableMadeNew});
  for (u32 i = 0; i < kGameTableRows; ++i) {
    EXPECT_EQ(after.table[i].score, before.table[i].score) << "row " << i;
    EXPECT_STREQ(after.table[i].initials, before.table[i].initials) << "row " << i;
  }
}

TEST_F(GameTest, FortySecondsOfPlayForTwoMissNoFrame) {
  machine.Set("VX_DIPCoinage", 1);
  BootGame();
  machine.Press(0, kPadStart);
  machine.Press(1, kPadStart);
  for (u32 i = 0; i < 2400; ++i) {
    machine.Hold(1, i % 200 < 100 ? kPadFire | kPadRight : kPadFire | kPadLeft | kPadUp);
    machine.PlayFrame(0);
    if (machine.Game().state == kStateContinue) machine.Press(0, kPadStart);
  }
  EXPECT_GT(machine.Game().playedFrames, 1500u);
  EXPECT_EQ(machine.Board().missedFrames, 0u);
  EXPECT_EQ(machine.Board().faultCause, 0u);
  EXPECT_EQ(machine.Messages(), 0u);
}

TEST_F(GameTest, TheDemonstrationPlaysByItselfAndScores) {
  machine.Set("VX_DIPVioWarn", 0);
  BootGame();
  ASSERT_TRUE(machine.RunTo(kStateDemo, 3000));
  machine.Run(900);
  EXPECT_EQ(machine.Game().state, u32{kStateDemo});
  EXPECT_GT(machine.Game().score[0], 0u);
  EXPECT_EQ(machine.Game().playedFrames, 0u);
}

TEST_F(GameTest, TheNoticeSwitchLeavesTheNoticeOut) {
  machine.Set("VX_DIPVioWarn", 0);
  BootGame();
  EXPECT_EQ(machine.Game().state, u32{kStateTitle});
}

TEST_F(GameTest, EveryCountryHasATitleOfItsOwn) {
  machine.Set("VX_DIPVioWarn", 0);
  std::set<std::vector<u32>> pictures;
  for (u32 country = 0; country < 4; ++country) {
    machine.Set("VX_DIPCountry", country);
    BootGame();
    while (machine.Game().frames < 100) machine.Run(1);
    pictures.insert(machine.Picture());
  }
  EXPECT_EQ(pictures.size(), 4u);
}

TEST_F(GameTest, ACabinetThatIsTiltedTakesNoCoins) {
  BootGame();
  machine.PressSystem(kCoin1 | kTilt);
  EXPECT_EQ(machine.Game().coins, 0u);
  machine.PressSystem(kCoin1);
  EXPECT_EQ(machine.Game().coins, 1u);
}

TEST_F(GameTest, TheSlowestDiskStillLoads) {
  machine.Set("VX_ExtraReadTime", 3);
  BootGame();
  EXPECT_EQ(machine.Board().diskResult, 0u);
}

TEST_F(GameTest, TheTestSwitchOpensTheMenuAndItsTestsPass) {
  enum { kMemoryPage = 3, kDiskPage = 4, kGood = 1 };
  BootGame();
  machine.Set("VX_DIPTest", 1);
  ASSERT_TRUE(machine.RunTo(kStateTest, 10));
  machine.Run(5);
  machine.Press(0, kPadDown);
  machine.Press(0, kPadDown);
  machine.Press(0, kPadStart);
  EXPECT_EQ(machine.Game().testPage, u32{kMemoryPage});
  for (u32 i = 0; i < 1000 && machine.Game().testResult == 0; ++i) machine.Run(1);
  EXPECT_EQ(machine.Game().testResult, u32{kGood});
  machine.Press(0, kPadStart);
  EXPECT_EQ(machine.Game().testPage, 0u);
  machine.Press(0, kPadDown);
  machine.Press(0, kPadStart);
  EXPECT_EQ(machine.Game().testPage, u32{kDiskPage});
  for (u32 i = 0; i < 1000 && machine.Game().testResult == 0; ++i) machine.Run(1);
  EXPECT_EQ(machine.Game().testResult, u32{kGood});
}

TEST_F(GameTest, TheTestButtonOpensTheMenuAndLeavesItAgain) {
  BootGame();
  machine.PressSystem(kTestButton);
  EXPECT_EQ(machine.Game().state, u32{kStateTest});
  machine.Press(0, kPadUp);
  machine.PressSystem(kTestButton);
  EXPECT_EQ(machine.Game().state, u32{kStateTitle});
}

TEST_F(GameTest, BothBoardsPlayTheSameGame) {
  std::vector<std::vector<u32>> pictures[2];
  u32 scores[2];
  for (u32 board = 0; board < 2; ++board) {
    ASSERT_TRUE(machine.Boot(board == 0 ? kPackA : kPackB));
    while (machine.Game().frames < 5) machine.Run(1);
    machine.StartGame();
    for (u32 i = 0; i < 900; ++i) {
      machine.PlayFrame(0);
      if (i % 30 == 0) pictures[board].push_back(machine.Picture());
    }
    scores[board] = machine.Game().score[0];
  }
  EXPECT_EQ(scores[0], scores[1]);
  EXPECT_TRUE(pictures[0] == pictures[1]);
}

}  // namespace
}  // namespace vx::test
