#include "host/HostServices.h"

#include <xxhash.h>
#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstring>

#include "host/Folders.h"
#include "host/Inflate.h"
#include "host/Text.h"

namespace vx {

namespace {

constexpr u64 kPictureBytes = u64{320} * 240 * 4;

const wchar_t* GetCachePath() { return CHostServices::Get().CachePath(); }

void Log(i32 level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  CHostServices::Get().Log().Write(level, format, arguments);
  va_end(arguments);
}

void Inflate(void* target, const void* source, u32 targetBytes, u32 sourceBytes, u32 /*flag*/) {
  const SInflateResult result = InflateBlock(target, targetBytes, source, sourceBytes);
  CHostServices::Get().RecordInflate(targetBytes);
  if (result.bExact) return;
  CHostServices::Get().RecordInflateFailure({sourceBytes, targetBytes, result.producedBytes});
}

void DecompressTable(void* target, const void* source, u32 targetBytes, u32 sourceBytes, u32, u32,
                     u32) {
  const u32 bytes = std::min(targetBytes, sourceBytes);
  if (bytes != 0 && target != nullptr && source != nullptr) std::memcpy(target, source, bytes);
}

u64 HashData(const void* data, u64 bytes) { return XXH3_64bits(data, bytes); }

u64 HashDataMore(const void* data, u64 bytes, u64 previous) {
  return XXH3_64bits_withSeed(data, bytes, previous);
}

f64 GetClockMs() {
  CHostServices::Get().CountClockRead();
  return CHostServices::Get().ClockMs();
}

void* AcquireFrameBuffer(u64 /*frameSequence*/, u32 width, u32 height, u32 bytesPerPixel,
                         bool /*bSpeculative*/) {
  return CHostServices::Get().FrameBuffers().Acquire(width, height, bytesPerPixel);
}

bool IsConfigLocked() { return CHostServices::Get().HasLockedConfig(); }

i32 SpatialGetMode(u32, u32, u32) { return 0; }
u32 SpatialGetBlockSize() { return CSpatialPanner::kBlockValues; }
bool SpatialIsEnabled() { return CHostServices::Get().Panner().IsEnabled(); }
void SpatialGetListener(f32* position, f32* forward, f32* right, f32* up) {
  CHostServices::Get().Panner().MeetListener(position, forward, right, up);
}
void* SpatialCreateSource() { return CHostServices::Get().Panner().Create(); }
void SpatialDestroySource(void* handle) {
  CHostServices::Get().Panner().Destroy(static_cast<CSpatialSource*>(handle));
}
void SpatialPlaceSource(void* handle, const f32* position, f32 range, f32 level, i32 /*mode*/) {
  CHostServices::Get().Panner().Place(static_cast<CSpatialSource*>(handle), position, range, level);
}
void SpatialRender(void* output, void* outputField, void* handle, const void* samples, u32 count) {
  const u32 tailValues = CHostServices::Get().Panner().Render(
      static_cast<i16*>(output), static_cast<CSpatialSource*>(handle),
      static_cast<const i16*>(samples), count);
  if (outputField != nullptr) std::memcpy(outputField, &tailValues, sizeof(tailValues));
}

// Without a script whatever was interrupted goes on.
i32 InvokeDspHook(CQuillonMachineBase* machine, bool, u32 hook, u32 argument) {
  CScriptHandler* const handler = CHostServices::Get().ScriptHandler();
  return handler != nullptr ? handler->OnDspHook(machine, hook, argument) : 1;
}
i32 InvokeMipsHook(CQuillonMachineBase* machine, bool, u32 hook, u32 first, u32 second) {
  CScriptHandler* const handler = CHostServices::Get().ScriptHandler();
  return handler != nullptr ? handler->OnMipsHook(machine, hook, first, second) : 1;
}

}  // namespace

CHostServices& CHostServices::Get() {
  static CHostServices services;
  return services;
}

CHostServices::CHostServices() : frameBuffers_(kPictureBytes) {
  api_.GetCachePath = GetCachePath;
  api_.Log = vx::Log;
  api_.Inflate = Inflate;
  api_.DecompressTable = DecompressTable;
  api_.HashData = HashData;
  api_.HashDataMore = HashDataMore;
  api_.GetClockMs = GetClockMs;
  api_.AcquireFrameBuffer = AcquireFrameBuffer;
  api_.IsConfigLocked = IsConfigLocked;
  api_.SpatialGetMode = SpatialGetMode;
  api_.SpatialGetBlockSize = SpatialGetBlockSize;
  api_.SpatialIsEnabled = SpatialIsEnabled;
  api_.SpatialGetListener = SpatialGetListener;
  api_.SpatialCreateSource = SpatialCreateSource;
  api_.SpatialDestroySource = SpatialDestroySource;
  api_.SpatialPlaceSource = SpatialPlaceSource;
  api_.SpatialRender = SpatialRender;
  api_.InvokeDspHook = InvokeDspHook;
  api_.InvokeMipsHook = InvokeMipsHook;
  SetCacheFolder(DefaultCacheFolder());
}

void CHostServices::SetCacheFolder(std::string folder) {
  if (folder.empty() || folder.back() != '/') folder.push_back('/');
  const std::lock_guard lock(mutex_);
  cacheFolder_ = std::move(folder);
  cacheFolderWide_ = ToWide(cacheFolder_);
  bCacheFolderMade_ = false;
}

const wchar_t* CHostServices::CachePath() noexcept {
  const std::lock_guard lock(mutex_);
  if (!bCacheFolderMade_) {
    bCacheFolderMade_ = true;  // one attempt: without the folder nothing is kept between runs
    EnsureFolder(cacheFolder_);
  }
  return cacheFolderWide_.c_str();
}

std::optional<SInflateFailure> CHostServices::FirstInflateFailure() {
  const std::lock_guard lock(mutex_);
  return firstFailure_;
}

void CHostServices::RecordInflateFailure(const SInflateFailure& failure) noexcept {
  {
    const std::lock_guard lock(mutex_);
    if (!firstFailure_) firstFailure_ = failure;
  }
  inflateFailures_.fetch_add(1, std::memory_order_release);
}

void CHostServices::ClearInflateFailures() {
  const std::lock_guard lock(mutex_);
  firstFailure_.reset();
  inflateFailures_.store(0, std::memory_order_release);
}

void CHostServices::CountInflates(u32 blockBytes) {
  countedInflates_.store(0, std::memory_order_relaxed);
  countedBytes_.store(blockBytes, std::memory_order_relaxed);
}

void CHostServices::RecordInflate(u32 blockBytes) noexcept {
  if (blockBytes != countedBytes_.load(std::memory_order_relaxed)) return;
  countedInflates_.fetch_add(1, std::memory_order_relaxed);
}

void CHostServices::SetBoardClock(f64 milliseconds) {
  boardClockMs_.store(milliseconds, std::memory_order_relaxed);
  bBoardClock_.store(true, std::memory_order_release);
}

f64 CHostServices::ClockMs() const noexcept {
  if (bBoardClock_.load(std::memory_order_acquire)) {
    return boardClockMs_.load(std::memory_order_relaxed);
  }
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<f64, std::milli>(now).count();
}

}  // namespace vx
