#!/usr/bin/env python3
"""Makes the sample white cards and subjects: small RGB TIFFs with a visible
light falloff, so that a new user can try the program at once.

    python3 samples/make_samples.py samples

The subjects are a colour chart lit by the same falloff as the white card, so
equalizing them brings the chart's corners back to the brightness of its centre.

modes/ holds the files for the command line's correction modes: two shots of a
card under light with a colour cast (warm on the left, cool on the right) and a
radial falloff, with dust specks and grain, a dark frame, and two subjects shot
under the same light; all 16-bit with an sRGB profile, 600 x 400 pixels.
"""
import ctypes
import ctypes.util
import math
import random
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


def write_tiff(path, pixel, bits, little, width=WIDTH, height=HEIGHT, rows_per_strip=None,
               icc=b""):
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
    ] + ([(34675, 7, len(icc), None)] if icc else [])
    ifd_size = 2 + 12 * len(entries) + 4
    bits_offset = 8 + ifd_size
    icc_offset = bits_offset + 6
    pixel_offset = icc_offset + len(icc) + len(icc) % 2
    out = bytearray(b"II" if little else b"MM")
    out += struct.pack(order + "HI", 42, 8)
    out += struct.pack(order + "H", len(entries))
    for tag, typ, count, value in entries:
        value = {258: bits_offset, 273: pixel_offset, 34675: icc_offset}.get(tag, value)
        if typ == 3 and count == 1:
            out += struct.pack(order + "HHIHH", tag, typ, count, value, 0)
        else:
            out += struct.pack(order + "HHII", tag, typ, count, value)
    out += struct.pack(order + "I", 0)
    out += struct.pack(order + "HHH", bits, bits, bits)
    out += icc + b"\0" * (len(icc) % 2)
    out += rows
    path.write_bytes(out)


MODES_WIDTH, MODES_HEIGHT = 600, 400
DARK = 600 / 65535  # the sensor's black level, in 16-bit sample units


def lcms_library():
    """LittleCMS through ctypes, with what saving a profile needs declared."""
    lcms = ctypes.CDLL(ctypes.util.find_library("lcms2") or "liblcms2.so.2")
    lcms.cmsCreate_sRGBProfile.restype = ctypes.c_void_p
    lcms.cmsSaveProfileToMem.argtypes = [ctypes.c_void_p, ctypes.c_void_p,
                                         ctypes.POINTER(ctypes.c_uint32)]
    lcms.cmsCloseProfile.argtypes = [ctypes.c_void_p]
    return lcms


def saved_profile(lcms, profile):
    """The profile's bytes, with a fixed creation date so that they come out
    the same on every run; the profile is closed."""
    size = ctypes.c_uint32(0)
    lcms.cmsSaveProfileToMem(profile, None, ctypes.byref(size))
    data = ctypes.create_string_buffer(size.value)
    lcms.cmsSaveProfileToMem(profile, data, ctypes.byref(size))
    lcms.cmsCloseProfile(profile)
    return data.raw[:24] + struct.pack(">6H", 2026, 1, 1, 0, 0, 0) + data.raw[36:size.value]


def srgb_profile():
    """LittleCMS's own sRGB profile."""
    lcms = lcms_library()
    return saved_profile(lcms, lcms.cmsCreate_sRGBProfile())


def encoded(linear):
    """The sRGB encoding of a linear value, 0 to 1."""
    linear = min(1.0, max(0.0, linear))
    return 12.92 * linear if linear <= 0.0031308 else 1.055 * linear ** (1 / 2.4) - 0.055


def modes_light(x, y):
    """Linear light per channel: a radial falloff to about half in the corners,
    warm on the left and cool on the right."""
    r2 = ((x - MODES_WIDTH * 0.5) / (MODES_WIDTH * 0.5)) ** 2 \
        + ((y - MODES_HEIGHT * 0.5) / (MODES_HEIGHT * 0.5)) ** 2
    falloff = 1.0 - 0.25 * r2
    across = x / (MODES_WIDTH - 1) - 0.5
    return (falloff * (1.0 - 0.16 * across), falloff, falloff * (1.0 + 0.2 * across))


def shot(reflectance, seed, grain=0.0, noise=40):
    """A camera's picture of a reflectance under the light: sRGB-encoded, on top
    of the black level, with a grain of the given share and a read noise of
    +-noise sample units."""
    rng = random.Random(seed)

    def pixel(x, y):
        light = modes_light(x, y)
        return tuple(
            encoded(l * f * (1.0 + grain * (2 * rng.random() - 1))) * (1 - DARK)
            + DARK + noise * (2 * rng.random() - 1) / 65535
            for l, f in zip(light, reflectance(x, y)))
    return pixel


def dusty_card():
    """A card of even reflectance, but for a few dark dust specks of 1 to 3
    pixels across (seed 7)."""
    rng = random.Random(7)
    specks = [(rng.uniform(5, MODES_WIDTH - 5), rng.uniform(5, MODES_HEIGHT - 5),
               rng.uniform(0.5, 1.5)) for _ in range(24)]

    def reflectance(x, y):
        dim = 1.0
        for sx, sy, radius in specks:
            if (x - sx) ** 2 + (y - sy) ** 2 <= radius * radius:
                dim = 0.6
        return (0.85 * dim,) * 3
    return reflectance


def modes_chart(x, y):
    col, row = int(x * 6 / MODES_WIDTH), int(y * 3 / MODES_HEIGHT)
    px, py = (x * 6) % MODES_WIDTH, (y * 3) % MODES_HEIGHT
    if px < MODES_WIDTH * 0.08 or px > MODES_WIDTH * 0.92 \
            or py < MODES_HEIGHT * 0.08 or py > MODES_HEIGHT * 0.92:
        return (0.18, 0.18, 0.18)
    return tuple(c ** 2.2 for c in CHART[row * 6 + col])  # the chart's linear reflectance


def modes_scene(x, y):
    """A bright sky over a grey field, with a dark pole: even detail in every corner."""
    if abs(x - MODES_WIDTH * 0.3) < 6 and y > MODES_HEIGHT * 0.25:
        return (0.05, 0.05, 0.05)
    if y < MODES_HEIGHT * 0.55:
        return (0.45, 0.6, 0.85)
    return (0.3, 0.28, 0.22)


def write_modes(folder):
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "subjects").mkdir(exist_ok=True)
    icc = srgb_profile()

    def write(name, pixel):
        write_tiff(folder / name, pixel, 16, True, MODES_WIDTH, MODES_HEIGHT, icc=icc)
    card = dusty_card()
    write("white_card_a.tif", shot(card, 101, grain=0.01))
    write("white_card_b.tif", shot(card, 102, grain=0.01))
    write("dark_frame.tif", shot(lambda x, y: (0.0, 0.0, 0.0), 103))
    write("subjects/chart.tif", shot(modes_chart, 104))
    write("subjects/scene.tif", shot(modes_scene, 105))


def main(folder):
    root = Path(folder)
    for sub in ("subjects", "subjects_8bit"):
        (root / sub).mkdir(parents=True, exist_ok=True)
    write_tiff(root / "white_card.tif", white_card, 16, True)
    write_tiff(root / "subjects" / "chart_16bit.tif", subject, 16, True)
    write_tiff(root / "subjects" / "chart_16bit_big_endian.tif", subject, 16, False)
    write_tiff(root / "white_card_8bit.tif", white_card, 8, True)
    write_tiff(root / "subjects_8bit" / "chart_8bit.tif", subject, 8, True)
    write_modes(root / "modes")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent)
