"""The four stages as rows of what comes, sorted by distance. A file is the word "STAG", the number of
rows, and rows of eight bytes: distance in units (16 bits), kind, place from -8 to 8 in sixteenths, two
further numbers whose meaning the kind has, and 16 spare bits. game/stage.h names the kinds.
"""
import struct

BOSS, BUOY, LOG, DRONE, BOAT, PIKE, PILLAR, GATE, CARRIER, COIN = range(10)
POWER, SHIELD, FLARE = range(3)  # what a carrier holds
SWEEP, WAVE, DIVE, CIRCLE = range(4)  # how drones fly


class Random:
    def __init__(self, seed):
        self.state = seed

    def below(self, limit):
        x = self.state
        x ^= x << 13 & 0xFFFFFFFF
        x ^= x >> 17
        x ^= x << 5 & 0xFFFFFFFF
        self.state = x
        return x % limit


class Stage:
    def __init__(self, seed):
        self.rows = []
        self.at = 6
        self.random = Random(seed)

    def put(self, kind, x, a=0, b=0, ahead=0):
        self.rows.append((self.at + ahead, kind, max(-127, min(127, int(x * 16))), a & 255, b & 255))

    def go(self, units):
        self.at += units * 4 // 5 if units > 20 else units

    # Coins: a straight row, a bend, an arch to be leapt along.
    def row(self, x, count, step=3):
        for i in range(count):
            self.put(COIN, x, 0, 0, i * step)

    def bend(self, x0, x1, count, step=3):
        for i in range(count):
            t = i / (count - 1)
            self.put(COIN, x0 + (x1 - x0) * t * t * (3 - 2 * t), 0, 0, i * step)

    def arch(self, x, ahead=0):
        """Eight coins over whatever lies at their middle."""
        for i in range(7):
            d = (i - 3) / 3
            self.put(COIN, x, int((1.55 - 1.25 * d * d) * 16), 0, ahead + int((i - 3) * 1.9))

    def drones(self, path, count, side=1, step=5):
        for i in range(count):
            self.put(DRONE, side * 1.0, path, i, i * step)

    def squad(self, path, xs):
        for i, x in enumerate(xs):
            self.put(DRONE, x, path, i)

    def mines(self, xs, step=0):
        for i, x in enumerate(xs):
            self.put(BUOY, x, 0, 0, i * step)

    def hurdle(self, x):
        self.put(LOG, x)
        self.arch(x)

    def gate(self, x, half=1.5):
        self.put(GATE, x, int(half * 16))

    def pack(self):
        rows = sorted(self.rows, key=lambda row: row[0])
        data = struct.pack("<4sI", b"STAG", len(rows))
        for row in rows:
            data += struct.pack("<HBbBBH", *row, 0)
        return data


def sunset():
    """Coins, mines and the first squadrons; everything is met alone once."""
    s = Stage(101)
    s.row(0, 6); s.go(34)
    s.bend(0, 3, 8); s.go(34)
    s.mines([-3, -1, 1]); s.row(3, 5); s.go(36)
    s.squad(WAVE, [-2, 0, 2]); s.go(44)
    s.gate(-2); s.bend(-2, 2, 7); s.go(40)
    s.hurdle(0); s.put(LOG, 3.6); s.put(LOG, -3.6); s.go(40)
    s.drones(SWEEP, 5, 1); s.go(36)
    s.put(CARRIER, 0, POWER); s.go(20)
    s.drones(SWEEP, 5, -1); s.mines([0]); s.go(44)
    s.gate(2); s.go(12); s.gate(-2); s.go(12); s.gate(1); s.row(1, 4); s.go(30)
    s.mines([-4, -2, 0, 2, 4], 6); s.bend(-3, 3, 10); s.go(52)
    s.put(BOAT, -2); s.go(70)
    s.hurdle(-3); s.hurdle(3); s.put(LOG, 0); s.go(36)
    s.squad(DIVE, [-3, -1, 1, 3]); s.go(40)
    s.put(CARRIER, 1, SHIELD); s.row(1, 6); s.go(36)
    s.put(PILLAR, -2); s.put(PILLAR, 2); s.row(0, 5); s.go(30)
    s.put(PILLAR, 0); s.row(-3, 4); s.go(30)
    s.drones(CIRCLE, 6); s.go(50)
    s.gate(0, 1.2); s.go(40)
    s.put(BOSS, 0, 0)
    return s


def night():
    """Leaping things and narrow ways between the stumps of a temple."""
    s = Stage(202)
    s.bend(-3, 3, 9); s.go(36)
    s.put(PIKE, -1, 1); s.go(14); s.put(PIKE, 1, 255); s.go(24)
    s.put(PILLAR, -3.2); s.put(PILLAR, 3.2); s.gate(0); s.go(26)
    s.put(PILLAR, -1); s.put(PILLAR, 4.6); s.row(2, 5); s.go(26)
    s.put(PILLAR, 1); s.put(PILLAR, -4.6); s.row(-2, 5); s.go(34)
    s.drones(WAVE, 6, 1, 4); s.go(40)
    s.put(CARRIER, -2, POWER); s.go(16)
    for i in range(5):
        s.put(PIKE, (-1) ** i * 0.8, 1 if i % 2 == 0 else 255); s.go(13)
    s.bend(3, -3, 8); s.go(24)
    s.put(BOAT, 2.4); s.put(BOAT, -2.4, 30); s.go(90)
    s.hurdle(-2); s.put(LOG, 1.6); s.go(26); s.hurdle(2); s.put(LOG, -1.6); s.go(34)
    s.mines([-4, -3, -2, 2, 3, 4]); s.row(0, 7); s.go(34)
    s.drones(SWEEP, 5, 1, 4); s.drones(SWEEP, 5, -1, 4); s.go(46)
    s.put(CARRIER, 2, FLARE); s.go(20)
    for x in (-3, 1.5, -1, 3, 0):
        s.put(PILLAR, x); s.put(COIN, x + (2.2 if x < 1 else -2.2)); s.go(15)
    s.squad(DIVE, [-4, -2, 0, 2, 4]); s.go(36)
    s.gate(-3, 1.3); s.go(14); s.gate(0, 1.3); s.go(14); s.gate(3, 1.3); s.go(30)
    s.drones(CIRCLE, 8, 1, 4); s.put(PIKE, 0, 1, 0, 20); s.go(60)
    s.put(CARRIER, 0, SHIELD); s.go(40)
    s.put(BOSS, 0, 1)
    return s


def dawn():
    """Gunboats in numbers, hurdles under fire."""
    s = Stage(303)
    s.row(-2, 5); s.row(2, 5); s.go(30)
    s.put(BOAT, 0); s.mines([-3, 3]); s.go(50)
    s.hurdle(0); s.put(LOG, 3.4); s.put(LOG, -3.4); s.go(18)
    s.hurdle(1.5); s.put(LOG, -1.9); s.put(LOG, 4.9); s.go(36)
    s.drones(DIVE, 6, 1, 6); s.bend(-3, 3, 9); s.go(46)
    s.put(CARRIER, 3, POWER); s.drones(WAVE, 4, -1, 4); s.go(40)
    s.put(BOAT, -3); s.put(BOAT, 3); s.put(PIKE, 0, 1, 0, 20); s.go(80)
    for i in range(6):
        s.mines([-4 + i * 1.6, 4 - i * 1.6]); s.put(COIN, 0, 0, 0, 4); s.go(11)
    s.go(20)
    s.put(PILLAR, -2.4); s.put(PILLAR, 2.4); s.hurdle(0); s.go(24)
    s.put(PILLAR, 0); s.put(LOG, -3); s.put(LOG, 3); s.arch(3); s.go(34)
    s.put(CARRIER, -3, SHIELD); s.squad(SWEEP, [1, 1, 1, -1, -1, -1]); s.go(40)
    s.put(BOAT, 0); s.put(BOAT, -3.4, 20); s.put(BOAT, 3.4, 20); s.go(100)
    s.gate(2, 1.2); s.go(10); s.gate(-1, 1.2); s.go(10); s.gate(2, 1.2); s.go(10); s.gate(-1, 1.2); s.go(30)
    s.drones(CIRCLE, 8, 1, 3); s.drones(CIRCLE, 8, -1, 3); s.go(60)
    for i in range(6):
        s.put(PIKE, (i % 3 - 1) * 1.5, 1 if i % 2 else 255); s.go(10)
    s.go(14); s.put(CARRIER, 0, FLARE); s.row(0, 6); s.go(44)
    s.put(BOSS, 0, 2)
    return s


def noon():
    """Everything at once on the way to the ferry."""
    s = Stage(404)
    s.drones(SWEEP, 6, 1, 3); s.drones(SWEEP, 6, -1, 3); s.go(44)
    s.hurdle(-2); s.put(LOG, 1.6); s.put(PIKE, 2, 255); s.go(20)
    s.hurdle(2); s.put(LOG, -1.6); s.put(PIKE, -2, 1); s.go(34)
    s.put(CARRIER, 2, POWER); s.mines([-4, -2, 0, 2, 4], 5); s.go(36)
    s.put(BOAT, -2); s.put(BOAT, 2); s.drones(WAVE, 5, 1, 6); s.go(90)
    for x in (-2, 2, -1, 1, 0, -3, 3):
        s.put(PILLAR, x); s.put(PILLAR, x + 4.2); s.put(PILLAR, x - 4.2)
        s.put(COIN, x + 2.1); s.put(COIN, x - 2.1); s.go(13)
    s.go(20); s.squad(DIVE, [-4, -3, -1, 1, 3, 4]); s.go(40)
    s.put(CARRIER, -2, SHIELD); s.gate(0, 1.1); s.go(20)
    s.put(BOAT, 0); s.put(BOAT, -3.5); s.put(BOAT, 3.5); s.hurdle(0); s.go(100)
    s.drones(CIRCLE, 10, 1, 3); s.bend(-4, 4, 12); s.go(50)
    for i in range(8):
        s.put(PIKE, (i % 4 - 1.5) * 1.3, 1 if i % 2 else 255)
        s.put(BUOY, ((i * 3) % 8 - 3.5)); s.go(9)
    s.go(14); s.put(CARRIER, 0, FLARE); s.put(CARRIER, -3, POWER); s.row(0, 8); s.go(30)
    s.drones(WAVE, 8, 1, 3); s.drones(DIVE, 6, -1, 5); s.go(60)
    s.row(-2, 8); s.row(2, 8); s.go(44)
    s.put(BOSS, 0, 3)
    return s


STAGES = [sunset, night, dawn, noon]
