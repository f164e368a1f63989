#include "blockgen/GuestCode.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "blocks/Formats.h"
#include "mips3/Context.h"

namespace vx::blockgen {

namespace {

std::vector<u8> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<u8> bytes((std::istreambuf_iterator<char>(file)), {});
  if (!file.is_open() || file.bad() || bytes.empty()) {
    throw CInputError(path + " cannot be read, or is empty");
  }
  return bytes;
}

// Reads values one after the other; a file may end anywhere.
class CReader {
 public:
  explicit CReader(const std::vector<u8>& bytes) : bytes_(bytes) {}
  template <typename T>
  bool Read(T& value) {
    if (bytes_.size() - position_ < sizeof(T)) return false;
    std::memcpy(&value, bytes_.data() + position_, sizeof(T));
    position_ += sizeof(T);
    return true;
  }

 private:
  const std::vector<u8>& bytes_;
  size_t position_ = 0;
};

}  // namespace

CGuestCode::CGuestCode(const std::string& cachePath, const std::string& imagePath) : CGuestCode() {
  const std::vector<u8> bytes = ReadFile(cachePath);
  CReader reader(bytes);
  SRecordCacheHeader header;
  if (!reader.Read(header) || header.magic != kRecordCacheMagic ||
      header.version != kRecordCacheVersion || header.recordCount == 0) {
    throw CInputError(cachePath + " is not a file of discovered code of this version");
  }
  u16 count = 0;
  u32 first = 0;
  while (reader.Read(count) && count != 0 && reader.Read(first)) {
    SCachedRecord record;
    for (u32 i = 0; i < count && reader.Read(record); ++i) {
      const u64 index = u64{first} + i;
      if (index >= kRecordCount || (record.flags & kOpValid) == 0) continue;
      Add(static_cast<u32>(index), record.word, record.flags);
    }
  }
  if (!imagePath.empty()) TakeImage(imagePath);
}

void CGuestCode::Add(u32 index, u32 word, u32 flags) {
  words_[index] = word;
  marks_[index] = static_cast<u8>(kKnown | ((flags & kOpHead) != 0 ? kHead : 0) |
                                  ((flags & kOpDelayOp) != 0 ? kDelay : 0));
}

// Memory holds every word as far as it reaches, those that never ran included.
void CGuestCode::TakeImage(const std::string& path) {
  const std::vector<u8> image = ReadFile(path);
  const size_t words = std::min<size_t>(image.size() / sizeof(u32), kRecordCount);
  std::memcpy(words_.data(), image.data(), words * sizeof(u32));
  for (size_t i = 0; i < words; ++i) marks_[i] |= kKnown;
  bImage_ = true;
}

}  // namespace vx::blockgen
