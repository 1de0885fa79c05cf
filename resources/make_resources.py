#!/usr/bin/env python3
"""Makes the pictures the program ships beside itself: the row marks of the
subject list and the key strip of the tone map.

    python3 resources/make_resources.py resources

All three are 8-bit RGB TIFFs in one strip, the kind the program reads itself.
"""
import struct
import sys
from pathlib import Path

WHITE = (255, 255, 255)
MARK = 15  # the list's row picture column is 15 pixels wide

# The tone map's bands, lowest green byte first, with the colour each shows.
BANDS = [(200, (0, 0, 255)), (205, (0, 128, 255)), (210, (0, 192, 255)),
         (215, (0, 255, 255)), (220, (0, 240, 176)), (225, (0, 224, 0)),
         (230, (204, 240, 0)), (235, (255, 255, 0)), (240, (255, 192, 0)),
         (245, (255, 128, 0)), (250, (255, 0, 0))]
SCALE_WIDTH, SCALE_HEIGHT = 230, 20

# Digits of 3 x 5 pixels, one string a row, "#" set.
DIGITS = {
    "0": ["###", "#.#", "#.#", "#.#", "###"], "1": [".#.", "##.", ".#.", ".#.", "###"],
    "2": ["###", "..#", "###", "#..", "###"], "3": ["###", "..#", "###", "..#", "###"],
    "4": ["#.#", "#.#", "###", "..#", "..#"], "5": ["###", "#..", "###", "..#", "###"],
    "6": ["###", "#..", "###", "#.#", "###"], "7": ["###", "..#", ".#.", ".#.", ".#."],
    "8": ["###", "#.#", "###", "#.#", "###"], "9": ["###", "#.#", "###", "..#", "###"],
}


def write_tiff(path, width, height, pixels):
    """pixels: rows of (r, g, b); written little-endian, one strip."""
    data = bytes(c for row in pixels for pixel in row for c in pixel)
    entries = [(256, 4, 1, width), (257, 4, 1, height), (258, 3, 3, None), (259, 3, 1, 1),
               (262, 3, 1, 2), (273, 4, 1, None), (277, 3, 1, 3), (278, 4, 1, height),
               (279, 4, 1, len(data)), (284, 3, 1, 1)]
    bits_offset = 8 + 2 + 12 * len(entries) + 4
    pixel_offset = bits_offset + 6
    out = bytearray(b"II") + struct.pack("<HI", 42, 8) + struct.pack("<H", len(entries))
    for tag, typ, count, value in entries:
        value = {258: bits_offset, 273: pixel_offset}.get(tag, value)
        if typ == 3 and count == 1:
            out += struct.pack("<HHIHH", tag, typ, count, value, 0)
        else:
            out += struct.pack("<HHII", tag, typ, count, value)
    out += struct.pack("<I", 0) + struct.pack("<HHH", 8, 8, 8) + data
    Path(path).write_bytes(bytes(out))


def blank(width, height, colour=WHITE):
    return [[colour] * width for _ in range(height)]


def stroke(pixels, points, colour):
    """Sets each point and the one below it: two-pixel strokes read at 15 px."""
    for x, y in points:
        for dy in (0, 1):
            if 0 <= y + dy < len(pixels) and 0 <= x < len(pixels[0]):
                pixels[y + dy][x] = colour


def check_mark():
    pixels = blank(MARK, MARK)
    green = (0, 150, 40)
    short = [(2 + i, 7 + i) for i in range(4)]          # down to the tip
    long = [(5 + i, 10 - i) for i in range(9)]          # up to the right
    for dx in (0, 1):
        stroke(pixels, [(x + dx, y) for x, y in short + long], green)
    return pixels


def cross_mark():
    pixels = blank(MARK, MARK)
    red = (210, 0, 0)
    for dx in (0, 1):
        stroke(pixels, [(2 + i + dx, 2 + i) for i in range(10)], red)
        stroke(pixels, [(11 - i + dx, 2 + i) for i in range(10)], red)
    return pixels


def tone_scale():
    pixels = blank(SCALE_WIDTH, SCALE_HEIGHT)
    for n, (lowest, colour) in enumerate(BANDS):
        left = round(n * SCALE_WIDTH / len(BANDS))
        right = round((n + 1) * SCALE_WIDTH / len(BANDS))
        for y in range(SCALE_HEIGHT):
            for x in range(left, right):
                pixels[y][x] = colour
        # Dark labels on the light bands, white on the two deep blues.
        ink = WHITE if lowest <= 205 else (0, 0, 0)
        label = str(lowest)
        text_width = 4 * len(label) - 1
        x0 = left + (right - left - text_width) // 2
        y0 = (SCALE_HEIGHT - 5) // 2
        for k, ch in enumerate(label):
            for dy, line in enumerate(DIGITS[ch]):
                for dx, cell in enumerate(line):
                    if cell == "#":
                        pixels[y0 + dy][x0 + 4 * k + dx] = ink
    return pixels


def main(folder):
    out = Path(folder)
    out.mkdir(parents=True, exist_ok=True)
    write_tiff(out / "Check.tif", MARK, MARK, check_mark())
    write_tiff(out / "Cross.tif", MARK, MARK, cross_mark())
    write_tiff(out / "tone_scale.tif", SCALE_WIDTH, SCALE_HEIGHT, tone_scale())


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent)
