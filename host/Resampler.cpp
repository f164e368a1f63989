#include "host/Resampler.h"

#include <samplerate.h>

#include <algorithm>
#include <cmath>
#include <new>

namespace vx {

namespace {
constexpr i32 kChannels = 2;
constexpr u32 kSparePairs = 64;  // more than rounding and the filter can add to a block
}  // namespace

void CResampler::SDelete::operator()(SRC_STATE_tag* state) const { src_delete(state); }

CResampler::CResampler() {
  int error = 0;
  state_.reset(src_new(SRC_SINC_FASTEST, kChannels, &error));
  if (!state_) throw std::bad_alloc();  // the one way in which valid arguments fail
}

const std::vector<i16>& CResampler::Convert(const i16* samples, u32 count, f64 ratio) {
  made_.clear();
  const u32 pairs = count / kChannels;
  if (pairs == 0 || !(ratio > 0)) return made_;
  ratio = std::clamp(ratio, kLeastRatio, kMostRatio);
  const u64 room = static_cast<u64>(std::ceil(pairs * ratio)) + kSparePairs;
  in_.resize(u64{pairs} * kChannels);
  src_short_to_float_array(samples, in_.data(), static_cast<int>(in_.size()));
  out_.resize(room * kChannels);

  SRC_DATA data{};
  data.src_ratio = ratio;
  data.data_in = in_.data();
  data.input_frames = pairs;
  while (data.input_frames > 0) {
    data.data_out = out_.data();
    data.output_frames = static_cast<long>(room);
    if (src_process(state_.get(), &data) != 0) break;
    const u64 old = made_.size();
    const u64 values = static_cast<u64>(data.output_frames_gen) * kChannels;
    made_.resize(old + values);
    src_float_to_short_array(out_.data(), made_.data() + old, static_cast<int>(values));
    if (data.input_frames_used == 0 && data.output_frames_gen == 0) break;
    data.data_in += data.input_frames_used * kChannels;
    data.input_frames -= data.input_frames_used;
  }
  return made_;
}

void CResampler::Restart() { src_reset(state_.get()); }

}  // namespace vx
