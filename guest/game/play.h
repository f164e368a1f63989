// One frame of each state of a game, with its picture.
#pragma once

#include "guest/game/game.h"

void StartGame(uint32_t player);
void StepPlay(uint16_t* page);
void StepTally(uint16_t* page);
void StepContinue(uint16_t* page);
void StepGameOver(uint16_t* page);
void StepLetters(uint16_t* page);

// state.c: the row of the table to be shown bright.
void HighlightRow(uint32_t row);
