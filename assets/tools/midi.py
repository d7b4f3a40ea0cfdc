"""A small Standard MIDI File writer (format 1), standard library only.

Tracks collect timed events in ticks; writing sorts them (note-offs before note-ons on the
same tick, so a repeated key is released before it is struck again), encodes the delta
times as variable-length quantities and closes every track with an end-of-track event.
"""
import struct

PPQ = 480


def vlq(value):
    """Variable-length quantity: seven bits per byte, high bit set on all but the last."""
    if value < 0:
        raise ValueError("negative delta time")
    out = [value & 0x7F]
    value >>= 7
    while value:
        out.append((value & 0x7F) | 0x80)
        value >>= 7
    return bytes(reversed(out))


class Track:
    # Event order within one tick: meta first, then set-up, then releases, then strikes.
    META, SETUP, OFF, ON = 0, 1, 2, 3

    def __init__(self, name=None):
        self.events = []
        self._seq = 0
        if name:
            self.meta(0, 0x03, name.encode("latin-1"))

    def _add(self, tick, rank, data):
        self.events.append((int(tick), rank, self._seq, bytes(data)))
        self._seq += 1

    def meta(self, tick, kind, payload):
        self._add(tick, self.META, bytes([0xFF, kind]) + vlq(len(payload)) + payload)

    def tempo(self, tick, bpm):
        self.meta(tick, 0x51, struct.pack(">I", round(60_000_000 / bpm))[1:])

    def time_signature(self, tick, numerator, denominator_power):
        self.meta(tick, 0x58, bytes([numerator, denominator_power, 24, 8]))

    def program(self, tick, channel, program):
        self._add(tick, self.SETUP, [0xC0 | channel, program & 0x7F])

    def control(self, tick, channel, number, value):
        self._add(tick, self.SETUP, [0xB0 | channel, number & 0x7F, value & 0x7F])

    def note(self, tick, duration, channel, key, velocity):
        if duration <= 0:
            raise ValueError("a note needs a positive duration")
        self._add(tick, self.ON, [0x90 | channel, key & 0x7F, max(1, min(127, velocity))])
        self._add(tick + duration, self.OFF, [0x80 | channel, key & 0x7F, 64])

    def encode(self):
        body, now = bytearray(), 0
        for tick, _rank, _seq, data in sorted(self.events):
            body += vlq(tick - now) + data
            now = tick
        body += vlq(0) + b"\xFF\x2F\x00"
        return b"MTrk" + struct.pack(">I", len(body)) + bytes(body)


def write(path, tracks, ppq=PPQ):
    header = b"MThd" + struct.pack(">IHHH", 6, 1, len(tracks), ppq)
    with open(path, "wb") as out:
        out.write(header)
        for track in tracks:
            out.write(track.encode())
