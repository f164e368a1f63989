// The kernels as a user-mode program: KERNEL PASSES as numbers. Prints the checksum in hexadecimal
// and the nanoseconds of processor time that the passes took, without the start of the process and
// without a pass before them, which an emulator needs to translate the code.
#include "bench/kernels/Kernels.h"

enum { kSysWrite = 6001, kSysClockGetTime = 6226, kClockProcess = 2, kOutput = 1 };

uint32_t SystemCall(uint32_t a, uint32_t b, uint32_t c, uint32_t number);

static uint64_t Nanoseconds(void) {
  static int32_t time[2];
  SystemCall(kClockProcess, (uint32_t)(uintptr_t)time, 0, kSysClockGetTime);
  return (uint64_t)time[0] * 1000000000u + (uint32_t)time[1];
}

static uint32_t NumberOf(const char* text) {
  uint32_t number = 0;
  for (; *text >= '0' && *text <= '9'; ++text) number = number * 10 + (uint32_t)(*text - '0');
  return number;
}

// Writes digits in front of a place and answers where they begin.
static char* WriteNumber(char* end, uint64_t number, uint32_t base) {
  do {
    *--end = "0123456789abcdef"[number % base];
    number /= base;
  } while (number != 0);
  return end;
}

int UserMain(const uint32_t* arguments) {
  if (arguments[0] != 3) return 2;
  const uint32_t kernel = NumberOf((const char*)(uintptr_t)arguments[2]);
  const uint32_t passes = NumberOf((const char*)(uintptr_t)arguments[3]);
  if (kernel >= kKernelCount || passes == 0) return 2;

  PrepareKernel(kernel);
  RunPasses(kernel, 1);
  const uint64_t start = Nanoseconds();
  const uint32_t sum = RunPasses(kernel, passes);
  const uint64_t end = Nanoseconds();

  static char line[48];
  char* at = line + sizeof(line);
  *--at = '\n';
  at = WriteNumber(at, end - start, 10);
  *--at = ' ';
  at = WriteNumber(at, sum, 16);
  SystemCall(kOutput, (uint32_t)(uintptr_t)at, (uint32_t)(line + sizeof(line) - at), kSysWrite);
  return 0;
}
