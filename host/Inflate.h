// One zlib stream into one buffer, with an answer that tells good data from damaged data.
#pragma once

#include "plugin/Quillon.h"

namespace vx {

struct SInflateResult {
  bool bExact = false;    // the stream is whole, its checksum holds and it fills the target exactly
  u32 producedBytes = 0;  // written to the target
};

// Re-entrant. Never writes beyond targetBytes. Bytes behind the end of the stream are not an error.
SInflateResult InflateBlock(void* target, u32 targetBytes, const void* source,
                            u32 sourceBytes) noexcept;

}  // namespace vx
