// Where the boot ROM holds what, and where the kernel runs. Read by assembly, C and linker scripts
// alike; make_rom.py holds the same offsets.
#pragma once

#define kRomMagic 0x4D52434F /* the bytes "OCRM" */
#define kRomBase 0xBFC00000
#define kRomHeaderOffset 0x10
#define kRomKernelOffset 0x1000

#define kKernelBase 0x88000000
#define kMainRamEnd 0x88800000
#define kStackTop 0x8007F000
