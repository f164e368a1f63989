// Fills shaded triangles into a picture of 16-bit pixels, line by line.
#include "bench/kernels/Kernel.h"

enum { kWidth = 320, kHeight = 240, kTriangles = 24, kFraction = 16 };

typedef struct {
  KS32 x, y, shade;
} SCorner;

static SCorner corners[kTriangles][3];
static KU16 picture[kHeight * kWidth];

void PrepareRaster(void) {
  KU32 state = 0x1234ABCD;
  for (KU32 i = 0; i < kTriangles; ++i) {
    const KS32 x = (KS32)(NextNumber(&state) % 240), y = (KS32)(NextNumber(&state) % 180);
    for (KU32 c = 0; c < 3; ++c) {
      corners[i][c].x = x + (KS32)(NextNumber(&state) % 80);
      corners[i][c].y = y + (KS32)(NextNumber(&state) % 60);
      corners[i][c].shade = (KS32)(NextNumber(&state) & 31) << kFraction;
    }
  }
}

static void FillLine(KS32 y, KS32 left, KS32 right, KS32 shade, KS32 shadeStep) {
  KU16* pixel = &picture[y * kWidth + left];
  for (KS32 x = left; x < right; ++x) {
    const KU32 level = (KU32)shade >> kFraction & 31;
    *pixel++ = (KU16)(level << 10 | level << 5 | level);
    shade += shadeStep;
  }
}

static void SortByHeight(const SCorner** sorted) {
  for (KU32 i = 0; i < 2; ++i) {
    for (KU32 k = 0; k < 2 - i; ++k) {
      if (sorted[k]->y <= sorted[k + 1]->y) continue;
      const SCorner* const upper = sorted[k];
      sorted[k] = sorted[k + 1];
      sorted[k + 1] = upper;
    }
  }
}

// A value on the way from one corner to another, at a line.
static KS32 Along(KS32 from, KS32 to, KS32 done, KS32 whole) {
  return whole == 0 ? from : from + (to - from) / whole * done;
}

static void FillTriangle(const SCorner* triangle) {
  const SCorner* sorted[3] = {&triangle[0], &triangle[1], &triangle[2]};
  SortByHeight(sorted);
  const SCorner *top = sorted[0], *middle = sorted[1], *bottom = sorted[2];
  for (KS32 y = top->y; y < bottom->y; ++y) {
    const SCorner *from = top, *to = middle;
    if (y >= middle->y) {
      from = middle;
      to = bottom;
    }
    const KS32 x0 =
        Along(top->x << kFraction, bottom->x << kFraction, y - top->y, bottom->y - top->y);
    const KS32 x1 = Along(from->x << kFraction, to->x << kFraction, y - from->y, to->y - from->y);
    const KS32 s0 = Along(top->shade, bottom->shade, y - top->y, bottom->y - top->y);
    const KS32 s1 = Along(from->shade, to->shade, y - from->y, to->y - from->y);
    const KS32 a = x0 >> kFraction, b = x1 >> kFraction;
    if (a < b) FillLine(y, a, b, s0, (s1 - s0) / (b - a));
    if (b < a) FillLine(y, b, a, s1, (s0 - s1) / (a - b));
  }
}

KU32 PassRaster(void) {
  for (KU32 i = 0; i < kTriangles; ++i) FillTriangle(corners[i]);
  KU32 sum = 0;
  for (KU32 i = 0; i < kHeight * kWidth; i += 61) sum = Fold(sum, picture[i]);
  return sum;
}
