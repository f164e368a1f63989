// The picture of the lake in play: sky and hills, their mirror image, the waves that run towards
// the eye, and all things.
#include "guest/game/draw_items.h"

#define kScaleWaves 1.15f

static void MixPattern(uint64_t* four, SColor wide) {
  for (uint32_t i = 0; i < 4; i++) {
    const uint64_t even = PixelOf(wide + kDither[i][0]);
    const uint64_t odd = PixelOf(wide + kDither[i][1]);
    const uint64_t pair = even | odd << 16;
    four[i] = pair | pair << 32;
  }
}

// Crests and troughs stand in rows across the lake, each row's from its number alone.
static void DrawWaves(uint16_t* page, const SDaylight* day) {
  enum { kRows = 22, kInRow = 7 };
  const float travelled = gLake.travelled * (1.0f / kScaleWaves);
  const int32_t first = ToInteger(travelled);
  const SColor light = Blend(day->sky[kSkyStops - 1], day->glow, 128);
  const SColor base = Blend(day->water, day->sky[2], 110);
  const SColor dark = Blend(day->water, day->ridge, 128);
  for (int32_t row = first + kRows; row > first; row--) {
    const float z = ((float)row - travelled) * kScaleWaves + 1.6f;
    if (z < 2.4f) continue;
    uint32_t random = (uint32_t)row * 2654435761u;
    const uint32_t bright = z < 6.0f ? 190 : z > 24.0f ? 60 : 233 - (uint32_t)ToInteger(z * 7.2f);
    uint64_t crest[4], trough[4];
    MixPattern(crest, BlendWide(base, light, bright));
    MixPattern(trough, BlendWide(base, dark, 200));
    for (uint32_t i = 0; i < kInRow; i++) {
      const uint32_t dice = NextRandom(&random);
      const float x = (float)(int32_t)(dice & 1023) * (1.0f / 34) - 15.0f;
      const float wide = 0.12f + (float)(int32_t)(dice >> 10 & 127) * (1.0f / 190);
      const float off = (float)(int32_t)(dice >> 17 & 31) * (1.0f / 28);
      DrawLozenge(page, x, z + off, wide, i % 3 == 2 ? 0.14f : 0.06f, i % 3 == 2 ? trough : crest);
    }
  }
}

// Reeds and lamps on both sides, beyond where skimmers go.
static void QueueShore(void) {
  enum { kPairs = 9 };
  const float each = 6.0f;
  const int32_t first = ToInteger(gLake.travelled * (1.0f / 6));
  for (int32_t i = 0; i < kPairs; i++) {
    uint32_t random = (uint32_t)(first + i) * 2246822519u;
    const float z = (float)(first + i) * each - gLake.travelled + 3.0f;
    for (uint32_t side = 0; side < 2; side++) {
      const uint32_t dice = NextRandom(&random);
      const uint32_t kind = (dice & 3) == 0 ? 2 : dice >> 2 & 1;
      const float size = kind == 2 ? 0.9f : 1.6f + (float)(int32_t)(dice >> 4 & 7) * 0.16f;
      const float away = kind == 2 ? 6.6f : 7.0f + (float)(int32_t)(dice >> 8 & 15) * 0.3f;
      QueueSprite(gSprites[kSpriteShore] + kind * kSpriteSize * kSpriteSize,
                  side == 0 ? -away : away, size * 0.46f, z + (float)(int32_t)(dice >> 12 & 3),
                  size);
    }
  }
}

static void PrepareView(SView* view, const SDaylight* day) {
  view->focal = kFocal;
  view->centerX = kWidth / 2;
  view->horizon = kHorizonLine;
  view->hazeFar = 78.0f;
  view->sun.x = -0.40f;
  view->sun.y = 0.72f;
  view->sun.z = -0.57f;
  view->shade = day->ridge;
  view->glow = day->glow;
  view->haze = day->haze;
}

static void QueueThings(void) {
  for (uint32_t i = 0; i < kMostThings; i++) {
    const SThing* t = &gThings[i];
    if (t->kind == kThingNone) continue;
    SPose pose;
    const uint32_t age = t->age;
    StandUpright(&pose, t->x, t->y, t->z);
    switch (t->kind) {
      case kThingCoin:
        QueueCoin((age / 3 + i * 5) % kCoinFrames, t->x, t->y + 0.1f, t->z, 0.85f);
        QueueShadow(t->x, t->z, 0.3f);
        continue;
      case kThingBadge:
        QueueSprite(gSprites[kSpriteBadge] + t->a * kSpriteSize * kSpriteSize, t->x, t->y, t->z,
                    1.25f);
        QueueShadow(t->x, t->z, 0.5f);
        continue;
      case kThingGate: {
        const float half = (float)(int32_t)t->a * (1.0f / 16);
        pose.place.x = t->x - half;
        QueueModel(kModelPost, &pose, t->b);
        pose.place.x = t->x + half;
        QueueModel(kModelPost, &pose, t->b);
        continue;
      }
      case kThingDrone:
        TurnPose(&pose, age * 18, 0, (uint32_t)(Sine(age * 9) >> 6));
        break;
      case kThingPike: {
        const uint32_t facing = t->a == 1 ? 0 : 512;
        const float climb = t->vy * 700.0f;
        TurnPose(&pose, facing, 0, (uint32_t)-ToInteger(climb));
        break;
      }
      case kThingCarrier:
        TurnPose(&pose, 512, 0, (uint32_t)(Sine(age * 5 + 256) >> 5));
        break;
      case kThingBuoy:
      case kThingMine:
        TurnPose(&pose, age * 5 + t->b * 100, (uint32_t)(Sine(age * 12) >> 7), 0);
        break;
      case kThingLog:
        TurnPose(&pose, 0, age * 10, (uint32_t)(Sine(age * 9) >> 8));
        break;
      default:
        break;
    }
    pose.place.x = t->x;
    pose.place.y = t->y;
    pose.place.z = t->z;
    if (t->kind == kThingBoat && t->a > 0) continue;
    QueueModel(kThingKinds[t->kind].model, &pose, t->flash);
    if (t->y > -0.5f) QueueShadow(t->x, t->z, kThingKinds[t->kind].halfWidth);
  }
}

static void QueuePlayers(uint32_t moment) {
  for (uint32_t i = 0; i < kPlayers; i++) {
    const SPlayer* p = &gPlayers[i];
    if (!IsOnLake(p)) continue;
    if (p->safe > 0 && (moment & 4)) continue;
    QueueShadow(p->x, kPlayerZ - 0.1f, 0.95f);
    SPose pose;
    const int32_t bob = Sine(moment * 17 + i * 300) >> 9;
    TurnPose(&pose, (uint32_t)ToInteger(p->vx * 500.0f),
             (uint32_t)(ToInteger(p->vy * 420.0f) + bob), (uint32_t)ToInteger(p->roll));
    pose.place.x = p->x;
    pose.place.y = p->y + 0.18f + (float)bob * 0.004f;
    pose.place.z = kPlayerZ;
    QueueModel(i == 0 ? kModelSkimmer1 : kModelSkimmer2, &pose, 0);
    if (p->shield > 0) {
      for (uint32_t k = 0; k < 8; k++) {
        const uint32_t angle = k * 128 + moment * 12;
        QueueDot(RGB(18, 29, 31), p->x + SineFloat(angle) * 1.05f,
                 p->y + 0.3f + SineFloat(angle + 256) * 0.5f, kPlayerZ - 0.2f, 0.09f);
      }
    }
    // Where bolts will go.
    for (uint32_t k = 0; k < 2; k++) {
      QueueDot(i == 0 ? RGB(31, 26, 12) : RGB(14, 28, 31), p->x, 0.35f, 13.0f + (float)k * 11.0f,
               0.26f);
    }
  }
}

// Every other line, which is as bright as a flash should be.
static void Whiten(uint16_t* page, uint32_t first) {
  for (int32_t y = (int32_t)first; y < kHeight; y += 2) {
    uint64_t* four = (uint64_t*)LineOf(page, y);
    for (uint32_t i = 0; i < kWidth / 4; i++) {
      four[i] = (four[i] >> 2 & 0x1CE71CE71CE71CE7) + 0x5AD65AD65AD65AD6;
    }
  }
}

void DrawLakePicture(uint16_t* page, uint32_t moment) {
  SDaylight day;
  SView view;
  const uint32_t progress = (uint32_t)ToInteger(gLake.distance) / 2;
  ComputeDaylight(&day, gLake.stage * (kDayFrames / 4) + (progress < 420 ? progress : 420));
  MoveHorizon(&day, kHorizonLine);
  const uint32_t drift = moment / 4 + 100000 + (uint32_t)ToInteger(gLake.eyeX * 34.0f);
  DrawSky(page, &day, moment);
  DrawRidges(page, &day, drift);
  DrawMirror(page, &day, moment);
  DrawWaves(page, &day);
  PrepareView(&view, &day);

  BeginItems();
  QueueShore();
  QueueThings();
  QueueBoss();
  QueuePlayers(moment);
  QueueShots();
  QueueEffects();
  DrawItems(page, &view);
  DrawPopUps(page);
  if (gLake.flash > 0) Whiten(page, moment & 1);
}
