#include "blocks/RecordCache.h"

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "machine/Settings.h"
#include "tests/machine/BoardTest.h"

namespace vx::test {

namespace {

constexpr u32 kFirstRomRecord = kFlatBootRom >> 2;

class RecordCache : public CBoardTest {
 protected:
  RecordCache()
      : folder(std::filesystem::path(testing::TempDir()) /
               ("record_cache_" + std::to_string(getpid()))) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    host.cachePath = folder.wstring() + L"/";
    for (SSettingRecord* record = SettingList()->begin; record != SettingList()->end; ++record) {
      if (std::strcmp(record->key, "VX_PreserveCache") == 0) *static_cast<u8*>(record->current) = 1;
    }
  }
  ~RecordCache() override { std::filesystem::remove_all(folder); }

  std::filesystem::path CacheFile() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) return entry.path();
    return {};
  }
  std::vector<u8> Contents() const {
    std::ifstream stream(CacheFile(), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  void Replace(const std::vector<u8>& bytes) {
    std::ofstream stream(CacheFile(), std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
  }
  template <typename T>
  static T At(const std::vector<u8>& bytes, size_t offset) {
    T value{};
    if (offset + sizeof(T) <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
  }
  // Runs the pack for two frames and unloads it.
  void Discover() {
    Boot();
    Steps(2);
    m->LoadPack(nullptr);
  }

  std::filesystem::path folder;
};

TEST_F(RecordCache, GivesTheNextRunTheRecordsOfTheLast) {
  Discover();
  ASSERT_FALSE(CacheFile().empty());
  Boot();
  const SPredecodedOp& first = m->records[kFirstRomRecord];
  EXPECT_EQ(first.flags & (kOpValid | kOpHead), u32{kOpValid | kOpHead});
  ASSERT_NE(first.handler, nullptr);
  Steps(2);
}

TEST_F(RecordCache, IsNotTouchedWhileTheSettingIsOff) {
  m->LoadPack(nullptr);
  for (SSettingRecord* record = SettingList()->begin; record != SettingList()->end; ++record) {
    if (std::strcmp(record->key, "VX_PreserveCache") == 0) *static_cast<u8*>(record->current) = 0;
  }
  Discover();
  EXPECT_TRUE(CacheFile().empty());
}

TEST_F(RecordCache, IsNamedByThePacksHash) {
  Boot();
  const u64 hash = m->packHash;
  m->LoadPack(nullptr);
  char name[64];
  std::snprintf(name, sizeof(name), "vxcache%016llX.qilmcache",
                static_cast<unsigned long long>(hash));
  EXPECT_EQ(CacheFile().filename(), name);
}

TEST_F(RecordCache, ALongRunOfRecordsIsSplitInTwo) {
  Boot();
  for (u32 i = 0; i < 70000; ++i) {
    m->records[i].flags = kOpValid | kOpHead | kOpHeadWritten;
    m->records[i].link = 1;
  }
  StoreRecordCache(*m);
  const std::vector<u8> bytes = Contents();
  EXPECT_EQ(At<u64>(bytes, 0), kRecordCacheMagic);
  EXPECT_EQ(At<u32>(bytes, 8), 3u);
  EXPECT_EQ(At<u32>(bytes, 12), 0x240000u);
  EXPECT_EQ(At<u16>(bytes, 16), 65535u);
  EXPECT_EQ(At<u32>(bytes, 18), 0u);
  const size_t second = 22 + 65535 * 12;
  EXPECT_EQ(At<u16>(bytes, second), 70000u - 65535u);
  EXPECT_EQ(At<u32>(bytes, second + 2), 65535u);
}

TEST_F(RecordCache, BreakpointsDoNotReachTheFile) {
  Boot();
  m->records[4] = {nullptr, nullptr, 0x11, kOpValid | kOpHead | kOpBreakMask, 1, 0};
  StoreRecordCache(*m);
  EXPECT_EQ(At<u16>(Contents(), 16), 1u);
  EXPECT_EQ(At<u32>(Contents(), 22), 0x11u);
  EXPECT_EQ(At<u32>(Contents(), 26), u32{kOpValid | kOpHead});
}

TEST_F(RecordCache, AnEmptyFileOfRunsGivesNoRecords) {
  Discover();
  std::vector<u8> bytes = Contents();
  bytes.resize(18);
  bytes[16] = bytes[17] = 0;
  Replace(bytes);
  Boot();
  EXPECT_EQ(m->records[kFirstRomRecord].flags, 0u);
}

TEST_F(RecordCache, AnotherMagicOrVersionIsIgnored) {
  Discover();
  for (const size_t offset : {0u, 8u}) {
    std::vector<u8> bytes = Contents();
    bytes[offset] ^= 1;
    Replace(bytes);
    Boot();
    EXPECT_EQ(m->records[kFirstRomRecord].flags, 0u) << offset;
    m->bPreserveCache = 0;  // this machine writes no file of its own
    m->LoadPack(nullptr);
    bytes[offset] ^= 1;
    Replace(bytes);
  }
}

TEST_F(RecordCache, RecordsBeyondTheArrayAreSkippedAndTheRunGoesOn) {
  Discover();
  std::vector<u8> bytes = Contents();
  bytes.resize(16);
  const auto append = [&](const auto& value) {
    const auto* source = reinterpret_cast<const u8*>(&value);
    bytes.insert(bytes.end(), source, source + sizeof(value));
  };
  append(u16{2});
  append(u32{kRecordCount - 1});
  append(SCachedRecord{0x34, kOpValid | kOpHead, 1});
  append(SCachedRecord{0x34, kOpValid | kOpHead, 1});
  append(u16{1});
  append(u32{8});
  append(SCachedRecord{0x25, kOpValid | kOpHead, 1});
  append(u16{0});
  Replace(bytes);
  Boot();
  EXPECT_EQ(m->records[kRecordCount - 1].word, 0x34u);
  EXPECT_EQ(m->records[8].word, 0x25u);
}

TEST_F(RecordCache, ADamagedFileNeverLeavesARecordThatCannotRun) {
  Discover();
  const std::vector<u8> whole = Contents();
  std::mt19937 random(1);
  for (u32 round = 0; round < 200; ++round) {
    std::vector<u8> bytes = whole;
    for (u32 i = 0; i < 4; ++i)
      bytes[16 + random() % (bytes.size() - 16)] = static_cast<u8>(random());
    if (round % 4 == 0) bytes.resize(16 + random() % (bytes.size() - 16));
    Replace(bytes);
    Boot();
    Steps(1);
    m->bPreserveCache = 0;
    m->LoadPack(nullptr);
  }
}

}  // namespace

}  // namespace vx::test
