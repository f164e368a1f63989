/* One small function for each op under test, called from the tables of the self-test. Arguments in
   $a0 and $a1, result in $v0. Where a name stands for an op with a constant, the constant follows. */

        .set    noreorder
        .set    nomacro
        .set    noat
        .text

.macro  BEGIN name
        .globl  \name
        .type   \name, @function
\name:
.endm

/* v0 = op(a0, a1); the op under test runs in the return's delay slot. */
.macro  REGISTERS op
        BEGIN   Op_\op
        jr      $ra
        \op     $v0, $a0, $a1
.endm

/* v0 = op(a0, constant) */
.macro  CONSTANT name, op, constant
        BEGIN   Op_\name
        jr      $ra
        \op     $v0, $a0, \constant
.endm

/* HI and LO hold 0x5A5A before, so that a divide by zero shows that it leaves them alone. */
.macro  MULDIV1 name, from, op, operands:vararg
        BEGIN   Op_\name
        ori     $t0, $zero, 0x5A5A
        mthi    $t0
        mtlo    $t0
        \op     \operands
        jr      $ra
        \from   $v0
.endm
.macro  MULTIPLY op
        MULDIV1 \op\()_lo, mflo, \op, $a0, $a1
        MULDIV1 \op\()_hi, mfhi, \op, $a0, $a1
.endm
.macro  DIVIDE op
        MULDIV1 \op\()_lo, mflo, \op, $zero, $a0, $a1
        MULDIV1 \op\()_hi, mfhi, \op, $zero, $a0, $a1
.endm

/* v0 = a0 at first, then loaded from a1. */
.macro  LOAD name, op, offset
        BEGIN   Op_\name
        daddu   $v0, $a0, $zero
        jr      $ra
        \op     $v0, \offset($a1)
.endm

.macro  STORE name, op, offset
        BEGIN   Op_\name
        jr      $ra
        \op     $a0, \offset($a1)
.endm

/* Bit 0: taken. Bit 1: the delay op ran. */
.macro  BRANCH name, op, operands:vararg
        BEGIN   Op_\name
        addiu   $v0, $zero, 0
        \op     \operands, 1f
        addiu   $v0, $v0, 2
        jr      $ra
        nop
1:      jr      $ra
        addiu   $v0, $v0, 1
.endm

/* As BRANCH; bit 2: $ra holds the address behind the delay op. */
.macro  BRANCHLINK name, op
        BEGIN   Op_\name
        daddu   $t0, $ra, $zero
        addiu   $v0, $zero, 0
        \op     $a0, 1f
        addiu   $v0, $v0, 2
3:      beq     $zero, $zero, 2f
        nop
1:      addiu   $v0, $v0, 1
2:      lui     $t1, %hi(3b)
        addiu   $t1, $t1, %lo(3b)
        xor     $t1, $t1, $ra
        sltiu   $t1, $t1, 1
        sll     $t1, $t1, 2
        jr      $t0
        addu    $v0, $v0, $t1
.endm

        REGISTERS add
        REGISTERS addu
        REGISTERS sub
        REGISTERS subu
        REGISTERS dadd
        REGISTERS daddu
        REGISTERS dsub
        REGISTERS dsubu
        REGISTERS and
        REGISTERS or
        REGISTERS xor
        REGISTERS nor
        REGISTERS slt
        REGISTERS sltu
        REGISTERS sllv
        REGISTERS srlv
        REGISTERS srav
        REGISTERS dsllv
        REGISTERS dsrlv
        REGISTERS dsrav

        CONSTANT addi_m1, addi, -1
        CONSTANT addiu_7fff, addiu, 0x7FFF
        CONSTANT addiu_m8000, addiu, -0x8000
        CONSTANT daddi_m1, daddi, -1
        CONSTANT daddiu_7fff, daddiu, 0x7FFF
        CONSTANT andi_f0f0, andi, 0xF0F0
        CONSTANT ori_f0f0, ori, 0xF0F0
        CONSTANT xori_ffff, xori, 0xFFFF
        CONSTANT slti_m2, slti, -2
        CONSTANT sltiu_m2, sltiu, -2
        CONSTANT sltiu_5, sltiu, 5
        CONSTANT sll_0, sll, 0
        CONSTANT sll_7, sll, 7
        CONSTANT sll_31, sll, 31
        CONSTANT srl_0, srl, 0
        CONSTANT srl_1, srl, 1
        CONSTANT srl_31, srl, 31
        CONSTANT sra_0, sra, 0
        CONSTANT sra_5, sra, 5
        CONSTANT sra_31, sra, 31
        CONSTANT dsll_9, dsll, 9
        CONSTANT dsrl_9, dsrl, 9
        CONSTANT dsra_9, dsra, 9
        CONSTANT dsll32_3, dsll32, 3
        CONSTANT dsrl32_3, dsrl32, 3
        CONSTANT dsra32_3, dsra32, 3
        BEGIN   Op_lui_8001
        jr      $ra
        lui     $v0, 0x8001

        MULTIPLY mult
        MULTIPLY multu
        MULTIPLY dmult
        MULTIPLY dmultu
        DIVIDE  div
        DIVIDE  divu
        DIVIDE  ddiv
        DIVIDE  ddivu

        LOAD    lb, lb, 0
        LOAD    lbu, lbu, 0
        LOAD    lh, lh, 0
        LOAD    lhu, lhu, 0
        LOAD    lw, lw, 0
        LOAD    lwu, lwu, 0
        LOAD    ld, ld, 0
        LOAD    lw_m4, lw, -4
        LOAD    ld_8, ld, 8
        LOAD    lwl, lwl, 0
        LOAD    lwr, lwr, 0
        LOAD    ldl, ldl, 0
        LOAD    ldr, ldr, 0

        STORE   sb, sb, 0
        STORE   sh, sh, 0
        STORE   sw, sw, 0
        STORE   sd, sd, 0
        STORE   sw_m4, sw, -4
        STORE   swl, swl, 0
        STORE   swr, swr, 0
        STORE   sdl, sdl, 0
        STORE   sdr, sdr, 0

        BRANCH  beq, beq, $a0, $a1
        BRANCH  bne, bne, $a0, $a1
        BRANCH  blez, blez, $a0
        BRANCH  bgtz, bgtz, $a0
        BRANCH  bltz, bltz, $a0
        BRANCH  bgez, bgez, $a0
        BRANCHLINK bltzal, bltzal
        BRANCHLINK bgezal, bgezal

/* The delay op changes the branch's own operand: the branch has looked at it already. */
        BEGIN   Op_delay_operand
        addiu   $v0, $zero, 0
        bne     $a0, $zero, 1f
        addiu   $a0, $zero, 0
        jr      $ra
        nop
1:      jr      $ra
        addiu   $v0, $a0, 1

/* Sums a0 down to 1 by a backward branch whose delay op does the work. */
        BEGIN   Op_backward
        addiu   $v0, $zero, 0
1:      addiu   $t0, $a0, -1
        daddu   $v0, $v0, $a0
        bgtz    $t0, 1b
        daddu   $a0, $t0, $zero
        jr      $ra
        nop

/* v0 = 1 if jal leaves the address behind its delay op in $ra, and the delay op ran. */
        BEGIN   Op_jal
        daddu   $t0, $ra, $zero
        jal     1f
        addiu   $v0, $zero, 0x40
3:      jr      $t0
        nop
1:      lui     $t1, %hi(3b)
        addiu   $t1, $t1, %lo(3b)
        xor     $t1, $t1, $ra
        sltiu   $t1, $t1, 1
        jr      $ra
        addu    $v0, $v0, $t1

/* As Op_jal, by jalr with a link register of its own. */
        BEGIN   Op_jalr
        lui     $t2, %hi(1f)
        addiu   $t2, $t2, %lo(1f)
        jalr    $t3, $t2
        addiu   $v0, $zero, 0x20
3:      jr      $ra
        nop
1:      lui     $t1, %hi(3b)
        addiu   $t1, $t1, %lo(3b)
        xor     $t1, $t1, $t3
        sltiu   $t1, $t1, 1
        jr      $t3
        addu    $v0, $v0, $t1

/* Jumps over one op and back over another; each op passed shows as a bit. */
        BEGIN   Op_jump
        addiu   $v0, $zero, 0
        j       2f
        ori     $v0, $v0, 1
        ori     $v0, $v0, 2
1:      jr      $ra
        ori     $v0, $v0, 4
2:      j       1b
        ori     $v0, $v0, 8

/* A load in the delay slot of a jump through a register, from where a1 points. */
        BEGIN   Op_delay_load
        lui     $t0, %hi(1f)
        addiu   $t0, $t0, %lo(1f)
        jr      $t0
        lw      $v0, 0($a1)
        addiu   $v0, $zero, 0
1:      jr      $ra
        nop

/* Exceptions. The handler comes back behind the op. */
        .globl  Op_syscall_next
        BEGIN   Op_syscall
        addiu   $v0, $zero, 1
        syscall
Op_syscall_next:
        jr      $ra
        addiu   $v0, $v0, 1

        .globl  Op_break_next
        BEGIN   Op_break
        addiu   $v0, $zero, 2
        break
Op_break_next:
        jr      $ra
        addiu   $v0, $v0, 2

/* In the delay slot of a taken branch: the handler comes back at the branch's target. */
        .globl  Op_syscall_delay_target
        BEGIN   Op_syscall_delay
        addiu   $v0, $zero, 1
        beq     $zero, $zero, Op_syscall_delay_target
        syscall
        addiu   $v0, $v0, 8
Op_syscall_delay_target:
        jr      $ra
        addiu   $v0, $v0, 1

/* Writes a0 to Cause: a software bit traps at once, whatever Status masks. */
        .globl  Op_cause_next
        BEGIN   Op_cause
        mtc0    $a0, $13
Op_cause_next:
        jr      $ra
        nop

/* Spins a0 times, three cycles a turn, and answers the steps of Count that this took. */
        BEGIN   Op_count_spin
        mfc0    $t0, $9
1:      addiu   $a0, $a0, -1
        bne     $a0, $zero, 1b
        nop
        mfc0    $v0, $9
        jr      $ra
        subu    $v0, $v0, $t0

        BEGIN   Op_mfc0_count
        jr      $ra
        mfc0    $v0, $9
        BEGIN   Op_dmfc0_count
        jr      $ra
        dmfc0   $v0, $9

/* Floating point. The target register holds 0x5A5A5A5A00000000 before, so that its high word tells
   whether the op wrote it. Operands and result are whole registers. */
        .set    hardfloat
.macro  FLOAT name, op, operands:vararg
        BEGIN   Op_f_\name
        lui     $t0, 0x5A5A
        ori     $t0, $t0, 0x5A5A
        dsll32  $t0, $t0, 0
        dmtc1   $t0, $f4
        dmtc1   $a0, $f1
        dmtc1   $a1, $f3
        \op    $f4, \operands
        jr      $ra
        dmfc1   $v0, $f4
.endm

.irp    format, s, d
        FLOAT add_\format, add.\format, $f1, $f3
        FLOAT sub_\format, sub.\format, $f1, $f3
        FLOAT mul_\format, mul.\format, $f1, $f3
        FLOAT div_\format, div.\format, $f1, $f3
        FLOAT sqrt_\format, sqrt.\format, $f1
        FLOAT abs_\format, abs.\format, $f1
        FLOAT mov_\format, mov.\format, $f1
        FLOAT neg_\format, neg.\format, $f1
        FLOAT cvt_w_\format, cvt.w.\format, $f1
        FLOAT cvt_l_\format, cvt.l.\format, $f1
.endr
.irp    format, w, l
        FLOAT cvt_s_\format, cvt.s.\format, $f1
        FLOAT cvt_d_\format, cvt.d.\format, $f1
.endr
        FLOAT cvt_s_d, cvt.s.d, $f1
        FLOAT cvt_d_s, cvt.d.s, $f1

/* Compares a0 with a1, the condition being set before if a2 is not 0. Bit 0: bc1t was taken; bit 1:
   bc1f was not. */
.macro  COMPARE name, op
        BEGIN   Op_c_\name
        dmtc1   $a0, $f1
        dmtc1   $a1, $f3
        mtc1    $zero, $f5
        addiu   $v0, $zero, 0
        beq     $a2, $zero, 1f
        c.lt.s  $f5, $f5
        c.eq.s  $f5, $f5
1:      \op    $f1, $f3
        bc1t    2f
        nop
        beq     $zero, $zero, 3f
        nop
2:      ori     $v0, $v0, 1
3:      bc1f    4f
        nop
        ori     $v0, $v0, 2
4:      jr      $ra
        nop
.endm

.irp    relation, f, un, eq, ueq, olt, ult, ole, ule, sf, ngle, seq, ngl, lt, nge, le, ngt
        COMPARE \relation\()_s, c.\relation\().s
        COMPARE \relation\()_d, c.\relation\().d
.endr

/* Moves. mtc1 fills the whole register and mfc1 extends the sign. */
        BEGIN   Op_f_mtc1
        dmtc1   $a1, $f5
        mtc1    $a0, $f5
        jr      $ra
        dmfc1   $v0, $f5
        BEGIN   Op_f_mfc1
        dmtc1   $a0, $f5
        jr      $ra
        mfc1    $v0, $f5
        BEGIN   Op_f_dmtc1
        dmtc1   $a0, $f31
        jr      $ra
        dmfc1   $v0, $f31
/* Writing the control register leaves the condition alone: 1 if it is still set. */
        BEGIN   Op_f_ctc1
        mtc1    $zero, $f5
        addiu   $v0, $zero, 1
        c.eq.s  $f5, $f5
        ctc1    $a0, $31
        bc1t    1f
        nop
        addiu   $v0, $zero, 0
1:      jr      $ra
        nop
/* The delay op of a branch on the condition runs either way. */
        BEGIN   Op_f_delay
        mtc1    $zero, $f5
        addiu   $v0, $zero, 1
        c.eq.s  $f5, $f5
        bc1f    1f
        addiu   $v0, $v0, 2
        bc1t    1f
        addiu   $v0, $v0, 4
        addiu   $v0, $v0, 8
1:      jr      $ra
        nop

/* Through memory at a1: lwc1 fills the register, swc1 takes its low word. */
        BEGIN   Op_f_lwc1
        dmtc1   $a0, $f6
        lwc1    $f6, 0($a1)
        jr      $ra
        dmfc1   $v0, $f6
        BEGIN   Op_f_lwc1_m4
        dmtc1   $a0, $f7
        lwc1    $f7, -4($a1)
        jr      $ra
        dmfc1   $v0, $f7
        BEGIN   Op_f_swc1
        dmtc1   $a0, $f6
        jr      $ra
        swc1    $f6, 0($a1)

/* The same with registers in pairs (Status without FR), where the upper half of the even register
   is the odd one. a0 is the even register before; a1 goes to the odd number. */
.macro  PAIRED name, ops:vararg
        BEGIN   Op_f_pair_\name
        mfc0    $t0, $12
        lui     $t1, 0x0400
        nor     $t2, $t1, $zero
        and     $t2, $t0, $t2
        dmtc1   $a0, $f8
        mtc0    $t2, $12
        \ops
        mtc0    $t0, $12
        jr      $ra
        dmfc1   $v0, $f8
.endm
        .macro  PAIR_MOVE
        mtc1    $a1, $f9
        .endm
        .macro  PAIR_ADD
        add.s   $f9, $f8, $f9
        .endm
        .macro  PAIR_LOAD
        lwc1    $f9, 0($a1)
        .endm
        .macro  PAIR_DOUBLE
        dmtc1   $a1, $f9
        neg.d   $f9, $f9
        .endm
        PAIRED  mtc1, PAIR_MOVE
        PAIRED  add, PAIR_ADD
        PAIRED  lwc1, PAIR_LOAD
        PAIRED  neg, PAIR_DOUBLE

/* Divides a0 times, each waiting for the one before, and answers the steps of Count. */
        BEGIN   Op_f_spin
        mtc1    $zero, $f5
        mfc0    $t0, $9
1:      addiu   $a0, $a0, -1
        bne     $a0, $zero, 1b
        div.s   $f5, $f5, $f5
        mfc0    $v0, $9
        jr      $ra
        subu    $v0, $v0, $t0
