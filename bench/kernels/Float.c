// Moves points by a matrix, divides by depth, and lights them by their normals, in single
// precision. All results go through memory, and the checksum takes their bits.
#include "bench/kernels/Kernel.h"

enum { kPoints = 512 };

typedef struct {
  float x, y, z;
} SVector;

static SVector points[kPoints];
static SVector normals[kPoints];
static SVector seen[kPoints];
static float light[kPoints];
static const float kMatrix[3][4] = {
    {0.866f, -0.25f, 0.433f, 1.75f},
    {0.5f, 0.433f, -0.75f, -0.625f},
    {0.0f, 0.866f, 0.5f, 40.0f},
};
static const SVector kLight = {0.48f, 0.6f, -0.64f};

static float NextFloat(KU32* state) {
  return (float)((KS32)NextNumber(state) >> 8) * (1.0f / 1048576.0f);
}

void PrepareFloat(void) {
  KU32 state = 0x0DDBA11;
  for (KU32 i = 0; i < kPoints; ++i) {
    points[i].x = NextFloat(&state);
    points[i].y = NextFloat(&state);
    points[i].z = NextFloat(&state);
    normals[i].x = NextFloat(&state);
    normals[i].y = NextFloat(&state);
    normals[i].z = NextFloat(&state);
  }
}

static float Row(const float* row, const SVector* p) {
  return row[0] * p->x + row[1] * p->y + row[2] * p->z + row[3];
}

static float Dot(const SVector* a, const SVector* b) {
  return a->x * b->x + a->y * b->y + a->z * b->z;
}

static KU32 BitsOf(float value) {
  union {
    float value;
    KU32 bits;
  } both = {value};
  return both.bits;
}

KU32 PassFloat(void) {
  for (KU32 i = 0; i < kPoints; ++i) {
    const SVector* const p = &points[i];
    const float x = Row(kMatrix[0], p), y = Row(kMatrix[1], p), z = Row(kMatrix[2], p);
    const float scale = 160.0f / z;
    seen[i].x = 160.0f + x * scale;
    seen[i].y = 120.0f - y * scale;
    seen[i].z = z;
    const float length = __builtin_sqrtf(Dot(&normals[i], &normals[i]));
    const float facing = Dot(&normals[i], &kLight);
    light[i] = facing > 0.0f ? facing / length : 0.0f;
  }
  KU32 sum = 0;
  for (KU32 i = 0; i < kPoints; ++i) {
    sum = Fold(sum, BitsOf(seen[i].x));
    sum = Fold(sum, BitsOf(seen[i].y));
    sum = Fold(sum, BitsOf(light[i]));
  }
  return sum;
}
