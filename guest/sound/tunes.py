"""The cabinet's tunes: four voices each, in steps of a sixteenth note."""
from synth import note_number

# Instruments: wave (0 to 3) or drum (by name), attack in levels a block, decay factor, sustained level,
# release factor (of 256), peak in the sum of all voices at full volume, vibrato.
INSTRUMENTS = {
    "reed":  (0,       100, 250, 150, 175, 2400, 70),
    "pipe":  (1,        60, 252, 190, 190, 2300, 80),
    "bass":  (2,       170, 246, 130, 150, 2200,  0),
    "bell":  (3,       255, 240,  45, 205, 1500,  0),
    "pad":   (1,        14, 254, 210, 225, 1400, 40),
    "kick":  ("kick",  255, 255, 255,  90, 1700,  0),
    "snare": ("snare", 255, 255, 255,  90, 1400,  0),
    "hat":   ("hat",   255, 255, 255,  90,  750,  0),
    "tom":   ("tom",   255, 255, 255,  90, 1600,  0),
}
DRUM_LETTERS = {"k": "kick", "s": "snare", "h": "hat", "t": "tom"}
LEAD, HARMONY, BASS, DRUMS = range(4)

QUALITIES = {"": (0, 4, 7), "m": (0, 3, 7), "7": (0, 4, 10)}


def chord_notes(name, octave):
    root = name[:2] if name[1:2] in ("#", "b") else name[:1]
    base = note_number(root + str(octave))
    return [base + step for step in QUALITIES[name[len(root):]]]


class Tune:
    """Collects notes as (step, voice, instrument, note, volume, steps)."""

    def __init__(self, blocks_a_step, bLoop, bar=16):
        self.blocks = blocks_a_step
        self.loop = bLoop
        self.bar = bar
        self.notes = []
        self.steps = 0

    def melody(self, voice, instrument, text, volume=112, bars=0):
        """'A4:2 r:2' and so on; bars are parted by |, and each must be full."""
        step = bars * self.bar
        for bar in text.split("|"):
            begin = step
            for word in bar.split():
                name, steps = word.split(":")
                if name != "r":
                    self.notes.append((step, voice, instrument, note_number(name), volume, int(steps)))
                step += int(steps)
            if (step - begin) % self.bar:
                raise ValueError(f"a bar of {step - begin} steps: {bar}")
        self.steps = max(self.steps, step)

    def arpeggio(self, chords, pattern, octave=4, instrument="bell", volume=90, each=2):
        """For every chord a bar of notes by their places in the chord; 3 is its root an octave up."""
        for index, name in enumerate(chords.split()):
            tones = chord_notes(name, octave)
            tones.append(tones[0] + 12)
            for place in range(self.bar // each):
                letter = pattern[place % len(pattern)]
                if letter == ".":
                    continue
                self.notes.append((index * self.bar + place * each, HARMONY, instrument, tones[int(letter)],
                                   volume, each))

    def hold(self, chords, place, octave=4, instrument="pad", volume=100):
        for index, name in enumerate(chords.split()):
            note = chord_notes(name, octave)[place]
            self.notes.append((index * self.bar, HARMONY, instrument, note, volume, self.bar))

    def bass(self, chords, pattern, octave=2, volume=118, each=2):
        """0 root, 2 fifth, 3 octave, - a longer note, . none."""
        for index, name in enumerate(chords.split()):
            tones = chord_notes(name, octave)
            tones.append(tones[0] + 12)
            count = self.bar // each
            bar = (pattern * count)[:count]
            for place, letter in enumerate(bar):
                if letter in ".-":
                    continue
                steps = each
                while place * each + steps < self.bar and bar[place + steps // each] == "-":
                    steps += each
                self.notes.append((index * self.bar + place * each, BASS, "bass", tones[int(letter)], volume,
                                   steps))

    def drums(self, bars, *patterns, volume=110):
        """One letter a step; the bars take the patterns in turn."""
        for index in range(bars):
            for place, letter in enumerate(patterns[index % len(patterns)]):
                if letter != ".":
                    self.notes.append((index * self.bar + place, DRUMS, DRUM_LETTERS[letter], 60,
                                       volume if place % 4 == 0 else volume * 3 // 4, 4))


def title():
    t = Tune(8, True)
    a, b = "Am F C G Am F G Am", "F G Em Am Dm G C E"
    t.melody(LEAD, "pipe", "A4:4 C5:2 E5:6 D5:2 C5:2 | A4:6 C5:2 F5:4 E5:4 | G5:6 E5:2 C5:4 D5:2 E5:2 |"
             "D5:8 B4:4 G4:4 | A4:4 C5:2 E5:6 G5:2 E5:2 | F5:6 E5:2 D5:2 C5:2 A4:4 |"
             "B4:4 D5:4 G5:2 F5:2 E5:2 D5:2 | E5:12 r:4 | C5:4 F5:4 A5:6 G5:2 | G5:4 F5:2 E5:2 D5:8 |"
             "E5:4 G5:4 B5:6 A5:2 | A5:4 G5:2 E5:2 C5:8 | D5:2 E5:2 F5:4 A5:4 G5:2 F5:2 |"
             "E5:2 D5:2 B4:4 D5:4 G5:4 | E5:6 D5:2 C5:4 G4:4 | B4:4 E5:4 G#4:8")
    t.arpeggio(f"{a} {b}", "01230321", 4)
    t.bass(f"{a} {b}", "0--02-3-")
    t.drums(16, "k.h.s.h.k.k.s.h.", "k.h.s.h.k.h.s.hh")
    return t


def stage1():
    t = Tune(7, True)
    a, b = "D A Bm G D A G A", "G A F#m Bm G A D A"
    t.melody(LEAD, "reed", "F#5:2 D5:2 A4:4 D5:2 F#5:2 A5:4 | E5:6 C#5:2 A4:4 C#5:2 E5:2 |"
             "D5:4 F#5:4 B5:4 A5:2 F#5:2 | G5:6 F#5:2 E5:2 D5:2 B4:4 | A4:2 D5:2 F#5:2 A5:6 F#5:2 D5:2 |"
             "C#5:4 E5:4 A5:4 G5:2 E5:2 | D5:2 B4:2 G4:4 B4:2 D5:2 G5:4 | E5:8 A4:4 r:4 |"
             "B5:4 A5:2 G5:6 F#5:2 E5:2 | E5:4 C#5:4 E5:4 A5:4 | A5:6 F#5:2 C#5:4 E5:4 | D5:8 F#5:4 B4:4 |"
             "B4:2 D5:2 G5:4 F#5:2 E5:2 D5:4 | E5:4 A5:4 C#5:4 E5:4 | F#5:6 E5:2 D5:4 A4:4 |"
             "A4:2 B4:2 C#5:2 E5:2 A4:8")
    t.arpeggio(f"{a} {b}", "0213", 4)
    t.bass(f"{a} {b}", "0-030-23")
    t.drums(16, "k.h.s.h.khk.s.h.")
    return t


def stage2():
    t = Tune(8, True)
    a, b = "Em C G D Em C Am B", "Am Em C D Am Em B B"
    t.melody(LEAD, "pipe", "E4:6 G4:2 B4:8 | C5:4 B4:2 A4:2 G4:8 | D5:6 B4:2 G4:4 B4:4 | A4:12 F#4:4 |"
             "E4:4 B4:4 E5:6 D5:2 | C5:4 E5:4 G5:4 F#5:2 E5:2 | C5:4 A4:4 E5:4 D5:2 C5:2 | B4:8 D#5:4 F#4:4 |"
             "A4:4 C5:4 E5:6 D5:2 | B4:8 G4:8 | C5:4 E5:4 G5:6 E5:2 | F#5:8 D5:8 |"
             "C5:2 B4:2 A4:4 C5:4 E5:4 | G5:6 F#5:2 E5:8 | D#5:4 F#5:4 B5:4 A5:2 F#5:2 | B4:12 r:4")
    t.arpeggio(f"{a} {b}", "0.2.1.3.", 4, volume=100)
    t.bass(f"{a} {b}", "0---2---", volume=112)
    t.drums(16, "k...h...k.k.h...", volume=96)
    return t


def stage3():
    t = Tune(7, True)
    a = "F C Dm Bb F C Bb C"
    t.melody(LEAD, "reed", "C5:4 F5:4 A5:4 G5:2 F5:2 | E5:6 G5:2 C5:8 | D5:2 F5:2 A5:4 F5:4 D5:4 |"
             "Bb4:4 D5:4 F5:6 D5:2 | C5:2 F5:2 G5:2 A5:6 C6:4 | G5:4 E5:4 C5:4 E5:4 |"
             "D5:4 F5:2 Bb5:6 A5:2 G5:2 | E5:4 G5:4 C5:8")
    t.melody(LEAD, "pipe", "A4:8 C5:8 | G4:6 A4:2 C5:8 | F4:4 A4:4 D5:8 | D5:6 C5:2 Bb4:8 |"
             "A4:4 C5:4 F5:8 | E5:4 D5:4 C5:4 G4:4 | Bb4:4 D5:4 F5:4 G5:4 | E5:12 r:4", bars=8)
    t.arpeggio(f"{a} {a}", "0123210.", 4)
    t.bass(f"{a} {a}", "0-2-3-2-")
    t.drums(16, "k.h.s.h.k.h.s.h.", "k.h.s.h.kkh.s.t.")
    return t


def stage4():
    t = Tune(6, True)
    a, b = "C Bb F C C Bb G G", "Am F C G Am F G G"
    t.melody(LEAD, "reed", "E5:2 G5:2 C5:2 E5:2 G5:4 E5:4 | F5:2 D5:2 Bb4:4 D5:4 F5:4 |"
             "A5:4 G5:2 F5:2 C5:4 F5:4 | E5:6 D5:2 C5:8 | G5:2 E5:2 C6:4 B5:2 G5:2 E5:4 |"
             "D5:2 F5:2 Bb5:4 A5:2 F5:2 D5:4 | B4:4 D5:4 G5:4 F5:2 D5:2 | G5:4 A5:2 B5:2 D6:4 G5:4 |"
             "C6:6 B5:2 A5:4 E5:4 | F5:4 A5:4 C6:4 A5:4 | G5:6 E5:2 C5:4 E5:4 | D5:8 B4:4 D5:4 |"
             "E5:4 A5:4 C6:4 B5:2 A5:2 | A5:6 G5:2 F5:8 | G5:2 A5:2 B5:4 D6:4 B5:4 | G5:12 r:4")
    t.arpeggio(f"{a} {b}", "0321", 4)
    t.bass(f"{a} {b}", "00300323")
    t.drums(16, "k.hhs.hkk.hhs.h.", "k.hhs.hkk.hhs.tt")
    return t


def boss():
    t = Tune(6, True)
    a = "Cm Cm Ab G Cm Cm Fm G"
    t.melody(LEAD, "reed", "C5:2 r:2 C5:2 Eb5:2 D5:2 C5:2 B4:4 | C5:2 r:2 Eb5:2 G5:2 F#5:4 G5:4 |"
             "Ab5:4 G5:2 Eb5:2 C5:4 Eb5:4 | D5:4 B4:4 G4:8 | C5:2 r:2 C5:2 Eb5:2 G5:2 Ab5:2 G5:4 |"
             "C6:4 B5:4 G5:4 Eb5:4 | F5:2 Ab5:2 C6:4 Ab5:4 F5:4 | G5:4 F5:2 D5:2 B4:8", 118)
    t.arpeggio(a, "0.1.", 3, volume=100)
    t.bass(a, "00000030", volume=124)
    t.drums(8, "k.k.s.k.k.k.s.t.", "k.k.s.k.k.k.stt.")
    return t


def tally():
    t = Tune(7, False)
    a = "C F G C"
    t.melody(LEAD, "reed", "G4:2 C5:2 E5:2 G5:2 E5:2 G5:2 C6:4 | A5:2 F5:2 C5:2 F5:2 A5:4 C6:4 |"
             "B5:2 G5:2 D5:2 G5:2 B5:4 D6:4 | C6:12 r:4")
    t.arpeggio(a, "0123", 4)
    t.bass(a, "0-2-3-2-")
    t.drums(4, "k.h.s.h.k.h.s.s.")
    return t


def game_over():
    t = Tune(10, False)
    a = "Am F Dm Am"
    t.melody(LEAD, "pipe", "E5:6 D5:2 C5:4 A4:4 | C5:6 A4:2 F4:8 | D5:4 C5:4 B4:4 G#4:4 | A4:16")
    t.hold(a, 1, 4)
    t.bass(a, "0---2---")
    return t


def scores():
    t = Tune(9, True, bar=12)
    a, b = "G Em C D G Em Am D", "C G Am Em C G D D"
    t.melody(LEAD, "pipe", "B4:4 D5:4 G5:4 | G5:4 F#5:4 E5:4 | E5:4 C5:4 G4:4 | A4:8 D5:4 | B4:4 D5:4 B5:4 |"
             "B5:4 A5:4 G5:4 | C5:4 E5:4 A5:4 | F#5:8 D5:4 | E5:8 G5:4 | D5:8 B4:4 | C5:4 E5:4 A5:4 |"
             "G5:8 E5:4 | E5:4 G5:4 C6:4 | B5:8 G5:4 | A5:4 F#5:4 D5:4 | D5:8 r:4")
    t.arpeggio(f"{a} {b}", "012", 4, each=4, volume=96)
    t.bass(f"{a} {b}", "0-----", volume=110)
    return t


TUNES = [
    (0x40, title), (0x41, stage1), (0x42, stage2), (0x43, stage3), (0x44, stage4), (0x48, boss),
    (0x49, tally), (0x4A, game_over), (0x4B, scores),
]
