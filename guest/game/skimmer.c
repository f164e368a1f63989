// The skimmer of the attract scene: circles round the title, behind it over the hills and before it
// over the lake.
#include "guest/game/attract.h"

enum { kTurn = 1024, kCircle = 3 };  // steps of the circle a frame

static uint32_t Place(SPose* pose, uint32_t moment) {
  const uint32_t at = moment * kCircle & (kTurn - 1);
  const float s = SineFloat(at), c = SineFloat(at + kTurn / 4);
  const float wave = SineFloat(at * 2 + 100);
  // Round to the left behind, to the right in front, low where it is near.
  pose->place = (SVector){-2.9f * s - 0.2f, 0.95f + 0.65f * c + 0.2f * wave, 7.25f + 3.0f * c};
  const uint32_t heading = 3 * kTurn / 4 - at;
  const uint32_t pitch = (uint32_t)(-(Sine(at) * 30 + Sine(at * 2 + 356) * 26) >> 12);
  // Leans into the curve, and rolls over once on its way past.
  const uint32_t past = at - 320 < 384 ? at - 320 : 0;
  const uint32_t spin = past * kTurn / 384 - (uint32_t)(Sine(past * kTurn / 384) * 90 >> 12);
  const uint32_t roll = spin - 70 - (uint32_t)(Sine(at * 2) * 40 >> 12);
  TurnPose(pose, heading, pitch, roll);
  return c > 0.0f;
}

void DrawSkimmer(uint16_t* page, const SDaylight* day, uint32_t moment, uint32_t bBehindTitle) {
  SPose pose;
  if (Place(&pose, moment) != bBehindTitle) return;
  const SView view = {.focal = 240.0f,
                      .centerX = kWidth / 2,
                      .horizon = kHorizon,
                      .hazeFar = 45.0f,
                      .sun = {-0.48f, 0.70f, -0.53f},
                      .shade = day->ridge,
                      .glow = day->glow,
                      .haze = day->haze};
  DrawModel(page, &view, gModels[kModelSkimmer1], &pose);
}
