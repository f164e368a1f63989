// What waits at a stage's end: the iron heron, the dredger, the serpent, the night ferry. Each is a
// row of parts; some can be hurt, some shield others, some only look.
#include "guest/game/world.h"

enum { kHeron, kDredger, kSerpent, kFerry, kBosses };
enum { kMostParts = 12, kArriveFrames = 150, kRings = 9 };

typedef struct SPart {
  uint32_t model;
  int32_t health;  // 0: gone or nothing to hurt
  uint32_t flash;
  bool bHard;  // stops shots
  float half;
  float x, y, z;
} SPart;

typedef struct SBoss {
  bool bHere;
  uint32_t which;
  uint32_t age;
  uint32_t dying;  // frames left of its end
  uint32_t dive;   // frames into a dive
  int32_t full;
  uint32_t partCount;
  float x, y, z;
  SPart parts[kMostParts];
} SBoss;
static SBoss gBoss;

static SPart* AddPart(uint32_t model, int32_t health, bool bHard, float half) {
  SPart* part = &gBoss.parts[gBoss.partCount++];
  part->model = model;
  part->health = health;
  part->flash = 0;
  part->bHard = bHard;
  part->half = half;
  return part;
}

bool IsBossHere(void) { return gBoss.bHere; }
uint32_t BossFullHealth(void) { return (uint32_t)gBoss.full; }
uint32_t BossHealth(void) {
  int32_t sum = 0;
  for (uint32_t i = 0; i < gBoss.partCount; i++) sum += gBoss.parts[i].health;
  return gBoss.bHere ? (uint32_t)sum : 0;
}
const char* BossName(void) {
  static const char* const kNames[kBosses] = {"IRON HERON", "THE DREDGER", "LAKE SERPENT",
                                              "NIGHT FERRY"};
  return kNames[gBoss.which];
}

void BeginBoss(uint32_t which) {
  gBoss.bHere = true;
  gBoss.which = which % kBosses;
  gBoss.age = gBoss.dying = gBoss.dive = 0;
  gBoss.partCount = 0;
  gBoss.x = 0.0f;
  gBoss.z = kFarZ;
  const int32_t more = (int32_t)Hardness() * 3;
  switch (gBoss.which) {
    case kHeron:
      AddPart(kModelHeron, 70 + more, false, 1.4f);
      AddPart(kModelWing, 0, false, 0.0f);
      AddPart(kModelWing, 0, false, 0.0f);
      gBoss.y = 2.6f;
      break;
    case kDredger:
      AddPart(kModelDredger, 0, true, 0.0f);
      AddPart(kModelTurret, 26 + more, false, 0.85f);
      AddPart(kModelTurret, 26 + more, false, 0.85f);
      AddPart(kModelCore, 40 + more, false, 0.9f);
      gBoss.y = 0.0f;
      break;
    case kSerpent:
      AddPart(kModelHead, 80 + more, false, 1.15f);
      for (uint32_t i = 0; i < kRings; i++) AddPart(kModelRing, 0, true, 0.7f);
      gBoss.y = 0.0f;
      break;
    default:
      AddPart(kModelFerry, 0, true, 0.0f);
      AddPart(kModelTurret, 34 + more, false, 0.85f);
      AddPart(kModelTurret, 34 + more, false, 0.85f);
      AddPart(kModelCore, 60 + more, false, 0.9f);
      gBoss.y = 0.0f;
      break;
  }
  gBoss.full = (int32_t)BossHealth();
  PlaySound(kSoundWarning);
  PlaySound(kMusicBoss);
}

// --- how they move and fire ---------------------------------------------------------------------

static void PutPart(uint32_t index, float x, float y, float z) {
  SPart* part = &gBoss.parts[index];
  part->x = gBoss.x + x;
  part->y = gBoss.y + y;
  part->z = gBoss.z + z;
}

static uint32_t Period(uint32_t slow, uint32_t fast) {
  const uint32_t less = Hardness() * 4;
  return slow > fast + less ? slow - less : fast;
}

static void FireFan(float x, float y, float z, uint32_t count, float apart, float speed) {
  const float aim = NearestPlayer(x)->x;
  for (uint32_t i = 0; i < count; i++) {
    FireOrb(x, y, z, aim + ((float)i - (float)(count - 1) * 0.5f) * apart, speed);
  }
}

// Throws a mine that falls on the water some way ahead of the skimmers.
static void ThrowMine(float x, float y, float z) {
  SThing* mine = AddThing(kThingMine, x, y, z);
  if (mine == 0) return;
  mine->vx = (NearestPlayer(x)->x - x) * 0.008f + Spread(0.03f);
  mine->vy = 0.14f;
  mine->vz = gLake.speed;
}

static void StepHeron(bool bArrived) {
  const uint32_t age = gBoss.age;
  gBoss.x = SineFloat(age * 4) * 3.6f;
  gBoss.y = 2.5f + SineFloat(age * 7) * 0.7f;
  if (gBoss.dive > 0) {
    // Down to the water, past the skimmers' plane, and up again behind.
    const float s = SineFloat(gBoss.dive * 512 / 150);
    gBoss.z = 19.0f - 14.6f * s;
    gBoss.y -= 2.0f * s;
    if (++gBoss.dive > 150) gBoss.dive = 0;
  } else if (bArrived) {
    const uint32_t beat = age % 480;
    if (beat < 330 && age % Period(64, 30) == 0)
      FireFan(gBoss.x, gBoss.y, gBoss.z - 2.5f, 3, 2.0f, 0.22f);
    if (beat == 400) PlaySound(kSoundWarning);
    if (beat == 430) gBoss.dive = 1;
  }
  PutPart(0, 0.0f, 0.0f, 0.0f);
  PutPart(1, 0.8f, 0.2f, 0.0f);
  PutPart(2, -0.8f, 0.2f, 0.0f);
}

static void StepDredger(bool bArrived) {
  const uint32_t age = gBoss.age;
  gBoss.x = SineFloat(age * 3) * 2.2f;
  PutPart(0, 0.0f, 0.0f, 0.0f);
  PutPart(1, 2.0f, 0.9f, -0.4f);
  PutPart(2, -2.0f, 0.9f, -0.4f);
  PutPart(3, 0.0f, 1.2f, -1.6f);
  const bool bGuns = gBoss.parts[1].health > 0 || gBoss.parts[2].health > 0;
  if (!bArrived) return;
  for (uint32_t i = 1; i <= 2; i++) {
    const SPart* gun = &gBoss.parts[i];
    if (gun->health > 0 && (age + i * 30) % Period(60, 30) == 0) {
      FireFan(gun->x, gun->y + 0.4f, gun->z - 1.5f, 2, 1.5f, 0.22f);
    }
  }
  if (!bGuns && age % Period(44, 22) == 0) FireFan(gBoss.x, 1.4f, gBoss.z - 2.0f, 5, 1.7f, 0.20f);
  if (age % Period(110, 60) == 0) ThrowMine(gBoss.x + Spread(2.0f), 2.0f, gBoss.z - 1.0f);
}

static void StepSerpent(bool bArrived) {
  const uint32_t age = gBoss.age;
  // The rings follow the head's path, each a little later.
  for (uint32_t i = 0; i <= kRings; i++) {
    const uint32_t t = age * 5 - i * 38;
    PutPart(i, SineFloat(t) * 4.0f, 0.5f + SineFloat(t * 2 + 200) * 1.5f,
            (float)i * 0.95f + SineFloat(t / 2) * 3.0f);
  }
  const SPart* head = &gBoss.parts[0];
  if (head->y < 0.2f && head->y > 0.05f) SplashAt(head->x, head->z, 1.6f);
  if (!bArrived) return;
  if (head->y > 0.4f && age % Period(40, 20) == 0)
    FireFan(head->x, head->y, head->z - 1.5f, 3, 1.6f, 0.23f);
  if (age % 300 > 240 && age % 12 == 0) FireFan(head->x, head->y, head->z - 1.5f, 1, 0.0f, 0.28f);
}

static void StepFerry(bool bArrived) {
  const uint32_t age = gBoss.age;
  gBoss.x = SineFloat(age * 3) * 2.8f;
  PutPart(0, 0.0f, 0.0f, 0.0f);
  PutPart(1, 2.6f + SineFloat(age * 8) * 0.5f, 1.7f + SineFloat(age * 11) * 0.6f, -0.6f);
  PutPart(2, -2.6f - SineFloat(age * 8) * 0.5f, 1.7f + SineFloat(age * 11 + 512) * 0.6f, -0.6f);
  PutPart(3, 0.0f, 1.0f, -2.8f);
  if (!bArrived) return;
  const bool bGuns = gBoss.parts[1].health > 0 || gBoss.parts[2].health > 0;
  const uint32_t beat = age % 360;
  for (uint32_t i = 1; i <= 2; i++) {
    const SPart* gun = &gBoss.parts[i];
    if (gun->health > 0 && (age + i * 25) % Period(50, 26) == 0) {
      FireFan(gun->x, gun->y + 0.4f, gun->z - 1.5f, 1, 0.0f, 0.28f);
    }
  }
  // A wall of orbs with one gap.
  if (beat == 120 || (!bGuns && beat == 300)) {
    const int32_t gap = (int32_t)Chance(7) - 3;
    for (int32_t i = -4; i <= 4; i++) {
      if (i == gap || i == gap + 1) continue;
      FireOrb(gBoss.x, 1.4f, gBoss.z - 2.0f, (float)i * 1.3f, 0.16f);
    }
  }
  if (!bGuns && age % Period(36, 20) == 0) FireFan(gBoss.x, 1.2f, gBoss.z - 3.0f, 3, 2.4f, 0.26f);
  if (beat == 200) {
    for (uint32_t i = 0; i < 3; i++) {
      SThing* t = AddThing(kThingDrone, 0.0f, 1.0f, gBoss.z + 2.0f);
      if (t == 0) break;
      t->a = kPathCircle;
      t->b = i * 3;
    }
  }
}

// --- its end ------------------------------------------------------------------------------------

static void Fall(void) {
  const float side = Spread(2.0f);
  gBoss.dying--;
  if (gBoss.dying % (gSwitches.bLongEndings ? 7 : 12) == 0) {
    Blast(gBoss.x + side, gBoss.y + 0.6f + Spread(0.8f), gBoss.z - 1.0f, 3.0f);
    Burst(kDropFire, 14, gBoss.x + side, gBoss.y + 0.8f, gBoss.z - 1.0f, 0.14f);
    PlaySound(kSoundBlast);
  }
  gBoss.y -= 0.006f;
  if (gBoss.dying > 0) return;
  for (uint32_t i = 0; i < 5; i++) {
    Blast(gBoss.x + ((float)i - 2.0f) * 1.3f, 0.8f + (float)(i & 1), gBoss.z - 1.0f, 5.0f);
  }
  Burst(kDropFire, 50, gBoss.x, 1.0f, gBoss.z, 0.22f);
  Burst(kDropWater, 40, gBoss.x, 0.2f, gBoss.z, 0.20f);
  for (uint32_t i = 0; i < 14; i++) {
    SThing* coin = AddThing(kThingCoin, gBoss.x + Spread(4.0f), 0.3f, gBoss.z + Spread(5.0f));
    if (coin != 0) gLake.coinsSent++;
  }
  PlaySound(kSoundBossBlast);
  gLake.flash = 14;
  gLake.shake = 30;
  gBoss.bHere = false;
  gLake.bCleared = true;
}

static void CheckEnd(SPlayer* by) {
  if (gBoss.dying > 0 || BossHealth() > 0) return;
  const uint32_t points = 10000 * (gLake.stage % kStages + 1);
  for (uint32_t i = 0; i < kPlayers; i++) {
    if (gPlayers[i].bJoined && !gPlayers[i].bOut) {
      Award(&gPlayers[i], &gPlayers[i] == by ? points : points / 2, gBoss.x, 2.2f, gBoss.z);
    }
  }
  gBoss.dying = gSwitches.bLongEndings ? 170 : 50;
  ClearOrbs();
  for (uint32_t i = 0; i < kMostThings; i++) {
    if (gThings[i].health > 0 && gThings[i].kind != kThingNone) DestroyThing(&gThings[i], 0);
  }
}

// The core of those with guns opens once the guns are gone.
static bool IsOpen(uint32_t index) {
  if (gBoss.parts[index].model != kModelCore) return true;
  return gBoss.parts[1].health <= 0 && gBoss.parts[2].health <= 0;
}

static void HurtPart(SPart* part, int32_t damage, SPlayer* by) {
  part->flash = 4;
  part->health -= damage;
  if (part->health > 0) return;
  part->health = 0;
  Blast(part->x, part->y + 0.3f, part->z - 0.5f, 3.0f);
  Burst(kDropFire, 24, part->x, part->y + 0.4f, part->z, 0.12f);
  PlaySound(kSoundBlast);
  Chain(by, 4);
  Award(by, 1000 * by->multiplier, part->x, part->y + 1.0f, part->z);
  CheckEnd(by);
}

bool HitBoss(float x, float y, float z, int32_t damage, SPlayer* by) {
  if (!gBoss.bHere || gBoss.dying > 0) return false;
  for (uint32_t i = 0; i < gBoss.partCount; i++) {
    SPart* part = &gBoss.parts[i];
    if (part->half == 0.0f || Magnitude(x - part->x) > part->half + 0.2f) continue;
    if (part->z > z + 0.9f || part->z < z - 1.3f || part->y < -0.9f) continue;
    const bool bHurts = part->health > 0 && IsOpen(i);
    if (!bHurts && !part->bHard && part->model != kModelCore) continue;
    Burst(bHurts ? kDropFire : kDropGold, 2, x, y, part->z - 0.8f, 0.05f);
    if (bHurts) {
      HurtPart(part, damage, by);
      PlaySound(kSoundHit);
    }
    return true;
  }
  return false;
}

void FlareBoss(SPlayer* by) {
  if (!gBoss.bHere || gBoss.dying > 0 || gBoss.age < kArriveFrames) return;
  for (uint32_t i = 0; i < gBoss.partCount; i++) {
    if (gBoss.parts[i].health > 0 && IsOpen(i)) HurtPart(&gBoss.parts[i], 8, by);
  }
}

bool TouchesBoss(float x, float y, float z) {
  if (!gBoss.bHere || gBoss.dying > 0) return false;
  for (uint32_t i = 0; i < gBoss.partCount; i++) {
    const SPart* part = &gBoss.parts[i];
    if (part->half > 0.0f && Magnitude(part->z - z) < 1.0f &&
        Magnitude(part->x - x) < part->half + 0.3f && Magnitude(part->y - y) < 1.5f) {
      return true;
    }
  }
  return false;
}

void StepBoss(void) {
  if (!gBoss.bHere) return;
  gBoss.age++;
  for (uint32_t i = 0; i < gBoss.partCount; i++) {
    if (gBoss.parts[i].flash > 0) gBoss.parts[i].flash--;
  }
  if (gBoss.dying > 0) {
    Fall();
    return;
  }
  const float rest = gBoss.which == kSerpent ? 15.0f : 19.0f;
  if (gBoss.dive == 0) gBoss.z += (rest - gBoss.z) * 0.03f;
  const bool bArrived = gBoss.age > kArriveFrames;
  switch (gBoss.which) {
    case kHeron:
      StepHeron(bArrived);
      break;
    case kDredger:
      StepDredger(bArrived);
      break;
    case kSerpent:
      StepSerpent(bArrived);
      break;
    default:
      StepFerry(bArrived);
      break;
  }
}

void QueueBoss(void) {
  if (!gBoss.bHere) return;
  const uint32_t age = gBoss.age;
  for (uint32_t i = 0; i < gBoss.partCount; i++) {
    const SPart* part = &gBoss.parts[i];
    SPose pose;
    StandUpright(&pose, part->x, part->y, part->z);
    if (part->model == kModelWing) {
      const uint32_t flap = (uint32_t)(Sine(age * 24) >> 5);
      TurnPose(&pose, i == 1 ? 0 : 512, 0, i == 1 ? 0 - flap : 0 - flap);
    } else if (part->model == kModelHeron) {
      TurnPose(&pose, 0, (uint32_t)(Sine(age * 7) >> 7), (uint32_t)(Sine(age * 4 + 256) >> 6));
    } else if (part->model == kModelRing || part->model == kModelHead) {
      TurnPose(&pose, (uint32_t)(Sine(age * 5 - i * 38 + 256) >> 5), 0, 0);
    } else if (part->model == kModelCore) {
      if (part->health <= 0 || !IsOpen(i)) continue;
      TurnPose(&pose, 0, 0, age * 10);
    } else if (part->model == kModelTurret && part->health <= 0) {
      continue;
    }
    if (gBoss.dying > 0)
      pose.place.y =
          part->y - (float)(int32_t)(170 - (gBoss.dying > 170 ? 170 : gBoss.dying)) * 0.004f;
    pose.place.x = part->x;
    if (gBoss.dying == 0) pose.place.y = part->y;
    pose.place.z = part->z;
    QueueModel(part->model, &pose, part->flash);
  }
  QueueShadow(gBoss.parts[0].x, gBoss.parts[0].z, gBoss.which == kSerpent ? 0.9f : 2.2f);
}
