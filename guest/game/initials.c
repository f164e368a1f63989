#include "guest/game/initials.h"

enum { kChoices = 30, kPatienceFrames = 30 * kFramesASecond, kRepeatAfter = 18, kRepeatEach = 5 };
// Letters, a blank, and two marks; the last one takes a letter back.
static const char kWheel[kChoices + 1] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ .-<";

static uint32_t gPlayer, gScore, gStage, gRank;
static uint32_t gChoice, gEntered, gFrames, gHeldFrames;
static char gLetters[kInitials];

uint32_t RankEntered(void) { return gRank; }

bool BeginInitials(uint32_t player, uint32_t score, uint32_t stage) {
  gRank = RankOf(score);
  if (gRank == kTableRows) return false;
  gPlayer = player;
  gScore = score;
  gStage = stage;
  gChoice = gEntered = gFrames = gHeldFrames = 0;
  for (uint32_t i = 0; i < kInitials; i++) gLetters[i] = ' ';
  return true;
}

static void Turn(uint32_t step) {
  gChoice = (gChoice + step) % kChoices;
  PlaySound(kSoundTick);
}

static void Choose(void) {
  PlaySound(kSoundLetter);
  if (kWheel[gChoice] == '<') {
    if (gEntered > 0) gLetters[--gEntered] = ' ';
    return;
  }
  gLetters[gEntered++] = kWheel[gChoice];
}

bool StepInitials(void) {
  const SControls* controls = &gControls[gPlayer];
  const uint32_t back = controls->held & (kPressLeft | kPressDown);
  const uint32_t on = controls->held & (kPressRight | kPressUp);
  gFrames++;
  gHeldFrames = back || on ? gHeldFrames + 1 : 0;
  const bool bTurns =
      gHeldFrames == 1 || (gHeldFrames > kRepeatAfter && gHeldFrames % kRepeatEach == 0);
  if (bTurns) Turn(back ? kChoices - 1 : 1);
  if (controls->pressed & (kPressFire | kPressLeap | kPressFlare | kPressStart)) Choose();
  kGameBlock->letters = gEntered;
  if (gEntered < kInitials && gFrames < kPatienceFrames) return false;
  gRank = EnterScore(gScore, gStage, gLetters);
  return true;
}

void DrawInitials(uint16_t* page, uint32_t moment) {
  char text[24];
  DrawHeadline(page, 22, Text(kTextEnterName), kInkGold);
  char* end = AppendNumber(text, gRank + 1);
  end = AppendText(end, ".  ");
  FormatNumber(end, gScore, 8);
  DrawHeadline(page, 52, text, gPlayer == 0 ? kInkGold : kInkBlue);
  for (uint32_t i = 0; i < kInitials; i++) {
    const int32_t x = kWidth / 2 - 60 + (int32_t)i * 44;
    const bool bHere = i == gEntered;
    const char letter[2] = {bHere ? kWheel[gChoice] : gLetters[i], 0};
    if (!bHere || (moment & 16))
      DrawHeadlineAt(page, x + 8, 96, letter, bHere ? kInkWhite : kInkGold);
    FillRectangle(page, x, 118, 32, 3, bHere ? RGB(31, 31, 31) : RGB(16, 14, 20));
  }
  // The wheel of letters, the chosen one in the middle.
  for (int32_t i = -8; i <= 8; i++) {
    const char letter[2] = {kWheel[(gChoice + kChoices + (uint32_t)i) % kChoices], 0};
    const int32_t x = kWidth / 2 - 8 + i * 19;
    const int32_t y = 150 + (i * i) / 4;
    if (i == 0) {
      DrawHeadlineAt(page, x, y, letter, kInkWhite);
    } else {
      DrawShadowText(page, x + 4, y + 4, letter, RGB(20, 20, 27));
    }
  }
  AppendNumber(text, (kPatienceFrames - gFrames) / kFramesASecond);
  DrawCenteredText(page, 206, text, RGB(24, 24, 30));
}
