// While the sound program plays, with clones or without, nothing on the way of a sample allocates.
#include <gtest/gtest.h>

#include <cstring>

#include "guest/sound_commands.h"
#include "machine/VXMachine.h"
#include "tests/cabinet/AllocationCount.h"
#include "tests/soundprogram/SoundCabinet.h"

namespace vx::test {
namespace {

TEST(SoundProgramAllocations, PlayingTakesNoMemory) {
  auto* const machine = new CVXMachine;
  static i32 peak = 0;
  machine->onAudioBlock = [](CQuillonMachineBase*, const i16* samples, u32 count) {
    for (u32 i = 0; i < count; ++i) peak = samples[i] > peak ? samples[i] : peak;
  };
  constexpr u32 kRomsBytes = 0x400000;
  const std::vector<u8> rom = ReadSoundRoms();
  std::memcpy(machine->flatMem + kFlatSoundRoms, rom.data(), kRomsBytes);
  machine->bLoaded = 1;
  machine->Reset();
  const auto frames = [machine](u32 count) {
    for (u32 i = 0; i < count; ++i) machine->RunFrame();
  };
  const auto send = [machine, &frames](u32 byte) {
    machine->soundBoard.WriteCommand(static_cast<u16>(byte));
    frames(2);
  };
  frames(10);
  machine->SetInstanceCount(8);
  const CSoundBoard::SRom& roms = machine->soundBoard.Rom();
  const auto play = [machine, &roms](u32 command, f32 x) {
    machine->instances.Play(static_cast<u16>(command), {x, 1.0f, 0.0f}, 50.0f, roms);
  };
  const auto phrase = [&] {
    send(0);
    send(kMusicBoss);
    for (u32 sound = kSoundCoin; sound < kSoundCoin + 6; ++sound) {
      play(sound, static_cast<f32>(sound));
      frames(3);
    }
  };
  phrase();
  const u64 before = HeapAllocations();
  phrase();
  EXPECT_EQ(HeapAllocations(), before);
  EXPECT_GT(peak, 1000);
  machine->Destruct(1);
}

}  // namespace
}  // namespace vx::test
