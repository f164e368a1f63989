#include "guest/game/attract.h"
#include "guest/game/game.h"
#include "guest/game/scores.h"

const SKernelCalls* gKernel;

void ProgramMain(const SKernelCalls* calls) {
  volatile uint32_t* words = (volatile uint32_t*)kGameBlock;
  gKernel = calls;
  for (uint32_t i = 0; i < sizeof(SGameBlock) / 4; i++) words[i] = 0;
  kGameBlock->version = kGameBlockVersion;
  kGameBlock->state = kStateLoading;
  LoadFiles();
  LoadTable();
  PrepareAttract();
  kGameBlock->magic = kGameMagic;
  RunGame();
}
