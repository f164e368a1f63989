// What the kernel's parts share: memory places, board registers, interrupts, mapped pages, results.
#pragma once

#include <stdbool.h>
#include <stdint.h>

#include "guest/rom_layout.h"
#include "guest/selftest_block.h"

// The two pages of the frame store, 320 by 240 pixels of 15 bits, 640 bytes a line.
enum { kScreenWidth = 320, kScreenHeight = 240, kPageBytes = kScreenWidth * kScreenHeight * 2 };
#define kPage0 ((uint16_t*)0x80030000u)
#define kPage1 ((uint16_t*)0x80058000u)

// The block for tests to read; volatile, since its readers stand outside the program.
#define kResults ((volatile SSelfTestBlock*)(0x80000000u + kSelfTestBlockPhysical))

// Ends of the kernel's parts, from the linker.
extern uint8_t KernelReadOnlyEnd[];
extern uint8_t KernelEnd[];

// --- interrupts.c ---

// What the exception entry saw of the last exception that is no interrupt.
typedef struct SExceptionRecord {
  uint32_t taken;  // how many so far
  uint32_t code;   // bits 6..2 of Cause
  uint32_t epc;
  uint32_t software;  // software bits of Cause, before they were cleared
} SExceptionRecord;
extern volatile SExceptionRecord gLastException;

// While false, an exception that is no interrupt is noted in the result block as a fault.
void ExpectExceptions(bool bExpected);

// Starts the blank and timer interrupts. The timer then ticks every kTickCounts steps of Count.
void StartInterrupts(void);
void StopInterrupts(void);
enum { kTickCounts = 200000 };

// Shows page 1 (true) or page 0 at once.
void ShowPage(bool bPage1);
// Asks the next blank to show the page, and counts blanks without such a request as missed.
void RequestFlip(bool bPage1);
// Whether the last request still waits for its blank.
bool IsFlipPending(void);
// While false, blanks without a request do not count.
void ExpectFlips(bool bExpected);
// Waits until `blanks` further vertical blanks have come.
void WaitBlanks(uint32_t blanks);

// kernel_start.S: idles until an interrupt has been taken or the vertical blank line is high.
void WaitForInterrupt(void);

// --- sound.c ---

// Queues a command of two bytes, high byte first; false if there is no room.
bool SendSound(uint32_t command);
// Queues a setting of the sound program with its value of 16 bits.
bool SendSoundSetting(uint32_t setting, uint32_t value);
// Whether the sound processor has taken all of it.
bool IsSoundSent(void);
// From the timer's tick.
void PumpSound(void);

// --- mapped.c ---

// Maps virtual pages `page` and `page` + 1 to two physical pages by TLB entry `index`, for every
// address space. On this board the pair number field of EntryHi counts single 4 KiB pages.
void MapPagePair(uint32_t index, uint32_t page, uint32_t physical0, uint32_t physical1);
static inline uint32_t PhysicalOf(const void* kernelAddress) {
  return (uint32_t)(uintptr_t)kernelAddress & 0x1FFFFFFF;
}

// --- results.c ---

void ClearResults(void);
// Counts one check of the current group and remembers the first one that fails.
void BeginGroup(uint32_t group);
void Check(uint64_t got, uint64_t wanted);
void CheckTrue(bool bCondition);
bool GroupPassed(uint32_t group);

// --- the groups of checks ---

void TestAlu(void);
void TestFloat(void);
void TestMemory(void);
void TestFlow(void);
void TestExceptions(void);
void TestSystem(void);
void TestTlb(void);
void TestBoard(void);
void TestSound(void);
void TestRom(void);
// Calls `progress` with the number of KiB done so far about every 256 KiB, and with all at the end.
void TestRam(void (*progress)(uint32_t kibDone));

// --- post.c and loader.c ---

void RunPowerOnTest(void);
// Loads the program from the disk and goes there for good.
void RunProgram(void);
