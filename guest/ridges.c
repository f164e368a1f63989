// Three rows of hills between sky and lake, each scrolling at its own speed: bare mountains with
// lit and shaded faces, wooded hills, and firs on the shore. Further ones fade into the haze.
#include "guest/draw.h"

enum {
  kLayers = 3,
  kColumns = 1024,  // the hills repeat after as many columns
  kTallest = 64,    // no hill is higher above the horizon
  kLit = 2,
};

static uint8_t gHeights[kLayers][kColumns];
// kLit where the slope looks to the light, else 0; the ring goes on at its end for as long as a
// face can lean over.
static uint8_t gLit[kLayers][kColumns + kTallest];

// Midpoint displacement over the ring of columns, in 1/16 pixels.
static void MakeHills(int32_t* line, uint32_t seed, int32_t rough, uint32_t percent) {
  uint32_t random = seed;
  for (uint32_t i = 0; i < kColumns; i++) line[i] = 0;
  for (uint32_t span = kColumns / 4; span >= 1; span /= 2) {
    for (uint32_t i = 0; i < kColumns; i += span * 2) {
      const int32_t a = line[i];
      const int32_t b = line[(i + span * 2) & (kColumns - 1)];
      const int32_t shift = (int32_t)(NextRandom(&random) % (uint32_t)(2 * rough + 1)) - rough;
      line[(i + span) & (kColumns - 1)] = (a + b) / 2 + shift;
      if (span == kColumns / 4) line[i] = -shift / 2;
    }
    rough = rough * (int32_t)percent / 100;
    if (rough < 1) rough = 1;
  }
}

static int32_t gRough[kColumns];

// Peaks of `least` to `tallest` pixels around the ring, over the rough ground that is there.
static void RaisePeaks(int32_t* line, uint32_t seed, uint32_t count, int32_t least,
                       int32_t tallest) {
  uint32_t random = seed;
  for (uint32_t i = 0; i < count; i++) {
    const uint32_t center = i * kColumns / count + NextRandom(&random) % 30;
    const int32_t height = least + (int32_t)(NextRandom(&random) % (uint32_t)(tallest - least));
    const int32_t steep = 8 + (int32_t)(NextRandom(&random) % 6);  // 1/16 pixels a column
    for (int32_t d = -120; d <= 120; d++) {
      int32_t* column = &line[(center + (uint32_t)d) & (kColumns - 1)];
      const int32_t rise = height * 16 - (d < 0 ? -d : d) * steep;
      // Rough ground shows through, so that the flanks are no straight lines.
      const int32_t flank = rise + gRough[(center + (uint32_t)d) & (kColumns - 1)];
      if (flank > *column) *column = flank;
    }
  }
}

static void StoreHeights(uint32_t layer, const int32_t* line, int32_t base, int32_t least) {
  for (uint32_t i = 0; i < kColumns; i++) {
    int32_t height = base + line[i] / 16;
    if (height < least) height = least;
    if (height >= kTallest) height = kTallest - 1;
    gHeights[layer][i] = (uint8_t)height;
  }
}

// A fir: a spire whose branches step outwards.
static void PlantFir(uint32_t center, int32_t tall) {
  for (int32_t d = -8; d <= 8; d++) {
    const int32_t away = d < 0 ? -d : d;
    int32_t height = tall - away * 3;
    if (away & 1) height -= 3;
    uint8_t* column = &gHeights[2][(center + (uint32_t)d) & (kColumns - 1)];
    const int32_t ground = 2;
    if (height > 0 && height + ground > *column) *column = (uint8_t)(height + ground);
  }
}

void PrepareRidges(void) {
  static int32_t line[kColumns];
  MakeHills(gRough, 77, 60, 66);
  for (uint32_t i = 0; i < kColumns; i++) line[i] = gRough[i];
  RaisePeaks(line, 5, 20, 22, 52);
  StoreHeights(0, line, 4, 9);
  MakeHills(line, 4242, 170, 54);
  StoreHeights(1, line, 11, 4);
  MakeHills(line, 31, 40, 50);
  StoreHeights(2, line, 3, 1);
  uint32_t random = 9;
  for (uint32_t at = 5; at < kColumns;) {
    PlantFir(at, 9 + (int32_t)(NextRandom(&random) % 17));
    // Firs stand in groups with clearings between.
    at += 4 + NextRandom(&random) % 9;
    if (NextRandom(&random) % 7 == 0) at += 50 + NextRandom(&random) % 60;
  }
  for (uint32_t layer = 0; layer < kLayers; layer++) {
    for (uint32_t i = 0; i < kColumns + kTallest; i++) {
      const int32_t ahead = gHeights[layer][(i + 4) & (kColumns - 1)];
      const int32_t behind = gHeights[layer][(i - 4) & (kColumns - 1)];
      gLit[layer][i] = ahead - behind > (layer == 0 ? 0 : 2) ? kLit : 0;
    }
  }
}

// By line from the tallest hill's top on: shaded even and odd columns, then lit ones.
typedef struct SLayerColors {
  uint16_t pixels[kTallest][4];
} SLayerColors;
static SLayerColors gColors[kLayers];

// Weights are of 256: the haze in the layer's colour at the top and at the foot, and the light on
// the lit faces.
static void MixLayer(SLayerColors* colors, const SDaylight* day, uint32_t hazeTop,
                     uint32_t hazeFoot, uint32_t light) {
  for (uint32_t row = 0; row < kTallest; row++) {
    const uint32_t weight = hazeTop + (hazeFoot - hazeTop) * row / kTallest;
    const SColor shaded = BlendWide(day->ridge, day->haze, weight);
    const uint32_t lightHere = light * (kTallest - row / 2) / kTallest;
    const SColor lit = BlendWide(Narrow(shaded), day->glow, lightHere);
    const SColor* dither = kDither[row & 3];
    uint16_t* pixels = colors->pixels[row];
    pixels[0] = (uint16_t)PixelOf(shaded + dither[0]);
    pixels[1] = (uint16_t)PixelOf(shaded + dither[1]);
    pixels[kLit] = (uint16_t)PixelOf(lit + dither[0]);
    pixels[kLit + 1] = (uint16_t)PixelOf(lit + dither[1]);
  }
}

// One column of one layer from line `top` to before line `foot`, both counted from `tops`, the line
// of the tallest hill's top. Faces lean to one side with their depth below the ridge, one column
// every two lines.
static void DrawFaces(uint16_t* tops, uint32_t x, uint32_t layer, uint32_t column, uint32_t top,
                      uint32_t foot) {
  const uint16_t* colors = gColors[layer].pixels[top] + (x & 1);
  const uint8_t* lit = gLit[layer] + column;
  uint16_t* target = LineOf(tops, (int32_t)top) + x;
  uint32_t rows = foot - top;
  for (; rows >= 2; rows -= 2) {
    const uint32_t face = *lit++;
    target[0] = colors[face];
    target[kWidth] = colors[4 + face];
    target += 2 * kWidth;
    colors += 8;
  }
  if (rows != 0) *target = colors[*lit];
}

void DrawRidges(uint16_t* page, const SDaylight* day, uint32_t moment) {
  static const uint8_t kSpeeds[kLayers] = {20, 44, 112};  // 1/256 columns a frame
  MixLayer(&gColors[0], day, 110, 236, 74);
  MixLayer(&gColors[1], day, 40, 200, 30);
  MixLayer(&gColors[2], day, 0, 60, 0);
  uint16_t* tops = LineOf(page, day->horizon - kTallest);
  uint32_t scrolled[kLayers];
  for (uint32_t layer = 0; layer < kLayers; layer++) {
    scrolled[layer] = moment * kSpeeds[layer] >> 8;
  }
  for (uint32_t x = 0; x < kWidth; x++) {
    uint32_t foot = kTallest;
    for (uint32_t layer = kLayers; layer-- > 0;) {
      const uint32_t column = (x + scrolled[layer]) & (kColumns - 1);
      const uint32_t top = kTallest - gHeights[layer][column];
      if (top >= foot) continue;
      DrawFaces(tops, x, layer, column, top, foot);
      foot = top;
    }
  }
}
