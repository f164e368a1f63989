// The services that the component asks of its host, as the table that crosses the boundary.
//
// The functions of the table carry no context, so their state is one per process. Everything here
// may be called from any thread: the component's disk reader and workers do.
#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>

#include "host/ComponentLog.h"
#include "host/FrameBufferRing.h"
#include "host/ScriptHandler.h"
#include "host/SpatialPanner.h"
#include "plugin/Quillon.h"

namespace vx {

// A block that did not unpack to exactly what the component expected of it.
struct SInflateFailure {
  u32 storedBytes;
  u32 expectedBytes;
  u32 producedBytes;
};

class CHostServices {
 public:
  static CHostServices& Get();

  // The filled table; it lives as long as the process.
  const SHostApi* Api() const { return &api_; }

  CComponentLog& Log() { return log_; }
  CFrameBufferRing& FrameBuffers() { return frameBuffers_; }
  CSpatialPanner& Panner() { return panner_; }

  // The folder that GetCachePath names, without which the default holds. Before the component is
  // loaded only. A closing "/" is added where it is missing.
  void SetCacheFolder(std::string folder);
  // Makes the folder on first use and answers its wide path, which stays valid. Null never.
  const wchar_t* CachePath() noexcept;

  // Damaged data shows only here: the component does not look at the result of an inflate.
  u64 InflateFailureCount() const { return inflateFailures_.load(std::memory_order_acquire); }
  std::optional<SInflateFailure> FirstInflateFailure();
  void RecordInflateFailure(const SInflateFailure& failure) noexcept;
  void ClearInflateFailures();

  // Counts the blocks of this size that have been unpacked since.
  void CountInflates(u32 blockBytes);
  u32 CountedInflates() const { return countedInflates_.load(std::memory_order_relaxed); }
  void RecordInflate(u32 blockBytes) noexcept;

  // Whether the component is to follow the settings blob that it was last given.
  void LockConfig(bool bLocked) { bConfigLocked_.store(bLocked, std::memory_order_release); }
  bool HasLockedConfig() const { return bConfigLocked_.load(std::memory_order_acquire); }

  // Where the component's hooks go; null, as at first: whatever was interrupted goes on. Between
  // frames only.
  void SetScriptHandler(CScriptHandler* handler) {
    scriptHandler_.store(handler, std::memory_order_release);
  }
  CScriptHandler* ScriptHandler() const { return scriptHandler_.load(std::memory_order_acquire); }

  // Replaces the real clock by one that moves only when it is told to: a run is then a function of
  // its input alone.
  void SetBoardClock(f64 milliseconds);
  void UseRealClock() { bBoardClock_.store(false, std::memory_order_release); }
  bool HasBoardClock() const { return bBoardClock_.load(std::memory_order_acquire); }
  f64 ClockMs() const noexcept;
  // How often the component has asked for the clock: it does for each sector that its guest writes.
  u64 ClockReads() const { return clockReads_.load(std::memory_order_relaxed); }
  void CountClockRead() noexcept { clockReads_.fetch_add(1, std::memory_order_relaxed); }

  CHostServices(const CHostServices&) = delete;
  CHostServices& operator=(const CHostServices&) = delete;

 private:
  CHostServices();

  SHostApi api_{};
  CComponentLog log_;
  CFrameBufferRing frameBuffers_;
  CSpatialPanner panner_;
  std::mutex mutex_;  // guards what follows, the atomics apart
  std::string cacheFolder_;
  std::wstring cacheFolderWide_;
  bool bCacheFolderMade_ = false;
  std::optional<SInflateFailure> firstFailure_;
  std::atomic<u64> inflateFailures_{0};
  std::atomic<u32> countedBytes_{0};
  std::atomic<u32> countedInflates_{0};
  std::atomic<bool> bConfigLocked_{false};
  std::atomic<CScriptHandler*> scriptHandler_{nullptr};
  std::atomic<bool> bBoardClock_{false};
  std::atomic<f64> boardClockMs_{0};
  std::atomic<u64> clockReads_{0};
};

// Lets the clock that the board sees stand for the lifetime of the object.
class CClockHold {
 public:
  CClockHold() : bHeld_(!CHostServices::Get().HasBoardClock()) {
    if (bHeld_) CHostServices::Get().SetBoardClock(CHostServices::Get().ClockMs());
  }
  ~CClockHold() {
    if (bHeld_) CHostServices::Get().UseRealClock();
  }
  CClockHold(const CClockHold&) = delete;
  CClockHold& operator=(const CClockHold&) = delete;

 private:
  bool bHeld_;
};

}  // namespace vx
