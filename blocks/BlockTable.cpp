#include "blocks/BlockTable.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "machine/HostAccess.h"

namespace vx {

namespace {

CBlockTable g_table;
std::once_flag g_tableOnce;

u64 KeyAt(const u8* code) {
  u64 key;
  std::memcpy(&key, code, sizeof(key));
  return key;
}

}  // namespace

bool CBlockTable::IsBucketValid(const SBlockBucket& bucket) const {
  if (bucket.entries == 0) return true;
  const u64 bytes = u64{bucket.count} * sizeof(SBlockEntry);
  if (bucket.entries % alignof(SBlockEntry) != 0 || bucket.entries > imageBytes_ ||
      bytes > imageBytes_ - bucket.entries) {
    return false;
  }
  const SBlockEntry* const entries = EntriesOf(bucket);
  return std::all_of(entries, entries + bucket.count, [&](const SBlockEntry& entry) {
    const u64 wordBytes = u64{entry.wordCount} * sizeof(u32);
    return entry.wordCount >= 2 && entry.nativeIndex < natives_.size() &&
           entry.words <= imageBytes_ && wordBytes <= imageBytes_ - entry.words;
  });
}

const SBlockEntry* CBlockTable::EntriesOf(const SBlockBucket& bucket) const {
  return reinterpret_cast<const SBlockEntry*>(reinterpret_cast<const u8*>(image_.data()) +
                                              bucket.entries);
}

void CBlockTable::Install(std::vector<u64> image, u64 imageBytes,
                          std::span<const NativeBlock> natives) {
  image_ = std::move(image);
  imageBytes_ = imageBytes;
  natives_ = natives;
  if (imageBytes_ < kBlockTableHeadBytes || image_[0] != kBlockTableSignature) {
    image_.clear();
    return;
  }
  auto* const buckets = reinterpret_cast<SBlockBucket*>(image_.data() + 1);
  for (u32 i = 0; i < kBlockBucketCount; ++i) {
    if (!IsBucketValid(buckets[i])) buckets[i] = {};
  }
}

NativeBlock CBlockTable::LookUp(const u8* flatMem, u32 word, u32 flatOffset) const {
  if (image_.empty() || flatOffset > kFlatBytes - sizeof(u64)) return nullptr;
  const auto* const buckets = reinterpret_cast<const SBlockBucket*>(image_.data() + 1);
  const SBlockBucket& bucket = buckets[BlockBucketOf(word)];
  if (bucket.entries == 0) return nullptr;

  const u8* const bytes = reinterpret_cast<const u8*>(image_.data());
  const u64 key = KeyAt(flatMem + flatOffset);
  const SBlockEntry* const end = EntriesOf(bucket) + bucket.count;
  const SBlockEntry* entry = std::partition_point(
      EntriesOf(bucket), end, [&](const SBlockEntry& e) { return KeyAt(bytes + e.words) < key; });
  // The first full match in table order wins.
  for (; entry != end && KeyAt(bytes + entry->words) == key; ++entry) {
    const u64 codeBytes = u64{entry->wordCount} * sizeof(u32);
    if (codeBytes > kFlatBytes - flatOffset) continue;
    if (std::memcmp(bytes + entry->words + 4, flatMem + flatOffset + 4, codeBytes - 4) == 0) {
      return natives_[entry->nativeIndex];
    }
  }
  return nullptr;
}

void LoadBlockTable() {
  std::call_once(g_tableOnce, [] {
    if (Host().DecompressTable == nullptr) return;
    const SBlockLibrary& library = BuiltInLibrary();
    const u64 bytes = library.image.size();
    std::vector<u64> image((bytes + sizeof(u64) - 1) / sizeof(u64), 0);
    Host().DecompressTable(image.data(), library.image.data(), static_cast<u32>(bytes),
                           static_cast<u32>(bytes), 0, 0, 0);
    g_table.Install(std::move(image), bytes, library.natives);
  });
}

NativeBlock LookUpBlock(const CVXMachine* m, u32 word, u32 flatOffset) {
  return g_table.LookUp(m->flatMem, word, flatOffset);
}

}  // namespace vx
