// The plug-in boundary: everything that a host needs to load the component and drive a machine, and
// everything that the component needs of its host. This header is all that a host includes.
//
// Slot numbers, byte positions and record sizes are a fixed contract. Functions use the platform's
// plain C calling convention; wide strings are wchar_t (UTF-32); nothing throws across the
// boundary.
#pragma once

#include "base/PackFormat.h"
#include "base/StateStream.h"
#include "base/Types.h"

namespace vx {

class CQuillonMachineBase;

inline constexpr u32 kApiVersion = 66671;  // answer of QuillonPlugin_GetAPIVersion
inline constexpr u32 kComponentKind = 64;  // answer of SPluginDesc::GetComponentKind
inline constexpr u64 kMachineHash = 0x92a5707b5bdbdf9;
inline constexpr u64 kStateBufferSize = 0x1400000;  // bytes that a host offers for a save state
inline constexpr u64 kMemoryImageSize = 0xE00000;   // bytes of the guest memory image
inline constexpr u32 kMaxInputRecords = 16;

enum class ELogLevel : i32 { Information = 0, Warning = 1, Error = 2 };

// ---------------------------------------------------------------------------------------------
// Records that cross the boundary

// One player's controls for a frame; the host passes an array of these to SetInput.
struct SInputRecord {
  u32 padBits = 0;  // word 0: one bit a control, bits 0 to 11
  u32 reserved1[5] = {};
  u32 systemBits = 0;  // word 6: bits 0 to 8 system controls; the rest is offered to scripts
  u32 reserved7 = 0;
  f32 scale = 1.0f;  // word 8
};
static_assert(sizeof(SInputRecord) == 36);
static_assert(offsetof(SInputRecord, systemBits) == 24 && offsetof(SInputRecord, scale) == 32);

// One row of the table that GetInputBindings copies.
struct SInputBinding {
  u32 id;
  u32 padBit;     // bit in SInputRecord::padBits, or 0
  u32 systemBit;  // bit in SInputRecord::systemBits, or 0
  u32 bindingA;   // default bindings in the host's vocabulary, 0 for none
  u32 bindingB;
  u32 zero;
};
inline constexpr u32 kInputBindingCount = 37;
static_assert(sizeof(SInputBinding) * kInputBindingCount == 888);

enum class ESettingKind : u32 { Integer = 3, Boolean = 5 };

// One user setting. The five pointers lead to values of `valueBytes` each that live as long as the
// process; the host edits the current value in place within minimum and maximum.
struct SSettingRecord {
  const char* key;
  ESettingKind kind;
  void* current;
  const void* defaultValue;
  const void* minimum;
  const void* maximum;
  const void* step;
  u32 valueBytes;               // 4 for an integer, 1 for a boolean
  const wchar_t* const* names;  // display names of the values, or null
  u32 nameCount;
};
static_assert(sizeof(SSettingRecord) == 80);
static_assert(offsetof(SSettingRecord, current) == 16 && offsetof(SSettingRecord, step) == 48);
static_assert(offsetof(SSettingRecord, valueBytes) == 56 && offsetof(SSettingRecord, names) == 64);

// What GetSettings hands out: begin, end and capacity end of a contiguous array.
struct SSettingList {
  SSettingRecord* begin;
  SSettingRecord* end;
  SSettingRecord* capacityEnd;
};
static_assert(sizeof(SSettingList) == 24);

// Timing-relevant settings, exchanged between two hosts that run in step. Little-endian.
struct SConfigBlob {
  u32 version;    // 3
  u32 spare;      // kept as received
  f64 frameRate;  // frames a second
  u64 dipWord;
  u32 clockMHz;  // main processor cycles a microsecond
  u32 extraReadTimeUs;
};
inline constexpr u32 kConfigBlobVersion = 3;
static_assert(sizeof(SConfigBlob) == 32);
static_assert(offsetof(SConfigBlob, dipWord) == 16 && offsetof(SConfigBlob, extraReadTimeUs) == 28);

// ---------------------------------------------------------------------------------------------
// What the component needs of its host

// The host's services by slot; a slot's byte position is its number times eight. The host keeps the
// table for the life of the component. A null slot is treated as a service that answers nothing.
// Inflate, Log, AcquireFrameBuffer and the hooks must be re-entrant: the disk reader's thread and
// those of look-ahead use them, beside the thread that runs the frame.
struct SHostApi {
  void* unused0;
  const wchar_t* (*GetCachePath)();  // 1: folder for the component's own files
  void* unused2[11];
  void (*Log)(i32 level, const char* format, ...);  // 13: printf format that ends in a newline
  void* unused14[9];
  void (*Inflate)(void* target, const void* source, u32 targetBytes, u32 sourceBytes,
                  u32 flag);  // 23: zlib inflate of one block
  void (*DecompressTable)(void* target, const void* source, u32 targetBytes, u32 sourceBytes, u32,
                          u32, u32);  // 24: this build stores its table plain: copy it
  void* unused25[3];
  u64 (*HashData)(const void* data, u64 bytes);                    // 28
  u64 (*HashDataMore)(const void* data, u64 bytes, u64 previous);  // 29
  void* unused30[2];
  f64 (*GetClockMs)();  // 32: monotonic milliseconds
  void* unused33[4];
  void* (*AcquireFrameBuffer)(u64 frameSequence, u32 width, u32 height, u32 bytesPerPixel,
                              bool bSpeculative);  // 37: may answer null for no picture
  void* unused38[10];
  bool (*IsConfigLocked)();  // 48: settings are dictated by a SConfigBlob
  void* unused49[7];
  i32 (*SpatialGetMode)(u32, u32, u32);                // 56
  u32 (*SpatialGetBlockSize)();                        // 57
  bool (*SpatialIsEnabled)();                          // 58
  void (*SpatialGetListener)(f32*, f32*, f32*, f32*);  // 59: four 12-byte records
  void* (*SpatialCreateSource)();                      // 60
  void (*SpatialDestroySource)(void* handle);          // 61
  void (*SpatialPlaceSource)(void* handle, const f32* position, f32 range, f32 rolloff,
                             i32 mode);  // 62
  void (*SpatialRender)(void* output, void* outputField, void* handle, const void* samples,
                        u32 count);  // 63
  void* unused64[3];
  i32 (*InvokeDspHook)(CQuillonMachineBase* machine, bool bTrue, u32 hook, u32 argument);  // 67
  i32 (*InvokeMipsHook)(CQuillonMachineBase* machine, bool bTrue, u32 hook, u32 argument,
                        u32 argument2);  // 68
};
static_assert(offsetof(SHostApi, GetCachePath) == 1 * 8);
static_assert(offsetof(SHostApi, Log) == 13 * 8);
static_assert(offsetof(SHostApi, Inflate) == 23 * 8);
static_assert(offsetof(SHostApi, DecompressTable) == 24 * 8);
static_assert(offsetof(SHostApi, HashData) == 28 * 8);
static_assert(offsetof(SHostApi, HashDataMore) == 29 * 8);
static_assert(offsetof(SHostApi, GetClockMs) == 32 * 8);
static_assert(offsetof(SHostApi, AcquireFrameBuffer) == 37 * 8);
static_assert(offsetof(SHostApi, IsConfigLocked) == 48 * 8);
static_assert(offsetof(SHostApi, SpatialGetMode) == 56 * 8);
static_assert(offsetof(SHostApi, SpatialRender) == 63 * 8);
static_assert(offsetof(SHostApi, InvokeDspHook) == 67 * 8);
static_assert(offsetof(SHostApi, InvokeMipsHook) == 68 * 8);

// ---------------------------------------------------------------------------------------------
// The machine object

// A machine as its host sees it. The table of virtual operations is in slot order, slot 0 first;
// there is deliberately no C++ destructor in it. The five callback pointers lie behind the table
// pointer; the host writes them after CreateMachine, and a null one is skipped.
//
// One host thread at a time uses a machine; SetInput and ApplySettings may come from another.
class CQuillonMachineBase {
 public:
  // Tears the machine down; bit 0 of the flag also frees it. Hosts call DestroyMachine instead.
  virtual void* Destruct(u32 deleteFlag) noexcept;  // slot 0
  // Unloads, then loads a pack file; null or empty only unloads. False if not loaded.
  virtual bool LoadPack(const wchar_t* path) noexcept = 0;  // 1
  virtual u32 GetWidth() noexcept = 0;                      // 2
  virtual u32 GetHeight() noexcept = 0;                     // 3
  virtual i64 GetSampleRate() noexcept = 0;                 // 4: Hz
  virtual u8* GetMemoryImage() noexcept = 0;                // 5
  // Power-on state. The host calls ApplySettings after it.
  virtual void Reset() noexcept = 0;     // 6
  virtual bool IsLoaded() noexcept = 0;  // 7
  // Between frames, on their thread, with the stream's position at 0. Writes what fits; the final
  // position is the size of the whole. A transient state does not tell scripts when it is loaded.
  virtual void SaveState(SStateStream* stream, u8 transient) noexcept = 0;  // 8
  // False, and nothing has changed, for a version that is not known. False also for a state of
  // another disk; then the machine has to be reset. A state belongs to one pack; nothing checks it.
  virtual bool LoadState(SStateStream* stream) noexcept = 0;                   // 9
  virtual u64 GetFrameCount() noexcept = 0;                                    // 10
  virtual void RunFrame() noexcept = 0;                                        // 11
  virtual void SetInput(const SInputRecord* records, u32 count) noexcept = 0;  // 12
  virtual void Idle13() noexcept;                                              // 13
  virtual void Idle14() noexcept;                                              // 14
  virtual void ApplySettings() noexcept;                                       // 15
  // Unless asked to keep both, drops one of each pair of opposite directions.
  virtual void FilterDirections(u32* buttons, i8 keepBoth) noexcept;  // 16
  virtual void Idle17() noexcept;                                     // 17
  virtual u32 TranslateButtons(i32 buttons) noexcept;                 // 18
  virtual u32 MapIdentity(u32 value) noexcept;                        // 19
  virtual u32 GetConstant2() noexcept;                                // 20
  virtual u32 GetConstant4() noexcept;                                // 21
  virtual u32 GetConstant6() noexcept;                                // 22
  virtual void Idle23() noexcept;                                     // 23
  virtual void Idle24() noexcept;                                     // 24
  virtual bool HasFeature25() noexcept;                               // 25
  // Replaces a guest virtual address by its offset in the guest memory image.
  virtual bool TranslateAddress(u64* address) noexcept;  // 26
  virtual u64 HashState() noexcept;                      // 27

  using OnReserved = void (*)();
  using OnVideoFrame = void (*)(CQuillonMachineBase* machine, const u32* pixels, u32 width,
                                u32 height, u64, u64, u64, u64);
  // `count` counts 16-bit values, two for each stereo pair.
  using OnAudioBlock = void (*)(CQuillonMachineBase* machine, const i16* samples, u32 count);
  // Answers 1 when the host wants this frame's picture.
  using OnVideoFilter = i32 (*)(CQuillonMachineBase* machine);
  using OnDualFrame = void (*)(CQuillonMachineBase* machine, const u32* pixelsA, const u32* pixelsB,
                               u32 width, u32 height);

  OnReserved onReserved = nullptr;        // byte 8
  OnVideoFrame onVideoFrame = nullptr;    // byte 16
  OnAudioBlock onAudioBlock = nullptr;    // byte 24
  OnVideoFilter onVideoFilter = nullptr;  // byte 32
  OnDualFrame onDualFrame = nullptr;      // byte 40

 protected:
  CQuillonMachineBase() = default;
  ~CQuillonMachineBase() = default;
};
static_assert(sizeof(CQuillonMachineBase) == 48);

// ---------------------------------------------------------------------------------------------
// What the component offers

// The machine-level functions by slot; see the host's calling order in plugin/README.md.
struct SMachineTable {
  bool (*Startup)();                                                     // 0
  void (*Shutdown)();                                                    // 1
  CQuillonMachineBase* (*CreateMachine)();                               // 2
  void (*DestroyMachine)(CQuillonMachineBase* machine);                  // 3
  const char* (*GetShortName)();                                         // 4
  u64 (*GetMachineHash)();                                               // 5
  const wchar_t* (*GetFilePrefix)();                                     // 6
  const wchar_t* (*GetModuleId)();                                       // 7
  u64 (*GetStateBufferSize)();                                           // 8
  u32 (*AlwaysOne)();                                                    // 9
  void (*GetMemoryRegion)(u64* base, u64* size, i32 index);              // 10
  const char* (*GetSettingsLayout)(u32* length);                         // 11
  u32 (*MapIdentity)(u32 value);                                         // 12
  f64 (*GetFrameRate)();                                                 // 13
  void (*GetInputBindings)(SInputBinding* bindings);                     // 14
  u32 (*MapButtonIndex)(u32 index);                                      // 15
  bool (*IsButtonIndexValid)(u32 index);                                 // 16
  u32 (*GetPlayerCount)();                                               // 17
  bool (*IsFirstPort)(i32 port);                                         // 18
  u32 (*AlwaysOne19)();                                                  // 19
  void (*GetScriptDefine)(u32 index, char* name, char* value);           // 20
  void (*ResetSettings)();                                               // 21
  void (*SetScriptImage)(const u8* image, u32 size);                     // 22
  const u8* (*GetScriptImage)(u32* size);                                // 23
  void (*ScriptCallStatic)(u64 memoryBase, u64 function, u64 argument);  // 24
  void (*ScriptCall)(CQuillonMachineBase* machine, u64 memoryBase, u64 function,
                     u64 argument);                                // 25
  void (*ScriptReset)();                                           // 26
  const SSettingList* (*GetSettings)();                            // 27
  void (*TableIdle)();                                             // 28
  const wchar_t* (*GetExtensions1)();                              // 29
  const wchar_t* (*GetExtensions2)();                              // 30
  const wchar_t* (*GetExtensions3)();                              // 31
  const wchar_t* (*GetAllExtensions)();                            // 32
  bool (*MatchExtension1)(const wchar_t* extension);               // 33
  bool (*MatchExtension2)(const wchar_t* extension);               // 34
  bool (*MatchExtension3)(const wchar_t* extension);               // 35
  u32 (*IdentifyPack)(u64* hash, u64* size, const wchar_t* path);  // 36
  u32 (*GetConfigBlobSize)();                                      // 37
  void (*SaveConfigBlob)(SConfigBlob* blob);                       // 38
  bool (*LoadConfigBlob)(const SConfigBlob* blob, i32 size);       // 39
};
static_assert(sizeof(SMachineTable) == 320);
static_assert(offsetof(SMachineTable, GetScriptDefine) == 20 * 8);
static_assert(offsetof(SMachineTable, LoadConfigBlob) == 39 * 8);

// The descriptor that the host owns and the component fills: 112 cells.
struct SPluginDesc {
  u32 (*GetComponentKind)();                  // byte 0
  const char* (*GetAuthorName)();             // 8
  const char* (*GetDescription)();            // 16
  void (*ComponentIdle)();                    // 24
  void* zero[107];                            // 32 to 887
  const SMachineTable* (*GetMachineTable)();  // 888
};
static_assert(sizeof(SPluginDesc) == 896 && offsetof(SPluginDesc, GetMachineTable) == 888);

// The component's two exports.
using QuillonPluginGetApiVersion = u32 (*)();
using QuillonPluginInit = bool (*)(SPluginDesc* desc, const SHostApi* host);
inline constexpr const char* kExportGetApiVersion = "QuillonPlugin_GetAPIVersion";
inline constexpr const char* kExportInit = "QuillonPlugin_Init";

}  // namespace vx
