#include "host/FrameBufferRing.h"

#include <new>

namespace vx {

CFrameBufferRing::CFrameBufferRing(u64 bytes) {
  for (SBuffer& buffer : buffers_) {
    buffer.bytes.reset(new u8[bytes]());
    buffer.capacity = bytes;
  }
}

void* CFrameBufferRing::Acquire(u32 width, u32 height, u32 bytesPerPixel) noexcept {
  const u64 pixels = u64{width} * height;  // cannot overflow: two 32-bit factors
  if (pixels == 0 || bytesPerPixel == 0 || pixels > kMaxBytes / bytesPerPixel) return nullptr;
  const u64 needed = pixels * bytesPerPixel;

  const std::lock_guard lock(mutex_);
  SBuffer& buffer = buffers_[next_];
  if (buffer.capacity < needed) {
    u8* grown = new (std::nothrow) u8[needed]();
    if (grown == nullptr) return nullptr;
    buffer.bytes.reset(grown);
    buffer.capacity = needed;
  }
  next_ = (next_ + 1) % kBuffers;
  return buffer.bytes.get();
}

}  // namespace vx
