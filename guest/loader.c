// Loads the program from the disk, checks it and goes there; tells on the screen what is wrong if
// it cannot, and tries again when start or the test switch is pressed.
#include "guest/cop0.h"
#include "guest/disk.h"
#include "guest/draw.h"
#include "guest/kernel.h"
#include "guest/panel.h"

#include BOARD_HEADER

enum { kStripLine = 224, kMessageLine = 96 };

static void ReadPorts(SPorts* ports) {
  ports->players[0] = *(volatile const uint32_t*)kInputPort0Address;
  ports->players[1] = *(volatile const uint32_t*)kInputPort1Address;
  ports->status = *(volatile const uint32_t*)kBoardStatusAddress;
  ports->switches = *(volatile const uint32_t*)kDipPortAddress;
}

static const SKernelCalls kCalls = {
    .version = kKernelCallsVersion,
    .results = kResults,
    .RequestFlip = RequestFlip,
    .IsFlipPending = IsFlipPending,
    .ExpectFlips = ExpectFlips,
    .WaitForInterrupt = WaitForInterrupt,
    .MapPagePair = MapPagePair,
    .ReadPorts = ReadPorts,
    .SendSound = SendSound,
    .SendSoundSetting = SendSoundSetting,
    .ReadDisk = ReadDisk,
    .WriteDisk = WriteDisk,
    .FindFile = FindFile,
    .DiskSectors = DiskSectors,
    .DescribeDisk = DescribeDisk,
    .Crc32 = Crc32,
};

static void ShowStrip(const char* text) {
  FillRectangle(kPage0, 0, kStripLine, kWidth, 8, kInkPaper);
  DrawText(kPage0, (kWidth - TextWidth(text)) / 2, kStripLine, text, kInkDim);
}

static EDiskResult LoadProgram(void) {
  enum { kPieceSectors = 32 };
  SDiskFile file;
  ShowStrip("LOOKING FOR THE DISK");
  EDiskResult result = OpenDisk();
  if (result == kDiskGood) result = FindFile(kProgramFile, &file);
  if (result != kDiskGood) return result;
  if (file.bytes < sizeof(SProgramHeader) || file.bytes > kProgramLimit - kProgramBase) {
    return kDiskDamaged;
  }
  ShowStrip("LOADING");
  uint8_t* target = (uint8_t*)kProgramBase;
  const uint32_t sectors = (file.bytes + kSectorBytes - 1) / kSectorBytes;
  for (uint32_t at = 0; at < sectors; at += kPieceSectors) {
    const uint32_t piece = sectors - at < kPieceSectors ? sectors - at : kPieceSectors;
    result = ReadDisk(file.firstSector + at, piece, target + at * kSectorBytes);
    if (result != kDiskGood) return result;
    DrawProgressBar(kPage0, at + piece, sectors);
  }
  const SProgramHeader* header = (const SProgramHeader*)target;
  if (Crc32(0, target, file.bytes) != file.crc || header->magic != kProgramMagic ||
      header->version != kKernelCallsVersion) {
    return kDiskDamaged;
  }
  return kDiskGood;
}

static void DrawCentered(int32_t y, const char* text, uint16_t color) {
  DrawText(kPage0, (kWidth - TextWidth(text)) / 2, y, text, color);
}

static void ShowTrouble(EDiskResult result) {
  DrawPanelBackground(kPage0);
  DrawPanelHeading(kPage0, "DISK TROUBLE");
  DrawCentered(kMessageLine, DescribeDisk(result), kInkBad);
  DrawCentered(kMessageLine + 28, "THE GAME IS ON THE CABINET'S DISK AND", kInkText);
  DrawCentered(kMessageLine + 40, "CANNOT BE STARTED. CALL THE ATTENDANT.", kInkText);
  DrawCentered(kMessageLine + 68, "START OR TEST: TRY AGAIN", kInkTitle);
  ShowPage(false);
}

static void AwaitStart(void) {
  enum { kStart = 0x0800, kTest = 0x4000 };
  for (bool bWasFree = false;;) {
    SPorts ports;
    WaitBlanks(1);
    ReadPorts(&ports);
    const bool bFree = (ports.players[0] & ports.players[1] & kStart) && (ports.players[0] & kTest);
    if (bWasFree && !bFree) return;
    bWasFree = bWasFree || bFree;
  }
}

void RunProgram(void) {
  for (;;) {
    const EDiskResult result = LoadProgram();
    kResults->diskResult = result;
    if (result == kDiskGood) break;
    kResults->state = kSelfTestDiskTrouble;
    ShowTrouble(result);
    AwaitStart();
  }
  ((const SProgramHeader*)kProgramBase)->entry(&kCalls);
}
