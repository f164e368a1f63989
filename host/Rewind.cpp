#include "host/Rewind.h"

#include <lz4.h>
#include <algorithm>
#include <cstring>

#include "host/StateSections.h"

namespace vx {

namespace {

constexpr u64 kBlockBytes = 64;
constexpr u32 kPartShift = 28;  // a block's number has its part in the bits from here up
constexpr u32 kNumberMask = (1u << kPartShift) - 1;

u64 WholeBlocks(u64 bytes) { return (bytes + kBlockBytes - 1) / kBlockBytes * kBlockBytes; }

// What leads from one block to the other and back.
void Xor(u8* target, const u8* a, const u8* b) {
  for (u64 i = 0; i < kBlockBytes; i += sizeof(u64)) {
    u64 x = 0;
    u64 y = 0;
    std::memcpy(&x, a + i, sizeof(x));
    std::memcpy(&y, b + i, sizeof(y));
    x ^= y;
    std::memcpy(target + i, &x, sizeof(x));
  }
}

}  // namespace

CRewind::CRewind(u32 mostStates, u64 mostBytes)
    : mostStates_(std::max(mostStates, 1u)), mostBytes_(mostBytes) {}

void CRewind::Clear() {
  steps_.clear();
  packedBytes_ = 0;
  bNewest_ = false;
  for (std::vector<u8>& part : newest_) part.clear();
}

void CRewind::Split(std::span<const u8> state,
                    std::array<std::span<const u8>, kParts>& parts) const {
  const auto sections = FindStateSections(state);
  if (!sections) {
    parts[0] = state;
    return;
  }
  parts[0] = state.subspan(0, sections->context);
  parts[1] = state.subspan(sections->context, sections->sound - sections->context);
  parts[2] = state.subspan(sections->sound, sections->disk - sections->sound);
  parts[3] = state.subspan(sections->disk);
}

// Notes the blocks of a part that differ, and makes the newest state's equal to them.
void CRewind::Compare(u32 part, std::span<const u8> fresh) {
  std::vector<u8>& newest = newest_[part];
  const u64 covered = std::max(WholeBlocks(fresh.size()), newest.size());
  newest.resize(covered, 0);
  u8 padded[kBlockBytes];
  for (u64 at = 0; at < covered; at += kBlockBytes) {
    const u8* source = fresh.data() + at;
    if (at + kBlockBytes > fresh.size()) {
      std::memset(padded, 0, sizeof(padded));
      if (at < fresh.size()) std::memcpy(padded, source, fresh.size() - at);
      source = padded;
    }
    u8* const target = newest.data() + at;
    if (std::memcmp(source, target, kBlockBytes) == 0) continue;
    numbers_.push_back(part << kPartShift | static_cast<u32>(at / kBlockBytes));
    const u64 end = changes_.size();
    changes_.resize(end + kBlockBytes);
    Xor(changes_.data() + end, source, target);
    std::memcpy(target, source, kBlockBytes);
  }
  newestBytes_[part] = fresh.size();
}

void CRewind::PackStep(const std::array<u64, kParts>& olderBytes) {
  const u64 numberBytes = numbers_.size() * sizeof(u32);
  plain_.resize(numberBytes + changes_.size());
  if (numberBytes != 0) std::memcpy(plain_.data(), numbers_.data(), numberBytes);
  std::copy(changes_.begin(), changes_.end(), plain_.begin() + static_cast<i64>(numberBytes));
  SStep step;
  step.partBytes = olderBytes;
  step.plainBytes = static_cast<u32>(plain_.size());
  step.blocks = static_cast<u32>(numbers_.size());
  if (!plain_.empty()) {
    room_.resize(static_cast<u64>(LZ4_compressBound(static_cast<int>(plain_.size()))));
    const int bytes =
        LZ4_compress_default(reinterpret_cast<const char*>(plain_.data()), room_.data(),
                             static_cast<int>(plain_.size()), static_cast<int>(room_.size()));
    step.packed.assign(room_.begin(), room_.begin() + bytes);
  }
  packedBytes_ += step.packed.size();
  steps_.push_back(std::move(step));
}

void CRewind::Push(std::span<const u8> state) {
  if (state.size() > kStateBufferSize) {
    Clear();
    return;
  }
  const bool bFirst = !bNewest_;
  const std::array<u64, kParts> olderBytes = newestBytes_;
  std::array<std::span<const u8>, kParts> parts;
  Split(state, parts);
  numbers_.clear();
  changes_.clear();
  for (u32 part = 0; part < kParts; ++part) Compare(part, parts[part]);
  bNewest_ = true;
  if (bFirst) return;
  PackStep(olderBytes);
  while (!steps_.empty() && (Count() > mostStates_ || packedBytes_ > mostBytes_)) {
    packedBytes_ -= steps_.front().packed.size();
    steps_.pop_front();
  }
}

void CRewind::GoBack(const SStep& step) {
  plain_.resize(step.plainBytes);
  if (step.plainBytes == 0) {
    newestBytes_ = step.partBytes;
    return;
  }
  LZ4_decompress_safe(step.packed.data(), reinterpret_cast<char*>(plain_.data()),
                      static_cast<int>(step.packed.size()), static_cast<int>(step.plainBytes));
  const u8* change = plain_.data() + step.blocks * sizeof(u32);
  for (u32 i = 0; i < step.blocks; ++i, change += kBlockBytes) {
    u32 number = 0;
    std::memcpy(&number, plain_.data() + i * sizeof(number), sizeof(number));
    u8* const target =
        newest_[number >> kPartShift].data() + u64{number & kNumberMask} * kBlockBytes;
    Xor(target, target, change);
  }
  newestBytes_ = step.partBytes;
}

bool CRewind::Pop(std::vector<u8>& state) {
  if (!bNewest_) return false;
  state.clear();
  for (u32 part = 0; part < kParts; ++part) {
    const u8* const first = newest_[part].data();
    state.insert(state.end(), first, first + newestBytes_[part]);
  }
  if (steps_.empty()) {
    Clear();
    return true;
  }
  GoBack(steps_.back());
  packedBytes_ -= steps_.back().packed.size();
  steps_.pop_back();
  return true;
}

}  // namespace vx
