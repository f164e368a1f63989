// Sounds in space through the exports alone: the cabinet's sound program, cloned and placed by the
// functions that scripts call.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "host/Component.h"
#include "host/HostServices.h"
#include "host/PackCheck.h"
#include "host/Session.h"
#include "tests/host/TestPack.h"

namespace vx {

namespace {

constexpr u32 kSetSoundInstances = 59;
constexpr u32 kSetListener = 63;
constexpr u32 kPlayPositional = 64;
constexpr u32 kBlast = 0x15;       // an effect of the cabinet that lasts a while
constexpr u32 kQuietFrames = 180;  // the sound program is up, and plays nothing by itself yet
constexpr u32 kSettleFrames = 3;   // in which fresh clones come to rest
constexpr u32 kHeardFrames = 50;

struct SHeard {
  std::vector<i16> samples;
  u64 left = 0;
  u64 right = 0;
};

class SoundInSpace : public testing::Test {
 protected:
  void TearDown() override { CHostServices::Get().Panner().Enable(false); }

  // The listener looks along z with its right along x; a blast at `x`.
  SHeard Blast(f32 x, bool bHostsPanner) {
    CHostServices::Get().Panner().Enable(bHostsPanner);
    CHostServices::Get().SetCacheFolder(test::TestFolder() + "cache");
    SHeard heard;
    bool bListens = false;
    const CComponent component(HOST_COMPONENT);
    CSession session(
        component,
        {.wantsPicture = {}, .onPicture = {}, .onSound = [&](const i16* samples, u32 count) {
           if (!bListens) return;
           heard.samples.insert(heard.samples.end(), samples, samples + count);
         }});
    const std::string pack = HOST_CABINETS "opencabinet_b.qilhard";
    session.Start(pack, CheckPack(pack, PhysicalMemoryBytes()));
    Run(session, kQuietFrames);
    bListens = true;
    Place(component, session, x);
    Run(session, kHeardFrames);
    for (std::size_t i = 0; i + 1 < heard.samples.size(); i += 2) {
      heard.left += static_cast<u64>(std::abs(heard.samples[i]));
      heard.right += static_cast<u64>(std::abs(heard.samples[i + 1]));
    }
    return heard;
  }

 private:
  static void Run(CSession& session, u32 frames) {
    const SInputRecord records[kHostPlayers];
    for (u32 i = 0; i < frames; ++i) session.RunFrame(records, kHostPlayers);
  }

  static void Place(const CComponent& component, CSession& session, f32 x) {
    // Script memory: blocks of words, and behind them what they name.
    struct {
      u32 unused = 0;
      u32 listener[5] = {64, 76, 88, 100, 0};
      u32 play[4] = {kBlast, 112, 124, 128};
      u32 gap[6] = {};
      f32 vectors[4][3] = {{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
      f32 position[3] = {0, 0, 0};
      f32 range = 100;
      u32 bPlayed = 0;
    } memory;
    static_assert(offsetof(decltype(memory), vectors) == 64);
    static_assert(offsetof(decltype(memory), bPlayed) == 128);
    memory.position[0] = x;
    const auto call = [&](u32 function, u64 argument) {
      component.Table().ScriptCall(&session.Machine(), reinterpret_cast<u64>(&memory), function,
                                   argument);
    };
    call(kSetSoundInstances, 8);
    Run(session, kSettleFrames);
    call(kSetListener, offsetof(decltype(memory), listener));
    call(kPlayPositional, offsetof(decltype(memory), play));
    EXPECT_EQ(memory.bPlayed, 1u);
  }
};

}  // namespace

TEST_F(SoundInSpace, ABlastToOneSideIsHeardThereByTheBoardsPanningAndTheHosts) {
  for (const bool bHostsPanner : {false, true}) {
    const SHeard right = Blast(10, bHostsPanner);
    const SHeard left = Blast(-10, bHostsPanner);
    EXPECT_GT(right.right, 10'000u);
    EXPECT_GT(right.right, right.left * 3 / 2) << bHostsPanner;
    EXPECT_GT(left.left, left.right * 3 / 2) << bHostsPanner;
    EXPECT_EQ(left.samples.size(), right.samples.size());
  }
}

TEST_F(SoundInSpace, ABlastBeyondItsRangeIsNotHeard) {
  for (const bool bHostsPanner : {false, true}) {
    const SHeard far = Blast(1000, bHostsPanner);
    EXPECT_FALSE(far.samples.empty());
    EXPECT_EQ(far.left + far.right, 0u);
  }
}

TEST_F(SoundInSpace, TheHostsPannerGivesTheSameBytesEachTimeAndOthersThanTheBoards) {
  const SHeard first = Blast(5, true);
  EXPECT_EQ(Blast(5, true).samples, first.samples);
  EXPECT_NE(Blast(5, false).samples, first.samples);
}

}  // namespace vx
