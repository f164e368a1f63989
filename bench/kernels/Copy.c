// Copies and fills memory in pieces of all sizes: doublewords where both ends allow it, words or
// bytes elsewhere, and backwards where the pieces overlap.
#include "bench/kernels/Kernel.h"

enum { kBytes = 16384, kPieces = 160, kLongest = 512 };

static KU8 from[kBytes] __attribute__((aligned(8)));
static KU8 to[kBytes] __attribute__((aligned(8)));
static struct { KU16 source, target, length; } pieces[kPieces];

void PrepareCopy(void) {
  KU32 state = 0xFEEDF00D;
  for (KU32 i = 0; i < kBytes; ++i) from[i] = (KU8)NextNumber(&state);
  for (KU32 i = 0; i < kPieces; ++i) {
    KU32 source = NextNumber(&state) % (kBytes - kLongest);
    KU32 target = NextNumber(&state) % (kBytes - kLongest);
    // Most of what a program copies is aligned.
    if (i % 8 != 0) source &= ~7u, target &= ~7u;
    if (i % 8 == 1) source += 4;
    pieces[i].source = (KU16)source;
    pieces[i].target = (KU16)target;
    pieces[i].length = (KU16)(1 + NextNumber(&state) % kLongest);
  }
}

static void CopyForwards(KU8* target, const KU8* source, KU32 length) {
  const KU32 ends = (KU32)(uintptr_t)target | (KU32)(uintptr_t)source;
  if ((ends & 7) == 0) {
    for (; length >= 32; length -= 32, target += 32, source += 32) {
      const KU64 a = ((const KU64*)source)[0], b = ((const KU64*)source)[1];
      const KU64 c = ((const KU64*)source)[2], d = ((const KU64*)source)[3];
      ((KU64*)target)[0] = a;
      ((KU64*)target)[1] = b;
      ((KU64*)target)[2] = c;
      ((KU64*)target)[3] = d;
    }
    for (; length >= 8; length -= 8, target += 8, source += 8)
      *(KU64*)target = *(const KU64*)source;
  } else if ((ends & 3) == 0) {
    for (; length >= 4; length -= 4, target += 4, source += 4)
      *(KU32*)target = *(const KU32*)source;
  }
  while (length-- != 0) *target++ = *source++;
}

static void CopyBackwards(KU8* target, const KU8* source, KU32 length) {
  while (length-- != 0) target[length] = source[length];
}

static void Fill(KU8* target, KU32 length, KU8 value) {
  const KU32 word = value * 0x01010101u;
  while (length != 0 && ((uintptr_t)target & 3) != 0) *target++ = value, --length;
  for (; length >= 16; length -= 16, target += 16) {
    ((KU32*)target)[0] = word;
    ((KU32*)target)[1] = word;
    ((KU32*)target)[2] = word;
    ((KU32*)target)[3] = word;
  }
  while (length-- != 0) *target++ = value;
}

KU32 PassCopy(void) {
  Fill(to, kBytes, 0x5A);
  for (KU32 i = 0; i < kPieces; ++i) {
    const KU32 length = pieces[i].length;
    CopyForwards(to + pieces[i].target, from + pieces[i].source, length);
    if (i % 16 == 0) CopyBackwards(to + pieces[i].target + 3, to + pieces[i].target, length / 2);
  }
  KU32 sum = 0;
  for (KU32 i = 0; i < kBytes; i += 8) sum = Fold(sum, *(const KU32*)(to + i));
  return sum;
}
