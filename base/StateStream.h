// The caller's record of a save state or disk delta in memory, with bounds-checked access.
#pragma once

#include <cstring>

#include "base/Types.h"

namespace vx {

// A flat buffer that is written or read from `position` on. The caller sets `position` to 0 before
// each save or load.
struct SStateStream {
  u8* data = nullptr;
  u32 capacity = 0;  // bytes at `data`
  u32 position = 0;  // next byte
  u32 reserved = 0;  // cleared by callers, not used
};
static_assert(sizeof(SStateStream) == 24);
static_assert(offsetof(SStateStream, capacity) == 8 && offsetof(SStateStream, position) == 12);

// Appends `size` bytes if they fit. The position moves on in any case, so that a stream of
// capacity 0 measures what a full save needs.
inline void WriteBytes(SStateStream& stream, const void* source, u32 size) {
  const u64 end = u64{stream.position} + size;
  if (end <= stream.capacity && size != 0) std::memcpy(stream.data + stream.position, source, size);
  stream.position = static_cast<u32>(end);
}

// Takes `size` bytes if that many are left; otherwise leaves target and position as they are.
inline bool ReadBytes(SStateStream& stream, void* target, u32 size) {
  if (u64{stream.position} + size > stream.capacity) return false;
  if (size != 0) std::memcpy(target, stream.data + stream.position, size);
  stream.position += size;
  return true;
}

template <typename T>
void WriteValue(SStateStream& stream, const T& value) {
  WriteBytes(stream, &value, sizeof(T));
}

template <typename T>
bool ReadValue(SStateStream& stream, T& value) {
  return ReadBytes(stream, &value, sizeof(T));
}

}  // namespace vx
