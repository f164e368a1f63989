// What the cabinet is doing, frame by frame: the attract mode's round, a game, the test menu.
#include "guest/game/attract.h"
#include "guest/game/play.h"
#include "guest/game/scores.h"
#include "guest/game/testmenu.h"
#include "guest/game/world.h"

uint32_t gState;
uint32_t gStateFrames;
uint32_t gMoment;  // frames since the game began

enum {
  kNoticeFrames = 240,
  kTitleFrames = 900,
  kHowToFrames = 540,
  kDemoFrames = 1500,
  kScoresFrames = 480,
};

static uint32_t gHighlighted = kTableRows;

void HighlightRow(uint32_t row) { gHighlighted = row; }

void EnterState(uint32_t state) {
  gState = state;
  gStateFrames = 0;
}

// --- attract ------------------------------------------------------------------------------------

static void BeginDemo(void) {
  static uint32_t round;
  for (uint32_t i = 0; i < kPlayers; i++) gPlayers[i].bJoined = false;
  ClearEffects();
  gLake.bDemo = true;
  BeginStage(round++ % kStages);
  JoinPlayer(0);
  gPlayers[0].power = 2;
  EnterState(kStateDemo);
}

static void EnterTitle(void) {
  PlaySound(gSwitches.bAttractSound ? kMusicTitle : kMusicStop);
  EnterState(kStateTitle);
}

static bool StepStart(void) {
  for (uint32_t i = 0; i < kPlayers; i++) {
    if ((gControls[i].pressed & kPressStart) && PayStart(i)) {
      StartGame(i);
      return true;
    }
  }
  return false;
}

static void DrawDemo(uint16_t* page) {
  DrawLakePicture(page, gMoment);
  DrawHud(page, gMoment);
  DrawCenteredText(page, 44, Text(kTextDemo), RGB(28, 28, 31));
  if (gMoment % 64 < 44) {
    const bool bCan = CanStart(0) || CanStart(1);
    DrawHeadline(page, 58, Text(bCan ? kTextPressStart : kTextInsertCoin), kInkGold);
  }
  DrawCredits(page, 228);
}

static void StepAttract(uint16_t* page) {
  const uint32_t coins = gSystem.pressed & 0xF;
  if (StepStart()) {
    DrawLakePicture(page, gMoment);
    return;
  }
  switch (gState) {
    case kStateNotice:
      DrawNoticePage(page, gMoment, gStateFrames);
      if (gStateFrames >= kNoticeFrames) EnterTitle();
      break;
    case kStateTitle:
      DrawTitlePage(page, gMoment);
      if (gStateFrames >= kTitleFrames) EnterState(kStateHowTo);
      break;
    case kStateHowTo:
      DrawHowToPage(page, gMoment, gStateFrames);
      if (gStateFrames >= kHowToFrames) BeginDemo();
      break;
    case kStateDemo:
      SetDemoControls();
      StepLake();
      DrawDemo(page);
      if (gStateFrames >= kDemoFrames || gPlayers[0].bOut) {
        gHighlighted = kTableRows;
        EnterState(kStateScores);
      }
      break;
    default:
      DrawQuietLake(page, gMoment);
      DrawTable(page, gStateFrames, gHighlighted);
      DrawCredits(page, 224);
      if (gStateFrames >= kScoresFrames) {
        gHighlighted = kTableRows;
        if (gSwitches.bNotice) {
          EnterState(kStateNotice);
        } else {
          EnterTitle();
        }
      }
      break;
  }
  if (coins != 0 && gState != kStateTitle) EnterTitle();
}

// --- all ----------------------------------------------------------------------------------------

static void Report(void) {
  volatile SGameBlock* block = kGameBlock;
  block->state = gState;
  block->stateFrames = gStateFrames;
  block->frames = gMoment;
  block->stage = gLake.stage;
  block->distance = (uint32_t)ToInteger(gLake.distance);
  block->bossHealth = BossHealth();
  uint32_t things = 0;
  for (uint32_t i = 0; i < kMostThings; i++) things += gThings[i].kind != kThingNone;
  block->things = things;
  for (uint32_t i = 0; i < kPlayers; i++) {
    const SPlayer* p = &gPlayers[i];
    const bool bIn = p->bJoined && gState >= kStatePlay && gState <= kStateContinue;
    block->joined[i] = bIn;
    block->lives[i] = bIn ? p->lives : 0;
    block->score[i] = p->score;
    block->multiplier[i] = bIn ? p->multiplier : 0;
    block->credits[i] = CreditsOf(i);
  }
}

static void StepState(uint16_t* page) {
  const bool bAsked = gSwitches.bTest || (gSystem.pressed & kSystemTest);
  if (bAsked && gState != kStateTest) {
    gSystem.pressed &= ~(uint32_t)kSystemTest;
    BeginTestMenu();
    PlaySound(kSoundSilence);
    EnterState(kStateTest);
  }
  switch (gState) {
    case kStatePlay:
      StepPlay(page);
      break;
    case kStateTally:
      StepTally(page);
      break;
    case kStateContinue:
      StepContinue(page);
      break;
    case kStateGameOver:
      StepGameOver(page);
      break;
    case kStateInitials:
      StepLetters(page);
      break;
    case kStateTest:
      if (StepTestMenu(page)) EnterTitle();
      break;
    default:
      StepAttract(page);
      break;
  }
}

void RunGame(void) {
  uint16_t* page = FirstPage();
  ReadControls();
  ReadSwitches();
  if (gSwitches.bNotice) {
    EnterState(kStateNotice);
  } else {
    EnterTitle();
  }
  gKernel->results->state = kSelfTestAttract;
  for (;; gMoment++, gStateFrames++) {
    ReadControls();
    ReadSwitches();
    CountCoins();
    StepState(page);
    Report();
    page = FinishFrame();
  }
}
