// The attendant's menu: up and down (or the service button) choose, start or a button enters; the
// test button or start leads back.
#include "guest/game/testmenu.h"

#include "guest/game/scores.h"
#include "guest/panel.h"

static uint32_t gPage, gChosen, gFrames;
static bool gbDone;  // a page's test is over
static bool gbGood;

enum { kPressEnter = kPressStart | kPressFire };
static uint32_t Pressed(void) { return gControls[0].pressed | gControls[1].pressed; }

static void OpenPage(uint32_t page) {
  gPage = page;
  gFrames = 0;
  gbDone = gbGood = false;
}

void BeginTestMenu(void) {
  gChosen = 0;
  OpenPage(kPageMenu);
}

static void DrawLine(uint16_t* page, int32_t x, int32_t y, const char* text, uint16_t color) {
  DrawText(page, x, y, text, color);
}

static void DrawNumber(uint16_t* page, int32_t x, int32_t y, uint32_t value, uint16_t color) {
  char text[12];
  AppendNumber(text, value);
  DrawText(page, x, y, text, color);
}

// --- inputs -------------------------------------------------------------------------------------

static void DrawInputs(uint16_t* page) {
  static const char* const kNames[] = {"LEFT",  "RIGHT", "UP",   "DOWN",
                                       "START", "FIRE",  "LEAP", "FLARE"};
  static const char* const kSystem[] = {"COIN 1", "COIN 2",  "COIN 3", "COIN 4",
                                        "TEST",   "SERVICE", "TILT"};
  for (uint32_t i = 0; i < 8; i++) {
    const int32_t y = 80 + (int32_t)i * 12;
    DrawLine(page, 24, y, kNames[i], kInkDim);
    for (uint32_t player = 0; player < kPlayers; player++) {
      const bool bHeld = gControls[player].held >> i & 1;
      FillRectangle(page, 88 + (int32_t)player * 28, y, 18, 8, bHeld ? kInkGood : RGB(5, 5, 10));
    }
  }
  DrawLine(page, 88, 68, "P1", kInkText);
  DrawLine(page, 116, 68, "P2", kInkText);
  for (uint32_t i = 0; i < 7; i++) {
    const int32_t y = 80 + (int32_t)i * 12;
    DrawLine(page, 176, y, kSystem[i], kInkDim);
    FillRectangle(page, 252, y, 18, 8, gSystem.held >> i & 1 ? kInkGood : RGB(5, 5, 10));
  }
}

// --- switches -----------------------------------------------------------------------------------

static void DrawSwitch(uint16_t* page, uint32_t index, const char* name, uint32_t value,
                       const char* meaning) {
  const int32_t y = 66 + (int32_t)index * 13;
  DrawLine(page, 16, y, name, kInkText);
  DrawNumber(page, 132, y, value, kInkTitle);
  DrawLine(page, 152, y, meaning, kInkDim);
}

static void DrawSwitches(uint16_t* page) {
  static const char* const kEffects[] = {"NO DROPS AND SPARKS", "A THIRD OF THEM", "TWO THIRDS",
                                         "ALL EFFECTS"};
  static const char* const kCountries[] = {"ENGLISH, $", "DEUTSCH, EUR", "FRANCAIS, EUR",
                                           "ESPANOL, EUR"};
  static const char* const kPrices[] = {"1 COIN 1 PLAY",  "1 COIN 2 PLAYS",  "1 COIN 3 PLAYS",
                                        "2 COINS 1 PLAY", "2 START 1 GO ON", "3 COINS 1 PLAY",
                                        "1 COIN 4 PLAYS", "4 COINS 1 PLAY"};
  const SSwitches* s = &gSwitches;
  DrawSwitch(page, 0, "EFFECTS", s->effects, kEffects[s->effects]);
  DrawSwitch(page, 1, "ATTRACT SOUND", s->bAttractSound, s->bAttractSound ? "ON" : "OFF");
  DrawSwitch(page, 2, "BOSS ENDINGS", s->bLongEndings, s->bLongEndings ? "WITH A SHOW" : "SHORT");
  DrawSwitch(page, 3, "NOTICE", s->bNotice, s->bNotice ? "SHOWN" : "LEFT OUT");
  DrawSwitch(page, 4, "BLASTS", s->bWarmBlasts, s->bWarmBlasts ? "FIRE" : "COOL COLOURS");
  DrawSwitch(page, 5, "FREE PLAY", s->bFreePlay, s->bFreePlay ? "ON" : "OFF");
  DrawSwitch(page, 6, "PRICE", s->price, kPrices[s->price]);
  DrawSwitch(page, 7, "COUNTRY", s->country, kCountries[s->country]);
  DrawSwitch(page, 8, "COIN POOLS", s->bSplitCredits,
             s->bSplitCredits ? "ONE A PLAYER" : "ONE FOR BOTH");
  DrawSwitch(page, 9, "TEST SWITCH", s->bTest, s->bTest ? "ON" : "OFF");
}

// --- memory -------------------------------------------------------------------------------------

enum { kSliceBytes = 0x10000 };

// A slice of the free memory a frame: filled, read back, and read back inverted.
static void StepMemory(uint16_t* page) {
  static uint32_t at;
  static uint64_t wrong;
  uint32_t begin, end;
  FreeMemory(&begin, &end);
  if (gFrames == 0) {
    at = begin;
    wrong = 0;
  }
  if (at < end) {
    volatile uint64_t* words = (volatile uint64_t*)(uintptr_t)at;
    const uint64_t step = 0x9E3779B97F4A7C15ull;
    uint64_t value = at * step;
    for (uint32_t i = 0; i < kSliceBytes / 8; i++) words[i] = value += step;
    value = at * step;
    for (uint32_t i = 0; i < kSliceBytes / 8; i++) {
      value += step;
      wrong |= words[i] ^ value;
      words[i] = ~value;
    }
    value = at * step;
    for (uint32_t i = 0; i < kSliceBytes / 8; i++) wrong |= words[i] ^ ~(value += step);
    at += kSliceBytes;
  } else {
    gbDone = true;
    gbGood = wrong == 0;
  }
  DrawLine(page, 40, 100, "FREE MAIN RAM", kInkText);
  DrawNumber(page, 180, 100, (at - begin) / 1024, kInkTitle);
  DrawLine(page, 228, 100, "KIB", kInkDim);
  DrawProgressBar(page, at - begin, end - begin);
}

// --- disk ---------------------------------------------------------------------------------------

// Writes a pattern to the sector that is there for it and reads it back.
static EDiskResult TestScratch(void) {
  static uint64_t out[kSectorBytes / 8], in[kSectorBytes / 8];
  SDiskFile file;
  EDiskResult result = gKernel->FindFile("SCRATCH", &file);
  for (uint32_t i = 0; i < kSectorBytes / 8; i++) out[i] = (i + gFrames) * 0x9E3779B97F4A7C15ull;
  if (result == kDiskGood) result = gKernel->WriteDisk(file.firstSector, 1, out);
  if (result == kDiskGood) result = gKernel->ReadDisk(file.firstSector, 1, in);
  for (uint32_t i = 0; i < kSectorBytes / 8 && result == kDiskGood; i++) {
    if (in[i] != out[i]) result = kDiskDamaged;
  }
  return result;
}

static void StepDisk(uint16_t* page) {
  static uint32_t at;
  static EDiskResult result;
  static const char* name;
  if (gFrames == 0) {
    at = 0;
    result = kDiskGood;
  }
  const uint32_t files = VerifiedFiles();
  if (!gbDone) {
    BeginPause();
    if (at < files) {
      result = VerifyFile(at, &name);
      at++;
    } else {
      result = TestScratch();
      name = "SCRATCH";
    }
    if (result != kDiskGood ||
        (at == files && name[0] == 'S' && name[1] == 'C' && name[2] == 'R')) {
      gbDone = true;
      gbGood = result == kDiskGood;
    }
    EndPause();
  }
  DrawLine(page, 40, 90, "SECTORS", kInkText);
  DrawNumber(page, 180, 90, gKernel->DiskSectors(), kInkTitle);
  DrawLine(page, 40, 104, "FILES READ BACK", kInkText);
  DrawNumber(page, 180, 104, at, kInkTitle);
  DrawLine(page, 40, 118, "LAST FILE", kInkText);
  DrawLine(page, 180, 118, name, kInkDim);
  DrawLine(page, 40, 140, gKernel->DescribeDisk(result), result == kDiskGood ? kInkGood : kInkBad);
  DrawProgressBar(page, at, files);
}

// --- colours, books, and the rest ---------------------------------------------------------------

static void DrawColors(uint16_t* page) {
  // A grid of lines while fire is held, else bars.
  if ((gControls[0].held | gControls[1].held) & kPressLeap) {
    FillRectangle(page, 0, 0, kWidth, kHeight, 0);
    for (int32_t x = 0; x < kWidth; x += 16) FillRectangle(page, x, 0, 1, kHeight, RGB(31, 31, 31));
    for (int32_t y = 0; y < kHeight; y += 16) FillRectangle(page, 0, y, kWidth, 1, RGB(31, 31, 31));
    return;
  }
  for (int32_t i = 0; i < 32; i++) {
    const uint32_t v = (uint32_t)i;
    FillRectangle(page, i * 10, 60, 10, 38, RGB(v, 0, 0));
    FillRectangle(page, i * 10, 98, 10, 38, RGB(0, v, 0));
    FillRectangle(page, i * 10, 136, 10, 38, RGB(0, 0, v));
    FillRectangle(page, i * 10, 174, 10, 38, RGB(v, v, v));
  }
  DrawLine(page, 60, 216, "BUTTON 2: GRID OF LINES", kInkDim);
}

static void DrawBooks(uint16_t* page) {
  static const char* const kSlots[] = {"COINS IN SLOT 1", "COINS IN SLOT 2", "COINS IN SLOT 3",
                                       "COINS IN SLOT 4"};
  uint32_t sum = 0;
  for (uint32_t i = 0; i < kCoinSlots; i++) {
    DrawLine(page, 48, 72 + (int32_t)i * 14, kSlots[i], kInkText);
    DrawNumber(page, 224, 72 + (int32_t)i * 14, gTable.coins[i], kInkTitle);
    sum += gTable.coins[i];
  }
  DrawLine(page, 48, 130, "COINS IN ALL", kInkText);
  DrawNumber(page, 224, 130, sum, kInkTitle);
  DrawLine(page, 48, 146, "GAMES", kInkText);
  DrawNumber(page, 224, 146, gTable.plays, kInkTitle);
  DrawLine(page, 48, 160, "CONTINUED", kInkText);
  DrawNumber(page, 224, 160, gTable.continues, kInkTitle);
  DrawLine(page, 48, 174, "MINUTES PLAYED", kInkText);
  DrawNumber(page, 224, 174, gTable.playSeconds / 60, kInkTitle);
}

static void StepClear(uint16_t* page) {
  DrawLine(page, 40, 100, "SCORES AND BOOKS ARE SET BACK.", kInkText);
  DrawLine(page, 40, 116, "HOLD LEAP AND FLARE TO DO IT.", kInkText);
  if (!gbDone && (gControls[0].held & kPressLeap) && (gControls[0].held & kPressFlare)) {
    ClearTable();
    BeginPause();
    SaveTable();
    EndPause();
    gbDone = true;
    gbGood = kGameBlock->diskError == 0;
  }
}

static void StepMenu(uint16_t* page) {
  static const char* const kNames[] = {"INPUTS",  "SWITCHES",     "MEMORY",   "DISK",
                                       "COLOURS", "BOOK-KEEPING", "SET BACK", "LEAVE"};
  enum { kEntries = sizeof(kNames) / sizeof(kNames[0]) };
  const uint32_t pressed = Pressed();
  if ((pressed & kPressDown) || (gSystem.pressed & kSystemService))
    gChosen = (gChosen + 1) % kEntries;
  if (pressed & kPressUp) gChosen = (gChosen + kEntries - 1) % kEntries;
  for (uint32_t i = 0; i < kEntries; i++) {
    const int32_t y = 72 + (int32_t)i * 15;
    if (i == gChosen) FillRectangle(page, 84, y - 3, 152, 13, RGB(12, 4, 14));
    DrawLine(page, 104, y, kNames[i], i == gChosen ? kInkTitle : kInkText);
  }
  DrawLine(page, 36, 204, "UP, DOWN, SERVICE: CHOOSE", kInkDim);
  DrawLine(page, 36, 216, "START, FIRE, TEST: ENTER, LEAVE", kInkDim);
  if ((pressed & kPressEnter) || (gSystem.pressed & kSystemTest)) OpenPage(gChosen + 1);
}

static void DrawResult(uint16_t* page) {
  if (!gbDone) return;
  DrawLine(page, 40, 164, gbGood ? "GOOD" : "BAD", gbGood ? kInkGood : kInkBad);
}

bool StepTestMenu(uint16_t* page) {
  static const char* const kHeadings[kTestPages] = {"TEST MENU",    "INPUTS",   "SWITCHES",
                                                    "MEMORY",       "DISK",     "COLOURS",
                                                    "BOOK-KEEPING", "SET BACK", ""};
  DrawPanelBackground(page);
  DrawPanelHeading(page, kHeadings[gPage]);
  const uint32_t opened = gPage;
  switch (gPage) {
    case kPageMenu:
      StepMenu(page);
      break;
    case kPageInputs:
      DrawInputs(page);
      break;
    case kPageSwitches:
      DrawSwitches(page);
      break;
    case kPageMemory:
      StepMemory(page);
      break;
    case kPageDisk:
      StepDisk(page);
      break;
    case kPageColors:
      DrawColors(page);
      break;
    case kPageBooks:
      DrawBooks(page);
      break;
    case kPageClear:
      StepClear(page);
      break;
    default:
      break;
  }
  DrawResult(page);
  kGameBlock->testPage = gPage;
  kGameBlock->testResult = gbDone ? (gbGood ? 1 : 2) : 0;
  if (opened == gPage) gFrames++;
  if (gPage == kPageExit) {
    if (!gSwitches.bTest) return true;
    OpenPage(kPageMenu);  // the switch is still on
  }
  if (opened == gPage && gPage != kPageMenu) {
    // On the page of inputs start is tried out, so only the test button leads back at once.
    const bool bStartHeld = gControls[0].held & kPressStart && gControls[0].held & kPressFire;
    const bool bLeaves = gPage == kPageInputs ? bStartHeld : (Pressed() & kPressStart) != 0;
    if (bLeaves || (gSystem.pressed & kSystemTest)) OpenPage(kPageMenu);
  }
  return false;
}
