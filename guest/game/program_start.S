/* The program's header and first instructions: its own stack, cleared memory, and on to C. */
#include "guest/kernel_version.h"

        .set    noreorder
        .set    nomacro
        .set    noat

        .section .program.header, "a", @progbits
        .word   kProgramMagic
        .word   kKernelCallsVersion
        .word   ProgramStart
        .word   ProgramEnd

        .section .text.start, "ax", @progbits
        .globl  ProgramStart
ProgramStart:
        lui     $sp, %hi(ProgramStackTop)
        addiu   $sp, $sp, %lo(ProgramStackTop)
        lui     $t0, %hi(ProgramImageEnd)
        addiu   $t0, $t0, %lo(ProgramImageEnd)
        lui     $t1, %hi(ProgramEnd)
        addiu   $t1, $t1, %lo(ProgramEnd)
1:      sd      $zero, 0($t0)
        addiu   $t0, $t0, 8
        sltu    $t2, $t0, $t1
        bne     $t2, $zero, 1b
        nop
        lui     $t0, %hi(ProgramMain)
        addiu   $t0, $t0, %lo(ProgramMain)
        jr      $t0
        nop

        .section .bss.stack, "aw", @nobits
        .balign 16
        .space  32768
ProgramStackTop:
