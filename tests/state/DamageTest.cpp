// States that are cut off, edited and invented: none may crash a machine, hang it or make it take
// memory without bound, and after each of them frames end.
#include <array>
#include <limits>
#include <random>

#include "tests/state/StateWriter.h"

namespace vx::test {
namespace {

// A board with a bit of everything, of which only what stands behind the RAMs is edited. One
// machine takes all states; the RAMs stay those of the boot program's loop.
struct StateDamage : CStateTest {
  StateDamage() {
    Boot();
    m->SetInstanceCount(2);
    Steps(2);
    m->scriptBlobStore[5].bytes.assign(40, 0x11);
    m->scriptBlobStore[9].bytes.assign(3, 0x22);
    m->mixer.outputCount = 20;
    m->mixer.PrepareTail(m->soundPort);
    m->mixer.tailCount = 6;
    for (const u64 sector : {2u, 9u}) {
      WriteSector(std::vector<u8>(kSectorBytes, 0x33).data(), sector, m.get());
    }
    good = Save(*m);
    boundaries = ItemBoundaries(*m, 4);
    bytes = good;
  }

  bool LoadPresent(u32 capacity) {
    SStateStream stream = {bytes.data(), capacity, 0, 0};
    return m->LoadState(&stream);
  }
  bool LoadPresent() { return LoadPresent(static_cast<u32>(bytes.size())); }

  // A few short slices: what a frame does, without all of it.
  void RunSome() {
    for (u32 i = 0; i < 3; ++i) {
      m->queue.Schedule(m->queue.LastFired() + 2.0, CEventQueue::kIdleId, 0);
      m->queue.Advance();
    }
    ASSERT_LE(m->mixer.outputCount, CMixer::kOutputValues);
    ASSERT_LE(m->mixer.tailCount, m->mixer.tailCapacity);
    ASSERT_LE(m->instances.slots.size(), 256u);
    ASSERT_LE(m->queue.Entries().size(), 66000u);
  }

  StateBytes good;
  std::vector<u32> boundaries;
  StateBytes bytes;
  std::mt19937 random{31};
};

TEST_F(StateDamage, AStateThatIsCutOffAtAnyItemLoadsAsFarAsItGoes) {
  for (u32 version = 0; version <= 4; ++version) {
    ASSERT_TRUE(Load(*m, good));
    bytes = WriteState(*m, version);
    for (const u32 boundary : ItemBoundaries(*m, version)) {
      for (const i64 offset : {-1, 0}) {
        const i64 capacity = boundary + offset;
        if (capacity < 0 || capacity > static_cast<i64>(bytes.size())) continue;
        const bool bLoaded = LoadPresent(static_cast<u32>(capacity));
        // What follows a missing item is read from another place, and can be refused then.
        ASSERT_TRUE(capacity >= 4 || !bLoaded);
        RunSome();
        ASSERT_FALSE(HasFatalFailure()) << version << ": " << capacity;
      }
    }
  }
}

TEST_F(StateDamage, CountsAndSizesAtTheirExtremesDoNoHarm) {
  const auto place = [&](auto isIt) {
    for (const u32 boundary : boundaries) {
      if (isIt(boundary)) return boundary;
    }
    return u32{0};
  };
  const u32 queue = kAtQueue + 2 * 12 + 43;
  const u32 events = ValueAt<u32>(good, queue + 8);
  const u32 context = queue + 16 + 24 * events + 8;
  const u32 delta = static_cast<u32>(good.size()) - 4 - 2 * 13956 - 2 * 512 - 8 - 24;
  const u32 output = context + 3696 + 16384 + 2097152 + 13792;
  ASSERT_EQ(place([&](u32 b) { return b == output; }), output) << "an item begins there";
  ASSERT_EQ(place([&](u32 b) { return b == delta; }), delta);
  const u32 places[] = {
      kAtBlobCount,   kAtBlobCount + 12, queue + 8,  queue + 12,
      context + 1368, context + 1372,    output,     output + 4 + 40,
      delta + 8,      delta + 12,        delta + 16, static_cast<u32>(good.size()) - 4 - 2 * 13956};
  for (const u32 at : places) {
    for (const u32 value :
         {0u, 1u, 255u, 16385u, 0x100000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
      PutAt(bytes, at, value);
      LoadPresent();
      RunSome();
      ASSERT_FALSE(HasFatalFailure()) << at << ": " << value;
    }
    m->FrameStep();
    ASSERT_GE(m->vBlankCount, 1u) << at;
    PutAt(bytes, at, ValueAt<u32>(good, at));
  }
}

TEST_F(StateDamage, EveryCombinationOfDepthsInTheSoundProcessorRuns) {
  const u32 queue = kAtQueue + 2 * 12 + 43;
  const u32 context = queue + 16 + 24 * ValueAt<u32>(good, queue + 8) + 8;
  const u32 sound = context + 3696 + 16384 + 2097152;
  for (const u32 offset : {13324u, 13440u, 13508u, 13528u, 13548u, 13312u, 13316u, 13320u}) {
    for (const u32 value : {0u, 3u, 17u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
      PutAt(bytes, sound + offset, value);
      ASSERT_TRUE(LoadPresent());
      m->queue.Advance();
    }
    m->FrameStep();
    ASSERT_GE(m->vBlankCount, 1u);
    PutAt(bytes, sound + offset, ValueAt<u32>(good, sound + offset));
  }
}

// Edits of a few bytes, of values that mean something, in what stands behind the RAMs and the page
// map. Each edit is undone in place, and what stands before is left out: a state is too large to be
// copied for each of them.
TEST_F(StateDamage, TwentyThousandEditedStatesDoNoHarm) {
  constexpr u32 kRounds = 20000;
  constexpr std::array<f64, 8> kTimes = {
      0.0, -1.0, 1e300, -1e300, 1e-300, 2000., 1e9, std::numeric_limits<f64>::infinity()};
  m->cpu.mapHigh = m->cpu.mapLow + 15;
  bytes = good = Save(*m);
  const u32 queue = kAtQueue + 2 * 12 + 43;
  const u32 context = queue + 16 + 24 * ValueAt<u32>(good, queue + 8) + 8;
  const u32 pages = context + 3696;
  const u32 sound = pages + 16384 + 16 * 8;
  const u32 size = static_cast<u32>(good.size());
  const auto pick = [&]() -> u32 {
    switch (random() % 8) {
      case 0:
        return kAtState + random() % 192;
      case 1:
        return kAtBlobCount + random() % (queue - kAtBlobCount);
      case 2:
        return queue + random() % (context - queue);
      case 3:
        return context + random() % 3696;
      case 4:
        return pages + random() % 16384;
      case 5:
        return sound + 13312 + random() % 480;
      case 6:
        return size - random() % (2 * 13956 + 2000);
      default:
        return sound + random() % (size - sound);
    }
  };
  std::vector<std::pair<u32, u8>> undo;
  const auto put = [&](u32 at, const void* value, u32 count) {
    for (u32 i = 0; i < count && at + i < size; ++i) {
      undo.emplace_back(at + i, bytes[at + i]);
      bytes[at + i] = static_cast<const u8*>(value)[i];
    }
  };
  for (u32 round = 0; round < kRounds; ++round) {
    for (u32 edit = random() % 4 + 1; edit != 0; --edit) {
      const u32 at = pick();
      const u32 word = random() % 2 == 0 ? random() : 0xFFFFFFFFu >> random() % 32;
      const f64 time = kTimes[random() % kTimes.size()];
      switch (random() % 3) {
        case 0:
          put(at, &word, 1);
          break;
        case 1:
          put(at & ~3u, &word, 4);
          break;
        default:
          put(at, &time, 8);
          break;
      }
    }
    const u32 oldVersion = random() % 16;
    const u32 capacity = random() % 8 == 0 ? kAtState + random() % (size - kAtState) : size;
    SStateStream stream = {bytes.data(), capacity, kAtState, 0};
    m->LoadBehindMemory(stream, std::min(oldVersion, 4u));
    RunSome();
    ASSERT_FALSE(HasFatalFailure()) << round;
    if (round % 500 == 499) {
      m->FrameStep();
      ASSERT_GE(m->vBlankCount, 1u) << round;
    }
    for (auto change = undo.rbegin(); change != undo.rend(); ++change) {
      bytes[change->first] = change->second;
    }
    undo.clear();
  }
}

TEST_F(StateDamage, AStreamOfNoiseBehindItsVersionDoesNoHarm) {
  for (u32 round = 0; round < 10; ++round) {
    bytes.assign(random() % (12u << 20), 0);
    for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
      const u32 value = random();
      std::memcpy(bytes.data() + i, &value, 4);
    }
    PutAt<u32>(bytes, 0, round % 5);
    LoadPresent();
    RunSome();
  }
}

}  // namespace
}  // namespace vx::test
