// Checksums of a buffer: a cyclic redundancy check by table, byte by byte, and a pair of running
// sums.
#include "bench/kernels/Kernel.h"

enum { kBytes = 16384 };
static const KU32 kPolynomial = 0xEDB88320;

static KU32 table[256];
static KU8 bytes[kBytes];

void PrepareChecksum(void) {
  for (KU32 i = 0; i < 256; ++i) {
    KU32 value = i;
    for (KU32 bit = 0; bit < 8; ++bit) value = value & 1 ? value >> 1 ^ kPolynomial : value >> 1;
    table[i] = value;
  }
  KU32 state = 0x9E3779B9;
  for (KU32 i = 0; i < kBytes; ++i) bytes[i] = (KU8)NextNumber(&state);
}

static KU32 RedundancyOf(const KU8* data, KU32 count) {
  KU32 value = 0xFFFFFFFF;
  for (KU32 i = 0; i < count; ++i) value = table[(value ^ data[i]) & 0xFF] ^ value >> 8;
  return ~value;
}

static KU32 SumsOf(const KU8* data, KU32 count) {
  enum { kLargestPrime = 65521, kBeforeOverflow = 4096 };
  KU32 low = 1, high = 0;
  while (count != 0) {
    const KU32 part = count < kBeforeOverflow ? count : kBeforeOverflow;
    for (KU32 i = 0; i < part; ++i) {
      low += data[i];
      high += low;
    }
    low %= kLargestPrime;
    high %= kLargestPrime;
    data += part;
    count -= part;
  }
  return high << 16 | low;
}

KU32 PassChecksum(void) { return Fold(RedundancyOf(bytes, kBytes), SumsOf(bytes, kBytes)); }
