// Letters for the table.
#pragma once

#include "guest/game/game.h"
#include "guest/game/scores.h"

// Begins for a score; answers false if it does not reach the table.
bool BeginInitials(uint32_t player, uint32_t score, uint32_t stage);
// One frame; answers true once the score is in the table.
bool StepInitials(void);
void DrawInitials(uint16_t* page, uint32_t moment);
uint32_t RankEntered(void);
