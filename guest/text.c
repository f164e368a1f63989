#include "guest/draw.h"

#define DITHER(step) ((SColor)(step) << 42 | (SColor)(step) << 21 | (SColor)(step))
const SColor kDither[4][2] = {
    {DITHER(0), DITHER(1024)},
    {DITHER(1536), DITHER(512)},
    {DITHER(256), DITHER(1280)},
    {DITHER(1792), DITHER(768)},
};

int32_t TextWidth(const char* text) {
  int32_t width = 0;
  while (*text++) width += 8;
  return width;
}

static const uint8_t* GlyphOf(char letter) {
  const uint32_t index = (uint32_t)(uint8_t)letter - 32;
  return kFont + (index < 64 ? index : 31) * 8;
}

void DrawText(uint16_t* page, int32_t x, int32_t y, const char* text, uint16_t color) {
  for (; *text; text++, x += 8) {
    if (x < 0 || x > kWidth - 8) continue;
    const uint8_t* glyph = GlyphOf(*text);
    uint16_t* line = LineOf(page, y) + x;
    for (uint32_t row = 0; row < 8; row++, line += kWidth) {
      uint16_t* target = line;
      for (uint32_t bits = glyph[row]; bits != 0; bits = bits << 1 & 0xFF, target++) {
        if (bits & 0x80) *target = color;
      }
    }
  }
}

void DrawBigLetter(uint16_t* page, int32_t x, int32_t y, char letter, const uint16_t* colors) {
  if (letter == ' ' || x <= -16 || x >= kWidth) return;
  const uint8_t* glyph = GlyphOf(letter);
  for (int32_t row = 0; row < 8; row++) {
    const uint32_t bits = glyph[row];
    uint16_t* upper = LineOf(page, y + 2 * row) + x;
    uint16_t* lower = upper + kWidth;
    for (int32_t column = 0; column < 8; column++) {
      const int32_t at = x + 2 * column;
      if (!(bits & 0x80 >> column) || at < 0 || at > kWidth - 2) continue;
      upper[2 * column] = upper[2 * column + 1] = colors[2 * row];
      lower[2 * column] = lower[2 * column + 1] = colors[2 * row + 1];
    }
  }
}

void DrawBigText(uint16_t* page, int32_t x, int32_t y, const char* text, const uint16_t* colors) {
  for (; *text; text++, x += 16) DrawBigLetter(page, x, y, *text, colors);
}

char* FormatNumber(char* target, uint32_t value, uint32_t digits) {
  for (uint32_t i = digits; i-- > 0;) {
    target[i] = (char)('0' + value % 10);
    value /= 10;
  }
  target[digits] = 0;
  return target + digits;
}

void FillRectangle(uint16_t* page, int32_t x, int32_t y, int32_t width, int32_t height,
                   uint16_t color) {
  for (int32_t row = y; row < y + height; row++) {
    uint16_t* line = LineOf(page, row);
    for (int32_t column = x; column < x + width; column++) line[column] = color;
  }
}
