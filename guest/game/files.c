// Takes the game's files from the disk into the memory behind the program.
#include "guest/game/game.h"
#include "guest/panel.h"

extern uint8_t ProgramEnd[];
enum { kPageBytes = 4096, kMemoryEnd = 0x88800000 };

const SModel* gModels[kModels];
const uint16_t* gSprites[kSprites];
uint32_t gSpriteFrames[kSprites];
const uint16_t* gCoins;
const uint32_t* gStages[kStages];

static uint32_t gFree;  // first address not in use

static const char* const kModelNames[kModels] = {
    "SKIMMER1", "SKIMMER2", "BUOY",    "LOG",   "DRONE", "BOAT",    "PIKE",
    "PILLAR",   "POST",     "CARRIER", "HERON", "WING",  "DREDGER", "TURRET",
    "HEAD",     "RING",     "FERRY",   "CORE",  "GEM"};
static const char* const kSpriteNames[kSprites] = {"BLAST1", "BLAST2", "SPLASH",
                                                   "ORB",    "SHORE",  "BADGES"};

static void StayInTrouble(const char* name, EDiskResult result) {
  uint16_t* page = FirstPage();
  DrawPanelBackground(page);
  DrawPanelHeading(page, "DISK TROUBLE");
  DrawCenteredText(page, 96, gKernel->DescribeDisk(result), kInkBad);
  DrawCenteredText(page, 112, name, kInkText);
  DrawCenteredText(page, 150, "CALL THE ATTENDANT", kInkTitle);
  gKernel->results->state = kSelfTestDiskTrouble;
  gKernel->results->diskResult = result;
  FinishFrame();
  BeginPause();
  for (;;) gKernel->WaitForInterrupt();
}

static const void* LoadFile(const char* stem, const char* end, uint32_t* bytes) {
  char name[kFileNameBytes];
  SDiskFile file;
  AppendText(AppendText(name, stem), end);
  EDiskResult result = gKernel->FindFile(name, &file);
  gFree = (gFree + kPageBytes - 1) & ~(uint32_t)(kPageBytes - 1);
  uint8_t* memory = (uint8_t*)(uintptr_t)gFree;
  if (result == kDiskGood && file.bytes > kMemoryEnd - gFree - kSectorBytes) result = kDiskDamaged;
  if (result == kDiskGood) {
    result =
        gKernel->ReadDisk(file.firstSector, (file.bytes + kSectorBytes - 1) / kSectorBytes, memory);
  }
  if (result == kDiskGood && gKernel->Crc32(0, memory, file.bytes) != file.crc)
    result = kDiskDamaged;
  if (result != kDiskGood) StayInTrouble(name, result);
  gFree += file.bytes;
  *bytes = file.bytes;
  return memory;
}

// A model's counts fit the tables that it is drawn with, and its file.
static bool IsModel(const SModel* model, uint32_t bytes) {
  return bytes >= sizeof(SModel) && model->cornerCount <= kMaxCorners &&
         model->faceCount <= kMaxFaces &&
         bytes == sizeof(SModel) + model->cornerCount * sizeof(SVector) +
                      model->faceCount * sizeof(SFace);
}

void LoadFiles(void) {
  enum { kPictureBytes = kSpriteSize * kSpriteSize * 2, kHeadBytes = 8 };
  uint32_t bytes;
  gFree = (uint32_t)(uintptr_t)ProgramEnd;
  for (uint32_t i = 0; i < kModels; i++) {
    gModels[i] = LoadFile(kModelNames[i], ".MDL", &bytes);
    if (!IsModel(gModels[i], bytes)) StayInTrouble(kModelNames[i], kDiskDamaged);
  }
  for (uint32_t i = 0; i < kSprites; i++) {
    const uint32_t* file = LoadFile(kSpriteNames[i], ".SPR", &bytes);
    gSpriteFrames[i] = file[1];
    if (bytes != kHeadBytes + file[1] * kPictureBytes) StayInTrouble(kSpriteNames[i], kDiskDamaged);
    gSprites[i] = (const uint16_t*)(file + 2);
  }
  gCoins = LoadFile("COINS", ".SPR", &bytes);
  for (uint32_t i = 0; i < kStages; i++) {
    char name[] = "STAGE1";
    name[5] = (char)('1' + i);
    gStages[i] = LoadFile(name, ".DAT", &bytes);
    if (bytes != kHeadBytes + gStages[i][1] * 8) StayInTrouble(name, kDiskDamaged);
  }
}

void FreeMemory(uint32_t* begin, uint32_t* end) {
  *begin = (gFree + 0xFFFF) & ~0xFFFFu;
  *end = kMemoryEnd;
}

uint32_t VerifiedFiles(void) { return kModels + kSprites + kStages + 3; }

// Reads a file into free memory and holds it against its checksum.
EDiskResult VerifyFile(uint32_t index, const char** name) {
  static char text[kFileNameBytes];
  static const char* const kOthers[] = {"COINS.SPR", "GAME.PRG", "NOISE.DAT"};
  SDiskFile file;
  uint32_t begin, end;
  *name = text;
  FreeMemory(&begin, &end);
  if (index < kModels) {
    AppendText(AppendText(text, kModelNames[index]), ".MDL");
  } else if (index < kModels + kSprites) {
    AppendText(AppendText(text, kSpriteNames[index - kModels]), ".SPR");
  } else if (index < kModels + kSprites + kStages) {
    AppendText(text, "STAGE1.DAT");
    text[5] = (char)('1' + index - kModels - kSprites);
  } else {
    AppendText(text, kOthers[index - kModels - kSprites - kStages]);
  }
  EDiskResult result = gKernel->FindFile(text, &file);
  if (result == kDiskGood && file.bytes > end - begin - kSectorBytes) result = kDiskDamaged;
  void* memory = (void*)(uintptr_t)begin;
  if (result == kDiskGood) {
    result =
        gKernel->ReadDisk(file.firstSector, (file.bytes + kSectorBytes - 1) / kSectorBytes, memory);
  }
  if (result == kDiskGood && gKernel->Crc32(0, memory, file.bytes) != file.crc)
    result = kDiskDamaged;
  return result;
}
