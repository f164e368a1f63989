// Lays sprites of 16-bit pixels over a picture: with a colour that is left out, and half through.
#include "bench/kernels/Kernel.h"

enum { kWidth = 320, kHeight = 240, kSize = 32, kSprites = 48 };
static const KU16 kLeftOut = 0x7C1F;

static KU16 sprite[kSize * kSize];
static KU16 picture[kHeight * kWidth] __attribute__((aligned(8)));
static struct { KS32 x, y; } places[kSprites];

void PrepareBlit(void) {
  KU32 state = 0xC0FFEE11;
  for (KS32 y = 0; y < kSize; ++y) {
    for (KS32 x = 0; x < kSize; ++x) {
      const KS32 dx = x - kSize / 2, dy = y - kSize / 2;
      const int bInside = dx * dx + dy * dy < kSize * kSize / 4;
      sprite[y * kSize + x] = bInside ? (KU16)(NextNumber(&state) & 0x3FF) : kLeftOut;
    }
  }
  for (KU32 i = 0; i < kSprites; ++i) {
    places[i].x = (KS32)(NextNumber(&state) % (kWidth + kSize)) - kSize;
    places[i].y = (KS32)(NextNumber(&state) % (kHeight + kSize)) - kSize;
  }
}

typedef struct {
  KS32 left, top, right, bottom;  // of the sprite's pixels that the picture has
} SClip;

static SClip ClipAt(KS32 x, KS32 y) {
  SClip clip = {0, 0, kSize, kSize};
  if (x < 0) clip.left = -x;
  if (y < 0) clip.top = -y;
  if (x + kSize > kWidth) clip.right = kWidth - x;
  if (y + kSize > kHeight) clip.bottom = kHeight - y;
  return clip;
}

static void LaySolid(KS32 x, KS32 y) {
  const SClip clip = ClipAt(x, y);
  for (KS32 row = clip.top; row < clip.bottom; ++row) {
    const KU16* from = &sprite[row * kSize];
    KU16* to = &picture[(y + row) * kWidth + x];
    for (KS32 column = clip.left; column < clip.right; ++column) {
      const KU16 colour = from[column];
      if (colour != kLeftOut) to[column] = colour;
    }
  }
}

static void LayHalfThrough(KS32 x, KS32 y) {
  enum { kAllButLowest = 0x7BDE };
  const SClip clip = ClipAt(x, y);
  for (KS32 row = clip.top; row < clip.bottom; ++row) {
    const KU16* from = &sprite[row * kSize];
    KU16* to = &picture[(y + row) * kWidth + x];
    for (KS32 column = clip.left; column < clip.right; ++column) {
      const KU32 colour = from[column];
      if (colour == kLeftOut) continue;
      to[column] = (KU16)(((colour & kAllButLowest) + (to[column] & kAllButLowest)) >> 1);
    }
  }
}

static void Clear(void) {
  const KU64 four = 0x1234123412341234;
  KU64* at = (KU64*)picture;
  KU64* const end = at + kHeight * kWidth / 4;
  for (; at < end; at += 4) {
    at[0] = four;
    at[1] = four;
    at[2] = four;
    at[3] = four;
  }
}

KU32 PassBlit(void) {
  Clear();
  for (KU32 i = 0; i < kSprites; ++i) {
    if (i & 1) {
      LayHalfThrough(places[i].x, places[i].y);
    } else {
      LaySolid(places[i].x, places[i].y);
    }
  }
  KU32 sum = 0;
  for (KU32 i = 0; i < kHeight * kWidth; i += 59) sum = Fold(sum, picture[i]);
  return sum;
}
