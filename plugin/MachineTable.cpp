#include "plugin/MachineTable.h"

#include <algorithm>
#include <cstring>

#include "devices/Input.h"
#include "machine/PackIdentity.h"
#include "machine/Settings.h"
#include "machine/VXMachine.h"
#include "plugin/Extensions.h"
#include "plugin/HeldImageStore.h"
#include "script/ScriptCalls.h"

namespace vx {

namespace {

u64 g_machineHash = 0;

// --- Input tables ------------------------------------------------------------------------------

// clang-format off
constexpr SInputBinding kBindings[kInputBindingCount] = {
  // id  pad bit  system bit  codes    zero
  {  0,  0x1,     0,           2,  3,  0 },
  {  1,  0x2,     0,          15,  1,  0 },
  {  2,  0x4,     0,          16,  2,  0 },
  {  3,  0x8,     0,           1, 11,  0 },
  {  4,  0x10,    0,          14, 12,  0 },
  {  5,  0x20,    0,          35,  9,  0 },
  {  6,  0x40,    0,          36, 10,  0 },
  {  7,  0x80,    0,          33,  7,  0 },
  {  8,  0x100,   0,          34,  8,  0 },
  { 11,  0x800,   0,          17,  5,  0 },
  {  9,  0x200,   0,           3,  4,  0 },
  { 10,  0x400,   0,           4,  6,  0 },
  { 12,  0,       0x1,         0,  0,  0 },
  { 13,  0,       0x2,         0,  0,  0 },
  { 14,  0,       0x4,         0,  0,  0 },
  { 15,  0,       0x8,         0,  0,  0 },
  { 16,  0,       0x10,        0,  0,  0 },
  { 17,  0,       0x20,        0,  0,  0 },
  { 18,  0,       0x40,        0,  0,  0 },
  { 19,  0,       0x80,        0,  0,  0 },
  { 20,  0,       0x100,       0,  0,  0 },
  { 21,  0,       0,           0, 18,  0 },
  { 22,  0,       0,           0, 17,  0 },
  { 23,  0,       0,           0, 20,  0 },
  { 24,  0,       0,           0, 19,  0 },
  { 25,  0,       0,           0, 22,  0 },
  { 26,  0,       0,           0, 21,  0 },
  { 27,  0,       0,           0, 24,  0 },
  { 28,  0,       0,           0, 23,  0 },
  { 29,  0,       0x200,       0,  0,  0 },
  { 30,  0,       0x400,       0,  0,  0 },
  { 31,  0,       0x800,       0,  0,  0 },
  { 32,  0,       0x1000,      0,  0,  0 },
  { 33,  0,       0x2000,      0,  0,  0 },
  { 34,  0,       0x4000,      0,  0,  0 },
  { 35,  0,       0x8000,      0,  0,  0 },
  { 36,  0,       0x10000,     0,  0,  0 },
};
// clang-format on

constexpr u32 kButtonCount = 12;
constexpr u32 kButtonOrder[kButtonCount] = {0, 10, 11, 1, 2, 9, 5, 6, 7, 8, 3, 4};

// --- Life of the component ---------------------------------------------------------------------

bool Startup() noexcept {
  ClearExtensions();
  FreeHeldImages();
  ClearSettings();
  g_machineHash = kMachineHash;
  LoadHeldImages();
  BuildSettings();
  BuildExtensions();
  FillPadMaskTable();
  return true;
}

void Shutdown() noexcept {
  ClearExtensions();
  ClearSettings();
  FreeHeldImages();
  ResetScriptHooks();
}

CQuillonMachineBase* CreateMachine() noexcept { return new CVXMachine; }

void DestroyMachine(CQuillonMachineBase* machine) noexcept {
  constexpr u32 kFree = 1;
  if (machine != nullptr) machine->Destruct(kFree);
}

// --- Queries -----------------------------------------------------------------------------------

void GetMemoryRegion(u64* base, u64* size, i32 index) noexcept {
  if (index != 0) return;
  if (base != nullptr) *base = 0;
  if (size != nullptr) *size = kMemoryImageSize;
}

void GetInputBindings(SInputBinding* bindings) noexcept {
  if (bindings != nullptr) std::copy_n(kBindings, kInputBindingCount, bindings);
}

bool IsButtonIndexValid(u32 index) noexcept { return index < kButtonCount; }
u32 MapButtonIndex(u32 index) noexcept {
  return IsButtonIndexValid(index) ? kButtonOrder[index] : index;
}

void GetScriptDefine(u32, char* name, char* value) noexcept {
  if (name != nullptr) std::strcpy(name, "_QUIL_MACH_VX_");
  if (value != nullptr) std::strcpy(value, "1");
}

u32 AlwaysOne() noexcept { return 1; }

void ScriptCall(CQuillonMachineBase* machine, u64 memoryBase, u64 function, u64 argument) noexcept {
  CallScriptFunction(static_cast<CVXMachine*>(machine), memoryBase, function, argument);
}

constexpr SMachineTable kTable = {
    .Startup = Startup,
    .Shutdown = Shutdown,
    .CreateMachine = CreateMachine,
    .DestroyMachine = DestroyMachine,
    .GetShortName = []() noexcept { return "VX"; },
    .GetMachineHash = []() noexcept { return g_machineHash; },
    .GetFilePrefix = []() noexcept { return L"vx_"; },
    .GetModuleId = []() noexcept { return L"machine_vx"; },
    .GetStateBufferSize = []() noexcept { return kStateBufferSize; },
    .AlwaysOne = AlwaysOne,
    .GetMemoryRegion = GetMemoryRegion,
    .GetSettingsLayout = [](u32* length) noexcept { return SettingsLayout(length); },
    .MapIdentity = [](u32 value) noexcept { return value; },
    .GetFrameRate = []() noexcept { return EffectiveFrameRate(); },
    .GetInputBindings = GetInputBindings,
    .MapButtonIndex = MapButtonIndex,
    .IsButtonIndexValid = IsButtonIndexValid,
    .GetPlayerCount = []() noexcept -> u32 { return 2; },
    .IsFirstPort = [](i32 port) noexcept { return port == 0; },
    .AlwaysOne19 = AlwaysOne,
    .GetScriptDefine = GetScriptDefine,
    .ResetSettings = []() noexcept { ResetSettingsToDefaults(); },
    .SetScriptImage = [](const u8* image, u32 size) noexcept { ReplaceScriptImage(image, size); },
    .GetScriptImage = [](u32* size) noexcept { return ScriptImage(size); },
    .ScriptCallStatic =
        [](u64 memoryBase, u64 function, u64 argument) noexcept {
          CallScriptFunction(nullptr, memoryBase, function, argument);
        },
    .ScriptCall = ScriptCall,
    .ScriptReset = []() noexcept { ResetScriptHooks(); },
    .GetSettings = []() noexcept { return SettingList(); },
    .TableIdle = []() noexcept {},
    .GetExtensions1 = []() noexcept { return JoinedExtensions(0); },
    .GetExtensions2 = []() noexcept { return JoinedExtensions(1); },
    .GetExtensions3 = []() noexcept { return JoinedExtensions(2); },
    .GetAllExtensions = []() noexcept { return JoinedExtensions(kExtensionListCount); },
    .MatchExtension1 = [](const wchar_t* text) noexcept { return MatchesExtension(0, text); },
    .MatchExtension2 = [](const wchar_t* text) noexcept { return MatchesExtension(1, text); },
    .MatchExtension3 = [](const wchar_t* text) noexcept { return MatchesExtension(2, text); },
    .IdentifyPack = [](u64* hash, u64* size,
                       const wchar_t* path) noexcept { return IdentifyPack(hash, size, path); },
    .GetConfigBlobSize = []() noexcept -> u32 { return sizeof(SConfigBlob); },
    .SaveConfigBlob = [](SConfigBlob* blob) noexcept { SaveConfigBlob(blob); },
    .LoadConfigBlob = [](const SConfigBlob* blob,
                         i32 size) noexcept { return LoadConfigBlob(blob, size); },
};

SMachineTable g_table = {};

}  // namespace

const SMachineTable* FillMachineTable() {
  g_table = kTable;
  return &g_table;
}

}  // namespace vx
