#include "blocks/BlockTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace vx {

namespace {

u32 First(CVXMachine*, u32 pc) { return pc; }
u32 Second(CVXMachine*, u32 pc) { return pc + 4; }
constexpr NativeBlock kNatives[] = {First, Second};

// An image of the given blocks, all in one bucket, in the order in which they are given.
class CTableImage {
 public:
  CTableImage() : words_(kBlockTableHeadBytes / sizeof(u64), 0) {
    words_[0] = kBlockTableSignature;
  }

  void Add(const std::vector<std::vector<u32>>& blocks) {
    SBlockBucket& bucket = BucketOf(blocks[0][0]);
    bucket = {static_cast<u32>(blocks.size()), 0, Bytes()};
    const u64 entries = words_.size();
    words_.resize(words_.size() + 2 * blocks.size());
    for (u32 i = 0; i < blocks.size(); ++i) {
      const SBlockEntry entry = {static_cast<u32>(blocks[i].size()), i, Bytes()};
      std::memcpy(&words_[entries + 2 * i], &entry, sizeof(entry));
      std::vector<u64> code((blocks[i].size() + 1) / 2, 0);
      std::memcpy(code.data(), blocks[i].data(), blocks[i].size() * sizeof(u32));
      words_.insert(words_.end(), code.begin(), code.end());
    }
  }
  SBlockBucket& BucketOf(u32 word) {
    return reinterpret_cast<SBlockBucket*>(&words_[1])[BlockBucketOf(word)];
  }
  SBlockEntry& EntryOf(u32 word, u32 index) {
    return *reinterpret_cast<SBlockEntry*>(&words_[BucketOf(word).entries / 8 + 2 * index]);
  }
  u64 Bytes() const { return words_.size() * sizeof(u64); }
  CBlockTable Table() {
    CBlockTable table;
    table.Install(words_, Bytes(), kNatives);
    return table;
  }
  u64& Signature() { return words_[0]; }

 private:
  std::vector<u64> words_;
};

class BlockTable : public testing::Test {
 protected:
  BlockTable() : memory(kFlatBytes, 0) {}
  void Place(u32 offset, const std::vector<u32>& code) {
    std::memcpy(memory.data() + offset, code.data(), code.size() * sizeof(u32));
  }
  std::vector<u8> memory;
  CTableImage image;
};

constexpr u32 kWord = 0x24020001;

TEST_F(BlockTable, FindsABlockWhereverItsCodeLies) {
  image.Add({{kWord, 2, 3}});
  const CBlockTable table = image.Table();
  for (const u32 offset : {0u, 0x1000u, 0x87FFF4u}) {
    Place(offset, {kWord, 2, 3});
    EXPECT_EQ(table.LookUp(memory.data(), kWord, offset), First) << offset;
  }
  Place(0x2000, {kWord, 2, 4});
  EXPECT_EQ(table.LookUp(memory.data(), kWord, 0x2000), nullptr);
}

TEST_F(BlockTable, OfTwoWithTheSameStartTheFirstThatMatchesWhollyWins) {
  image.Add({{kWord, 2, 3, 4}, {kWord, 2}});
  const CBlockTable table = image.Table();
  Place(0, {kWord, 2, 3, 4});
  EXPECT_EQ(table.LookUp(memory.data(), kWord, 0), First);
  Place(0, {kWord, 2, 3, 5});
  EXPECT_EQ(table.LookUp(memory.data(), kWord, 0), Second);
}

TEST_F(BlockTable, AMatchAtTheEndOfRamReadsOnIntoTheRom) {
  image.Add({{kWord, 7}});
  const CBlockTable table = image.Table();
  Place(0x87FFFC, {kWord, 7});
  EXPECT_EQ(table.LookUp(memory.data(), kWord, 0x87FFFC), First);
  Place(0x87FFFC, {kWord, 8});
  EXPECT_EQ(table.LookUp(memory.data(), kWord, 0x87FFFC), nullptr);
}

TEST_F(BlockTable, WithoutItsSignatureItIsEmpty) {
  image.Add({{kWord, 2}});
  Place(0, {kWord, 2});
  image.Signature() ^= 1;
  EXPECT_EQ(image.Table().LookUp(memory.data(), kWord, 0), nullptr);
}

TEST_F(BlockTable, ABucketThatLeavesTheImageOrTheNativesIsEmpty) {
  image.Add({{kWord, 2}});
  Place(0, {kWord, 2});
  ASSERT_EQ(image.Table().LookUp(memory.data(), kWord, 0), First);
  const auto isEmptyWith = [&](auto change) {
    CTableImage changed = image;
    change(changed);
    return changed.Table().LookUp(memory.data(), kWord, 0) == nullptr;
  };
  EXPECT_TRUE(isEmptyWith([](auto& i) { i.BucketOf(kWord).entries = i.Bytes(); }));
  EXPECT_TRUE(isEmptyWith([](auto& i) { i.BucketOf(kWord).entries += 4; }));
  EXPECT_TRUE(isEmptyWith([](auto& i) { i.BucketOf(kWord).entries = ~u64{7}; }));
  EXPECT_TRUE(isEmptyWith([](auto& i) { i.BucketOf(kWord).count = 0xFFFFFFFF; }));
  EXPECT_TRUE(isEmptyWith([](auto& i) { i.EntryOf(kWord, 0).nativeIndex = 2; }));
  EXPECT_TRUE(isEmptyWith([](auto& i) { i.EntryOf(kWord, 0).wordCount = 1; }));
  EXPECT_TRUE(isEmptyWith([](auto& i) { i.EntryOf(kWord, 0).wordCount = 0xFFFFFFFF; }));
  EXPECT_TRUE(isEmptyWith([](auto& i) { i.EntryOf(kWord, 0).words = ~u64{3}; }));
}

}  // namespace

}  // namespace vx
