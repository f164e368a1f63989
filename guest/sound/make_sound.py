#!/usr/bin/env python3
"""Makes the eight sound ROMs: boot images, tables, records, samples.

Usage: make_sound.py PROGRAM_IMAGE TONE_IMAGE OUT_FOLDER

    ROM 1   0x00000  boot image of the sound program
            0x02000  boot image of the test tone, for a boot from page 2
            0x03000  notes, two bytes each; 0x03100 instruments, 16 bytes each
            0x04000  version; 0x04040 address of the command table
            0x10000  command table: the record's address for each of 65,536 commands
            0x40000  records
    ROM 2.. samples, 8 bits around 0x80, each filled up to whole KiB

An address in these tables has the ROM's number, counted from 0, in bits 20 and up. Numbers are big-endian.
Records and tables keep clear of page ends, since programs read them through a window of one page.
"""
import os
import sys

import effects
import tunes
from synth import note_hz, to_bytes

ROM_BYTES, ROMS, PAGE = 0x80000, 8, 0x1000
TABLE, RECORDS, NOTES, INSTRUMENTS = 0x10000, 0x40000, 0x3000, 0x3100
SAMPLE_ROM, LOOP_ROM, DRUM_ROM = 1, 2, 3
BLOCK = 256  # samples
NOTE_FACTOR = 8  # X of a note's pitch
EFFECT, TUNE = 1, 2
END, NOTE_ON, PROGRAM, JUMP = 0, 1, 4, 5
STOP, VOLUME, GAIN, SAMPLE, LOOP = 6, 7, 8, 10, 11
FULL_VOLUME = 127
LAST_WAIT = b"\xFF\xFF"


def address_bytes(rom, offset):
    return ((rom << 20) | offset).to_bytes(3, "big")


def word(value):
    return value.to_bytes(2, "big")


class Roms:
    def __init__(self):
        self.bytes = [bytearray((b"\x80" if rom else b"\xFF") * ROM_BYTES) for rom in range(ROMS)]
        self.next_record = RECORDS
        self.next_sample = [0] * ROMS

    def put(self, rom, offset, data):
        if offset + len(data) > ROM_BYTES:
            raise ValueError(f"ROM {rom + 1} is full")
        self.bytes[rom][offset:offset + len(data)] = data

    def command(self, identifier, address):
        self.put(0, TABLE + 3 * identifier, address)

    def sample(self, rom, data, align=1024):
        """Puts a sample at the next place and answers its address."""
        at = (self.next_sample[rom] + align - 1) // align * align
        self.put(rom, at, data)
        self.next_sample[rom] = (at + len(data) + 1023) // 1024 * 1024
        return address_bytes(rom, at)

    def record(self, data):
        """Puts a record that must lie in one page."""
        if self.next_record % PAGE + len(data) > PAGE:
            self.next_record = (self.next_record // PAGE + 1) * PAGE
        at = self.next_record
        self.put(0, at, data)
        self.next_record += len(data)
        return address_bytes(0, at)


def sample_gain(peak):
    """High byte of the gain at which a sample at full volume has this peak."""
    return peak * 65536 // (124 * FULL_VOLUME) // 256


def effect_record(channel, peak, sample, blocks, bLoop):
    data = bytes([EFFECT, channel])
    data += word(0) + bytes([VOLUME, FULL_VOLUME])
    data += word(0) + bytes([GAIN, sample_gain(peak)])
    data += word(0) + bytes([SAMPLE]) + sample
    if bLoop:
        return data + word(0) + bytes([LOOP]) + sample + LAST_WAIT
    return data + word(blocks) + bytes([STOP]) + word(0) + bytes([END])


def tune_events(tune):
    """(tick, bytes) in order: programs where a voice's instrument changes, and notes."""
    names = list(tunes.INSTRUMENTS)
    present, events = {}, []
    for step, voice, instrument, note, volume, steps in sorted(tune.notes, key=lambda n: (n[0], n[1])):
        tick = step * tune.blocks
        if present.get(voice) != instrument:
            present[voice] = instrument
            events.append((tick, bytes([PROGRAM, voice, names.index(instrument)])))
        # The release falls before the next note, so that repeated notes stand apart.
        blocks = min(255, max(1, steps * tune.blocks - max(2, tune.blocks // 4)))
        events.append((tick, bytes([NOTE_ON, voice, note, volume, blocks])))
    return events


def put_tune(roms, identifier, tune):
    """A record that goes on at the next page by jumps, and from the end to the begin if it is a loop."""
    if roms.next_record % PAGE > PAGE - 32:
        roms.next_record = (roms.next_record // PAGE + 1) * PAGE
    jump_bytes = 2 + 1 + 3
    at = roms.next_record
    roms.command(identifier, address_bytes(0, at))
    roms.put(0, at, bytes([TUNE, 0]))
    at += 2
    begin, last = at, 0
    for tick, event in tune_events(tune):
        if at % PAGE + 2 + len(event) + jump_bytes > PAGE:
            following = (at // PAGE + 1) * PAGE
            roms.put(0, at, word(0) + bytes([JUMP]) + address_bytes(0, following))
            at = following
        roms.put(0, at, word(tick - last) + event)
        at += 2 + len(event)
        last = tick
    rest = tune.steps * tune.blocks - last
    if tune.loop:
        roms.put(0, at, word(rest) + bytes([JUMP]) + address_bytes(0, begin))
    else:
        roms.put(0, at, word(rest) + bytes([END]) + LAST_WAIT)
    roms.next_record = at + jump_bytes


def put_tables(roms, drums):
    for number in range(128):
        step = note_hz(number) * 64 / 15625 / NOTE_FACTOR
        roms.put(0, NOTES + 2 * number, word(min(65535, int(step * 65536 + 0.5))))
    for index, instrument in enumerate(tunes.INSTRUMENTS.values()):
        kind, attack, decay, sustain, release, peak, vibrato = instrument
        if isinstance(kind, str):
            gain = peak * 65536 // (124 * FULL_VOLUME) // (2 * FULL_VOLUME)
            data = bytes([4, attack, decay, sustain, release, gain, vibrato, 0]) + drums[kind]
        else:
            gain = peak * 65536 // 15000 // (2 * FULL_VOLUME)
            data = bytes([kind, attack, decay, sustain, release, gain, vibrato, 0])
        roms.put(0, INSTRUMENTS + 16 * index, data)


def check_sum():
    """Sums of all voices wrap, so their peaks together must stay in 16 bits."""
    channels = {}
    for _, _, channel, peak in effects.EFFECTS + effects.LOOPS:
        channels[channel] = max(channels.get(channel, 0), peak)
    voices = {}
    for _, make in tunes.TUNES:
        for _, voice, instrument, _, _, _ in make().notes:
            voices[voice] = max(voices.get(voice, 0), tunes.INSTRUMENTS[instrument][5])
    total = sum(channels.values()) + sum(voices.values())
    if total > 32767:
        sys.exit(f"make_sound.py: the voices' peaks make {total}, too much for 16 bits; turn some down.")


def put_test_records(roms):
    """Records for tests of how hosts tell effects from tunes; identifiers from 0x1C0 on."""
    records = [
        bytes([EFFECT, 0]) + LAST_WAIT,                      # 1C0 no effect: channel 0
        bytes([TUNE, 3]) + LAST_WAIT,                        # 1C1 no effect: type 2
        bytes([EFFECT, 7]) + LAST_WAIT,                      # 1C2 an empty effect
        bytes([EFFECT, 7]) + word(0) + bytes([END]),         # 1C3
    ]
    arguments = {6: 0, 13: 0, 7: 1, 8: 1, 9: 1, 10: 3, 11: 3, 12: 3}
    for kind in range(1, 16):  # 1C4 to 1D2
        event = bytes([kind]) + bytes(arguments.get(kind, 0))
        records.append(bytes([EFFECT, 7]) + word(0) + event + LAST_WAIT)
    for index, data in enumerate(records):
        roms.command(0x1C0 + index, roms.record(data))
    # 1D3 to 1D5: at the end of all addresses; 1D6: by an address whose bit 19 is not looked at.
    roms.put(7, 0x7FFFC, bytes([EFFECT, EFFECT, 7, 0xFF]))
    roms.command(0x1D3, bytes([0x7F, 0xFF, 0xFD]))
    roms.command(0x1D4, bytes([0x7F, 0xFF, 0xFE]))
    roms.command(0x1D5, bytes([0x80, 0x00, 0x00]))
    plain = roms.record(bytes([EFFECT, 6]) + LAST_WAIT)
    roms.command(0x1D6, bytes([plain[0] | 0x08, plain[1], plain[2]]))


def main():
    program, tone, folder = sys.argv[1:4]
    check_sum()
    roms = Roms()
    for path, place, limit in ((program, 0, 0x2000), (tone, 0x2000, 0x1000)):
        with open(path, "rb") as file:
            image = file.read()
        if len(image) > limit:
            sys.exit(f"{path}: {len(image)} bytes, but the ROM has room for {limit}.")
        roms.put(0, place, image)
    roms.put(0, 0x4000, b"OPEN CABINET SOUND 1".ljust(64, b"\0"))
    roms.put(0, 0x4040, address_bytes(0, TABLE))

    for entries, rom, bLoop in ((effects.EFFECTS, SAMPLE_ROM, False), (effects.LOOPS, LOOP_ROM, True)):
        for identifier, make, channel, peak in entries:
            data = to_bytes(make(), bLoop)
            sample = roms.sample(rom, data, 0x4000 if bLoop else 1024)
            blocks = (len(data) + BLOCK - 1) // BLOCK
            roms.command(identifier, roms.record(effect_record(channel, peak, sample, blocks, bLoop)))
    drums = {make.__name__: roms.sample(DRUM_ROM, to_bytes(make())) for make in effects.DRUMS}
    put_tables(roms, drums)
    for identifier, make in tunes.TUNES:
        put_tune(roms, identifier, make())
    put_test_records(roms)

    os.makedirs(folder, exist_ok=True)
    for index, data in enumerate(roms.bytes):
        with open(os.path.join(folder, f"sound{index + 1}.rom"), "wb") as file:
            file.write(data)


main()
