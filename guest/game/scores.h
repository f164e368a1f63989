// The table of the best and the book-keeping, kept on the disk in two copies that are written in
// turn: a copy that was being written when the power went is known by its checksum, and the one
// before it counts.
#pragma once

#include <stdbool.h>
#include <stdint.h>

enum { kTableRows = 10, kInitials = 3 };

typedef struct STableRow {
  uint32_t score;
  uint8_t stage;  // reached, from 0
  char initials[kInitials];
} STableRow;

// One sector.
typedef struct STable {
  uint32_t magic;
  uint32_t turn;  // counts writes; the higher copy is the newer one
  STableRow rows[kTableRows];
  uint32_t coins[4];  // by slot
  uint32_t plays;
  uint32_t continues;
  uint32_t playSeconds;
  uint32_t reserved[98];
  uint32_t crc;  // of all before it
} STable;

extern STable gTable;

// Reads both copies and takes the newer good one, or makes a new table.
void LoadTable(void);
// Writes the older copy. A disk error is noted in the game's block.
void SaveTable(void);
// The row that a score would take, kTableRows if none.
uint32_t RankOf(uint32_t score);
// Puts it into its row and answers that.
uint32_t EnterScore(uint32_t score, uint32_t stage, const char* initials);
void ClearTable(void);
void DrawTable(uint16_t* page, uint32_t frames, uint32_t highlighted);
