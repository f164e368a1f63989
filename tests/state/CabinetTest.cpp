// The open cabinet, stopped and taken up again: a game that was saved anywhere goes on from there
// as it would have without.
#include <xxhash.h>

#include <algorithm>
#include <map>
#include <random>
#include <thread>

#include "host/Movie.h"
#include "machine/Settings.h"
#include "tests/state/StateTest.h"

namespace vx::test {
namespace {

constexpr u32 kLongFrames = 600;
constexpr u32 kPoints = 100;
constexpr const wchar_t* kPack = VX_CABINET;

// What one machine does in a recorded game. Where another has gone on from a saved state, both are
// compared, as soon as the first has come as far.
struct CabinetState : CStateTest {
  struct SExpected {
    u64 stateHash;      // of processor and low RAM
    u64 wholeHash = 0;  // of a whole state; 0: not taken
    u32 savedAt = 0;
  };

  CabinetState() {
    const SMovie movie = ReadMovie(VX_MOVIE, {});
    for (const SMovieRun& run : movie.runs) inputs.insert(inputs.end(), run.frames, run.input);
  }

  static void Start(CVXMachine& machine) {
    ASSERT_TRUE(machine.LoadPack(kPack));
    machine.Reset();
    machine.ApplySettings();
    // Chunks come from a thread of their own, and a state's sectors wait for theirs.
    while (machine.bAllChunksLoaded == 0) std::this_thread::yield();
  }
  void Frame(CVXMachine& machine, u32 frame) const {
    const SMovieInput& input = inputs[frame];
    SInputRecord records[2];
    for (u32 player = 0; player < 2; ++player) {
      records[player].padBits = input.padBits[player];
      records[player].systemBits = input.systemBits[player];
    }
    machine.SetInput(records, 2);
    machine.RunFrame();
  }
  static u64 WholeHash(CVXMachine& machine) {
    const StateBytes bytes = Save(machine);
    return XXH3_64bits(bytes.data(), bytes.size());
  }

  // Frames of the game at which it is saved, rising; far enough from its end to go on from.
  std::vector<u32> Points(u32 count, u32 longest) const {
    std::mt19937 random{7};
    std::vector<u32> points;
    const u32 last = static_cast<u32>(inputs.size()) - longest - 1;
    for (u32 i = 0; i < count; ++i) points.push_back(random() % last);
    std::sort(points.begin(), points.end());
    return points;
  }

  // Plays the game; at each point the second machine goes on from a state of the first. Every
  // `longEvery`th time it goes on for so long, else for `shortFrames`, and whole states are
  // compared at the end.
  void PlayAndCompare(u32 shortFrames, u32 longEvery, u32 instances) {
    Start(*m);
    m->SetInstanceCount(instances);
    const BoardPtr second(new CVXMachine);
    Start(*second);
    const std::vector<u32> points = Points(kPoints, kLongFrames);
    std::multimap<u32, SExpected> expected;
    u32 point = 0;
    u32 compared = 0;
    u32 last = points.back();
    for (u32 frame = 0; frame <= last; ++frame) {
      Frame(*m, frame);
      for (auto [at, end] = expected.equal_range(frame); at != end; ++at) {
        ++compared;
        ASSERT_EQ(m->HashState(), at->second.stateHash)
            << "frame " << frame << ", saved at " << at->second.savedAt;
        if (at->second.wholeHash == 0) continue;
        ASSERT_EQ(WholeHash(*m), at->second.wholeHash) << "frame " << frame;
      }
      expected.erase(frame);
      while (point < points.size() && points[point] == frame) {
        ASSERT_TRUE(Load(*second, Save(*m)));
        const u32 count = point++ % longEvery == 0 ? kLongFrames : shortFrames;
        for (u32 next = frame + 1; next <= frame + count; ++next) {
          Frame(*second, next);
          expected.insert(
              {next, {second->HashState(), next == frame + count ? WholeHash(*second) : 0, frame}});
        }
        last = std::max(last, frame + count);
      }
    }
    EXPECT_TRUE(expected.empty());
    EXPECT_GE(compared, kPoints * shortFrames);
    EXPECT_EQ(m->instances.slots.size(), instances);
  }

  std::vector<SMovieInput> inputs;
};

TEST_F(CabinetState, AGameGoesOnForSixHundredFramesFromAHundredStates) {
  PlayAndCompare(kLongFrames, 1, 0);
}

TEST_F(CabinetState, AGameGoesOnFromAStateWithSoundInstancesToo) { PlayAndCompare(3, 50, 3); }

// With all of its frames this takes two minutes more: --gtest_also_run_disabled_tests.
TEST_F(CabinetState, DISABLED_AGameGoesOnForSixHundredFramesFromAHundredStatesWithInstances) {
  PlayAndCompare(kLongFrames, 1, 3);
}

TEST_F(CabinetState, LookAheadLeavesTheGameAsItIs) {
  constexpr u32 kStart = 1200, kFrames = 60;
  Start(*m);
  host.Api().AcquireFrameBuffer = [](u64, u32, u32, u32, bool) -> void* {
    static thread_local std::vector<u32> picture(kPicturePixels);
    return picture.data();
  };
  for (u32 frame = 0; frame < kStart; ++frame) Frame(*m, frame);
  const StateBytes start = Save(*m);
  m->onVideoFilter = [](CQuillonMachineBase*) { return 1; };
  std::vector<u64> logs[2];
  for (u32 run = 0; run < 2; ++run) {
    ASSERT_TRUE(Load(*m, start));
    for (u32 frame = kStart; frame < kStart + kFrames; ++frame) {
      if (run == 1) m->state.frameFlags |= kFrameLookAhead;
      m->scriptState.markFrame = m->state.frameNumber;
      Frame(*m, frame);
      logs[run].push_back(m->HashState());
    }
  }
  EXPECT_NE(m->workers[0], nullptr);
  EXPECT_EQ(logs[0], logs[1]);
}

}  // namespace
}  // namespace vx::test
