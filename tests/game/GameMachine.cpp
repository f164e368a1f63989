#include "tests/game/GameMachine.h"

#include <dlfcn.h>
#include <unistd.h>
#include <zlib.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace vx::test {

namespace {

constexpr u32 kPixels = 320 * 240;

std::wstring g_cachePath;
std::vector<u32>* g_picture = nullptr;
u32 g_messages = 0;

void CountMessage(i32, const char*, ...) { ++g_messages; }

u64 HashBytes(const void* data, u64 bytes, u64 before) {
  return crc32_z(before, static_cast<const Bytef*>(data), bytes);
}

SHostApi MakeHost() {
  SHostApi host{};
  host.GetCachePath = []() -> const wchar_t* { return g_cachePath.c_str(); };
  host.Log = CountMessage;
  host.Inflate = [](void* target, const void* source, u32 targetBytes, u32 sourceBytes, u32) {
    uLongf bytes = targetBytes;
    uncompress(static_cast<Bytef*>(target), &bytes, static_cast<const Bytef*>(source), sourceBytes);
  };
  host.DecompressTable = [](void* target, const void* source, u32 bytes, u32, u32, u32, u32) {
    std::memcpy(target, source, bytes);
  };
  host.HashData = [](const void* data, u64 bytes) { return HashBytes(data, bytes, 0); };
  host.HashDataMore = HashBytes;
  host.GetClockMs = []() -> f64 {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<f64, std::milli>(now).count();
  };
  host.AcquireFrameBuffer = [](u64, u32, u32, u32, bool) -> void* { return g_picture->data(); };
  host.IsConfigLocked = [] { return false; };
  host.InvokeDspHook = [](CQuillonMachineBase*, bool, u32, u32) { return 0; };
  host.InvokeMipsHook = [](CQuillonMachineBase*, bool, u32, u32, u32) { return 0; };
  return host;
}

}  // namespace

CGameMachine::CGameMachine()
    : ownFolder_(std::filesystem::temp_directory_path() /
                 ("game_tests_" + std::to_string(getpid()))),
      picture_(kPixels) {
  std::filesystem::create_directories(ownFolder_);
  Load(ownFolder_);
}

CGameMachine::CGameMachine(const std::string& cacheFolder) : picture_(kPixels) {
  Load(cacheFolder);
}

void CGameMachine::Load(const std::string& cacheFolder) {
  static const SHostApi host = MakeHost();
  static SPluginDesc desc;
  g_cachePath = std::filesystem::path(cacheFolder).wstring() + L"/";
  g_picture = &picture_;
  library_ = dlopen(VX_COMPONENT, RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) throw std::runtime_error(dlerror());
  const auto init = reinterpret_cast<QuillonPluginInit>(dlsym(library_, kExportInit));
  if (init == nullptr || !init(&desc, &host))
    throw std::runtime_error("the component does not start");
  table_ = desc.GetMachineTable();
  table_->Startup();
  machine_ = table_->CreateMachine();
  machine_->onVideoFilter = [](CQuillonMachineBase*) { return 1; };
}

CGameMachine::~CGameMachine() {
  table_->DestroyMachine(machine_);
  table_->Shutdown();
  dlclose(library_);
  std::error_code ignored;
  if (!ownFolder_.empty()) std::filesystem::remove_all(ownFolder_, ignored);
}

bool CGameMachine::Boot(const std::string& packPath) {
  const std::wstring wide = std::filesystem::path(packPath).wstring();
  if (!machine_->LoadPack(wide.c_str())) return false;
  Reset();
  return true;
}

void CGameMachine::Reset() {
  input_[0] = input_[1] = SInputRecord{};
  machine_->Reset();
  machine_->ApplySettings();
}

void CGameMachine::Set(const std::string& key, u32 value) {
  const SSettingList* list = table_->GetSettings();
  for (SSettingRecord* record = list->begin; record != list->end; ++record) {
    if (key == record->key) std::memcpy(record->current, &value, record->valueBytes);
  }
  machine_->ApplySettings();
}

void CGameMachine::RunFrame() {
  machine_->SetInput(input_, 2);
  machine_->RunFrame();
}

void CGameMachine::Hold(u32 player, u32 padBits) { input_[player].padBits = padBits; }

void CGameMachine::Run(u32 frames) {
  for (u32 i = 0; i < frames; ++i) RunFrame();
}

void CGameMachine::Press(u32 player, u32 padBits) {
  Hold(player, padBits);
  Run(2);
  Hold(player, 0);
  Run(2);
}

void CGameMachine::PressSystem(u32 systemBits) {
  input_[0].systemBits = systemBits;
  Run(2);
  input_[0].systemBits = 0;
  Run(2);
}

bool CGameMachine::RunTo(u32 state, u32 mostFrames) {
  for (u32 i = 0; i < mostFrames; ++i) {
    if (Game().state == state) return true;
    RunFrame();
  }
  return Game().state == state;
}

void CGameMachine::StartGame() {
  PressSystem(kCoin1);
  Press(0, kPadStart);
}

void CGameMachine::PlayFrame(u32 player) {
  const u32 frame = Game().frames;
  u32 pad = kPadFire;
  if (frame % 150 < 50) pad |= kPadLeft;
  if (frame % 150 >= 75 && frame % 150 < 125) pad |= kPadRight;
  if (frame % 97 < 4) pad |= kPadLeap;
  Hold(player, pad);
  RunFrame();
}

u32 CGameMachine::Messages() const { return g_messages; }

SGameBlock CGameMachine::Game() const {
  SGameBlock block;
  std::memcpy(&block, machine_->GetMemoryImage() + kGameBlockPhysical, sizeof(block));
  return block;
}

SSelfTestBlock CGameMachine::Board() const {
  SSelfTestBlock block;
  std::memcpy(&block, machine_->GetMemoryImage() + kSelfTestBlockPhysical, sizeof(block));
  return block;
}

}  // namespace vx::test
