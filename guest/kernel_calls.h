// What the boot ROM's kernel offers to the program that it loads from the disk, and how that
// program begins. One program serves both board layouts: it reaches the board's registers through
// these.
#pragma once

#include <stdbool.h>
#include <stdint.h>

#include "guest/disk_format.h"
#include "guest/selftest_block.h"

typedef enum EDiskResult {
  kDiskGood,
  kDiskSilent,   // no answer within a second
  kDiskFailed,   // the drive reported an error
  kDiskRange,    // behind the last sector
  kDiskNoLabel,  // the first sector is no label of ours
  kDiskNoFile,
  kDiskDamaged,  // contents that do not fit their checksum
  kDiskResults,
} EDiskResult;

// Controls as the board gives them: a bit reads 0 while its control is held.
typedef struct SPorts {
  uint32_t players[2];
  uint32_t status;
  uint32_t switches;
} SPorts;

typedef struct SKernelCalls {
  uint32_t version;  // kKernelCallsVersion
  volatile SSelfTestBlock* results;

  // Asks the next blank to show page 1 (true) or page 0; while flips are expected, blanks that find
  // no request count as missed.
  void (*RequestFlip)(bool bPage1);
  bool (*IsFlipPending)(void);
  void (*ExpectFlips)(bool bExpected);
  void (*WaitForInterrupt)(void);

  void (*MapPagePair)(uint32_t index, uint32_t page, uint32_t physical0, uint32_t physical1);
  void (*ReadPorts)(SPorts* ports);
  // Queues a command for the sound processor (sound_commands.h); false if there is no room. What it
  // does not take within half a second is forgotten.
  bool (*SendSound)(uint32_t command);
  bool (*SendSoundSetting)(uint32_t setting, uint32_t value);

  // Whole sectors; `memory` lies on a doubleword. The processor waits for the drive.
  EDiskResult (*ReadDisk)(uint32_t sector, uint32_t count, void* memory);
  EDiskResult (*WriteDisk)(uint32_t sector, uint32_t count, const void* memory);
  EDiskResult (*FindFile)(const char* name, SDiskFile* file);
  uint32_t (*DiskSectors)(void);
  const char* (*DescribeDisk)(EDiskResult result);  // in capitals, at most 38 letters
  // CRC-32 as zlib has it, going on from `before`, 0 at first.
  uint32_t (*Crc32)(uint32_t before, const void* data, uint32_t bytes);
} SKernelCalls;

// First words of the program's file, at the address where it runs.
typedef struct SProgramHeader {
  uint32_t magic;    // kProgramMagic
  uint32_t version;  // kKernelCallsVersion
  void (*entry)(const SKernelCalls* calls);
  uint32_t end;  // first address behind all that it uses before it asks for more
} SProgramHeader;
