// The power-on self test: runs the groups of checks one after the other and shows each result as it
// comes. The screen says nothing that differs between the two board layouts.
#include "guest/cop0.h"
#include "guest/draw.h"
#include "guest/kernel.h"
#include "guest/panel.h"

enum {
  kLeft = 32,
  kColumnCount = 176,
  kColumnResult = 256,
  kFirstLine = 70,
  kLineStep = 12,
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
    {"SOUND BOARD", kGroupSound, TestSound},
    {"MEMORY", kGroupRam, RunRam},
};
enum { kLineCount = sizeof(kLines) / sizeof(kLines[0]) };

static int32_t LineAt(uint32_t index) { return kFirstLine + (int32_t)index * kLineStep; }

static void ShowRamProgress(uint32_t kibDone) {
  char text[16];
  FormatNumber(text, kibDone, 4);
  FillRectangle(kPage0, kColumnCount, LineAt(kLineCount - 1), 32, 8, kInkPaper);
  DrawText(kPage0, kColumnCount, LineAt(kLineCount - 1), text, kInkText);
  DrawText(kPage0, kColumnCount + 40, LineAt(kLineCount - 1), "KIB", kInkDim);
  DrawProgressBar(kPage0, kibDone, kKibInAll);
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
  DrawPanelBackground(kPage0);
  DrawPanelHeading(kPage0, "POWER-ON SELF TEST");
  for (uint32_t i = 0; i < kLineCount; i++)
    DrawText(kPage0, kLeft, LineAt(i), kLines[i].name, kInkDim);
  ShowPage(false);
  for (uint32_t i = 0; i < kLineCount; i++) RunLine(i);
  DrawProgressBar(kPage0, 1, 1);
  ShowVerdict();
  WaitBlanks(kResults->testsRun == kResults->testsPassed ? kHoldBlanks : kHoldFailedBlanks);
}
