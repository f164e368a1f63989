// Scores, lives and what else a player wants to know.
#include "guest/game/world.h"

static void DrawBar(uint16_t* page, int32_t x, int32_t y, int32_t width, int32_t filled,
                    uint16_t color) {
  FillRectangle(page, x - 1, y - 1, width + 2, 6, 0);
  FillRectangle(page, x, y, width, 4, RGB(5, 4, 9));
  if (filled > 0) FillRectangle(page, x, y, filled, 4, color);
}

// A small skimmer from above.
static void DrawLife(uint16_t* page, int32_t x, int32_t y, uint16_t color) {
  static const uint8_t kRows[7] = {0x08, 0x1C, 0x1C, 0x3E, 0x7F, 0x5D, 0x14};
  for (int32_t row = 0; row < 7; row++) {
    for (int32_t column = 0; column < 7; column++) {
      if (!(kRows[row] >> column & 1)) continue;
      LineOf(page, y + row + 1)[x + column + 1] = 0;
      LineOf(page, y + row)[x + column] = color;
    }
  }
}

static void DrawPlayer(uint16_t* page, uint32_t player, uint32_t moment) {
  static const uint16_t kInk[kPlayers] = {RGB(31, 24, 14), RGB(16, 27, 31)};
  const SPlayer* p = &gPlayers[player];
  const int32_t left = player == 0 ? 6 : kWidth - 102;
  char text[24];
  if (!p->bJoined) {
    if (gLake.bDemo || (moment & 32)) return;
    const char* words = Text(CanStart(player) ? kTextJoin : kTextInsertCoin);
    DrawShadowText(page, player == 0 ? left : kWidth - 6 - TextWidth(words), 18, words,
                   RGB(22, 22, 26));
    return;
  }
  FormatNumber(text, p->score, 8);
  DrawShadowText(page, left, 4, text, kInk[player]);
  if (p->bOut) {
    if (p->countDown > 0) {
      char* end = AppendText(text, Text(kTextContinue));
      *end++ = ' ';
      AppendNumber(end, p->countDown / kFramesASecond);
      DrawShadowText(page, left, 15, text, (moment & 16) ? RGB(31, 31, 31) : RGB(31, 12, 10));
    }
    return;
  }
  const int32_t end = left + 66;
  text[0] = 'X';
  AppendNumber(text + 1, p->multiplier);
  const bool bHot = p->multiplier >= 4;
  DrawShadowText(page, end + 2, 4, text, bHot && (moment & 8) ? RGB(31, 31, 31) : RGB(31, 28, 8));
  DrawBar(page, end + 20, 6, 10, (int32_t)(p->chain * 10 / kChainStep), RGB(31, 24, 6));
  for (uint32_t i = 0; i + 1 < p->lives && i < 6; i++)
    DrawLife(page, left + (int32_t)i * 9, 14, kInk[player]);
  for (uint32_t i = 0; i < p->flares; i++) {
    FillRectangle(page, end + (int32_t)i * 6, 15, 4, 5, 0);
    FillRectangle(page, end + (int32_t)i * 6, 15, 3, 4, RGB(31, 30, 20));
  }
}

static void DrawBossBar(uint16_t* page) {
  const int32_t width = 160;
  const uint32_t full = BossFullHealth();
  if (!IsBossHere() || full == 0) return;
  DrawCenteredText(page, 24, BossName(), RGB(31, 20, 18));
  DrawBar(page, (kWidth - width) / 2, 35, width, (int32_t)(BossHealth() * (uint32_t)width / full),
          RGB(30, 6, 8));
}

static void DrawWay(uint16_t* page) {
  // How far it is to the stage's end.
  const SStageFile* file = (const SStageFile*)gStages[gLake.stage % kStages];
  const uint32_t length = file->row[file->rows - 1].distance;
  const int32_t width = 84;
  const uint32_t at = (uint32_t)ToInteger(gLake.distance);
  const int32_t x = (kWidth - width) / 2;
  DrawBar(page, x, 8, width, (int32_t)((at < length ? at : length) * (uint32_t)width / length),
          RGB(14, 26, 20));
  FillRectangle(page, x + width - 2, 5, 2, 9, RGB(31, 10, 8));
}

static void DrawSpeed(uint16_t* page) {
  // Ten lamps, the last ones lit while coins pay double.
  const int32_t lit = ToInteger(SpeedShare() * 10.0f + 0.5f);
  for (int32_t i = 0; i < 10; i++) {
    const uint16_t color = i >= lit ? RGB(4, 4, 8)
                           : i >= 8 ? RGB(31, 8, 6)
                           : i >= 5 ? RGB(31, 24, 6)
                                    : RGB(10, 26, 14);
    FillRectangle(page, 6 + i * 5, 226 - i / 2, 4, 6 + i / 2, color);
  }
  if (lit > 8) DrawShadowText(page, 60, 224, "X2", RGB(31, 22, 8));
}

void DrawHud(uint16_t* page, uint32_t moment) {
  for (uint32_t i = 0; i < kPlayers; i++) DrawPlayer(page, i, moment);
  if (IsBossHere()) {
    DrawBossBar(page);
  } else {
    DrawWay(page);
  }
  if (!gLake.bDemo) DrawSpeed(page);
}
