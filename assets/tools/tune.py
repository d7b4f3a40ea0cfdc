#!/usr/bin/env python3
"""Writes the about screen's tune: a light marimba melody over strings, harp and bass.

Ten bars of 4/4 at 100 beats a minute (about 25 seconds) in C major, ending on a held chord.

usage: tune.py OUT.MID
"""
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import midi  # noqa: E402

BPM = 100
BEAT = midi.PPQ
BAR = 4 * BEAT

# General MIDI programs (0-based) and the channels they play on.
MARIMBA, STRINGS, HARP, BASS = 12, 48, 46, 32
CH_MELODY, CH_PAD, CH_HARP, CH_BASS = 0, 1, 2, 3

NAMES = {"C": 0, "D": 2, "E": 4, "F": 5, "G": 7, "A": 9, "B": 11}


def key(name):
    """"C4" -> 60; a sharp is written "F#4"."""
    semis = NAMES[name[0]] + name.count("#")
    return 12 * (int(name[-1]) + 1) + semis


# The melody, bar by bar: (note or None for a rest, length in beats).
MELODY = [
    [("E5", 1), ("G5", .5), ("A5", .5), ("G5", 1), ("E5", 1)],
    [("C5", 1), ("D5", .5), ("E5", .5), ("A4", 2)],
    [("A4", 1), ("C5", .5), ("D5", .5), ("F5", 1), ("E5", .5), ("D5", .5)],
    [("D5", 1), ("B4", .5), ("C5", .5), ("D5", 2)],
    [("E5", 1), ("G5", .5), ("A5", .5), ("C6", 1), ("A5", 1)],
    [("G5", .5), ("E5", .5), ("D5", .5), ("E5", .5), ("A4", 2)],
    [("F5", 1), ("E5", .5), ("D5", .5), ("D5", 1), ("B4", 1)],
    [("C5", 3), ("G4", 1)],
    [("A4", .5), ("C5", .5), ("F5", 1), ("G5", .5), ("F5", .5), ("D5", 1)],
    [("E5", 1), ("G5", 1), ("C6", 2)],
]

# Chords per bar, as (chord tones for pad and harp, bass root), two per bar where it changes.
C, AM, F, G, DM = (["C4", "E4", "G4"], "C3"), (["C4", "E4", "A4"], "A2"), \
    (["C4", "F4", "A4"], "F2"), (["B3", "D4", "G4"], "G2"), (["D4", "F4", "A4"], "D3")
HARMONY = [[C], [AM], [F], [G], [C], [AM], [DM, G], [C], [F, G], [C]]


def melody_track():
    track = midi.Track("Marimba")
    track.program(0, CH_MELODY, MARIMBA)
    track.control(0, CH_MELODY, 7, 110)
    track.control(0, CH_MELODY, 91, 60)
    t = 0
    for bar in MELODY:
        beat = 0.0
        for name, length in bar:
            if name:
                accent = 12 if beat in (0.0, 2.0) else 0
                track.note(t, int(length * BEAT * 0.95), CH_MELODY, key(name), 88 + accent)
            t += int(length * BEAT)
            beat += length
    return track


def pad_track():
    track = midi.Track("Strings")
    track.program(0, CH_PAD, STRINGS)
    track.control(0, CH_PAD, 7, 72)
    track.control(0, CH_PAD, 91, 90)
    for i, chords in enumerate(HARMONY):
        span = BAR // len(chords)
        last = i == len(HARMONY) - 1
        for j, (tones, _root) in enumerate(chords):
            length = span + (2 * BEAT if last else 0)
            for name in tones:
                track.note(i * BAR + j * span, length, CH_PAD, key(name), 56)
    return track


def harp_track():
    """Broken chords in eighths, an octave above the pad, softly."""
    track = midi.Track("Harp")
    track.program(0, CH_HARP, HARP)
    track.control(0, CH_HARP, 7, 78)
    track.control(0, CH_HARP, 91, 70)
    pattern = [0, 1, 2, 1]
    for i, chords in enumerate(HARMONY[:-1]):
        span = BAR // len(chords)
        for j, (tones, _root) in enumerate(chords):
            for step in range(span // (BEAT // 2)):
                name = tones[pattern[step % 4]]
                up = name[:-1] + str(int(name[-1]) + 1)
                track.note(i * BAR + j * span + step * BEAT // 2, BEAT, CH_HARP, key(up),
                           50 if step % 2 else 58)
    # The last bar: one rolled chord.
    end = (len(HARMONY) - 1) * BAR
    for k, name in enumerate(["C4", "G4", "C5", "E5", "G5"]):
        track.note(end + k * 40, 3 * BEAT, CH_HARP, key(name), 60)
    return track


def bass_track():
    track = midi.Track("Bass")
    track.program(0, CH_BASS, BASS)
    track.control(0, CH_BASS, 7, 96)
    for i, chords in enumerate(HARMONY):
        span = BAR // len(chords)
        for j, (_tones, root) in enumerate(chords):
            start = i * BAR + j * span
            if len(chords) == 1 and i < len(HARMONY) - 1:
                track.note(start, 2 * BEAT - 20, CH_BASS, key(root), 84)
                track.note(start + 2 * BEAT, 2 * BEAT - 20, CH_BASS, key(root) + 7, 74)
            else:
                track.note(start, span + (2 * BEAT if i == len(HARMONY) - 1 else -20),
                           CH_BASS, key(root), 84)
    return track


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.strip().splitlines()[-1])
    conductor = midi.Track("Dorvala Online")
    conductor.tempo(0, BPM)
    conductor.time_signature(0, 4, 2)
    midi.write(sys.argv[1], [conductor, melody_track(), pad_track(), harp_track(), bass_track()])


if __name__ == "__main__":
    main()
