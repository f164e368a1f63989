// Pages of the attract mode, and the lake of the title as background for other pages.
#pragma once

#include "guest/game/game.h"

void PrepareAttract(void);
void DrawTitlePage(uint16_t* page, uint32_t moment);
// Sky, hills and mirror image alone, half dark.
void DrawQuietLake(uint16_t* page, uint32_t moment);
void DrawNoticePage(uint16_t* page, uint32_t moment, uint32_t frames);
void DrawHowToPage(uint16_t* page, uint32_t moment, uint32_t frames);

// skimmer.c: draws the skimmer of the title while it is on the wanted side of it.
void DrawSkimmer(uint16_t* page, const SDaylight* day, uint32_t moment, uint32_t bBehindTitle);
void Darken(uint16_t* page, int32_t from, int32_t to);
