// Unpacks a stream of single bytes and of runs that came before: eight marks in a byte, then for
// each a byte, or two with the distance back (12 bits) and the length.
#include "bench/kernels/Kernel.h"

enum { kBytes = 24576, kHashSize = 1024, kShortest = 3, kLongest = 18, kFarthest = 4095 };

static KU8 plain[kBytes];
static KU8 packed[kBytes + kBytes / 8 + 16];
static KU8 unpacked[kBytes];

// Words of a small vocabulary with a number now and then.
static void WritePlain(void) {
  static const KU8 kLetters[] = "the lake by night carries a light that no wave can put out ";
  KU32 state = 0xBADC0DE5;
  KU32 at = 0;
  while (at < kBytes) {
    const KU32 choice = NextNumber(&state);
    KU32 from = choice % (sizeof(kLetters) - 1), length = 2 + (choice >> 8) % 9;
    if ((choice >> 16 & 7) == 0) plain[at++] = (KU8)(choice >> 24);
    while (length-- != 0 && at < kBytes && from < sizeof(kLetters) - 1)
      plain[at++] = kLetters[from++];
  }
}

static KU32 MatchLength(KU32 a, KU32 b) {
  KU32 length = 0;
  while (length < kLongest && b + length < kBytes && plain[a + length] == plain[b + length])
    ++length;
  return length;
}

void PrepareUnpack(void) {
  static KU32 latest[kHashSize];  // position behind the last bytes with this hash
  WritePlain();
  for (KU32 i = 0; i < kHashSize; ++i) latest[i] = 0;
  KU32 at = 0, out = 0, marks = 0, count = 8;
  while (at < kBytes) {
    if (count == 8) {
      marks = out++;
      packed[marks] = 0;
      count = 0;
    }
    KU32 length = 1, before = 0;
    if (at + kShortest <= kBytes) {
      const KU32 hash = (plain[at] * 33u + plain[at + 1] * 7u + plain[at + 2]) % kHashSize;
      before = latest[hash];
      latest[hash] = at + 1;
      if (before != 0 && at - (before - 1) <= kFarthest) length = MatchLength(before - 1, at);
    }
    if (length >= kShortest) {
      const KU32 distance = at - (before - 1);
      packed[marks] |= (KU8)(1u << count);
      packed[out++] = (KU8)distance;
      packed[out++] = (KU8)((distance >> 8) << 4 | (length - kShortest));
    } else {
      packed[out++] = plain[at];
      length = 1;
    }
    at += length;
    ++count;
  }
}

KU32 PassUnpack(void) {
  const KU8* from = packed;
  KU32 at = 0, marks = 0, left = 0;
  while (at < kBytes) {
    if (left == 0) {
      marks = *from++;
      left = 8;
    }
    if (marks & 1) {
      const KU32 distance = from[0] | (KU32)(from[1] >> 4) << 8;
      KU32 length = (from[1] & 15u) + kShortest;
      from += 2;
      for (; length != 0; --length, ++at) unpacked[at] = unpacked[at - distance];
    } else {
      unpacked[at++] = *from++;
    }
    marks >>= 1;
    --left;
  }
  KU32 sum = 0;
  for (KU32 i = 0; i < kBytes; i += 13) sum = Fold(sum, unpacked[i]);
  return sum;
}
