#include "guest/solid.h"

void TurnPose(SPose* pose, uint32_t heading, uint32_t pitch, uint32_t roll) {
  const float sh = SineFloat(heading), ch = SineFloat(heading + 256);
  const float sp = SineFloat(pitch), cp = SineFloat(pitch + 256);
  const float sr = SineFloat(roll), cr = SineFloat(roll + 256);
  // Level right and up of the heading and pitch, then both turned about what lies ahead.
  const SVector right = {ch, 0.0f, -sh};
  const SVector up = {-sh * sp, cp, -ch * sp};
  pose->ahead = (SVector){sh * cp, sp, ch * cp};
  pose->right = (SVector){right.x * cr - up.x * sr, -up.y * sr, right.z * cr - up.z * sr};
  pose->up = (SVector){up.x * cr + right.x * sr, up.y * cr, up.z * cr + right.z * sr};
}

// --- filling ------------------------------------------------------------------------------------

// Columns where each line of a polygon begins and ends, in 65,536ths.
static int32_t gLeft[kHeight], gRight[kHeight];

// Lines and columns belong to a polygon where their middle lies in it.
static int32_t FirstMiddle(int32_t fixed) { return (fixed + 0x7FFF) >> 16; }

static void TraceEdge(int32_t* side, const SPoint* top, const SPoint* bottom) {
  int32_t y = FirstMiddle(ToFixed(top->y));
  int32_t end = FirstMiddle(ToFixed(bottom->y));
  if (y < 0) y = 0;
  if (end > kHeight) end = kHeight;
  if (y >= end) return;
  const float slope = (bottom->x - top->x) / (bottom->y - top->y);
  const int32_t step = ToFixed(slope);
  int32_t x = ToFixed(top->x + ((float)y + 0.5f - top->y) * slope);
  for (; y < end; y++, x += step) side[y] = x;
}

static void FillLine(uint16_t* line, int32_t from, int32_t to, uint64_t four) {
  for (; from < to && (from & 3) != 0; from++) line[from] = (uint16_t)(four >> (from & 1) * 16);
  for (; from + 4 <= to; from += 4) *(uint64_t*)(line + from) = four;
  for (; from < to; from++) line[from] = (uint16_t)(four >> (from & 1) * 16);
}

void FillPolygon(uint16_t* page, const SPoint* points, uint32_t count, SColor wide) {
  float top = points[0].y, bottom = points[0].y;
  for (uint32_t i = 0; i < count; i++) {
    const SPoint* a = &points[i];
    const SPoint* b = &points[i + 1 < count ? i + 1 : 0];
    // Round with the clock: what leads down is the right side.
    if (a->y < b->y) {
      TraceEdge(gRight, a, b);
    } else if (b->y < a->y) {
      TraceEdge(gLeft, b, a);
    }
    if (a->y < top) top = a->y;
    if (a->y > bottom) bottom = a->y;
  }
  int32_t y = FirstMiddle(ToFixed(top));
  int32_t end = FirstMiddle(ToFixed(bottom));
  if (y < 0) y = 0;
  if (end > kHeight) end = kHeight;
  if (y >= end) return;
  uint64_t patterns[4];
  for (uint32_t i = 0; i < 4; i++) {
    const uint64_t even = PixelOf(wide + kDither[i][0]);
    const uint64_t odd = PixelOf(wide + kDither[i][1]);
    const uint64_t pair = even | odd << 16;
    patterns[i] = pair | pair << 32;
  }
  for (; y < end; y++) {
    int32_t from = FirstMiddle(gLeft[y]);
    int32_t to = FirstMiddle(gRight[y]);
    if (from < 0) from = 0;
    if (to > kWidth) to = kWidth;
    FillLine(LineOf(page, y), from, to, patterns[y & 3]);
  }
}

// --- models -------------------------------------------------------------------------------------

static float Dot(SVector a, SVector b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
static SVector Minus(SVector a, SVector b) { return (SVector){a.x - b.x, a.y - b.y, a.z - b.z}; }
// A direction of space as the model sees it.
static SVector IntoModel(const SPose* pose, SVector v) {
  return (SVector){Dot(pose->right, v), Dot(pose->up, v), Dot(pose->ahead, v)};
}
static uint32_t Weight(float share) {
  if (share <= 0.0f) return 0;
  return share >= 1.0f ? 256 : (uint32_t)ToInteger(share * 256.0f);
}

typedef struct SCorner {
  SPoint screen;
  float depth;
} SCorner;
static SCorner gCorners[kMaxCorners];

// Answers whether all corners lie far enough before the eye.
static uint32_t PlaceCorners(const SView* view, const SModel* model, const SPose* pose) {
  const float centerX = (float)view->centerX, horizon = (float)view->horizon;
  for (uint32_t i = 0; i < model->cornerCount; i++) {
    const SVector c = model->corners[i];
    const SVector right = pose->right, up = pose->up, ahead = pose->ahead, place = pose->place;
    const float depth = c.x * right.z + c.y * up.z + c.z * ahead.z + place.z;
    if (depth < (float)kNearest) return 0;
    const float scale = view->focal / depth;
    gCorners[i].depth = depth;
    gCorners[i].screen.x = centerX + (c.x * right.x + c.y * up.x + c.z * ahead.x + place.x) * scale;
    gCorners[i].screen.y = horizon - (c.x * right.y + c.y * up.y + c.z * ahead.y + place.y) * scale;
  }
  return 1;
}

// What is the same for all faces of a model.
typedef struct SLight {
  SVector eye;    // place of the eye, as the model sees it
  SVector sun;    // towards the light
  SVector gleam;  // half way between light and eye, of length 1
  uint32_t haze;
} SLight;

static SColor ShadeFace(const SView* view, const SLight* light, const SFace* face) {
  const SColor base = MakeColor(face->color[0], face->color[1], face->color[2]);
  if (face->light == kLightGlow) return BlendWide(base, view->haze, light->haze / 2);
  const SColor dark = Blend(base, view->shade, 150);
  SColor color = Blend(dark, base, Weight(0.42f + 0.58f * Dot(face->normal, light->sun)));
  if (face->light == kLightGloss) {
    const float gleam = Dot(face->normal, light->gleam) - 0.72f;
    if (gleam > 0.0f) color = Blend(color, view->glow, Weight(gleam * 2.6f));
  }
  return BlendWide(color, view->haze, light->haze);
}

void DrawModel(uint16_t* page, const SView* view, const SModel* model, const SPose* pose) {
  if (!PlaceCorners(view, model, pose)) return;
  SLight light;
  const SVector origin = {0.0f, 0.0f, 0.0f};
  const SVector towardsEye = Minus(origin, pose->place);
  light.eye = IntoModel(pose, towardsEye);
  light.sun = IntoModel(pose, view->sun);
  const float away = __builtin_sqrtf(Dot(towardsEye, towardsEye));
  const SVector half = {light.sun.x + light.eye.x / away, light.sun.y + light.eye.y / away,
                        light.sun.z + light.eye.z / away};
  const float stretch = 1.0f / (__builtin_sqrtf(Dot(half, half)) + 0.01f);
  light.gleam = (SVector){half.x * stretch, half.y * stretch, half.z * stretch};
  light.haze = Weight(pose->place.z / view->hazeFar);

  // Faces that look at the eye, sorted by depth while they are found.
  const SFace* faces = (const SFace*)&model->corners[model->cornerCount];
  uint8_t order[kMaxFaces];
  float depths[kMaxFaces];
  uint32_t shown = 0;
  for (uint32_t i = 0; i < model->faceCount; i++) {
    const SFace* face = &faces[i];
    const uint8_t* c = face->corners;
    if (Dot(face->normal, Minus(light.eye, model->corners[c[0]])) <= 0.0f) continue;
    const float depth =
        gCorners[c[0]].depth + gCorners[c[1]].depth + gCorners[c[2]].depth + gCorners[c[3]].depth;
    uint32_t at = shown++;
    for (; at > 0 && depths[at - 1] < depth; at--) {
      depths[at] = depths[at - 1];
      order[at] = order[at - 1];
    }
    depths[at] = depth;
    order[at] = (uint8_t)i;
  }
  for (uint32_t i = 0; i < shown; i++) {
    const SFace* face = &faces[order[i]];
    const uint8_t* c = face->corners;
    const SPoint points[4] = {gCorners[c[0]].screen, gCorners[c[1]].screen, gCorners[c[2]].screen,
                              gCorners[c[3]].screen};
    FillPolygon(page, points, c[3] == c[2] ? 3 : 4, ShadeFace(view, &light, face));
  }
}
