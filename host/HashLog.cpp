#include "host/HashLog.h"

#include <xxhash.h>
#include <cinttypes>

namespace vx {

CHashLog::CHashLog(const std::string& path, const std::vector<std::string>& columns) : file_(path) {
  line_ = "# frame";
  for (const std::string& column : columns) line_ += " " + column;
  line_ += "\n";
  file_.Write(line_.data(), line_.size());
}

void CHashLog::Write(u64 frame, const std::vector<std::optional<u64>>& values) {
  char text[24];
  std::snprintf(text, sizeof(text), "%" PRIu64, frame);
  line_ = text;
  for (const std::optional<u64>& value : values) {
    line_ += ' ';
    if (value) std::snprintf(text, sizeof(text), "%016" PRIx64, *value);
    line_ += value ? text : "-";
  }
  line_ += '\n';
  file_.Write(line_.data(), line_.size());
}

u64 HashBytes(const void* data, u64 bytes, u64 previous) {
  return XXH3_64bits_withSeed(data, bytes, previous);
}

u64 HashPicture(const u32* pixels, u32 width, u32 height) {
  return XXH3_64bits(pixels, u64{width} * height * sizeof(u32));
}

}  // namespace vx
