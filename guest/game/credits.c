// Coins and credits. One pool for both players, or one each, as a switch tells.
#include "guest/game/game.h"
#include "guest/game/scores.h"

enum { kMostCredits = 99 };

// clang-format off
static const SPrice kPrices[8] = {
    // coins  credits  to start  to continue
    {  1,     1,       1,        1 },
    {  1,     2,       1,        1 },
    {  1,     3,       1,        1 },
    {  2,     1,       1,        1 },
    {  1,     1,       2,        1 },
    {  3,     1,       1,        1 },
    {  1,     4,       1,        1 },
    {  4,     1,       1,        1 },
};
// clang-format on

static uint32_t gCredits[kPlayers];
static uint32_t gLooseCoins[kPlayers];  // not yet enough for a credit

const SPrice* GetPrice(void) { return &kPrices[gSwitches.price]; }

static uint32_t PoolOf(uint32_t player) { return gSwitches.bSplitCredits ? player : 0; }

static void AddCredits(uint32_t pool, uint32_t credits) {
  gCredits[pool] += credits;
  if (gCredits[pool] > kMostCredits) gCredits[pool] = kMostCredits;
}

void CountCoins(void) {
  const SPrice* price = GetPrice();
  for (uint32_t slot = 0; slot < kCoinSlots; slot++) {
    // A cabinet that is being tilted takes no coins.
    if (!(gSystem.pressed & 1u << slot) || (gSystem.held & kSystemTilt)) continue;
    const uint32_t pool = PoolOf(slot & 1);
    kGameBlock->coins = kGameBlock->coins + 1;
    gTable.coins[slot]++;
    if (++gLooseCoins[pool] >= price->coins) {
      gLooseCoins[pool] = 0;
      AddCredits(pool, price->credits);
    }
    PlaySound(kSoundCoin);
  }
  if (gSystem.pressed & kSystemService) {
    AddCredits(0, 1);
    if (gSwitches.bSplitCredits) AddCredits(1, 1);
    PlaySound(kSoundCoin);
  }
  for (uint32_t player = 0; player < kPlayers; player++) {
    kGameBlock->credits[player] = CreditsOf(player);
  }
}

uint32_t CreditsOf(uint32_t player) { return gCredits[PoolOf(player)]; }

static bool Pay(uint32_t player, uint32_t credits) {
  if (gSwitches.bFreePlay) return true;
  if (CreditsOf(player) < credits) return false;
  gCredits[PoolOf(player)] -= credits;
  return true;
}

bool CanStart(uint32_t player) {
  return gSwitches.bFreePlay || CreditsOf(player) >= GetPrice()->toStart;
}
bool PayStart(uint32_t player) { return Pay(player, GetPrice()->toStart); }
bool PayContinue(uint32_t player) { return Pay(player, GetPrice()->toContinue); }

void FormatPrice(char* text) {
  const SPrice* price = GetPrice();
  char* end = AppendNumber(text, price->coins);
  *end++ = ' ';
  end = AppendText(end, Text(price->coins == 1 ? kTextCoin : kTextCoins));
  end = AppendText(end, " (");
  end = AppendText(end, CoinValue());
  end = AppendText(end, ") - ");
  end = AppendNumber(end, price->credits);
  *end++ = ' ';
  AppendText(end, Text(price->credits == 1 ? kTextPlay : kTextPlays));
}

void DrawCredits(uint16_t* page, int32_t y) {
  char text[48];
  if (gSwitches.bFreePlay) {
    AppendText(text, Text(kTextFreePlay));
  } else {
    char* end = AppendText(text, Text(kTextCredit));
    *end++ = ' ';
    end = AppendNumber(end, CreditsOf(0));
    if (gLooseCoins[0] != 0) {
      end = AppendText(end, " ");
      end = AppendNumber(end, gLooseCoins[0]);
      end = AppendText(end, "/");
      end = AppendNumber(end, GetPrice()->coins);
    }
    if (gSwitches.bSplitCredits) {
      end = AppendText(end, " : ");
      end = AppendNumber(end, CreditsOf(1));
    }
  }
  const int32_t x = (kWidth - TextWidth(text)) / 2;
  DrawShadowText(page, x, y, text, RGB(24, 25, 30));
}
