#!/usr/bin/env python3
"""Makes the cabinet's small disk: a label, a directory, and the files named in it.

Usage: make_disk.py OUT_IMAGE

Sector 0 is the label, sector 1 the directory: records of 32 bytes with a name of up to 20 bytes, the
first sector, the size in bytes, and a CRC-32 of the contents. Files begin on whole sectors. The
picture of noise does not pack, so that a pack holds both kinds of chunk.
"""
import struct
import sys
import zlib

SECTOR = 512
CYLINDERS, HEADS, SECTORS_PER_TRACK = 24, 4, 8
SECTORS = CYLINDERS * HEADS * SECTORS_PER_TRACK

STORY = """\
OPEN CABINET

A LAKE BETWEEN THE HILLS, AND A COIN THAT WILL NOT LIE STILL.
EVERY NIGHT THE FERRYMAN COUNTS HIS COINS AND ONE IS MISSING.
IT SPINS OVER THE WATER UNTIL SOMEBODY PUTS IT INTO A SLOT.

CONTROLS: WALK LEFT AND RIGHT, LEAP, THROW.
RULES: THREE LIVES, ONE MORE FOR EVERY HUNDRED COINS.
"""

LEVEL_COLUMNS, LEVEL_ROWS, LEVELS = 512, 16, 6


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


def level(number):
    """A shore as columns of tiles: 0 air, 1 ground, 2 planks, 3 coin, 4 fir, 5 water."""
    random = Random(1000 + number * 77)
    tiles = bytearray()
    ground = 5
    gap = 0
    for column in range(LEVEL_COLUMNS):
        if gap == 0 and column > 16 and random.next() % (24 - 2 * number) == 0:
            gap = 2 + random.next() % (2 + number)
        cells = [0] * LEVEL_ROWS
        if gap > 0:
            gap -= 1
            cells[0] = 5
            if random.next() % 3 == 0:
                cells[ground] = 2
        else:
            ground = min(9, max(2, ground + random.next() % 3 - 1))
            for row in range(ground):
                cells[row] = 1
            if random.next() % 9 == 0:
                cells[ground] = 4
        if random.next() % 5 == 0:
            cells[min(LEVEL_ROWS - 1, ground + 3 + random.next() % 3)] = 3
        tiles += bytes(cells)
    return struct.pack("<4sHHI", b"LEVL", LEVEL_COLUMNS, LEVEL_ROWS, number) + bytes(tiles)


def terrain():
    """Heights of the hills, 16 bits each: three octaves of triangles."""
    heights = []
    for i in range(16384):
        total = 0
        for octave in range(3):
            span = 512 >> octave * 2
            total += abs(i % (2 * span) - span) * (64 >> octave) // (512 >> octave * 2) * 16
        heights.append(total & 0xFFFF)
    return struct.pack("<16384H", *heights)


def noise():
    random = Random(0x0C4B1E57)
    return struct.pack("<40000I", *(random.next() for _ in range(40000)))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    files = [("STORY.TXT", STORY.encode("ascii"))]
    files += [(f"LEVEL{i + 1}.DAT", level(i)) for i in range(LEVELS)]
    files += [("HILLS.DAT", terrain()), ("NOISE.DAT", noise())]

    image = bytearray(SECTORS * SECTOR)
    label = b"OPEN CABINET DISK 1"
    image[:len(label)] = label
    struct.pack_into("<IIIII", image, 32, SECTOR, SECTORS, 1, len(files), SECTORS_PER_TRACK)
    at = 2
    for index, (name, data) in enumerate(files):
        struct.pack_into("<20sIII", image, SECTOR + index * 32, name.encode("ascii"), at, len(data),
                         zlib.crc32(data))
        end = at * SECTOR + len(data)
        if end > len(image):
            sys.exit(f"{name}: does not fit on a disk of {SECTORS} sectors")
        image[at * SECTOR:end] = data
        at += (len(data) + SECTOR - 1) // SECTOR
    with open(sys.argv[1], "wb") as file:
        file.write(image)


main()
