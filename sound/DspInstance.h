// Records of the DSP instances: clones of the running sound processor, each with a place in space.
#pragma once

#include <memory>
#include <vector>

#include "base/Types.h"

namespace vx {

class CInstancedADSP;

// One instance as the machine lists it. Bytes 16 to 43 are saved.
struct SDspInstanceSlot {
  f64 time = 0.0;  // the instance's position on the timeline
  u64 reserved8 = 0;
  f32 position[3] = {};
  f32 range = 0.0f;
  u8 bHasGains = 0;
  u8 reserved33[3] = {};
  f32 gainLeft = 0.0f;
  f32 gainRight = 0.0f;
  u32 reserved44 = 0;
  std::shared_ptr<CInstancedADSP> instance;
};
static_assert(sizeof(SDspInstanceSlot) == 64);

// A source of the host's spatial mixer and the samples that go to it.
struct SSpatialSource {
  void* handle = nullptr;
  std::vector<i16> samples;
};

}  // namespace vx
