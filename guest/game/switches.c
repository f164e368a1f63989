#include "guest/game/game.h"

SSwitches gSwitches;

static uint32_t Field(uint32_t lowest, uint32_t width) {
  return gPorts.switches >> lowest & ((1u << width) - 1);
}
// Switches from the eighth on read the other way round.
static uint32_t Inverted(uint32_t lowest, uint32_t width) {
  return Field(lowest, width) ^ ((1u << width) - 1);
}

void ReadSwitches(void) {
  gSwitches.effects = Field(0, 2);
  gSwitches.bAttractSound = Field(2, 1);
  gSwitches.bLongEndings = Field(3, 1);
  gSwitches.bNotice = Field(4, 1);
  gSwitches.bWarmBlasts = Field(5, 1);
  gSwitches.bFreePlay = Inverted(8, 1);
  gSwitches.price = Inverted(9, 3);
  gSwitches.country = Inverted(12, 2);
  gSwitches.bSplitCredits = Inverted(14, 1);
  gSwitches.bTest = Inverted(15, 1);
}
