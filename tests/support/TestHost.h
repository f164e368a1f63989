// A host of the component that does what its services promise, remembers what it was asked, and can
// be told to answer otherwise.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "plugin/Quillon.h"

namespace vx::test {

inline constexpr u32 kPictureWidth = 320;
inline constexpr u32 kPictureHeight = 240;
inline constexpr u32 kPicturePixels = kPictureWidth * kPictureHeight;

struct SHostLogLine {
  i32 level;
  std::string text;
};

struct SFrameRequest {
  u64 sequence = 0;
  u32 width = 0, height = 0, bytesPerPixel = 0;
  bool bSpeculative = false;
};

struct SHashRequest {
  const void* data = nullptr;
  u64 bytes = 0;
  u64 previous = 0;
};

// The functions of SHostApi take no context, so that one host exists at a time. Services that the
// component calls from threads of its own are safe to call from there.
class CTestHost {
 public:
  CTestHost();
  ~CTestHost();
  CTestHost(const CTestHost&) = delete;
  CTestHost& operator=(const CTestHost&) = delete;

  // The table as the component sees it; a test may null slots of it.
  SHostApi& Api() { return api_; }

  std::vector<SHostLogLine> LogLines() const;

  // What the host answers.
  std::wstring cachePath = L"/nowhere/";
  std::atomic<f64> clockMs = 1000.0;
  bool bConfigLocked = false;
  bool bGivesPictures = true;

  // What it was asked.
  std::atomic<u32> inflateCalls = 0;
  std::atomic<u32> tableCalls = 0;
  u64 frameRequests = 0;
  SFrameRequest lastFrame;
  SHashRequest firstHash, furtherHash;

  // The frame buffer: the same for each frame.
  std::vector<u32> picture;

 private:
  friend struct SHostCalls;

  SHostApi api_{};
  mutable std::mutex logLock_;
  std::vector<SHostLogLine> log_;
};

}  // namespace vx::test
