// What the kernels share: integer types and one source of numbers. Kernels are freestanding C that
// computes the same on every machine: no pointer is stored, no float becomes an integer, and all
// accesses are aligned.
#pragma once

#include <stdint.h>

typedef uint8_t KU8;
typedef uint16_t KU16;
typedef uint32_t KU32;
typedef uint64_t KU64;
typedef int32_t KS32;
typedef int64_t KS64;

// The next number of a sequence, evenly spread over 32 bits.
static inline KU32 NextNumber(KU32* state) {
  KU32 x = *state;
  x ^= x << 13;
  x ^= x >> 17;
  x ^= x << 5;
  *state = x;
  return x;
}

// Takes a word into a running checksum.
static inline KU32 Fold(KU32 sum, KU32 word) { return (sum << 5 | sum >> 27) + word; }
