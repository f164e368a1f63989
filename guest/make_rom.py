#!/usr/bin/env python3
"""Puts a boot ROM image together: reset code, kernel, sizes and checksum.

Usage: make_rom.py START_BIN KERNEL_BIN OUT_ROM

The offsets are those of rom_layout.h. The image's last doubleword holds the checksum of all before.
"""
import struct
import sys

MAGIC = 0x4D52434F
HEADER_OFFSET = 0x10
KERNEL_OFFSET = 0x1000
ROM_BYTES = 0x80000
STEP = 0x10000  # images are padded to whole steps, so that both boards' are of one size
MASK = (1 << 64) - 1


def checksum(image):
    total = order = 0
    for (word,) in struct.iter_unpack("<Q", image):
        total = (total + word) & MASK
        order = (order + total) & MASK
    return total ^ order


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    start_path, kernel_path, out_path = sys.argv[1:]
    with open(start_path, "rb") as file:
        start = file.read()
    with open(kernel_path, "rb") as file:
        kernel = file.read()
    if len(start) > KERNEL_OFFSET:
        sys.exit(f"{start_path}: {len(start)} bytes do not fit before the kernel at {KERNEL_OFFSET}")
    if struct.unpack_from("<I", start, HEADER_OFFSET)[0] != MAGIC:
        sys.exit(f"{start_path}: no ROM header at offset {HEADER_OFFSET}")
    kernel += bytes(-len(kernel) % 16)
    used = KERNEL_OFFSET + len(kernel) + 8
    size = (used + STEP - 1) // STEP * STEP
    if size > ROM_BYTES:
        sys.exit(f"{kernel_path}: an image of {used} bytes does not fit into {ROM_BYTES}")
    image = bytearray(size - 8)
    image[:len(start)] = start
    image[KERNEL_OFFSET:KERNEL_OFFSET + len(kernel)] = kernel
    struct.pack_into("<II", image, HEADER_OFFSET + 4, len(kernel), size)
    image += struct.pack("<Q", checksum(image))
    with open(out_path, "wb") as file:
        file.write(image)


main()
