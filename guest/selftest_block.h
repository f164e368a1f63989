/* The result block that the open cabinet leaves in low RAM, for tests on the host and for tools to
 * read. Plain C, no addresses inside; all fields little-endian as the guest stores them. The guest
 * writes it while it runs, so a reader looks at it between frames. */
#pragma once

/* Guest physical address of the block; low RAM begins the guest memory image, so this is also its
 * offset there. */
#define kSelfTestBlockPhysical 0x1000
#define kSelfTestMagic 0x4C424143 /* the bytes "CABL" */
#define kSelfTestVersion 3

/* States of the block. */
#define kSelfTestRunning 1    /* the power-on tests are running or their result is held on screen */
#define kSelfTestAttract 2    /* the tests are over and the program from the disk runs */
#define kSelfTestEarlyFault 3 /* an exception came before the kernel had its own vector */
#define kSelfTestDiskTrouble 4 /* the program cannot be loaded; diskResult tells why */

#ifndef __ASSEMBLER__

#include <stdint.h>

/* Groups of checks; the high byte of a test id. The low byte counts the checks of a group from 1.
 */
enum {
  kGroupRom = 1,       /* checksum of the ROM image, and the running copy against the ROM */
  kGroupRam = 2,       /* patterns in main RAM, low RAM and the frame pages */
  kGroupAlu = 3,       /* register arithmetic, shifts, multiply and divide */
  kGroupMemory = 4,    /* loads and stores of all widths, unaligned forms, open bus */
  kGroupFlow = 5,      /* branches, jumps, delay slots */
  kGroupException = 6, /* syscall, break, software interrupt */
  kGroupSystem = 7,    /* system registers, Count and Compare */
  kGroupTlb = 8,       /* mapped pages */
  kGroupBoard = 9,     /* vertical blank and timer interrupts, board registers */
  kGroupFloat = 10,    /* floating point: arithmetic, conversions, compares, moves */
  kGroupSound = 11,    /* the sound program takes commands */
  kGroupCount = 12,
};

typedef struct SSelfTestGroup {
  uint16_t run;
  uint16_t passed;
} SSelfTestGroup;

typedef struct SSelfTestBlock {
  uint32_t magic;             /*   0 kSelfTestMagic once the kernel runs */
  uint32_t version;           /*   4 kSelfTestVersion */
  uint32_t state;             /*   8 kSelfTestRunning and so on */
  uint32_t boardLayout;       /*  12 'A' or 'B' */
  uint32_t testsRun;          /*  16 over all groups */
  uint32_t testsPassed;       /*  20 equal to testsRun on a good board */
  uint32_t firstFailedTest;   /*  24 group in bits 15..8, check in bits 7..0; 0 for none */
  uint32_t romBytes;          /*  28 size of the ROM image */
  uint64_t firstFailedGot;    /*  32 */
  uint64_t firstFailedWanted; /*  40 */
  uint64_t romChecksum;       /*  48 as computed */
  uint64_t romChecksumStored; /*  56 as the build left it in the ROM */
  uint32_t ramBytesTested;    /*  64 */
  uint32_t selfTestCounts;    /*  68 length of the tests in steps of Count, kGroupSystem left out */
  uint32_t blankCount;        /*  72 vertical blank interrupts taken */
  uint32_t timerTicks;        /*  76 Compare interrupts taken */
  uint32_t frameCount;        /*  80 frames of the program that were shown */
  uint32_t missedFrames;      /*  84 blanks of the program that found no finished frame */
  uint32_t drawCyclesLast;    /*  88 cycles from a frame's begin to its flip request */
  uint32_t drawCyclesMax;     /*  92 worst of those */
  uint32_t framePeriodCycles; /*  96 cycles between the last two blanks */
  uint32_t pageRemaps;        /* 100 TLB writes of the program */
  uint32_t faultCause;        /* 104 Cause of an exception that nothing expected, else 0 */
  uint32_t faultEpc;          /* 108 its EPC */
  SSelfTestGroup groups[kGroupCount]; /* 112 by group number; entry 0 is not used */
  uint32_t diskResult; /* 160 0 once the program is loaded, else EDiskResult of kernel_calls.h */
} SSelfTestBlock;

#endif
