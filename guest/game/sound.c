// Commands for the sound processor, one at a time; what is not taken soon is forgotten.
#include "guest/game/game.h"

enum { kWaiting = 16, kPatienceFrames = 20 };
static uint8_t gQueue[kWaiting];
static uint32_t gFirst, gCount, gWaited;

void PlaySound(ESound sound) {
  const bool bAttract = gState < kStatePlay;
  if (bAttract && sound != kSoundCoin && !gSwitches.bAttractSound) return;
  if (gCount == kWaiting) return;
  gQueue[(gFirst + gCount++) % kWaiting] = (uint8_t)sound;
}

void SendSounds(void) {
  if (gCount == 0) return;
  const uint32_t command = gQueue[gFirst];
  const bool bTaken = gKernel->SendSound(command);
  if (!bTaken && ++gWaited < kPatienceFrames) return;
  if (bTaken) {
    kGameBlock->soundCommand = command;
    kGameBlock->soundCommands = kGameBlock->soundCommands + 1;
    gFirst = (gFirst + 1) % kWaiting;
    gCount--;
  } else {
    gCount = 0;
  }
  gWaited = 0;
}
