// Bookkeeping of the self-test, straight in the block that tests read.
#include "guest/kernel.h"

#include BOARD_HEADER

static uint32_t gGroup;

void ClearResults(void) {
  volatile uint64_t* words = (volatile uint64_t*)kResults;
  for (uint32_t i = 0; i < sizeof(SSelfTestBlock) / 8; i++) words[i] = 0;
  kResults->version = kSelfTestVersion;
  kResults->state = kSelfTestRunning;
  kResults->boardLayout = kBoardLayout;
  kResults->magic = kSelfTestMagic;
}

void BeginGroup(uint32_t group) { gGroup = group; }

void Check(uint64_t got, uint64_t wanted) {
  volatile SSelfTestGroup* group = &kResults->groups[gGroup];
  group->run = group->run + 1;
  kResults->testsRun = kResults->testsRun + 1;
  if (got == wanted) {
    group->passed = group->passed + 1;
    kResults->testsPassed = kResults->testsPassed + 1;
    return;
  }
  if (kResults->firstFailedTest == 0) {
    kResults->firstFailedTest = gGroup << 8 | group->run;
    kResults->firstFailedGot = got;
    kResults->firstFailedWanted = wanted;
  }
}

void CheckTrue(bool bCondition) { Check(bCondition, true); }

bool GroupPassed(uint32_t group) {
  return kResults->groups[group].run == kResults->groups[group].passed;
}
