// zlib streams of a pack. Inflating works in pieces, so that memory use does not depend on what a
// damaged pack claims.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "base/Types.h"
#include "tools/packfile/ByteSource.h"

namespace vx {

using TakeBytes = std::function<void(std::span<const u8>)>;

// One zlib stream at level 9. The same bytes give the same stream.
std::vector<u8> DeflateBytes(std::span<const u8> plain);

// Inflates the one zlib stream that must fill `storedBytes` at `offset` of the source and give
// exactly `expectedBytes`. Answers an empty text, or what is wrong: what was found and what was
// expected, without a full stop. On a fault `take` may have got some of the bytes, never more than
// `expectedBytes`.
std::string InflateStored(const CByteSource& source, u64 offset, u64 storedBytes, u64 expectedBytes,
                          const TakeBytes& take);

}  // namespace vx
