// The host's picture memory. The machine and its look-ahead workers each take a buffer for every
// frame that they draw, from their own threads, and show it before many more have been taken.
#pragma once

#include <array>
#include <memory>
#include <mutex>

#include "plugin/Quillon.h"

namespace vx {

// The last kBuffers buffers handed out are distinct; an older one is used again. Safe from any
// thread. Ordinary and speculative frames take from the same ring, so neither can meet the other's
// buffer.
class CFrameBufferRing {
 public:
  static constexpr u32 kBuffers = 16;
  static constexpr u64 kMaxBytes = u64{64} << 20;

  // Prepares buffers of `bytes`, so that frames of that size allocate nothing.
  explicit CFrameBufferRing(u64 bytes);

  // A buffer of at least width x height x bytesPerPixel bytes, or null if that is 0, above
  // kMaxBytes, or not to be had.
  void* Acquire(u32 width, u32 height, u32 bytesPerPixel) noexcept;

 private:
  struct SBuffer {
    std::unique_ptr<u8[]> bytes;
    u64 capacity = 0;
  };

  std::mutex mutex_;
  std::array<SBuffer, kBuffers> buffers_;
  u32 next_ = 0;
};

}  // namespace vx
