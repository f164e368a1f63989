"""The cabinet's effects: how each sounds, and the channel and loudness with which it is played."""
from synth import (RATE, SINE, TURN, decay, echo, highpass, hz, lowpass, mix, noise, press, swell, tone)

BELL = ((1, 1.0), (2, 0.45), (3, 0.25), (4.2, 0.12), (5.4, 0.08))
REED = ((1, 1.0), (2, 0.5), (3, 0.33), (4, 0.2), (5, 0.12), (6, 0.07))
PIPE = ((1, 1.0), (3, 0.25), (5, 0.08))
PURE = ((1, 1.0),)


def notes(names, step, ring, partials, attack=0.003):
    """One note behind the other, each ringing on."""
    return mix(*[(i * step, 1.0, decay(tone(ring, hz(name), partials=partials), ring, attack))
                 for i, name in enumerate(names)])


def coin():
    return press(mix((0, 0.7, decay(tone(0.10, hz("B5"), partials=BELL), 0.35)),
                     (0.075, 1.0, decay(tone(0.75, hz("E6"), partials=BELL), 0.8))), 0.8)


def start():
    chord = mix(*[(0, 0.5, decay(tone(0.9, hz(n), partials=REED), 1.0, 0.01)) for n in ("C5", "E5", "G5")])
    return press(mix((0, 0.8, notes(("G4", "C5", "E5"), 0.09, 0.3, REED)), (0.27, 0.9, chord),
                     (0.27, 0.6, decay(tone(0.9, hz("C6"), partials=BELL, wobble_hz=6, wobble=0.004),
                                       1.0, 0.01))), 1)


def pick_coin():
    return press(mix((0, 0.8, decay(tone(0.08, hz("G6"), partials=PURE), 0.25)),
                     (0.05, 1.0, decay(tone(0.3, hz("C7"), partials=((1, 1.0), (2, 0.2))), 0.35))), 0.8)


def fire():
    return press(mix((0, 1.0, decay(tone(0.17, 1500, 240, partials=((1, 1.0), (2, 0.4), (3, 0.2))), 0.28)),
                     (0, 0.25, decay(highpass(noise(0.05, 11), 0.4), 0.05))), 1)


def hit():
    return press(mix((0, 1.0, decay(tone(0.3, 190, 55, partials=((1, 1.0), (2, 0.3))), 0.4)),
                     (0, 0.9, decay(lowpass(noise(0.25, 21), 0.7, 0.2), 0.25))), 2)


def blast():
    return press(mix((0, 2.2, decay(lowpass(noise(1.1, 31), 0.55, 0.05), 1.2, 0.004)),
                     (0, 0.6, decay(tone(0.9, 110, 36), 1.0))), 3)


def leap():
    return swell(decay(tone(0.36, 230, 760, partials=PIPE, wobble_hz=18, wobble=0.01), 0.8), 0.02, 0.12)


def splash():
    drops = [(0.06 + 0.045 * i, 0.25, decay(tone(0.07, f, f * 1.5), 0.09)) for i, f in
             enumerate((900, 1300, 1050, 1600, 1200))]
    water = highpass(lowpass(noise(0.55, 41), 0.5, 0.25), 0.05)
    return press(mix((0, 1.3, decay(swell(water, 0.03, 0.2), 0.7)), *drops), 2)


def power():
    return press(echo(notes(("C5", "E5", "G5", "B5", "D6", "G6"), 0.06, 0.35, BELL), 0.13, 0.35, 0.25), 1)


def flare():
    rise = swell(tone(0.5, 180, 1500, partials=((1, 0.5), (2, 0.2))), 0.05, 0.05)
    return press(mix((0, 0.5, rise), (0, 0.5, swell(lowpass(noise(0.5, 51), 0.05, 0.5), 0.4, 0.05)),
                     (0.48, 1.4, decay(lowpass(noise(0.9, 52), 0.6, 0.1), 1.0)),
                     (0.48, 0.5, decay(tone(0.8, hz("A5"), partials=BELL), 0.9))), 2.5)


def lost():
    return press(swell(mix((0, 1.0, tone(1.1, 620, 90, partials=REED, wobble_hz=9, wobble=0.06)),
                     (0.2, 0.5, decay(lowpass(noise(0.8, 61), 0.4, 0.1), 1.2, 0.1))), 0.01, 0.5), 0.7)


def gate():
    return press(mix((0, 0.8, decay(tone(0.3, hz("D6"), partials=BELL), 0.4)),
                     (0.07, 1.0, decay(tone(0.4, hz("A6"), partials=BELL), 0.5))), 0.8)


def warning():
    call = mix((0, 1.0, swell(tone(0.2, hz("A4"), partials=REED), 0.012, 0.03)),
               (0.2, 1.0, swell(tone(0.24, hz("E4"), partials=REED), 0.012, 0.05)))
    return mix(*[(0.46 * i, 1.0, call) for i in range(4)])


def boss_blast():
    bursts = [(at, f, decay(lowpass(noise(0.9, 70 + i), 0.6, 0.06), 1.0, 0.004)) for i, (at, f) in
              enumerate(((0, 1.8), (0.28, 1.2), (0.55, 1.5), (0.95, 2.2)))]
    return press(mix((0, 0.7, decay(tone(2.3, 95, 28, partials=((1, 1.0), (2, 0.3))), 2.6)), *bursts), 2.5)


def tick():
    return decay(tone(0.06, 1050, partials=((1, 1.0), (2, 0.2))), 0.07)


def letter():
    return notes(("E5", "A5"), 0.05, 0.16, PIPE)


LOOP = 16384  # samples: whole pages of 4 KiB, in a block of 16 KiB


def engine():
    """A motor's hum over running water, without a seam: all its pitches fit the loop."""
    hums = [(58, 0.55), (116, 0.5), (174, 0.28), (232, 0.16), (290, 0.1), (348, 0.06)]  # turns in the loop
    out = []
    for i in range(LOOP):
        swing = 1.0 + 0.12 * SINE[i * 12 * TURN // LOOP % TURN]
        out.append(sum(a * SINE[i * k * TURN // LOOP % TURN] for k, a in hums) * swing)
    # Noise over one and a half loops, its end laid over its begin.
    water = highpass(lowpass(noise(1.5 * LOOP / RATE + 0.001, 81), 0.22), 0.02)
    fade = LOOP // 2
    for i in range(LOOP):
        wet = water[i + fade] if i + fade < LOOP else (
            water[i + fade] * (LOOP - i) / fade + water[i + fade - LOOP] * (i + fade - LOOP) / fade)
        out[i] += 1.1 * wet * (1.0 + 0.25 * SINE[i * 5 * TURN // LOOP % TURN])
    quietest = min(range(LOOP), key=lambda i: abs(out[i]) + abs(out[i - 1]))
    return out[quietest:] + out[:quietest]


# --- drums, for the tunes ------------------------------------------------------------------------


def kick():
    return decay(tone(0.22, 150, 42), 0.28)


def snare():
    return mix((0, 0.6, decay(tone(0.12, 220, 160), 0.16)),
               (0, 1.0, decay(highpass(noise(0.2, 91), 0.15), 0.22)))


def hat():
    return decay(highpass(noise(0.07, 92), 0.7), 0.07, 0.001)


def tom():
    return decay(tone(0.3, 190, 95, partials=((1, 1.0), (2, 0.15))), 0.36)


# Identifier, sound, channel, peak in the sum of all voices; a peak's sum over the channels and the
# tunes' voices stays below 32767.
EFFECTS = [
    (0x10, coin,       1, 4600), (0x11, start,      1, 4800), (0x12, pick_coin,  2, 3000),
    (0x13, fire,       3, 3000), (0x14, hit,        4, 4300), (0x15, blast,      5, 4700),
    (0x16, leap,       6, 2600), (0x17, splash,     6, 2600), (0x18, power,      2, 3600),
    (0x19, flare,      5, 4700), (0x1A, lost,       4, 4600), (0x1B, gate,       2, 3400),
    (0x1C, warning,    1, 3600), (0x1D, boss_blast, 5, 5000), (0x1E, tick,       1, 2400),
    (0x1F, letter,     1, 3000),
]
LOOPS = [(0x20, engine, 7, 1300)]
DRUMS = [kick, snare, hat, tom]
