// The lake: the picture above the horizon, mirrored, squeezed, dimmed, and swaying in the ripples.
#include "guest/draw.h"

enum {
  kLakeLines = kHeight - kHorizon,  // for which the ripples are made; others stretch them
  kMargin = 16,                     // pixels on either side that repeat the line's ends
};

static uint64_t gMirror[(kWidth + 2 * kMargin) / 4];

static uint64_t FourOf(uint32_t pixel) {
  const uint64_t pair = pixel | (uint64_t)pixel << 16;
  return pair | pair << 32;
}

static void TakeLine(const uint16_t* source) {
  const uint64_t* from = (const uint64_t*)source;
  uint64_t* to = gMirror + kMargin / 4;
  for (uint32_t i = 0; i < kWidth / 4; i += 4) {
    to[i] = from[i];
    to[i + 1] = from[i + 1];
    to[i + 2] = from[i + 2];
    to[i + 3] = from[i + 3];
  }
  const uint64_t left = FourOf(source[0]);
  const uint64_t right = FourOf(source[kWidth - 1]);
  for (uint32_t i = 0; i < kMargin / 4; i++) {
    gMirror[i] = left;
    gMirror[(kMargin + kWidth) / 4 + i] = right;
  }
}

// Five eighths of each channel plus `tint`, on four pixels at once. The tint stays below 11 of 31,
// so that no channel runs over.
static inline uint64_t Dim(uint64_t four, uint64_t tint) {
  const uint64_t half = four >> 1 & 0x3DEF3DEF3DEF3DEF;
  const uint64_t eighth = four >> 3 & 0x0C630C630C630C63;
  return half + eighth + tint;
}

// Copies the held line `shift` pixels to the side, -kMargin < shift < kMargin - 4. Four groups at a
// time, since this is half of the lake's work.
static void LayLine(uint64_t* target, int32_t shift, uint64_t tint) {
  const uint32_t start = (uint32_t)(kMargin + shift);
  const uint64_t* from = gMirror + start / 4;
  const uint64_t* end = target + kWidth / 4;
  const uint32_t low = (start & 3) * 16;
  if (low == 0) {
    for (; target < end; target += 4, from += 4) {
      target[0] = Dim(from[0], tint);
      target[1] = Dim(from[1], tint);
      target[2] = Dim(from[2], tint);
      target[3] = Dim(from[3], tint);
    }
    return;
  }
  const uint32_t high = 64 - low;
  uint64_t at = from[0];
  for (; target < end; target += 4, from += 4) {
    const uint64_t a = from[1], b = from[2], c = from[3], d = from[4];
    target[0] = Dim(at >> low | a << high, tint);
    target[1] = Dim(a >> low | b << high, tint);
    target[2] = Dim(b >> low | c << high, tint);
    target[3] = Dim(c >> low | d << high, tint);
    at = d;
  }
}

// Short bright strokes where the disc's light runs towards the eye.
static void DrawGlitter(uint16_t* page, const SDaylight* day, uint32_t moment) {
  const uint32_t color = PixelOf(BlendWide(day->glow, day->discTop, 100));
  const uint32_t lines = (uint32_t)(kHeight - day->horizon);
  if (day->discY > day->horizon + 20) return;
  uint32_t random = 5 + (moment / 5) * 7919;
  for (uint32_t i = 0; i < 44; i++) {
    const int32_t line = (int32_t)(NextRandom(&random) % (lines - 4)) + 2;
    const int32_t spread = 26 + line / 2;
    const int32_t a = (int32_t)(NextRandom(&random) % (uint32_t)(2 * spread));
    const int32_t b = (int32_t)(NextRandom(&random) % (uint32_t)(2 * spread));
    const int32_t length = 2 + line / 14;
    uint16_t* target = LineOf(page, day->horizon + line) + kWidth / 2 + (a + b) / 2 - spread;
    for (int32_t x = 0; x < length; x++) target[x] = (uint16_t)color;
  }
}

void DrawMirror(uint16_t* page, const SDaylight* day, uint32_t moment) {
  const int32_t lines = kHeight - day->horizon;
  // How much of the sky is seen: 13 lines for 8 over the low horizon; over a high one line for line
  // at first and fewer and fewer towards the eye, so that the sky is enough.
  const int32_t spare = lines > kLakeLines ? lines - day->horizon + 4 : 0;
  const uint32_t stretch = kLakeLines * 256 / (uint32_t)lines;
  for (int32_t line = 0; line < lines; line++) {
    // Ripples get longer and wider towards the eye.
    const uint32_t depth = (uint32_t)line * stretch >> 8;
    const uint32_t phase = 36000 / (depth + 14) + moment * 11;
    const int32_t wave =
        Sine(phase) * (int32_t)(depth + 6) + Sine(phase * 3 + moment * 7) * (int32_t)(depth / 3);
    const int32_t shift = wave >> 16;
    const int32_t sway = Sine(phase + 256) * (int32_t)depth >> 17;
    const int32_t up = spare > 0 ? line - line * line * spare / (lines * lines) : line * 13 / 8;
    int32_t source = day->horizon - 1 - up + sway;
    if (source >= day->horizon) source = day->horizon - 1;
    if (source < 0) source = 0;
    TakeLine(LineOf(page, source));
    const SColor water = BlendWide(0, day->water, 40 + depth / 2);
    const uint32_t even = PixelOf(water + kDither[line & 3][0]);
    const uint32_t odd = PixelOf(water + kDither[line & 3][1]);
    const uint64_t pair = even | (uint64_t)odd << 16;
    LayLine((uint64_t*)LineOf(page, day->horizon + line), shift, pair | pair << 32);
  }
  DrawGlitter(page, day, moment);
}
