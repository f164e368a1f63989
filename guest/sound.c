// Commands for the sound board: bytes wait in a queue and go out one by one from the timer's tick,
// when the sound processor has taken the last one. A sound processor that takes nothing for half a
// second is reset, and what waits is forgotten.
#include "guest/kernel.h"

#include BOARD_HEADER

enum { kQueueBytes = 64, kPatienceTicks = 125, kTaken = 2, kStrobe = 2, kGlobal = 0x55 };

// The program writes at the end, the tick takes from the begin; both counts run on.
static volatile uint8_t gBytes[kQueueBytes];
static volatile uint32_t gFirst, gEnd;
static uint32_t gWaited;

static bool IsTaken(void) { return *(volatile const uint32_t*)kBoardStatusAddress & kTaken; }

static void HandOver(uint32_t byte) {
  *(volatile uint32_t*)kSoundLatchAddress = byte;
  *(volatile uint32_t*)kSoundStrobeAddress = kStrobe;
  *(volatile uint32_t*)kSoundStrobeAddress = 0;
}

void PumpSound(void) {
  if (gFirst == gEnd) return;
  if (IsTaken()) {
    gWaited = 0;
    HandOver(gBytes[gFirst % kQueueBytes]);
    gFirst = gFirst + 1;
  } else if (++gWaited == kPatienceTicks) {
    *(volatile uint32_t*)kSoundResetAddress = 1;
    *(volatile uint32_t*)kSoundResetAddress = 0;
    gWaited = 0;
    gFirst = gEnd;
  }
}

static bool Queue(const uint8_t* bytes, uint32_t count) {
  uint32_t end = gEnd;
  if (end - gFirst > kQueueBytes - count) return false;
  for (uint32_t i = 0; i < count; i++) gBytes[end++ % kQueueBytes] = bytes[i];
  gEnd = end;
  return true;
}

bool SendSound(uint32_t command) {
  const uint8_t bytes[] = {(uint8_t)(command >> 8), (uint8_t)command};
  return Queue(bytes, sizeof(bytes));
}

bool SendSoundSetting(uint32_t setting, uint32_t value) {
  const uint8_t bytes[] = {kGlobal, (uint8_t)setting, (uint8_t)(value >> 8), (uint8_t)value};
  return Queue(bytes, sizeof(bytes));
}

bool IsSoundSent(void) { return gFirst == gEnd && IsTaken(); }
