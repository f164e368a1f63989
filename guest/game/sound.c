// Commands for the sound processor; they are queued, and lost if there are too many at once.
#include "guest/game/game.h"

enum { kMostInFrame = 8 };
static uint32_t gPlayed[kMostInFrame];
static uint32_t gPlayedCount, gPlayedMoment;

static bool IsFirstInFrame(uint32_t command) {
  if (gPlayedMoment != gMoment) gPlayedCount = 0;
  gPlayedMoment = gMoment;
  for (uint32_t i = 0; i < gPlayedCount; i++) {
    if (gPlayed[i] == command) return false;
  }
  if (gPlayedCount < kMostInFrame) gPlayed[gPlayedCount++] = command;
  return true;
}

void PlaySound(uint32_t command) {
  const bool bAttract = gState < kStatePlay;
  const bool bAlways = command == kSoundCoin || command >= kFirstStop;
  if (bAttract && !bAlways && !gSwitches.bAttractSound) return;
  if (!IsFirstInFrame(command) || !gKernel->SendSound(command)) return;
  kGameBlock->soundCommand = command;
  kGameBlock->soundCommands = kGameBlock->soundCommands + 1;
}
