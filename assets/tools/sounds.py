#!/usr/bin/env python3
"""Synthesises the seven match cues as mono 16-bit 22050 Hz wave files.

Every sound is built from a few simple voices (a mallet tone with inharmonic partials, a
resonant knock, a soft buzz), shaped with smooth attacks and releases so that no cue clicks,
given a little room echo and normalised well below full scale.

usage: sounds.py OUT_DIR
"""
import math
import os
import random
import struct
import sys
import wave

RATE = 22050
PEAK = 0.80


def silence(seconds):
    return [0.0] * int(seconds * RATE)


def mix_into(track, voice, at):
    start = int(at * RATE)
    if len(track) < start + len(voice):
        track.extend([0.0] * (start + len(voice) - len(track)))
    for i, v in enumerate(voice):
        track[start + i] += v


def envelope(n, attack, decay_rate, release):
    """Raised-cosine attack, exponential decay, raised-cosine release over the last samples."""
    a, r = max(1, int(attack * RATE)), max(1, int(release * RATE))
    out = []
    for i in range(n):
        e = math.exp(-decay_rate * i / RATE)
        if i < a:
            e *= 0.5 - 0.5 * math.cos(math.pi * i / a)
        if i >= n - r:
            e *= 0.5 + 0.5 * math.cos(math.pi * (i - (n - r)) / r)
        out.append(e)
    return out


def mallet(freq, seconds, partials=((1.0, 1.0, 1.0), (3.93, 0.28, 3.0), (9.2, 0.08, 6.0)),
           decay=5.0, attack=0.004):
    """A marimba-like tone: inharmonic partials (ratio, level, extra decay factor)."""
    n = int(seconds * RATE)
    env = envelope(n, attack, 0.0, min(0.04, seconds / 3))
    out = []
    for i in range(n):
        t = i / RATE
        v = 0.0
        for ratio, level, speed in partials:
            f = freq * ratio
            if f < RATE / 2.2:
                v += level * math.exp(-decay * speed * t) * math.sin(2 * math.pi * f * t)
        out.append(v * env[i])
    return out


def bell(freq, seconds, decay=3.2):
    return mallet(freq, seconds, ((1.0, 1.0, 1.0), (2.0, 0.35, 1.6), (3.01, 0.18, 2.4),
                                  (4.17, 0.10, 3.5)), decay=decay, attack=0.003)


def resonator(signal, freq, q):
    """Two-pole band-pass (constant peak gain): the body of a knocked piece of wood."""
    w = 2 * math.pi * freq / RATE
    alpha = math.sin(w) / (2 * q)
    b0, b2 = alpha, -alpha
    a0, a1, a2 = 1 + alpha, -2 * math.cos(w), 1 - alpha
    x1 = x2 = y1 = y2 = 0.0
    out = []
    for x in signal:
        y = (b0 * x + b2 * x2 - a1 * y1 - a2 * y2) / a0
        x2, x1, y2, y1 = x1, x, y1, y
        out.append(y)
    return out


def knock(body_freq, seconds, seed, brightness=1.0):
    """A soft wooden tock: a short noise burst ringing two wood resonances and a low thump."""
    rng = random.Random(seed)
    n = int(seconds * RATE)
    burst_len = int(0.004 * RATE)
    burst = [rng.uniform(-1, 1) * (0.5 - 0.5 * math.cos(2 * math.pi * i / burst_len))
             if i < burst_len else 0.0 for i in range(n)]
    low = resonator(burst, body_freq, 28.0)
    high = resonator(burst, body_freq * 2.63, 36.0)
    env = envelope(n, 0.0015, 28.0, 0.03)
    out = []
    for i in range(n):
        t = i / RATE
        thump = 0.35 * math.sin(2 * math.pi * body_freq * 0.5 * t) * math.exp(-60 * t)
        out.append((low[i] * 3.0 + high[i] * 1.6 * brightness + thump) * env[i])
    return out


def buzz(freq, seconds):
    """A low, muted two-tone buzz with a slow wobble."""
    n = int(seconds * RATE)
    env = envelope(n, 0.012, 6.0, 0.06)
    out = []
    for i in range(n):
        t = i / RATE
        v = 0.0
        for h in range(1, 8):
            level = 1.0 / (h * h ** 0.6)
            v += level * math.sin(2 * math.pi * freq * h * t)
            v += level * 0.7 * math.sin(2 * math.pi * freq * 1.06 * h * t + 0.7)
        wobble = 0.75 + 0.25 * math.sin(2 * math.pi * 18 * t)
        out.append(v * wobble * env[i])
    return out


def blip(f0, f1, seconds):
    """A round sine blip gliding from f0 to f1, with a soft octave."""
    n = int(seconds * RATE)
    env = envelope(n, 0.006, 14.0, 0.03)
    out, phase = [], 0.0
    for i in range(n):
        k = min(1.0, i / (0.03 * RATE))
        f = f0 + (f1 - f0) * (1 - (1 - k) ** 2)
        phase += 2 * math.pi * f / RATE
        out.append((math.sin(phase) + 0.18 * math.sin(2 * phase)) * env[i])
    return out


def room(signal, wet=0.18):
    """A small room: three feedback echoes, mixed in gently."""
    dry = signal + [0.0] * int(0.25 * RATE)
    out = list(dry)
    for delay, gain in ((0.029, 0.45), (0.037, 0.40), (0.043, 0.35)):
        d = int(delay * RATE)
        echo = [0.0] * len(dry)
        for i in range(d, len(dry)):
            echo[i] = dry[i - d] + gain * echo[i - d]
        for i in range(len(dry)):
            out[i] += wet * echo[i]
    return out


def finish(signal, seconds, peak_level=PEAK):
    """Cuts to length, fades the tail, normalises the peak."""
    n = int(seconds * RATE)
    sig = (signal + [0.0] * n)[:n]
    fade = int(0.03 * RATE)
    for i in range(fade):
        sig[n - fade + i] *= 0.5 + 0.5 * math.cos(math.pi * i / fade)
    sig[0] = 0.0
    peak = max(abs(v) for v in sig) or 1.0
    return [v * peak_level / peak for v in sig]


def note(name):
    names = {"C": -9, "D": -7, "E": -5, "F": -4, "G": -2, "A": 0, "B": 2}
    semis = names[name[0]] + (1 if "#" in name else 0) - (1 if "b" in name[1:] else 0)
    octave = int(name[-1])
    return 440.0 * 2 ** ((semis + 12 * (octave - 4)) / 12.0)


def make_win():
    track = silence(0.9)
    for k, (n, at) in enumerate((("C5", 0.0), ("E5", 0.09), ("G5", 0.18), ("C6", 0.27))):
        mix_into(track, mallet(note(n), 0.62 - k * 0.05, decay=4.0), at)
    for n in ("C6", "E6", "G6"):
        mix_into(track, [v * 0.45 for v in bell(note(n), 0.5, decay=4.5)], 0.38)
    return finish(room(track), 0.9)


def make_lose():
    track = silence(0.9)
    for n, at, length in (("E5", 0.0, 0.35), ("C5", 0.2, 0.4), ("A4", 0.4, 0.5)):
        mix_into(track, mallet(note(n), length, ((1.0, 1.0, 1.0), (2.0, 0.12, 2.0)),
                               decay=3.0, attack=0.012), at)
    mix_into(track, [v * 0.5 for v in mallet(note("A3"), 0.5, ((1.0, 1.0, 1.0),), 2.5, 0.03)],
             0.4)
    return finish(room(track), 0.9)


def make_place():
    return finish(knock(620.0, 0.12, seed=7), 0.12, 0.85)


def make_opponent():
    return finish(knock(880.0, 0.15, seed=11, brightness=1.3), 0.15, 0.85)


def make_refused():
    return finish(buzz(98.0, 0.2), 0.2, 0.65)


def make_chat():
    track = silence(0.25)
    mix_into(track, blip(note("E6"), note("E6"), 0.11), 0.0)
    mix_into(track, blip(note("A6") * 0.97, note("A6"), 0.13), 0.1)
    # Pure high tones sound louder than the knocks at the same peak: keep the blip modest.
    return finish(track, 0.25, 0.5)


def make_welcome():
    track = silence(0.6)
    for n, at in (("G5", 0.0), ("C6", 0.11), ("E6", 0.22)):
        mix_into(track, bell(note(n), 0.38, decay=5.0), at)
    return finish(room(track, 0.22), 0.6, 0.7)


CUES = {
    "WIN.wav": make_win,
    "lose.wav": make_lose,
    "MeC.WAV": make_place,
    "MEI.wav": make_opponent,
    "MeX.wav": make_refused,
    "Mess.wav": make_chat,
    "OL.wav": make_welcome,
}


def write_wav(path, samples):
    with wave.open(path, "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(RATE)
        out.writeframes(b"".join(struct.pack("<h", int(round(v * 32767))) for v in samples))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.strip().splitlines()[-1])
    for name, make in CUES.items():
        write_wav(os.path.join(sys.argv[1], name), make())


if __name__ == "__main__":
    main()
