// The pictures and tables that make_art.py draws.
#pragma once

#include <stdint.h>

// Data that is reached through mapped pages begins on a page of its own.
#define PAGES __attribute__((aligned(4096), section(".rodata.pages")))

// 64 glyphs from space on, eight rows each, leftmost pixel in bit 7.
extern const uint8_t kFont[64 * 8];

// One turn in 1,024 steps; 4,096 stands for 1.
extern const int16_t kSine[1024];

// Lower half of the light around the disc: 96 rows of 192 levels, each row the same from both ends.
// 0..19 is the halo, 20..22 the disc's edge, 23 the disc.
enum { kGlowHalf = 96, kGlowWidth = 192, kGlowTop = 19, kGlowDisc = 23, kGlowLevels = 24 };
extern const uint8_t kGlow[];

// The two words of the title, column by column. A column is a row of runs and kTitleEnd; a run
// tells how many pixels to leave, how many to halve, how many to paint, and then the colours
// painted, 2..15 of the palette of their line.
enum { kTitleRows = 44, kTitleEnd = 255 };
extern const uint32_t kTitleUpperColumns;
extern const uint32_t kTitleLowerColumns;
extern const uint8_t kTitleUpper[];
extern const uint8_t kTitleLower[];

// Sixteen views of a turning coin, 32 by 32 pixels, bit 15 set where there is coin; two to a page.
// They come from the disk.
enum { kCoinSize = 32, kCoinFrames = 16 };

// Two banks (plain, glint) of 44 rows of 16 colours; a page.
enum { kTitleBank = kTitleRows * 16 };
extern const uint16_t kTitlePalette[];
