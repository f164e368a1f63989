// Bolts of the skimmers, which fly straight ahead, and orbs of the raiders.
#include "guest/game/world.h"

enum { kMostBolts = 40, kMostOrbs = 40 };
#define kBoltSpeed 1.25f

typedef struct SBolt {
  bool bFlies;
  uint32_t player;
  float x, y, z, vx;
} SBolt;
typedef struct SOrb {
  bool bFlies;
  uint32_t age;
  float x, y, z, vx, vy, vz;
} SOrb;
static SBolt gBolts[kMostBolts];
static SOrb gOrbs[kMostOrbs];

void ClearShots(void) {
  for (uint32_t i = 0; i < kMostBolts; i++) gBolts[i].bFlies = false;
  for (uint32_t i = 0; i < kMostOrbs; i++) gOrbs[i].bFlies = false;
}

void FireBolt(uint32_t player, float x, float y, float vx) {
  for (uint32_t i = 0; i < kMostBolts; i++) {
    SBolt* b = &gBolts[i];
    if (b->bFlies) continue;
    b->bFlies = true;
    b->player = player;
    b->x = x;
    b->y = y;
    b->z = kPlayerZ + 1.0f;
    b->vx = vx;
    return;
  }
}

// Aims at a place in the skimmers' plane; the lake's own way comes on top.
void FireOrb(float x, float y, float z, float aimX, float speed) {
  if (z < kPlayerZ + 4.0f) return;
  for (uint32_t i = 0; i < kMostOrbs; i++) {
    SOrb* o = &gOrbs[i];
    if (o->bFlies) continue;
    const float fast = speed + 0.006f * HardnessFloat();
    const float frames = (z - kPlayerZ) / fast;
    o->bFlies = true;
    o->age = 0;
    o->x = x;
    o->y = y;
    o->z = z;
    o->vx = (aimX - x) / frames;
    o->vy = (0.45f - y) / frames;
    o->vz = -fast;
    return;
  }
}

void ClearOrbs(void) {
  for (uint32_t i = 0; i < kMostOrbs; i++) {
    SOrb* o = &gOrbs[i];
    if (!o->bFlies) continue;
    o->bFlies = false;
    Burst(kDropGold, 4, o->x, o->y, o->z, 0.05f);
  }
}

static bool HitThing(SBolt* b, float before) {
  for (uint32_t i = 0; i < kMostThings; i++) {
    SThing* t = &gThings[i];
    if (t->kind == kThingNone || t->z > b->z + 0.8f || t->z < before - 0.5f) continue;
    const SThingKind* kind = &kThingKinds[t->kind];
    if (!kind->bHarms && t->kind != kThingCarrier) continue;
    if (t->kind == kThingLog || t->y < -0.7f) continue;
    if (Magnitude(t->x - b->x) > kind->halfWidth + 0.2f) continue;
    Burst(kDropFire, 2, b->x, b->y, t->z, 0.04f);
    HurtThing(t, &gPlayers[b->player], 1);
    return true;
  }
  return false;
}

static void StepBolts(void) {
  for (uint32_t i = 0; i < kMostBolts; i++) {
    SBolt* b = &gBolts[i];
    if (!b->bFlies) continue;
    const float before = b->z;
    b->z += kBoltSpeed;
    b->x += b->vx;
    if (b->z > 50.0f || HitThing(b, before) || HitBoss(b->x, b->y, b->z, 1, &gPlayers[b->player])) {
      b->bFlies = false;
    }
  }
}

void StepShots(void) {
  StepBolts();
  for (uint32_t i = 0; i < kMostOrbs; i++) {
    SOrb* o = &gOrbs[i];
    if (!o->bFlies) continue;
    o->age++;
    o->x += o->vx;
    o->y += o->vy;
    if (o->y < 0.45f) o->y = 0.45f;
    o->z += o->vz;
    if (o->z < 2.0f) o->bFlies = false;
    if (o->z > kPlayerZ + 0.3f || o->z < kPlayerZ - 0.3f) continue;
    for (uint32_t player = 0; player < kPlayers; player++) {
      SPlayer* p = &gPlayers[player];
      if (!IsOnLake(p) || p->safe > 0 || Magnitude(p->x - o->x) > 0.62f) continue;
      if (Magnitude(p->y + 0.25f - o->y) > 0.6f) continue;
      o->bFlies = false;
      HarmPlayer(p);
    }
  }
}

void QueueShots(void) {
  for (uint32_t i = 0; i < kMostBolts; i++) {
    const SBolt* b = &gBolts[i];
    if (b->bFlies) QueueBolt(b->x, b->y, b->z, b->player);
  }
  for (uint32_t i = 0; i < kMostOrbs; i++) {
    const SOrb* o = &gOrbs[i];
    if (!o->bFlies) continue;
    QueueShadow(o->x, o->z, 0.3f);
    const uint32_t frame = o->age / 4 % gSpriteFrames[kSpriteOrb];
    QueueSprite(gSprites[kSpriteOrb] + frame * kSpriteSize * kSpriteSize, o->x, o->y, o->z, 0.62f);
  }
}
