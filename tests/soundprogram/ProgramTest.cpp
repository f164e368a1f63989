// The sound program by itself: start, double buffer, commands, effects, tunes, other programs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "guest/sound_commands.h"
#include "sound/ADSPPatches.h"
#include "tests/soundprogram/SoundCabinet.h"

namespace vx::test {
namespace {

constexpr u32 kBlock = 256;         // samples
constexpr u32 kFramesToStart = 10;  // boot, wave builder, first blocks on their way
constexpr u32 kLatencyFrames = 6;   // from a command to the last sample made before it
constexpr u32 kMark = 0x55;

struct SoundProgram : testing::Test {
  SoundProgram() { cabinet.Frames(kFramesToStart); }
  ~SoundProgram() override {
    for (const CRecordingPort::SLine& line : cabinet.port.lines) ADD_FAILURE() << line.text;
  }
  // A setting, until it holds.
  bool Set(u32 setting, u32 value) {
    const bool bTaken = cabinet.Send({kMark, setting, value >> 8, value & 0xFF});
    cabinet.Frames(4);
    return bTaken;
  }
  // The samples of so many frames from now.
  std::vector<i16> Listen(u32 frames) {
    const size_t before = cabinet.samples.size();
    cabinet.Frames(frames);
    return {cabinet.samples.begin() + static_cast<std::ptrdiff_t>(before), cabinet.samples.end()};
  }

  CSoundCabinet cabinet;
};

i32 PeakOf(const std::vector<i16>& samples) {
  i32 peak = 0;
  for (const i16 sample : samples) peak = std::max(peak, std::abs(i32{sample}));
  return peak;
}

// --- start and double buffer ---------------------------------------------------------------------

TEST_F(SoundProgram, SendsSamplesAtItsRateFromTheStart) {
  EXPECT_EQ(cabinet.board.SampleRate(), 15625);
  const u64 before = cabinet.sampleTotal;
  cabinet.Frames(600);
  EXPECT_NEAR(static_cast<f64>(cabinet.sampleTotal - before), 156250.0, kBlock);
}

TEST_F(SoundProgram, MakesABlockForEveryBlockSent) {
  cabinet.Play(kMusicStage);
  for (u32 i = 0; i < 600; ++i) {
    cabinet.Frames(1);
    ASSERT_EQ(cabinet.sampleTotal % kBlock, 0u);
    const u32 lead = cabinet.Data("BLOCKS") - static_cast<u32>(cabinet.sampleTotal / kBlock);
    ASSERT_LE(lead, 1u) << "frame " << i;
  }
}

TEST_F(SoundProgram, GivesUpTheRestOfItsSlicesInItsWaitLoops) {
  const u32 before = cabinet.skippedSlices;
  cabinet.Frames(100);
  EXPECT_GT(cabinet.skippedSlices - before, 100u);
}

// The board gives a slice up at the loop's jump, whose flags may be from before both interrupts.
TEST_F(SoundProgram, InterruptsBeforeAWaitLoopsJumpDoNotMakeItMissTheMovedPointer) {
  constexpr u32 kRing = 0x400, kHalf = 0x500, kSliceCycles = 100000;
  CADSP& processor = cabinet.processor;
  const u32 loop = SymbolOf("WAIT_HI");
  for (u32 i = 0; i < 100 && (processor.state.pc != loop || processor.state.dag[7].i != kHalf);
       ++i) {
    cabinet.Frames(1);
  }
  ASSERT_EQ(processor.state.pc, loop);
  processor.Run(2);
  ASSERT_EQ(processor.state.pc, loop + 2);
  processor.state.dag[7].i = kRing;
  processor.RaiseLine(kPendingTransmit);
  processor.CheckInterrupts();
  processor.DropLine(kPendingTransmit);
  cabinet.board.WriteCommand(0);
  const u16 blocks = cabinet.Data("BLOCKS");
  processor.Run(kSliceCycles);
  EXPECT_EQ(cabinet.Data("BLOCKS"), blocks + 1);
  EXPECT_EQ(processor.state.pc, SymbolOf("WAIT_LO"));
}

TEST_F(SoundProgram, IsSilentUntilACommandComes) { EXPECT_EQ(PeakOf(Listen(60)), 0); }

TEST_F(SoundProgram, AllFourOfTheMainProcessorsRoutinesArePlanted) {
  for (u32 number = 0; number < kMainProcessor.patchCount; ++number) {
    EXPECT_EQ(cabinet.processor.ReadProgram(kPatches[number].address), kPlantedWord + number);
  }
}

// --- a sound, sample by sample -------------------------------------------------------------------

// The engine's loop by the rules of resampling, mix and master volume, from the ROM's bytes.
TEST_F(SoundProgram, ALoopOverPagesComesOutWithoutAGapOrAWrongSample) {
  constexpr u32 kTable = 0x10000, kLoopBytes = 16384;
  const std::vector<u8>& rom = cabinet.rom;
  const auto number = [&rom](u32 at) { return rom[at] << 16 | rom[at + 1] << 8 | rom[at + 2]; };
  const u32 record = static_cast<u32>(number(kTable + 3 * kSoundEngine));
  const i32 volume = rom[record + 5];
  const i32 gain = rom[record + 9] << 8;
  const u32 logical = static_cast<u32>(number(record + 13));
  const u8* const loop = &rom[(logical >> 20) * 0x80000 + (logical & 0x7FFFF)];
  const auto expected = [&](u32 i) {
    const i32 product = (loop[i % kLoopBytes] - 128) * volume;
    const i32 sum = (static_cast<u16>(product) + static_cast<i16>(product) * gain) >> 16;
    return static_cast<i16>((i64{sum} * 0xFFFF) >> 16);
  };

  ASSERT_TRUE(cabinet.Play(kSoundEngine));
  const std::vector<i16> heard = Listen(400);
  const size_t first = static_cast<size_t>(
      std::find_if(heard.begin(), heard.end(), [](i16 x) { return x != 0; }) - heard.begin());
  const size_t begin = first / kBlock * kBlock;
  ASSERT_GT(heard.size() - begin, 5 * kLoopBytes);
  for (size_t i = begin; i < heard.size(); ++i) {
    ASSERT_EQ(heard[i], expected(static_cast<u32>(i - begin))) << "sample " << i - begin;
  }
}

TEST_F(SoundProgram, NativeRoutinesSoundLikeTheWordsThatTheyReplace) {
  CSoundCabinet plain(false);
  plain.Frames(kFramesToStart);
  for (CSoundCabinet* each : {&cabinet, &plain}) {
    each->samples.clear();
    each->Play(kMusicTitle);
    each->Frames(100);
    each->Play(kSoundBlast);
    each->Play(kSoundCoin);
    each->Send({kMark, kSettingMaster, 0x60, 0x00});
    each->Frames(100);
  }
  EXPECT_TRUE(cabinet.samples == plain.samples);
  EXPECT_GT(PeakOf(plain.samples), 1000);
}

// --- commands ------------------------------------------------------------------------------------

TEST_F(SoundProgram, TakesAThousandPairsWithoutLosingOne) {
  const u32 bytes = cabinet.Data("BYTES");
  for (u32 i = 0; i < 1000; ++i) {
    ASSERT_TRUE(cabinet.Play(kSoundCoin + i % 16)) << "pair " << i;
  }
  cabinet.Frames(2);
  EXPECT_EQ(cabinet.Data("PAIRS"), 1000u);
  EXPECT_EQ(static_cast<u16>(cabinet.Data("BYTES") - bytes), 2000u);
}

TEST_F(SoundProgram, QueuesBytesThatComeFasterThanBlocks) {
  for (u32 i = 0; i < 60; ++i) {
    cabinet.SendByte(i % 2 == 0 ? 0 : u32{kSoundFire});
    cabinet.processor.Run(20);
    ASSERT_TRUE(cabinet.board.IsCommandTaken()) << "byte " << i;
  }
  cabinet.Frames(3);
  EXPECT_EQ(cabinet.Data("PAIRS"), 30u);
}

TEST_F(SoundProgram, ASettingsMarkInSecondPlaceIsAnOrdinaryByte) {
  ASSERT_TRUE(cabinet.Send({0x00, kMark, 0x00, kSoundCoin}));
  EXPECT_GT(PeakOf(Listen(20)), 1000);
  EXPECT_EQ(cabinet.Data("PAIRS"), 2u);
}

TEST_F(SoundProgram, UnknownCommandsAreTakenAndForgotten) {
  for (const u32 command : {0x0001u, 0x00FFu, 0x0133u, 0x01C0u, 0x01D3u, 0x01D5u, 0x0208u, 0x0277u,
                            0x0304u, 0x0400u, 0x8000u, 0xFFFFu}) {
    ASSERT_TRUE(cabinet.Play(command));
  }
  for (const u32 setting : {0x00u, 0x05u, 0x0Du, 0x17u, 0x18u, 0xFFu}) ASSERT_TRUE(Set(setting, 1));
  EXPECT_EQ(PeakOf(Listen(30)), 0);
  ASSERT_TRUE(cabinet.Play(kSoundCoin));
  EXPECT_GT(PeakOf(Listen(20)), 1000);
}

TEST_F(SoundProgram, TheSilenceSettingEndsAllOfIt) {
  cabinet.Play(kMusicBoss);
  cabinet.Play(kSoundEngine);
  cabinet.Play(kSoundBossBlast);
  EXPECT_GT(PeakOf(Listen(60)), 2000);
  ASSERT_TRUE(Set(kSettingSilence, 0));
  cabinet.Frames(30);
  EXPECT_EQ(PeakOf(Listen(300)), 0);
  EXPECT_EQ(cabinet.Data("MUSIC"), 0u);
}

TEST_F(SoundProgram, EveryChannelStopsByItself) {
  cabinet.Play(kSoundEngine);
  cabinet.Frames(30);
  ASSERT_TRUE(cabinet.Play(kSoundEngineOff));
  cabinet.Frames(kLatencyFrames);
  EXPECT_EQ(PeakOf(Listen(30)), 0);
}

TEST_F(SoundProgram, MusicPausesAndGoesOn) {
  cabinet.Play(kMusicTitle);
  EXPECT_GT(PeakOf(Listen(60)), 1000);
  cabinet.Play(kMusicPause);
  cabinet.Frames(60);
  EXPECT_EQ(PeakOf(Listen(60)), 0);
  cabinet.Play(kMusicResume);
  EXPECT_GT(PeakOf(Listen(120)), 1000);
  cabinet.Play(kMusicStop);
  cabinet.Frames(60);
  EXPECT_EQ(PeakOf(Listen(60)), 0);
  cabinet.Play(kMusicResume);
  EXPECT_EQ(PeakOf(Listen(60)), 0) << "what was stopped is not resumed";
}

TEST_F(SoundProgram, TheMasterVolumeScalesEverything) {
  cabinet.Play(kSoundEngine);
  cabinet.Frames(30);
  const i32 loud = PeakOf(Listen(90));
  ASSERT_TRUE(Set(kSettingMaster, 0x4000));
  cabinet.Frames(kLatencyFrames);
  EXPECT_NEAR(PeakOf(Listen(90)), loud / 4, 2);
  ASSERT_TRUE(Set(kSettingMaster, 0));
  cabinet.Frames(kLatencyFrames);
  EXPECT_LE(PeakOf(Listen(30)), 1);
}

TEST_F(SoundProgram, TheLimitHoldsEffectsDown) {
  ASSERT_TRUE(Set(kSettingLimit, 32));
  cabinet.Play(kSoundWarning);
  const i32 quiet = PeakOf(Listen(150));
  ASSERT_TRUE(Set(kSettingLimit, 127));
  cabinet.Play(kSoundWarning);
  EXPECT_NEAR(PeakOf(Listen(150)) * 32 / 127, quiet, 20);
}

TEST_F(SoundProgram, ATempoSettingPlaysTheTuneFaster) {
  u32 blocks[2];
  for (u32 round = 0; round < 2; ++round) {
    cabinet.Play(kMusicTally);
    if (round != 0) Set(kSettingTempo, 0x200);
    const u32 before = cabinet.Data("BLOCKS");
    for (u32 i = 0; i < 900 && cabinet.Data("MUSIC") != 0; ++i) cabinet.Frames(1);
    blocks[round] = cabinet.Data("BLOCKS") - before;
  }
  EXPECT_NEAR(blocks[1] * 2, blocks[0], 20);
}

TEST_F(SoundProgram, AnEffectGivesWayToTheNextOnItsChannelWithoutAJump) {
  cabinet.Play(kSoundWarning);
  cabinet.Frames(20);
  cabinet.Play(kSoundTick);
  const std::vector<i16> heard = Listen(30);
  i32 most = 0;
  for (size_t i = 1; i < heard.size(); ++i)
    most = std::max(most, std::abs(heard[i] - heard[i - 1]));
  EXPECT_LT(most, 2300);
  EXPECT_EQ(PeakOf(Listen(20)), 0) << "the warning does not go on";
}

// --- every sound ---------------------------------------------------------------------------------

struct EverySound : SoundProgram, testing::WithParamInterface<u32> {};

TEST_P(EverySound, BeginsAndEndsAtRestAndKeepsItsDistanceFromFullScale) {
  constexpr u32 kLongest = 1200;
  constexpr i32 kMostAlone = 8192;
  ASSERT_TRUE(cabinet.Play(GetParam()));
  const std::vector<i16> heard = Listen(kLongest);
  const auto bSounds = [](i16 x) { return std::abs(x) > 1; };
  const auto first = std::find_if(heard.begin(), heard.end(), bSounds);
  const auto last = std::find_if(heard.rbegin(), heard.rend(), bSounds);
  ASSERT_NE(first, heard.end());
  const i32 peak = PeakOf(heard);
  EXPECT_GT(peak, 1000);
  EXPECT_LT(peak, kMostAlone);
  EXPECT_LT(std::abs(*first), 100);
  const bool bEnds = GetParam() < kSoundEngine;
  if (bEnds) {
    EXPECT_LT(std::abs(*last), 100);
    EXPECT_TRUE(std::all_of(heard.end() - 60 * 260, heard.end(), [](i16 x) { return x == 0; }));
  }
  f64 sum = 0.0;
  for (const i16 sample : heard) sum += sample;
  EXPECT_NEAR(sum / static_cast<f64>(heard.size()), 0.0, 8.0);
}

INSTANTIATE_TEST_SUITE_P(Sounds, EverySound,
                         testing::Values(0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19,
                                         0x1A, 0x1B, 0x1C, 0x1D, 0x1E, 0x1F, 0x20, 0x40, 0x41, 0x42,
                                         0x43, 0x44, 0x48, 0x49, 0x4A, 0x4B));

TEST_F(SoundProgram, AllOfItAtOnceStaysInRange) {
  i32 peak = 0;
  cabinet.Play(kMusicBoss);
  cabinet.Play(kSoundEngine);
  for (u32 round = 0; round < 10; ++round) {
    for (const u32 sound :
         {kSoundStart, kSoundPower, kSoundFire, kSoundLost, kSoundBossBlast, kSoundSplash}) {
      cabinet.Play(sound);
    }
    const std::vector<i16> heard = Listen(60);
    for (size_t i = 1; i < heard.size(); ++i) {
      peak = std::max(peak, std::abs(i32{heard[i]}));
      ASSERT_LT(std::abs(heard[i] - heard[i - 1]), 40000) << "a sum that wrapped";
    }
  }
  EXPECT_GT(peak, 8000);
}

// --- wave builder and self test
// --------------------------------------------------------------------

TEST_F(SoundProgram, TheWaveBuilderAgreesWithItselfBeforeAndAfterTheRoutinesArePlanted) {
  ASSERT_NE(cabinet.Data("RESULTS", 0), 0u);
  ASSERT_EQ(cabinet.Data("RESULTS", 2), 0u);
  ASSERT_TRUE(Set(kSettingWaves, 0));
  cabinet.Frames(3);
  EXPECT_EQ(cabinet.Data("RESULTS", 2), cabinet.Data("RESULTS", 0));
  EXPECT_EQ(cabinet.Data("RESULTS", 3), cabinet.Data("RESULTS", 1));
}

TEST_F(SoundProgram, WavetablesAreOddAndReachTheirPeak) {
  for (u32 wave = 0; wave < 4; ++wave) {
    i32 peak = 0;
    for (u32 i = 1; i < 64; ++i) {
      const i32 point = static_cast<i16>(cabinet.Data("WAVES", 64 * wave + i));
      const i32 mirrored = static_cast<i16>(cabinet.Data("WAVES", 64 * wave + 64 - i));
      EXPECT_NEAR(point, -mirrored, 8) << "wave " << wave << ", point " << i;
      peak = std::max(peak, point);
    }
    EXPECT_NEAR(peak, 15000, 60) << "wave " << wave;
  }
}

struct SSelfTestPage {
  u32 page, sum, vectors;
};

struct SelfTest : SoundProgram, testing::WithParamInterface<SSelfTestPage> {};

TEST_P(SelfTest, APageGivesItsSumAndTheMusicGoesOn) {
  const SSelfTestPage& page = GetParam();
  ASSERT_TRUE(Set(kSettingTest, page.page));
  cabinet.Frames(3);
  EXPECT_EQ(cabinet.Data("TEST_PAGE"), page.page);
  EXPECT_EQ(cabinet.Data("TEST_SUM"), page.sum);
  EXPECT_EQ(cabinet.Data("TEST_COUNT"), page.vectors);
  cabinet.Play(kSoundCoin);
  EXPECT_GT(PeakOf(Listen(20)), 1000);
}

INSTANTIATE_TEST_SUITE_P(Pages, SelfTest,
                         testing::Values(SSelfTestPage{0, 0x971D, 0x270},
                                         SSelfTestPage{1, 0xAE9B, 0x200},
                                         SSelfTestPage{2, 0x7505, 0x40},
                                         SSelfTestPage{3, 0x466B, 0x17},
                                         SSelfTestPage{4, 0xE767, 0xD}));

TEST(SoundProgramHoles, WordsThatTheProcessorLacksAreReportedAndPassedOver) {
  CSoundCabinet cabinet;
  cabinet.Frames(kFramesToStart);
  ASSERT_TRUE(cabinet.Send({kMark, kSettingTest, 0, 5}));
  cabinet.Frames(3);
  EXPECT_EQ(cabinet.port.lines.size(), 7u);
  EXPECT_EQ(cabinet.Data("TEST_COUNT"), 2u);
  EXPECT_EQ(cabinet.Data("TEST_SUM"), 0x5575u);
  ASSERT_TRUE(cabinet.Play(kSoundCoin));
  cabinet.samples.clear();
  cabinet.Frames(20);
  EXPECT_GT(PeakOf(cabinet.samples), 1000);
}

// --- the serial port otherwise, and other programs
// -------------------------------------------------

TEST_F(SoundProgram, TheSerialPortRunsInAllItsForms) {
  enum { kUsual = 0x10, kExternal, kSkip, kSlow, kAgain };
  cabinet.Play(kSoundEngine);
  const auto heardASecond = [this] {
    const u64 before = cabinet.sampleTotal;
    const i32 peak = PeakOf(Listen(60));
    EXPECT_GT(peak, 300);
    return static_cast<f64>(cabinet.sampleTotal - before);
  };
  ASSERT_TRUE(Set(kExternal, 0));
  EXPECT_EQ(cabinet.board.SampleRate(), 31250);
  EXPECT_NEAR(heardASecond(), 31250.0, 2 * kBlock);
  ASSERT_TRUE(Set(kSlow, 0));
  EXPECT_EQ(cabinet.board.SampleRate(), 7812);
  EXPECT_NEAR(heardASecond(), 7812.5, 2 * kBlock);
  ASSERT_TRUE(Set(kSkip, 0));
  EXPECT_EQ(cabinet.board.link.autobufferStep, 2u);
  EXPECT_NEAR(heardASecond(), 15625.0, 2 * kBlock);
  ASSERT_TRUE(Set(kAgain, 0));
  EXPECT_NEAR(heardASecond(), 15625.0, 2 * kBlock);
  ASSERT_TRUE(Set(kUsual, 0));
  EXPECT_EQ(cabinet.board.link.autobufferStep, 1u);
  EXPECT_NEAR(heardASecond(), 15625.0, 2 * kBlock);
}

TEST_F(SoundProgram, BootsTheSecondProgramFromItsPageAndComesBack) {
  enum { kBootKeep = 0x15, kBootDrop };
  for (const u32 setting : {kBootKeep, kBootDrop}) {
    ASSERT_TRUE(Set(setting, 2));
    cabinet.Frames(kLatencyFrames);
    EXPECT_EQ(cabinet.board.link.bankRegister, 2u);
    const std::vector<i16> tone = Listen(30);
    ASSERT_GT(tone.size(), 4000u);
    for (size_t i = 16; i < tone.size(); ++i) ASSERT_EQ(tone[i], tone[i - 16]) << "sample " << i;
    EXPECT_EQ(PeakOf(tone), 6000);
    ASSERT_TRUE(cabinet.Send({0}));
    cabinet.Frames(kFramesToStart);
    EXPECT_EQ(cabinet.board.link.bankRegister, 0u);
    EXPECT_EQ(PeakOf(Listen(10)), 0);
    ASSERT_TRUE(cabinet.Play(kSoundCoin));
    EXPECT_GT(PeakOf(Listen(20)), 1000);
  }
}

TEST_F(SoundProgram, StartsAnewAfterASoundReset) {
  cabinet.Play(kMusicTitle);
  cabinet.Frames(30);
  cabinet.board.SoundReset();
  cabinet.board.ReleaseReset();
  cabinet.Frames(kFramesToStart);
  EXPECT_EQ(PeakOf(Listen(30)), 0);
  ASSERT_TRUE(cabinet.Play(kSoundCoin));
  EXPECT_GT(PeakOf(Listen(20)), 1000);
}

// --- long ----------------------------------------------------------------------------------------

// VX_SOUND_FRAMES sets another length.
TEST(SoundProgramForLong, PlaysOnWithoutAMessage) {
  constexpr u32 kUsualFrames = 12000;
  const char* const wanted = std::getenv("VX_SOUND_FRAMES");
  const u32 most = wanted != nullptr ? static_cast<u32>(std::atoi(wanted)) : kUsualFrames;
  constexpr u32 kTunes[] = {kMusicTitle, kMusicStage, kMusicBoss, kMusicTally, kMusicScores};
  CSoundCabinet cabinet;
  cabinet.bKeep = false;
  cabinet.Frames(kFramesToStart);
  u32 random = 1;
  for (u32 round = 0; cabinet.frames < most; ++round) {
    if (round % 40 == 0) cabinet.Play(kTunes[round / 40 % std::size(kTunes)]);
    random = random * 1664525 + 1013904223;
    ASSERT_TRUE(cabinet.Play(kSoundCoin + (random >> 20) % 16)) << "frame " << cabinet.frames;
    cabinet.Frames(1 + (random >> 28));
  }
  EXPECT_TRUE(cabinet.port.lines.empty());
  const u16 sent = static_cast<u16>(cabinet.sampleTotal / kBlock);
  EXPECT_LE(static_cast<u16>(cabinet.Data("BLOCKS") - sent), 1) << "a block was sent twice";
  ASSERT_TRUE(cabinet.Play(kSoundSilence));
  cabinet.Frames(60);
  const u32 skipped = cabinet.skippedSlices;
  while (cabinet.skippedSlices == skipped) cabinet.Frames(1);
  EXPECT_EQ(cabinet.processor.state.pcDepth, 0);
  EXPECT_EQ(cabinet.processor.state.loopDepth, 0);
  EXPECT_EQ(cabinet.processor.state.statusDepth, 0);
}

}  // namespace
}  // namespace vx::test
