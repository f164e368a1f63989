// The lake in play: all that is on it, in units. Right of the lake's middle is +x, above the water
// +y, away from the eye +z; the lake moves towards the eye by gLake.speed each frame.
#pragma once

#include "guest/game/game.h"
#include "guest/game/stage.h"

#define kPlayerZ 5.0f
#define kLakeHalf 5.2f                        // how far skimmers may go to either side
#define kFarZ 62.0f                           // where things come up
enum { kHorizonLine = 88, kEyeTenths = 22 };  // eye height in tenths
enum {
  kExtraLifeFirst = 50000,
  kExtraLifeNext = 100000,
  kStartLives = 3,
  kStartFlares = 2,
  kMostFlares = 4
};
enum { kMostPower = 3, kMostMultiplier = 8, kChainStep = 8 };

typedef enum EThing {
  kThingNone,
  kThingBuoy,
  kThingLog,
  kThingDrone,
  kThingBoat,
  kThingPike,
  kThingPillar,
  kThingGate,
  kThingCarrier,
  kThingCoin,
  kThingBadge,
  kThingMine,  // a buoy thrown by a boss
  kThings,
} EThing;

typedef struct SThing {
  uint32_t kind;
  int32_t health;
  uint32_t age;
  uint32_t flash;
  uint32_t a, b;
  float x, y, z;
  float vx, vy, vz;
  float homeX;
} SThing;
enum { kMostThings = 96 };
extern SThing gThings[kMostThings];

typedef struct SPlayer {
  bool bJoined;
  bool bOut;  // out of lives, the own count down runs
  uint32_t lives, flares, power, shield;
  uint32_t score, nextExtra;
  uint32_t chain, multiplier, chainFrames;
  uint32_t coins;  // of this stage
  uint32_t gone;   // frames until back on the lake, 0 while there
  uint32_t safe;   // frames without harm
  uint32_t reload;
  uint32_t countDown;  // frames left to continue
  float x, y, vx, vy, roll;
} SPlayer;
extern SPlayer gPlayers[kPlayers];

typedef struct SLake {
  uint32_t stage;   // going on behind the last one
  uint32_t row;     // next one of the file
  uint32_t frames;  // of this stage
  float distance;   // travelled in this stage; rests while a boss is there
  float travelled;  // the same without rest
  float speed;      // units a frame
  float eyeX;
  uint32_t random;
  uint32_t coinsSent;
  uint32_t flash;  // white flash over the picture, frames
  uint32_t shake;
  bool bDemo;
  bool bCleared;  // boss gone
  uint32_t clearedFrames;
} SLake;
extern SLake gLake;

static inline bool IsOnLake(const SPlayer* p) { return p->bJoined && !p->bOut && p->gone == 0; }
static inline float Magnitude(float v) { return v < 0.0f ? -v : v; }
uint32_t Chance(uint32_t below);  // random number
float Spread(float half);         // random between -half and half

// --- lake.c: stage, spawning, one frame of the world ---
void BeginStage(uint32_t stage);
void StepLake(void);
SThing* AddThing(uint32_t kind, float x, float y, float z);
// Difficulty grows with stages and rounds: 0 for the first stage.
uint32_t Hardness(void);
float HardnessFloat(void);  // 12 at most

// --- things.c ---
typedef struct SThingKind {
  uint8_t model;
  float halfWidth, height;  // height: as far up as it harms
  int32_t health;           // 0: nothing harms it
  uint16_t score;
  bool bHarms;
} SThingKind;
extern const SThingKind kThingKinds[kThings];
void StepThing(SThing* thing);
void HurtThing(SThing* thing, SPlayer* by, int32_t damage);
void DestroyThing(SThing* thing, SPlayer* by);

// --- boss.c ---
void BeginBoss(uint32_t which);
void StepBoss(void);
bool IsBossHere(void);
uint32_t BossHealth(void);
uint32_t BossFullHealth(void);
const char* BossName(void);
// Whether a shot at x, z hits; takes the damage.
bool HitBoss(float x, float y, float z, int32_t damage, SPlayer* by);
void FlareBoss(SPlayer* by);
void QueueBoss(void);  // for drawing
// Whether the boss harms a skimmer there.
bool TouchesBoss(float x, float y, float z);

// --- players.c ---
void JoinPlayer(uint32_t player);
void ResumePlayer(uint32_t player);
void StepPlayers(void);
void HarmPlayer(SPlayer* player);
void Award(SPlayer* player, uint32_t points, float x, float y, float z);
void Chain(SPlayer* player, uint32_t links);
SPlayer* NearestPlayer(float x);
float SpeedShare(void);  // 0 slow to 1 at full speed
void SetDemoControls(void);

// --- shots.c: bolts of the players, orbs of the raiders ---
void ClearShots(void);
void FireBolt(uint32_t player, float x, float y, float vx);
void FireOrb(float x, float y, float z, float aimX, float speed);
void StepShots(void);
void ClearOrbs(void);
void QueueShots(void);

// --- effects.c ---
enum { kDropWater, kDropFire, kDropFoam, kDropGold, kDropSmoke };
void ClearEffects(void);
void Burst(uint32_t kind, uint32_t count, float x, float y, float z, float force);
void Blast(float x, float y, float z, float size);
void SplashAt(float x, float z, float size);
void PopUp(float x, float y, float z, uint32_t points);
void StepEffects(void);
void QueueEffects(void);
void DrawPopUps(uint16_t* page);

// --- draw_lake.c ---
void DrawLakePicture(uint16_t* page, uint32_t moment);

// --- draw_items.c ---
// Items of the picture, drawn from far to near.
void QueueModel(uint32_t model, const SPose* pose, uint32_t flash);
void QueueSprite(const uint16_t* pixels, float x, float y, float z, float size);
void QueueCoin(uint32_t view, float x, float y, float z, float size);
void QueueDot(uint16_t color, float x, float y, float z, float size);
void QueueBolt(float x, float y, float z, uint32_t player);
void QueueShadow(float x, float z, float halfWidth);
// Where a point of the lake is seen.
bool ProjectPoint(float x, float y, float z, int32_t* column, int32_t* line, float* scale);
// A picture of 32 by 32 pixels, stretched to `size` and cut off at the page's edges.
void DrawScaled(uint16_t* page, const uint16_t* pixels, int32_t centerX, int32_t centerY,
                int32_t size);
void StandUpright(SPose* pose, float x, float y, float z);

// --- hud.c ---
void DrawHud(uint16_t* page, uint32_t moment);
