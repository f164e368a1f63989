#include "machine/Settings.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

#include "machine/HostAccess.h"

namespace vx {

namespace {

// --- The list ----------------------------------------------------------------------------------

constexpr const wchar_t* kTimingNames[] = {L"STR_VX_TIMING_0", L"STR_VX_TIMING_1",
                                           L"STR_VX_TIMING_2", L"STR_VX_TIMING_3"};
constexpr const wchar_t* kClockNames[] = {L"0.5", L"1.0", L"2.0", L"3.0"};
constexpr const wchar_t* kReadTimeNames[] = {L"STR_NONE", L"STR_LEVEL_LOW", L"STR_LEVEL_MED",
                                             L"STR_LEVEL_HIGH"};

struct SSettingRow {
  const char* key;
  ESettingKind kind;
  u32 defaultValue;
  u32 maximum;
  const wchar_t* const* names;
  u32 nameCount;
};

enum ESettingIndex : u32 {
  kFirstDipSetting = 0,
  kDipSettingCount = 10,
  kMachTiming = 10,
  kMipsClock,
  kExtraReadTime,
  kHdFlush,
  kPreserveCache,
  kRandCycles,
};

// clang-format off
constexpr SSettingRow kSettings[kSettingCount] = {
  //  key                  kind                   default  maximum  names
  { "VX_DIPBlood",       ESettingKind::Integer,  3,       3,       nullptr,        0 },
  { "VX_DIPAttrAudio",   ESettingKind::Integer,  1,       1,       nullptr,        0 },
  { "VX_DIPEndMoves",    ESettingKind::Integer,  1,       1,       nullptr,        0 },
  { "VX_DIPVioWarn",     ESettingKind::Integer,  1,       1,       nullptr,        0 },
  { "VX_DIPRedBlood",    ESettingKind::Integer,  1,       1,       nullptr,        0 },
  { "VX_DIPCoinage",     ESettingKind::Integer,  0,       1,       nullptr,        0 },
  { "VX_DIPCoinSet",     ESettingKind::Integer,  0,       7,       nullptr,        0 },
  { "VX_DIPCountry",     ESettingKind::Integer,  0,       3,       nullptr,        0 },
  { "VX_DIPCoinCount",   ESettingKind::Integer,  0,       1,       nullptr,        0 },
  { "VX_DIPTest",        ESettingKind::Integer,  0,       1,       nullptr,        0 },
  { "VX_MachTiming",     ESettingKind::Integer,  0,       3,       kTimingNames,   4 },
  { "VX_MIPSClock",      ESettingKind::Integer,  1,       3,       kClockNames,    4 },
  { "VX_ExtraReadTime",  ESettingKind::Integer,  0,       3,       kReadTimeNames, 4 },
  { "VX_HDFlush",        ESettingKind::Boolean,  1,       1,       nullptr,        0 },
  { "VX_PreserveCache",  ESettingKind::Boolean,  0,       1,       nullptr,        0 },
  { "VX_RandCycles",     ESettingKind::Boolean,  0,       1,       nullptr,        0 },
};

struct SDipRow {
  u32 lowestBit;
  u32 width;
  bool bInverted;
};
constexpr SDipRow kDipFields[kDipSettingCount] = {  // in the order of the first ten settings
  {  0, 2, false },
  {  2, 1, false },
  {  3, 1, false },
  {  4, 1, false },
  {  5, 1, false },
  {  8, 1, true  },
  {  9, 3, true  },
  { 12, 2, true  },
  { 14, 1, true  },
  { 15, 1, true  },
};

constexpr f64 kFrameRates[] = { 60.0, 58.9622645, 30.0, 15.0 };          // frames a second
constexpr u32 kClocksMHz[] = { 50, 100, 200, 300 };                      // cycles a microsecond
constexpr u32 kExtraReadTimesUs[] = { 0, 5000, 10000, 20000 };
// clang-format on

// The five values of a setting lie together: current, default, minimum, maximum, step.
enum EValue : u32 { kCurrent, kDefault, kMinimum, kMaximum, kStep, kValueCount };
constexpr u32 kStoreBytes = 1024;

alignas(8) u8 g_store[kStoreBytes];
SSettingRecord g_records[kSettingCount];
SSettingList g_list = {g_records, g_records, g_records + kSettingCount};

constexpr u32 ValueBytes(const SSettingRow& row) {
  return row.kind == ESettingKind::Integer ? sizeof(u32) : sizeof(u8);
}

u32 CurrentValue(u32 index) {
  if (g_list.begin == g_list.end) return kSettings[index].defaultValue;
  // The host edits the value from its own threads.
  void* const current = g_records[index].current;
  if (kSettings[index].kind == ESettingKind::Boolean) {
    return std::atomic_ref<u8>(*static_cast<u8*>(current)).load(std::memory_order_relaxed);
  }
  return std::atomic_ref<u32>(*static_cast<u32*>(current)).load(std::memory_order_relaxed);
}

template <typename T, size_t Size>
T TableValue(const T (&table)[Size], u32 index) {
  return table[std::min<size_t>(CurrentValue(index), Size - 1)];
}

u64 PresentDipWord() {
  u64 word = ~u64{0};
  for (u32 i = 0; i < kDipSettingCount; ++i) {
    const SDipRow& row = kDipFields[i];
    const u64 mask = (u64{1} << row.width) - 1;
    const u64 field = CurrentValue(kFirstDipSetting + i) ^ (row.bInverted ? mask : 0);
    word = (word & ~(mask << row.lowestBit)) | field << row.lowestBit;
  }
  return word;
}

// --- The held blob -----------------------------------------------------------------------------

struct SHeldBlob {
  std::atomic<u32> spare{0};
  std::atomic<f64> frameRate{0.0};
  std::atomic<u64> dipWord{0};
  std::atomic<u32> clockMHz{0};
  std::atomic<u32> extraReadTimeUs{0};
  std::atomic<bool> bValid{false};
};
SHeldBlob g_held;

bool IsDictated() { return HostIsConfigLocked() && g_held.bValid.load(std::memory_order_acquire); }

}  // namespace

void BuildSettings() {
  ClearSettings();
  u8* place = g_store;
  for (u32 i = 0; i < kSettingCount; ++i) {
    const SSettingRow& row = kSettings[i];
    const u32 bytes = ValueBytes(row);
    const u32 values[kValueCount] = {row.defaultValue, row.defaultValue, 0, row.maximum, 1};
    u8* const first = place;
    for (const u32 value : values) {
      std::memcpy(place, &value, bytes);  // little-endian: the low bytes come first
      place += bytes;
    }
    g_records[i] = {row.key,
                    row.kind,
                    first,
                    first + kDefault * bytes,
                    first + kMinimum * bytes,
                    first + kMaximum * bytes,
                    first + kStep * bytes,
                    bytes,
                    row.names,
                    row.nameCount};
  }
  g_list.end = g_records + kSettingCount;
}

void ClearSettings() { g_list.end = g_list.begin; }

const SSettingList* SettingList() { return &g_list; }

void ResetSettingsToDefaults() {
  for (SSettingRecord* record = g_list.begin; record != g_list.end; ++record) {
    std::memcpy(record->current, record->defaultValue, record->valueBytes);
  }
}

u64 EffectiveDipWord() {
  return IsDictated() ? g_held.dipWord.load(std::memory_order_relaxed) : PresentDipWord();
}
f64 EffectiveFrameRate() {
  return IsDictated() ? g_held.frameRate.load(std::memory_order_relaxed)
                      : TableValue(kFrameRates, kMachTiming);
}
u32 EffectiveClockMHz() {
  return IsDictated() ? g_held.clockMHz.load(std::memory_order_relaxed)
                      : TableValue(kClocksMHz, kMipsClock);
}
u32 EffectiveExtraReadTimeUs() {
  return IsDictated() ? g_held.extraReadTimeUs.load(std::memory_order_relaxed)
                      : TableValue(kExtraReadTimesUs, kExtraReadTime);
}

bool DiskFlushSetting() { return CurrentValue(kHdFlush) != 0; }
bool PreserveCacheSetting() { return CurrentValue(kPreserveCache) != 0; }
bool RandomStartSetting() { return CurrentValue(kRandCycles) != 0; }

void SaveConfigBlob(SConfigBlob* blob) {
  g_held.dipWord.store(PresentDipWord(), std::memory_order_relaxed);
  g_held.frameRate.store(TableValue(kFrameRates, kMachTiming), std::memory_order_relaxed);
  g_held.clockMHz.store(TableValue(kClocksMHz, kMipsClock), std::memory_order_relaxed);
  g_held.extraReadTimeUs.store(TableValue(kExtraReadTimesUs, kExtraReadTime),
                               std::memory_order_relaxed);
  g_held.bValid.store(true, std::memory_order_release);
  if (blob == nullptr) return;
  *blob = {kConfigBlobVersion,
           g_held.spare.load(std::memory_order_relaxed),
           g_held.frameRate.load(std::memory_order_relaxed),
           g_held.dipWord.load(std::memory_order_relaxed),
           g_held.clockMHz.load(std::memory_order_relaxed),
           g_held.extraReadTimeUs.load(std::memory_order_relaxed)};
}

bool LoadConfigBlob(const SConfigBlob* blob, i32 size) {
  if (blob == nullptr || size != static_cast<i32>(sizeof(SConfigBlob))) return false;
  if (blob->version != kConfigBlobVersion) return false;
  g_held.spare.store(blob->spare, std::memory_order_relaxed);
  g_held.frameRate.store(blob->frameRate, std::memory_order_relaxed);
  g_held.dipWord.store(blob->dipWord, std::memory_order_relaxed);
  g_held.clockMHz.store(blob->clockMHz, std::memory_order_relaxed);
  g_held.extraReadTimeUs.store(blob->extraReadTimeUs, std::memory_order_relaxed);
  g_held.bValid.store(true, std::memory_order_release);
  return true;
}

}  // namespace vx
