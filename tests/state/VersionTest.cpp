// States of all versions that were ever written.
#include <xxhash.h>

#include "tests/state/StateWriter.h"

namespace vx::test {
namespace {

constexpr u32 kVersions = 5;

struct StateVersion : CStateTest {
  StateVersion() {
    Boot();
    Furnish(*m, 7);
  }
};

// The streams are made from fixed numbers, so that their hashes hold for all time: one that differs
// tells that the format has moved and that states of players no longer load.
TEST_F(StateVersion, TheStreamsOfAllVersionsAreWhatTheyWereWhenTheyWereFixed) {
  m->SetInstanceCount(1);
  constexpr u64 kHashes[kVersions] = {17106594887061038570u, 7273292692430460044u,
                                      1722999429819661803u, 5009870391307804350u,
                                      15084102857664678443u};
  constexpr size_t kShorter[kVersions] = {36 + 200 + 4 + 143 + 32, 36 + 200 + 4 + 143 + 32,
                                          36 + 200 + 4 + 143, 36 + 200, 0};
  const size_t full = Save(*m).size();
  for (u32 version = 0; version < kVersions; ++version) {
    const StateBytes bytes = WriteState(*m, version);
    EXPECT_EQ(XXH3_64bits(bytes.data(), bytes.size()), kHashes[version]) << version;
    EXPECT_EQ(full - bytes.size(), kShorter[version]) << version;
  }
}

TEST_F(StateVersion, ALoadedStateOfThePresentVersionSavesAsItWas) {
  m->SetInstanceCount(3);
  const StateBytes bytes = Save(*m);
  const BoardPtr other = Another();
  Furnish(*other, 8);
  ASSERT_TRUE(Load(*other, bytes));
  ExpectSame(Save(*other), bytes);
}

// What a version lacks stays as it was on the machine that loads, blobs apart, which all empty.
TEST_F(StateVersion, AnOlderStateLoadsWhatItHolds) {
  for (u32 version = 0; version < kVersions - 1; ++version) {
    const BoardPtr other = Another();
    Furnish(*other, 8);
    const SScriptState scriptBefore = other->scriptState;
    const SATATimingBlock timingBefore = other->ata.timing;
    const u32 tailBefore = other->mixer.tailCount = 33;
    const i32 tailValue = other->mixer.tail[5];

    ASSERT_TRUE(Load(*other, WriteState(*m, version))) << version;
    const bool bHasScript = version >= 2;
    EXPECT_EQ(std::memcmp(&other->scriptState, bHasScript ? &m->scriptState : &scriptBefore, 32), 0)
        << version;
    EXPECT_EQ(other->scriptBlobStore.size(), version >= 3 ? 3u : 0u) << version;
    EXPECT_EQ(std::memcmp(&other->ata.timing, &timingBefore, sizeof(timingBefore)), 0) << version;
    EXPECT_EQ(other->mixer.tailCount, tailBefore) << version;
    EXPECT_EQ(other->mixer.tail[5], tailValue) << version;

    // With those put right, nothing else may differ.
    other->scriptState = m->scriptState;
    other->scriptBlobStore = m->scriptBlobStore;
    other->ata.timing = m->ata.timing;
    other->mixer.tailCount = m->mixer.tailCount;
    std::copy_n(m->mixer.tail.get(), m->mixer.tailCount, other->mixer.tail.get());
    ExpectSame(Save(*other), Save(*m));
  }
}

TEST_F(StateVersion, ALaterVersionIsRefusedAndChangesNothing) {
  const StateBytes before = Save(*m);
  const BoardPtr other = Another();
  Furnish(*other, 8);
  StateBytes bytes = Save(*other);
  for (const u32 version : {5u, 6u, 0x80000000u, 0xFFFFFFFFu}) {
    PutAt(bytes, 0, version);
    EXPECT_FALSE(Load(*m, bytes)) << version;
  }
  ExpectSame(Save(*m), before);
}

TEST_F(StateVersion, FewerBytesThanAVersionTakesAreRefusedAndChangeNothing) {
  const StateBytes before = Save(*m);
  for (u32 size = 0; size < 4; ++size) {
    EXPECT_FALSE(Load(*m, StateBytes(before.begin(), before.begin() + size))) << size;
  }
  SStateStream nothing;
  EXPECT_FALSE(m->LoadState(&nothing));
  EXPECT_FALSE(m->LoadState(nullptr));
  ExpectSame(Save(*m), before);
}

}  // namespace
}  // namespace vx::test
