// System registers, Count and Compare, mapped pages, and the board's interrupts.
#include "guest/cop0.h"
#include "guest/kernel.h"
#include "guest/sound_commands.h"

#include BOARD_HEADER

extern uint32_t Op_count_spin(uint64_t turns);
extern uint64_t Op_mfc0_count(void), Op_dmfc0_count(void);

static uint64_t SignExtend(uint32_t value) { return (uint64_t)(int64_t)(int32_t)value; }

// Polls until a Cause line is up, at most about `limitCounts` steps of Count.
static bool AwaitLine(uint32_t line, uint32_t limitCounts) {
  const uint32_t begin = ReadCount();
  while (ReadCount() - begin < limitCounts) {
    if (ReadCause() & line) return true;
  }
  return false;
}

static void TestCount(void) {
  WriteCount(0);
  CheckTrue(ReadCount() < 1000);
  WriteCount(SignExtend(0xFFFF0000));
  CheckTrue(ReadCount() - 0xFFFF0000 < 1000);
  CheckTrue((Op_mfc0_count() >> 32) == 0xFFFFFFFF);
  CheckTrue((Op_dmfc0_count() >> 32) == 0);

  // Three cycles a turn, two cycles a step, and each look at Count itself costs up to 64 cycles
  // more.
  WriteCount(0);
  const uint32_t steps = Op_count_spin(10000);
  CheckTrue(steps >= 15000 && steps < 15000 + 200);
}

static void TestCompare(void) {
  WriteCount(0);
  WriteCompare(2000);
  Check(ReadCompare(), 2000);
  Check(ReadCause() & kLineTimer, 0);
  CheckTrue(AwaitLine(kLineTimer, 20000));
  const uint32_t now = ReadCount();
  CheckTrue(now >= 2000 && now < 4000);
  // The line stays up until Compare is written again.
  Check(ReadCause() & kLineTimer, kLineTimer);
  WriteCompare(SignExtend(0xFFFFFFFF));
  Check(ReadCause() & kLineTimer, 0);
  CheckTrue(!AwaitLine(kLineTimer, 5000));
}

static void TestRegisters(void) {
  Check(ReadPrid(), 0x2000);
  WritePrid(0x1234);
  Check(ReadPrid(), 0x2000);
  Check(ReadConfig(), 0x264B0);
  WriteConfig(SignExtend(0xFFFFFFFF));
  Check(ReadConfig(), 0x264B7);
  WriteConfig(0);
  Check(ReadConfig(), 0x264B0);

  WriteWired(0);
  bool bInRange = true;
  for (uint32_t i = 0; i < 50; i++) bInRange = bInRange && ReadRandom() == 47;
  CheckTrue(bInRange);
  WriteWired(48);
  for (uint32_t i = 0; i < 50; i++) bInRange = bInRange && ReadRandom() < 32;
  CheckTrue(bInRange);
  WriteWired(0);

  WriteEntryHi(0x123456000ull << 13);
  Check(ReadEntryHiWhole(), 0x123456000ull << 13);
  Check(ReadEntryHi(), (uint32_t)(0x123456000ull << 13));
  WriteEntryHi(0);
}

void TestSystem(void) {
  BeginGroup(kGroupSystem);
  StopInterrupts();
  TestCount();
  TestCompare();
  TestRegisters();
  StartInterrupts();
}

enum {
  kLoGlobal = 1,
  kLoValid = 2,
  kLoDirty = 4,
  kTestEntry = 40,
  kUserPage = 0x00500,
  kHighPage = 0xC0100,
  kWidePage = 0xC0200,
};

// Three pages of RAM behind the mappings.
static volatile uint64_t gFrames[3][512] __attribute__((aligned(4096), section(".bss.pages")));

static volatile uint64_t* Virtual(uint32_t page) {
  return (volatile uint64_t*)(uintptr_t)(page << 12);
}

static void WriteEntry(uint32_t page, uint32_t space, uint32_t mask, const volatile void* frame0,
                       uint32_t flags0, const volatile void* frame1, uint32_t flags1) {
  WriteIndex(kTestEntry);
  WritePageMask(mask);
  WriteEntryHi((uint64_t)page << 13 | space);
  WriteEntryLo0((PhysicalOf((const void*)frame0) >> 12) << 6 | flags0);
  WriteEntryLo1((PhysicalOf((const void*)frame1) >> 12) << 6 | flags1);
  WriteTlbIndexed();
}

static void TestUserPages(void) {
  volatile uint64_t* user = Virtual(kUserPage);
  const uint32_t all = kLoGlobal | kLoValid | kLoDirty;

  Check(user[0], 0);
  WriteEntry(kUserPage, 0, 0, gFrames[0], all, gFrames[1], all);
  Check(user[0], 0x1111111111111111);
  Check(user[511], 0xAAAAAAAAAAAAAAAA);
  Check(user[512], 0x2222222222222222);
  user[3] = 0x0123456789ABCDEF;
  Check(gFrames[0][3], 0x0123456789ABCDEF);
  user[512 + 5] = 0xFEDCBA9876543210;
  Check(gFrames[1][5], 0xFEDCBA9876543210);

  // Both halves can show the same memory, and a later entry moves the window.
  WriteEntry(kUserPage, 0, 0, gFrames[2], all, gFrames[2], all);
  user[7] = 77;
  Check(user[512 + 7], 77);
  Check(user[0], 0x3333333333333333);

  // User pages can be written whatever the D bit says.
  WriteEntry(kUserPage, 0, 0, gFrames[2], kLoGlobal | kLoValid, gFrames[1], kLoGlobal | kLoValid);
  user[8] = 88;
  Check(gFrames[2][8], 88);

  // A half without V reads 0 and drops writes; the other half goes on.
  WriteEntry(kUserPage, 0, 0, gFrames[2], kLoGlobal, gFrames[1], all);
  CheckTrue(user[512] == 0x2222222222222222);
}

static void TestHighPages(void) {
  volatile uint64_t* high = Virtual(kHighPage);
  const uint32_t readOnly = kLoGlobal | kLoValid;
  const uint32_t all = readOnly | kLoDirty;

  WriteEntry(kHighPage, 0, 0, gFrames[0], readOnly, gFrames[1], all);
  Check(high[0], 0x1111111111111111);
  high[9] = 99;
  Check(gFrames[0][9], 0x9999999999999999);
  high[512 + 9] = 99;
  Check(gFrames[1][9], 99);

  // A page mask of 3 makes each half four pages long; the second half begins behind them.
  volatile uint64_t* wide = Virtual(kWidePage);
  WriteEntry(kWidePage, 0, 0x6000, gFrames[0], all, gFrames[2], all);
  Check(wide[512], gFrames[1][0]);
  Check(wide[4 * 512], gFrames[2][0]);
  Check(high[0], 0);
}

static void TestSpaces(void) {
  volatile uint64_t* user = Virtual(kUserPage);
  const uint32_t valid = kLoValid | kLoDirty;

  WriteEntry(kUserPage, 5, 0, gFrames[0], valid, gFrames[1], valid);
  Check(user[0], 0x1111111111111111);
  WriteEntryHi(6);
  Check(user[0], 0);
  user[0] = 1;
  Check(gFrames[0][0], 0x1111111111111111);
  WriteEntryHi(5);
  Check(user[0], 0x1111111111111111);

  // Global pages stay where they are in every space.
  WriteEntry(kUserPage, 5, 0, gFrames[0], valid | kLoGlobal, gFrames[1], valid | kLoGlobal);
  WriteEntryHi(9);
  Check(user[0], 0x1111111111111111);

  // An index beyond the last entry writes nothing.
  WriteIndex(48);
  WriteEntryLo0(0);
  WriteEntryLo1(0);
  WriteTlbIndexed();
  Check(user[0], 0x1111111111111111);

  WriteEntry(kUserPage, 0, 0, gFrames[0], kLoGlobal, gFrames[1], kLoGlobal);
  WriteEntryHi(0);
  Check(user[512], 0);
}

void TestTlb(void) {
  BeginGroup(kGroupTlb);
  for (uint32_t i = 0; i < 512; i++) {
    gFrames[0][i] = 0x1111111111111111;
    gFrames[1][i] = 0x2222222222222222;
    gFrames[2][i] = 0x3333333333333333;
  }
  gFrames[0][511] = 0xAAAAAAAAAAAAAAAA;
  gFrames[0][9] = 0x9999999999999999;
  TestUserPages();
  TestHighPages();
  TestSpaces();
}

// Needs the interrupts running.
void TestBoard(void) {
  BeginGroup(kGroupBoard);
  const uint32_t ticks = kResults->timerTicks;
  const uint32_t blanks = kResults->blankCount;
  WaitBlanks(2);
  Check(kResults->blankCount - blanks, 2);
  CheckTrue(kResults->timerTicks != ticks);

  // The line is up while the blank lasts and goes down by itself.
  WaitBlanks(1);
  Check(ReadCause() & kLineBlank, kLineBlank);
  const uint32_t begin = ReadCount();
  bool bDown = false;
  while (!bDown && ReadCount() - begin < 1000000) bDown = (ReadCause() & kLineBlank) == 0;
  CheckTrue(bDown);

  // Without a hand on the controls and without a sound command waiting these bits read 1.
  volatile const uint32_t* const ports[] = {(volatile const uint32_t*)kInputPort0Address,
                                            (volatile const uint32_t*)kInputPort1Address,
                                            (volatile const uint32_t*)kBoardStatusAddress};
  Check(ports[0][0] >> 31, 1);
  Check(ports[1][0] >> 31, 1);
  Check(*(volatile const uint8_t*)ports[2] & 1, 1);
  // The words between the registers read 0.
  Check(*(volatile const uint32_t*)(kBoardStatusAddress + 4), 0);
}

// Needs the interrupts running. The sound program takes what it is sent within two frames or so.
void TestSound(void) {
  enum { kMostBlanks = 12 };
  BeginGroup(kGroupSound);
  CheckTrue(SendSound(kSoundSilence));
  CheckTrue(SendSoundSetting(kSettingMaster, 0xFFFF));
  for (uint32_t i = 0; i < kMostBlanks && !IsSoundSent(); i++) WaitBlanks(1);
  CheckTrue(IsSoundSent());
}
