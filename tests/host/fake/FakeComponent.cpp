// A component with a tiny machine of its own: it lets the host be tested through the boundary
// alone. The machine draws a moving pattern, unpacks the ROMs of a pack when it is loaded and one
// disk chunk a frame, and does what its settings say. A few builds of it misbehave on purpose.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/Text.h"
#include "plugin/Quillon.h"

#ifndef FAKE_API_VERSION
#define FAKE_API_VERSION kApiVersion
#endif
#ifndef FAKE_KIND
#define FAKE_KIND kComponentKind
#endif
#ifndef FAKE_STARTS
#define FAKE_STARTS true
#endif
#ifndef FAKE_UNPACKS_GARBAGE
#define FAKE_UNPACKS_GARBAGE false
#endif
#ifndef FAKE_INIT_NAME
#define FAKE_INIT_NAME QuillonPlugin_Init
#endif
#ifndef FAKE_HAS_TABLE
#define FAKE_HAS_TABLE true
#endif

namespace vx {

// The base's own operations, which the boundary leaves to the component.
void* CQuillonMachineBase::Destruct(u32) noexcept { return this; }
void CQuillonMachineBase::Idle13() noexcept {}
void CQuillonMachineBase::Idle14() noexcept {}
void CQuillonMachineBase::ApplySettings() noexcept {}
void CQuillonMachineBase::FilterDirections(u32* buttons, i8 keepBoth) noexcept {
  if (keepBoth == 0 && (*buttons & 0x60) == 0x60) *buttons &= ~0x20u;
}
void CQuillonMachineBase::Idle17() noexcept {}
u32 CQuillonMachineBase::TranslateButtons(i32) noexcept { return 0; }
u32 CQuillonMachineBase::MapIdentity(u32 value) noexcept { return value; }
u32 CQuillonMachineBase::GetConstant2() noexcept { return 2; }
u32 CQuillonMachineBase::GetConstant4() noexcept { return 4; }
u32 CQuillonMachineBase::GetConstant6() noexcept { return 6; }
void CQuillonMachineBase::Idle23() noexcept {}
void CQuillonMachineBase::Idle24() noexcept {}
bool CQuillonMachineBase::HasFeature25() noexcept { return true; }
bool CQuillonMachineBase::TranslateAddress(u64*) noexcept { return true; }
u64 CQuillonMachineBase::HashState() noexcept { return 0; }

namespace {

const SHostApi* host;
std::string calls;  // what the host called, in order

void (*frameHook)(u64 frame) = nullptr;

void Note(const char* call) { calls += std::string(calls.empty() ? "" : " ") + call; }

// Settings: current, default, minimum, maximum, step.
u32 clockValues[5] = {1, 1, 0, 3, 1};
u32 stepValues[5] = {2, 2, 2, 10, 4};
u32 soundRateValues[5] = {0, 0, 0, 96000, 1};
u32 blindEveryValues[5] = {0, 0, 0, 100, 1};
u32 driftValues[5] = {0, 0, 0, 100000, 1};
u32 diskStopValues[5] = {100, 100, 0, 100, 1};
u32 stateKiBValues[5] = {0, 0, 0, 30000, 1};
u8 refuseValues[5] = {0, 0, 0, 1, 1};
u8 refuseStatesValues[5] = {0, 0, 0, 1, 1};
u8 chattyValues[5] = {0, 0, 0, 1, 1};
u8 clockCountsValues[5] = {0, 0, 0, 1, 1};
const wchar_t* const kClockNames[] = {L"0.5", L"1.0", L"2.0", L"3.0"};
constexpr u32 kClocksMHz[] = {50, 100, 200, 300};

template <typename T>
SSettingRecord MakeSetting(const char* key, ESettingKind kind, T (&values)[5],
                           const wchar_t* const* names = nullptr, u32 nameCount = 0) {
  return {key,        kind,       &values[0], &values[1], &values[2],
          &values[3], &values[4], sizeof(T),  names,      nameCount};
}

SSettingRecord settings[] = {
    MakeSetting("FAKE_Clock", ESettingKind::Integer, clockValues, kClockNames, 4),
    MakeSetting("FAKE_Step", ESettingKind::Integer, stepValues),
    MakeSetting("FAKE_SoundRate", ESettingKind::Integer, soundRateValues),
    MakeSetting("FAKE_Refuse", ESettingKind::Boolean, refuseValues),
    MakeSetting("FAKE_Chatty", ESettingKind::Boolean, chattyValues),
    MakeSetting("FAKE_BlindEvery", ESettingKind::Integer, blindEveryValues),
    // The host's clock is part of the state's hash.
    MakeSetting("FAKE_ClockCounts", ESettingKind::Boolean, clockCountsValues),
    // From this frame on the state's hash is another one; 0 for never.
    MakeSetting("FAKE_DriftFrom", ESettingKind::Integer, driftValues),
    // A state has this much ballast; states are refused after they have been read.
    MakeSetting("FAKE_StateKiB", ESettingKind::Integer, stateKiBValues),
    MakeSetting("FAKE_RefuseStates", ESettingKind::Boolean, refuseStatesValues),
    // The disk is unpacked up to this chunk only.
    MakeSetting("FAKE_DiskStop", ESettingKind::Integer, diskStopValues),
};
const SSettingList settingList = {settings, std::end(settings), std::end(settings)};

SConfigBlob heldBlob;
bool bBlobHeld = false;

u32 ClockMHz() {
  return host->IsConfigLocked() && bBlobHeld ? heldBlob.clockMHz : kClocksMHz[clockValues[0]];
}

struct SEntry {
  u64 offset, size, hash;
  u32 inflatedBytes, chunkCount, unused[6];
  u64 unused56;
};
static_assert(sizeof(SEntry) == 64);

constexpr u32 kMemoryBytes = 64;
constexpr u32 kStateVersion = 4;

class CFakeMachine final : public CQuillonMachineBase {
 public:
  void* Destruct(u32 deleteFlag) noexcept override {
    if ((deleteFlag & 1) != 0) delete this;
    return this;
  }
  bool LoadPack(const wchar_t* path) noexcept override {
    Note("LoadPack");
    bLoaded_ = path != nullptr && refuseValues[0] == 0 && ReadPack(ToUtf8(path));
    return bLoaded_;
  }
  u32 GetWidth() noexcept override { return 320; }
  u32 GetHeight() noexcept override { return 240; }
  i64 GetSampleRate() noexcept override {
    return soundRateValues[0] == 0 ? 31250 : i64{soundRateValues[0]};
  }
  u8* GetMemoryImage() noexcept override { return memory_; }
  void Reset() noexcept override {
    Note("Reset");
    frame_ = 0;
    seen_ = 0;
  }
  bool IsLoaded() noexcept override { return bLoaded_; }
  void SaveState(SStateStream* stream, u8 transient) noexcept override {
    Note(transient != 0 ? "SaveTransient" : "SaveState");
    WriteValue(*stream, kStateVersion);
    WriteValue(*stream, frame_);
    WriteValue(*stream, padBits_);
    WriteValue(*stream, seen_);
    WriteBytes(*stream, memory_, sizeof(memory_));
    for (u32 i = 0; i < stateKiBValues[0]; ++i) {
      const std::vector<u8> ballast(1024, static_cast<u8>(frame_ * 7 + i));
      WriteBytes(*stream, ballast.data(), 1024);
    }
  }
  bool LoadState(SStateStream* stream) noexcept override {
    Note("LoadState");
    u32 version = 0;
    ReadValue(*stream, version);
    if (version != kStateVersion) return false;
    ReadValue(*stream, frame_);
    ReadValue(*stream, padBits_);
    ReadValue(*stream, seen_);
    ReadBytes(*stream, memory_, sizeof(memory_));
    return refuseStatesValues[0] == 0;
  }
  u64 GetFrameCount() noexcept override { return frame_; }
  void ApplySettings() noexcept override { Note("ApplySettings"); }
  void SetInput(const SInputRecord* records, u32 count) noexcept override {
    Note("SetInput");
    padBits_ = count == 0 ? 0 : records[0].padBits;
    for (u32 i = 0; i < count; ++i) {
      const u32 held[] = {records[i].padBits, records[i].systemBits};
      seen_ = host->HashDataMore(held, sizeof(held), seen_);
    }
  }
  // Of all that the machine has ever been given.
  u64 HashState() noexcept override {
    const bool bDrifts = driftValues[0] != 0 && frame_ >= driftValues[0];
    const f64 clockMs = host->GetClockMs();
    const u64 parts[] = {
        frame_,       padBits_,   seen_,
        u64{bDrifts}, ClockMHz(), clockCountsValues[0] != 0 ? static_cast<u64>(clockMs * 1000) : 0};
    return host->HashData(parts, sizeof(parts));
  }

  void RunFrame() noexcept override {
    Note("RunFrame");
    if (frameHook != nullptr) frameHook(frame_ + 1);
    UnpackNextChunk();
    u32* pixels = static_cast<u32*>(host->AcquireFrameBuffer(frame_, 320, 240, 4, false));
    const u32 blindEvery = blindEveryValues[0];
    const bool bSees = blindEvery == 0 || (frame_ + 1) % blindEvery != 0;
    if (bSees && pixels != nullptr && onVideoFilter != nullptr && onVideoFilter(this) == 1) {
      Draw(pixels);
    }
    ++frame_;
    if (chattyValues[0] != 0) {
      host->Log(0, "frame %u\n", static_cast<u32>(frame_));
      host->Log(1, "odd thing in %ls\n", L"\x4e2d");
    }
    if (clockCountsValues[0] != 0) host->Log(0, "clock at %.1f ms\n", host->GetClockMs());
    if (onVideoFrame != nullptr) onVideoFrame(this, pixels, 320, 240, 0, 0, 0, 0);
    if (soundRateValues[0] != 0 && onAudioBlock != nullptr) {
      std::vector<i16> samples(1000, static_cast<i16>(frame_));
      onAudioBlock(this, samples.data(), static_cast<u32>(samples.size()));
    }
  }

 private:
  void Draw(u32* pixels) const {
    for (u32 y = 0; y < 240; ++y) {
      for (u32 x = 0; x < 320; ++x) {
        pixels[y * 320 + x] = ((x + static_cast<u32>(frame_)) & 0xFF) << 16 | y << 8 | 0x40;
      }
    }
  }

  bool ReadPack(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return false;
    std::fseek(file, 0, SEEK_END);
    pack_.resize(static_cast<std::size_t>(std::ftell(file)));
    std::fseek(file, 0, SEEK_SET);
    const bool bRead = std::fread(pack_.data(), 1, pack_.size(), file) == pack_.size();
    std::fclose(file);
    if (!bRead) return false;
    for (u32 i = 0; i < 9; ++i) {
      const SEntry entry = Entry(i);
      std::vector<u8> rom(entry.inflatedBytes);
      Unpack(rom, entry.offset, static_cast<u32>(entry.size));
    }
    nextChunk_ = 0;
    nextOffset_ = Entry(9).offset;
    return true;
  }

  SEntry Entry(u32 index) const {
    SEntry entry;
    std::memcpy(&entry, pack_.data() + 32 + index * sizeof(entry), sizeof(entry));
    return entry;
  }

  void Unpack(std::vector<u8>& target, u64 offset, u32 storedBytes) {
    host->Inflate(target.data(), pack_.data() + offset, static_cast<u32>(target.size()),
                  storedBytes, 0);
  }

  void UnpackNextChunk() {
    if (!bLoaded_) return;
    const SEntry disk = Entry(9);
    if (nextChunk_ >= std::min(disk.chunkCount, diskStopValues[0])) return;
    u16 stored = 0;
    std::memcpy(&stored, pack_.data() + disk.size + nextChunk_ * 2, sizeof(stored));
    std::vector<u8> chunk(disk.inflatedBytes);
    if (stored != 0) Unpack(chunk, nextOffset_, stored);
    nextOffset_ += stored == 0 ? disk.inflatedBytes : stored;
    ++nextChunk_;
  }

  std::vector<u8> pack_;
  u8 memory_[kMemoryBytes] = {};
  u32 nextChunk_ = 0;
  u64 nextOffset_ = 0;
  u64 frame_ = 0;
  u32 padBits_ = 0;
  u64 seen_ = 0;  // hash of all records since the reset
  bool bLoaded_ = false;
};

bool Startup() {
  Note("Startup");
  if (FAKE_UNPACKS_GARBAGE) {
    u8 target[16];
    host->Inflate(target, "this is no stream", sizeof(target), 17, 0);
  }
  return FAKE_STARTS;
}
void Shutdown() { Note("Shutdown"); }
CQuillonMachineBase* CreateMachine() {
  Note("CreateMachine");
  return new CFakeMachine;
}
void DestroyMachine(CQuillonMachineBase* machine) {
  Note("DestroyMachine");
  if (machine != nullptr) machine->Destruct(1);
}
u64 GetMachineHash() { return 0xFA4E; }
f64 GetFrameRate() { return 60.0; }
void GetInputBindings(SInputBinding* bindings) {
  std::memset(bindings, 0, sizeof(*bindings) * kInputBindingCount);
  bindings[0] = {0, 0x80, 0, 33, 7, 0};
  bindings[1] = {3, 0x8, 0, 1, 11, 0};
  bindings[12] = {12, 0, 0x1, 0, 0, 0};
}
const SSettingList* GetSettings() { return &settingList; }
void SaveConfigBlob(SConfigBlob* blob) {
  *blob = {kConfigBlobVersion, 0, 60.0, ~u64{0}, kClocksMHz[clockValues[0]], 0};
}
bool LoadConfigBlob(const SConfigBlob* blob, i32 size) {
  if (size != sizeof(*blob) || blob->version != kConfigBlobVersion) return false;
  heldBlob = *blob;
  bBlobHeld = true;
  return true;
}
void ResetSettings() {
  for (const SSettingRecord& record : settings) {
    std::memcpy(record.current, record.defaultValue, record.valueBytes);
  }
}
u32 IdentifyPack(u64* hash, u64* size, const wchar_t* path) {
  std::FILE* file = std::fopen(ToUtf8(path).c_str(), "rb");
  if (file == nullptr) return 0;
  SEntry entries[10] = {};
  std::fseek(file, 32, SEEK_SET);
  const bool bRead = std::fread(entries, sizeof(entries), 1, file) == 1;
  std::fseek(file, 0, SEEK_END);
  *size = static_cast<u64>(std::ftell(file));
  std::fclose(file);
  *hash = 0;
  for (const SEntry& entry : entries) *hash ^= entry.hash;
  return bRead ? 1 : 0;
}
void GetMemoryRegion(u64* base, u64* size, i32 index) {
  if (index != 0) return;
  *base = 0;
  *size = kMemoryBytes;
}

SMachineTable table;
const SMachineTable* GetMachineTable() { return FAKE_HAS_TABLE ? &table : nullptr; }
u32 GetComponentKind() { return FAKE_KIND; }
const char* GetDescription() { return "Fake machine."; }

}  // namespace
}  // namespace vx

extern "C" {

[[gnu::visibility("default")]] vx::u32 QuillonPlugin_GetAPIVersion() {
  using namespace vx;
  return FAKE_API_VERSION;
}

[[gnu::visibility("default")]] bool FAKE_INIT_NAME(vx::SPluginDesc* desc, const vx::SHostApi* api) {
  using namespace vx;
  host = api;
  table = {};
  table.Startup = Startup;
  table.Shutdown = Shutdown;
  table.CreateMachine = CreateMachine;
  table.DestroyMachine = DestroyMachine;
  table.GetMachineHash = GetMachineHash;
  table.GetFrameRate = GetFrameRate;
  table.GetInputBindings = GetInputBindings;
  table.GetSettings = GetSettings;
  table.SaveConfigBlob = SaveConfigBlob;
  table.LoadConfigBlob = LoadConfigBlob;
  table.ResetSettings = ResetSettings;
  table.IdentifyPack = IdentifyPack;
  table.GetMemoryRegion = GetMemoryRegion;
  *desc = {};
  desc->GetComponentKind = GetComponentKind;
  desc->GetDescription = GetDescription;
  desc->GetMachineTable = GetMachineTable;
  return true;
}

// For tests only: called with the number of each frame before it runs.
[[gnu::visibility("default")]] void FakeSetFrameHook(void (*hook)(vx::u64 frame)) {
  vx::frameHook = hook;
}

// For tests only: what was called since the last time, then forgotten.
[[gnu::visibility("default")]] const char* FakeTakeCalls() {
  static std::string taken;
  taken = std::move(vx::calls);
  vx::calls.clear();
  return taken.c_str();
}
}
