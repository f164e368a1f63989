// The last minute of a machine, as states that each tell only what the one behind it has changed.
#pragma once

#include <array>
#include <deque>
#include <span>
#include <vector>

#include "plugin/Quillon.h"

namespace vx {

// The newest state is kept whole; of each older one, the blocks of it that the next newer one does
// not share, packed. Going back thus takes the newest off and unpacks the next. States may be of
// any shape and length; those of a machine are compared part by part, so that a part that has grown
// does not make the ones behind it look new. One thread.
class CRewind {
 public:
  // Holds up to `mostStates` (at least 1), and fewer if the packed blocks take more than
  // `mostBytes`.
  CRewind(u32 mostStates, u64 mostBytes);

  // Takes a state; the oldest goes when there is no more room. A state beyond the boundary's room
  // for one starts the history anew.
  void Push(std::span<const u8> state);

  // The newest state, and it is gone; false if there is none.
  bool Pop(std::vector<u8>& state);

  void Clear();

  u32 Count() const { return static_cast<u32>(steps_.size()) + (bNewest_ ? 1 : 0); }
  u64 PackedBytes() const { return packedBytes_; }  // of all but the newest

 private:
  // Parts of a state, each compared with the same part of the next.
  static constexpr u32 kParts = 4;

  struct SStep {
    std::array<u64, kParts> partBytes{};
    std::vector<char> packed;  // numbers of blocks, then what leads back to them
    u32 plainBytes = 0;
    u32 blocks = 0;
  };

  void Split(std::span<const u8> state, std::array<std::span<const u8>, kParts>& parts) const;
  void Compare(u32 part, std::span<const u8> fresh);
  void PackStep(const std::array<u64, kParts>& olderBytes);
  void GoBack(const SStep& step);

  u32 mostStates_;
  u64 mostBytes_;
  std::array<std::vector<u8>, kParts> newest_;  // padded with zeros to whole blocks
  std::array<u64, kParts> newestBytes_{};
  bool bNewest_ = false;
  std::deque<SStep> steps_;  // oldest first; each leads from the state behind it back to its own
  u64 packedBytes_ = 0;
  std::vector<u32> numbers_;  // of the step being made
  std::vector<u8> changes_;
  std::vector<u8> plain_;
  std::vector<char> room_;
};

}  // namespace vx
