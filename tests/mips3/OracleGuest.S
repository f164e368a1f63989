# A program for the emulator of the integer oracle test. It reads cases from its input, runs the one
# op of each with the registers, HI, LO and memory that the case gives, and writes the case back with
# what the op left. Ops may use registers 8 to 11; 12 points at the second doubleword of memory.
#
# A case: op word, 4 bytes unused, four registers, HI, LO, four doublewords of memory.

#define CASE_BYTES 88
#define REGISTERS 8
#define HI 40
#define LO 48
#define MEMORY 56

#define SYS_READ 5000
#define SYS_WRITE 5001
#define SYS_EXIT 5058

    .set    noreorder
    .set    noat
    .set    nomacro

    .text
    .globl  __start
    .ent    __start
__start:
    .set    macro
    dla     $16, case
    dla     $17, slot
    .set    nomacro

next:
    li      $2, SYS_READ
    li      $4, 0
    move    $5, $16
    li      $6, CASE_BYTES
    syscall
    bne     $7, $0, end
    li      $8, CASE_BYTES
    bne     $2, $8, end
    lw      $8, 0($16)
    sw      $8, 0($17)

    ld      $8, HI($16)
    ld      $9, LO($16)
    mthi    $8
    mtlo    $9
    ld      $8, (REGISTERS + 0)($16)
    ld      $9, (REGISTERS + 8)($16)
    ld      $10, (REGISTERS + 16)($16)
    ld      $11, (REGISTERS + 24)($16)
    b       slot
    daddiu  $12, $16, MEMORY + 8
slot:
    nop
    sd      $8, (REGISTERS + 0)($16)
    sd      $9, (REGISTERS + 8)($16)
    sd      $10, (REGISTERS + 16)($16)
    sd      $11, (REGISTERS + 24)($16)
    mfhi    $8
    mflo    $9
    sd      $8, HI($16)
    sd      $9, LO($16)

    li      $2, SYS_WRITE
    li      $4, 1
    move    $5, $16
    li      $6, CASE_BYTES
    syscall
    beq     $7, $0, next
    nop

end:
    li      $2, SYS_EXIT
    li      $4, 0
    syscall
    .end    __start

    .data
    .balign 8
case:
    .space  CASE_BYTES
