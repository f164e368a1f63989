// The sound part inside the machine: time, boot, forwarding, clones and the way to the host.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "machine/VXMachine.h"

namespace vx::test {
namespace {

// A sound program that counts: it fills a ring of 64 words in data RAM with a rising number and
// sends it over the serial port at 31250 Hz.
std::vector<u32> CountingProgram() {
  const auto index = [](u32 i, u32 value) { return 0x380000 | value << 4 | i; };
  const auto store = [](u32 address, u32 r) { return 0x900000 | address << 4 | r; };
  const auto load = [](u32 r, u32 value) { return 0x400000 | value << 4 | r; };
  // clang-format off
  std::vector<u32> words = {
      index(11, 64), index(3, 0x3800), index(4, 1),  // L7, I7, M4 = 1
      index(8, 64), index(0, 0x3800),                // L4, I4
      load(0, 9), store(0x3FF1, 0),                  // divisor: 32 microseconds a sample
      load(0, 0x4000), store(0x3FF2, 0),             // internal clock
      load(0, 0x0E02), store(0x3FEF, 0),             // I7, M4, transmit
      load(0, 0x0800), store(0x3FFF, 0),             // port enable
      0x0D0CB0,                                      // TX1: start
      load(4, 1), load(10, 0),                       // AY0 = 1, AR = 0
  };
  // clang-format on
  const u32 loop = static_cast<u32>(words.size());
  words.push_back(0x22620F);  // AR = AR + AY0
  words.push_back(0x7800A0);  // DM(I4,M4) = AR
  words.push_back(0x18000F | loop << 4);
  return words;
}

class MachineSound : public testing::Test {
 protected:
  MachineSound() : machine_(new CVXMachine) {
    machine_->onAudioBlock = [](CQuillonMachineBase*, const i16* samples, u32 count) {
      blocks_.emplace_back(samples, samples + count);
    };
    blocks_.clear();
  }
  ~MachineSound() override { machine_->Destruct(1); }

  CVXMachine& M() { return *machine_; }
  // Puts a boot image into the sound ROM and starts the board as with a pack.
  void Boot(const std::vector<u32>& words) {
    u8* const rom = M().flatMem + kFlatSoundRoms;
    for (u32 i = 0; i < words.size(); ++i) {
      rom[4 * i] = static_cast<u8>(words[i] >> 16);
      rom[4 * i + 1] = static_cast<u8>(words[i] >> 8);
      rom[4 * i + 2] = static_cast<u8>(words[i]);
    }
    rom[3] = static_cast<u8>((words.size() + 7) / 8 - 1);
    M().bLoaded = 1;
    M().Reset();
  }
  void Frames(u32 count) {
    for (u32 i = 0; i < count; ++i) M().RunFrame();
  }

  CVXMachine* machine_;
  static std::vector<std::vector<i16>> blocks_;
};

std::vector<std::vector<i16>> MachineSound::blocks_;

TEST_F(MachineSound, EventIdsStandWhereStatesExpectThem) {
  EXPECT_EQ(M().soundBoard.TickId(), 2u);
  EXPECT_EQ(M().sound.bootDoneEventId, 5u);
  EXPECT_EQ(M().videoEventEndId, 6u);
}

TEST_F(MachineSound, WithoutAPackNothingBoots) {
  for (const SEvent& event : M().queue.Entries()) EXPECT_NE(event.id, M().sound.bootDoneEventId);
  Frames(2);
  EXPECT_TRUE(blocks_.empty());
  EXPECT_EQ(M().GetSampleRate(), 31250);
}

TEST_F(MachineSound, SamplesReachTheHostAsBlocksOfAFrameAtTheGuestsRate) {
  Boot(CountingProgram());
  Frames(60);
  EXPECT_EQ(M().GetSampleRate(), 31250);
  ASSERT_GE(blocks_.size(), 58u);
  u64 pairs = 0;
  for (const std::vector<i16>& block : blocks_) {
    EXPECT_TRUE(block.size() == 1040 || block.size() == 1042) << block.size();
    pairs += block.size() / 2;
  }
  const u64 made = pairs + M().mixer.outputCount / 2;
  EXPECT_NEAR(static_cast<double>(made), 31250.0, 64.0);
}

TEST_F(MachineSound, TheProcessorStaysLevelWithTheMainOne) {
  Boot(CountingProgram());
  for (u32 i = 0; i < 10; ++i) {
    M().FrameStep();
    EXPECT_NEAR(M().state.soundTime, M().queue.LastFired(), 110.0);
    EXPECT_FALSE(M().sound.IsInSlice());
  }
}

TEST_F(MachineSound, TwoMachinesGiveTheSameSamples) {
  Boot(CountingProgram());
  Frames(20);
  const auto first = blocks_;
  blocks_.clear();
  auto* const other = new CVXMachine;
  other->onAudioBlock = M().onAudioBlock;
  std::memcpy(other->flatMem + kFlatSoundRoms, M().flatMem + kFlatSoundRoms, 4096);
  other->bLoaded = 1;
  other->Reset();
  for (u32 i = 0; i < 20; ++i) other->RunFrame();
  EXPECT_EQ(blocks_, first);
  other->Destruct(1);
}

// --- Commands ------------------------------------------------------------------------------------

class MachineCommands : public MachineSound {
 protected:
  void Write(u32 address, u32 value) {
    M().ioWrite[(address - kIoBase) >> 4].write32(&M(), address, value);
  }
  // One strobe with a command in the latch, in register layout A.
  void Strobe(u32 command) {
    Write(0x10000098, command);
    Write(0x10000090, 2);
    Write(0x10000090, 0);
  }
  u32 Queued(u32 index) {
    return static_cast<u32>(M().instances.slots[index].instance->Commands().size());
  }
};

TEST_F(MachineCommands, AStrobeHandsTheLatchToTheBoard) {
  Strobe(0x12345678);
  EXPECT_EQ(M().soundBoard.link.commandLatch, 0x5678);
  EXPECT_EQ(M().sound.state.irqLevel, u32{kPendingCommand});
}

TEST_F(MachineCommands, AGlobalCommandIsForwardedAsFourBytes) {
  M().SetInstanceCount(2);
  for (const u32 command : {0x155u, 0x203u, 0x304u, 0x405u, 0x506u}) Strobe(command);
  EXPECT_EQ(M().instances.slots[0].instance->Commands(), (std::vector<u16>{0x55, 3, 4, 5}));
  EXPECT_EQ(Queued(1), 4u);
  EXPECT_EQ(M().state.soundForwardCount, 0u);
}

TEST_F(MachineCommands, AMarkInSecondPlaceIsAnOrdinaryByte) {
  M().SetInstanceCount(1);
  Strobe(0x01);
  Strobe(0x55);
  EXPECT_EQ(Queued(0), 0u);
  Strobe(0x55);
  EXPECT_EQ(Queued(0), 1u);
}

TEST_F(MachineCommands, WithoutClonesNothingIsForwarded) {
  Strobe(0x55);
  EXPECT_EQ(M().state.soundForwardCount, 0u);
}

TEST_F(MachineCommands, ASoundResetPutsThePhaseBack) {
  Boot(CountingProgram());
  Strobe(0x01);
  EXPECT_NE(M().state.frameFlags & kRunFlagSoundPhase, 0u);
  M().sound.state.pc = 9;
  Write(0x10000088, 0);
  EXPECT_EQ(M().state.frameFlags & kRunFlagSoundPhase, 0u);
  EXPECT_EQ(M().sound.state.pc, 0u);
  EXPECT_EQ(M().soundBoard.link.soundResetHeld, 1);
  Write(0x10000088, 1);
  EXPECT_EQ(M().soundBoard.link.soundResetHeld, 0);
}

// --- Clones --------------------------------------------------------------------------------------

TEST_F(MachineSound, ClonesStartAtTheSoundProcessorsTimeAndStayLevel) {
  Boot(CountingProgram());
  Frames(5);
  M().SetInstanceCount(3);
  ASSERT_EQ(M().instances.slots.size(), 3u);
  EXPECT_EQ(M().instances.slots[2].time, M().state.soundTime);
  Frames(5);
  for (const SDspInstanceSlot& slot : M().instances.slots) {
    EXPECT_NEAR(slot.time, M().state.soundTime, 0.2);
  }
  M().SetInstanceCount(0);
  EXPECT_TRUE(M().instances.slots.empty());
  Frames(2);
}

TEST_F(MachineSound, ClonesKeepTheMainBoardsSampleCount) {
  Boot(CountingProgram());
  Frames(5);
  M().SetInstanceCount(2);
  for (u32 i = 0; i < 2; ++i) M().instances.slots[i].position[1] = 1.0f;
  M().instances.slots[0].range = 100.0f;
  for (u32 frame = 0; frame < 30; ++frame) {
    for (SDspInstanceSlot& slot : M().instances.slots) slot.instance->processor.WakeUp();
    M().FrameStep();
    for (const SDspInstanceSlot& slot : M().instances.slots) {
      EXPECT_EQ(slot.instance->board.sampleCount, M().soundBoard.sampleCount);
    }
    M().MixFrame();
  }
}

TEST_F(MachineSound, CloneTimesStartAnewWithTheTimelineAtAReset) {
  Boot(CountingProgram());
  Frames(3);
  M().SetInstanceCount(1);
  Frames(1);
  M().Reset();
  EXPECT_EQ(M().instances.slots[0].time, 0.0);
  Frames(3);
}

TEST_F(MachineSound, CloneTimesMoveByWholeCycles) {
  Boot(CountingProgram());
  M().SetInstanceCount(1);
  M().FrameStep();
  const f64 cycles = M().instances.slots[0].time * kSoundClockMHz;
  EXPECT_GT(cycles, 166000.0);
  EXPECT_NEAR(cycles, std::round(cycles), 1e-3) << "the frame's end is no whole number of them";
}

TEST_F(MachineSound, ALookAheadCloneOfTheMachineHasNone) {
  auto* const clone = new CVXMachine;
  clone->parent = &M();
  clone->SetInstanceCount(2);
  EXPECT_TRUE(clone->instances.slots.empty());
  clone->Destruct(1);
}

TEST_F(MachineSound, PreciseTimeIsThatOfTheProcessorInsideItsSlice) {
  M().state.soundTime = 100.0;
  M().sound.state.cycleTarget = 50;
  M().sound.state.cycles = 20;
  EXPECT_EQ(M().queue.Now(), 102.0);
  M().sound.state.cycleTarget = 0;
  M().sound.state.cycles = 0;
  M().SetInstanceCount(2);
  M().instances.slots[1].time = 300.0;
  SADSPState& clone = M().instances.slots[1].instance->processor.state;
  clone.cycleTarget = 50;
  clone.cycles = 10;
  EXPECT_EQ(M().queue.Now(), 301.0);
  M().queue.NotifyEarliest();
  EXPECT_EQ(clone.cycles, 50u);
  EXPECT_EQ(clone.cutCycles, 11u);
  clone.cycleTarget = clone.cycles = clone.cutCycles = 0;
}

}  // namespace
}  // namespace vx::test
