// Drawing into a page of the frame store: colours, lettering, and the layers of the attract scene.
// Nothing here touches a board register.
#pragma once

#include <stdint.h>

#include "guest/art.h"

enum {
  kWidth = 320,
  kHeight = 240,
  kHorizon = 164,  // first line of the lake
};

#define RGB(r, g, b) ((uint16_t)((r) << 10 | (g) << 5 | (b)))

// --- colours in three fields ---
// Channels 0..248 at bits 0, 21 and 42 (blue, green, red), so that all three are blended with one
// multiply. A blend of weights that add up to 256 leaves 8 more bits in each field.
typedef uint64_t SColor;
#define kColorMask ((SColor)0xFF << 42 | (SColor)0xFF << 21 | 0xFF)

static inline SColor MakeColor(uint32_t r, uint32_t g, uint32_t b) {
  return (SColor)(r - (r >> 5)) << 42 | (SColor)(g - (g >> 5)) << 21 | (SColor)(b - (b >> 5));
}
// Weight of `b` 0..256; the result has 8 fraction bits a field.
static inline SColor BlendWide(SColor a, SColor b, uint32_t weight) {
  return a * (256 - weight) + b * weight;
}
static inline SColor Narrow(SColor wide) { return wide >> 8 & kColorMask; }
static inline SColor Blend(SColor a, SColor b, uint32_t weight) {
  return Narrow(BlendWide(a, b, weight));
}
// `wide` plus one dither step for all fields, as a 15-bit pixel.
static inline uint32_t PixelOf(SColor wide) {
  return (uint32_t)(wide >> 11 & 0x1F) | (uint32_t)(wide >> 27 & 0x3E0) |
         (uint32_t)(wide >> 43 & 0x7C00);
}
// Dither steps of two columns by four lines, spread below one step of a 5-bit channel.
extern const SColor kDither[4][2];

static inline int32_t Sine(uint32_t angle) { return kSine[angle & 1023]; }
static inline uint16_t* LineOf(uint16_t* page, int32_t y) { return page + y * kWidth; }

// Small steady random numbers: the same row of them from the same seed.
static inline uint32_t NextRandom(uint32_t* state) {
  *state = *state * 1664525u + 1013904223u;
  return *state >> 8;
}

// --- text.c ---
// Letters that would leave the page are cut off column by column. `text` holds capitals, digits and
// marks.
void DrawText(uint16_t* page, int32_t x, int32_t y, const char* text, uint16_t color);
// Twice the size; one colour for each of the 16 lines.
void DrawBigText(uint16_t* page, int32_t x, int32_t y, const char* text, const uint16_t* colors);
// One letter of twice the size at any x, also partly outside.
void DrawBigLetter(uint16_t* page, int32_t x, int32_t y, char letter, const uint16_t* colors);
int32_t TextWidth(const char* text);
// Writes `digits` decimal digits with leading zeros and ends the string; answers the end.
char* FormatNumber(char* target, uint32_t value, uint32_t digits);
void FillRectangle(uint16_t* page, int32_t x, int32_t y, int32_t width, int32_t height,
                   uint16_t color);

// --- the time of day: daylight.c ---
enum { kSkyStops = 5 };
typedef struct SDaylight {
  SColor sky[kSkyStops];  // evenly spaced from the top to the horizon
  SColor glow;            // colour of the halo's middle
  SColor discTop, discBottom;
  SColor haze;      // what the far ridges fade into
  SColor ridge;     // colour of the nearest ridge
  SColor water;     // tint of the lake
  uint32_t stars;   // 0..256
  uint32_t slits;   // 0..256: how far the slits in the disc are open
  int32_t horizon;  // first line below the sky
  int32_t discY;    // line of the disc's middle
} SDaylight;
// `moment` counts frames of the scene; the day repeats after kDayFrames.
enum { kDayFrames = 3072 };
void ComputeDaylight(SDaylight* day, uint32_t moment);
// Shows the same sky over another horizon, a multiple of four not below 64.
void MoveHorizon(SDaylight* day, int32_t horizon);

// --- the layers, from back to front ---
void PrepareSky(void);
void DrawSky(uint16_t* page, const SDaylight* day, uint32_t moment);
void PrepareRidges(void);
void DrawRidges(uint16_t* page, const SDaylight* day, uint32_t moment);
// `palette` is kTitlePalette, by whatever address it is reached.
void DrawTitle(uint16_t* page, const uint16_t* palette, uint32_t moment);
// `picture` is one view of the coin.
void DrawCoin(uint16_t* page, int32_t x, int32_t y, const uint16_t* picture);
// The lake: mirrors the lines above the horizon.
void DrawMirror(uint16_t* page, const SDaylight* day, uint32_t moment);
void DrawScroller(uint16_t* page, uint32_t moment);

// Where the coins fly at a moment, and which view of each is seen.
enum { kCoinCount = 5 };
typedef struct SCoinPlace {
  int32_t x, y;
  uint32_t view;
} SCoinPlace;
void PlaceCoin(SCoinPlace* place, uint32_t coin, uint32_t moment);
