#include "host/Rewind.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "host/StateSections.h"

namespace vx {

namespace {

using CBytes = std::vector<u8>;

CBytes RandomBytes(std::size_t count, u32 seed) {
  std::mt19937 random(seed);
  CBytes bytes(count);
  for (u8& byte : bytes) byte = static_cast<u8>(random());
  return bytes;
}

// A stream as the machine writes it, small only where it may be.
struct SStream {
  u32 version = 4;
  std::vector<u32> blobBytes;
  u32 events = 3;
  u32 clients = 1;
  u32 mapLow = 0x80000, mapHigh = 0x80003;
  u32 heldSamples = 0;
  u32 tail = 0;
  u32 deltaWords = 2, firstWord = 0;
  std::vector<u64> bitmap = {0};

  CBytes Bytes() const {
    CBytes bytes;
    const auto put = [&](auto value) {
      const u8* const first = reinterpret_cast<const u8*>(&value);
      bytes.insert(bytes.end(), first, first + sizeof(value));
    };
    const auto fill = [&](std::size_t count, u8 value) { bytes.insert(bytes.end(), count, value); };
    put(version);
    fill(0x880000, 1);
    fill(192, 2);
    put(static_cast<u32>(blobBytes.size()));
    for (const u32 size : blobBytes) {
      put(u64{7});
      put(size);
      fill(size, 3);
    }
    put(f64{0});
    put(events);
    put(clients);
    fill(24 * events + 8 * clients, 4);
    const std::size_t context = bytes.size();
    fill(3696, 5);
    std::memcpy(bytes.data() + context + 1368, &mapLow, 4);
    std::memcpy(bytes.data() + context + 1372, &mapHigh, 4);
    fill(16384, 6);
    if (mapHigh >= mapLow) fill((mapHigh - mapLow + 1) * 8, 7);
    fill(13792, 8);
    put(heldSamples);
    fill(heldSamples * 2, 9);
    put(tail);
    fill(tail * 4, 10);
    fill(584 + 32 + 512 + 120 + 1, 11);
    put(u64{0});
    put(deltaWords);
    put(firstWord);
    put(firstWord + static_cast<u32>(bitmap.size()) - 1);
    put(u32{0});
    if (deltaWords != 0) {
      u8 sector = 100;
      for (const u64 word : bitmap) put(word);
      for (const u64 word : bitmap) {
        for (u64 rest = word; rest != 0; rest &= rest - 1) fill(512, sector++);
      }
    }
    put(u32{0});
    return bytes;
  }
};

}  // namespace

TEST(StateSections, ThePartsOfAStreamAreFound) {
  SStream stream;
  stream.blobBytes = {5, 0};
  stream.heldSamples = 11;
  stream.tail = 2;
  stream.bitmap = {0b101, 1};
  const CBytes bytes = stream.Bytes();
  const auto sections = FindStateSections(bytes);
  ASSERT_TRUE(sections);
  EXPECT_EQ(bytes[sections->context - 1], 4);
  EXPECT_EQ(bytes[sections->context], 5);
  EXPECT_EQ(bytes[sections->sound - 1], 7);
  EXPECT_EQ(bytes[sections->sound], 8);
  EXPECT_EQ(bytes[sections->disk - 1], 11);
  EXPECT_EQ(sections->bitmap, sections->disk + 24);
  EXPECT_EQ(sections->bitmapWords, 2u);
  EXPECT_EQ(bytes[sections->bitmap], 0b101);
  EXPECT_EQ(bytes[sections->sectors], 100);
  EXPECT_EQ(bytes[sections->sectors + 1024], 102);
  EXPECT_EQ(sections->instances, bytes.size() - 4);
}

TEST(StateSections, AnEmptyPageRangeAndNoBitmapAreFound) {
  SStream stream;
  stream.mapLow = 1;
  stream.mapHigh = 0;
  stream.deltaWords = 0;
  const CBytes bytes = stream.Bytes();
  const auto sections = FindStateSections(bytes);
  ASSERT_TRUE(sections);
  EXPECT_EQ(sections->bitmapWords, 0u);
  EXPECT_EQ(sections->instances, bytes.size() - 4);
}

TEST(StateSections, StreamsOfAnotherVersionOrShapeAreRefused) {
  SStream stream;
  stream.bitmap = {3};
  CBytes bytes = stream.Bytes();
  for (std::size_t cut = 1; cut < 20000; cut += 7) {
    EXPECT_FALSE(FindStateSections({bytes.data(), bytes.size() - cut})) << cut;
  }
  EXPECT_FALSE(FindStateSections({}));
  bytes = SStream().Bytes();
  const u32 huge = 0xFFFFFFFF;
  for (const std::size_t at :
       {std::size_t{0}, std::size_t{4 + 0x880000 + 192}, std::size_t{4 + 0x880000 + 192 + 12}}) {
    CBytes changed = bytes;
    std::memcpy(changed.data() + at, &huge, 4);
    EXPECT_FALSE(FindStateSections(changed)) << at;
  }
}

TEST(Rewind, StatesComeBackNewestFirst) {
  CRewind rewind(100, 1 << 30);
  std::vector<CBytes> states;
  CBytes state = RandomBytes(100'000, 1);
  std::mt19937 random(2);
  for (u32 i = 0; i < 50; ++i) {
    for (u32 change = 0; change < 20; ++change) {
      state[random() % state.size()] = static_cast<u8>(random());
    }
    states.push_back(state);
    rewind.Push(state);
  }
  EXPECT_EQ(rewind.Count(), 50u);
  CBytes back;
  for (u32 i = 50; i-- > 0;) {
    ASSERT_TRUE(rewind.Pop(back));
    ASSERT_EQ(back, states[i]) << i;
  }
  EXPECT_FALSE(rewind.Pop(back));
}

TEST(Rewind, StatesOfDifferentLengthComeBack) {
  CRewind rewind(100, 1 << 30);
  std::vector<CBytes> states;
  for (u32 i = 0; i < 30; ++i) {
    states.push_back(RandomBytes((i * 7919) % 3000, i));
    rewind.Push(states.back());
  }
  CBytes back;
  for (u32 i = 30; i-- > 0;) {
    ASSERT_TRUE(rewind.Pop(back));
    ASSERT_EQ(back, states[i]) << i;
  }
}

TEST(Rewind, GoingOnFromAnEarlierStateForgetsWhatCameBehindIt) {
  CRewind rewind(100, 1 << 30);
  const CBytes a = RandomBytes(1000, 1), b = RandomBytes(1000, 2), c = RandomBytes(1000, 3);
  rewind.Push(a);
  rewind.Push(b);
  CBytes back;
  rewind.Pop(back);
  rewind.Push(c);
  ASSERT_TRUE(rewind.Pop(back));
  EXPECT_EQ(back, c);
  ASSERT_TRUE(rewind.Pop(back));
  EXPECT_EQ(back, a);
  EXPECT_FALSE(rewind.Pop(back));
  EXPECT_EQ(rewind.PackedBytes(), 0u);
}

TEST(Rewind, TheNumberOfStatesIsBounded) {
  CRewind rewind(5, 1 << 30);
  for (u32 i = 0; i < 20; ++i) rewind.Push(RandomBytes(1000, i));
  EXPECT_EQ(rewind.Count(), 5u);
  CBytes back;
  for (u32 i = 20; i-- > 15;) {
    ASSERT_TRUE(rewind.Pop(back));
    EXPECT_EQ(back, RandomBytes(1000, i));
  }
  EXPECT_FALSE(rewind.Pop(back));
}

TEST(Rewind, TheMemoryIsBounded) {
  CRewind rewind(1000, 20'000);
  for (u32 i = 0; i < 100; ++i) {
    rewind.Push(RandomBytes(4096, i));
    EXPECT_LE(rewind.PackedBytes(), 20'000u);
  }
  EXPECT_GE(rewind.Count(), 4u);
  EXPECT_LE(rewind.Count(), 6u);
}

TEST(Rewind, AStateThatHasNotChangedTakesNothing) {
  CRewind rewind(1000, 1 << 20);
  const CBytes state = RandomBytes(500'000, 1);
  for (u32 i = 0; i < 10; ++i) rewind.Push(state);
  EXPECT_EQ(rewind.Count(), 10u);
  EXPECT_EQ(rewind.PackedBytes(), 0u);
}

TEST(Rewind, APartThatGrowsDoesNotMakeTheRestLookNew) {
  CRewind rewind(1000, 1 << 30);
  std::vector<CBytes> states;
  for (u32 i = 0; i < 6; ++i) {
    SStream stream;
    stream.events = 3 + i % 3;
    stream.heldSamples = 100 + 13 * i;
    stream.mapHigh = 0x80000 + 20000;
    stream.bitmap[0] = (u64{1} << i) - 1;
    states.push_back(stream.Bytes());
    rewind.Push(states.back());
  }
  EXPECT_LT(rewind.PackedBytes(), 20'000u);
  CBytes back;
  for (u32 i = 6; i-- > 0;) {
    ASSERT_TRUE(rewind.Pop(back));
    ASSERT_TRUE(back == states[i]) << i;
  }
}

TEST(Rewind, AStateBeyondTheRoomForOneStartsAnew) {
  CRewind rewind(10, 1 << 30);
  rewind.Push(RandomBytes(100, 1));
  rewind.Push(CBytes(kStateBufferSize + 1));
  EXPECT_EQ(rewind.Count(), 0u);
  rewind.Push(RandomBytes(100, 2));
  CBytes back;
  EXPECT_TRUE(rewind.Pop(back));
  EXPECT_EQ(back, RandomBytes(100, 2));
}

}  // namespace vx
