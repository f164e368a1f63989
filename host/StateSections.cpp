#include "host/StateSections.h"

#include <bit>
#include <cstring>

namespace vx {

namespace {

constexpr u32 kVersion = 4;
constexpr u64 kMemoryBytes = 0x80000 + 0x800000;
constexpr u64 kBlockBytes = 160 + 32;
constexpr u64 kEventBytes = 24;
constexpr u64 kClientBytes = 8;
constexpr u64 kContextBytes = 3696;
constexpr u64 kMapLowAt = 1368;  // in the context; the highest page mapped stands behind it
constexpr u64 kLowPagesBytes = 16384;
constexpr u64 kSoundBlockBytes = 13792;
constexpr u64 kDriveBytes = 584 + 32 + 512;
constexpr u64 kSoundLinkBytes = 120;
constexpr u64 kTransientBytes = 1;

struct SDeltaHead {
  u64 reserved0;
  u32 words;  // of a whole bitmap; 0: there is none
  u32 first;
  u32 last;
  u32 reserved20;
};
static_assert(sizeof(SDeltaHead) == 24);

class CWalk {
 public:
  explicit CWalk(std::span<const u8> stream) : stream_(stream) {}

  u64 At() const { return at_; }
  bool Holds() const { return bHolds_; }
  void Skip(u64 bytes) {
    bHolds_ = bHolds_ && bytes <= stream_.size() - at_;
    if (bHolds_) at_ += bytes;
  }
  template <typename T>
  T Read() {
    T value{};
    const u64 from = at_;
    Skip(sizeof(value));
    if (bHolds_) std::memcpy(&value, stream_.data() + from, sizeof(value));
    return value;
  }

 private:
  std::span<const u8> stream_;
  u64 at_ = 0;
  bool bHolds_ = true;
};

void WalkToContext(CWalk& walk) {
  walk.Skip(kMemoryBytes + kBlockBytes);
  const u32 blobs = walk.Read<u32>();
  for (u32 i = 0; i < blobs && walk.Holds(); ++i) {
    walk.Skip(sizeof(u64));
    walk.Skip(walk.Read<u32>());
  }
  walk.Skip(sizeof(f64));
  const u64 events = walk.Read<u32>();
  const u64 clients = walk.Read<u32>();
  walk.Skip(events * kEventBytes + clients * kClientBytes);
}

void WalkToSound(CWalk& walk) {
  walk.Skip(kMapLowAt);
  const u64 low = walk.Read<u32>();
  const u64 high = walk.Read<u32>();
  walk.Skip(kContextBytes - kMapLowAt - 2 * sizeof(u32) + kLowPagesBytes);
  if (high >= low) walk.Skip((high - low + 1) * sizeof(u64));
}

void WalkToDisk(CWalk& walk) {
  walk.Skip(kSoundBlockBytes);
  walk.Skip(u64{walk.Read<u32>()} * sizeof(u16));  // samples held for the host
  walk.Skip(u64{walk.Read<u32>()} * sizeof(u32));  // tail of the clones
  walk.Skip(kDriveBytes + kSoundLinkBytes + kTransientBytes);
}

void WalkDisk(CWalk& walk, std::span<const u8> stream, SStateSections& sections) {
  const SDeltaHead head = walk.Read<SDeltaHead>();
  sections.bitmap = sections.sectors = walk.At();
  if (!walk.Holds() || head.words == 0 || head.last < head.first) return;
  sections.firstWord = head.first;
  const u64 words = u64{head.last} - head.first + 1;
  walk.Skip(words * sizeof(u64));
  if (!walk.Holds()) return;
  sections.bitmapWords = static_cast<u32>(words);
  sections.sectors = walk.At();
  u64 count = 0;
  for (u64 i = 0; i < words; ++i) {
    u64 word = 0;
    std::memcpy(&word, stream.data() + sections.bitmap + i * sizeof(word), sizeof(word));
    count += static_cast<u64>(std::popcount(word));
  }
  walk.Skip(count * kSectorBytes);
}

}  // namespace

std::optional<SStateSections> FindStateSections(std::span<const u8> stream) {
  CWalk walk(stream);
  if (walk.Read<u32>() != kVersion) return std::nullopt;
  SStateSections sections;
  WalkToContext(walk);
  sections.context = walk.At();
  WalkToSound(walk);
  sections.sound = walk.At();
  WalkToDisk(walk);
  sections.disk = walk.At();
  WalkDisk(walk, stream, sections);
  sections.instances = walk.At();
  walk.Skip(sizeof(u32));
  if (!walk.Holds()) return std::nullopt;
  return sections;
}

}  // namespace vx
