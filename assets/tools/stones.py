#!/usr/bin/env python3
"""Renders the glossy stones of the game as RGBA PNG files.

Each shape is a signed distance field; the inside depth is turned into a rounded height
profile, and the height field is lit like a polished, slightly translucent stone (key light
from the top left, a coloured glow where the light leaves the stone at the bottom right).
A solid dark rim runs round every outline so that a one-bit GIF cut of it has no halo.

usage: stones.py PRESET SIZE OUT.png [--ss N]
"""
import argparse
import math
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import pngio  # noqa: E402


def _norm(v):
    length = math.sqrt(sum(c * c for c in v))
    return tuple(c / length for c in v)


KEY = _norm((-0.55, -0.7, 0.8))
BACK = _norm((0.55, 0.75, 0.35))
HALF = _norm((KEY[0], KEY[1], KEY[2] + 1.0))


def _box(px, py, bx, by):
    qx, qy = abs(px) - bx, abs(py) - by
    outside = math.hypot(max(qx, 0.0), max(qy, 0.0))
    return outside + min(max(qx, qy), 0.0)


# Shapes: signed distance in unit coordinates (the picture spans -1..1), negative inside.
def ring(outer, inner):
    mid, half = (outer + inner) / 2.0, (outer - inner) / 2.0
    return (lambda x, y: abs(math.hypot(x, y) - mid) - half), half


def disc(radius):
    return (lambda x, y: math.hypot(x, y) - radius), radius


def cross(reach, half_width, rounding):
    length = (reach - rounding) - (half_width - rounding)
    w = half_width - rounding
    c = math.sqrt(0.5)

    def field(x, y):
        u, v = (x + y) * c, (y - x) * c
        return min(_box(u, v, length, w), _box(u, v, w, length)) - rounding
    return field, half_width


# Materials: colours as (r, g, b) in 0..1.
JADE = dict(deep=(0.02, 0.18, 0.20), base=(0.08, 0.58, 0.56), glow=(0.50, 1.0, 0.82),
            rim=(0.01, 0.08, 0.09), env=(0.75, 0.95, 1.0), shine=1.0, mottle=0.18)
JADE_LIT = dict(deep=(0.05, 0.34, 0.34), base=(0.25, 0.86, 0.78), glow=(0.80, 1.0, 0.90),
                rim=(0.02, 0.13, 0.12), env=(0.9, 1.0, 1.0), shine=1.2, mottle=0.15)
CARNELIAN = dict(deep=(0.30, 0.03, 0.02), base=(0.86, 0.20, 0.10), glow=(1.0, 0.72, 0.18),
                 rim=(0.16, 0.02, 0.01), env=(1.0, 0.9, 0.8), shine=1.0)
CARNELIAN_LIT = dict(deep=(0.46, 0.05, 0.03), base=(1.0, 0.27, 0.14), glow=(1.0, 0.70, 0.30),
                     rim=(0.22, 0.04, 0.01), env=(1.0, 0.95, 0.85), shine=1.2)
GOLD = dict(deep=(0.36, 0.20, 0.03), base=(0.98, 0.76, 0.22), glow=(1.0, 0.95, 0.55),
            rim=(0.20, 0.10, 0.01), env=(1.0, 0.97, 0.8), shine=1.4)
AMBER_LAMP = dict(deep=(0.55, 0.25, 0.02), base=(1.0, 0.72, 0.15), glow=(1.0, 1.0, 0.70),
                  rim=(0.28, 0.12, 0.01), env=(1.0, 1.0, 0.9), shine=1.3)
SLATE = dict(deep=(0.07, 0.08, 0.09), base=(0.26, 0.29, 0.30), glow=(0.36, 0.42, 0.42),
             rim=(0.03, 0.03, 0.04), env=(0.5, 0.55, 0.55), shine=0.45)
AURA = dict(aura=True, base=(0.90, 0.66, 0.22), glow=(1.0, 0.97, 0.78),
            rim=(0.30, 0.14, 0.02))
OCEAN = dict(deep=(0.02, 0.12, 0.26), base=(0.12, 0.45, 0.75), glow=(0.45, 0.9, 1.0),
             rim=(0.01, 0.05, 0.12), env=(0.8, 0.95, 1.0), shine=1.0)


def _mix(a, b, t):
    return tuple(a[i] + (b[i] - a[i]) * t for i in range(3))


def _dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


class Layer:
    def __init__(self, shape, material, flat=0.75, dome=0.10, rim_px=1.2, globe=False):
        self.field, self.bevel = shape
        self.mat = material
        self.flat = flat
        self.dome = dome
        self.rim_px = rim_px
        self.globe = globe


def render(layers, size, ss):
    n = size * ss
    step = 2.0 / n
    out = [0.0] * (n * n * 4)
    for layer in layers:
        _render_layer(layer, n, step, ss, out)
    return n, out


def _height(layer, x, y):
    s = -layer.field(x, y)
    if s <= 0.0:
        return s, 0.0
    b = layer.bevel
    t = 1.0 - min(s, b) / b
    h = b * math.sqrt(max(0.0, 1.0 - t * t)) * layer.flat
    return s, h + layer.dome * max(0.0, 1.0 - x * x - y * y)


def _render_layer(layer, n, step, ss, out):
    grid = [[_height(layer, (i + 0.5) * step - 1.0, (j + 0.5) * step - 1.0) for i in range(n)]
            for j in range(n)]
    mat = layer.mat
    rim_width = layer.rim_px * ss * step
    for j in range(n):
        row = grid[j]
        for i in range(n):
            s, h = row[i]
            cover = min(1.0, max(0.0, 0.5 + s / step))
            if cover <= 0.0:
                continue
            hx = (row[min(i + 1, n - 1)][1] - row[max(i - 1, 0)][1]) / (2 * step)
            hy = (grid[min(j + 1, n - 1)][i][1] - grid[max(j - 1, 0)][i][1]) / (2 * step)
            nrm = _norm((-hx, -hy, 1.0))
            x, y = (i + 0.5) * step - 1.0, (j + 0.5) * step - 1.0
            col = _shade(layer, mat, nrm, x, y)
            if rim_width > 0.0 and s < rim_width:
                col = _mix(mat["rim"], col, max(0.0, s / rim_width) ** 1.5)
            k = (j * n + i) * 4
            a0 = out[k + 3]
            a = cover + a0 * (1.0 - cover)
            for c in range(3):
                out[k + c] = (col[c] * cover + out[k + c] * a0 * (1.0 - cover)) / a
            out[k + 3] = a


def _shade(layer, mat, nrm, x, y):
    if mat.get("aura"):
        r = min(1.0, math.hypot(x + 0.12, y + 0.12) / 0.95)
        return _mix(mat["glow"], mat["base"], r ** 1.4)
    ndl = max(0.0, _dot(nrm, KEY))
    col = _mix(mat["deep"], mat["base"], ndl ** 0.9)
    if mat.get("mottle"):
        m = math.sin(x * 7.3 + math.sin(y * 5.1) * 1.7) * math.sin(y * 6.7 - x * 2.3)
        col = _mix(col, mat["glow"], max(0.0, m) * mat["mottle"])
    if layer.globe:
        col = _globe_lines(col, nrm, x, y)
    back = max(0.0, _dot(nrm, BACK)) ** 1.6
    col = tuple(col[c] + mat["glow"][c] * back * 0.55 for c in range(3))
    fres = (1.0 - nrm[2]) ** 2
    col = _mix(col, mat["env"], fres * 0.22)
    ndh = max(0.0, _dot(nrm, HALF))
    gloss = (ndh ** 120 * 1.1 + ndh ** 14 * 0.16) * mat["shine"]
    return tuple(min(1.0, col[c] + gloss) for c in range(3))


def _globe_lines(col, nrm, x, y):
    lat = math.asin(max(-1.0, min(1.0, -nrm[1])))
    lon = math.atan2(nrm[0], nrm[2]) + 0.35
    step = math.pi / 6.0
    d_lat = abs((lat / step) - round(lat / step))
    d_lon = abs((lon / step) - round(lon / step)) * max(0.2, math.cos(lat))
    line = max(0.0, 1.0 - min(d_lat, d_lon) / 0.06)
    land = 0.5 + 0.5 * math.sin(lon * 3.0 + 1.0) * math.cos(lat * 4.0 - 0.5)
    if land > 0.78:
        col = _mix(col, (0.25, 0.62, 0.30), 0.8)
    return _mix(col, (0.85, 0.97, 1.0), line * 0.6)


def _piece(kind, lit):
    if kind == "O":
        return Layer(ring(0.84, 0.36), JADE_LIT if lit else JADE, flat=0.85, dome=0.0)
    return Layer(cross(0.86, 0.26, 0.15), CARNELIAN_LIT if lit else CARNELIAN,
                 flat=0.9, dome=0.10)


def _halo():
    return [Layer(disc(0.90), AURA, rim_px=0.0),
            Layer(ring(0.985, 0.86), GOLD, flat=0.6, dome=0.0, rim_px=0.9)]


PRESETS = {
    "O": lambda: [_piece("O", False)],
    "X": lambda: [_piece("X", False)],
    "O2": lambda: _halo() + [_piece("O", True)],
    "X2": lambda: _halo() + [_piece("X", True)],
    "lamp": lambda: [Layer(ring(0.97, 0.80), GOLD, flat=0.6, dome=0.0, rim_px=0.8),
                     Layer(disc(0.78), AMBER_LAMP, flat=0.9, dome=0.25, rim_px=0.8)],
    "lamp_off": lambda: [Layer(ring(0.97, 0.80), SLATE, flat=0.6, dome=0.0, rim_px=0.8),
                         Layer(disc(0.78), SLATE, flat=0.9, dome=0.25, rim_px=0.8)],
    "globe": lambda: [Layer(disc(0.96), OCEAN, flat=1.0, dome=0.0, rim_px=1.0, globe=True)],
    "gold_disc": lambda: [Layer(disc(0.96), GOLD, flat=0.5, dome=0.1, rim_px=1.0)],
}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("preset", choices=sorted(PRESETS))
    parser.add_argument("size", type=int)
    parser.add_argument("out")
    parser.add_argument("--ss", type=int, default=4, help="samples per pixel side")
    args = parser.parse_args()
    n, pixels = render(PRESETS[args.preset](), args.size, args.ss)
    pngio.write_rgba(args.out, n, n, pixels)


if __name__ == "__main__":
    main()
