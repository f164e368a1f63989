// Exceptions and interrupts. The blank line stays high for some 1.4 ms, and this processor would
// take the same interrupt again at once: so the handler masks the line, and the timer's tick lets
// it through again once it is low.
#include "guest/cop0.h"
#include "guest/kernel.h"

#include BOARD_HEADER

#define kBoardControl (*(volatile uint32_t*)kBoardControlAddress)
enum { kControlPage1 = 4 };

extern const uint8_t WaitForInterruptEnd[];

volatile SExceptionRecord gLastException;

static volatile bool gbExceptionsExpected;
static volatile uint32_t gNextCompare;
static volatile uint32_t gLastBlankCount;
static volatile bool gbFlipPending;
static volatile bool gbFlipToPage1;
static volatile bool gbFlipsExpected;

void ExpectExceptions(bool bExpected) { gbExceptionsExpected = bExpected; }

void ShowPage(bool bPage1) { kBoardControl = bPage1 ? kControlPage1 : 0; }

void RequestFlip(bool bPage1) {
  gbFlipToPage1 = bPage1;
  gbFlipPending = true;
  gbFlipsExpected = true;
}

bool IsFlipPending(void) { return gbFlipPending; }

void ExpectFlips(bool bExpected) { gbFlipsExpected = bExpected; }

void WaitBlanks(uint32_t blanks) {
  const uint32_t target = kResults->blankCount + blanks;
  while ((int32_t)(kResults->blankCount - target) < 0) WaitForInterrupt();
}

// A Compare value that Count has already passed would come due only after Count has gone all the
// way round, so a late tick starts a new row.
static void ArmNextTick(void) {
  uint32_t next = gNextCompare + kTickCounts;
  const uint32_t now = ReadCount();
  if ((int32_t)(next - now) < kTickCounts / 8) next = now + kTickCounts;
  gNextCompare = next;
  WriteCompare((uint64_t)(int32_t)next);
}

void StartInterrupts(void) {
  gNextCompare = ReadCount();
  ArmNextTick();
  WriteStatus(kStatusFloat | kLineBlank | kLineTimer | kStatusIe);
}

void StopInterrupts(void) { WriteStatus(kStatusFloat); }

static void HandleBlank(void) {
  const uint32_t now = ReadCount();
  kResults->framePeriodCycles = (now - gLastBlankCount) * 2;
  gLastBlankCount = now;
  kResults->blankCount = kResults->blankCount + 1;
  if (gbFlipPending) {
    ShowPage(gbFlipToPage1);
    gbFlipPending = false;
    kResults->frameCount = kResults->frameCount + 1;
  } else if (gbFlipsExpected) {
    kResults->missedFrames = kResults->missedFrames + 1;
  }
}

// Called by ExceptionEntry with exceptions off. Answers the Status to go on with. EPC already lies
// behind a syscall or break, so nothing has to step it.
uint64_t HandleException(uint32_t cause, uint32_t epc, uint32_t status) {
  const uint32_t code = (cause & kCauseCode) >> 2;
  const uint32_t software = cause & kCauseSoftware;
  if (code != 0 || software != 0) {
    gLastException.taken = gLastException.taken + 1;
    gLastException.code = code;
    gLastException.epc = epc;
    gLastException.software = software;
    if (software != 0) WriteCause(0);
    if (!gbExceptionsExpected) {
      kResults->faultCause = cause;
      kResults->faultEpc = epc;
    }
    return status;
  }
  const uint32_t loop = (uint32_t)(uintptr_t)WaitForInterrupt;
  const uint32_t loopEnd = (uint32_t)(uintptr_t)WaitForInterruptEnd;
  if (epc - loop < loopEnd - loop) WriteEpc(loopEnd);
  const uint32_t pending = cause & status;
  if (pending & kLineTimer) {
    ArmNextTick();
    kResults->timerTicks = kResults->timerTicks + 1;
    PumpSound();
    if (!(cause & kLineBlank)) status |= kLineBlank;
  }
  if (pending & kLineBlank) {
    HandleBlank();
    status &= ~(uint32_t)kLineBlank;
  }
  return status;
}
