#include "host/Inflate.h"

#include <zlib.h>

namespace vx {

SInflateResult InflateBlock(void* target, u32 targetBytes, const void* source,
                            u32 sourceBytes) noexcept {
  SInflateResult result;
  if (source == nullptr || (target == nullptr && targetBytes != 0)) return result;
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) return result;
  Bytef nothing = 0;  // zlib wants a target address for an empty block too
  stream.next_in = static_cast<Bytef*>(const_cast<void*>(source));
  stream.avail_in = sourceBytes;
  stream.next_out = targetBytes == 0 ? &nothing : static_cast<Bytef*>(target);
  stream.avail_out = targetBytes;
  const int answer = inflate(&stream, Z_FINISH);
  result.producedBytes = targetBytes - stream.avail_out;
  result.bExact = answer == Z_STREAM_END && stream.avail_out == 0;
  inflateEnd(&stream);
  return result;
}

}  // namespace vx
