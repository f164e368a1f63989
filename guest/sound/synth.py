"""Sounds as lists of numbers, 15,625 a second, made of sines, noise and filters.

Only additions, multiplications and divisions take part, so that the same samples come out wherever they
are made: sines come from a table built here, decays from factors a sample.
"""
RATE = 15625
TURN = 4096  # table steps of a whole turn


def _sine_table():
    pi = 3.14159265358979323846

    def sine(x):  # -pi/2 to pi/2
        term = total = x
        for n in range(1, 12):
            term = -term * x * x / ((2 * n) * (2 * n + 1))
            total += term
        return total

    quarter = [sine(pi / 2 * i / (TURN // 4)) for i in range(TURN // 4 + 1)]
    half = quarter + quarter[-2:0:-1]
    return half + [-value for value in half]


SINE = _sine_table()
assert len(SINE) == TURN

SEMITONE = 1.0594630943592953
NOTE_NAMES = {"C": 0, "D": 2, "E": 4, "F": 5, "G": 7, "A": 9, "B": 11}


def note_number(name):
    """A note's number, C-1 being 0 and A4 69: 'C#5', 'Bb3'."""
    number = NOTE_NAMES[name[0]] + 12 * (int(name[-1]) + 1)
    return number + name[1:-1].count("#") - name[1:-1].count("b")


def note_hz(number):
    hz = 440.0
    for _ in range(abs(number - 69)):
        hz = hz * SEMITONE if number > 69 else hz / SEMITONE
    return hz


def hz(name):
    return note_hz(note_number(name))


class Random:
    """A 32-bit generator of our own."""

    def __init__(self, seed):
        self.state = seed

    def next(self):
        """-1 to 1."""
        x = self.state
        x ^= x << 13 & 0xFFFFFFFF
        x ^= x >> 17
        x ^= x << 5 & 0xFFFFFFFF
        self.state = x
        return x / 2147483648.0 - 1.0


def length(seconds):
    return int(seconds * RATE)


def silence(seconds):
    return [0.0] * length(seconds)


def tone(seconds, begin_hz, end_hz=None, partials=((1, 1.0),), wobble_hz=0.0, wobble=0.0):
    """Partials of a pitch that slides evenly in octaves; partials above 7 kHz are left out."""
    count = length(seconds)
    end_hz = end_hz or begin_hz
    # The factor a sample: the count-th root of end / begin, by halving.
    low, high = 0.99, 1.01
    for _ in range(60):
        middle = (low + high) / 2
        value, factor, left = 1.0, middle, count
        while left:
            if left & 1:
                value *= factor
            factor *= factor
            left >>= 1
        if value < end_hz / begin_hz:
            low = middle
        else:
            high = middle
    slide = (low + high) / 2
    used = [(k, a) for k, a in partials if k * max(begin_hz, end_hz) * (1 + wobble) < 7000]
    out, phase, pitch, swing = [], 0.0, begin_hz, 0.0
    for _ in range(count):
        bend = 1.0 + wobble * SINE[int(swing) % TURN]
        out.append(sum(a * SINE[int(phase * k) % TURN] for k, a in used))
        phase += pitch * bend * (TURN / RATE)
        swing += wobble_hz * (TURN / RATE)
        pitch *= slide
    return out


def noise(seconds, seed):
    random = Random(seed)
    return [random.next() for _ in range(length(seconds))]


def lowpass(samples, begin, end=None):
    """Two poles in a row; `begin` and `end` are the part of a step taken at each sample, 0 to 1."""
    end = begin if end is None else end
    out, a, b = [], 0.0, 0.0
    step = (end - begin) / max(1, len(samples))
    part = begin
    for sample in samples:
        a += (sample - a) * part
        b += (a - b) * part
        out.append(b)
        part += step
    return out


def highpass(samples, part):
    smooth = lowpass(samples, part)
    return [x - y for x, y in zip(samples, smooth)]


def decay(samples, seconds, attack=0.002):
    """Falls to a hundredth in so many seconds, behind a short rise."""
    count = length(seconds)
    low, high = 0.9, 1.0
    for _ in range(60):
        middle = (low + high) / 2
        value, factor, left = 1.0, middle, count
        while left:
            if left & 1:
                value *= factor
            factor *= factor
            left >>= 1
        if value < 0.01:
            low = middle
        else:
            high = middle
    rise = max(1, length(attack))
    level, out = 1.0, []
    for i, sample in enumerate(samples):
        out.append(sample * level * min(1.0, i / rise))
        level *= low
    return out


def swell(samples, rise, fall):
    """Even rise and fall, in seconds."""
    up, down, count = max(1, length(rise)), max(1, length(fall)), len(samples)
    return [x * min(1.0, i / up, (count - i) / down) for i, x in enumerate(samples)]


def mix(*parts):
    """Lists of (seconds from the begin, factor, samples)."""
    count = max(length(at) + len(samples) for at, _, samples in parts)
    out = [0.0] * count
    for at, factor, samples in parts:
        begin = length(at)
        for i, sample in enumerate(samples):
            out[begin + i] += factor * sample
    return out


def echo(samples, seconds, factor, tail):
    out = samples + silence(tail)
    back = length(seconds)
    for i in range(back, len(out)):
        out[i] += factor * out[i - back]
    return out


def press(samples, drive):
    """Lifts what is quiet and rounds peaks off: x / (1 + drive |x|), of a peak of 1."""
    peak = max(max(samples), -min(samples))
    return [x / peak / (1.0 + drive * abs(x / peak)) for x in samples]


def to_bytes(samples, bLoop=False):
    """Offset binary with a peak of 124, without a mean, quiet at both ends unless it is a loop."""
    mean = sum(samples) / len(samples)
    centred = [x - mean for x in samples]
    if not bLoop:
        edge = min(len(centred) // 4, 200)
        for i in range(24):
            centred[i] *= i / 24
        for i in range(edge):
            centred[-1 - i] *= i / edge
    peak = max(max(centred), -min(centred))
    return bytes(128 + int(x * 124.0 / peak + 128.5) - 128 for x in centred)
