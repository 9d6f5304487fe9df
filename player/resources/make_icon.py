#!/usr/bin/env python3
"""Draws vistrame.ico: a television set whose screen shows the test picture, with a play sign on it.

Run by hand when the drawing changes; the icon is committed beside it. Coordinates run from 0 to 1 from the upper
left corner; every size is drawn on its own, sampled 8 x 8 per pixel.
"""
import struct
import sys
import zlib

SIZES = (16, 24, 32, 48, 64, 128, 256)
SAMPLES = 8

BODY_TOP, BODY_BOTTOM = (62, 74, 92), (24, 30, 40)
RIM = (132, 148, 172)
BARS = ((236, 236, 236), (232, 205, 60), (60, 196, 208), (70, 190, 84), (200, 72, 190), (220, 58, 52), (52, 84, 208))
SIGN, HALO = (255, 255, 255), (16, 20, 28)


def rounded_box(x, y, left, top, right, bottom, radius):
    """Signed distance to a rounded rectangle: negative inside."""
    dx = abs(x - (left + right) / 2) - (right - left) / 2 + radius
    dy = abs(y - (top + bottom) / 2) - (bottom - top) / 2 + radius
    outside = (max(dx, 0) ** 2 + max(dy, 0) ** 2) ** 0.5
    return outside + min(max(dx, dy), 0) - radius


def triangle(x, y):
    """About the signed distance to the play sign, which points right."""
    px, py = x - 0.38, abs(y - 0.44)
    slope = ((px - 0.30) * 0.19 + py * 0.30) / (0.19 ** 2 + 0.30 ** 2) ** 0.5
    return max(-px, slope)


def mix(low, high, share):
    return tuple(a + (b - a) * share for a, b in zip(low, high))


def colour_at(x, y, size):
    """The colour of one point, or None outside the drawing."""
    pixel = 1 / size
    foot = rounded_box(x, y, 0.28, 0.86, 0.72, 0.93, 0.035)
    neck = rounded_box(x, y, 0.42, 0.78, 0.58, 0.90, 0.01)
    body = rounded_box(x, y, 0.02, 0.08, 0.98, 0.80, 0.10)
    if body > 0:
        return mix(RIM, BODY_BOTTOM, 0.35) if min(foot, neck) <= 0 else None
    if size >= 32 and body > -0.018:
        return mix(RIM, BODY_TOP, y)
    bezel = max(0.075, 1.3 * pixel)
    screen = rounded_box(x, y, 0.02 + bezel, 0.08 + bezel, 0.98 - bezel, 0.80 - bezel, 0.045)
    if screen > 0:
        return mix(BODY_TOP, BODY_BOTTOM, (y - 0.08) / 0.72)
    sign = triangle(x, y)
    if sign <= 0:
        return SIGN
    if sign <= max(0.035, 0.9 * pixel):
        return HALO
    left, width = 0.02 + bezel, 0.96 - 2 * bezel
    bar = BARS[min(int((x - left) / width * len(BARS)), len(BARS) - 1)]
    return mix(bar, HALO, 0.28 * max(0.0, (y - 0.30) / 0.5))


def draw(size, colour_at):
    """Rows of (red, green, blue, alpha), top row first. colour_at tells a point's colour, or None outside."""
    step = 1 / (size * SAMPLES)
    rows = []
    for row in range(size):
        line = []
        for column in range(size):
            points = [colour_at((column * SAMPLES + i + 0.5) * step, (row * SAMPLES + j + 0.5) * step, size)
                      for i in range(SAMPLES) for j in range(SAMPLES)]
            hits = [p for p in points if p is not None]
            channels = [round(sum(p[c] for p in hits) / len(hits)) for c in range(3)] if hits else [0, 0, 0]
            line.append((*channels, round(255 * len(hits) / len(points))))
        rows.append(line)
    return rows


def png(rows):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    raw = b"".join(b"\0" + bytes(v for p in line for v in p) for line in rows)
    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 6, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(raw, 9)) +
            chunk(b"IEND", b""))


def bitmap(rows):
    """The icon form of a device-independent bitmap: colours bottom row first, then an empty mask."""
    size = len(rows)
    colours = b"".join(bytes((b, g, r, a)) for line in reversed(rows) for r, g, b, a in line)
    mask = b"\0" * ((size + 31) // 32 * 4 * size)
    return struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, len(colours), 0, 0, 0, 0) + colours + mask


def write_icon(path, colour_at):
    drawn = [draw(s, colour_at) for s in SIZES]
    images = [png(d) if s >= 128 else bitmap(d) for s, d in zip(SIZES, drawn)]
    out = struct.pack("<HHH", 0, 1, len(SIZES))
    offset = 6 + 16 * len(SIZES)
    for size, image in zip(SIZES, images):
        out += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    with open(path, "wb") as icon:
        icon.write(out + b"".join(images))


if __name__ == "__main__":
    write_icon(sys.argv[1], colour_at)
