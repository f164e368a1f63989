// The colours of the day. Four scenes follow one another: sunset, night, dawn and noon haze;
// between them all colours are blended.
#include "guest/draw.h"

typedef struct SScene {
  uint8_t sky[kSkyStops][3];
  uint8_t glow[3];
  uint8_t discTop[3];
  uint8_t discBottom[3];
  uint8_t haze[3];
  uint8_t ridge[3];
  uint8_t water[3];
  uint16_t stars;
  uint16_t slits;
} SScene;

enum { kScenes = 4, kSceneFrames = kDayFrames / kScenes };

// clang-format off
static const SScene kDay[kScenes] = {
    // sunset
    {{{22, 10, 62}, {66, 18, 104}, {150, 34, 118}, {232, 84, 92}, {255, 168, 84}},
     {255, 176, 112}, {255, 250, 168}, {255, 66, 120}, {206, 84, 122}, {28, 8, 44}, {40, 8, 60}, 110, 256},
    // night
    {{{2, 4, 22}, {5, 10, 42}, {8, 24, 64}, {14, 48, 84}, {30, 84, 108}},
     {120, 190, 214}, {250, 250, 236}, {196, 214, 232}, {24, 66, 92}, {2, 8, 22}, {2, 14, 34}, 256, 0},
    // dawn
    {{{26, 38, 104}, {72, 74, 150}, {154, 110, 168}, {240, 156, 150}, {255, 214, 158}},
     {255, 240, 200}, {255, 252, 224}, {255, 172, 110}, {196, 140, 172}, {34, 26, 66}, {30, 30, 78}, 70, 0},
    // noon
    {{{18, 84, 176}, {42, 120, 206}, {84, 160, 226}, {140, 198, 238}, {206, 230, 236}},
     {255, 255, 236}, {255, 255, 240}, {255, 244, 190}, {138, 186, 206}, {10, 54, 60}, {8, 48, 92}, 0, 0},
};
// Middle of the disc at the start of each scene; it goes down into night and comes up as the moon.
static const int16_t kDiscY[kScenes] = {120, 116, 134, 84};
// clang-format on

static SColor Pack(const uint8_t* rgb) { return MakeColor(rgb[0], rgb[1], rgb[2]); }

static SColor BlendOf(const uint8_t* a, const uint8_t* b, uint32_t weight) {
  return Blend(Pack(a), Pack(b), weight);
}

// Below the horizon and up again as another light: between sunset and night, and before dawn.
static int32_t DiscLine(uint32_t scene, uint32_t progress, int32_t from, int32_t to) {
  if (scene >= 2) return from + (to - from) * (int32_t)progress / 256;
  const int32_t below = kHorizon + 44;
  if (progress < 128) return from + (below - from) * (int32_t)progress / 128;
  return below + (to - below) * (int32_t)(progress - 128) / 128;
}

void ComputeDaylight(SDaylight* day, uint32_t moment) {
  const uint32_t at = moment % kDayFrames;
  const uint32_t scene = at / kSceneFrames;
  // Each scene rests for a third of its time before it turns into the next.
  const int32_t within = (int32_t)(at % kSceneFrames) - kSceneFrames / 3;
  const uint32_t progress = within < 0 ? 0 : (uint32_t)within * 256 / (kSceneFrames * 2 / 3);
  const SScene* a = &kDay[scene];
  const SScene* b = &kDay[(scene + 1) % kScenes];

  for (uint32_t i = 0; i < kSkyStops; i++) day->sky[i] = BlendOf(a->sky[i], b->sky[i], progress);
  day->glow = BlendOf(a->glow, b->glow, progress);
  day->haze = BlendOf(a->haze, b->haze, progress);
  day->ridge = BlendOf(a->ridge, b->ridge, progress);
  day->water = BlendOf(a->water, b->water, progress);
  day->stars = (a->stars * (256 - progress) + b->stars * progress) >> 8;
  // The disc changes its face while it is out of sight; between dawn and noon it blends.
  const uint32_t face = scene >= 2 ? progress : (progress < 128 ? 0 : 256);
  day->discTop = BlendOf(a->discTop, b->discTop, face);
  day->discBottom = BlendOf(a->discBottom, b->discBottom, face);
  day->slits = (a->slits * (256 - face) + b->slits * face) >> 8;
  day->horizon = kHorizon;
  day->discY = DiscLine(scene, progress, kDiscY[scene], kDiscY[(scene + 1) % kScenes]);
}

void MoveHorizon(SDaylight* day, int32_t horizon) {
  day->discY += horizon - day->horizon;
  day->horizon = horizon;
}
