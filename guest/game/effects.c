// What flies about and fades: drops and sparks, blasts, splashes, and points that were won.
#include "guest/game/world.h"

enum { kMostDrops = 160, kMostBlasts = 24, kMostPopUps = 12, kPopUpFrames = 40 };

typedef struct SDrop {
  uint32_t life;
  uint32_t kind;
  float x, y, z, vx, vy, vz;
} SDrop;
typedef struct SBlast {
  uint32_t age;
  uint32_t sprite;
  bool bOn;
  float x, y, z, size;
} SBlast;
typedef struct SPopUp {
  uint32_t life;
  uint32_t points;
  float x, y, z;
} SPopUp;

static SDrop gDrops[kMostDrops];
static SBlast gBlasts[kMostBlasts];
static SPopUp gPopUps[kMostPopUps];
static uint32_t gNextDrop, gNextBlast, gNextPopUp;

void ClearEffects(void) {
  for (uint32_t i = 0; i < kMostDrops; i++) gDrops[i].life = 0;
  for (uint32_t i = 0; i < kMostBlasts; i++) gBlasts[i].bOn = false;
  for (uint32_t i = 0; i < kMostPopUps; i++) gPopUps[i].life = 0;
}

void Burst(uint32_t kind, uint32_t count, float x, float y, float z, float force) {
  // The switch tells how much flies about: nothing, a third, two thirds, all.
  const uint32_t share = gSwitches.effects;
  for (uint32_t i = 0; i < count; i++) {
    if (Chance(3) >= share) continue;
    SDrop* d = &gDrops[gNextDrop];
    gNextDrop = (gNextDrop + 1) % kMostDrops;
    d->kind = kind;
    d->life = 18 + Chance(22);
    d->x = x;
    d->y = y;
    d->z = z;
    d->vx = Spread(force);
    d->vy = force * 0.5f + Spread(force * 0.5f);
    d->vz = Spread(force) - (kind == kDropFoam ? gLake.speed * 0.6f : gLake.speed * 0.25f);
  }
}

static void AddBlast(uint32_t sprite, float x, float y, float z, float size) {
  SBlast* b = &gBlasts[gNextBlast];
  gNextBlast = (gNextBlast + 1) % kMostBlasts;
  b->bOn = true;
  b->age = 0;
  b->sprite = sprite;
  b->x = x;
  b->y = y;
  b->z = z;
  b->size = size;
}

void Blast(float x, float y, float z, float size) {
  AddBlast(gSwitches.bWarmBlasts ? kSpriteBlastWarm : kSpriteBlastCool, x, y, z, size);
}

void SplashAt(float x, float z, float size) { AddBlast(kSpriteSplash, x, size * 0.45f, z, size); }

void PopUp(float x, float y, float z, uint32_t points) {
  SPopUp* p = &gPopUps[gNextPopUp];
  gNextPopUp = (gNextPopUp + 1) % kMostPopUps;
  p->life = kPopUpFrames;
  p->points = points;
  p->x = x;
  p->y = y;
  p->z = z < 6.0f ? 6.0f : z;
}

void StepEffects(void) {
  for (uint32_t i = 0; i < kMostDrops; i++) {
    SDrop* d = &gDrops[i];
    if (d->life == 0) continue;
    d->life--;
    d->x += d->vx;
    d->y += d->vy;
    d->z += d->vz;
    d->vy -= d->kind == kDropSmoke ? -0.0005f : 0.0055f;
    if (d->y < 0.0f || d->z < 1.5f) d->life = 0;
  }
  for (uint32_t i = 0; i < kMostBlasts; i++) {
    SBlast* b = &gBlasts[i];
    if (!b->bOn) continue;
    b->age++;
    b->z -= gLake.speed * 0.5f;
    if (b->age / 3 >= gSpriteFrames[b->sprite] || b->z < 1.5f) b->bOn = false;
  }
  for (uint32_t i = 0; i < kMostPopUps; i++) {
    if (gPopUps[i].life == 0) continue;
    gPopUps[i].life--;
    gPopUps[i].y += 0.025f;
  }
}

void QueueEffects(void) {
  static const uint16_t kColors[][2] = {
      [kDropWater] = {RGB(28, 30, 31), RGB(17, 24, 29)},
      [kDropFire] = {RGB(31, 28, 12), RGB(31, 14, 4)},
      [kDropFoam] = {RGB(30, 31, 31), RGB(24, 27, 30)},
      [kDropGold] = {RGB(31, 30, 14), RGB(31, 22, 4)},
      [kDropSmoke] = {RGB(12, 11, 14), RGB(8, 7, 10)},
  };
  static const uint16_t kCool[2] = {RGB(20, 31, 31), RGB(6, 18, 29)};
  for (uint32_t i = 0; i < kMostDrops; i++) {
    const SDrop* d = &gDrops[i];
    if (d->life == 0) continue;
    const uint16_t* colors =
        d->kind == kDropFire && !gSwitches.bWarmBlasts ? kCool : kColors[d->kind];
    QueueDot(colors[d->life < 14], d->x, d->y, d->z,
             d->kind == kDropFoam ? (d->life < 12 ? 0.025f : 0.05f)
             : d->life < 8        ? 0.04f
                                  : 0.075f);
  }
  for (uint32_t i = 0; i < kMostBlasts; i++) {
    const SBlast* b = &gBlasts[i];
    if (!b->bOn) continue;
    QueueSprite(gSprites[b->sprite] + b->age / 3 * kSpriteSize * kSpriteSize, b->x, b->y, b->z,
                b->size);
  }
}

void DrawPopUps(uint16_t* page) {
  for (uint32_t i = 0; i < kMostPopUps; i++) {
    const SPopUp* p = &gPopUps[i];
    int32_t x, y;
    float scale;
    if (p->life == 0 || !ProjectPoint(p->x, p->y, p->z, &x, &y, &scale)) continue;
    char text[12];
    AppendNumber(text, p->points);
    x -= TextWidth(text) / 2;
    if (y < 20 || y > kHeight - 12 || x < 0 || x > kWidth - 80) continue;
    const bool bBig = p->points >= 400;
    DrawShadowText(page, x, y, text, bBig ? RGB(31, 29, 10) : RGB(29, 29, 31));
  }
}
