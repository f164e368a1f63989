#!/usr/bin/env python3
"""Draws the cabinet's fixed pictures and tables and writes them as C.

Usage: make_art.py FONT_TXT OUT_FONT_C OUT_ART_C

The first file holds what the boot ROM needs too.

All pictures come from the shapes below; the output depends on nothing else, so it is the same on
every machine.
"""
import math
import sys

SINE_STEPS = 1024
SINE_ONE = 4096

# --- lettering -----------------------------------------------------------------------------------


def read_font(path):
    """The 64 glyphs of the text file as rows of bits, leftmost pixel in bit 7."""
    glyphs = []
    band = []
    with open(path, encoding="ascii") as file:
        for number, line in enumerate(file, 1):
            line = line.strip()
            if not line or (line.startswith("#") and " " in line and len(line.split()[0]) == 1):
                continue
            cells = line.split()
            if len(cells) != 8 or any(len(cell) != 8 for cell in cells):
                sys.exit(f"{path}:{number}: a row needs eight cells of eight columns")
            band.append(cells)
            if len(band) == 8:
                for column in range(8):
                    glyphs.append([int("".join("1" if c == "#" else "0" for c in row[column]), 2)
                                   for row in band])
                band = []
    if len(glyphs) != 64 or band:
        sys.exit(f"{path}: found {len(glyphs)} glyphs, wanted 64")
    return glyphs


# --- the title: letters as strokes of one width ---------------------------------------------------

TITLE_ROWS = 44
STROKE = 5.2
OUTLINE = 2.0
SHADOW = 3


def arc(cx, cy, rx, ry, start, end, steps=14):
    """Points on an ellipse, angles in degrees, clockwise from the right on screen."""
    points = []
    for i in range(steps + 1):
        angle = math.radians(start + (end - start) * i / steps)
        points.append((cx + rx * math.cos(angle), cy + ry * math.sin(angle)))
    return points


# Letter: (advance, list of strokes); y runs from 7 to 35.
LETTERS = {
    "O": (38, [arc(18.5, 21, 11.5, 14, 0, 360, 28)]),
    "P": (35, [[(7, 7), (7, 35)],
               [(7, 7), (18, 7)] + arc(18, 15, 9, 8, -90, 90) + [(18, 23), (7, 23)]]),
    "E": (34, [[(27, 7), (7, 7), (7, 35), (27, 35)], [(7, 21), (23, 21)]]),
    "N": (38, [[(7, 35), (7, 7), (30, 35), (30, 7)]]),
    "C": (36, [arc(18.5, 21, 11.5, 14, -48, -312, 28)]),
    "A": (38, [[(7, 35), (7, 18)] + arc(18.5, 18, 11.5, 11, 180, 360) + [(30, 18), (30, 35)],
               [(7, 25), (30, 25)]]),
    "B": (36, [[(7, 7), (7, 35)],
               [(7, 7), (18, 7)] + arc(18, 14, 8, 7, -90, 90) + [(7, 21)],
               [(7, 21), (19, 21)] + arc(19, 28, 9, 7, -90, 90) + [(7, 35)]]),
    "I": (16, [[(8, 7), (8, 35)]]),
    "G": (37, [arc(18.5, 21, 11.5, 14, -48, -360, 28) + [(19.5, 21)]]),
    "L": (32, [[(7, 7), (7, 35), (26, 35)]]),
    "D": (38, [[(7, 7), (7, 35)],
               [(7, 7), (16, 7)] + arc(16, 21, 14, 14, -90, 90) + [(7, 35)]]),
    "W": (46, [[(6, 7), (14, 35), (22.5, 13), (31, 35), (39, 7)]]),
    "K": (37, [[(7, 7), (7, 35)], [(28, 7), (8, 22)], [(14, 18), (29, 35)]]),
    "T": (35, [[(5, 7), (29, 7)], [(17, 7), (17, 35)]]),
}


def distance(strokes, x, y):
    """Distance to the nearest stroke's centre line, and the direction away from it."""
    best = 1e9
    away = (0.0, 0.0)
    for stroke in strokes:
        for (ax, ay), (bx, by) in zip(stroke, stroke[1:]):
            dx, dy = bx - ax, by - ay
            length = dx * dx + dy * dy
            t = 0.0 if length == 0 else ((x - ax) * dx + (y - ay) * dy) / length
            t = min(1.0, max(0.0, t))
            ox, oy = x - ax - t * dx, y - ay - t * dy
            square = ox * ox + oy * oy
            if square < best:
                best = square
                away = (ox, oy)
    root = math.sqrt(best)
    if root > 0:
        away = (away[0] / root, away[1] / root)
    return root, away


LIGHT = (-0.45, -0.70, 0.555)
# Title pixel values: 0 leaves the picture alone, 1 halves it, 2 is the dark rim, 3..15 is the tube
# from dark to bright.
CLEAR, HALF, RIM, DARKEST, BRIGHTEST = 0, 1, 2, 3, 15


def letter_columns(letter):
    advance, strokes = LETTERS[letter]
    width = advance + 4
    columns = []
    for column in range(width):
        pixels = []
        for row in range(TITLE_ROWS):
            body = rim = light = 0.0
            for sub in range(4):
                x = column - 1 + 0.25 + 0.5 * (sub & 1)
                y = row + 0.25 + 0.5 * (sub >> 1)
                d, away = distance(strokes, x, y)
                if d < STROKE:
                    u = d / STROKE
                    z = math.sqrt(1 - u * u)
                    n = away[0] * u * LIGHT[0] + away[1] * u * LIGHT[1] + z * LIGHT[2]
                    body += 0.25
                    light += 0.25 * (0.22 + 0.78 * max(0.0, n))
                elif d < STROKE + OUTLINE:
                    rim += 0.25
            if body > 0:
                level = DARKEST + int(light * (BRIGHTEST - DARKEST) + 0.5)
                pixels.append(min(BRIGHTEST, level))
            elif rim >= 0.75:
                pixels.append(RIM)
            elif rim > 0:
                pixels.append(HALF)
            else:
                pixels.append(CLEAR)
        columns.append(pixels)
    return advance, columns


def title_word(word):
    """The word as columns of TITLE_ROWS values, with a soft shadow below right."""
    width = sum(LETTERS[c][0] for c in word) + 4 + SHADOW
    columns = [[CLEAR] * TITLE_ROWS for _ in range(width)]
    x = 0
    for c in word:
        advance, glyph = letter_columns(c)
        for i, pixels in enumerate(glyph):
            for row, value in enumerate(pixels):
                columns[x + i][row] = max(columns[x + i][row], value)
        x += advance
    shadowed = [list(column) for column in columns]
    for i in range(width - SHADOW):
        for row in range(TITLE_ROWS - SHADOW):
            if columns[i][row] >= HALF and shadowed[i + SHADOW][row + SHADOW] == CLEAR:
                shadowed[i + SHADOW][row + SHADOW] = HALF
    return shadowed


END = 255


def encode_column(pixels):
    """Runs of a column: how many rows to skip, to halve, to paint, and the values painted; END closes
    the column."""
    code = []
    row = 0
    while any(pixels[row:]):
        counts = []
        for kind in (lambda v: v == CLEAR, lambda v: v == HALF, lambda v: v > HALF):
            begin = row
            while row < len(pixels) and kind(pixels[row]):
                row += 1
            counts.append(row - begin)
        code += counts + pixels[row - counts[2]:row]
    return code + [END]


def rgb555(r, g, b):
    clamp = lambda v: min(31, max(0, int(v * 31 / 255 + 0.5)))
    return clamp(r) << 10 | clamp(g) << 5 | clamp(b)


def mix(a, b, t):
    return tuple(p + (q - p) * t for p, q in zip(a, b))


def ramp(stops, t):
    """Colour at t between 0 and 1 of evenly spaced stops."""
    at = t * (len(stops) - 1)
    i = min(len(stops) - 2, int(at))
    return mix(stops[i], stops[i + 1], at - i)


# The tubes' colours from top to bottom of a letter: normal, and while the glint passes.
TUBE = [(255, 246, 190), (255, 206, 96), (255, 140, 60), (238, 70, 92), (188, 48, 140), (120, 44, 160)]
GLINT = [(255, 255, 255), (255, 250, 210), (255, 226, 170), (255, 190, 190), (246, 170, 230),
         (220, 160, 255)]


def title_palette():
    """Two banks of TITLE_ROWS rows of 16 colours."""
    banks = []
    for stops in (TUBE, GLINT):
        for row in range(TITLE_ROWS):
            base = ramp(stops, min(1.0, max(0.0, (row - 2) / 39)))
            colours = [0, 0, rgb555(26, 8, 38)]
            for level in range(DARKEST, BRIGHTEST + 1):
                light = (level - DARKEST) / (BRIGHTEST - DARKEST)
                if light < 0.8:
                    colour = mix((34, 6, 44), base, light / 0.8)
                else:
                    colour = mix(base, (255, 255, 255), (light - 0.8) / 0.2 * 0.85)
                colours.append(rgb555(*colour))
            banks.extend(colours)
    return banks


# --- the coin: sixteen views of half a turn --------------------------------------------------------

COIN_SIZE = 32
COIN_FRAMES = 16
COIN_RADIUS = 13.2
COIN_HALF_EDGE = 2.2


def star(x, y):
    """Whether the point lies in a five-pointed star of radius 1."""
    inside = 0
    points = []
    for i in range(10):
        angle = math.radians(-90 + 36 * i)
        r = 1.0 if i % 2 == 0 else 0.42
        points.append((r * math.cos(angle), r * math.sin(angle)))
    for (ax, ay), (bx, by) in zip(points, points[1:] + points[:1]):
        if (ay > y) != (by > y) and x < (bx - ax) * (y - ay) / (by - ay) + ax:
            inside ^= 1
    return inside


def coin_sample(x, y, cosine, sine):
    """Colour of the coin at x, y from its centre, or None."""
    half = COIN_HALF_EDGE * abs(sine)
    width = max(0.6, COIN_RADIUS * abs(cosine))
    side = 1 if cosine * sine >= 0 else -1
    fx = (x - side * half) / width
    fy = y / COIN_RADIUS
    r2 = fx * fx + fy * fy
    gleam = max(0.0, 1 - abs(fx * 0.8 + fy * 0.6 + cosine * 1.6 - 0.4) * 2.2)
    if r2 <= 1:
        if r2 > 0.74:
            tone = 0.62 - 0.34 * fy - 0.14 * fx
        elif r2 > 0.66:
            tone = 0.26
        elif star(fx / 0.66, fy / 0.66):
            tone = 0.92 - 0.20 * fy
        else:
            tone = 0.46 - 0.10 * fy
        tone += gleam * 0.45
        return ramp([(70, 24, 6), (168, 84, 12), (236, 160, 32), (255, 222, 96), (255, 252, 220)],
                    min(1.0, max(0.0, tone)))
    for step in range(-8, 9):
        ex = (x - half * step / 8) / width
        if ex * ex + fy * fy <= 1:
            tone = 0.5 - 0.35 * fy
            return mix((74, 28, 8), (190, 112, 24), tone if int(y * 1.4 + 100) % 2 else tone * 0.6)
    return None


def coin_frame(frame):
    angle = math.pi * frame / COIN_FRAMES
    cosine, sine = math.cos(angle), math.sin(angle)
    pixels = []
    for row in range(COIN_SIZE):
        for column in range(COIN_SIZE):
            total = [0.0, 0.0, 0.0]
            hits = 0
            for sub in range(9):
                x = column - 15.5 + (sub % 3 - 1) / 3
                y = row - 15.5 + (sub // 3 - 1) / 3
                colour = coin_sample(x, y, cosine, sine)
                if colour:
                    hits += 1
                    total = [a + b for a, b in zip(total, colour)]
            pixels.append(0x8000 | rgb555(*(v / hits for v in total)) if hits >= 5 else 0)
    return pixels


# --- the light in the sky ---------------------------------------------------------------------------

GLOW_HALF = 96
DISC_RADIUS = 38.5
GLOW_TOP = 19  # brightest level of the halo; 20..22 lead over to the disc, which is 23
BAYER = [[0, 8, 2, 10], [12, 4, 14, 6], [3, 11, 1, 9], [15, 7, 13, 5]]


def glow_rows():
    """The lower half of the halo: GLOW_HALF rows of 2 * GLOW_HALF levels."""
    rows = []
    for row in range(GLOW_HALF):
        levels = []
        for column in range(2 * GLOW_HALF):
            x, y = column - GLOW_HALF + 0.5, row + 0.5
            r = math.sqrt(x * x + y * y)
            edge = r - DISC_RADIUS
            if edge <= -0.5:
                levels.append(GLOW_TOP + 4)
            elif edge < 0.5:
                levels.append(GLOW_TOP + 3 - int((edge + 0.5) * 3))
            else:
                t = max(0.0, 1 - edge / (GLOW_HALF - 1 - DISC_RADIUS))
                level = GLOW_TOP * (0.70 * t * t + 0.30 * t * t * t * t * t)
                levels.append(min(GLOW_TOP, int(level + BAYER[row & 3][column & 3] / 16)))
        rows.extend(levels)
    return rows


# --- output -----------------------------------------------------------------------------------------


def write_array(out, declaration, values, form, per_line):
    out.write(f"{declaration} = {{\n")
    for i in range(0, len(values), per_line):
        out.write("    " + ",".join(form % v for v in values[i:i + per_line]) + ",\n")
    out.write("};\n\n")


def begin(path):
    out = open(path, "w", encoding="ascii", newline="\n")
    out.write("// Made by make_art.py.\n#include \"guest/art.h\"\n\n")
    return out


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    font = read_font(sys.argv[1])
    upper, lower = title_word("GOLDEN"), title_word("WAKE")
    sine = [int(math.floor(SINE_ONE * math.sin(2 * math.pi * i / SINE_STEPS) + 0.5))
            for i in range(SINE_STEPS)]
    with begin(sys.argv[2]) as out:
        write_array(out, "const uint8_t kFont[64 * 8]", [r for g in font for r in g], "%d", 32)
        write_array(out, f"const int16_t kSine[{SINE_STEPS}]", sine, "%d", 20)
    with begin(sys.argv[3]) as out:
        write_array(out, "const uint8_t kGlow[]", glow_rows(), "%d", 48)
        for name, word in (("Upper", upper), ("Lower", lower)):
            out.write(f"const uint32_t kTitle{name}Columns = {len(word)};\n")
            code = [v for column in word for v in encode_column(column)]
            write_array(out, f"const uint8_t kTitle{name}[]", code, "%d", 40)
        write_array(out, "PAGES const uint16_t kTitlePalette[]", title_palette(), "%d", 16)


if __name__ == "__main__":
    main()
