// How files lie on the cabinet's disk: a label in the first sector, a directory behind it, files
// from whole sectors on. make_disk.py writes it. All numbers are little-endian.
#pragma once

#include <stdint.h>

#include "guest/kernel_version.h"

enum {
  kSectorBytes = 512,
  kDirectorySector = 1,
  kDirectorySectors = 3,
  kFileNameBytes = 20,
};

#define kDiskLabel "OPEN CABINET DISK 2"
#define kProgramFile "GAME.PRG"
#define kProgramBase 0x88100000 /* where a program runs */
#define kProgramLimit 0x88400000

typedef struct SDiskLabel {
  char text[32];
  uint32_t sectorBytes;
  uint32_t sectors;
  uint32_t directorySector;
  uint32_t files;
  uint32_t sectorsPerTrack;
} SDiskLabel;

typedef struct SDiskFile {
  char name[kFileNameBytes];  // filled up with zeros
  uint32_t firstSector;
  uint32_t bytes;
  uint32_t crc;                           // CRC-32 of the contents as the build left them
} __attribute__((aligned(8))) SDiskFile;  // copied as a whole
enum { kDirectoryFiles = kDirectorySectors * kSectorBytes / sizeof(SDiskFile) };
