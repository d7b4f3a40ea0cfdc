"""Minimal PNG writer (RGBA, 8 bit) on the standard library only.

The art tools render pixels in Python and hand the files to ImageMagick for composing;
writing the PNG ourselves keeps them free of third-party imaging modules.
"""
import struct
import zlib


def _chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)


def write_rgba(path, width, height, pixels):
    """pixels: a flat sequence of floats in 0..1, four per pixel (straight alpha)."""
    raw = bytearray()
    stride = width * 4
    for y in range(height):
        raw.append(0)
        row = pixels[y * stride:(y + 1) * stride]
        raw.extend(max(0, min(255, int(v * 255.0 + 0.5))) for v in row)
    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    with open(path, "wb") as out:
        out.write(b"\x89PNG\r\n\x1a\n")
        out.write(_chunk(b"IHDR", header))
        out.write(_chunk(b"IDAT", zlib.compress(bytes(raw), 9)))
        out.write(_chunk(b"IEND", b""))
