// A game from start to table: the stages, joining and going on, and what comes after.
#include "guest/game/play.h"

#include "guest/game/attract.h"
#include "guest/game/initials.h"
#include "guest/game/scores.h"
#include "guest/game/world.h"

enum { kTallyFrames = 330, kGameOverFrames = 200, kClearFrames = 150 };

// What is kept of a player who is out, until it stands in the table.
typedef struct SFinal {
  bool bWaits;
  uint32_t score, stage;
} SFinal;
static SFinal gFinals[kPlayers];
static uint32_t gTallyCoins, gTallySent, gTallyBonus;

void StartGame(uint32_t player) {
  for (uint32_t i = 0; i < kPlayers; i++) {
    gPlayers[i].bJoined = gPlayers[i].bOut = false;
    gFinals[i].bWaits = false;
  }
  ClearEffects();
  gLake.bDemo = false;
  gLake.eyeX = 0.0f;
  BeginStage(0);
  JoinPlayer(player);
  gTable.plays++;
  EnterState(kStatePlay);
  PlaySound(kMusicStage);
  PlaySound(kSoundEngine);
}

static bool IsAnyPlaying(void) {
  for (uint32_t i = 0; i < kPlayers; i++) {
    if (gPlayers[i].bJoined && !gPlayers[i].bOut) return true;
  }
  return false;
}

static void LeaveGame(uint32_t player) {
  SPlayer* p = &gPlayers[player];
  if (!p->bJoined) return;
  p->bJoined = false;
  gFinals[player].bWaits = true;
  gFinals[player].score = p->score;
  gFinals[player].stage = gLake.stage;
}

// Joining, going on, and the count down of those who are out.
static void StepSeats(void) {
  for (uint32_t i = 0; i < kPlayers; i++) {
    SPlayer* p = &gPlayers[i];
    const uint32_t pressed = gControls[i].pressed;
    if (!p->bJoined) {
      // Who has just left enters letters first.
      if ((pressed & kPressStart) && !gFinals[i].bWaits && PayStart(i)) JoinPlayer(i);
      continue;
    }
    if (!p->bOut) continue;
    if ((pressed & kPressStart) && PayContinue(i)) {
      gTable.continues++;
      ResumePlayer(i);
      continue;
    }
    if (pressed & (kPressFire | kPressLeap)) {
      p->countDown -= p->countDown % kFramesASecond;
    }
    if (p->countDown > 0) p->countDown--;
    if (p->countDown % kFramesASecond == 0) PlaySound(kSoundTick);
    if (p->countDown == 0) LeaveGame(i);
  }
}

static void DrawStageName(uint16_t* page) {
  enum { kShown = 170 };
  char text[40];
  const uint32_t frames = gLake.frames;
  if (frames >= kShown) return;
  const int32_t in = frames < 20    ? (int32_t)(20 - frames) * 14
                     : frames > 150 ? ((int32_t)frames - 150) * -14
                                    : 0;
  char* end = AppendText(text, Text(kTextStage));
  *end++ = ' ';
  end = AppendNumber(end, gLake.stage % kStages + 1);
  if (gLake.stage >= kStages) {
    end = AppendText(end, "  ");
    end = AppendText(end, Text(kTextRound));
    *end++ = ' ';
    AppendNumber(end, gLake.stage / kStages + 1);
  }
  DrawHeadlineAt(page, (kWidth - TextWidth(text) * 2) / 2 + in, 62, text, kInkGold);
  const char* name = StageName(gLake.stage);
  DrawHeadlineAt(page, (kWidth - TextWidth(name) * 2) / 2 - in, 86, name, kInkWhite);
}

static void DrawWarning(uint16_t* page) {
  static uint32_t shown;
  shown = IsBossHere() && BossHealth() > 0 ? shown + 1 : 0;
  if (shown == 0 || shown > 150 || (shown & 31) > 22) return;
  DrawHeadline(page, 66, Text(kTextWarning), kInkRed);
  DrawHeadline(page, 90, BossName(), kInkWhite);
}

static void DrawPlay(uint16_t* page) {
  DrawLakePicture(page, gMoment);
  DrawHud(page, gMoment);
  DrawStageName(page);
  DrawWarning(page);
  if (!gPlayers[0].bJoined || !gPlayers[1].bJoined) DrawCredits(page, 230);
}

static void BeginTally(void) {
  gTallyCoins = gPlayers[0].coins + gPlayers[1].coins;
  gTallySent = gLake.coinsSent;
  gTallyBonus = gTallyCoins * 100 + (gTallyCoins >= gTallySent ? 20000 : 0) +
                (gLake.stage % kStages == kStages - 1 ? 100000 : 0);
  for (uint32_t i = 0; i < kPlayers; i++) {
    if (gPlayers[i].bJoined && !gPlayers[i].bOut) gPlayers[i].score += gTallyBonus;
  }
  PlaySound(kMusicTally);
  EnterState(kStateTally);
}

static void CountPlayFrame(void) {
  static uint32_t missedBefore;
  const uint32_t missed = gKernel->results->missedFrames;
  kGameBlock->playedFrames = kGameBlock->playedFrames + 1;
  if (kGameBlock->playedFrames > 1) {
    kGameBlock->missedInPlay = kGameBlock->missedInPlay + (missed - missedBefore);
  }
  missedBefore = missed;
  if (kGameBlock->playedFrames % kFramesASecond == 0) gTable.playSeconds++;
}

void StepPlay(uint16_t* page) {
  StepSeats();
  if (!IsAnyPlaying()) {
    EnterState(kStateContinue);
    DrawPlay(page);
    return;
  }
  StepLake();
  CountPlayFrame();
  DrawPlay(page);
  if (gLake.bCleared && gLake.clearedFrames > kClearFrames) BeginTally();
}

static void DrawTally(uint16_t* page) {
  char text[40];
  DrawLakePicture(page, gMoment);
  DrawHud(page, gMoment);
  char* end = AppendText(text, Text(kTextStage));
  *end++ = ' ';
  end = AppendNumber(end, gLake.stage % kStages + 1);
  *end++ = ' ';
  AppendText(end, Text(kTextClear));
  DrawHeadline(page, 56, text, kInkGold);
  if (gStateFrames > 40) {
    // The coins are counted up one by one.
    const uint32_t counted =
        (gStateFrames - 40) / 2 < gTallyCoins ? (gStateFrames - 40) / 2 : gTallyCoins;
    end = AppendText(text, Text(kTextCoinsFound));
    *end++ = ' ';
    end = AppendNumber(end, counted);
    *end++ = '/';
    AppendNumber(end, gTallySent);
    DrawCenteredText(page, 88, text, RGB(31, 28, 14));
    if (counted < gTallyCoins && (gStateFrames & 3) == 0) PlaySound(kSoundTick);
  }
  if (gStateFrames > 150) {
    end = AppendText(text, Text(kTextBonus));
    *end++ = ' ';
    AppendNumber(end, gTallyBonus);
    DrawHeadline(page, 104, text, kInkWhite);
  }
}

void StepTally(uint16_t* page) {
  StepLake();
  CountPlayFrame();
  DrawTally(page);
  if (gStateFrames < kTallyFrames) return;
  BeginStage(gLake.stage + 1);
  EnterState(kStatePlay);
  PlaySound(kMusicStage + gLake.stage % kStages);
}

void StepContinue(uint16_t* page) {
  StepSeats();
  if (IsAnyPlaying()) {
    EnterState(kStatePlay);
  } else if (!gPlayers[0].bJoined && !gPlayers[1].bJoined) {
    EnterState(kStateGameOver);
    PlaySound(kMusicGameOver);
    PlaySound(kSoundEngineOff);
  }
  StepEffects();
  DrawLakePicture(page, gMoment);
  Darken(page, 0, kHeight);
  DrawHud(page, gMoment);
  uint32_t left = 0;
  for (uint32_t i = 0; i < kPlayers; i++) {
    if (gPlayers[i].bJoined && gPlayers[i].countDown > left) left = gPlayers[i].countDown;
  }
  char text[8];
  DrawHeadline(page, 84, Text(kTextContinue), kInkGold);
  AppendNumber(text, left / kFramesASecond);
  DrawHeadline(page, 112, text, (left / 15 & 1) ? kInkRed : kInkWhite);
  const bool bCan = gSwitches.bFreePlay || CreditsOf(0) >= GetPrice()->toContinue;
  DrawCenteredText(page, 146, Text(bCan ? kTextPressStart : kTextInsertCoin), RGB(28, 28, 31));
  DrawCredits(page, 228);
}

// The next player who has letters to enter, or the table.
static void GoToInitials(void) {
  for (uint32_t i = 0; i < kPlayers; i++) {
    if (!gFinals[i].bWaits) continue;
    gFinals[i].bWaits = false;
    if (!BeginInitials(i, gFinals[i].score, gFinals[i].stage)) continue;
    EnterState(kStateInitials);
    return;
  }
  // Also the book-keeping of a game that did not reach the table is kept.
  BeginPause();
  SaveTable();
  EndPause();
  EnterState(kStateScores);
  PlaySound(gSwitches.bAttractSound ? kMusicScores : kMusicStop);
}

void StepGameOver(uint16_t* page) {
  DrawLakePicture(page, gMoment);
  Darken(page, 0, kHeight);
  DrawHeadline(page, 100, Text(kTextGameOver), kInkRed);
  if (gStateFrames >= kGameOverFrames) GoToInitials();
}

void StepLetters(uint16_t* page) {
  const bool bDone = StepInitials();
  DrawQuietLake(page, gMoment);
  DrawInitials(page, gMoment);
  if (!bDone) return;
  HighlightRow(RankEntered());
  GoToInitials();
}
