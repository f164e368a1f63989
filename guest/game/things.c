// What comes over the lake, kind by kind.
#include "guest/game/world.h"

// clang-format off
const SThingKind kThingKinds[kThings] = {
    // model, half width, height, health, score, harms
    [kThingBuoy]    = {kModelBuoy,    0.75f, 1.0f,  2,  150, true},
    [kThingLog]     = {kModelLog,     1.75f, 0.45f, 0,    0, true},
    [kThingDrone]   = {kModelDrone,   0.95f, 9.0f,  1,  200, true},
    [kThingBoat]    = {kModelBoat,    1.00f, 1.4f,  8,  800, true},
    [kThingPike]    = {kModelPike,    0.95f, 9.0f,  2,  300, true},
    [kThingPillar]  = {kModelPillar,  0.85f, 9.0f,  0,    0, true},
    [kThingGate]    = {kModelPost,    0.00f, 9.0f,  0,    0, false},
    [kThingCarrier] = {kModelCarrier, 1.00f, 9.0f,  3,  500, false},
    [kThingCoin]    = {kModels,       0.90f, 9.0f,  0,   50, false},
    [kThingBadge]   = {kModels,       1.00f, 9.0f,  0,  500, false},
    [kThingMine]    = {kModelBuoy,    0.75f, 1.0f,  1,  100, true},
};
// clang-format on

static float Wave(uint32_t angle) { return SineFloat(angle); }

// Formations: each drone knows its place in its row and flies the same path a little later.
static void StepDrone(SThing* t) {
  const uint32_t age = t->age;
  const float side = t->homeX < 0.0f ? -1.0f : 1.0f;
  switch (t->a) {
    case kPathSweep:  // from one side to the other, low
      t->x = side * (4.6f - (float)(int32_t)age * 0.045f);
      t->y = 0.9f + 0.3f * Wave(age * 14);
      break;
    case kPathWave:
      t->x = t->homeX + 2.2f * Wave(age * 9 + t->b * 90);
      t->y = 1.0f + 0.4f * Wave(age * 7);
      break;
    case kPathDive:  // high up first, then down at the nearest skimmer
      if (t->z > 26.0f) {
        t->y = 3.4f;
      } else {
        const SPlayer* p = NearestPlayer(t->x);
        t->y += (0.7f - t->y) * 0.05f;
        if (t->z > 9.0f) t->x += (p->x - t->x) * 0.025f;
      }
      break;
    default:  // a wheel
      t->x = 2.7f * Wave(age * 6 + t->b * 110) + t->homeX * 0.4f;
      t->y = 2.1f + 1.3f * Wave(age * 6 + t->b * 110 + 256);
      break;
  }
  t->vz = -0.04f;
  const uint32_t period = 150 - (Hardness() > 8 ? 80 : Hardness() * 10);
  if (t->z < 40.0f && t->z > 14.0f && (age + t->b * 37) % period == period - 1) {
    FireOrb(t->x, t->y, t->z, NearestPlayer(t->x)->x, 0.20f);
  }
}

// A boat runs ahead of the skimmers for a while, firing, and then falls back through them.
static void StepBoat(SThing* t) {
  enum { kStays = 420 };
  if (t->a > 0) {  // not yet
    t->a--;
    t->z = kFarZ;
    t->age = 0;
    return;
  }
  if (t->z < 17.0f && t->age < kStays) {
    t->vz = gLake.speed + (17.0f - t->z) * 0.02f;
  } else {
    t->vz = t->age < kStays ? 0.0f : -0.06f;
  }
  t->x = t->homeX + 1.4f * Wave(t->age * 5);
  const uint32_t period = 84 - (Hardness() > 10 ? 40 : Hardness() * 4);
  if (t->z < 40.0f && t->z > 9.0f && t->age % period == 0) {
    const float aim = NearestPlayer(t->x)->x;
    FireOrb(t->x, 0.7f, t->z - 1.4f, aim, 0.22f);
    if (Hardness() >= 4) FireOrb(t->x, 0.7f, t->z - 1.4f, aim + 2.2f, 0.22f);
    if (Hardness() >= 7) FireOrb(t->x, 0.7f, t->z - 1.4f, aim - 2.2f, 0.22f);
  }
}

// Lies in wait under water and leaps across when it is near.
static void StepPike(SThing* t) {
  const float side = t->a == 1 ? 1.0f : -1.0f;
  if (t->b == 0) {
    t->y = -1.2f;
    if (t->z < 17.0f) {
      t->b = 1;
      t->vx = side * 0.085f;
      t->vy = 0.20f;
      t->x -= side * 2.4f;
      SplashAt(t->x, t->z, 1.4f);
      Burst(kDropWater, 14, t->x, 0.2f, t->z, 0.10f);
    }
    return;
  }
  t->vy -= 0.0068f;
  t->vz = gLake.speed * 0.55f;
  if (t->y < -0.4f && t->vy < 0.0f && t->b == 1) {
    t->b = 2;
    SplashAt(t->x, t->z, 1.2f);
  }
}

void StepThing(SThing* t) {
  t->age++;
  if (t->flash > 0) t->flash--;
  switch (t->kind) {
    case kThingDrone:
      StepDrone(t);
      break;
    case kThingBoat:
      StepBoat(t);
      break;
    case kThingPike:
      StepPike(t);
      break;
    case kThingBuoy:
      t->y = 0.08f * Wave(t->age * 12 + t->b * 200);
      break;
    case kThingLog:
      t->y = 0.05f * Wave(t->age * 9 + 77);
      break;
    case kThingMine:
      if (t->y > 0.0f || t->vy > 0.0f) {
        t->vy -= 0.007f;
        if (t->y + t->vy <= 0.0f) {
          SplashAt(t->x, t->z, 1.0f);
          t->y = t->vy = t->vx = t->vz = 0.0f;
        }
      }
      break;
    case kThingCarrier:
      t->x = t->homeX + 1.6f * Wave(t->age * 5);
      t->y = 1.5f + 0.3f * Wave(t->age * 11);
      t->vz = t->z < 22.0f && t->age < 400 ? gLake.speed * 0.72f : 0.0f;
      break;
    case kThingBadge:
      t->y = 0.9f + 0.15f * Wave(t->age * 12);
      t->vz = gLake.speed * 0.45f;
      break;
    default:
      break;
  }
  t->x += t->vx;
  t->y += t->vy;
  t->z += t->vz - gLake.speed;
  if (t->z < 1.6f || t->y < -3.0f) t->kind = kThingNone;
}

void HurtThing(SThing* t, SPlayer* by, int32_t damage) {
  if (t->health <= 0) return;
  t->flash = 5;
  t->health -= damage;
  if (t->health > 0) {
    PlaySound(kSoundHit);
    return;
  }
  DestroyThing(t, by);
}

void DestroyThing(SThing* t, SPlayer* by) {
  const SThingKind* kind = &kThingKinds[t->kind];
  const float size = t->kind == kThingBoat ? 3.4f : 2.2f;
  Blast(t->x, t->y + 0.4f, t->z, size);
  Burst(kDropFire, t->kind == kThingBoat ? 22 : 10, t->x, t->y + 0.4f, t->z, 0.09f);
  if (t->y < 1.0f) Burst(kDropWater, 8, t->x, 0.1f, t->z, 0.07f);
  PlaySound(kSoundBlast);
  if (by != 0) {
    Chain(by, 1);
    Award(by, kind->score * by->multiplier, t->x, t->y + 1.0f, t->z);
  }
  if (t->kind == kThingCarrier) {
    SThing* badge = AddThing(kThingBadge, t->x, 1.0f, t->z);
    if (badge != 0) badge->a = t->a;
  } else if (t->kind == kThingBoat) {
    for (uint32_t i = 0; i < 3; i++)
      AddThing(kThingCoin, t->x + ((float)i - 1.0f) * 1.2f, 0.3f, t->z + 2.0f);
  }
  t->kind = kThingNone;
}
