#include "guest/game/game.h"

SControls gControls[kPlayers];
SControls gSystem;
SPorts gPorts;

typedef struct SPortBit {
  uint32_t mask;
  uint32_t control;
} SPortBit;

// Each player's word has the same bits.
static const SPortBit kPlayerBits[] = {
    {0x0040, kPressLeft},  {0x0080, kPressRight}, {0x0100, kPressUp},    {0x0200, kPressDown},
    {0x0800, kPressStart}, {0x0001, kPressFire},  {0x0008, kPressFire},  {0x0004, kPressLeap},
    {0x0010, kPressLeap},  {0x0002, kPressFlare}, {0x0020, kPressFlare},
};
// Coin slots 1 to 4: slots 1 and 3 are on the first player's side. A player's own coin button is
// wired to the slot beside it.
enum { kCoinUpper = 0x2000, kCoinLower = 0x1000, kCoinButton = 0x0400 };
enum { kTestLine = 0x4000, kServiceLine = 0x4000, kTiltLine = 0x8000 };

static void Take(SControls* controls, uint32_t held) {
  controls->pressed = held & ~controls->held;
  controls->held = held;
}

void ReadControls(void) {
  gKernel->ReadPorts(&gPorts);
  for (uint32_t player = 0; player < kPlayers; player++) {
    const uint32_t down = ~gPorts.players[player];
    uint32_t held = 0;
    for (uint32_t i = 0; i < sizeof(kPlayerBits) / sizeof(kPlayerBits[0]); i++) {
      if (down & kPlayerBits[i].mask) held |= kPlayerBits[i].control;
    }
    Take(&gControls[player], held);
  }
  const uint32_t down0 = ~gPorts.players[0];
  const uint32_t down1 = ~gPorts.players[1];
  uint32_t system = 0;
  if (down0 & (kCoinUpper | kCoinButton)) system |= 1;
  if (down1 & (kCoinUpper | kCoinButton)) system |= 2;
  if (down0 & kCoinLower) system |= 4;
  if (down1 & kCoinLower) system |= 8;
  if (down0 & kTestLine) system |= kSystemTest;
  if (down1 & kServiceLine) system |= kSystemService;
  if (down0 & kTiltLine) system |= kSystemTilt;
  Take(&gSystem, system);
}
