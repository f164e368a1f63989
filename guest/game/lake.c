// One frame of the world: what comes next, what moves, what meets what.
#include "guest/game/world.h"

SThing gThings[kMostThings];
SLake gLake;

uint32_t Chance(uint32_t below) { return NextRandom(&gLake.random) % below; }
float Spread(float half) { return ((float)(int32_t)Chance(2001) - 1000.0f) * 0.001f * half; }

uint32_t Hardness(void) { return gLake.stage * 2 + (gLake.stage / kStages) * 2; }

float HardnessFloat(void) {
  const int32_t hardness = (int32_t)Hardness();
  return (float)(hardness > 12 ? 12 : hardness);
}

SThing* AddThing(uint32_t kind, float x, float y, float z) {
  for (uint32_t i = 0; i < kMostThings; i++) {
    SThing* t = &gThings[i];
    if (t->kind != kThingNone) continue;
    t->kind = kind;
    t->health = kThingKinds[kind].health;
    t->age = t->flash = t->a = t->b = 0;
    t->x = t->homeX = x;
    t->y = y;
    t->z = z;
    t->vx = t->vy = t->vz = 0.0f;
    return t;
  }
  return 0;
}

void BeginStage(uint32_t stage) {
  const bool bDemo = gLake.bDemo;
  const float eyeX = gLake.eyeX;
  gLake = (SLake){
      .stage = stage, .speed = 0.30f, .eyeX = eyeX, .bDemo = bDemo, .random = 12345 + stage * 777};
  for (uint32_t i = 0; i < kMostThings; i++) gThings[i].kind = kThingNone;
  ClearShots();
  for (uint32_t i = 0; i < kPlayers; i++) gPlayers[i].coins = 0;
}

static const SStageFile* StageFile(void) {
  return (const SStageFile*)gStages[gLake.stage % kStages];
}

static void SpawnRow(const SStageRow* row) {
  static const uint8_t kKinds[] = {
      [kRowBuoy] = kThingBuoy, [kRowLog] = kThingLog,         [kRowDrone] = kThingDrone,
      [kRowBoat] = kThingBoat, [kRowPike] = kThingPike,       [kRowPillar] = kThingPillar,
      [kRowGate] = kThingGate, [kRowCarrier] = kThingCarrier, [kRowCoin] = kThingCoin};
  if (row->kind == kRowBoss) {
    BeginBoss(row->a);
    return;
  }
  if (row->kind > kRowCoin) return;
  const float x = (float)row->place * (1.0f / 16);
  const float over = gLake.distance - (float)(int32_t)row->distance;
  SThing* t = AddThing(kKinds[row->kind], x, 0.0f, kFarZ - over);
  if (t == 0) return;
  t->a = row->a;
  t->b = row->b;
  if (row->kind == kRowPike) t->b = 0;
  if (row->kind == kRowCoin) {
    t->y = 0.3f + (float)row->a * (1.0f / 16);
    gLake.coinsSent++;
  }
  // Later rounds send tougher ones.
  const int32_t more = (int32_t)(gLake.stage / kStages);
  if (t->health > 0 && row->kind != kRowDrone) t->health += more * (row->kind == kRowBoat ? 4 : 1);
}

static void SpawnRows(void) {
  const SStageFile* file = StageFile();
  while (gLake.row < file->rows && (float)file->row[gLake.row].distance <= gLake.distance) {
    SpawnRow(&file->row[gLake.row++]);
  }
}

static void TakeBadge(SPlayer* p, uint32_t which) {
  PlaySound(kSoundPower);
  if (which == 0) {
    if (p->power < kMostPower) p->power++;
  } else if (which == 1) {
    p->shield = 1;
  } else if (p->flares < kMostFlares) {
    p->flares++;
  }
}

static void PassGate(SThing* t, SPlayer* p) {
  const float half = (float)(int32_t)t->a * (1.0f / 16);
  if (Magnitude(p->x - t->x) > half || t->b != 0) return;
  t->b = 1;
  Chain(p, 4);
  Award(p, 500 * p->multiplier, t->x, 1.6f, t->z);
  Burst(kDropGold, 16, t->x - half, 2.4f, t->z, 0.05f);
  Burst(kDropGold, 16, t->x + half, 2.4f, t->z, 0.05f);
  PlaySound(kSoundGate);
}

// A skimmer and a thing in its plane.
static void Meet(SThing* t, SPlayer* p, float before) {
  const SThingKind* kind = &kThingKinds[t->kind];
  if (before < kPlayerZ - 0.6f || t->z > kPlayerZ + 0.6f) return;
  if (t->kind == kThingGate) {
    if (t->z <= kPlayerZ) PassGate(t, p);
    return;
  }
  const float apart = Magnitude(t->x - p->x);
  const float above = p->y - t->y;
  if (t->kind == kThingCoin) {
    if (apart > kind->halfWidth || Magnitude(p->y + 0.3f - t->y) > 0.75f) return;
    Chain(p, 1);
    p->coins++;
    Award(p, kind->score * p->multiplier * (SpeedShare() > 0.8f ? 2 : 1), t->x, t->y + 0.4f, t->z);
    Burst(kDropGold, 6, t->x, t->y, t->z, 0.04f);
    PlaySound(kSoundPickCoin);
    t->kind = kThingNone;
  } else if (t->kind == kThingBadge) {
    if (apart > kind->halfWidth) return;
    TakeBadge(p, t->a);
    Award(p, kind->score, t->x, t->y + 0.6f, t->z);
    Burst(kDropGold, 20, t->x, t->y, t->z, 0.06f);
    t->kind = kThingNone;
  } else if (kind->bHarms && apart < kind->halfWidth + 0.42f && above < kind->height &&
             (kind->height < 9.0f || Magnitude(above) < (t->kind == kThingPillar ? 9.0f : 0.9f))) {
    if (p->safe > 0) return;
    HarmPlayer(p);
    if (t->health > 0) DestroyThing(t, 0);
  }
}

static void StepThings(void) {
  for (uint32_t i = 0; i < kMostThings; i++) {
    SThing* t = &gThings[i];
    if (t->kind == kThingNone) continue;
    const float before = t->z;
    StepThing(t);
    for (uint32_t player = 0; player < kPlayers && t->kind != kThingNone; player++) {
      if (IsOnLake(&gPlayers[player])) Meet(t, &gPlayers[player], before);
    }
  }
}

static void StepSpeed(void) {
  const float base = 0.29f + 0.012f * HardnessFloat();
  float wish = 0.0f;
  float count = 0.0f;
  for (uint32_t i = 0; i < kPlayers; i++) {
    const SPlayer* p = &gPlayers[i];
    if (!IsOnLake(p)) continue;
    const uint32_t held = gControls[i].held;
    wish += held & kPressUp ? 1.42f : held & kPressDown ? 0.70f : 1.0f;
    count += 1.0f;
  }
  const float target = base * (count > 0.0f ? wish / count : 0.8f) * (gLake.bCleared ? 1.5f : 1.0f);
  gLake.speed += (target - gLake.speed) * 0.04f;
}

static void StepEye(void) {
  float x = 0.0f;
  float count = 0.0f;
  for (uint32_t i = 0; i < kPlayers; i++) {
    if (!IsOnLake(&gPlayers[i])) continue;
    x += gPlayers[i].x;
    count += 1.0f;
  }
  if (count > 0.0f) gLake.eyeX += (x / count * 0.72f - gLake.eyeX) * 0.09f;
}

void StepLake(void) {
  gLake.frames++;
  StepSpeed();
  if (!IsBossHere()) gLake.distance += gLake.speed;
  gLake.travelled += gLake.speed;
  SpawnRows();
  StepPlayers();
  StepThings();
  StepShots();
  StepBoss();
  StepEffects();
  StepEye();
  if (gLake.flash > 0) gLake.flash--;
  if (gLake.shake > 0) gLake.shake--;
  if (gLake.bCleared) gLake.clearedFrames++;
}
