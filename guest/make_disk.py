#!/usr/bin/env python3
"""Makes the cabinet's disk: a label, a directory, and the files named in it.

Usage: make_disk.py PROGRAM OUT_IMAGE

disk_format.h tells the layout. Files begin on whole sectors; each one's CRC-32 stands in the directory.
The two score files are made empty and written by the game alone. The field of noise is there for the
test menu to read back; it does not pack, so that a pack holds both kinds of chunk.
"""
import struct
import sys
import zlib

import models
import sprites
import stages

SECTOR = 512
CYLINDERS, HEADS, SECTORS_PER_TRACK = 64, 4, 16
SECTORS = CYLINDERS * HEADS * SECTORS_PER_TRACK
DIRECTORY_SECTORS = 3

STORY = """\
GOLDEN WAKE

EVERY NIGHT THE FERRYMAN COUNTS HIS COINS, AND TONIGHT THEY ARE GONE: RAIDERS HAVE STREWN THEM OVER
THE LAKE BEHIND THEM AS THEY FLED. TWO SKIMMERS GO OUT TO BRING THEM BACK, FROM SUNSET TO NOON. WHAT
THE FERRYMAN DID NOT SAY IS THAT HE HAD STOLEN THEM FIRST.
"""


class Random:
    """A 32-bit generator of our own, so that the disk is the same wherever it is made."""

    def __init__(self, seed):
        self.state = seed

    def next(self):
        x = self.state
        x ^= x << 13 & 0xFFFFFFFF
        x ^= x >> 17
        x ^= x << 5 & 0xFFFFFFFF
        self.state = x
        return x


def noise():
    random = Random(0x0C4B1E57)
    return struct.pack("<32768I", *(random.next() for _ in range(32768)))


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with open(sys.argv[1], "rb") as file:
        program = file.read()
    files = [("GAME.PRG", program), ("STORY.TXT", STORY.encode("ascii"))]
    files += [("SCORES.A", bytes(SECTOR)), ("SCORES.B", bytes(SECTOR)), ("SCRATCH", bytes(SECTOR))]
    files += [(f"{name}.MDL", models.pack(make())) for name, make in models.MODELS.items()]
    files += [(f"{name}.SPR", sprites.pack(make())) for name, make in sprites.SPRITES.items()]
    files += [("COINS.SPR", sprites.coins())]
    files += [(f"STAGE{i + 1}.DAT", make().pack()) for i, make in enumerate(stages.STAGES)]
    files += [("NOISE.DAT", noise())]

    image = bytearray(SECTORS * SECTOR)
    label = b"OPEN CABINET DISK 2"
    image[:len(label)] = label
    struct.pack_into("<IIIII", image, 32, SECTOR, SECTORS, 1, len(files), SECTORS_PER_TRACK)
    if len(files) * 32 > DIRECTORY_SECTORS * SECTOR:
        sys.exit(f"{len(files)} files do not fit into the directory")
    at = 1 + DIRECTORY_SECTORS
    for index, (name, data) in enumerate(files):
        struct.pack_into("<20sIII", image, SECTOR + index * 32, name.encode("ascii"), at, len(data),
                         zlib.crc32(data))
        end = at * SECTOR + len(data)
        if end > len(image):
            sys.exit(f"{name}: does not fit on a disk of {SECTORS} sectors")
        image[at * SECTOR:end] = data
        at += (len(data) + SECTOR - 1) // SECTOR
    with open(sys.argv[2], "wb") as file:
        file.write(image)


main()
