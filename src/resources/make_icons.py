#!/usr/bin/env python3
"""Makes the status icons: a label printer, and on it the sign of the severity. make_icons.py FOLDER"""

import pathlib
import struct
import sys

SIZES = (16, 32, 48)
SUPERSAMPLING = 4

# Shapes in a square of side 1, the first at the bottom: a colour, and whether a point lies inside.
def box(left, top, right, bottom):
    return lambda x, y: left <= x < right and top <= y < bottom


def disc(x0, y0, radius):
    return lambda x, y: (x - x0) ** 2 + (y - y0) ** 2 < radius**2


def triangle(x0, top, bottom):
    return lambda x, y: top <= y < bottom and abs(x - x0) < (y - top) * 0.6


def cross(x0, y0, half, width):
    return lambda x, y: max(abs(x - x0), abs(y - y0)) < half and min(
        abs((x - x0) - (y - y0)), abs((x - x0) + (y - y0))) < width


PRINTER = [
    ((70, 78, 90), box(0.05, 0.22, 0.95, 0.68)),
    ((150, 160, 175), box(0.10, 0.27, 0.90, 0.45)),
    ((35, 40, 48), box(0.18, 0.54, 0.82, 0.62)),
    ((250, 250, 245), box(0.25, 0.58, 0.75, 0.97)),
    ((60, 60, 60), lambda x, y: 0.68 <= y < 0.82 and 0.31 <= x < 0.69 and int(x * 32) % 3 != 0),
]
SIGNS = {
    "normal": [((30, 150, 60), disc(0.76, 0.24, 0.20))],
    "warning": [((245, 180, 0), triangle(0.70, 0.02, 0.50)), ((40, 30, 0), box(0.66, 0.18, 0.74, 0.43))],
    "error": [((205, 30, 30), disc(0.74, 0.26, 0.25)), ((255, 255, 255), cross(0.74, 0.26, 0.14, 0.06))],
}


def pixel(shapes, size, column, row):
    """Blue, green, red and opacity of one pixel."""
    total, covered = [0, 0, 0], 0
    for sub in range(SUPERSAMPLING**2):
        x = (column + (sub % SUPERSAMPLING + 0.5) / SUPERSAMPLING) / size
        y = (row + (sub // SUPERSAMPLING + 0.5) / SUPERSAMPLING) / size
        for colour, inside in reversed(shapes):
            if inside(x, y):
                covered += 1
                total = [sum_ + part for sum_, part in zip(total, colour)]
                break
    if covered == 0:
        return bytes(4)
    red, green, blue = (part // covered for part in total)
    return bytes((blue, green, red, covered * 255 // SUPERSAMPLING**2))


def image(shapes, size):
    """One picture as an icon file keeps it: a bitmap of 32 bits from the bottom up, then a mask of one bit."""
    rows = [[pixel(shapes, size, column, row) for column in range(size)] for row in range(size)]
    stride = (size + 31) // 32 * 4
    mask = b""
    for row in reversed(rows):
        bits = sum((point[3] == 0) << (stride * 8 - 1 - column) for column, point in enumerate(row))
        mask += bits.to_bytes(stride, "big")
    header = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, 0, 0, 0, 0, 0)
    return header + b"".join(b"".join(row) for row in reversed(rows)) + mask


def icon(shapes):
    images = [image(shapes, size) for size in SIZES]
    offset = 6 + 16 * len(images)
    directory = struct.pack("<HHH", 0, 1, len(images))
    for size, data in zip(SIZES, images):
        directory += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(data), offset)
        offset += len(data)
    return directory + b"".join(images)


folder = pathlib.Path(sys.argv[1])
for name, sign in SIGNS.items():
    (folder / f"{name}.ico").write_bytes(icon(PRINTER + sign))
