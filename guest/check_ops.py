#!/usr/bin/env python3
"""Refuses a guest program that holds an op which the board does not have.

Usage: check_ops.py OBJDUMP ELF...

Every word of every code section has to disassemble to one of the ops below. Some forms are let through
in functions named Op_* alone, where the self-test means them, for in compiled code they would be wrong
on this board: lwr leaves the upper half of its register zero; unordered compares are false for a NaN;
cvt.d.s copies bits; and no op stores a double. The exception handler saves no floating point register,
so that its functions may not touch one.
"""
import re
import subprocess
import sys

PRESENT = set("""
    add addu addi addiu sub subu dadd daddu daddi daddiu dsub dsubu
    and andi or ori xor xori nor lui slt slti sltu sltiu
    sll srl sra sllv srlv srav dsll dsrl dsra dsllv dsrlv dsrav dsll32 dsrl32 dsra32
    mult multu dmult dmultu div divu ddiv ddivu mfhi mflo mthi mtlo
    lb lbu lh lhu lw lwu ld sb sh sw sd
    beq bne blez bgtz bltz bgez bltzal bgezal j jal jr jalr
    syscall break mfc0 dmfc0 mtc0 tlbwi eret
""".split())
# Other names that the disassembler has for some of these.
PRESENT |= set("dli negu dnegu neg dneg".split())
PRESENT_FLOAT = set("""
    add.s sub.s mul.s div.s sqrt.s abs.s mov.s neg.s cvt.s.w cvt.w.s
    c.eq.s c.lt.s c.le.s bc1t bc1f mtc1 mfc1 lwc1 swc1
""".split())
IN_TEST_OPS = set("lwl lwr ldl ldr swl swr sdl sdr".split())
IN_TEST_OPS |= set("dmtc1 dmfc1 ctc1 cvt.s.l cvt.s.d cvt.d.w cvt.d.l cvt.d.s cvt.w.d cvt.l.s cvt.l.d".split())
IN_TEST_OPS |= set(f"{op}.d" for op in "add sub mul div sqrt abs mov neg".split())
IN_TEST_OPS |= set(f"c.{relation}.{format}" for format in "sd" for relation in
                   "f un eq ueq olt ult ole ule sf ngle seq ngl lt nge le ngt".split()) - PRESENT_FLOAT
IN_HANDLER = set("ExceptionEntry HandleException HandleBlank ArmNextTick ShowPage".split())

FUNCTION = re.compile(r"^[0-9a-f]+ <(.+)>:$")
WORD = re.compile(r"^\s*([0-9a-f]+):\s+([0-9a-f]{8})\s+(\S+)\s*(.*)$")


def complaint(function, op, operands):
    """What is wrong with the op, or None."""
    if op in IN_TEST_OPS:
        return None if function.startswith("Op_") else "may stand in Op_ functions only"
    if op in PRESENT_FLOAT:
        return "would spoil a register that nobody saves" if function in IN_HANDLER else None
    if op not in PRESENT:
        return "is not on the board"
    if op == "jalr" and operands.split(",")[0] in ("zero", "$0"):
        return "would write register 0"
    return None


def check(objdump, path):
    """Prints what is wrong in one file and answers how many ops it has."""
    run = subprocess.run([objdump, "-d", "-z", "-M", "no-aliases", path], capture_output=True,
                         text=True, check=False)
    if run.returncode != 0:
        sys.exit(f"{path}: cannot be disassembled: {run.stderr.strip()}")
    function = "?"
    count = bad = 0
    for line in run.stdout.splitlines():
        head = FUNCTION.match(line)
        if head:
            function = head.group(1)
            continue
        word = WORD.match(line)
        if not word:
            continue
        address, code, op, operands = word.groups()
        count += 1
        text = complaint(function, op, operands)
        if text:
            bad += 1
            print(f"{path}: 0x{address} in {function}: {op} {operands} ({code}) {text}",
                  file=sys.stderr)
    if bad:
        sys.exit(1)
    if count == 0:
        sys.exit(f"{path}: holds no code")


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    for path in sys.argv[2:]:
        check(sys.argv[1], path)


main()
