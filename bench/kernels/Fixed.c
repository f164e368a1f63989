// Moves points by a matrix and projects them, in fixed point with 16 fraction bits.
#include "bench/kernels/Kernel.h"

enum { kPoints = 1024, kFraction = 16 };

typedef struct {
  KS32 x, y, z;
} SPoint;

static SPoint points[kPoints];
static SPoint moved[kPoints];
static KS32 screen[kPoints][2];
// Rows of a turn about two axes, with a shift behind each.
static const KS32 kMatrix[3][4] = {
    {56756, -16384, 28378, 120000},
    {32768, 28378, -49152, -45000},
    {0, 56756, 32768, 9000000},
};

void PrepareFixed(void) {
  KU32 state = 0x6C078965;
  for (KU32 i = 0; i < kPoints; ++i) {
    points[i].x = (KS32)NextNumber(&state) >> 11;
    points[i].y = (KS32)NextNumber(&state) >> 11;
    points[i].z = (KS32)NextNumber(&state) >> 11;
  }
}

static KS32 Multiply(KS32 a, KS32 b) { return (KS32)((KS64)a * b >> kFraction); }

static KS32 Row(const KS32* row, const SPoint* p) {
  return Multiply(row[0], p->x) + Multiply(row[1], p->y) + Multiply(row[2], p->z) + row[3];
}

KU32 PassFixed(void) {
  KU32 sum = 0;
  for (KU32 i = 0; i < kPoints; ++i) {
    const SPoint* const p = &points[i];
    moved[i].x = Row(kMatrix[0], p);
    moved[i].y = Row(kMatrix[1], p);
    moved[i].z = Row(kMatrix[2], p);
  }
  for (KU32 i = 0; i < kPoints; ++i) {
    enum { kNearest = 1 << 12, kScale = 160 << 8 };
    const KS32 depth = moved[i].z > kNearest ? moved[i].z : kNearest;
    const KS32 scale = (kScale << 8) / (depth >> 8);
    screen[i][0] = 160 + (Multiply(moved[i].x, scale) >> 8);
    screen[i][1] = 120 - (Multiply(moved[i].y, scale) >> 8);
    sum = Fold(sum, (KU32)screen[i][0]);
    sum = Fold(sum, (KU32)screen[i][1]);
  }
  return sum;
}
