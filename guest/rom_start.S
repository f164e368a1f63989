/* The boot ROM's own code: sets the processor up, copies the kernel to main RAM and goes there. Data
 * reads from the ROM cost 154 cycles each, so nothing else runs from here. */
#include "guest/rom_layout.h"
#include "guest/selftest_block.h"

        .set    noreorder
        .set    nomacro
        .set    noat

        .section .rom.reset, "ax", @progbits
        .globl  RomReset
RomReset:
        b       RomBegin
        nop

        /* Filled in by make_rom.py, at kRomHeaderOffset. */
        .section .rom.header, "a", @progbits
        .globl  RomHeader
RomHeader:
        .word   kRomMagic
        .word   0                       /* bytes of the kernel, a multiple of 16 */
        .word   0                       /* bytes of the whole image */
        .word   0

        .section .rom.begin, "ax", @progbits
RomBegin:
        lui     $t0, 0x0040             /* exceptions go to the ROM until the kernel has a vector */
        mtc0    $t0, $12
        lui     $t0, %hi(RomHeader)
        lw      $t1, %lo(RomHeader) + 4($t0)
        lui     $a0, kRomBase >> 16
        ori     $a0, $a0, kRomKernelOffset
        lui     $a1, kKernelBase >> 16
        addu    $a2, $a1, $t1
1:      ld      $t2, 0($a0)
        ld      $t3, 8($a0)
        addiu   $a0, $a0, 16
        addiu   $a1, $a1, 16
        sd      $t2, -16($a1)
        bne     $a1, $a2, 1b
        sd      $t3, -8($a1)
        lui     $t0, kKernelBase >> 16
        jr      $t0
        nop

        /* The vector that holds while the BEV bit is set: leaves what is known and waits for good. */
        .section .rom.vector, "ax", @progbits
        .globl  RomException
RomException:
        lui     $k0, 0x8000
        ori     $k0, $k0, kSelfTestBlockPhysical
        addiu   $k1, $zero, kSelfTestEarlyFault
        sw      $k1, 8($k0)
        mfc0    $k1, $13
        sw      $k1, 104($k0)
        mfc0    $k1, $14
        sw      $k1, 108($k0)
1:      mfc0    $k1, $13
        nop
        andi    $k1, $k1, 0
        beq     $k1, $zero, 1b
        nop
