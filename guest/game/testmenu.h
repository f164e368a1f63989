// The attendant's menu.
#pragma once

#include "guest/game/game.h"

enum {
  kPageMenu,
  kPageInputs,
  kPageSwitches,
  kPageMemory,
  kPageDisk,
  kPageColors,
  kPageBooks,
  kPageClear,
  kPageExit,
  kTestPages
};

void BeginTestMenu(void);
// One frame with its picture; answers true once the menu is left.
bool StepTestMenu(uint16_t* page);
