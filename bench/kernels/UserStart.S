/* Entry and system calls of the kernels as a program of an operating system with the n32 interface. */

        .set    noreorder
        .set    nomacro
        .set    noat

        .section .text.start, "ax", @progbits
        .globl  __start
__start:
        move    $4, $sp                 # argument count, then the arguments' addresses
        lui     $8, %hi(StackTop)
        addiu   $sp, $8, %lo(StackTop)
        jal     UserMain
        nop
        move    $4, $2
        li      $2, 6058                # exit
        syscall

/* uint32_t SystemCall(a, b, c, number): what the system answers. */
        .globl  SystemCall
SystemCall:
        move    $2, $7
        syscall
        jr      $31
        nop

        .section .bss.stack, "aw", @nobits
        .balign 16
        .space  16384
StackTop:
