// The sound program in the machine: blocks for the host, and clones in space.
#include <gtest/gtest.h>
#include <xxhash.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "guest/sound_commands.h"
#include "machine/VXMachine.h"
#include "tests/soundprogram/SoundCabinet.h"

namespace vx::test {
namespace {

constexpr u32 kFramesToStart = 10;
constexpr u32 kMark = 0x55;
constexpr f32 kNear = 1.0f, kRange = 100.0f;

struct SoundMachine : testing::Test {
  SoundMachine() : machine(new CVXMachine) {
    blocks.clear();
    machine->onAudioBlock = [](CQuillonMachineBase*, const i16* samples, u32 count) {
      blocks.insert(blocks.end(), samples, samples + count);
    };
    const std::vector<u8> rom = ReadSoundRoms();
    constexpr u32 kRomsBytes = 0x400000;
    std::memcpy(machine->flatMem + kFlatSoundRoms, rom.data(), kRomsBytes);
    // The main processor goes to RAM and stays there.
    constexpr u32 kGoToRam[] = {0x3C088000, 0x01000008, 0}, kStayHere[] = {0x1000FFFF, 0};
    std::memcpy(machine->flatMem + kFlatBootRom, kGoToRam, sizeof(kGoToRam));
    machine->bLoaded = 1;
    machine->Reset();
    std::memcpy(machine->flatMem, kStayHere, sizeof(kStayHere));
    Frames(kFramesToStart);
  }
  ~SoundMachine() override { machine->Destruct(1); }

  void Frames(u32 count) {
    for (u32 i = 0; i < count; ++i) machine->RunFrame();
  }
  void Write(u32 address, u32 value) {
    machine->ioWrite[(address - kIoBase) >> 4].write32(machine, address, value);
  }
  // Byte by byte through the latch of register layout A, each when the last has been taken.
  void Send(const std::vector<u32>& bytes) {
    for (const u32 byte : bytes) {
      Write(0x10000098, byte);
      Write(0x10000090, 2);
      Write(0x10000090, 0);
      for (u32 i = 0; i < 10 && !machine->soundBoard.IsCommandTaken(); ++i) Frames(1);
      ASSERT_TRUE(machine->soundBoard.IsCommandTaken());
    }
  }
  void Play(u32 command) { Send({command >> 8, command & 0xFF}); }
  // Clones at rest, as a script leaves them.
  void MakeClones(u32 count) {
    machine->SetInstanceCount(count);
    Send({kMark, kSettingSilence, 0, 0});
    Frames(60);
  }
  bool IsResting(u32 clone) const {
    return (machine->instances.slots[clone].instance->processor.state.runFlags & kRunHalted) != 0;
  }
  bool PlayInSpace(u32 command, f32 x) {
    return machine->instances.Play(static_cast<u16>(command), {x, 0.0f, 0.0f}, kRange,
                                   machine->soundBoard.Rom());
  }
  static i64 Energy(u32 side) {
    i64 sum = 0;
    for (size_t i = side; i < blocks.size(); i += 2) sum += i64{blocks[i]} * blocks[i];
    return sum;
  }

  CVXMachine* machine;
  static std::vector<i16> blocks;
};

std::vector<i16> SoundMachine::blocks;

// A change of one bit in program, ROMs, processor or mix shows here.
TEST_F(SoundMachine, AKnownPhraseComesOutToTheBit) {
  blocks.clear();
  Play(kMusicTitle);
  Frames(60);
  Play(kSoundCoin);
  Frames(30);
  Play(kSoundSplash);
  Frames(60);
  EXPECT_EQ(machine->GetSampleRate(), 15625);
  const i16 peak = *std::max_element(blocks.begin(), blocks.end());
  EXPECT_GT(peak, 4000);
  EXPECT_EQ(XXH3_64bits(blocks.data(), blocks.size() * sizeof(i16)), 2415095759824039271u);
}

TEST_F(SoundMachine, ClonesRestUntilACommandComesAndRestAgain) {
  MakeClones(8);
  for (u32 i = 0; i < 8; ++i) EXPECT_TRUE(IsResting(i)) << i;
  blocks.clear();
  Frames(30);
  EXPECT_EQ(Energy(0), 0);
  constexpr u32 kChannel = 5;
  ASSERT_TRUE(PlayInSpace(kSoundBlast, kNear));
  Frames(10);
  for (u32 i = 0; i < 8; ++i) EXPECT_EQ(IsResting(i), i != kChannel) << i;
  EXPECT_GT(Energy(0), 0);
  Frames(120);
  EXPECT_TRUE(IsResting(kChannel));
  ASSERT_TRUE(PlayInSpace(kSoundBlast, kNear));
  Frames(10);
  EXPECT_FALSE(IsResting(kChannel));
}

TEST_F(SoundMachine, SettingsReachClonesToo) {
  MakeClones(3);
  Send({kMark, kSettingMaster, 0, 0});
  Frames(10);
  ASSERT_TRUE(PlayInSpace(kSoundPower, kNear));
  Frames(10);
  blocks.clear();
  Frames(20);
  EXPECT_FALSE(IsResting(2));
  EXPECT_LT(*std::max_element(blocks.begin(), blocks.end()), 3);
}

TEST_F(SoundMachine, ASoundThatMovesGoesFromOneSideToTheOther) {
  machine->state.listenerVectors[2][0] = 1.0f;
  MakeClones(8);
  i64 left = 0, right = 0;
  for (const f32 x : {-50.0f, -10.0f, 10.0f, 50.0f}) {
    ASSERT_TRUE(PlayInSpace(kSoundPower, x));
    Frames(10);
    blocks.clear();
    Frames(30);
    if (x < 0) {
      EXPECT_GT(Energy(0), 4 * Energy(1)) << x;
      left += Energy(0);
    } else {
      EXPECT_GT(Energy(1), 4 * Energy(0)) << x;
      right += Energy(1);
    }
    Frames(60);
  }
  EXPECT_GT(left, 0);
  EXPECT_GT(right, 0);
}

TEST_F(SoundMachine, TunesAreNoSoundsInSpaceButCloneNoughtTakesThem) {
  MakeClones(1);
  EXPECT_FALSE(PlayInSpace(kSoundCoin, kNear)) << "there is no clone for channel 1";
  EXPECT_TRUE(PlayInSpace(kMusicTally, kNear));
}

}  // namespace
}  // namespace vx::test
