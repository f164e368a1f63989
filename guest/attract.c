// The attract scene: draws into the page that is not shown, asks for the flip, and waits for the
// blank. Title colours and coins are reached through mapped pages.
#include "guest/cop0.h"
#include "guest/draw.h"
#include "guest/kernel.h"

// Windows in the user segment, by 4 KiB page, and the TLB entries behind them.
enum { kTitleEntry = 0, kTitleWindow = 0x00400, kCoinEntry = 1, kCoinWindow = 0x00410 };
enum { kCoinBytes = kCoinSize * kCoinSize * 2 };

static const uint16_t* WindowAt(uint32_t page) { return (const uint16_t*)(uintptr_t)(page << 12); }

// Turns the window to the page that holds the view.
static const uint16_t* MapCoin(uint32_t view) {
  const uint32_t physical = PhysicalOf(kCoins) + view * kCoinBytes;
  const uint32_t frame = physical & ~0xFFFu;
  MapPagePair(kCoinEntry, kCoinWindow, frame, frame);
  kResults->pageRemaps = kResults->pageRemaps + 1;
  return WindowAt(kCoinWindow) + (physical & 0xFFF) / 2;
}

static void DrawCoins(uint16_t* page, uint32_t moment) {
  for (uint32_t i = 0; i < kCoinCount; i++) {
    SCoinPlace place;
    PlaceCoin(&place, i, moment);
    DrawCoin(page, place.x, place.y, MapCoin(place.view));
  }
}

// Frame number, missed frames, and how much of the frame's time the drawing takes.
static void DrawFigures(uint16_t* page) {
  char text[48];
  char* end = text;
  static const char kFrame[] = "FRAME ";
  static const char kMissed[] = "  MISSED ";
  static const char kLoad[] = "  LOAD ";
  for (const char* c = kFrame; *c; c++) *end++ = *c;
  end = FormatNumber(end, kResults->frameCount, 6);
  for (const char* c = kMissed; *c; c++) *end++ = *c;
  end = FormatNumber(end, kResults->missedFrames, 3);
  for (const char* c = kLoad; *c; c++) *end++ = *c;
  const uint32_t period = kResults->framePeriodCycles;
  end = FormatNumber(end, period == 0 ? 0 : kResults->drawCyclesLast / (period / 100), 2);
  *end++ = '%';
  *end = 0;
  const int32_t x = (kWidth - TextWidth(text)) / 2;
  DrawText(page, x, 3, text, RGB(22, 22, 26));
}

static void DrawInvitation(uint16_t* page, uint32_t moment) {
  static const char kInvitation[] = "INSERT COIN";
  static const uint16_t kShade[16] = {0};
  uint16_t ink[16];
  if (moment % 64 >= 44) return;
  for (uint32_t i = 0; i < 16; i++) ink[i] = i < 7 ? RGB(31, 31, 31) : RGB(31, 27, 12);
  const int32_t x = (kWidth - TextWidth(kInvitation) * 2) / 2;
  DrawBigText(page, x + 2, 186, kInvitation, kShade);
  DrawBigText(page, x, 184, kInvitation, ink);
}

static void DrawFrame(uint16_t* page, uint32_t moment) {
  SDaylight day;
  ComputeDaylight(&day, moment);
  DrawSky(page, &day, moment);
  DrawRidges(page, &day, moment);
  DrawSkimmer(page, &day, moment, true);
  DrawTitle(page, WindowAt(kTitleWindow), moment);
  DrawCoins(page, moment);
  DrawSkimmer(page, &day, moment, false);
  DrawLake(page, &day, moment);
  DrawInvitation(page, moment);
  DrawScroller(page, moment);
  DrawFigures(page);
}

void RunAttract(void) {
  PrepareSky();
  PrepareRidges();
  const uint32_t palette = PhysicalOf(kTitlePalette);
  MapPagePair(kTitleEntry, kTitleWindow, palette, palette);
  kResults->state = kSelfTestAttract;
  bool bPage1 = true;
  for (uint32_t moment = 0;; moment++) {
    const uint32_t begin = ReadCount();
    DrawFrame(bPage1 ? kPage1 : kPage0, moment);
    const uint32_t cycles = (ReadCount() - begin) * 2;
    kResults->drawCyclesLast = cycles;
    if (cycles > kResults->drawCyclesMax) kResults->drawCyclesMax = cycles;
    RequestFlip(bPage1);
    while (IsFlipPending()) WaitForInterrupt();
    bPage1 = !bPage1;
  }
}
