"""Lists where the game's functions and data lie: for scripts and other tools that look on.

Usage: make_symbols.py OBJDUMP GAME_ELF OUTPUT. A line of the output is a name, its flat offset in the
guest memory image, and its size in bytes, both hexadecimal, ordered by offset.
"""
import subprocess
import sys

LOW_RAM_BYTES = 0x80000
MAIN_RAM = 0x8000000
FLAT_MAIN_RAM = 0x80000


def flat_offset(address):
    physical = address & 0x1FFFFFFF
    if physical < LOW_RAM_BYTES:
        return physical
    return physical - MAIN_RAM + FLAT_MAIN_RAM


def main():
    objdump, elf, output = sys.argv[1:]
    table = subprocess.run([objdump, "-t", elf], check=True, capture_output=True, text=True).stdout
    rows = []
    for line in table.splitlines():
        # address, seven columns of flags, section, tab, size, name
        head, _, tail = line.partition("\t")
        fields, values = head.split(), tail.split()
        if len(fields) < 3 or len(values) != 2 or fields[-1] == "*ABS*":
            continue
        if fields[-2] not in ("F", "O"):
            continue
        rows.append((flat_offset(int(fields[0], 16)), values[1], int(values[0], 16)))
    if not rows:
        sys.exit(f"{elf}: has no symbols")
    with open(output, "w", encoding="ascii") as file:
        file.write("# name, flat offset, bytes\n")
        for offset, name, size in sorted(rows):
            file.write(f"{name} {offset:X} {size:X}\n")


main()
