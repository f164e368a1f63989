// Rows of a stage's file, as stages.py writes them, and what comes in them.
#pragma once

#include <stdint.h>

enum {
  kRowBoss,  // a: which
  kRowBuoy,
  kRowLog,
  kRowDrone,  // a: path, b: place in the formation
  kRowBoat,   // a: frames before it comes
  kRowPike,   // a: to the right (1) or left (255)
  kRowPillar,
  kRowGate,     // a: half its width in sixteenths
  kRowCarrier,  // a: what it holds
  kRowCoin,     // a: height in sixteenths
};
enum { kPathSweep, kPathWave, kPathDive, kPathCircle };

typedef struct SStageRow {
  uint16_t distance;
  uint8_t kind;
  int8_t place;  // sixteenths
  uint8_t a, b;
  uint16_t spare;
} SStageRow;

typedef struct SStageFile {
  uint32_t magic;
  uint32_t rows;
  SStageRow row[];
} SStageFile;
