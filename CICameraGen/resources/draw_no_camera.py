#!/usr/bin/env python3
"""Draws the no-camera picture: python3 draw_no_camera.py CILumivaneInput.png

A crossed-out camera over its caption, 640 x 480, 8-bit RGB. Shapes are signed distances (negative
inside), so that every edge is smooth whatever its direction. No libraries beyond Python's own.
"""
import math
import struct
import sys
import zlib

WIDTH, HEIGHT = 640, 480


def rounded_box(x, y, cx, cy, half_w, half_h, radius):
    dx = abs(x - cx) - half_w + radius
    dy = abs(y - cy) - half_h + radius
    return math.hypot(max(dx, 0), max(dy, 0)) + min(max(dx, dy), 0) - radius


def circle(x, y, cx, cy, radius):
    return math.hypot(x - cx, y - cy) - radius


def segment(x, y, x0, y0, x1, y1, radius):
    dx, dy = x1 - x0, y1 - y0
    length = dx * dx + dy * dy
    t = max(0, min(1, ((x - x0) * dx + (y - y0) * dy) / length)) if length else 0
    return math.hypot(x - x0 - t * dx, y - y0 - t * dy) - radius


# The caption's letters as strokes on a 4 x 6 grid, y downwards.
LETTERS = {
    "N": [[(0, 6), (0, 0), (4, 6), (4, 0)]],
    "O": [[(1.2, 0), (2.8, 0), (4, 1.5), (4, 4.5), (2.8, 6), (1.2, 6), (0, 4.5), (0, 1.5), (1.2, 0)]],
    "C": [[(4, 1.3), (2.8, 0), (1.2, 0), (0, 1.5), (0, 4.5), (1.2, 6), (2.8, 6), (4, 4.7)]],
    "A": [[(0, 6), (2, 0), (4, 6)], [(0.75, 4), (3.25, 4)]],
    "M": [[(0, 6), (0, 0), (2, 3.4), (4, 0), (4, 6)]],
    "E": [[(3.7, 0), (0, 0), (0, 6), (3.7, 6)], [(0, 3), (3, 3)]],
    "R": [[(0, 6), (0, 0), (2.6, 0), (3.8, 0.9), (3.8, 2.3), (2.6, 3.2), (0, 3.2)], [(2.2, 3.2), (4, 6)]],
}


def caption_strokes(text, centre_x, top, unit):
    advance = 6.2
    left = centre_x - (len(text) * advance - 2.2) * unit / 2
    strokes = []
    for i, letter in enumerate(text):
        for line in LETTERS.get(letter, []):
            points = [(left + (i * advance + px) * unit, top + py * unit) for px, py in line]
            strokes += list(zip(points, points[1:]))
    return strokes


STROKES = caption_strokes("NO CAMERA", 320, 366, 4.0)


def mix(under, over, cover):
    return tuple(u + (o - u) * cover for u, o in zip(under, over))


def cover(distance):
    return max(0.0, min(1.0, 0.5 - distance))


def camera(x, y):
    """Body, viewfinder hump and lens housing in one outline."""
    body = rounded_box(x, y, 320, 214, 118, 76, 22)
    hump = rounded_box(x, y, 320, 146, 46, 26, 12)
    return min(body, hump)


def pixel(px, py):
    x, y = px + 0.5, py + 0.5
    # A calm dark ground, a little lighter behind the camera.
    glow = math.exp(-((x - 320) ** 2 + (y - 215) ** 2) / (2 * 190.0**2))
    colour = mix((18, 22, 31), (48, 57, 76), glow)
    shape = camera(x, y)
    colour = mix(colour, (8, 10, 15), 0.55 * cover(camera(x, y - 7) / 7))  # its shadow
    colour = mix(colour, (196, 204, 218), cover(shape))
    colour = mix(colour, (150, 160, 178), cover(rounded_box(x, y, 320, 176, 104, 3, 3)))
    colour = mix(colour, (232, 96, 88), cover(circle(x, y, 410, 158, 6)))
    colour = mix(colour, (150, 160, 178), cover(circle(x, y, 320, 218, 58)))
    colour = mix(colour, (30, 36, 50), cover(circle(x, y, 320, 218, 51)))
    colour = mix(colour, (58, 70, 96), cover(circle(x, y, 320, 218, 34)))
    colour = mix(colour, (22, 27, 39), cover(circle(x, y, 320, 218, 24)))
    colour = mix(colour, (190, 204, 230), 0.85 * cover(circle(x, y, 305, 203, 8)))
    # The stroke through it, set off from the camera by a rim of the ground.
    slash = segment(x, y, 205, 318, 435, 104, 8)
    colour = mix(colour, (30, 36, 49), cover(slash - 8))
    colour = mix(colour, (232, 96, 88), cover(slash))
    if 350 < y < 410:
        letters = min(segment(x, y, *a, *b, 2.3) for a, b in STROKES)
        colour = mix(colour, (214, 220, 232), cover(letters))
    # A pattern of one level breaks up the bands of the dark gradient.
    dither = ((px * 7 + py * 11 + (px * py) % 5) % 8) / 8 - 0.4375
    return bytes(max(0, min(255, int(c + 0.5 + dither * 0.8))) for c in colour)


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def main(path):
    rows = b"".join(
        b"\0" + b"".join(pixel(x, y) for x in range(WIDTH)) for y in range(HEIGHT)
    )
    header = struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0)
    with open(path, "wb") as out:
        out.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"sRGB", b"\0"))
        out.write(chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


main(sys.argv[1])
