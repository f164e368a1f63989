// Order, sharing and the files of a library.
#include "blockgen/Library.h"

#include <gtest/gtest.h>

#include <cstring>

#include "blocks/Formats.h"
#include "tests/mips3/Encode.h"

namespace vx::blockgen {

namespace {

using namespace mips;

constexpr u32 kReturn = SpecialOp(8, kRa, 0, 0);

template <typename T>
T At(const std::vector<u8>& image, u64 offset) {
  T value;
  std::memcpy(&value, image.data() + offset, sizeof(T));
  return value;
}
SBlockBucket BucketOf(const std::vector<u8>& image, u32 word) {
  return At<SBlockBucket>(image, 8 + BlockBucketOf(word) * sizeof(SBlockBucket));
}

// Words whose bucket is the same for each first word.
const Words kShort = {kNop, kReturn, kNop};
const Words kLong = {kNop, kReturn, MainOp(9, kV0, kV0, 1)};
const Words kLonger = {kNop, MainOp(9, kV0, kV0, 1), kReturn, kNop};
const Words kLongest = {kNop, MainOp(9, kV0, kV0, 1), kNop, kReturn, kNop};
const Words kTopBit = {kNop, MainOp(43, kA0, kV0, 0), kReturn, kNop};  // a word above 0x80000000

TEST(TableImage, HoldsASignatureAndOneBucketForEachFirstWord) {
  const std::set<Words> blocks = {kShort};
  const std::vector<u8> image = TableImage(BuildLibrary(blocks));
  EXPECT_EQ(At<u64>(image, 0), kBlockTableSignature);
  const SBlockBucket bucket = BucketOf(image, kNop);
  EXPECT_EQ(bucket.count, 1u);
  const SBlockEntry entry = At<SBlockEntry>(image, bucket.entries);
  EXPECT_EQ(entry.wordCount, 3u);
  EXPECT_EQ(entry.nativeIndex, 0u);
  EXPECT_EQ(std::memcmp(image.data() + entry.words, kShort.data(), 12), 0);
  EXPECT_EQ(image.size(), kBlockTableHeadBytes + sizeof(SBlockEntry) + 12);
}

TEST(TableImage, SortsABucketByTheFirstTwoWordsAndPutsTheLongerFirst) {
  const std::set<Words> blocks = {kShort, kLong, kLonger, kLongest, kTopBit};
  const SLibrary library = BuildLibrary(blocks);
  std::vector<Words> order;
  for (const SRow& row : library.rows) order.push_back(*row.words);
  // kReturn is below the others as a number; the sort is unsigned.
  EXPECT_EQ(order, (std::vector<Words>{kShort, kLong, kLongest, kLonger, kTopBit}));
}

TEST(TableImage, NumbersNativesInTheOrderOfTheTable) {
  const Words other = {MainOp(9, kV0, kV0, 1), kReturn, kNop};
  const std::set<Words> blocks = {kShort, kLong, other};
  const std::vector<u8> image = TableImage(BuildLibrary(blocks));
  u32 next = 0;
  for (u32 i = 0; i < kBlockBucketCount; ++i) {
    const SBlockBucket bucket = At<SBlockBucket>(image, 8 + i * sizeof(SBlockBucket));
    for (u32 j = 0; j < bucket.count; ++j) {
      EXPECT_EQ(At<SBlockEntry>(image, bucket.entries + j * sizeof(SBlockEntry)).nativeIndex,
                next++);
    }
  }
  EXPECT_EQ(next, 3u);
}

TEST(Library, SharesOneFunctionAmongEqualBodies) {
  const Words add = {Add(kV0, kA0, kA1), kReturn, kNop};
  const Words addu = {Addu(kV0, kA0, kA1), kReturn, kNop};
  const std::set<Words> blocks = {add, addu};
  const SLibrary library = BuildLibrary(blocks);
  EXPECT_EQ(library.rows.size(), 2u);
  EXPECT_EQ(library.functions.size(), 1u);
  EXPECT_EQ(library.rows[0].function, library.rows[1].function);
}

TEST(Library, PutsEachFunctionInOneUnit) {
  std::set<Words> blocks;
  for (u32 i = 0; i < 50; ++i)
    blocks.insert({MainOp(9, kV0, kV0, static_cast<i32>(i)), kReturn, 0});
  const SLibrary library = BuildLibrary(blocks);
  for (const SFunction& function : library.functions) {
    u32 found = 0;
    for (u32 unit = 0; unit < 4; ++unit) {
      found += UnitSource(library, unit, 4).find(function.name + "(") != std::string::npos;
    }
    EXPECT_EQ(found, 1u);
  }
}

TEST(Library, ABlockMoreChangesOneUnit) {
  std::set<Words> blocks;
  for (u32 i = 0; i < 50; ++i)
    blocks.insert({MainOp(9, kV0, kV0, static_cast<i32>(i)), kReturn, 0});
  std::set<Words> more = blocks;
  more.insert(kLongest);
  const SLibrary before = BuildLibrary(blocks), after = BuildLibrary(more);
  u32 changed = 0;
  for (u32 unit = 0; unit < 8; ++unit) {
    changed += UnitSource(before, unit, 8) != UnitSource(after, unit, 8);
  }
  EXPECT_EQ(changed, 1u);
}

}  // namespace

}  // namespace vx::blockgen
