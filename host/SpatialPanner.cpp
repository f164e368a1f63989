#include "host/SpatialPanner.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vx {

namespace {

constexpr u32 kOneBits = 15;  // of a gain

// What the walls send back, at the rate of the board's sound; gains as above.
struct SEcho {
  u32 delayPairs;
  i32 sameSide;
  i32 otherSide;
};
constexpr SEcho kEchoes[] = {
    {37, 2600, 5200},
    {89, 4200, 2100},
    {149, 1500, 2600},
    {CSpatialPanner::kTailPairs, 1300, 700},
};
static_assert(2 * CSpatialPanner::kTailPairs <= CSpatialPanner::kBlockValues);

i32 ToGain(f32 value) {
  if (!(value > 0.0f)) return 0;
  return static_cast<i32>(std::min(value, 1.0f) * 32768.0f + 0.5f);
}

i32 Scale(i32 sample, i32 gain) { return sample * gain >> kOneBits; }

i16 Clamp(i32 value) { return static_cast<i16>(std::clamp(value, -32768, 32767)); }

void Copy(f32* target, const f32 (&value)[3]) {
  if (target != nullptr) std::memcpy(target, value, sizeof(value));
}

void Take(f32 (&target)[3], const f32* value) {
  if (value != nullptr) std::memcpy(target, value, sizeof(target));
}

}  // namespace

SSpatialGains PanGains(const SSpatialListener& listener, const f32 (&position)[3], f32 range,
                       f32 level) {
  f32 toSource[3];
  for (u32 i = 0; i < 3; ++i) toSource[i] = position[i] - listener.position[i];
  const f32 distance =
      std::sqrt(toSource[0] * toSource[0] + toSource[1] * toSource[1] + toSource[2] * toSource[2]);
  if (!std::isfinite(distance) || std::isnan(range)) return {};
  f32 side = 0.0f;
  if (distance > 0.0f) {
    const f32(&right)[3] = listener.right;
    side = (toSource[0] * right[0] + toSource[1] * right[1] + toSource[2] * right[2]) / distance;
    if (std::isnan(side)) return {};
    side = std::clamp(side, -1.0f, 1.0f);
  }
  const f32 share = range != 0.0f ? std::clamp(distance / range, 0.0f, 1.0f) : 0.0f;
  const f32 power = level * (1.0f - share) * (1.0f - share);
  return {ToGain(power * std::sqrt((1.0f - side) * 0.5f)),
          ToGain(power * std::sqrt((1.0f + side) * 0.5f))};
}

class CSpatialSource {
 public:
  void Place(const SSpatialGains& gains, u64 frame) {
    bool bHeardLast = heardFrame_ != 0 && heardFrame_ + 1 >= frame;
    from_ = bHeardLast ? to_ : gains;
    to_ = gains;
    heardFrame_ = frame;
  }

  u32 Render(i16* out, const i16* samples, u32 pairs) {
    const u64 values = 2 * (u64{pairs} + CSpatialPanner::kTailPairs);
    sums_.assign(values, 0);
    const i64 leftWay = to_.left - from_.left;
    const i64 rightWay = to_.right - from_.right;
    for (u32 i = 0; i < pairs; ++i) {
      const i32 left = Scale(samples[i], from_.left + static_cast<i32>(leftWay * i / pairs));
      const i32 right = Scale(samples[i], from_.right + static_cast<i32>(rightWay * i / pairs));
      sums_[2 * i] += left;
      sums_[2 * i + 1] += right;
      for (const SEcho& echo : kEchoes) {
        i32* const late = &sums_[2 * (i + echo.delayPairs)];
        late[0] += Scale(left, echo.sameSide) + Scale(right, echo.otherSide);
        late[1] += Scale(right, echo.sameSide) + Scale(left, echo.otherSide);
      }
    }
    std::ranges::transform(sums_, out, Clamp);
    return 2 * CSpatialPanner::kTailPairs;
  }

  CSpatialPanner::SGainState State(u64 frame) const { return {heardFrame_ == frame, to_}; }
  void Restore(const CSpatialPanner::SGainState& state, u64 frame) {
    heardFrame_ = state.bHeard ? frame : 0;
    to_ = state.gains;
  }

 private:
  SSpatialGains from_;
  SSpatialGains to_;
  u64 heardFrame_ = 0;  // the last; 0: none
  std::vector<i32> sums_;
};

CSpatialPanner::CSpatialPanner() = default;
CSpatialPanner::~CSpatialPanner() = default;

void CSpatialPanner::SetListener(const std::optional<SSpatialListener>& listener) {
  const std::lock_guard lock(mutex_);
  own_ = listener;
}

void CSpatialPanner::MeetListener(f32* position, f32* forward, f32* right, f32* up) {
  const std::lock_guard lock(mutex_);
  ++frame_;
  if (own_) {
    listener_ = *own_;
    Copy(position, own_->position);
    Copy(forward, own_->forward);
    Copy(right, own_->right);
    Copy(up, own_->up);
    return;
  }
  Take(listener_.position, position);
  Take(listener_.forward, forward);
  Take(listener_.right, right);
  Take(listener_.up, up);
}

CSpatialSource* CSpatialPanner::Create() {
  const std::lock_guard lock(mutex_);
  return &sources_.emplace_back();
}

void CSpatialPanner::Destroy(CSpatialSource* source) {
  const std::lock_guard lock(mutex_);
  sources_.remove_if([source](const CSpatialSource& each) { return &each == source; });
}

void CSpatialPanner::Place(CSpatialSource* source, const f32* position, f32 range, f32 level) {
  if (source == nullptr || position == nullptr) return;
  const f32 place[3] = {position[0], position[1], position[2]};
  const std::lock_guard lock(mutex_);
  source->Place(PanGains(listener_, place, range, level), frame_);
}

u32 CSpatialPanner::Render(i16* out, CSpatialSource* source, const i16* samples, u32 pairs) {
  if (out == nullptr || source == nullptr || samples == nullptr) return 0;
  return source->Render(out, samples, std::min(pairs, kMostPairs));
}

std::vector<CSpatialPanner::SGainState> CSpatialPanner::SaveGains() {
  const std::lock_guard lock(mutex_);
  std::vector<SGainState> states;
  states.reserve(sources_.size());
  for (const CSpatialSource& source : sources_) states.push_back(source.State(frame_));
  return states;
}

void CSpatialPanner::RestoreGains(const std::vector<SGainState>& states) {
  const std::lock_guard lock(mutex_);
  std::size_t index = 0;
  for (CSpatialSource& source : sources_) {
    source.Restore(index < states.size() ? states[index] : SGainState{}, frame_);
    ++index;
  }
}

}  // namespace vx
