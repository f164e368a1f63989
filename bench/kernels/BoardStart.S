/* The kernels on the board: three entries at the start of the image, for the harness to put the processor
 * at with arguments in $4 and $5. A result goes to a register row that the harness listens to, which
 * ends the slice; then the program waits. */

        .set    noreorder
        .set    nomacro
        .set    noat

        .section .text.start, "ax", @progbits
        .globl  BoardStart
BoardStart:
        j       Prepare
        nop
        j       Run
        nop
        lui     $sp, %hi(StackTop)
        j       RunForEver
        addiu   $sp, $sp, %lo(StackTop)

Prepare:
        lui     $sp, %hi(StackTop)
        jal     PrepareKernel
        addiu   $sp, $sp, %lo(StackTop)
        j       Answer
        nop
Run:
        lui     $sp, %hi(StackTop)
        jal     RunPasses
        addiu   $sp, $sp, %lo(StackTop)
Answer:
        lui     $8, 0xB000
        sw      $2, 0x3FF0($8)
1:      beq     $0, $0, 1b
        nop

        .section .bss.stack, "aw", @nobits
        .balign 16
        .space  16384
StackTop:
