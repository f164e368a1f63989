// Positional sound: clones, sounds of the ROM, the listener.
#include "tests/script/ScriptTest.h"

namespace vx::test {
namespace {

constexpr u32 kInstances = 59, kIsPositional = 60, kGetChannel = 61, kSetChannel = 62;
constexpr u32 kListener = 63, kPlay = 64;

class CScriptSound : public CScriptTest {
 protected:
  // A sound ROM in which command c has a simple record on channel c, for c from 1 to 7.
  CScriptSound() {
    u8* const rom = m->flatMem + kFlatSoundRoms;
    rom[0x4041] = 0x50;  // table at 0x5000
    for (u32 c = 1; c < 8; ++c) {
      const u32 record = 0x6000 + 16 * c;
      rom[0x5000 + 3 * c + 1] = static_cast<u8>(record >> 8);
      rom[0x5000 + 3 * c + 2] = static_cast<u8>(record);
      rom[record] = 1;
      rom[record + 1] = static_cast<u8>(c);
      rom[record + 2] = rom[record + 3] = 0xFF;
    }
  }
  u32 Channel(u32 sound) { return Ask<u32>(kGetChannel, {kOut, sound}); }
  u32 Play(u32 sound, f32 range) {
    constexpr f32 kPosition[3] = {1.0f, 2.0f, 3.0f};
    Put(kIn, kPosition);
    Put(kIn + 0x40, range);
    return Ask<u32>(kPlay, {sound, kIn, kIn + 0x40, kOut});
  }
};

TEST_F(CScriptSound, InstancesStartChangeAndStop) {
  Boot();
  Scalar(kInstances, 0);
  EXPECT_FALSE(m->instances.IsActive());
  Scalar(kInstances, 3);
  ASSERT_EQ(m->instances.slots.size(), 3u);
  const CInstancedADSP* const first = m->instances.slots[0].instance.get();
  Scalar(kInstances, 3);
  EXPECT_EQ(m->instances.slots[0].instance.get(), first);  // the same number changes nothing
  Scalar(kInstances, 2);
  EXPECT_EQ(m->instances.slots.size(), 2u);
  Scalar(kInstances, 0);
  EXPECT_FALSE(m->instances.IsActive());
  EXPECT_TRUE(m->instances.slots.empty());
}

TEST_F(CScriptSound, NoMoreInstancesStartThanAChannelCanName) {
  Scalar(kInstances, 0xFFFFFFFF);
  EXPECT_EQ(m->instances.slots.size(), 256u);
  const CInstancedADSP* const first = m->instances.slots[0].instance.get();
  Scalar(kInstances, 1000);
  EXPECT_EQ(m->instances.slots[0].instance.get(), first);
  Scalar(kInstances, 0);
}

TEST_F(CScriptSound, ACloneOfTheMachineHasNoInstances) {
  CVXMachine* const parent = new CVXMachine;
  m->parent = parent;
  Scalar(kInstances, 2);
  EXPECT_TRUE(m->instances.slots.empty());
  m->parent = nullptr;
  parent->Destruct(1);
}

TEST_F(CScriptSound, ASoundTellsItsChannelAndWhetherItIsSimple) {
  EXPECT_EQ(Channel(5), 5u);
  EXPECT_EQ(Channel(0x10005), 5u);  // only 16 bits are looked at
  EXPECT_EQ(Ask<u32>(kIsPositional, {kOut, 5}), 1u);
  m->flatMem[kFlatSoundRoms + 0x6000 + 16 * 5] = 2;
  EXPECT_EQ(Ask<u32>(kIsPositional, {kOut, 5}), 0u);
}

TEST_F(CScriptSound, AGlobalCommandHasNoChannel) {
  EXPECT_EQ(Channel(0x5501), 0xFFFFFFFFu);
  EXPECT_EQ(Ask<u32>(kIsPositional, {kOut, 0x5501}), 0u);
  const std::vector<u8> before(m->flatMem + kFlatSoundRoms, m->flatMem + kFlatBytes);
  Call(kSetChannel, {0x5501, 9});
  EXPECT_TRUE(std::equal(before.begin(), before.end(), m->flatMem + kFlatSoundRoms));
}

TEST_F(CScriptSound, AChannelIsSetWhereItIsRead) {
  Call(kSetChannel, {5, 0xFF09});
  EXPECT_EQ(Channel(5), 9u);
  EXPECT_EQ(Channel(4), 4u);
}

TEST_F(CScriptSound, ASoundWithoutARecordHasNoChannelToSet) {
  u8* const rom = m->flatMem + kFlatSoundRoms;
  rom[0x5000 + 3 * 6] = 0x80;
  const std::vector<u8> before(rom, m->flatMem + kFlatBytes);
  Call(kSetChannel, {6, 9});
  EXPECT_TRUE(std::equal(before.begin(), before.end(), rom));
}

TEST_F(CScriptSound, TheListenerIsSetOnlyByFourVectors) {
  for (u32 i = 0; i < 4; ++i) {
    for (u32 k = 0; k < 3; ++k) Put(kIn + 0x40 * i + 4 * k, static_cast<f32>(10 * i + k + 1));
  }
  Call(kListener, {kIn, kIn + 0x40, 0, kIn + 0xC0, 7});
  EXPECT_EQ(m->state.frameFlags & kFrameScriptListener, 0u);
  EXPECT_EQ(m->state.bInvertRight, 7u);
  Call(kListener, {kIn, kIn + 0x40, kIn + 0x80, kIn + 0xC0, 0});
  EXPECT_NE(m->state.frameFlags & kFrameScriptListener, 0u);
  EXPECT_EQ(m->state.bInvertRight, 0u);
  for (u32 i = 0; i < 4; ++i) {
    for (u32 k = 0; k < 3; ++k) EXPECT_EQ(m->state.listenerVectors[i][k], 10.0f * i + k + 1);
  }
}

TEST_F(CScriptSound, ASoundPlaysOnTheInstanceOfItsChannel) {
  Boot();
  EXPECT_EQ(Play(2, 5.0f), 0u);  // none is active
  Scalar(kInstances, 3);
  // The pack has its own sound ROMs; lay the record anew.
  u8* const rom = m->flatMem + kFlatSoundRoms;
  rom[0x4040] = rom[0x4042] = 0;
  rom[0x4041] = 0x50;
  const u8 entry[] = {0, 0x60, 0x20};
  std::memcpy(rom + 0x5006, entry, sizeof(entry));
  rom[0x6021] = 2;
  EXPECT_EQ(Play(0x70002, 5.0f), 1u);
  EXPECT_EQ(m->instances.slots[2].range, 5.0f);
  EXPECT_EQ(m->instances.slots[2].position[1], 2.0f);
  rom[0x6021] = 3;
  EXPECT_EQ(Play(2, 5.0f), 0u);
  EXPECT_EQ(Play(0x5502, 5.0f), 0u);
}

}  // namespace
}  // namespace vx::test
