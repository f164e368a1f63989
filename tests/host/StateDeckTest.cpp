// What a player does with saved states, rewind and run-ahead, on the fake component.
#include "host/vxrun/StateDeck.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "host/HostError.h"
#include "host/HostServices.h"
#include "host/Settings.h"
#include "host/vxrun/RewindDeck.h"
#include "host/vxrun/RunAhead.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

namespace fs = std::filesystem;

class StateDeck : public testing::Test {
 protected:
  StateDeck() {
    fs::remove_all(test::TestFolder() + "states");
    void* library = dlopen(component.Path().c_str(), RTLD_NOW | RTLD_NOLOAD);
    takeCalls_ = reinterpret_cast<const char* (*)()>(dlsym(library, "FakeTakeCalls"));
    dlclose(library);
    options.packPath = test::STestPack().WriteAs("good.qilhard");
    options.stateFolder = test::TestFolder() + "states";
    component.Table().ResetSettings();
    component.Table().SaveConfigBlob(&owner.config);
    session.Start(options.packPath, CheckPack(options.packPath, ~u64{0}));
  }
  ~StateDeck() override { component.Table().ResetSettings(); }

  void Run(u32 frames, u32 padBits = 0) {
    SInputRecord records[2];
    records[0].padBits = padBits;
    for (u32 i = 0; i < frames; ++i) session.RunFrame(records, 2);
  }
  void Set(const std::string& assignment) {
    CSettings(component.Table().GetSettings()).Set(assignment);
  }
  std::string TakeCalls() { return takeCalls_(); }
  CStateDeck MakeDeck(EMovieRuns movieRuns = EMovieRuns::No) {
    return {options, owner, session, movieRuns};
  }
  // Saves, and waits for it.
  static std::string Save(CStateDeck& deck) {
    deck.Save();
    return deck.Finish().value_or("nothing told");
  }
  std::string Slot(u32 slot) const {
    return options.stateFolder + "/good." + std::to_string(slot) + ".vxstate";
  }

  CComponent component{HOST_FAKE_FOLDER "host_fake.so"};
  SOptions options;
  SStateOwner owner;
  u32 pictures = 0;
  u32 blocks = 0;
  CSession session{component,
                   {.wantsPicture = [] { return true; },
                    .onPicture = [this](const u32*, u32, u32) { ++pictures; },
                    .onSound = [this](const i16*, u32) { ++blocks; }}};

 private:
  const char* (*takeCalls_)() = nullptr;
};

TEST_F(StateDeck, ALoadedStateIsThatOfTheSave) {
  CStateDeck deck = MakeDeck();
  Run(10, 3);
  const u64 hash = session.HashMachine();
  EXPECT_EQ(Save(deck), "state saved in slot 0");
  Run(5, 4);
  EXPECT_EQ(deck.Load(), "state loaded from slot 0");
  EXPECT_EQ(session.HashMachine(), hash);
  EXPECT_EQ(session.FrameCount(), 10u);
}

TEST_F(StateDeck, ASaveIsOfItsMomentHoweverLongItsFileTakes) {
  CStateDeck deck = MakeDeck();
  Run(10);
  deck.Save();
  Run(5);
  deck.Load();
  EXPECT_EQ(session.FrameCount(), 10u);
  EXPECT_EQ(deck.Poll(), "state saved in slot 0");
  EXPECT_EQ(deck.Poll(), std::nullopt);
}

TEST_F(StateDeck, TwoSavesInARowAreBothKept) {
  CStateDeck deck = MakeDeck();
  deck.Save();
  Run(3);
  deck.Save();
  EXPECT_EQ(Save(deck), "state saved in slot 0");
  EXPECT_TRUE(fs::exists(PathBefore(Slot(0))));
}

TEST_F(StateDeck, TheSlotsGoRoundAndEachHasItsState) {
  CStateDeck deck = MakeDeck();
  EXPECT_EQ(deck.MoveSlot(-1), "slot 9");
  Save(deck);
  Run(3);
  EXPECT_EQ(deck.MoveSlot(1), "slot 0");
  Save(deck);
  EXPECT_TRUE(fs::exists(Slot(9)));
  EXPECT_TRUE(fs::exists(Slot(0)));
  deck.MoveSlot(-1);
  deck.Load();
  EXPECT_EQ(session.FrameCount(), 0u);
}

TEST_F(StateDeck, AnEmptySlotIsToldAndChangesNothing) {
  CStateDeck deck = MakeDeck();
  Run(3);
  EXPECT_EQ(deck.Load(), Slot(0) + ": there is no such file");
  EXPECT_EQ(session.FrameCount(), 3u);
  EXPECT_EQ(deck.UndoLoad(), "there is no load to undo");
}

TEST_F(StateDeck, AnUndoneLoadGoesBackToWhereTheGameWasAndForwardAgain) {
  CStateDeck deck = MakeDeck();
  Run(10);
  Save(deck);
  Run(7, 5);
  const u64 hash = session.HashMachine();
  deck.Load();
  EXPECT_EQ(deck.UndoLoad(), "load undone");
  EXPECT_EQ(session.HashMachine(), hash);
  EXPECT_EQ(deck.UndoLoad(), "load undone");
  EXPECT_EQ(session.FrameCount(), 10u);
}

TEST_F(StateDeck, AnUndoneSaveBringsTheOlderStateBack) {
  CStateDeck deck = MakeDeck();
  Run(10);
  Save(deck);
  Run(7);
  Save(deck);
  EXPECT_EQ(deck.UndoSave(), "save undone: " + Slot(0));
  EXPECT_EQ(deck.UndoSave(), "there is no save to undo");
  deck.Load();
  EXPECT_EQ(session.FrameCount(), 10u);
}

TEST_F(StateDeck, AStateOfAnotherPackOrOfOtherSettingsIsRefused) {
  CStateDeck first = MakeDeck();
  Save(first);
  Run(4);
  owner.pack.hash ^= 1;
  EXPECT_EQ(MakeDeck().Load(), Slot(0) + ": was saved with another pack");
  owner.pack.hash ^= 1;
  owner.config.clockMHz = 300;
  EXPECT_EQ(MakeDeck().Load(), Slot(0) + ": was saved with other settings");
  EXPECT_EQ(session.FrameCount(), 4u);
}

TEST_F(StateDeck, AStateThatTheComponentRefusesLeavesTheGameWhereItWas) {
  CStateDeck deck = MakeDeck();
  Save(deck);
  Run(4, 9);
  const u64 hash = session.HashMachine();
  Set("FAKE_RefuseStates=1");
  EXPECT_EQ(deck.Load(), Slot(0) + ": is refused by the component");
  EXPECT_EQ(session.HashMachine(), hash);
}

TEST_F(StateDeck, ADamagedFileIsToldAndChangesNothing) {
  CStateDeck deck = MakeDeck();
  Save(deck);
  Run(4);
  fs::resize_file(Slot(0), fs::file_size(Slot(0)) - 1);
  EXPECT_EQ(deck.Load(), Slot(0) + ": is truncated");
  EXPECT_EQ(session.FrameCount(), 4u);
}

TEST_F(StateDeck, WithAMovieStatesAreSavedButNotLoaded) {
  CStateDeck deck = MakeDeck(EMovieRuns::Yes);
  EXPECT_EQ(Save(deck), "state saved in slot 0");
  Run(3);
  EXPECT_EQ(deck.Load(),
            options.packPath + ": no state is loaded while a movie is played or recorded");
  EXPECT_EQ(session.FrameCount(), 3u);
}

TEST_F(StateDeck, AStateBeyondItsRoomIsToldAndNotSaved) {
  Set("FAKE_StateKiB=25000");
  CStateDeck deck = MakeDeck();
  const std::string told = Save(deck);
  EXPECT_NE(told.find("the machine's state takes 25600"), std::string::npos) << told;
  EXPECT_FALSE(fs::exists(Slot(0)));
}

TEST_F(StateDeck, ASlotHasTheLatestPictureAtHalfItsSize) {
  CStateDeck deck = MakeDeck();
  const std::vector<u32> pixels(320 * 240, 0x123456);
  deck.TakePicture(pixels.data(), 320, 240);
  Save(deck);
  const std::vector<u8> png = CStateSlots::Load(Slot(0)).picture;
  ASSERT_GT(png.size(), 24u);
  EXPECT_EQ(png[18] << 8 | png[19], 160);
  EXPECT_EQ(png[22] << 8 | png[23], 120);
}

TEST_F(StateDeck, ScriptsStartAnewWithASlotButNotWithAnUndo) {
  CStateDeck deck = MakeDeck();
  TakeCalls();
  Save(deck);
  EXPECT_EQ(TakeCalls(), "SaveState");
  deck.Load();
  EXPECT_EQ(TakeCalls(), "SaveTransient LoadState");
}

// --- Rewind --------------------------------------------------------------------------------------

class RewindOfSession : public StateDeck {
 protected:
  void Play(CRewindDeck& rewind, u32 frames) {
    for (u32 i = 0; i < frames; ++i) {
      Run(1, i % 5);
      rewind.EndFrame();
    }
  }
};

TEST_F(RewindOfSession, HoldingTheKeyGoesBackAtTwiceTheSpeed) {
  CRewindDeck rewind(session, 60, 60.0);
  Play(rewind, 601);
  u32 steps = 0;
  for (u32 held = 0; held < 100; ++held) {
    if (!rewind.StepBack()) continue;
    ++steps;
    Run(1);
  }
  EXPECT_EQ(steps, 50u);
  EXPECT_EQ(session.FrameCount(), 601u - 49 * 4 + 1);
}

TEST_F(RewindOfSession, AMinuteIsKeptAndThenTheEndIsReached) {
  CRewindDeck rewind(session, 60, 60.0);
  Play(rewind, 60 * 60 + 500);
  u64 reached = 0;
  for (u32 held = 0; held < 3000; ++held) {
    if (rewind.StepBack()) reached = session.FrameCount();
  }
  EXPECT_LE(reached, 500u + 1);
  EXPECT_GE(reached, 490u);
  EXPECT_FALSE(rewind.StepBack());
}

TEST_F(RewindOfSession, AStateReachedByTheKeyIsTheOneThatWas) {
  CRewindDeck rewind(session, 60, 60.0);
  std::vector<u64> hashes = {session.HashMachine()};
  for (u32 i = 1; i <= 100; ++i) {
    Run(1, i % 7);
    hashes.push_back(session.HashMachine());
    rewind.EndFrame();
  }
  while (rewind.History().Count() != 0) {
    if (!rewind.StepBack()) continue;
    EXPECT_EQ(session.HashMachine(), hashes[session.FrameCount()]);
  }
}

TEST_F(RewindOfSession, TheGameGoesOnFromThereAndCanGoBackAgain) {
  CRewindDeck rewind(session, 60, 60.0);
  Play(rewind, 101);
  while (session.FrameCount() > 50) rewind.StepBack();
  Play(rewind, 20);
  const u64 now = session.FrameCount();
  for (u32 i = 0; i < 4; ++i) rewind.StepBack();
  EXPECT_LT(session.FrameCount(), now);
  EXPECT_GE(session.FrameCount(), now - 9);
}

// --- Run-ahead -----------------------------------------------------------------------------------

class RunAheadOfSession : public StateDeck {};

TEST_F(RunAheadOfSession, TheMachineIsPutBackAndTheUsesAreTold) {
  Run(5);
  const u64 hash = session.HashMachine();
  CRunAhead ahead(session, 2);
  EFrameUse use = EFrameUse::GameUnseen;
  SInputRecord records[2];
  TakeCalls();
  ahead.Run(records, 2, use);
  EXPECT_EQ(TakeCalls(), "SaveTransient SetInput RunFrame SetInput RunFrame LoadState");
  EXPECT_EQ(use, EFrameUse::Game);
  EXPECT_EQ(session.HashMachine(), hash);
}

TEST_F(RunAheadOfSession, OnlyTheLastFrameIsForShow) {
  EFrameUse use = EFrameUse::Game;
  std::vector<EFrameUse> seen;
  CSession other(component, {.wantsPicture =
                                 [&] {
                                   seen.push_back(use);
                                   return false;
                                 },
                             .onPicture = {},
                             .onSound = {}});
  other.Start(options.packPath, CheckPack(options.packPath, ~u64{0}));
  SInputRecord records[2];
  CRunAhead(other, 3).Run(records, 2, use);
  EXPECT_EQ(seen, (std::vector{EFrameUse::Ahead, EFrameUse::Ahead, EFrameUse::AheadShown}));
}

TEST_F(RunAheadOfSession, TheBoardsClockStandsMeanwhile) {
  std::vector<f64> clocks;
  CSession other(component, {.wantsPicture =
                                 [&] {
                                   clocks.push_back(CHostServices::Get().ClockMs());
                                   return false;
                                 },
                             .onPicture = {},
                             .onSound = {}});
  other.Start(options.packPath, CheckPack(options.packPath, ~u64{0}));
  SInputRecord records[2];
  EFrameUse use = EFrameUse::Game;
  CRunAhead(other, 4).Run(records, 2, use);
  ASSERT_EQ(clocks.size(), 4u);
  EXPECT_EQ(clocks.front(), clocks.back());
  EXPECT_FALSE(CHostServices::Get().HasBoardClock());
}

TEST_F(RunAheadOfSession, AMachineThatCannotBePutBackEndsTheRun) {
  Set("FAKE_RefuseStates=1");
  SInputRecord records[2];
  EFrameUse use = EFrameUse::Game;
  EXPECT_THROW(CRunAhead(session, 1).Run(records, 2, use), CHostError);
}

}  // namespace
}  // namespace vx
