// The attract mode's pages. Title colours and coins are reached through mapped pages.
#include "guest/game/attract.h"

#include "guest/game/world.h"

enum { kTitleEntry = 0, kTitleWindow = 0x00400 };

void PrepareAttract(void) {
  PrepareSky();
  PrepareRidges();
  const uint32_t palette = (uint32_t)(uintptr_t)kTitlePalette & 0x1FFFFFFF;
  gKernel->MapPagePair(kTitleEntry, kTitleWindow, palette, palette);
}

void Darken(uint16_t* page, int32_t from, int32_t to) {
  uint64_t* four = (uint64_t*)LineOf(page, from);
  const uint64_t* end = (const uint64_t*)LineOf(page, to);
  for (; four < end; four++) *four = *four >> 1 & 0x3DEF3DEF3DEF3DEF;
}

static void DrawCoins(uint16_t* page, uint32_t moment) {
  for (uint32_t i = 0; i < kCoinCount; i++) {
    SCoinPlace place;
    PlaceCoin(&place, i, moment);
    DrawCoin(page, place.x, place.y, MapCoin(place.view));
  }
}

static void DrawInvitation(uint16_t* page, uint32_t moment) {
  if (moment % 64 >= 44) return;
  const bool bCan = CanStart(0) || CanStart(1);
  DrawHeadline(page, 172, Text(bCan ? kTextPressStart : kTextInsertCoin), kInkGold);
}

void DrawTitlePage(uint16_t* page, uint32_t moment) {
  char price[48];
  SDaylight day;
  ComputeDaylight(&day, moment);
  DrawSky(page, &day, moment);
  DrawRidges(page, &day, moment);
  DrawSkimmer(page, &day, moment, true);
  DrawTitle(page, (const uint16_t*)(uintptr_t)(kTitleWindow << 12), moment);
  DrawCoins(page, moment);
  DrawSkimmer(page, &day, moment, false);
  DrawMirror(page, &day, moment);
  DrawInvitation(page, moment);
  DrawScroller(page, moment);
  if (!gSwitches.bFreePlay) {
    FormatPrice(price);
    DrawCenteredText(page, 194, price, RGB(24, 25, 30));
  }
  DrawCredits(page, 204);
}

void DrawQuietLake(uint16_t* page, uint32_t moment) {
  SDaylight day;
  ComputeDaylight(&day, moment);
  DrawSky(page, &day, moment);
  DrawRidges(page, &day, moment);
  DrawMirror(page, &day, moment);
  Darken(page, 0, kHeight);
}

void DrawNoticePage(uint16_t* page, uint32_t moment, uint32_t frames) {
  DrawQuietLake(page, moment);
  DrawHeadline(page, 54, "OPEN CABINET", kInkBlue);
  if (frames > 10) DrawCenteredText(page, 96, Text(kTextNotice1), RGB(28, 28, 31));
  if (frames > 30) DrawCenteredText(page, 110, Text(kTextNotice2), RGB(28, 28, 31));
  if (frames > 70) DrawCenteredText(page, 134, Text(kTextNotice3), RGB(31, 27, 14));
}

// One line of the page, with a thing that turns before it.
static void DrawHint(uint16_t* page, uint32_t frames, uint32_t index, int32_t y, EText text,
                     uint32_t model) {
  if (frames < 12 + index * 16) return;
  if (model == kModels) {
    DrawScaled(page, MapCoin(frames / 3 % kCoinFrames), 28, y + 4, 18);
  } else {
    SPose pose;
    const SView view = {.focal = 200.0f,
                        .centerX = 28,
                        .horizon = y + 3,
                        .hazeFar = 1000.0f,
                        .sun = {-0.40f, 0.72f, -0.57f},
                        .shade = MakeColor(28, 12, 48),
                        .glow = MakeColor(255, 240, 200),
                        .haze = 0};
    TurnPose(&pose, frames * 6 + index * 200, 1024 - 40, 0);
    pose.place = (SVector){0.0f, model == kModelPost ? -1.3f : -0.2f,
                           model == kModelLog || model == kModelPost ? 30.0f : 18.0f};
    DrawModel(page, &view, gModels[model], &pose);
  }
  DrawShadowText(page, 46, y, Text(text), RGB(28, 28, 31));
}

void DrawHowToPage(uint16_t* page, uint32_t moment, uint32_t frames) {
  DrawQuietLake(page, moment);
  DrawHeadline(page, 8, Text(kTextHowTo), kInkGold);
  DrawCenteredText(page, 30, Text(kTextStory1), RGB(31, 26, 14));
  DrawCenteredText(page, 41, Text(kTextStory2), RGB(31, 26, 14));
  static const struct {
    uint8_t text, model;
  } kHints[] = {{kTextSteer, kModelSkimmer1}, {kTextSpeed, kModelSkimmer2},
                {kTextFire, kModelDrone},     {kTextLeap, kModelLog},
                {kTextFlare, kModelBoat},     {kTextChain, kModels},
                {kTextGates, kModelPost},     {kTextCarrier, kModelCarrier}};
  for (uint32_t i = 0; i < sizeof(kHints) / sizeof(kHints[0]); i++) {
    DrawHint(page, frames, i, 64 + (int32_t)i * 20, (EText)kHints[i].text, kHints[i].model);
  }
  DrawCredits(page, 228);
}
