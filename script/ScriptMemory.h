// A script's linear memory as the host hands it over: a base address, and 32-bit offsets behind it.
// Its size is not told, so that what an access needs is only kept inside the 4 GiB that offsets can
// name; the host answers for the rest. Without a base, loads give 0 and stores do nothing.
#pragma once

#include <cstring>

#include "base/Types.h"

namespace vx {

class CScriptMemory {
 public:
  explicit CScriptMemory(u64 base) : base_(reinterpret_cast<u8*>(base)) {}

  // The bytes at an offset; null if they are not all there.
  u8* Span(u64 offset, u64 bytes) const {
    constexpr u64 kReach = u64{1} << 32;
    return base_ != nullptr && offset < kReach && bytes <= kReach - offset ? base_ + offset
                                                                           : nullptr;
  }
  // How many bytes an offset has behind it.
  u64 Room(u32 offset) const { return base_ != nullptr ? (u64{1} << 32) - offset : 0; }

  template <typename T>
  T Load(u64 offset) const {
    T value{};
    if (const u8* const bytes = Span(offset, sizeof(T))) std::memcpy(&value, bytes, sizeof(T));
    return value;
  }
  template <typename T>
  void Store(u64 offset, const T& value) const {
    if (u8* const bytes = Span(offset, sizeof(T))) std::memcpy(bytes, &value, sizeof(T));
  }

 private:
  u8* base_;
};

}  // namespace vx
