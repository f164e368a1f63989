// Op words for the differential test: one seed, one row of words.
#pragma once

#include <random>

#include "base/Types.h"

namespace vx::test {

struct SPlacedWord {
  u32 word;
  u32 address;
};

// One word in eight has any bits. The others are built from the encodings of the op table and from
// those beside them, with fields that are often 0: every row and every code without a row comes up
// thousands of times in a million, and words that only their last bit tells apart some ten times.
class CWordSource {
 public:
  explicit CWordSource(u64 seed) : random_(seed) {}

  SPlacedWord Next();

 private:
  u32 Below(u32 bound) { return static_cast<u32>((random_() >> 32) * bound >> 32); }
  u32 AnyWord() { return static_cast<u32>(random_() >> 32); }
  u32 Field(u32 shift);
  u32 Fields();
  u32 Immediate();
  u32 RowWord();
  u32 NeighbourWord();
  u32 AnyAddress();

  std::mt19937_64 random_;
};

}  // namespace vx::test
