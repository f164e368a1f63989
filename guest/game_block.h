/* The block in which the game tells tests and tools how it stands. Plain C, little-endian; the game
 * writes it once a frame, so a reader looks at it between frames. */
#pragma once

/* Guest physical address, also the offset in the guest memory image. */
#define kGameBlockPhysical 0x1400
#define kGameMagic 0x454B4157 /* the bytes "WAKE" */
#define kGameBlockVersion 1

#ifndef __ASSEMBLER__

#include <stdint.h>

/* What the game is doing. */
enum {
  kStateLoading = 1,
  kStateNotice,   /* attract: the notice about what the game shows */
  kStateTitle,    /* attract: the title over the lake */
  kStateHowTo,    /* attract: controls and what to look out for */
  kStateDemo,     /* attract: the game plays by itself */
  kStateScores,   /* attract: the table */
  kStatePlay,     /* a game is on, stage and boss */
  kStateTally,    /* between two stages */
  kStateContinue, /* all are out, the count down to the game's end runs */
  kStateGameOver,
  kStateInitials, /* a player enters letters for the table */
  kStateTest,     /* the test menu */
};

/* Where the score table came from at the start. */
enum { kTableMadeNew = 0, kTableFromA = 1, kTableFromB = 2 };

enum { kGameTableRows = 10 };
typedef struct SGameTableRow {
  uint32_t score;
  char initials[4]; /* three, and a zero */
} SGameTableRow;

typedef struct SGameBlock {
  uint32_t magic;         /*   0 kGameMagic once the game has loaded its files */
  uint32_t version;       /*   4 kGameBlockVersion */
  uint32_t state;         /*   8 kStateLoading and so on */
  uint32_t stateFrames;   /*  12 frames since the state began */
  uint32_t frames;        /*  16 frames since the game began */
  uint32_t credits[2];    /*  20 one pool: both are the same */
  uint32_t coins;         /*  28 coins taken since power-on */
  uint32_t stage;         /*  32 0 to 3, going on behind the last one */
  uint32_t distance;      /*  36 units travelled in the stage */
  uint32_t bossHealth;    /*  40 0 while there is none */
  uint32_t joined[2];     /*  44 1 while a player is in the game */
  uint32_t lives[2];      /*  52 */
  uint32_t score[2];      /*  60 */
  uint32_t multiplier[2]; /*  68 */
  uint32_t things;        /*  76 how many of them are on the lake */
  uint32_t letters;       /*  80 letters entered so far */
  uint32_t testPage;      /*  84 page of the test menu, 0 for the menu itself */
  uint32_t testResult;    /*  88 of the page's last test: 0 running or none, 1 good, 2 bad */
  uint32_t tableSource;   /*  92 kTableMadeNew and so on */
  uint32_t tableWrites;   /*  96 times that the table went to the disk since power-on */
  uint32_t diskError;     /* 100 the last one of a score file, as EDiskResult has it, else 0 */
  uint32_t soundCommand;  /* 104 the last command handed over */
  uint32_t soundCommands; /* 108 how many */
  uint32_t playedFrames;  /* 112 frames of play since power-on */
  uint32_t missedInPlay;  /* 116 of those, how many were missed */
  SGameTableRow table[kGameTableRows]; /* 120 the table as it stands */
} SGameBlock;

#endif
