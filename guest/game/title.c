// The title on its wave, the coins, and the message line.
#include "guest/draw.h"

enum { kUpperLine = 15, kLowerLine = 56, kGlintPeriod = 420 };

// Paints down a column from `target` on, with a palette that moves on a row for each pixel.
static void PaintRun(uint16_t* target, const uint8_t* values, int32_t count,
                     const uint16_t* palette) {
  for (; count >= 2; count -= 2) {
    target[0] = palette[values[0]];
    target[kWidth] = palette[16 + values[1]];
    values += 2;
    target += 2 * kWidth;
    palette += 2 * 16;
  }
  if (count != 0) *target = palette[*values];
}

// Draws one column of a word and answers where the next one begins. In the letter's rows from
// `glintFrom` to before `glintTo` the glint's colours apply.
static const uint8_t* DrawTitleColumn(uint16_t* target, const uint8_t* code,
                                      const uint16_t* palette, int32_t glintFrom, int32_t glintTo) {
  int32_t row = 0;
  while (*code != kTitleEnd) {
    const int32_t skipped = code[0];
    const int32_t halved = code[1];
    const int32_t painted = code[2];
    code += 3;
    target += skipped * kWidth;
    for (int32_t i = 0; i < halved; i++, target += kWidth) {
      *target = (uint16_t)(*target >> 1 & 0x3DEF);
    }
    row += skipped + halved;
    palette += (skipped + halved) * 16;
    const int32_t from = glintFrom - row < 0 ? 0 : glintFrom - row;
    const int32_t to = glintTo - row < painted ? glintTo - row : painted;
    PaintRun(target, code, painted, palette);
    if (from < to) {
      PaintRun(target + from * kWidth, code + from, to - from, palette + kTitleBank + from * 16);
    }
    code += painted;
    target += painted * kWidth;
    row += painted;
    palette += painted * 16;
  }
  return code + 1;
}

static void DrawWord(uint16_t* page, const uint8_t* code, uint32_t count, int32_t y,
                     const uint16_t* palette, uint32_t moment) {
  const uint32_t left = (kWidth - count) / 2;
  const int32_t glint = (int32_t)(moment % kGlintPeriod) * 3 - 40;
  for (uint32_t x = left; x < left + count; x++) {
    const int32_t wave = Sine(x * 5 + moment * 10) * 4 + Sine(x * 2 - moment * 6) * 3;
    uint16_t* target = LineOf(page, y + (wave >> 12)) + x;
    const int32_t from = glint - (int32_t)x;
    code = DrawTitleColumn(target, code, palette, from, from + 14);
  }
}

void DrawTitle(uint16_t* page, const uint16_t* palette, uint32_t moment) {
  DrawWord(page, kTitleUpper, kTitleUpperColumns, kUpperLine, palette, moment);
  DrawWord(page, kTitleLower, kTitleLowerColumns, kLowerLine, palette, moment);
}

void PlaceCoin(SCoinPlace* place, uint32_t coin, uint32_t moment) {
  // From side to side at a steady pace, and in parabolas down to the shore.
  enum { kPath = 2 * (kWidth - kCoinSize), kBounce = 96, kFloor = kHorizon - kCoinSize - 2 };
  const uint32_t path = (moment * 3 / 2 + coin * 117) % kPath;
  place->x = (int32_t)(path < kPath / 2 ? path : kPath - path);
  const int32_t at = (int32_t)((moment + coin * 41) % kBounce) - kBounce / 2;
  const int32_t tall = 66 + (int32_t)coin * 9;
  place->y = kFloor - tall + at * at * tall / (kBounce * kBounce / 4);
  place->view = (moment / 3 + coin * 5) % kCoinFrames;
}

void DrawCoin(uint16_t* page, int32_t x, int32_t y, const uint16_t* picture) {
  for (int32_t row = 0; row < kCoinSize; row++, picture += kCoinSize) {
    uint16_t* target = LineOf(page, y + row) + x;
    for (int32_t column = 0; column < kCoinSize; column++) {
      const uint32_t pixel = picture[column];
      if (pixel & 0x8000) target[column] = (uint16_t)pixel;
    }
  }
}

static const char kMessage[] =
    "WELCOME TO THE OPEN CABINET ...  TONIGHT: GOLDEN WAKE, A RACE FOR THE FERRYMAN'S COINS ...  "
    "ALL YOU SEE IS DRAWN BY THE BOARD'S OWN PROCESSOR, PIXEL BY PIXEL, SIXTY TIMES A SECOND ...  "
    "SUNSET, MOONRISE, DAWN AND NOON COME ROUND WITHIN A MINUTE, AND EACH IS A STAGE ...  "
    "ONE OR TWO SKIMMERS, JOIN AT ANY TIME ...  LEAP THE LOGS, DODGE THE STONES, LIGHT A FLARE "
    "WHEN "
    "IT GETS TIGHT ...  COINS AND TITLE COLOURS ARE READ THROUGH MAPPED PAGES, AND THE REST COMES "
    "FROM THE DISK ...  STEP RIGHT UP!";

void DrawScroller(uint16_t* page, uint32_t moment) {
  enum { kLine = 216, kLetters = sizeof(kMessage) - 1, kLead = kWidth + 16 };
  static const uint16_t kInk[16] = {
      RGB(31, 31, 24), RGB(31, 31, 20), RGB(31, 30, 16), RGB(31, 28, 12),
      RGB(31, 26, 10), RGB(31, 23, 9),  RGB(31, 20, 9),  RGB(31, 17, 10),
      RGB(30, 14, 12), RGB(28, 12, 14), RGB(26, 11, 17), RGB(24, 10, 20),
      RGB(21, 10, 22), RGB(19, 10, 24), RGB(17, 10, 26), RGB(16, 10, 27)};
  static const uint16_t kShade[16] = {0};
  const uint32_t length = kLetters * 16 + kLead;
  const int32_t begin = kWidth - (int32_t)(moment * 2 % length);
  const int32_t first = begin < -16 ? -begin / 16 - 1 : 0;
  for (int32_t i = first; i < kLetters; i++) {
    const int32_t x = begin + i * 16;
    if (x >= kWidth) break;
    const int32_t y = kLine + (Sine((uint32_t)x * 4 + moment * 14) * 3 >> 12);
    DrawBigLetter(page, x + 2, y + 2, kMessage[i], kShade);
    DrawBigLetter(page, x, y, kMessage[i], kInk);
  }
}
