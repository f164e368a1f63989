// The stream of a save state, byte for byte.
#include "machine/StateFormat.h"
#include "tests/state/StateWriter.h"

namespace vx::test {
namespace {

struct StateLayout : CStateTest {};

TEST_F(StateLayout, WithoutAPackAStateAfterResetIsSoManyBytes) {
  m->Reset();
  EXPECT_EQ(Save(*m).size(), 11045501u);
}

TEST_F(StateLayout, WithAPackAStateAfterResetIsSoManyBytes) {
  Boot();
  EXPECT_EQ(Save(*m).size(), 11045533u);
}

TEST_F(StateLayout, ItsPartsStandAtTheirPlaces) {
  Boot();
  const StateBytes bytes = Save(*m, 1);
  struct SRow {
    const char* what;
    u32 offset;
    u32 fromEnd;  // 0: not told
    u32 size;
    const void* source;
  };
  const u32 version = 4;
  const u32 zero = 0;
  const u8 one = 1;
  // clang-format off
  const SRow rows[] = {
    { "version",         kAtVersion,       0,     4,       &version                  },
    { "low RAM",         kAtLowRam,        0,     0x80000, m->flatMem                },
    { "main RAM",        kAtMainRam,       0,     0x800000, m->flatMem + 0x80000     },
    { "state block",     kAtState,         0,     160,     &m->state                 },
    { "frame flags",     8913004,          0,     4,       &m->state.frameFlags      },
    { "rate in force",   8912988,          0,     8,       &m->state.frameRateInForce},
    { "random state",    8912996,          0,     4,       &m->state.randState       },
    { "script block",    kAtScriptState,   0,     32,      &m->scriptState           },
    { "blob count",      kAtBlobCount,     0,     4,       &zero                     },
    { "processor",       kAtContext,       0,     3696,    &m->cpu                   },
    { "low pages",       kAtLowPages,      0,     16384,   m->pages                  },
    { "tracked pages",   kAtTrackedPages,  0,     2097152, m->pages + 0x80000        },
    { "sound processor", kAtSound,         15085, 13792,   &m->sound.state           },
    { "output count",    kAtOutputCount,   1293,  4,       &zero                     },
    { "tail count",      kAtTailCount,     1289,  4,       &zero                     },
    { "drive",           kAtDrive,         1285,  584,     &m->ata.block             },
    { "drive timing",    kAtDriveTiming,   701,   32,      &m->ata.timing            },
    { "identify block",  kAtIdentify,      669,   512,     m->ata.identifyData       },
    { "sound link",      kAtSoundLink,     157,   120,     &m->soundBoard.link       },
    { "transient flag",  kAtTransient,     37,    1,       &one                      },
    { "delta header",    kAtDelta,         36,    24,      &m->deltaHeader           },
    { "dirty bitmap",    kAtBitmap,        0,     8,       m->dirtyBitmap.get()      },
    { "instance count",  kAtInstanceCount, 4,     4,       &zero                     },
  };
  // clang-format on
  ASSERT_EQ(bytes.size(), kResetStateBytes);
  for (const SRow& row : rows) {
    EXPECT_EQ(std::memcmp(bytes.data() + row.offset, row.source, row.size), 0) << row.what;
    if (row.fromEnd != 0) {
      EXPECT_EQ(bytes.size() - row.fromEnd, row.offset) << row.what;
    }
  }
}

TEST_F(StateLayout, EventsStandSoonestLastWithTheirIdsAndData) {
  Boot();
  const StateBytes bytes = Save(*m);
  struct SRow {
    f64 time;
    u32 id;
    u64 userData;
  };
  const SRow rows[] = {{1.0 / 60.0 * 1000.0 * 1000.0, 6, 0},
                       {1.0 / 60.0 * 1000.0 * 1000.0 * (240.0 / 262.0), 7, 0},
                       {2000.0, 1, 2},
                       {1000.0, 5, 0}};
  EXPECT_EQ(ValueAt<f64>(bytes, kAtQueue), 0.0);
  EXPECT_EQ(ValueAt<u32>(bytes, kAtQueue + 8), 4u);
  EXPECT_EQ(ValueAt<u32>(bytes, kAtQueue + 12), 1u);
  for (u32 i = 0; i < 4; ++i) {
    const u32 at = kAtQueue + 16 + 24 * i;
    EXPECT_DOUBLE_EQ(ValueAt<f64>(bytes, at), rows[i].time) << i;
    EXPECT_EQ(ValueAt<u32>(bytes, at + 8), rows[i].id) << i;
    EXPECT_EQ(ValueAt<u32>(bytes, at + 12), 0u) << i;
    EXPECT_EQ(ValueAt<u64>(bytes, at + 16), rows[i].userData) << i;
  }
  EXPECT_EQ(ValueAt<f64>(bytes, kAtQueue + 16 + 24 * 4), 0.0) << "the client's time";
}

TEST_F(StateLayout, BlobsFollowTheirCountByRisingKey) {
  Boot();
  m->scriptBlobStore[0x200000001] = {{1, 2, 3}};
  m->scriptBlobStore[5] = {{}};
  const StateBytes bytes = Save(*m);
  EXPECT_EQ(bytes.size(), kResetStateBytes + 2u * 12 + 3);
  EXPECT_EQ(ValueAt<u32>(bytes, kAtBlobCount), 2u);
  EXPECT_EQ(ValueAt<u64>(bytes, kAtBlobCount + 4), 5u);
  EXPECT_EQ(ValueAt<u32>(bytes, kAtBlobCount + 12), 0u);
  EXPECT_EQ(ValueAt<u64>(bytes, kAtBlobCount + 16), 0x200000001u);
  EXPECT_EQ(ValueAt<u32>(bytes, kAtBlobCount + 24), 3u);
  EXPECT_EQ(bytes[kAtBlobCount + 30], 3);
}

TEST_F(StateLayout, AnUntouchedDiskSavesOneWordOfItsBitmapAndNoSector) {
  Boot();
  const StateBytes bytes = Save(*m);
  const SDeltaHeader header = ValueAt<SDeltaHeader>(bytes, kAtDelta);
  EXPECT_EQ(header.bitmapWords, 1u);
  EXPECT_EQ(header.firstDirtyWord, 0u);
  EXPECT_EQ(header.lastDirtyWord, 0u);
  EXPECT_EQ(header.reserved0, 0u);
  EXPECT_EQ(header.reserved20, 0u);
  EXPECT_EQ(ValueAt<u64>(bytes, kAtBitmap), 0u);
  EXPECT_EQ(kAtBitmap + 8u, kAtInstanceCount + 0u);
}

TEST_F(StateLayout, EachInstanceTakesItsTimeItsPlaceAndBothItsBlocks) {
  Boot();
  m->SetInstanceCount(2);
  m->instances.slots[1].range = 7.5f;
  const StateBytes bytes = Save(*m);
  const size_t second = bytes.size() - 13956;
  EXPECT_EQ(ValueAt<u32>(bytes, second - 13956 - 4), 2u);
  EXPECT_EQ(ValueAt<f64>(bytes, second), m->instances.slots[1].time);
  EXPECT_EQ(ValueAt<f32>(bytes, second + 16 + 12), 7.5f);
  EXPECT_EQ(std::memcmp(bytes.data() + second + 44,
                        &m->instances.slots[1].instance->processor.state, 13792),
            0);
  EXPECT_EQ(std::memcmp(bytes.data() + bytes.size() - 120,
                        &m->instances.slots[1].instance->board.link, 120),
            0);
}

TEST_F(StateLayout, AFullBoardIsWrittenAsTheTableOfTheFormatTells) {
  Boot();
  Furnish(*m, 1);
  m->SetInstanceCount(3);
  ExpectSame(Save(*m, 1), WriteState(*m, 4, 1));
}

TEST_F(StateLayout, AStreamOfNoCapacityMeasuresAndChangesNothing) {
  Boot();
  Furnish(*m, 1);
  const StateBytes before = Save(*m);
  SStateStream stream;
  m->SaveState(&stream, 0);
  EXPECT_EQ(stream.position, before.size());
  u8 guard = 0x5A;
  stream = {&guard, 0, 0, 0};
  m->SaveState(&stream, 0);
  EXPECT_EQ(guard, 0x5A);
  ExpectSame(Save(*m), before);
}

TEST_F(StateLayout, AnOverflowingSaveTellsWhatItNeedsAndKeepsInsideItsRoom) {
  Boot();
  const StateBytes whole = Save(*m);
  StateBytes bytes(kAtContext + 100, 0xA5);
  SStateStream stream = {bytes.data(), kAtContext + 50, 0, 0};
  m->SaveState(&stream, 0);
  EXPECT_EQ(stream.position, whole.size());
  EXPECT_EQ(std::memcmp(bytes.data(), whole.data(), kAtContext), 0);
  for (u32 i = 0; i < 100; ++i) EXPECT_EQ(bytes[kAtContext + i], 0xA5) << "not even a part of it";
}

// Whatever a stream leaves unwritten keeps what its buffer held before.
TEST_F(StateLayout, TwoMachinesOfTheSameStateWriteTheSameBytesOverAnything) {
  Boot();
  const BoardPtr other = Another();
  for (CVXMachine* machine : {m.get(), other.get()}) {
    Furnish(*machine, 9);
    machine->SetInstanceCount(2);
    machine->FrameStep();
  }
  StateBytes streams[2];
  for (u32 i = 0; i < 2; ++i) {
    CVXMachine& machine = i == 0 ? *m : *other;
    SStateStream stream;
    machine.SaveState(&stream, 0);
    streams[i].assign(stream.position, i == 0 ? 0x00 : 0xFF);
    stream = {streams[i].data(), stream.position, 0, 0};
    machine.SaveState(&stream, 0);
  }
  ExpectSame(streams[0], streams[1]);
}

TEST_F(StateLayout, AMachineInMemoryThatWasUsedBeforeSavesTheSameBytes) {
  // Parts that are made anew during a machine's life come from memory that others have used.
  Boot();
  const BoardPtr other = Another();
  for (u32 round = 0; round < 3; ++round) {
    std::vector<std::vector<u8>> dirt;
    for (u32 i = 0; i < 64; ++i) dirt.emplace_back(size_t{1} << (6 + i % 13), u8{0xEE});
    dirt.clear();
    other->SetInstanceCount(3);
    other->SetInstanceCount(0);
  }
  m->SetInstanceCount(3);
  other->SetInstanceCount(3);
  ExpectSame(Save(*m), Save(*other));
}

TEST_F(StateLayout, TheHostIsToldOfTheRoomThatTheMachineTakesItself) {
  EXPECT_EQ(kStateBufferBytes, 20971520u);
}

}  // namespace
}  // namespace vx::test
