// The power-on self test: runs the groups of checks one after the other and shows each result as it
// comes. The screen says nothing that differs between the two board layouts.
#include "guest/cop0.h"
#include "guest/draw.h"
#include "guest/kernel.h"

enum {
  kInkTitle = RGB(31, 28, 18),
  kInkText = RGB(22, 24, 30),
  kInkDim = RGB(10, 12, 19),
  kInkGood = RGB(12, 31, 16),
  kInkBad = RGB(31, 9, 8),
  kLeft = 32,
  kColumnCount = 176,
  kColumnResult = 256,
  kFirstLine = 70,
  kLineStep = 12,
  kBarLine = 196,
  kBarWidth = 256,
  kKibInAll = 8704,  // main RAM and low RAM; a little of both is in use and not tested
};

typedef struct SPostLine {
  const char* name;
  uint8_t group;
  void (*run)(void);
} SPostLine;

static void ShowRamProgress(uint32_t kibDone);
static void RunRam(void) { TestRam(ShowRamProgress); }

static const SPostLine kLines[] = {
    {"BOOT ROM", kGroupRom, TestRom},
    {"ARITHMETIC", kGroupAlu, TestAlu},
    {"FLOATING POINT", kGroupFloat, TestFloat},
    {"LOAD AND STORE", kGroupMemory, TestMemory},
    {"BRANCHES", kGroupFlow, TestFlow},
    {"EXCEPTIONS", kGroupException, TestExceptions},
    {"SYSTEM, TIMER", kGroupSystem, TestSystem},
    {"MAPPED PAGES", kGroupTlb, TestTlb},
    {"BOARD, BLANK", kGroupBoard, TestBoard},
    {"MEMORY", kGroupRam, RunRam},
};
enum { kLineCount = sizeof(kLines) / sizeof(kLines[0]) };

static int32_t LineAt(uint32_t index) { return kFirstLine + (int32_t)index * kLineStep; }

static void DrawBackground(uint16_t* page) {
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

static void DrawHeading(uint16_t* page) {
  static const char kHeading[] = "OPEN CABINET";
  uint16_t ink[16];
  static const uint16_t kShade[16] = {0};
  for (uint32_t i = 0; i < 16; i++) ink[i] = (uint16_t)RGB(31, 31 - i, 22 - i);
  const int32_t x = (kWidth - TextWidth(kHeading) * 2) / 2;
  DrawBigText(page, x + 2, 18, kHeading, kShade);
  DrawBigText(page, x, 16, kHeading, ink);
  DrawRule(page, 40);
  static const char kUnder[] = "POWER-ON SELF TEST";
  DrawText(page, (kWidth - TextWidth(kUnder)) / 2, 52, kUnder, kInkText);
}

static void ShowBar(uint32_t done, uint32_t total) {
  const int32_t width = (int32_t)(done * kBarWidth / total);
  for (int32_t x = 0; x < kBarWidth; x++) {
    const uint16_t color =
        x < width ? (uint16_t)RGB(12 + x / 14, 6 + x / 12, 30 - x / 13) : RGB(4, 3, 9);
    FillRectangle(kPage0, kLeft + x, kBarLine, 1, 7, color);
  }
}

static void ShowRamProgress(uint32_t kibDone) {
  char text[16];
  FormatNumber(text, kibDone, 4);
  FillRectangle(kPage0, kColumnCount, LineAt(kLineCount - 1), 32, 8, RGB(3, 1, 7));
  DrawText(kPage0, kColumnCount, LineAt(kLineCount - 1), text, kInkText);
  DrawText(kPage0, kColumnCount + 40, LineAt(kLineCount - 1), "KIB", kInkDim);
  ShowBar(kibDone, kKibInAll);
}

static void ShowCount(uint32_t index, uint32_t group) {
  char text[16];
  char* end = FormatNumber(text, kResults->groups[group].passed, 3);
  *end++ = '/';
  FormatNumber(end, kResults->groups[group].run, 3);
  DrawText(kPage0, kColumnCount, LineAt(index), text, kInkText);
}

static void RunLine(uint32_t index) {
  const SPostLine* line = &kLines[index];
  DrawText(kPage0, kLeft, LineAt(index), line->name, kInkText);
  WaitBlanks(2);
  const uint32_t begin = ReadCount();
  line->run();
  if (line->group != kGroupSystem) {
    kResults->selfTestCounts = kResults->selfTestCounts + (ReadCount() - begin);
  }
  if (line->group != kGroupRam) ShowCount(index, line->group);
  const bool bPassed = GroupPassed(line->group);
  DrawText(kPage0, kColumnResult, LineAt(index), bPassed ? "PASS" : "FAIL",
           bPassed ? kInkGood : kInkBad);
}

static void ShowVerdict(void) {
  char text[48];
  const bool bPassed = kResults->testsRun == kResults->testsPassed;
  static const char kChecks[] = " CHECKS PASSED";
  char* end = FormatNumber(text, kResults->testsPassed, 3);
  static const char kOf[] = " OF ";
  for (const char* c = kOf; *c; c++) *end++ = *c;
  end = FormatNumber(end, kResults->testsRun, 3);
  for (const char* c = kChecks; *c; c++) *end++ = *c;
  *end = 0;
  DrawText(kPage0, (kWidth - TextWidth(text)) / 2, 214, text, bPassed ? kInkGood : kInkBad);
}

void RunPowerOnTest(void) {
  enum { kHoldBlanks = 30, kHoldFailedBlanks = 300 };
  DrawBackground(kPage0);
  DrawHeading(kPage0);
  for (uint32_t i = 0; i < kLineCount; i++)
    DrawText(kPage0, kLeft, LineAt(i), kLines[i].name, kInkDim);
  ShowPage(false);
  for (uint32_t i = 0; i < kLineCount; i++) RunLine(i);
  ShowBar(1, 1);
  ShowVerdict();
  WaitBlanks(kResults->testsRun == kResults->testsPassed ? kHoldBlanks : kHoldFailedBlanks);
}
