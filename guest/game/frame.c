// Two pages of the frame store take turns: one is shown while the other is drawn.
#include "guest/cop0.h"
#include "guest/game/game.h"

#define kPage0 ((uint16_t*)0x80030000u)
#define kPage1 ((uint16_t*)0x80058000u)
enum { kCoinEntry = 1, kCoinWindow = 0x00410, kCoinBytes = kCoinSize * kCoinSize * 2 };

static bool gbPage1 = true;
static uint32_t gBegin;

static uint16_t* Page(void) { return gbPage1 ? kPage1 : kPage0; }

uint16_t* FirstPage(void) {
  gBegin = ReadCount();
  return Page();
}

uint16_t* FinishFrame(void) {
  volatile SSelfTestBlock* results = gKernel->results;
  const uint32_t cycles = (ReadCount() - gBegin) * 2;
  results->drawCyclesLast = cycles;
  if (cycles > results->drawCyclesMax) results->drawCyclesMax = cycles;
  gKernel->RequestFlip(gbPage1);
  while (gKernel->IsFlipPending()) gKernel->WaitForInterrupt();
  gbPage1 = !gbPage1;
  return FirstPage();
}

void BeginPause(void) { gKernel->ExpectFlips(false); }
// Goes on at the begin of a frame, so that this frame is not late from the start.
void EndPause(void) {
  const uint32_t blanks = gKernel->results->blankCount;
  while (gKernel->results->blankCount == blanks) gKernel->WaitForInterrupt();
  gBegin = ReadCount();
}

// Turns the window to the page that holds the view.
const uint16_t* MapCoin(uint32_t view) {
  const uint32_t physical = ((uint32_t)(uintptr_t)gCoins & 0x1FFFFFFF) + view * kCoinBytes;
  const uint32_t frame = physical & ~0xFFFu;
  gKernel->MapPagePair(kCoinEntry, kCoinWindow, frame, frame);
  gKernel->results->pageRemaps = gKernel->results->pageRemaps + 1;
  return (const uint16_t*)(uintptr_t)(kCoinWindow << 12) + (physical & 0xFFF) / 2;
}
