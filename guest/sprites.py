"""The flat pictures of the game, 32 by 32 pixels each, bit 15 set where there is something. A file of
them is the word "SPRT", their number, and the pixels."""
import math
import struct

from make_art import coin_frame, mix, ramp, rgb555, BAYER, COIN_FRAMES

SIZE = 32
FIRE = [(60, 30, 40), (150, 40, 40), (236, 84, 40), (255, 168, 56), (255, 236, 140), (255, 255, 240)]
COOL = [(24, 40, 84), (40, 90, 160), (60, 160, 210), (110, 220, 230), (200, 250, 240), (255, 255, 255)]


def wobble(angle, seed):
    return (math.sin(angle * 3 + seed) * 0.5 + math.sin(angle * 5 - seed * 1.7) * 0.3 +
            math.sin(angle * 8 + seed * 2.9) * 0.2)


def picture(shade):
    """Calls shade(x, y) from -1 to 1 for each pixel: a colour and how much of it, or None."""
    pixels = []
    for row in range(SIZE):
        for column in range(SIZE):
            answer = shade((column - 15.5) / 15.5, (row - 15.5) / 15.5)
            value = 0
            if answer is not None:
                colour, share = answer
                if share * 16 > BAYER[row & 3][column & 3] + 0.5:
                    value = 0x8000 | rgb555(*colour)
            pixels.append(value)
    return pixels


def explosion(frame, frames, stops):
    """A ball that bursts, opens in the middle and thins out."""
    t = frame / (frames - 1)
    radius = 0.35 + 0.62 * math.sqrt(t)
    hole = max(0.0, (t - 0.35) * 1.45)

    def shade(x, y):
        r = math.hypot(x, y)
        angle = math.atan2(y, x)
        edge = radius * (1 + 0.16 * wobble(angle, 2 + t * 2))
        inner = hole * (1 + 0.25 * wobble(angle, 9 - t * 3))
        if r > edge or r < inner:
            return None
        depth = 1 - r / edge
        heat = (1 - t) * 0.75 + depth * 0.6 - 0.12 + 0.12 * wobble(angle * 2, r * 9)
        share = min(1.0, (edge - r) * 7) * (1.15 - t * 0.8) + 0.1
        return ramp(stops, min(1.0, max(0.0, heat))), share
    return picture(shade)


def splash(frame, frames):
    """A crown of drops that rises and falls back."""
    t = frame / (frames - 1)
    drops = []
    for i in range(13):
        angle = math.pi * (0.08 + 0.84 * i / 12)
        speed = 1.5 + 0.5 * math.sin(i * 2.4)
        x = math.cos(angle) * speed * t * 0.62
        y = 0.86 - (math.sin(angle) * speed * 1.9 * t - 2.5 * t * t)
        drops.append((x, y, 0.20 - 0.10 * t))

    def shade(x, y):
        best = min(math.hypot(x - dx, (y - dy)) / size for dx, dy, size in drops)
        foam = math.hypot(x / (0.35 + 0.6 * t), (y - 0.88) / (0.20 * (1 - t) + 0.02))
        best = min(best, foam)
        if best > 1:
            return None
        return mix((250, 255, 255), (140, 200, 230), best), 1.2 - t * 0.5
    return picture(shade)


def orb(frame, frames):
    """A shot of the raiders: a hot core in a pulsing ring."""
    pulse = 0.12 * math.sin(2 * math.pi * frame / frames)

    def shade(x, y):
        r = math.hypot(x, y)
        if r > 0.92:
            return None
        if r < 0.38 + pulse:
            return (255, 255, 255), 1
        return ramp([(255, 220, 250), (255, 84, 190), (150, 20, 120)],
                    min(1.0, (r - 0.38 - pulse) / 0.5)), 1.15 - max(0.0, r - 0.7) * 2
    return picture(shade)


def reeds(seed, count):
    """Blades that stand in the water, dark at the foot."""
    blades = []
    for i in range(count):
        foot = (i + 0.5) / count * 1.5 - 0.75
        lean = 0.5 * math.sin(seed + i * 2.3)
        blades.append((foot, lean, 1.2 + 0.6 * math.sin(seed * 3 + i * 1.7) ** 2, i % 4 == 1))

    def shade(x, y):
        for foot, lean, tall, bPlume in blades:
            t = (1 - y) / tall
            if not 0 <= t <= 1:
                continue
            middle = foot + lean * t * t
            half = 0.075 * (1 - t) + 0.02
            if bPlume and 0.72 < t < 0.97:
                if abs(x - middle) < 0.085:
                    return mix((96, 60, 40), (176, 120, 70), t), 1
            elif abs(x - middle) < half:
                return mix((18, 40, 44), (92, 140, 72), t * 0.8 + (0.2 if x > middle else 0)), 1
        return None
    return picture(shade)


def float_lamp():
    """A small float with a light, which marks the way."""
    def shade(x, y):
        r = math.hypot(x, y + 0.35)
        if r < 0.20:
            return (255, 255, 230), 1
        if r < 0.36:
            return (255, 206, 110), 1
        if r < 0.62:
            return (255, 150, 70), 0.75 - r
        if abs(x) < 0.05 and -0.1 < y < 0.6:
            return (90, 70, 80), 1
        if abs(x) < 0.42 - (y - 0.55) * 0.5 and 0.55 < y < 0.95:
            return mix((236, 84, 72), (110, 30, 50), (y - 0.55) / 0.4), 1
        return None
    return picture(shade)


LETTERS = {
    "P": ["####.", "#...#", "####.", "#....", "#...."],
    "S": [".####", "#....", ".###.", "....#", "####."],
    "F": ["#####", "#....", "###..", "#....", "#...."],
}


def badge(letter, stops):
    """What a carrier leaves: a shining round badge with a letter."""
    rows = LETTERS[letter]

    def shade(x, y):
        r = math.hypot(x, y)
        if r > 0.95:
            return None
        column, row = int((x + 0.5) * 5), int((y + 0.5) * 5)
        if abs(x) < 0.5 and abs(y) < 0.5 and rows[row][column] == "#":
            return (255, 255, 255), 1
        if r > 0.78:
            return ramp([stops[2], (255, 255, 255)], 0.5 - 0.5 * y), 1
        return ramp(stops, min(1.0, max(0.0, 0.5 + 0.45 * y + 0.2 * x))), 1
    return picture(shade)


def pack(pictures):
    data = struct.pack("<4sI", b"SPRT", len(pictures))
    for pixels in pictures:
        data += struct.pack(f"<{len(pixels)}H", *pixels)
    return data


SPRITES = {
    "BLAST1": lambda: [explosion(i, 10, FIRE) for i in range(10)],
    "BLAST2": lambda: [explosion(i, 10, COOL) for i in range(10)],
    "SPLASH": lambda: [splash(i, 8) for i in range(8)],
    "ORB": lambda: [orb(i, 4) for i in range(4)],
    "SHORE": lambda: [reeds(1, 7), reeds(5, 9), float_lamp()],
    "BADGES": lambda: [badge("P", [(255, 170, 90), (220, 60, 60), (120, 20, 60)]),
                       badge("S", [(150, 240, 255), (50, 130, 230), (20, 40, 130)]),
                       badge("F", [(255, 250, 170), (240, 170, 40), (150, 70, 10)])],
}


def coins():
    """Sixteen views of a turning coin: pixels alone, since they are reached through mapped pages."""
    pixels = [pixel for frame in range(COIN_FRAMES) for pixel in coin_frame(frame)]
    return struct.pack(f"<{len(pixels)}H", *pixels)
