// System control registers of the main processor, for C. Writes keep the compiler from moving
// memory accesses across them.
#pragma once

#include <stdint.h>

#define VX_COP0_READ(name, number)                                  \
  static inline uint32_t Read##name(void) {                         \
    uint32_t value;                                                 \
    __asm__ volatile("mfc0 %0, $" #number : "=r"(value)::"memory"); \
    return value;                                                   \
  }
// The whole 64-bit register goes over: page numbers above 0x7FFFF need bits 32 and up of EntryHi.
#define VX_COP0_WRITE(name, number)                                 \
  static inline void Write##name(uint64_t value) {                  \
    __asm__ volatile("mtc0 %0, $" #number ::"r"(value) : "memory"); \
  }

VX_COP0_READ(Random, 1)
VX_COP0_READ(Count, 9)
VX_COP0_READ(Compare, 11)
VX_COP0_READ(Status, 12)
VX_COP0_READ(Cause, 13)
VX_COP0_READ(Epc, 14)
VX_COP0_READ(Prid, 15)
VX_COP0_READ(Config, 16)
VX_COP0_READ(EntryHi, 10)

VX_COP0_WRITE(Index, 0)
VX_COP0_WRITE(EntryLo0, 2)
VX_COP0_WRITE(EntryLo1, 3)
VX_COP0_WRITE(PageMask, 5)
VX_COP0_WRITE(Wired, 6)
VX_COP0_WRITE(Count, 9)
VX_COP0_WRITE(EntryHi, 10)
VX_COP0_WRITE(Compare, 11)
VX_COP0_WRITE(Status, 12)
VX_COP0_WRITE(Cause, 13)
VX_COP0_WRITE(Epc, 14)
VX_COP0_WRITE(Prid, 15)
VX_COP0_WRITE(Config, 16)

static inline uint64_t ReadEntryHiWhole(void) {
  uint64_t value;
  __asm__ volatile("dmfc0 %0, $10" : "=r"(value)::"memory");
  return value;
}

static inline void WriteTlbIndexed(void) { __asm__ volatile("tlbwi" ::: "memory"); }

#undef VX_COP0_READ
#undef VX_COP0_WRITE

enum {
  kStatusIe = 0x00000001,
  kStatusFloat = 0x24000000,    // floating point on, 32 registers of 64 bits
  kLineBlank = 0x00000400,      // Cause and Status: vertical blank
  kLineDrive = 0x00000800,      // Cause and Status: the disk drive wants something
  kLineTimer = 0x00008000,      // Cause and Status: Compare reached
  kCauseSoftware = 0x00000300,  // Cause: the two software bits
  kCauseCode = 0x0000007C,
};
