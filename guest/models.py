"""The solid things of the cabinet: corners and flat faces, all made from the shapes below.

Right is +x, up is +y, ahead is +z. A model is packed as solid.h reads it: counts, corners as three
floats each, and faces with their outward normal, four corners, colour and light.
"""
import math
import struct

MATT, GLOSS, GLOW = 0, 1, 2


class Model:
    def __init__(self):
        self.corners = []
        self.faces = []

    def corner(self, x, y, z):
        point = (round(x, 4), round(y, 4), round(z, 4))
        if point not in self.corners:
            self.corners.append(point)
        return self.corners.index(point)

    def face(self, colour, points, light=MATT, away_from=None):
        """Three or four points around a face; it looks away from the given point."""
        points = [tuple(float(v) for v in p) for p in points]
        (ax, ay, az), (bx, by, bz), (cx, cy, cz) = points[0], points[1], points[2]
        u = (bx - ax, by - ay, bz - az)
        v = (cx - ax, cy - ay, cz - az)
        normal = (u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0])
        if away_from is not None:
            centre = [sum(p[i] for p in points) / len(points) for i in range(3)]
            if sum((centre[i] - away_from[i]) * normal[i] for i in range(3)) < 0:
                points = points[::-1]
                normal = tuple(-n for n in normal)
        length = math.sqrt(sum(n * n for n in normal))
        if length < 1e-9:
            raise ValueError(f"a face without area: {points}")
        indices = [self.corner(*p) for p in points]
        if len(indices) == 3:
            indices.append(indices[2])
        self.faces.append((tuple(n / length for n in normal), indices, colour, light))

    def both_sides(self, colour, points, light=MATT, away_from=(0.0, 0.0, 0.0)):
        """The face and its mirror image on the other side of x = 0."""
        self.face(colour, points, light, away_from)
        self.face(colour, [(-x, y, z) for x, y, z in points], light,
                  (-away_from[0], away_from[1], away_from[2]))


def pack(model):
    data = struct.pack("<II", len(model.corners), len(model.faces))
    for point in model.corners:
        data += struct.pack("<fff", *point)
    for normal, corners, colour, light in model.faces:
        data += struct.pack("<fff4B3BB", *normal, *corners, *colour, light)
    return data


WHITE, SILVER, CORAL, TEAL = (244, 240, 232), (178, 184, 204), (236, 84, 72), (44, 150, 160)
GLASS, FLAME, DARK = (40, 66, 120), (255, 214, 120), (60, 52, 84)


def skimmer():
    """The craft: a slim hull with a glass canopy, swept wings with floats, two fins, one jet."""
    m = Model()
    nose, heart = (0, 0.10, 2.6), (0, 0.2, 0)
    top, tail_top = (0, 0.52, 0.1), (0, 0.46, -1.5)
    side, tail_side = (0.50, 0.16, 0.2), (0.42, 0.20, -1.6)
    keel, tail_keel = (0, -0.16, 0.3), (0, 0.02, -1.5)
    brow, glass_side, glass_back = (0, 0.42, 1.0), (0.26, 0.42, 0.25), (0, 0.56, -0.5)
    dome = (0, 0.74, 0.2)
    m.both_sides(WHITE, [nose, brow, side], GLOSS, heart)
    m.both_sides(SILVER, [nose, side, keel], MATT, heart)
    m.both_sides(WHITE, [brow, glass_side, side], GLOSS, heart)
    m.both_sides(WHITE, [glass_side, glass_back, tail_top, tail_side], GLOSS, heart)
    m.both_sides(WHITE, [glass_side, tail_side, side], GLOSS, heart)
    m.both_sides(SILVER, [keel, side, tail_side, tail_keel], MATT, heart)
    m.face(DARK, [tail_top, tail_side, tail_keel, (-0.42, 0.20, -1.6)], MATT, heart)
    m.face(FLAME, [(0, 0.38, -1.62), (0.24, 0.22, -1.66), (0, 0.08, -1.62), (-0.24, 0.22, -1.66)],
           GLOW, heart)
    m.both_sides(GLASS, [brow, dome, glass_side], GLOSS, heart)
    m.both_sides(GLASS, [dome, glass_back, glass_side], GLOSS, heart)
    # Wings and floats.
    root_a, root_b = (0.46, 0.20, 0.5), (0.44, 0.22, -1.2)
    tip_a, tip_b = (1.75, 0.02, -0.5), (1.75, 0.02, -1.3)
    m.both_sides(CORAL, [root_a, tip_a, tip_b, root_b], GLOSS, (1.0, -3, 0))
    m.both_sides((150, 56, 84), [root_a, tip_a, tip_b, root_b], MATT, (1.0, 3, 0))
    float_nose, float_tail = (1.80, -0.06, 0.5), (1.80, -0.02, -1.6)
    float_top, float_out, float_keel = (1.80, 0.14, -0.7), (1.98, -0.04, -0.7), (1.80, -0.26, -0.7)
    float_in, middle = (1.62, -0.04, -0.7), (1.80, -0.05, -0.7)
    for end in (float_nose, float_tail):
        m.both_sides(TEAL, [end, float_top, float_out], GLOSS, middle)
        m.both_sides(TEAL, [end, float_top, float_in], GLOSS, middle)
        m.both_sides(SILVER, [end, float_keel, float_out], MATT, middle)
        m.both_sides(SILVER, [end, float_keel, float_in], MATT, middle)
    # Fins, seen from both sides.
    fin = [(0.34, 0.34, -0.8), (0.34, 0.30, -1.6), (0.62, 1.05, -1.9), (0.60, 1.02, -1.5)]
    m.both_sides(CORAL, fin, GLOSS, (-5, 0, -1))
    m.both_sides(CORAL, fin, MATT, (5, 0, -1))
    return m


def scaled(model, size):
    for i, point in enumerate(model.corners):
        model.corners[i] = tuple(v * size for v in point)
    return model


def repainted(model, changes):
    """The same model with some colours changed."""
    model.faces = [(normal, corners, changes.get(colour, colour), light)
                   for normal, corners, colour, light in model.faces]
    return model


def lathe(m, profile, sides, colours, light=MATT, centre=(0, 0, 0), axis="y", turn=0.5, squeeze=1.0):
    """A body of revolution about an axis through the centre: profile of (radius, place along the axis)
    from one end to the other, one colour or a pair of alternating colours for each step of it."""
    def point(radius, along, i):
        angle = 2 * math.pi * (i + turn) / sides
        a, b = radius * math.cos(angle), radius * math.sin(angle) * squeeze
        x, y, z = {"y": (a, along, b), "z": (a, b, along), "x": (along, a, b)}[axis]
        return (centre[0] + x, centre[1] + y, centre[2] + z)

    for step, ((r0, a0), (r1, a1)) in enumerate(zip(profile, profile[1:])):
        colour = colours[step % len(colours)]
        middle_along = (a0 + a1) / 2
        # Steps inwards along the axis look towards its ends.
        lean = (a0 - a1) if abs(r0 - r1) > abs(a0 - a1) else 0
        for i in range(sides):
            shade = colour[i % len(colour)] if isinstance(colour[0], tuple) else colour
            glow = GLOW if shade in GLOWING else light
            corners = [point(r0, a0, i), point(r0, a0, i + 1), point(r1, a1, i + 1), point(r1, a1, i)]
            if r0 == 0:
                corners = corners[1:]
            elif r1 == 0:
                corners = corners[:3]
            inside = point(0, middle_along, 0)
            if lean:
                sign = 1 if (r1 - r0) * (a1 - a0) < 0 else -1
                away = {"y": (0, 1, 0), "z": (0, 0, 1), "x": (1, 0, 0)}[axis]
                inside = tuple(p - sign * 9 * d for p, d in zip(inside, away))
            m.face(shade, corners, glow, inside)
    return m


def box(m, low, high, colour, light=MATT, top=None, taper=0.0):
    """A box between two corners; its upper side may be smaller by `taper` on each side."""
    (x0, y0, z0), (x1, y1, z1) = low, high
    heart = tuple((a + b) / 2 for a, b in zip(low, high))
    b = [(x0, y0, z0), (x1, y0, z0), (x1, y0, z1), (x0, y0, z1)]
    t = [(x0 + taper, y1, z0 + taper), (x1 - taper, y1, z0 + taper), (x1 - taper, y1, z1 - taper),
         (x0 + taper, y1, z1 - taper)]
    glow = lambda c: GLOW if c in GLOWING else light
    m.face(top or colour, t, glow(top or colour), heart)
    for i in range(4):
        j = (i + 1) % 4
        m.face(colour, [b[i], b[j], t[j], t[i]], glow(colour), heart)
    return m


RUST, IRON, STEEL, NAVY = (168, 72, 40), (86, 84, 104), (132, 140, 164), (52, 60, 112)
GOLD, BRASS, WOOD, BARK = (255, 206, 84), (206, 146, 52), (150, 96, 56), (104, 62, 44)
STONE, MOSS, PURPLE, PLUM = (132, 120, 132), (92, 120, 84), (132, 72, 176), (88, 48, 124)
LAMP, EYE, CYAN, ROSE = (255, 240, 176), (255, 92, 64), (120, 240, 255), (255, 120, 190)
GREEN, LEAF, BONE, SAND = (72, 190, 120), (40, 128, 96), (236, 226, 200), (220, 186, 130)
GLOWING = {FLAME, LAMP, EYE, CYAN, ROSE}


def buoy():
    """A mine: an iron ball on the water with horns and a red band."""
    m = Model()
    lathe(m, [(0, -0.35), (0.42, -0.2), (0.55, 0.1), (0.42, 0.45), (0, 0.62)], 7,
          [IRON, EYE, STEEL, STEEL], GLOSS, (0, 0.3, 0))
    for i in range(3):
        angle = 2 * math.pi * i / 3 + 0.4
        x, z = 0.5 * math.cos(angle), 0.5 * math.sin(angle)
        tip = (x * 1.7, 0.85, z * 1.7)
        a, b, c = (x - 0.08, 0.52, z), (x + 0.08, 0.52, z), (x, 0.66, z)
        for side in ([a, b, tip], [b, c, tip], [c, a, tip]):
            m.face(GOLD, side, GLOSS, (x, 0.57, z))
    return m


def log():
    """A tree trunk across the water, to be leapt over."""
    m = Model()
    lathe(m, [(0, -1.7), (0.34, -1.7), (0.36, 0), (0.32, 1.7), (0, 1.7)], 7,
          [SAND, (WOOD, BARK), (WOOD, BARK), SAND], MATT, (0, 0.16, 0), "x")
    return m


def drone():
    """A raider: a flat disc with a lamp and three claws."""
    m = Model()
    lathe(m, [(0, -0.30), (0.30, -0.24), (0.78, 0.0), (0.40, 0.16), (0.22, 0.40), (0, 0.46)], 8,
          [EYE, (PLUM, PURPLE), (PURPLE, ROSE), CYAN, CYAN], GLOSS)
    return m


def boat():
    """A raiders' gunboat, its bow towards the player."""
    m = Model()
    bow, heart = (0, 0.5, -1.6), (0, 0.3, 0)
    deck_f, deck_b = (0.62, 0.52, -0.5), (0.6, 0.5, 1.3)
    keel_f, keel_b = (0.34, -0.2, -0.7), (0.42, -0.2, 1.3)
    m.both_sides(RUST, [bow, deck_f, keel_f], GLOSS, heart)
    m.both_sides(RUST, [deck_f, deck_b, keel_b, keel_f], GLOSS, heart)
    m.face(IRON, [bow, keel_f, (-0.34, -0.2, -0.7)], MATT, heart)
    m.face(SAND, [bow, deck_f, (-0.62, 0.52, -0.5)], MATT, (0, -5, 0))
    m.face(SAND, [deck_f, deck_b, (-0.6, 0.5, 1.3), (-0.62, 0.52, -0.5)], MATT, (0, -5, 0))
    m.face(IRON, [deck_b, keel_b, (-0.42, -0.2, 1.3), (-0.6, 0.5, 1.3)], MATT, heart)
    box(m, (-0.36, 0.5, -0.1), (0.36, 1.05, 0.9), NAVY, GLOSS, STEEL, 0.1)
    m.face(LAMP, [(-0.24, 0.66, -0.11), (0.24, 0.66, -0.11), (0.2, 0.9, -0.06), (-0.2, 0.9, -0.06)],
           GLOW, (0, 0.7, 3))
    lathe(m, [(0.14, -1.5), (0.14, -0.5)], 5, [IRON], GLOSS, (0, 0.72, 0), "z")
    return m


def pike():
    """A thing that leaps out of the water from side to side; it looks to the right."""
    m = Model()
    nose, tail, heart = (1.3, 0.0, 0), (-1.0, 0.05, 0), (0.1, 0, 0)
    ring = [(0.2, 0.42, 0), (0.1, 0.0, 0.32), (0.2, -0.34, 0), (0.1, 0.0, -0.32)]
    for i in range(4):
        a, b = ring[i], ring[(i + 1) % 4]
        m.face(GREEN if i in (0, 3) else BONE, [nose, a, b], GLOSS, heart)
        m.face(LEAF if i in (0, 3) else BONE, [tail, a, b], GLOSS, heart)
    for z in (-5, 5):
        m.face(CORAL, [tail, (-1.6, 0.55, 0), (-1.4, 0.0, 0), (-1.6, -0.45, 0)], GLOSS, (0, 0, z))
        m.face(CORAL, [(0.35, 0.36, 0), (-0.35, 0.9, 0), (-0.4, 0.25, 0)], GLOSS, (0, 0, z))
    for z in (-1, 1):
        m.face(EYE, [(0.72, 0.14, 0.17 * z), (0.86, 0.16, 0.13 * z), (0.80, 0.05, 0.15 * z)], GLOW,
               (0.8, 0.1, -z))
    return m


def pillar():
    """The stump of a drowned temple; nothing gets through."""
    m = Model()
    lathe(m, [(0.95, -0.2), (0.80, 0.5), (0.62, 0.62), (0.58, 2.9), (0.78, 3.1), (0.66, 3.5), (0, 3.7)],
          6, [MOSS, STONE, (STONE, (112, 102, 118)), STONE, STONE, MOSS], MATT)
    return m


def post():
    """One of the two posts of a gate, with a lamp."""
    m = Model()
    lathe(m, [(0.28, -0.1), (0.16, 0.3), (0.13, 2.2)], 6, [BRASS, (GOLD, CORAL)], GLOSS)
    lathe(m, [(0, 2.15), (0.36, 2.45), (0, 2.85)], 6, [LAMP, LAMP], GLOW)
    return m


def carrier():
    """A fat gilded barge-bird that carries something useful."""
    m = Model()
    lathe(m, [(0, -0.9), (0.5, -0.5), (0.62, 0.1), (0.34, 0.8), (0, 1.0)], 7,
          [FLAME, GOLD, (GOLD, BRASS), BRASS], GLOSS, (0, 0, 0), "z")
    m.both_sides(WHITE, [(0.5, 0.1, -0.3), (1.5, 0.5, 0.1), (1.4, 0.5, 0.5), (0.5, 0.1, 0.5)], GLOSS,
                 (1, -4, 0))
    m.both_sides(CORAL, [(0.5, 0.1, -0.3), (1.5, 0.5, 0.1), (1.4, 0.5, 0.5), (0.5, 0.1, 0.5)], MATT,
                 (1, 4, 0))
    return m


def heron_body():
    """The iron heron's body and beak; its wings are drawn apart."""
    m = Model()
    lathe(m, [(0, -1.6), (0.7, -0.9), (1.15, 0.3), (0.6, 1.7), (0, 2.2)], 8,
          [(STEEL, NAVY), (STEEL, NAVY), NAVY, IRON], GLOSS, (0, 0, 0), "z")
    lathe(m, [(0, -3.4), (0.2, -2.7), (0.48, -2.2), (0.5, -1.7), (0.3, -1.2)], 6,
          [GOLD, GOLD, STEEL, STEEL], GLOSS, (0, 0.55, 0), "z")
    for x in (-1, 1):
        m.face(EYE, [(0.22 * x, 0.82, -2.36), (0.46 * x, 0.74, -2.2), (0.34 * x, 0.98, -2.06)], GLOW,
               (0, 0.4, -2))
    m.both_sides(CORAL, [(0, 0.2, 1.9), (0.9, 0.3, 3.2), (0, 0.3, 3.0)], GLOSS, (0.5, -4, 2.5))
    m.both_sides(CORAL, [(0, 0.2, 1.9), (0.9, 0.3, 3.2), (0, 0.3, 3.0)], MATT, (0.5, 4, 2.5))
    return m


def heron_wing():
    """The right wing, from its joint outwards."""
    m = Model()
    for away, light in (((1.5, -9, 0), GLOSS), ((1.5, 9, 0), MATT)):
        m.face(STEEL, [(0, 0, -0.5), (1.9, 0.15, -0.9), (1.9, 0.15, 0.6), (0, 0, 0.9)], light, away)
        m.face(CORAL, [(1.9, 0.15, -0.9), (3.9, 0.0, 0.3), (3.3, 0.0, 0.9), (1.9, 0.15, 0.6)], light, away)
    return m


def dredger():
    """The dredger's hull, broad and low, with a lit bridge."""
    m = Model()
    bow, heart = (0, 0.9, -2.6), (0, 0.3, 0.5)
    m.both_sides(RUST, [bow, (2.9, 0.9, -1.2), (2.5, -0.3, -1.0), (0, -0.3, -2.0)], GLOSS, heart)
    m.both_sides(RUST, [(2.9, 0.9, -1.2), (2.9, 0.9, 2.6), (2.5, -0.3, 2.6), (2.5, -0.3, -1.0)], GLOSS, heart)
    m.both_sides(IRON, [bow, (2.9, 0.9, -1.2), (2.9, 0.9, 2.6), (0, 0.9, 2.6)], MATT, (1, -9, 0))
    box(m, (-1.3, 0.9, 0.4), (1.3, 2.2, 2.2), SAND, GLOSS, RUST, 0.15)
    m.face(LAMP, [(-1.0, 1.5, 0.42), (1.0, 1.5, 0.42), (0.95, 1.9, 0.50), (-0.95, 1.9, 0.50)], GLOW,
           (0, 1.5, 9))
    lathe(m, [(0.34, 2.1), (0.30, 3.5), (0.22, 3.5)], 6, [(IRON, RUST), EYE], MATT, (-0.6, 0, 1.6))
    lathe(m, [(0.34, 2.1), (0.30, 3.2), (0.22, 3.2)], 6, [(IRON, RUST), EYE], MATT, (0.6, 0, 1.6))
    return m


def turret():
    """A gun that looks at the player."""
    m = Model()
    lathe(m, [(0.75, 0), (0.66, 0.5), (0.3, 0.8), (0, 0.82)], 7, [(NAVY, IRON), STEEL, STEEL], GLOSS)
    lathe(m, [(0.18, -1.5), (0.2, -0.5)], 5, [IRON], GLOSS, (0.28, 0.38, 0), "z")
    lathe(m, [(0.18, -1.5), (0.2, -0.5)], 5, [IRON], GLOSS, (-0.28, 0.38, 0), "z")
    m.face(EYE, [(-0.12, 0.38, -0.68), (0.12, 0.38, -0.68), (0, 0.6, -0.58)], GLOW, (0, 0.4, 3))
    return m


def serpent_head():
    m = Model()
    lathe(m, [(0, -1.7), (0.5, -1.3), (0.95, -0.2), (0.8, 0.8), (0.5, 1.1)], 7,
          [BONE, (GREEN, LEAF), (GREEN, LEAF), LEAF], GLOSS, (0, 0, 0), "z", 0.0, 0.8)
    for x in (-1, 1):
        m.face(EYE, [(0.34 * x, 0.5, -1.0), (0.66 * x, 0.36, -0.8), (0.5 * x, 0.66, -0.5)], GLOW,
               (0, 0, 0))
        m.face(CORAL, [(0.3 * x, 0.6, -0.2), (0.5 * x, 1.5, 0.8), (0.55 * x, 0.5, 0.5)], GLOSS,
               (-9 * x, 0, 0))
        m.face(CORAL, [(0.3 * x, 0.6, -0.2), (0.5 * x, 1.5, 0.8), (0.55 * x, 0.5, 0.5)], MATT,
               (9 * x, 0, 0))
    return m


def serpent_ring():
    m = Model()
    lathe(m, [(0, -0.8), (0.6, -0.55), (0.78, 0.1), (0.5, 0.7), (0, 0.85)], 6,
          [LEAF, (GREEN, LEAF), (GREEN, LEAF), LEAF], GLOSS, (0, 0, 0), "z")
    m.face(CORAL, [(0, 0.6, -0.4), (0, 1.3, 0.3), (0, 0.6, 0.5)], GLOSS, (9, 0, 0))
    m.face(CORAL, [(0, 0.6, -0.4), (0, 1.3, 0.3), (0, 0.6, 0.5)], MATT, (-9, 0, 0))
    return m


def ferry():
    """The night ferry: tall, dark, hung with lamps."""
    m = Model()
    heart = (0, 0.8, 1)
    m.both_sides(PLUM, [(0, 1.6, -3.0), (1.7, 1.3, -1.2), (1.3, -0.3, -1.0), (0, -0.3, -2.2)], GLOSS, heart)
    m.both_sides(PLUM, [(1.7, 1.3, -1.2), (1.8, 1.4, 3.0), (1.4, -0.3, 3.0), (1.3, -0.3, -1.0)], GLOSS, heart)
    m.both_sides(WOOD, [(0, 1.6, -3.0), (1.7, 1.3, -1.2), (1.8, 1.4, 3.0), (0, 1.4, 3.0)], MATT, (1, -9, 0))
    box(m, (-1.2, 1.3, 0.0), (1.2, 2.5, 2.4), NAVY, GLOSS, PURPLE, 0.1)
    box(m, (-0.8, 2.5, 0.4), (0.8, 3.4, 2.0), PLUM, GLOSS, GOLD, 0.2)
    for x in (-0.8, 0.0, 0.8):
        m.face(LAMP, [(x - 0.22, 1.7, 0.03), (x + 0.22, 1.7, 0.03), (x + 0.22, 2.1, 0.06),
                      (x - 0.22, 2.1, 0.06)], GLOW, (x, 1.8, 9))
    lathe(m, [(0.12, 3.3), (0.08, 5.0)], 5, [GOLD], GLOSS, (0, 0, 1.2))
    lathe(m, [(0, 4.8), (0.42, 5.2), (0, 5.8)], 6, [LAMP, FLAME], GLOW, (0, 0, 1.2))
    return m


def core():
    """The weak place of a boss: a burning eye."""
    m = Model()
    lathe(m, [(0, -0.8), (0.55, -0.45), (0.75, 0.1), (0.5, 0.6)], 8, [EYE, (EYE, FLAME), GOLD], GLOSS,
          (0, 0, 0), "z")
    return m


def gem():
    """What a carrier leaves behind."""
    m = Model()
    lathe(m, [(0, -0.55), (0.42, 0.05), (0.28, 0.3), (0, 0.34)], 6, [(CYAN, WHITE), WHITE, WHITE], GLOSS)
    return m


MODELS = {
    "SKIMMER1": lambda: scaled(skimmer(), 0.5),
    "SKIMMER2": lambda: repainted(scaled(skimmer(), 0.5),
                                  {CORAL: (70, 130, 236), TEAL: (250, 190, 70), (150, 56, 84): (48, 70, 150)}),
    "BUOY": lambda: scaled(buoy(), 1.15), "LOG": log, "DRONE": lambda: scaled(drone(), 1.25), "BOAT": lambda: scaled(boat(), 1.25), "PIKE": pike, "PILLAR": pillar,
    "POST": post, "CARRIER": carrier, "HERON": heron_body, "WING": heron_wing, "DREDGER": dredger,
    "TURRET": turret, "HEAD": serpent_head, "RING": serpent_ring, "FERRY": ferry, "CORE": core,
    "GEM": gem,
}
