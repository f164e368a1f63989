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
