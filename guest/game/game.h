// What the game's parts share: the kernel's calls, controls, credits, switches, texts, sound,
// files.
#pragma once

#include <stdbool.h>
#include <stdint.h>

#include "guest/draw.h"
#include "guest/game_block.h"
#include "guest/kernel_calls.h"
#include "guest/solid.h"
#include "guest/sound_commands.h"

extern const SKernelCalls* gKernel;
#define kGameBlock ((volatile SGameBlock*)(0x80000000u + kGameBlockPhysical))

enum { kPlayers = 2, kFramesASecond = 60 };

// --- controls.c: read once a frame ---
enum {
  kPressLeft = 0x001,
  kPressRight = 0x002,
  kPressUp = 0x004,
  kPressDown = 0x008,
  kPressStart = 0x010,
  kPressFire = 0x020,
  kPressLeap = 0x040,
  kPressFlare = 0x080,
  kPressAny = 0x0FF,
};
typedef struct SControls {
  uint32_t held;
  uint32_t pressed;  // since the last frame
} SControls;
extern SControls gControls[kPlayers];
enum { kCoinSlots = 4, kSystemTest = 0x10, kSystemService = 0x20, kSystemTilt = 0x40 };
// Coins by slot in bits 0 to 3, and the system controls.
extern SControls gSystem;
extern SPorts gPorts;
void ReadControls(void);

// --- switches.c: the DIP switches, read once a frame ---
typedef struct SSwitches {
  uint32_t effects;  // 0..3: how much flies about
  bool bAttractSound;
  bool bLongEndings;  // bosses go down with a show
  bool bNotice;       // the notice is part of the attract mode
  bool bWarmBlasts;   // fire, or cool colours
  bool bFreePlay;
  uint32_t price;      // row of the price table, 0..7
  uint32_t country;    // 0..3: texts and currency
  bool bSplitCredits;  // each player has coin slots and credits of their own
  bool bTest;
} SSwitches;
extern SSwitches gSwitches;
void ReadSwitches(void);

// --- credits.c ---
typedef struct SPrice {
  uint8_t coins;  // for `credits`
  uint8_t credits;
  uint8_t toStart;  // credits
  uint8_t toContinue;
} SPrice;
const SPrice* GetPrice(void);
// Takes coins and service credits.
void CountCoins(void);
uint32_t CreditsOf(uint32_t player);
bool CanStart(uint32_t player);
// Takes the price if it is there.
bool PayStart(uint32_t player);
bool PayContinue(uint32_t player);
// "CREDIT 3", "1 COIN 2 CREDITS", in the country's words.
void DrawCredits(uint16_t* page, int32_t y);
void FormatPrice(char* text);

// --- texts.c ---
typedef enum EText {
  kTextInsertCoin,
  kTextPressStart,
  kTextFreePlay,
  kTextCredit,
  kTextCoin,
  kTextCoins,
  kTextPlay,
  kTextPlays,
  kTextGameOver,
  kTextContinue,
  kTextJoin,
  kTextStage,
  kTextClear,
  kTextWarning,
  kTextCoinsFound,
  kTextBonus,
  kTextHighScores,
  kTextEnterName,
  kTextDemo,
  kTextNotice1,
  kTextNotice2,
  kTextNotice3,
  kTextHowTo,
  kTextSteer,
  kTextSpeed,
  kTextFire,
  kTextLeap,
  kTextFlare,
  kTextChain,
  kTextGates,
  kTextCarrier,
  kTextStory1,
  kTextStory2,
  kTextRound,
  kTextTotals,
  kTexts,
} EText;
const char* Text(EText text);
const char* CoinValue(void);  // what one coin is worth, "$0.25"
const char* StageName(uint32_t stage);
char* AppendText(char* end, const char* text);
char* AppendNumber(char* end, uint32_t value);  // without leading zeros
void DrawCenteredText(uint16_t* page, int32_t y, const char* text, uint16_t color);
// Bright letters of twice the size, with a shadow.
void DrawHeadline(uint16_t* page, int32_t y, const char* text, uint32_t ink);
void DrawHeadlineAt(uint16_t* page, int32_t x, int32_t y, const char* text, uint32_t ink);
enum { kInkGold, kInkWhite, kInkRed, kInkBlue, kInks };
void DrawShadowText(uint16_t* page, int32_t x, int32_t y, const char* text, uint16_t color);

// --- sound.c: commands for the sound processor ---
// A command of sound_commands.h. In the attract mode a switch may forbid all but the coin's, and
// what stops a sound. The same one sounds once a frame.
void PlaySound(uint32_t command);

// --- files.c ---
// Reads all files of the game; shows what is wrong and stays if one cannot be read.
void LoadFiles(void);
// Main RAM that holds nothing.
void FreeMemory(uint32_t* begin, uint32_t* end);
uint32_t VerifiedFiles(void);
// Reads a file into free memory and holds it against its checksum; `name` lasts until the next
// call.
EDiskResult VerifyFile(uint32_t index, const char** name);
typedef enum EModel {
  kModelSkimmer1,
  kModelSkimmer2,
  kModelBuoy,
  kModelLog,
  kModelDrone,
  kModelBoat,
  kModelPike,
  kModelPillar,
  kModelPost,
  kModelCarrier,
  kModelHeron,
  kModelWing,
  kModelDredger,
  kModelTurret,
  kModelHead,
  kModelRing,
  kModelFerry,
  kModelCore,
  kModelGem,
  kModels,
} EModel;
typedef enum ESprite {
  kSpriteBlastWarm,
  kSpriteBlastCool,
  kSpriteSplash,
  kSpriteOrb,
  kSpriteShore,
  kSpriteBadge,
  kSprites
} ESprite;
extern const SModel* gModels[kModels];
extern const uint16_t* gSprites[kSprites];
extern uint32_t gSpriteFrames[kSprites];
extern const uint16_t* gCoins;  // pages of their own
enum { kStages = 4, kSpriteSize = 32 };
extern const uint32_t* gStages[kStages];

// --- frame.c: the picture's two pages ---
// Asks for the flip, waits for it, and answers the page to draw next.
uint16_t* FinishFrame(void);
uint16_t* FirstPage(void);
// Around work that takes longer than a frame.
void BeginPause(void);
void EndPause(void);

// --- coins through a mapped page ---
const uint16_t* MapCoin(uint32_t view);

// --- state.c ---
void EnterState(uint32_t state);
extern uint32_t gState;
extern uint32_t gStateFrames;
extern uint32_t gMoment;  // frames since the game began
void RunGame(void);
