// Solid things in space, drawn face by face with the floating point unit: flat shading, the faces
// behind first, no depth buffer. Right is +x, up is +y, ahead is +z, and the eye looks ahead.
#pragma once

#include <stdint.h>

#include "guest/draw.h"

typedef struct SVector {
  float x, y, z;
} SVector;

enum { kLightMatt = 0, kLightGloss = 1, kLightGlow = 2 };

typedef struct SFace {
  SVector normal;      // outward, of length 1
  uint8_t corners[4];  // around the face; a triangle names its last corner twice
  uint8_t color[3];
  uint8_t light;  // kLightMatt and so on
} SFace;

// As models.py packs it; the faces follow the corners.
typedef struct SModel {
  uint32_t cornerCount;
  uint32_t faceCount;
  SVector corners[];
} SModel;
enum { kMaxCorners = 64, kMaxFaces = 96 };

// How a model stands before the eye: its own right, up and ahead, and its middle.
typedef struct SPose {
  SVector right, up, ahead;
  SVector place;
} SPose;
// Turned by 1,024ths of a turn: heading to the right, nose up, right side down.
void TurnPose(SPose* pose, uint32_t heading, uint32_t pitch, uint32_t roll);

// What the eye sees, and in which light.
typedef struct SView {
  float focal;      // pixels by which one unit at distance one is seen
  int32_t centerX;  // column straight ahead
  int32_t horizon;  // line straight ahead
  float hazeFar;    // distance at which all is haze
  SVector sun;      // direction towards the light, of length 1
  SColor shade;     // colour of what lies in shadow
  SColor glow;      // colour of the light
  SColor haze;
} SView;
enum { kNearest = 1 };  // nothing nearer to the eye is drawn

void DrawModel(uint16_t* page, const SView* view, const SModel* model, const SPose* pose);

// Fills a convex polygon, cut off at the page's edges. Corners go round with the hands of a clock,
// x and y in pixels between -16,000 and 16,000.
typedef struct SPoint {
  float x, y;
} __attribute__((aligned(8))) SPoint;  // copied as a whole
void FillPolygon(uint16_t* page, const SPoint* points, uint32_t count, SColor wide);

// In 65,536ths. The convert op adds a half and cuts off, which leaves values below zero one step
// high at most.
static inline int32_t ToFixed(float value) {
  int32_t result;
  float scaled = value * 65536.0f;
  __asm__("cvt.w.s %1, %2\n\tmfc1 %0, %1" : "=r"(result), "=&f"(scaled) : "f"(scaled));
  return result;
}
static inline int32_t ToInteger(float value) { return ToFixed(value) >> 16; }
static inline float SineFloat(uint32_t angle) { return (float)Sine(angle) * (1.0f / 4096); }
