// Room for one state of a machine.
#pragma once

#include <algorithm>
#include <memory>
#include <span>

#include "plugin/Quillon.h"

namespace vx {

// As much as the boundary promises to be enough. The room is not cleared, so that it costs what is
// used of it alone.
class CStateBuffer {
 public:
  CStateBuffer() : data_(std::make_unique_for_overwrite<u8[]>(kStateBufferSize)) {}

  u8* Data() { return data_.get(); }
  // `bytes` at most kStateBufferSize.
  void SetBytes(u64 bytes) { bytes_ = std::min(bytes, kStateBufferSize); }
  std::span<const u8> Stream() const { return {data_.get(), bytes_}; }
  bool IsEmpty() const { return bytes_ == 0; }

 private:
  std::unique_ptr<u8[]> data_;
  u64 bytes_ = 0;
};

}  // namespace vx
