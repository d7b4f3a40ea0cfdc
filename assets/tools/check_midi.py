#!/usr/bin/env python3
"""Reads a Standard MIDI File back and checks what the game's player relies on.

Format 1 at 480 ticks per quarter, a tempo event, a program change before the notes of every
channel, every note-on released by a note-off on the same channel and key, and every track
closed by an end-of-track event. Prints a one-line summary; exits 1 on the first fault.

usage: check_midi.py FILE.MID
"""
import struct
import sys


def fail(message):
    sys.exit("check_midi: " + message)


def read_vlq(data, pos):
    value = 0
    while True:
        if pos >= len(data):
            fail("truncated delta time")
        byte = data[pos]
        pos += 1
        value = (value << 7) | (byte & 0x7F)
        if not byte & 0x80:
            return value, pos


def read_track(data, stats):
    pos, status, tick, ended = 0, None, 0, False
    sounding = {}
    while pos < len(data):
        if ended:
            fail("events after end of track")
        delta, pos = read_vlq(data, pos)
        tick += delta
        if data[pos] & 0x80:
            status = data[pos]
            pos += 1
        elif status is None:
            fail("running status without a status byte")
        kind, channel = status & 0xF0, status & 0x0F
        if status == 0xFF:
            meta = data[pos]
            length, pos = read_vlq(data, pos + 1)
            if meta == 0x51:
                stats["tempo"] += 1
            ended = meta == 0x2F
            pos += length
        elif status in (0xF0, 0xF7):
            length, pos = read_vlq(data, pos)
            pos += length
        elif kind in (0xC0, 0xD0):
            if kind == 0xC0:
                stats["programs"].add(channel)
            pos += 1
        else:
            note, velocity = data[pos], data[pos + 1]
            pos += 2
            if kind == 0x90 and velocity > 0:
                if channel not in stats["programs"]:
                    fail("notes on channel %d before its program change" % channel)
                sounding[(channel, note)] = sounding.get((channel, note), 0) + 1
                stats["notes"] += 1
            elif kind == 0x80 or (kind == 0x90 and velocity == 0):
                if not sounding.get((channel, note)):
                    fail("note-off without note-on (channel %d, key %d)" % (channel, note))
                sounding[(channel, note)] -= 1
    if not ended:
        fail("track without end-of-track event")
    if any(sounding.values()):
        fail("notes left sounding at the end of a track")
    stats["ticks"] = max(stats["ticks"], tick)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.strip().splitlines()[-1])
    data = open(sys.argv[1], "rb").read()
    if data[:4] != b"MThd":
        fail("not a MIDI file")
    length, fmt, ntracks, division = struct.unpack(">IHHH", data[4:14])
    if (length, fmt, division) != (6, 1, 480):
        fail("expected format 1 at 480 ticks per quarter")
    stats = {"tempo": 0, "programs": set(), "notes": 0, "ticks": 0}
    pos = 14
    for _ in range(ntracks):
        if data[pos:pos + 4] != b"MTrk":
            fail("missing track chunk")
        size = struct.unpack(">I", data[pos + 4:pos + 8])[0]
        read_track(data[pos + 8:pos + 8 + size], stats)
        pos += 8 + size
    if pos != len(data):
        fail("trailing bytes after the last track")
    if not stats["tempo"] or not stats["notes"]:
        fail("no tempo or no notes")
    print("%s: %d tracks, %d notes, %d channels, %d ticks"
          % (sys.argv[1], ntracks, stats["notes"], len(stats["programs"]), stats["ticks"]))


if __name__ == "__main__":
    main()
