// Where the parts of a machine's state lie in its stream, as far as a host has use for it: states
// of one machine differ in length, and are compared part by part.
#pragma once

#include <optional>
#include <span>

#include "plugin/Quillon.h"

namespace vx {

// Byte offsets into the stream; each part ends where the next begins.
struct SStateSections {
  u64 context = 0;    // behind the memory and the timeline: processor and page map
  u64 sound = 0;      // sound processor, held samples, drive
  u64 disk = 0;       // head, bitmap and sectors of what the guest has written
  u64 instances = 0;  // clones of the sound processor, up to the end

  u64 bitmap = 0;  // of the disk part: words of 64 sectors; `bitmapWords` of them from `firstWord`
  u32 firstWord = 0;
  u32 bitmapWords = 0;
  u64 sectors = 0;  // contents of the sectors whose bits are set, 512 bytes each
};

// Nothing for a stream of another version or shape.
std::optional<SStateSections> FindStateSections(std::span<const u8> stream);

}  // namespace vx
