#include "guest/panel.h"

void DrawPanelBackground(uint16_t* page) {
  for (int32_t y = 0; y < kHeight; y++) {
    const SColor color = BlendWide(MakeColor(10, 8, 36), MakeColor(44, 10, 62), (uint32_t)y);
    const uint64_t even = PixelOf(color + kDither[y & 3][0]);
    const uint64_t odd = PixelOf(color + kDither[y & 3][1]);
    const uint64_t pair = even | odd << 16;
    uint64_t* line = (uint64_t*)LineOf(page, y);
    for (uint32_t i = 0; i < kWidth / 4; i++) line[i] = pair | pair << 32;
  }
}

// Bars of the three colour channels under the heading, bright in the middle.
static void DrawRule(uint16_t* page, int32_t y) {
  for (int32_t x = 0; x < kWidth; x++) {
    const int32_t away = x < kWidth / 2 ? x : kWidth - 1 - x;
    const uint32_t light = (uint32_t)away * 31 / (kWidth / 2);
    LineOf(page, y)[x] = (uint16_t)RGB(light, 0, light / 3);
    LineOf(page, y + 1)[x] = (uint16_t)RGB(light, light * 2 / 3, 0);
    LineOf(page, y + 2)[x] = (uint16_t)RGB(light / 4, light / 2, light);
  }
}

void DrawPanelHeading(uint16_t* page, const char* under) {
  static const char kHeading[] = "OPEN CABINET";
  uint16_t ink[16];
  static const uint16_t kShade[16] = {0};
  for (uint32_t i = 0; i < 16; i++) ink[i] = (uint16_t)RGB(31, 31 - i, 22 - i);
  const int32_t x = (kWidth - TextWidth(kHeading) * 2) / 2;
  DrawBigText(page, x + 2, 18, kHeading, kShade);
  DrawBigText(page, x, 16, kHeading, ink);
  DrawRule(page, 40);
  DrawText(page, (kWidth - TextWidth(under)) / 2, 52, under, kInkText);
}

void DrawProgressBar(uint16_t* page, uint32_t done, uint32_t total) {
  enum { kBarLeft = 32, kBarLine = 196, kBarWidth = 256 };
  const int32_t width = (int32_t)(done * kBarWidth / total);
  for (int32_t x = 0; x < kBarWidth; x++) {
    const uint16_t color =
        x < width ? (uint16_t)RGB(12 + x / 14, 6 + x / 12, 30 - x / 13) : RGB(4, 3, 9);
    FillRectangle(page, kBarLeft + x, kBarLine, 1, 7, color);
  }
}
