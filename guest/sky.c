// The sky: a dithered gradient, the halo with its disc, and stars.
#include "guest/draw.h"

enum { kStarCount = 110, kGlowLeft = kWidth / 2 - kGlowHalf, kDiscHalf = 39, kSlitHeight = 7 };
// The slits begin as many lines above the disc's middle.
enum { kSlitsBegin = 14 };
// Weight of the halo's colour, of 256, for each level of it.
enum { kHaloStep = 8 };

typedef struct SStar {
  uint16_t x;
  uint16_t y;
  uint16_t phase;
  uint16_t light;
} SStar;
static SStar gStars[kStarCount];

// Where a row of the halo begins to differ from the bare sky, and where it is disc alone, in groups
// of four pixels from its left; the right side mirrors the left.
typedef struct SHaloRow {
  uint8_t haloFrom;
  uint8_t discFrom;
} SHaloRow;
static SHaloRow gHaloRows[kGlowHalf];
enum { kHalfGroups = kGlowHalf / 4 };

// Levels grow towards the middle but for their dither, so the first pixel that reaches `least`
// tells.
static uint32_t FirstReaching(const uint8_t* levels, uint32_t least) {
  uint32_t column = 0;
  while (column < kGlowHalf && levels[column] < least) column++;
  return column;
}

void PrepareSky(void) {
  uint32_t random = 20;
  for (uint32_t i = 0; i < kStarCount; i++) {
    gStars[i].x = (uint16_t)(NextRandom(&random) % kWidth);
    // More stars high up than near the horizon.
    const uint32_t a = NextRandom(&random) % 150;
    const uint32_t b = NextRandom(&random) % 150;
    gStars[i].y = (uint16_t)(a < b ? a : b);
    gStars[i].phase = (uint16_t)(NextRandom(&random) & 1023);
    gStars[i].light = (uint16_t)(60 + NextRandom(&random) % 196);
  }
  for (uint32_t row = 0; row < kGlowHalf; row++) {
    const uint8_t* levels = kGlow + row * kGlowWidth;
    gHaloRows[row].haloFrom = (uint8_t)(FirstReaching(levels, 1) / 4);
    gHaloRows[row].discFrom = (uint8_t)((FirstReaching(levels, kGlowDisc) + 3) / 4);
  }
}

// Colour of a line of the bare sky, with fraction bits.
static SColor SkyColor(const SDaylight* day, int32_t y) {
  const uint32_t at = (uint32_t)y * (256 * (kSkyStops - 1)) / (uint32_t)day->horizon;
  const uint32_t stop = at >> 8;
  return BlendWide(day->sky[stop], day->sky[stop + 1], at & 255);
}

static uint64_t FourPixels(SColor color, const SColor* dither) {
  const uint64_t even = PixelOf(color + dither[0]);
  const uint64_t odd = PixelOf(color + dither[1]);
  const uint64_t pair = even | odd << 16;
  return pair | pair << 32;
}

static void FillSpan(uint64_t* target, const uint64_t* end, uint64_t pixels) {
  while (target + 4 <= end) {
    target[0] = pixels;
    target[1] = pixels;
    target[2] = pixels;
    target[3] = pixels;
    target += 4;
  }
  while (target < end) *target++ = pixels;
}

// Whether line `dy` from the disc's middle falls into one of the slits of its lower part. They grow
// towards the bottom.
static uint32_t IsSlit(int32_t dy, uint32_t openness) {
  const int32_t below = dy + kSlitsBegin;
  if (below < 0) return 0;
  const uint32_t within = (uint32_t)below % kSlitHeight;
  const uint32_t open = (1 + (uint32_t)below / 11) * openness >> 8;
  return within < open;
}

// The colours of one line of the halo by level, for even and odd columns; those of the disc and its
// edge on lines that it reaches.
static void MixHalo(uint16_t (*colors)[2], const SDaylight* day, SColor sky, const SColor* dither,
                    int32_t dy) {
  const SColor step = (day->glow - Narrow(sky)) * kHaloStep;
  SColor color = sky;
  for (uint32_t level = 0; level <= kGlowTop; level++) {
    colors[level][0] = (uint16_t)PixelOf(color + dither[0]);
    colors[level][1] = (uint16_t)PixelOf(color + dither[1]);
    color += step;
  }
  if (dy < -kDiscHalf || dy > kDiscHalf) return;
  color -= step;
  SColor disc = color;
  if (!IsSlit(dy, day->slits)) {
    disc = BlendWide(day->discTop, day->discBottom, (uint32_t)(dy + kDiscHalf) * 3);
  }
  const SColor rim = Narrow(color);
  const SColor face = Narrow(disc);
  for (uint32_t i = 1; i <= 4; i++) {
    const SColor mixed = i == 4 ? disc : BlendWide(rim, face, i * 64);
    colors[kGlowTop + i][0] = (uint16_t)PixelOf(mixed + dither[0]);
    colors[kGlowTop + i][1] = (uint16_t)PixelOf(mixed + dither[1]);
  }
}

static void DrawGroups(uint64_t* target, const uint64_t* end, const uint8_t* levels,
                       uint16_t (*colors)[2]) {
  for (; target < end; target++, levels += 4) {
    const uint64_t a = colors[levels[0]][0];
    const uint64_t b = colors[levels[1]][1];
    const uint64_t c = colors[levels[2]][0];
    const uint64_t d = colors[levels[3]][1];
    *target = a | b << 16 | c << 32 | d << 48;
  }
}

// One line with halo: bare sky, halo, disc, halo, bare sky.
static void DrawHaloLine(uint64_t* line, uint32_t row, uint64_t sky, uint16_t (*colors)[2]) {
  const uint8_t* levels = kGlow + row * kGlowWidth;
  const uint32_t halo = gHaloRows[row].haloFrom;
  const uint32_t disc = gHaloRows[row].discFrom;
  uint64_t* left = line + kGlowLeft / 4;
  uint64_t* right = left + kGlowWidth / 4;
  FillSpan(line, left + halo, sky);
  DrawGroups(left + halo, left + disc, levels + halo * 4, colors);
  if (disc < kGlowHalf / 4) {
    const uint64_t pair = colors[kGlowDisc][0] | (uint64_t)colors[kGlowDisc][1] << 16;
    FillSpan(left + disc, right - disc, pair | pair << 32);
  }
  DrawGroups(right - disc, right - halo, levels + kGlowWidth - disc * 4, colors);
  FillSpan(right - halo, line + kWidth / 4, sky);
}

static void DrawStars(uint16_t* page, const SDaylight* day, uint32_t moment) {
  for (uint32_t i = 0; i < kStarCount; i++) {
    const SStar* star = &gStars[i];
    if (star->y >= day->horizon) continue;
    const uint32_t twinkle = (uint32_t)(Sine(star->phase + moment * 9) + 4096 * 2) / 48;
    uint32_t light = star->light * twinkle >> 8;
    light = (light > 255 ? 255 : light) * day->stars >> 8;
    if (light < 24) continue;
    uint16_t* at = LineOf(page, star->y) + star->x;
    const uint32_t grey = light >> 3;
    const uint32_t r = (*at >> 10 & 31) + grey * (31 - (*at >> 10 & 31)) / 31;
    const uint32_t g = (*at >> 5 & 31) + grey * (31 - (*at >> 5 & 31)) / 31;
    const uint32_t b = (*at & 31) + grey * (31 - (*at & 31)) / 31;
    *at = (uint16_t)RGB(r, g, b);
  }
}

void DrawSky(uint16_t* page, const SDaylight* day, uint32_t moment) {
  uint16_t colors[kGlowLevels][2];
  for (int32_t y = 0; y < day->horizon; y++) {
    const SColor sky = SkyColor(day, y);
    const SColor* dither = kDither[y & 3];
    const uint64_t pixels = FourPixels(sky, dither);
    uint64_t* line = (uint64_t*)LineOf(page, y);
    const int32_t dy = y - day->discY;
    if (dy < -kGlowHalf || dy >= kGlowHalf) {
      FillSpan(line, line + kWidth / 4, pixels);
      continue;
    }
    MixHalo(colors, day, sky, dither, dy);
    DrawHaloLine(line, (uint32_t)(dy < 0 ? -1 - dy : dy), pixels, colors);
  }
  DrawStars(page, day, moment);
}
