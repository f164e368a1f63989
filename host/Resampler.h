// Converts 16-bit stereo from one rate to another, at a ratio that may move from block to block.
#pragma once

#include <memory>
#include <vector>

#include "plugin/Quillon.h"

struct SRC_STATE_tag;

namespace vx {

// What is made of a block follows without a seam what was made of the one before. The filter looks
// ahead, so that the end of a block comes with the next one. One thread.
class CResampler {
 public:
  static constexpr f64 kLeastRatio = 1.0 / 64;
  static constexpr f64 kMostRatio = 64;

  CResampler();

  // `count` 16-bit values, left and right in turn; `ratio` samples are made of one, which is kept
  // within the bounds above. The answer is valid until the next call.
  const std::vector<i16>& Convert(const i16* samples, u32 count, f64 ratio);
  // Forgets what came before, as after a gap.
  void Restart();

 private:
  struct SDelete {
    void operator()(SRC_STATE_tag* state) const;
  };

  std::unique_ptr<SRC_STATE_tag, SDelete> state_;
  std::vector<f32> in_;
  std::vector<f32> out_;
  std::vector<i16> made_;
};

}  // namespace vx
