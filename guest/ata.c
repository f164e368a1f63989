// The disk drive: reads and writes whole sectors by cylinder, head and sector. Its interrupt stays
// masked; the line's bit in Cause tells when the drive wants something, and reading the drive's
// status lets the line go.
#include "guest/cop0.h"
#include "guest/disk.h"

#define kTaskFile 0xB0000100u
#define ATA(index) (*(volatile uint16_t*)(uintptr_t)(kTaskFile + 8 * (index)))

enum { kData, kCount = 2, kSector, kCylinderLow, kCylinderHigh, kDriveHead, kCommand, kStatus = 7 };
enum { kError = 0x01, kDataRequest = 0x08, kBusy = 0x80 };
enum { kRead = 0x20, kWrite = 0x30, kSetGeometry = 0x91, kIdentify = 0xEC };
enum { kWords = kSectorBytes / 2, kPatienceCounts = 50 * 1000 * 1000 };
enum { kIdentifyCylinders = 1, kIdentifyHeads = 3, kIdentifySectorsPerTrack = 6 };

static uint32_t gCylinders, gHeads, gSectorsPerTrack;

// Behind a write that sets the drive going Count may stand ahead for a few ops, so that the time
// that has gone by can be below zero.
static bool IsOver(uint32_t begin) { return (int32_t)(ReadCount() - begin) >= kPatienceCounts; }

// Until the drive is no longer busy and, if wanted, asks for data or has failed.
static EDiskResult AwaitDrive(bool bWantsData) {
  const uint32_t begin = ReadCount();
  do {
    const uint32_t status = ATA(kStatus);
    if (status & kBusy) continue;
    if (status & kError) return kDiskFailed;
    if (!bWantsData || (status & kDataRequest)) return kDiskGood;
  } while (!IsOver(begin));
  return kDiskSilent;
}

// Until the drive raises its line.
static EDiskResult AwaitLine(bool bWantsData) {
  const uint32_t begin = ReadCount();
  while (!(ReadCause() & kLineDrive)) {
    if (IsOver(begin)) return kDiskSilent;
  }
  return AwaitDrive(bWantsData);
}

static void TakeWords(uint16_t* target) {
  for (uint32_t i = 0; i < kWords; i++) target[i] = ATA(kData);
}
static void GiveWords(const uint16_t* source) {
  for (uint32_t i = 0; i < kWords; i++) ATA(kData) = source[i];
}

EDiskResult StartDisk(void) {
  static uint16_t identity[kWords];
  gCylinders = 0;
  EDiskResult result = AwaitDrive(false);
  if (result != kDiskGood) return result;
  ATA(kDriveHead) = 0;
  ATA(kCommand) = kIdentify;
  result = AwaitLine(true);
  if (result != kDiskGood) return result;
  TakeWords(identity);
  // Numbers come with their bytes the other way round.
  for (uint32_t i = 0; i < kWords; i++)
    identity[i] = (uint16_t)(identity[i] << 8 | identity[i] >> 8);
  gHeads = identity[kIdentifyHeads];
  gSectorsPerTrack = identity[kIdentifySectorsPerTrack];
  if (gHeads < 1 || gHeads > 16 || gSectorsPerTrack < 1 || gSectorsPerTrack > 255) {
    return kDiskFailed;
  }
  ATA(kCount) = (uint16_t)gSectorsPerTrack;
  ATA(kDriveHead) = (uint16_t)(gHeads - 1);
  ATA(kCommand) = kSetGeometry;
  result = AwaitLine(false);
  if (result == kDiskGood) gCylinders = identity[kIdentifyCylinders];
  return result;
}

uint32_t DiskSectors(void) { return gCylinders * gHeads * gSectorsPerTrack; }

// Sends a command for up to 256 sectors.
static void Command(uint32_t command, uint32_t sector, uint32_t count) {
  const uint32_t track = sector / gSectorsPerTrack;
  const uint32_t cylinder = track / gHeads;
  ATA(kCount) = (uint16_t)(count & 0xFF);
  ATA(kSector) = (uint16_t)(sector % gSectorsPerTrack + 1);
  ATA(kCylinderLow) = (uint16_t)(cylinder & 0xFF);
  ATA(kCylinderHigh) = (uint16_t)(cylinder >> 8);
  ATA(kDriveHead) = (uint16_t)(track % gHeads);
  ATA(kCommand) = (uint16_t)command;
}

static EDiskResult Begin(uint32_t sector, uint32_t count) {
  if (sector >= DiskSectors() || count > DiskSectors() - sector) return kDiskRange;
  return AwaitDrive(false);
}

EDiskResult ReadDisk(uint32_t sector, uint32_t count, void* memory) {
  uint16_t* target = memory;
  EDiskResult result = Begin(sector, count);
  while (result == kDiskGood && count > 0) {
    const uint32_t piece = count < 256 ? count : 256;
    Command(kRead, sector, piece);
    for (uint32_t i = 0; i < piece; i++, target += kWords) {
      result = AwaitLine(true);
      if (result != kDiskGood) return result;
      TakeWords(target);
    }
    sector += piece;
    count -= piece;
  }
  return result;
}

EDiskResult WriteDisk(uint32_t sector, uint32_t count, const void* memory) {
  const uint16_t* source = memory;
  EDiskResult result = Begin(sector, count);
  while (result == kDiskGood && count > 0) {
    const uint32_t piece = count < 256 ? count : 256;
    Command(kWrite, sector, piece);
    for (uint32_t i = 0; i < piece; i++, source += kWords) {
      result = AwaitDrive(true);
      if (result != kDiskGood) return result;
      GiveWords(source);
      // The line comes when the sector is on the disk.
      result = AwaitLine(false);
      if (result != kDiskGood) return result;
    }
    sector += piece;
    count -= piece;
  }
  return result;
}
