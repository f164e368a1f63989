// A fixture for tests of save states: a machine with its host, streams as byte vectors, and a board
// whose every saved part has contents of its own.
#pragma once

#include <cstring>
#include <vector>

#include "tests/machine/BoardTest.h"

namespace vx::test {

using StateBytes = std::vector<u8>;

// A state of exactly the size that it needs.
StateBytes Save(CVXMachine& machine, u8 transient = 0);
bool Load(CVXMachine& machine, StateBytes bytes);

// Gives each saved part of a machine contents that follow from the seed alone: both RAMs, blobs,
// registers, sound memories, samples held for the host, a tail, the drive's buffer and dirty
// sectors. The machine has a pack and has just been reset.
void Furnish(CVXMachine& machine, u32 seed);

template <typename T>
T ValueAt(const StateBytes& bytes, size_t offset) {
  T value{};
  if (offset + sizeof(T) <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}
template <typename T>
void PutAt(StateBytes& bytes, size_t offset, T value) {
  if (offset + sizeof(T) <= bytes.size()) std::memcpy(bytes.data() + offset, &value, sizeof(T));
}

// Places in the state of a machine with a pack that has just been reset: four events pending, no
// blobs, nothing held and nothing dirty.
enum EResetStateOffset : u32 {
  kAtVersion = 0,
  kAtLowRam = 4,
  kAtMainRam = 524292,
  kAtState = 8912900,
  kAtScriptState = 8913060,
  kAtBlobCount = 8913092,
  kAtQueue = 8913096,
  kAtContext = 8913216,
  kAtLowPages = 8916912,
  kAtTrackedPages = 8933296,
  kAtSound = 11030448,
  kAtOutputCount = 11044240,
  kAtTailCount = 11044244,
  kAtDrive = 11044248,
  kAtDriveTiming = 11044832,
  kAtIdentify = 11044864,
  kAtSoundLink = 11045376,
  kAtTransient = 11045496,
  kAtDelta = 11045497,
  kAtBitmap = 11045521,
  kAtInstanceCount = 11045529,
  kResetStateBytes = 11045533,
};

class CStateTest : public CBoardTest {
 protected:
  // The first place where two states differ, for messages; their size if they are equal.
  static size_t FirstDifference(const StateBytes& a, const StateBytes& b);
  static void ExpectSame(const StateBytes& a, const StateBytes& b);
  // Another machine of the same host, with the default pack, just reset.
  BoardPtr Another();
};

}  // namespace vx::test
