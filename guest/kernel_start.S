/* The kernel's first instructions, the exception entry and the wait for the vertical blank. */
#include "guest/rom_layout.h"

        .set    noreorder
        .set    nomacro
        .set    noat

        .section .text.start, "ax", @progbits
        .globl  KernelStart
KernelStart:
        lui     $sp, kStackTop >> 16
        ori     $sp, $sp, kStackTop & 0xFFFF
        lui     $t0, %hi(KernelImageEnd)
        addiu   $t0, $t0, %lo(KernelImageEnd)
        lui     $t1, %hi(KernelEnd)
        addiu   $t1, $t1, %lo(KernelEnd)
1:      sd      $zero, 0($t0)
        addiu   $t0, $t0, 8
        sltu    $t2, $t0, $t1
        bne     $t2, $zero, 1b
        nop

        /* The vector is written once, before anything can reach it: the processor keeps what it has
           decoded and never looks at memory again. */
        lui     $t0, %hi(VectorCode)
        addiu   $t0, $t0, %lo(VectorCode)
        lui     $t1, 0x8000
        ld      $t2, 0($t0)
        ld      $t3, 8($t0)
        sd      $t2, 0x180($t1)
        sd      $t3, 0x188($t1)
        lui     $t0, 0x2400             /* floating point on, with 32 registers of their own */
        mtc0    $t0, $12

        lui     $t0, %hi(KernelMain)
        addiu   $t0, $t0, %lo(KernelMain)
        jr      $t0
        nop

        .balign 8
VectorCode:
        lui     $k0, %hi(ExceptionEntry)
        addiu   $k0, $k0, %lo(ExceptionEntry)
        jr      $k0
        nop

/* Saves what C may change but for the floating point registers, which nothing called from here may
   touch; calls HandleException(cause, epc, status) and returns to EPC with the Status that it
   answers. Exceptions stay off throughout, since EXL is set. */
        .set    kFrameBytes, 176
        .globl  ExceptionEntry
ExceptionEntry:
        addiu   $sp, $sp, -kFrameBytes
        sd      $1, 0($sp)
        sd      $2, 8($sp)
        sd      $3, 16($sp)
        sd      $4, 24($sp)
        sd      $5, 32($sp)
        sd      $6, 40($sp)
        sd      $7, 48($sp)
        sd      $8, 56($sp)
        sd      $9, 64($sp)
        sd      $10, 72($sp)
        sd      $11, 80($sp)
        sd      $12, 88($sp)
        sd      $13, 96($sp)
        sd      $14, 104($sp)
        sd      $15, 112($sp)
        sd      $24, 120($sp)
        sd      $25, 128($sp)
        sd      $31, 136($sp)
        mfhi    $2
        mflo    $3
        sd      $2, 144($sp)
        sd      $3, 152($sp)
        mfc0    $4, $13
        mfc0    $5, $14
        lui     $25, %hi(HandleException)
        addiu   $25, $25, %lo(HandleException)
        jalr    $25
        mfc0    $6, $12
        mtc0    $2, $12
        ld      $2, 144($sp)
        ld      $3, 152($sp)
        mthi    $2
        mtlo    $3
        ld      $1, 0($sp)
        ld      $2, 8($sp)
        ld      $3, 16($sp)
        ld      $4, 24($sp)
        ld      $5, 32($sp)
        ld      $6, 40($sp)
        ld      $7, 48($sp)
        ld      $8, 56($sp)
        ld      $9, 64($sp)
        ld      $10, 72($sp)
        ld      $11, 80($sp)
        ld      $12, 88($sp)
        ld      $13, 96($sp)
        ld      $14, 104($sp)
        ld      $15, 112($sp)
        ld      $24, 120($sp)
        ld      $25, 128($sp)
        ld      $31, 136($sp)
        addiu   $sp, $sp, kFrameBytes
        eret

/* void WaitForInterrupt(void): idles until an interrupt has been taken or the vertical blank line is
   high. The first five words in this order are the wait loop that the processor knows: each look at
   Cause there gives the rest of the time slice away. An interrupt handler that finds EPC in the loop
   returns behind it, so that no further slice is lost. */
        .balign 32
        .globl  WaitForInterrupt
        .globl  WaitForInterruptEnd
WaitForInterrupt:
        mfc0    $v0, $13
        nop
        andi    $v0, $v0, 0x0400
        beq     $v0, $zero, WaitForInterrupt
        nop
WaitForInterruptEnd:
        jr      $ra
        nop
