// The first checks: the ROM against its checksum, the running copy against the ROM, and patterns in
// all RAM that holds nothing yet.
#include "guest/kernel.h"

typedef struct SRomHeader {
  uint32_t magic;
  uint32_t kernelBytes;
  uint32_t imageBytes;
  uint32_t reserved;
} SRomHeader;

static uint64_t* At(uint32_t address) { return (uint64_t*)(uintptr_t)address; }

void TestRom(void) {
  BeginGroup(kGroupRom);
  const SRomHeader* header = (const SRomHeader*)At(kRomBase + kRomHeaderOffset);
  Check(header->magic, kRomMagic);
  const uint32_t imageBytes = header->imageBytes;
  CheckTrue(imageBytes >= 8192 && imageBytes <= 0x80000);
  if (imageBytes > 0x80000) return;

  // Two running sums over all doublewords but the last, which holds the wanted result.
  const uint64_t* rom = At(kRomBase);
  const uint32_t last = imageBytes / 8 - 1;
  uint64_t sum = 0;
  uint64_t order = 0;
  for (uint32_t i = 0; i < last; i++) {
    sum += rom[i];
    order += sum;
  }
  const uint64_t checksum = sum ^ order;
  kResults->romBytes = imageBytes;
  kResults->romChecksum = checksum;
  kResults->romChecksumStored = rom[last];
  Check(checksum, rom[last]);

  const uint64_t* copy = At(kKernelBase);
  const uint64_t* origin = At(kRomBase + kRomKernelOffset);
  const uint32_t words = ((uint32_t)(uintptr_t)KernelReadOnlyEnd - kKernelBase) / 8;
  uint64_t difference = 0;
  for (uint32_t i = 0; i < words; i++) difference |= copy[i] ^ origin[i];
  Check(difference, 0);
}

// --- RAM ---

// Every doubleword gets a value of its own, so that a stuck address line shows as well as a stuck
// bit.
#define kPatternStep 0x9E3779B97F4A7C15ull

typedef struct SRegion {
  uint32_t begin;
  uint32_t end;  // both multiples of 64
} SRegion;

typedef struct SRamPass {
  void (*progress)(uint32_t kibDone);
  uint32_t bytesDone;  // over all passes
  uint32_t nextReport;
} SRamPass;

enum { kPasses = 3, kReportBytes = 0x40000 * kPasses };

static void Advance(SRamPass* pass, uint32_t bytes) {
  pass->bytesDone += bytes;
  if (pass->bytesDone < pass->nextReport) return;
  pass->nextReport += kReportBytes;
  pass->progress(pass->bytesDone / kPasses / 1024);
}

static void FillPattern(volatile uint64_t* at, const volatile uint64_t* end, uint64_t value) {
  for (; at < end; at += 4) {
    at[0] = value;
    at[1] = value += kPatternStep;
    at[2] = value += kPatternStep;
    at[3] = value += kPatternStep;
    value += kPatternStep;
  }
}

// Answers all bits that were wrong, and leaves the inverse of the pattern, or zeros.
static uint64_t CheckPattern(volatile uint64_t* at, const volatile uint64_t* end, uint64_t value,
                             uint64_t inverse, uint64_t keep) {
  uint64_t wrong = 0;
  for (; at < end; at += 2) {
    const uint64_t first = value ^ inverse;
    const uint64_t second = (value + kPatternStep) ^ inverse;
    wrong |= (at[0] ^ first) | (at[1] ^ second);
    at[0] = ~first & keep;
    at[1] = ~second & keep;
    value += 2 * kPatternStep;
  }
  return wrong;
}

static uint64_t TestRegion(const SRegion* region, uint32_t pass, SRamPass* state) {
  enum { kPiece = 0x8000 };
  uint64_t wrong = 0;
  for (uint32_t begin = region->begin; begin < region->end; begin += kPiece) {
    const uint32_t end = begin + kPiece < region->end ? begin + kPiece : region->end;
    const uint64_t value = (begin / 8) * kPatternStep;
    if (pass == 0) FillPattern(At(begin), At(end), value);
    if (pass == 1) wrong |= CheckPattern(At(begin), At(end), value, 0, ~0ull);
    if (pass == 2) wrong |= CheckPattern(At(begin), At(end), value, ~0ull, 0);
    Advance(state, end - begin);
  }
  return wrong;
}

// The shown page keeps its picture.
static uint64_t TestShownPage(void) {
  volatile uint64_t* at = (volatile uint64_t*)kPage0;
  uint64_t wrong = 0;
  for (uint32_t i = 0; i < kPageBytes / 8; i++) {
    const uint64_t kept = at[i];
    at[i] = ~kept;
    wrong |= ~(at[i] ^ kept);
    at[i] = kept;
    wrong |= at[i] ^ kept;
  }
  return wrong;
}

void TestRam(void (*progress)(uint32_t kibDone)) {
  const uint32_t kernelEnd = ((uint32_t)(uintptr_t)KernelEnd + 0xFFF) & ~0xFFFu;
  const SRegion regions[] = {
      {kernelEnd, kMainRamEnd},  // main RAM behind the kernel
      {0x80002000, 0x80030000},  // low RAM between the result block and the first page
      {0x80055800, 0x8007D800},  // behind the first page to the end of the second
  };
  enum { kRegions = sizeof(regions) / sizeof(regions[0]) };
  BeginGroup(kGroupRam);
  SRamPass state = {progress, 0, kReportBytes};
  uint64_t wrong[kRegions] = {0};
  for (uint32_t pass = 0; pass < kPasses; pass++) {
    for (uint32_t i = 0; i < kRegions; i++) wrong[i] |= TestRegion(&regions[i], pass, &state);
  }
  for (uint32_t i = 0; i < kRegions; i++) Check(wrong[i], 0);
  // Between two blanks, so that no frame shows the page while its bits are turned over.
  WaitBlanks(1);
  Check(TestShownPage(), 0);
  kResults->ramBytesTested = state.bytesDone / kPasses + kPageBytes;
  progress(kResults->ramBytesTested / 1024);
}
