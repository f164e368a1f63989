// Label, directory and checksums of the disk.
#include "guest/disk.h"

static SDiskFile gDirectory[kDirectoryFiles] __attribute__((aligned(8)));
static uint32_t gFiles;

static bool IsSameText(const char* a, const char* b, uint32_t limit) {
  for (uint32_t i = 0; i < limit; i++) {
    if (a[i] != b[i]) return false;
    if (a[i] == 0) return true;
  }
  return true;
}

EDiskResult OpenDisk(void) {
  static uint64_t sector[kSectorBytes / 8];
  gFiles = 0;
  EDiskResult result = StartDisk();
  if (result == kDiskGood) result = ReadDisk(0, 1, sector);
  if (result != kDiskGood) return result;
  const SDiskLabel* label = (const SDiskLabel*)sector;
  if (!IsSameText(label->text, kDiskLabel, sizeof(label->text)) || label->files > kDirectoryFiles ||
      label->directorySector != kDirectorySector) {
    return kDiskNoLabel;
  }
  result = ReadDisk(kDirectorySector, kDirectorySectors, gDirectory);
  if (result == kDiskGood) gFiles = label->files;
  return result;
}

EDiskResult FindFile(const char* name, SDiskFile* file) {
  for (uint32_t i = 0; i < gFiles; i++) {
    if (!IsSameText(gDirectory[i].name, name, kFileNameBytes)) continue;
    *file = gDirectory[i];
    return kDiskGood;
  }
  return kDiskNoFile;
}

const char* DescribeDisk(EDiskResult result) {
  static const char* const kTexts[kDiskResults] = {
      [kDiskGood] = "ALL IS WELL",
      [kDiskSilent] = "THE DISK DOES NOT ANSWER",
      [kDiskFailed] = "THE DISK REPORTS AN ERROR",
      [kDiskRange] = "A FILE LIES BEHIND THE DISK'S END",
      [kDiskNoLabel] = "THIS IS NO DISK OF THIS CABINET",
      [kDiskNoFile] = "A FILE IS MISSING ON THE DISK",
      [kDiskDamaged] = "A FILE ON THE DISK IS DAMAGED",
  };
  return result < kDiskResults ? kTexts[result] : "";
}

uint32_t Crc32(uint32_t before, const void* data, uint32_t bytes) {
  static uint32_t table[256];
  if (table[1] == 0) {
    for (uint32_t i = 0; i < 256; i++) {
      uint32_t value = i;
      for (uint32_t bit = 0; bit < 8; bit++) value = value >> 1 ^ (value & 1 ? 0xEDB88320u : 0);
      table[i] = value;
    }
  }
  const uint8_t* from = data;
  uint32_t crc = ~before;
  for (uint32_t i = 0; i < bytes; i++) crc = crc >> 8 ^ table[(crc ^ from[i]) & 0xFF];
  return ~crc;
}
