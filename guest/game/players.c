// The skimmers: steering, firing, leaping, being hit and coming back.
#include "guest/game/world.h"

SPlayer gPlayers[kPlayers];

enum { kReloadFrames = 8, kGoneFrames = 80, kSafeFrames = 150, kChainFrames = 150 };
enum { kCountDownFrames = 10 * kFramesASecond };

float SpeedShare(void) {
  const float base = 0.29f + 0.012f * HardnessFloat();
  return (gLake.speed / base - 0.7f) * (1.0f / 0.72f);
}

SPlayer* NearestPlayer(float x) {
  SPlayer* best = &gPlayers[0];
  float least = 1000.0f;
  for (uint32_t i = 0; i < kPlayers; i++) {
    const float apart = Magnitude(gPlayers[i].x - x);
    if (!IsOnLake(&gPlayers[i]) || apart >= least) continue;
    least = apart;
    best = &gPlayers[i];
  }
  return best;
}

static void PutOnLake(SPlayer* p, uint32_t player) {
  p->gone = 0;
  p->safe = kSafeFrames;
  p->x = player == 0 ? -1.2f : 1.2f;
  if (!gPlayers[1 - player].bJoined) p->x = 0.0f;
  p->y = 2.6f;
  p->vx = p->vy = p->roll = 0.0f;
}

void JoinPlayer(uint32_t player) {
  SPlayer* p = &gPlayers[player];
  *p = (SPlayer){.bJoined = true,
                 .lives = kStartLives,
                 .flares = kStartFlares,
                 .multiplier = 1,
                 .nextExtra = kExtraLifeFirst};
  PutOnLake(p, player);
  PlaySound(kSoundStart);
}

void ResumePlayer(uint32_t player) {
  SPlayer* p = &gPlayers[player];
  p->bOut = false;
  p->lives = kStartLives;
  p->flares = kStartFlares;
  p->power = 1;
  p->multiplier = 1;
  p->chain = 0;
  p->score++;  // the last digit tells how often a player went on
  PutOnLake(p, player);
  PlaySound(kSoundStart);
}

void Award(SPlayer* p, uint32_t points, float x, float y, float z) {
  if (p->score + points > 99999999) return;
  p->score += points;
  PopUp(x, y, z, points);
  if (p->score >= p->nextExtra) {
    p->nextExtra += kExtraLifeNext;
    if (p->lives < 9) p->lives++;
    PlaySound(kSoundPower);
  }
}

void Chain(SPlayer* p, uint32_t links) {
  p->chain += links;
  p->chainFrames = kChainFrames;
  while (p->chain >= kChainStep && p->multiplier < kMostMultiplier) {
    p->chain -= kChainStep;
    p->multiplier++;
  }
  if (p->multiplier == kMostMultiplier && p->chain > kChainStep) p->chain = kChainStep;
}

void HarmPlayer(SPlayer* p) {
  if (p->safe > 0 || !IsOnLake(p) || gLake.bCleared) return;
  p->multiplier = 1;
  p->chain = 0;
  if (p->shield > 0) {
    p->shield = 0;
    p->safe = 60;
    Burst(kDropWater, 20, p->x, p->y + 0.3f, kPlayerZ, 0.09f);
    PlaySound(kSoundHit);
    return;
  }
  Blast(p->x, p->y + 0.3f, kPlayerZ, 2.4f);
  Burst(kDropFire, 30, p->x, p->y + 0.3f, kPlayerZ, 0.11f);
  Burst(kDropWater, 16, p->x, 0.1f, kPlayerZ, 0.09f);
  PlaySound(kSoundLost);
  gLake.shake = 18;
  if (p->power > 0) p->power--;
  if (p->flares < kStartFlares) p->flares = kStartFlares;
  p->gone = kGoneFrames;
  if (--p->lives == 0) {
    p->bOut = true;
    p->countDown = kCountDownFrames;
  }
}

static void Fire(SPlayer* p, uint32_t player) {
  static const struct {
    uint8_t count;
    float place[4], aside[4];
  } kVolleys[kMostPower + 1] = {
      {1, {0.0f}, {0.0f}},
      {2, {-0.3f, 0.3f}, {0.0f, 0.0f}},
      {3, {0.0f, -0.35f, 0.35f}, {0.0f, -0.035f, 0.035f}},
      {4, {-0.2f, 0.2f, -0.5f, 0.5f}, {0.0f, 0.0f, -0.05f, 0.05f}},
  };
  p->reload = kReloadFrames - p->power / 2;
  for (uint32_t i = 0; i < kVolleys[p->power].count; i++) {
    FireBolt(player, p->x + kVolleys[p->power].place[i], p->y + 0.25f, kVolleys[p->power].aside[i]);
  }
  PlaySound(kSoundFire);
}

static void UseFlare(SPlayer* p) {
  p->flares--;
  gLake.flash = 14;
  gLake.shake = 10;
  PlaySound(kSoundFlare);
  ClearOrbs();
  for (uint32_t i = 0; i < kMostThings; i++) {
    if (gThings[i].kind != kThingNone && gThings[i].health > 0 && gThings[i].z < 48.0f) {
      HurtThing(&gThings[i], p, 6);
    }
  }
  FlareBoss(p);
  if (p->safe < 60) p->safe = 60;
}

static void Steer(SPlayer* p, uint32_t held, uint32_t pressed) {
  const bool bInAir = p->y > 0.05f;
  const float push = bInAir ? 0.012f : 0.019f;
  if (held & kPressLeft) p->vx -= push;
  if (held & kPressRight) p->vx += push;
  p->vx *= held & (kPressLeft | kPressRight) ? 0.88f : 0.82f;
  p->x += p->vx;
  if (p->x < -kLakeHalf) p->x = -kLakeHalf;
  if (p->x > kLakeHalf) p->x = kLakeHalf;
  p->roll += (p->vx * 900.0f - p->roll) * 0.18f;

  if (!bInAir && (pressed & kPressLeap)) {
    p->vy = 0.158f;
    Burst(kDropWater, 12, p->x, 0.1f, kPlayerZ, 0.07f);
    PlaySound(kSoundLeap);
  }
  if (p->y > 0.0f || p->vy > 0.0f) {
    p->vy -= held & kPressLeap && p->vy > 0.0f ? 0.0066f : 0.0092f;
    p->y += p->vy;
    if (p->y <= 0.0f) {
      p->y = p->vy = 0.0f;
      SplashAt(p->x, kPlayerZ - 0.4f, 1.3f);
      Burst(kDropWater, 10, p->x, 0.1f, kPlayerZ, 0.06f);
      PlaySound(kSoundSplash);
    }
  } else {
    // Spray of both floats.
    const float hard = 0.025f + Magnitude(p->vx) * 0.25f + gLake.speed * 0.05f;
    Burst(kDropFoam, 1, p->x - 0.8f, 0.05f, kPlayerZ - 0.6f, hard);
    Burst(kDropFoam, 1, p->x + 0.8f, 0.05f, kPlayerZ - 0.6f, hard);
  }
}

static void StepPlayer(SPlayer* p, uint32_t player) {
  if (p->gone > 0) {
    if (--p->gone == 0) PutOnLake(p, player);
    return;
  }
  const SControls controls = gControls[player];
  if (p->safe > 0) p->safe--;
  if (p->reload > 0) p->reload--;
  if (p->chainFrames > 0 && --p->chainFrames == 0) {
    p->chain = 0;
    if (p->multiplier > 1) {
      p->multiplier--;
      p->chainFrames = kChainFrames / 2;
    }
  }
  Steer(p, controls.held, controls.pressed);
  if ((controls.held & kPressFire) && p->reload == 0) Fire(p, player);
  if ((controls.pressed & kPressFlare) && p->flares > 0 && !gLake.bCleared) UseFlare(p);
  if (TouchesBoss(p->x, p->y, kPlayerZ)) HarmPlayer(p);
}

void StepPlayers(void) {
  for (uint32_t i = 0; i < kPlayers; i++) {
    if (gPlayers[i].bJoined && !gPlayers[i].bOut) StepPlayer(&gPlayers[i], i);
  }
}

// --- the demonstration's hand on the controls ---

// How much the place `x` is to be shunned, by what will be there soon.
static float Danger(float x) {
  float danger = Magnitude(x) * 0.02f;
  for (uint32_t i = 0; i < kMostThings; i++) {
    const SThing* t = &gThings[i];
    if (t->kind == kThingNone || t->z < kPlayerZ - 0.5f || t->z > 24.0f) continue;
    const SThingKind* kind = &kThingKinds[t->kind];
    const float apart = Magnitude(t->x - x);
    const float near = 26.0f - t->z;
    if (kind->bHarms) {
      if (t->kind != kThingLog && apart < kind->halfWidth + 0.9f) danger += near;
      if (t->health > 0 && apart < 0.5f && t->z > 12.0f) danger -= near * 1.1f;
    } else if (apart < 0.8f) {
      danger -= near * 0.5f;
    }
  }
  return danger;
}

void SetDemoControls(void) {
  const SPlayer* p = &gPlayers[0];
  float best = p->x;
  float least = Danger(p->x) - 0.5f;
  for (int32_t i = -10; i <= 10; i++) {
    const float x = (float)i * 0.5f;
    const float danger = Danger(x) + Magnitude(x - p->x) * 0.5f;
    if (danger >= least) continue;
    least = danger;
    best = x;
  }
  uint32_t held = kPressFire;
  if (best < p->x - 0.25f) held |= kPressLeft;
  if (best > p->x + 0.25f) held |= kPressRight;
  if (gLake.frames % 600 > 300) held |= kPressUp;
  for (uint32_t i = 0; i < kMostThings; i++) {
    const SThing* t = &gThings[i];
    if (t->kind == kThingLog && t->z < kPlayerZ + 4.2f && t->z > kPlayerZ &&
        Magnitude(t->x - p->x) < 2.4f) {
      held |= kPressLeap;
    }
  }
  gControls[0].pressed = held & ~gControls[0].held;
  gControls[0].held = held;
  gControls[1].held = gControls[1].pressed = 0;
}
