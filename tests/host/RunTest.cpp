// Runs with a window, in which a player presses keys at known frames.
#include "host/vxrun/Run.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <SDL.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>

#include "host/HostError.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

namespace fs = std::filesystem;
using CFrames = std::vector<u64>;

class RunWithKeys : public testing::Test {
 protected:
  void SetUp() override {
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    options.packPath = test::STestPack().WriteAs("good.qilhard");
    options.componentPath = HOST_FAKE_FOLDER "host_fake.so";
    options.cacheFolder = test::TestFolder() + "cache";
    options.stateFolder = test::TestFolder() + "states";
    options.settingsPath = test::WriteFile("settings.conf", {'#', '\n'});
    options.controlsPath = test::WriteFile("controls.conf", {'#', '\n'});
    options.bUnthrottled = true;
    options.scale = 1;
    fs::remove_all(options.stateFolder);
    library_ = dlopen(options.componentPath.c_str(), RTLD_NOW);
    ASSERT_NE(library_, nullptr);
    const auto setHook =
        reinterpret_cast<void (*)(void (*)(u64))>(dlsym(library_, "FakeSetFrameHook"));
    ASSERT_NE(setHook, nullptr);
    frames.clear();
    presses.clear();
    setHook([](u64 frame) {
      frames.push_back(frame);
      for (const auto& [key, type] : presses[frames.size()]) Send(key, type);
    });
  }
  void TearDown() override {
    reinterpret_cast<void (*)(void (*)(u64))>(dlsym(library_, "FakeSetFrameHook"))(nullptr);
    dlclose(library_);
  }

  static void Send(SDL_Scancode key, u32 type) {
    SDL_Event event{};
    event.type = type;
    event.key.keysym.scancode = key;
    event.key.state = type == SDL_KEYDOWN ? SDL_PRESSED : SDL_RELEASED;
    SDL_PushEvent(&event);
  }
  // In the n-th frame that runs, from 1.
  static void Tap(u64 nth, SDL_Scancode key) {
    presses[nth].emplace_back(key, SDL_KEYDOWN);
    presses[nth].emplace_back(key, SDL_KEYUP);
  }
  // What the run says, and which frames of the machine it ran.
  std::string Play(u64 limit) {
    options.frames = limit;
    testing::internal::CaptureStdout();
    const CStartClock startClock;
    EXPECT_EQ(vx::Run(options, startClock), EExitCode::Ok);
    return testing::internal::GetCapturedStdout();
  }
  static bool Has(const std::string& text, const std::string& words) {
    return text.find(words) != std::string::npos;
  }
  static CFrames From(u64 first, u64 last) {
    CFrames numbers;
    for (u64 i = first; i <= last; ++i) numbers.push_back(i);
    return numbers;
  }

  SOptions options;
  static CFrames frames;  // of the machine, in the order in which they ran
  static std::map<u64, std::vector<std::pair<SDL_Scancode, u32>>> presses;

 private:
  void* library_ = nullptr;
};

CFrames RunWithKeys::frames;
std::map<u64, std::vector<std::pair<SDL_Scancode, u32>>> RunWithKeys::presses;

CFrames Joined(CFrames first, const CFrames& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST_F(RunWithKeys, AStateIsSavedAndLoadedAndTheLoadUndone) {
  Tap(10, SDL_SCANCODE_F5);
  Tap(20, SDL_SCANCODE_F8);
  Tap(25, SDL_SCANCODE_F9);
  const std::string said = Play(30);
  EXPECT_EQ(frames, Joined(Joined(From(1, 20), From(11, 15)), From(21, 25)));
  EXPECT_TRUE(Has(said, "state saved in slot 0\n")) << said;
  EXPECT_TRUE(Has(said, "state loaded from slot 0\n")) << said;
  EXPECT_TRUE(Has(said, "load undone\n")) << said;
}

TEST_F(RunWithKeys, SlotsAreChosenAndListedAndASaveUndone) {
  Tap(3, SDL_SCANCODE_F7);
  Tap(4, SDL_SCANCODE_F5);
  Tap(6, SDL_SCANCODE_F11);
  Tap(8, SDL_SCANCODE_F10);
  Tap(10, SDL_SCANCODE_F6);
  const std::string said = Play(15);
  EXPECT_TRUE(Has(said, "slot 1\n")) << said;
  EXPECT_TRUE(Has(said, "\n0  empty\n1  20")) << said;
  EXPECT_TRUE(Has(said, "save undone: " + options.stateFolder + "/good.1.vxstate\n")) << said;
  EXPECT_TRUE(Has(said, "slot 0\n")) << said;
  EXPECT_FALSE(fs::exists(options.stateFolder + "/good.1.vxstate"));
}

TEST_F(RunWithKeys, TheRewindKeyGoesBackAsLongAsItIsHeld) {
  presses[40].emplace_back(SDL_SCANCODE_B, SDL_KEYDOWN);
  presses[45].emplace_back(SDL_SCANCODE_B, SDL_KEYUP);
  Play(50);
  // A frame of each state that was gone back to is shown: states of frames 37, 33 and so on.
  const CFrames back = {38, 34, 30, 26, 22};
  EXPECT_EQ(frames, Joined(Joined(From(1, 40), back), From(23, 32)));
}

TEST_F(RunWithKeys, WithoutRewindTheKeyDoesNothing) {
  options.rewindSeconds = 0;
  presses[10].emplace_back(SDL_SCANCODE_B, SDL_KEYDOWN);
  Play(20);
  EXPECT_EQ(frames, From(1, 20));
}

TEST_F(RunWithKeys, APausedGameShowsTheStateThatIsLoaded) {
  Tap(5, SDL_SCANCODE_F5);
  Tap(9, SDL_SCANCODE_P);
  Tap(9, SDL_SCANCODE_F8);
  Tap(10, SDL_SCANCODE_ESCAPE);
  Play(12);
  EXPECT_EQ(frames, Joined(From(1, 9), {6}));
}

TEST_F(RunWithKeys, RunAheadRunsItsFramesBehindEachOfTheGames) {
  options.runAhead = 2;
  Play(3);
  EXPECT_EQ(frames, (CFrames{1, 2, 3, 2, 3, 4, 3, 4, 5}));
}

}  // namespace
}  // namespace vx
