#include "blocks/BlockTable.h"

#include <cstring>
#include <mutex>

#include "machine/HostAccess.h"

namespace vx {

namespace {

constexpr u32 kBucketCount = 65536;
constexpr u64 kTableSignature = 0x0000000000315856;  // "VX1"

struct SBlockEntry {
  u32 wordCount;
  u32 nativeIndex;
  u64 words;  // offset of the code words from the image's start
};
struct SBlockBucket {
  u32 count;
  u32 reserved;
  u64 entries;  // offset of the bucket's entries from the image's start; 0: empty
};
static_assert(sizeof(SBlockEntry) == 16 && sizeof(SBlockBucket) == 16);

struct STableImage {
  u64 signature;
  SBlockBucket buckets[kBucketCount];
};
static_assert(sizeof(STableImage) == 1'048'584);

// The library holds no block yet, so that every bucket of its table is empty.
constexpr STableImage kStoredTable = {kTableSignature, {}};

STableImage g_table = {};
std::once_flag g_tableOnce;

}  // namespace

void LoadBlockTable() {
  std::call_once(g_tableOnce, [] {
    std::memset(&g_table, 0, sizeof(g_table));
    if (Host().DecompressTable == nullptr) return;
    Host().DecompressTable(&g_table, &kStoredTable, sizeof(g_table), sizeof(kStoredTable), 0, 0, 0);
    // What the host delivers is not trusted: without the signature there is no table.
    if (g_table.signature != kTableSignature) std::memset(&g_table, 0, sizeof(g_table));
  });
}

NativeBlock LookUpBlock(const CVXMachine*, u32, u32) { return nullptr; }

}  // namespace vx
