// Looking at a pack without loading it.
#pragma once

#include "base/Types.h"

namespace vx {

// 1 if the file has a valid entry table; then `hash` is the combined hash of all its entries and
// `size` the file's length. 0 otherwise, and nothing is written. Laxer than loading on purpose.
u32 IdentifyPack(u64* hash, u64* size, const wchar_t* path);

}  // namespace vx
