// What the picture of the lake and the things on it share.
#pragma once

#include "guest/game/world.h"

#define kFocal 220.0f
#define kEyeY 2.2f

void BeginItems(void);
// Draws all that was queued since.
void DrawItems(uint16_t* page, const SView* view);
// A flat lozenge on the water; `four` holds four pixels for each line of the dither, or null
// darkens what is there.
void DrawLozenge(uint16_t* page, float x, float z, float halfWidth, float halfDepth,
                 const uint64_t* four);
