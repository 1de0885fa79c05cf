#!/usr/bin/env python3
"""Makes the sample white cards and subjects: small RGB TIFFs with a visible
light falloff, so that a new user can try the program at once.

    python3 samples/make_samples.py samples

The subjects are a colour chart lit by the same falloff as the white card, so
equalizing them brings the chart's corners back to the brightness of its centre.
"""
import math
import struct
import sys
from pathlib import Path

WIDTH, HEIGHT = 360, 240


def falloff(x, y):
    """Relative light at a pixel: bright a little right of centre, dark corners."""
    cx, cy = WIDTH * 0.55, HEIGHT * 0.45
    r2 = ((x - cx) / (WIDTH / 2)) ** 2 + ((y - cy) / (HEIGHT / 2)) ** 2
    return max(0.35, 1.0 - 0.28 * r2)


def ripple(x, y):
    """A faint, fixed texture, so the card isn't unnaturally smooth."""
    return 1.0 + 0.004 * math.sin(x * 0.9 + y * 1.7)


CHART = [(0.45, 0.32, 0.26), (0.77, 0.58, 0.50), (0.36, 0.48, 0.61), (0.34, 0.42, 0.26),
         (0.51, 0.50, 0.69), (0.38, 0.74, 0.67), (0.85, 0.47, 0.18), (0.29, 0.36, 0.65),
         (0.76, 0.33, 0.38), (0.36, 0.24, 0.42), (0.62, 0.74, 0.25), (0.89, 0.63, 0.18),
         (0.96, 0.96, 0.95), (0.78, 0.78, 0.78), (0.63, 0.63, 0.63), (0.48, 0.48, 0.48),
         (0.33, 0.33, 0.33), (0.20, 0.20, 0.21)]


def chart(x, y):
    """Reflectance of the colour chart: 6 x 3 patches on a grey ground."""
    col, row = int(x * 6 / WIDTH), int(y * 3 / HEIGHT)
    px, py = (x * 6) % WIDTH, (y * 3) % HEIGHT
    if px < WIDTH * 0.08 or px > WIDTH * 0.92 or py < HEIGHT * 0.08 or py > HEIGHT * 0.92:
        return (0.55, 0.55, 0.55)
    return CHART[row * 6 + col]


def white_card(x, y):
    light = falloff(x, y) * ripple(x, y)
    return (0.93 * light, 0.95 * light, 0.91 * light)


def subject(x, y):
    light = falloff(x, y)
    return tuple(0.95 * c * light for c in chart(x, y))


def write_tiff(path, pixel, bits, little, width=WIDTH, height=HEIGHT, rows_per_strip=None):
    order = "<" if little else ">"
    peak = 255 if bits == 8 else 65535
    fmt = "B" if bits == 8 else "H"
    rows = bytearray()
    for y in range(height):
        for x in range(width):
            rows += struct.pack(order + fmt * 3, *(min(peak, round(v * peak)) for v in pixel(x, y)))
    entries = [
        (256, 4, 1, width), (257, 4, 1, height), (258, 3, 3, None), (259, 3, 1, 1),
        (262, 3, 1, 2), (273, 4, 1, None), (277, 3, 1, 3), (278, 4, 1, rows_per_strip or height),
        (279, 4, 1, len(rows)), (284, 3, 1, 1),
    ]
    ifd_size = 2 + 12 * len(entries) + 4
    bits_offset = 8 + ifd_size
    pixel_offset = bits_offset + 6
    out = bytearray(b"II" if little else b"MM")
    out += struct.pack(order + "HI", 42, 8)
    out += struct.pack(order + "H", len(entries))
    for tag, typ, count, value in entries:
        value = {258: bits_offset, 273: pixel_offset}.get(tag, value)
        if typ == 3 and count == 1:
            out += struct.pack(order + "HHIHH", tag, typ, count, value, 0)
        else:
            out += struct.pack(order + "HHII", tag, typ, count, value)
    out += struct.pack(order + "I", 0)
    out += struct.pack(order + "HHH", bits, bits, bits)
    out += rows
    path.write_bytes(out)


def main(folder):
    root = Path(folder)
    for sub in ("subjects", "subjects_8bit"):
        (root / sub).mkdir(parents=True, exist_ok=True)
    write_tiff(root / "white_card.tif", white_card, 16, True)
    write_tiff(root / "subjects" / "chart_16bit.tif", subject, 16, True)
    write_tiff(root / "subjects" / "chart_16bit_big_endian.tif", subject, 16, False)
    write_tiff(root / "white_card_8bit.tif", white_card, 8, True)
    write_tiff(root / "subjects_8bit" / "chart_8bit.tif", subject, 8, True)


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent)
