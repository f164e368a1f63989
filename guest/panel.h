// The plain screens of the kernel: background, heading and bar.
#pragma once

#include "guest/draw.h"

enum {
  kInkTitle = RGB(31, 28, 18),
  kInkText = RGB(22, 24, 30),
  kInkDim = RGB(10, 12, 19),
  kInkGood = RGB(12, 31, 16),
  kInkBad = RGB(31, 9, 8),
  kInkPaper = RGB(3, 1, 7),
};

void DrawPanelBackground(uint16_t* page);
// The cabinet's name with `under` below it.
void DrawPanelHeading(uint16_t* page, const char* under);
void DrawProgressBar(uint16_t* page, uint32_t done, uint32_t total);
