#include "sound/Mixer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vx {

namespace {

constexpr u32 kSourceExtra = 16384;  // values of a source's buffer beyond the host's block
constexpr f32 kRolloff = 0.75f;
constexpr u32 kDriftLimit = 480;

// Sums wrap, as sums of foreign values may.
void Add(i32& sum, i32 value) {
  sum = static_cast<i32>(static_cast<u32>(sum) + static_cast<u32>(value));
}

// The integer part; gains come from scripts and can be anything.
i32 Truncate(f32 value) {
  constexpr f32 kLimit = 2147483648.0f;
  if (std::isnan(value)) return 0;
  if (value >= kLimit) return INT32_MAX;
  if (value < -kLimit) return INT32_MIN;
  return static_cast<i32>(value);
}

// Values of a frame's block, two for each sample that a frame lasts.
u32 BlockValues(f64 sampleRate, f64 frameRate) {
  constexpr f64 kMost = 1000000.0;
  const f64 samples = sampleRate / frameRate;
  if (!(samples > 0.0)) return 0;
  return 2 * static_cast<u32>(std::min(samples, kMost));
}

struct SGains {
  f32 left, right;
};

// Gains of a source: falling with the square of its distance within the range, and shared between
// the channels by the direction along the listener's axis from left to right.
SGains GainsOf(const f32 (&listener)[4][3], const f32 (&position)[3], f32 range) {
  f32 direction[3];
  for (u32 i = 0; i < 3; ++i) direction[i] = listener[0][i] - position[i];
  const f32 distance = std::sqrt(direction[0] * direction[0] + direction[1] * direction[1] +
                                 direction[2] * direction[2]);
  if (distance != 0.0f) {
    const f32 scale = 1.0f / distance;
    for (f32& component : direction) component *= scale;
  }
  f32 t = 0.0f;
  if (range != 0.0f) {
    const f32 share = distance / range;
    t = share > 0.0f ? std::min(share, 1.0f) : 0.0f;
  }
  const f32 level = (1.0f - t) * (1.0f - t) * 0.5f;
  const f32(&axis)[3] = listener[2];
  const f32 side = direction[0] * axis[0] + direction[1] * axis[1] + direction[2] * axis[2];
  return {(side + 1.0f) * level, (1.0f - side) * level};
}

}  // namespace

// --- A frame -----------------------------------------------------------------------------------

void CMixer::MixFrame(const SMixInput& input, CSoundPort& port) {
  const u32 count = input.board.sampleCount;
  input.board.sampleCount = 0;
  if (count == 0 || outputCount + 2 * count > kMostHeld) return;
  const u32 blockCount = BlockValues(input.board.ExactSampleRate(), input.frameRate);

  if (!input.instances.IsActive()) {
    for (u32 i = 0; i < count; ++i) {
      const i16 sample = static_cast<i16>(input.board.sampleBuffer[i]);
      output[outputCount + 2 * i] = sample;
      output[outputCount + 2 * i + 1] = sample;
    }
    outputCount += 2 * count;
  } else {
    ExpandBoard(input, count);
    AddTail(2 * count);
    const bool bSpatial = port.IsSpatialEnabled();
    if (bSpatial) {
      port.GetListener(input.listener);
      PrepareSources(static_cast<u32>(input.instances.slots.size()), port);
    }
    for (u32 i = 0; i < input.instances.slots.size(); ++i) {
      AddInstance(input.instances.slots[i], i, count, input, port, bSpatial);
    }
    StoreClamped(2 * count);
  }
  EmitBlock(blockCount, port);
}

void CMixer::ExpandBoard(const SMixInput& input, u32 count) {
  if (mix_ == nullptr) mix_ = std::make_unique<i32[]>(kMostHeld);
  const i32 sign = input.bInvertRight ? -1 : 1;
  for (u32 i = 0; i < count; ++i) {
    const i32 sample = static_cast<i16>(input.board.sampleBuffer[i]);
    mix_[2 * i] = sample;
    mix_[2 * i + 1] = sign * sample;
  }
}

void CMixer::StoreClamped(u32 values) {
  for (u32 i = 0; i < values; ++i) {
    output[outputCount + i] = static_cast<i16>(std::clamp(mix_[i], -32768, 32767));
  }
  outputCount += values;
}

// A block of one frame. When too much has gathered, one stereo pair more goes with it.
void CMixer::EmitBlock(u32 blockCount, CSoundPort& port) {
  if (outputCount < blockCount) return;
  const u32 limit = std::min(blockCount, kDriftLimit);
  const u32 values = blockCount + (outputCount - blockCount > limit ? 2 : 0);
  port.EmitBlock(output, values);
  outputCount -= values;
  std::memmove(output, output + values, outputCount * sizeof(i16));
}

// --- Clones ------------------------------------------------------------------------------------

void CMixer::AddInstance(SDspInstanceSlot& slot, u32 index, u32 count, const SMixInput& input,
                         CSoundPort& port, bool bSpatial) {
  CSoundBoard& board = slot.instance->board;
  if (board.bHasSamples == 0 || board.sampleCount == 0) {
    slot.bHasGains = 0;
  } else if (board.sampleCount != count) {
    port.Log(ESoundLog::Warning, "DSP instance sample count mismatch: %i vs %i\n",
             board.sampleCount, count, 0);
  } else if (bSpatial) {
    AddRendered(slot, sources[index], count, port);
  } else {
    AddPanned(slot, count, input.listener);
  }
  board.bHasSamples = 0;
  board.sampleCount = 0;
}

// A gain that has changed moves in a straight line over the frame, so that a moving source does not
// click.
void CMixer::AddPanned(SDspInstanceSlot& slot, u32 count, const f32 (&listener)[4][3]) {
  const u16* const samples = slot.instance->board.sampleBuffer;
  const SGains gains = GainsOf(listener, slot.position, slot.range);
  if (slot.bHasGains != 0 && (gains.left != slot.gainLeft || gains.right != slot.gainRight)) {
    for (u32 i = 0; i < count; ++i) {
      const f32 f = static_cast<f32>(i) / static_cast<f32>(count);
      const f32 left = (gains.left - slot.gainLeft) * f + slot.gainLeft;
      const f32 right = (gains.right - slot.gainRight) * f + slot.gainRight;
      const f32 sample = static_cast<i16>(samples[i]);
      Add(mix_[2 * i], Truncate(sample * left));
      Add(mix_[2 * i + 1], Truncate(sample * right));
    }
  } else {
    slot.bHasGains = 1;
    for (u32 i = 0; i < count; ++i) {
      const f32 sample = static_cast<i16>(samples[i]);
      Add(mix_[2 * i], Truncate(sample * gains.left));
      Add(mix_[2 * i + 1], Truncate(sample * gains.right));
    }
  }
  slot.gainLeft = gains.left;
  slot.gainRight = gains.right;
}

// --- The host's spatial mixer ------------------------------------------------------------------

void CMixer::PrepareSources(u32 count, CSoundPort& port) {
  if (sources.size() != count) {
    DestroySources(port);
    sources.resize(count);
    for (SSpatialSource& source : sources) {
      source.handle = port.CreateSource();
      source.samples.resize(size_t{port.SpatialBlockSize()} + kSourceExtra);
    }
  }
  PrepareTail(port);
}

void CMixer::DestroySources(CSoundPort& port) {
  for (const SSpatialSource& source : sources) port.DestroySource(source.handle);
  sources.clear();
}

void CMixer::AddRendered(const SDspInstanceSlot& slot, SSpatialSource& source, u32 count,
                         CSoundPort& port) {
  port.PlaceSource(source.handle, slot.position, slot.range, kRolloff);
  const u32 said = port.RenderSource(source.handle, source.samples.data(),
                                     slot.instance->board.sampleBuffer, count);
  const u32 values = 2 * count;
  const u32 room = static_cast<u32>(source.samples.size()) - values;
  const u32 rest = std::min({said, room, tailCapacity});
  for (u32 i = 0; i < values; ++i) Add(mix_[i], source.samples[i]);
  for (u32 i = 0; i < rest; ++i) Add(tail[i], source.samples[values + i]);
  tailCount = std::max(tailCount, rest);
}

// --- Tail --------------------------------------------------------------------------------------

void CMixer::PrepareTail(CSoundPort& port) {
  if (tail != nullptr) return;
  tailCapacity = port.SpatialBlockSize();
  tail = std::make_unique<i32[]>(tailCapacity);
}

void CMixer::ClearTail() {
  tailCount = 0;
  std::fill_n(tail.get(), tailCapacity, 0);
}

void CMixer::AddTail(u32 values) {
  const u32 moved = std::min(values, tailCount);
  if (moved == 0) return;
  for (u32 i = 0; i < moved; ++i) Add(mix_[i], tail[i]);
  std::copy(tail.get() + moved, tail.get() + tailCapacity, tail.get());
  std::fill_n(tail.get() + tailCapacity - moved, moved, 0);
  tailCount -= moved;
}

void CMixer::Reset() {
  outputCount = 0;
  ClearTail();
}

}  // namespace vx
